// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_LIST_H
#define ZORVEX_FOUNDATION_STORE_LIST_H

#include <cstddef>
#include <iterator>
#include <utility>

/// Singly linked list that is threaded through its elements and owns them. An element type has a
/// field `T* next_`, null while the element is in no list, which nobody but the list changes; where
/// it is private, `LList<T>` is a friend. Elements are made with `new`.
///
///     struct Take {
///       Take* next_ = nullptr;
///       std::string name;
///     };
///     LList<Take> takes;
///     takes.Append(new Take{.name = "first"});
///     for (Take& take : takes) ...
///
/// The list is one pointer, to its first element. What has to look for a place walks from there;
/// who appends many elements does it with an LList::Tail.
template <typename T>
class LList {
  template <typename Element>
  class IteratorOf {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = Element*;
    using reference = Element&;

    IteratorOf() = default;
    explicit IteratorOf(Element* element) : element_(element) {}
    reference operator*() const { return *element_; }
    pointer operator->() const { return element_; }
    IteratorOf& operator++() {
      element_ = LList::Next(*element_);
      return *this;
    }
    IteratorOf operator++(int) {
      IteratorOf before = *this;
      ++*this;
      return before;
    }
    friend bool operator==(IteratorOf, IteratorOf) = default;

   private:
    Element* element_ = nullptr;
  };

 public:
  using iterator = IteratorOf<T>;
  using const_iterator = IteratorOf<const T>;

  LList() = default;
  LList(const LList&) = delete;
  LList& operator=(const LList&) = delete;
  /// Takes the other list's elements over; it is empty afterwards.
  LList(LList&& other) noexcept : head_(std::exchange(other.head_, nullptr)) {}
  /// The same; the elements that were here before are freed.
  LList& operator=(LList&& other) noexcept {
    LList taken(std::move(other));
    std::swap(head_, taken.head_);
    return *this;
  }
  ~LList() { Clear(); }

  /// The first element, null when there is none.
  [[nodiscard]] T* Head() { return head_; }
  [[nodiscard]] const T* Head() const { return head_; }
  /// The element after this one, null behind the last.
  [[nodiscard]] static T* Next(T& element) { return element.next_; }
  [[nodiscard]] static const T* Next(const T& element) { return element.next_; }
  [[nodiscard]] bool IsEmpty() const { return !head_; }
  /// Number of elements; walks over all of them.
  [[nodiscard]] std::size_t Count() const {
    return static_cast<std::size_t>(std::distance(begin(), end()));
  }

  /// Elements in their order. An element must not leave the list while an iterator is on it: see
  /// DeleteIf.
  [[nodiscard]] iterator begin() { return iterator(head_); }
  [[nodiscard]] iterator end() { return iterator(); }
  [[nodiscard]] const_iterator begin() const { return const_iterator(head_); }
  [[nodiscard]] const_iterator end() const { return const_iterator(); }

  /// Puts an element that is in no list at the front. The list owns it from now on.
  void Prepend(T* element) {
    element->next_ = head_;
    head_ = element;
  }

  /// Puts an element that is in no list at the end, to which it walks. The list owns it from now
  /// on.
  void Append(T* element) { Tail(*this).Append(element); }

  /// The end of a list, for appending one element after the other without a walk for each. Making
  /// it walks once. It is good for as long as the list lives in its place and nobody else appends
  /// to it or takes its last element out.
  class Tail {
   public:
    explicit Tail(LList& list) : link_(&list.head_) { FindEnd(); }
    /// As LList::Append.
    void Append(T* element) {
      *link_ = element;
      element->next_ = nullptr;
      link_ = &element->next_;
    }
    /// Moves all elements of another list behind the last one. Iterators go on into them, so that
    /// a deep tree, whose elements have lists of children, is freed without recursion:
    ///
    ///     LList<Node>::Tail tail(children_);
    ///     for (Node& node : children_) tail.Append(std::move(node.children_));
    ///     children_.Clear();
    void Append(LList&& other) {
      *link_ = std::exchange(other.head_, nullptr);
      FindEnd();
    }

   private:
    void FindEnd() {
      while (*link_)
        link_ = &(*link_)->next_;
    }

    T** link_;
  };

  /// Takes an element out of the list, which it is looked for in; the caller owns it from now on.
  /// False when it is not there: nothing has changed then.
  bool Detach(T* element) {
    for (T** link = &head_; *link; link = &(*link)->next_) {
      if (*link != element) continue;
      Unlink(link);
      return true;
    }
    return false;
  }

  /// Takes the first element out without a walk; null when there is none.
  [[nodiscard]] T* DetachHead() { return head_ ? Unlink(&head_) : nullptr; }

  /// Takes all elements out at once: gives the first, from which Next leads to the others. The
  /// caller owns them from now on.
  [[nodiscard]] T* Release() { return std::exchange(head_, nullptr); }

  /// Puts elements that were released, or the rest of them from one on, into this list, which is
  /// empty. Null is none.
  void Adopt(T* first) { head_ = first; }

  /// Takes an element out and frees it. False when it is not in the list: nothing has changed then.
  bool Delete(T* element) {
    const bool wasHere = Detach(element);
    if (wasHere) delete element;
    return wasHere;
  }

  /// Takes out and frees every element for which `condition(element)` is true, in one walk. Returns
  /// their number. Neither `condition` nor a destructor may change the list.
  template <typename Condition>
  std::size_t DeleteIf(Condition condition) {
    std::size_t count = 0;
    for (T** link = &head_; *link;) {
      if (!condition(std::as_const(**link))) {
        link = &(*link)->next_;
        continue;
      }
      delete Unlink(link);
      ++count;
    }
    return count;
  }

  /// Frees all elements, first to last, each taken out before. However long the list, this takes
  /// no more stack than one element's destructor.
  void Clear() {
    while (head_)
      delete Unlink(&head_);
  }

 private:
  static T* Unlink(T** link) {
    T* element = *link;
    *link = std::exchange(element->next_, nullptr);
    return element;
  }

  T* head_ = nullptr;
};

#endif  // ZORVEX_FOUNDATION_STORE_LIST_H
