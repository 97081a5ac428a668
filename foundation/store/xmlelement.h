// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_XMLELEMENT_H
#define ZORVEX_FOUNDATION_STORE_XMLELEMENT_H

#include <cstddef>
#include <cstdint>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/store/hashtable.h>
#include <zorvex/foundation/store/list.h>
#include <zorvex/foundation/store/xmlloader.h>
#include <zorvex/foundation/text/stringlong.h>

/// One node of an XML tree: an element, which has a name, or a text node, which has none.
///
/// Comments, CDATA sections, DOCTYPE and "<?xml ...?>" are elements, too, called "!--",
/// "![CDATA[", "!DOCTYPE" and "?xml". What is in one of the first three is the text of its only
/// child, as it stood in the file.
///
/// Texts are UTF-8, borrowed for the call, and copied where they are kept. A null name given reads
/// as the empty one, which is also what a text node counts as having. Names are compared byte by
/// byte. Texts and elements that are returned belong to their element and are good until it
/// changes; children do not move when others come or go.
///
/// A tree may be as deep as memory allows: nothing here needs more stack for a deeper one. What
/// adds, copies, loads or writes may throw std::bad_alloc; nothing else throws. One thread at a
/// time; any number may read, but for Attributes.
class ZORVEX_API LXMLElement {
 public:
  /// Reads the rest of an element of which the "<" and the name have been read; `stopChar` is what
  /// XMLLoadTag returned for it. First come the attributes, then the content up to the closing tag.
  /// `preserve` is the preserve flag of the element's parent.
  LXMLElement(const char* name, char stopChar, LXMLLoaderTemplate<char>& loader, bool preserve);
  /// A deep copy. It is in no list.
  LXMLElement(const LXMLElement& other);
  /// The same; the element stays where it is in its list. `other` may be part of this tree.
  LXMLElement& operator=(const LXMLElement& other);
  ~LXMLElement();

  /// Null for a text node, and for a document.
  [[nodiscard]] const char* Name() const { return name_; }
  /// The text of a text node; null for others.
  [[nodiscard]] const char* Data() const { return data_; }
  /// The text of an element that has one: its own data, else the data of its first child, else "".
  [[nodiscard]] const char* GetElementData() const;
  /// Whether text in it is kept as it stands when it is loaded. Without it control characters (line
  /// ends and tabs, not spaces) are removed from the ends of each text. New children inherit it.
  [[nodiscard]] bool IsPreserveWhitespace() const { return preserveWhitespace_; }
  void SetPreserveWhitespace(bool preserve) { preserveWhitespace_ = preserve; }
  /// By name. The table is made when it is first asked for: what was loaded is kept packed until
  /// then. So this may throw std::bad_alloc and is, of what reads, the one thing that only one
  /// thread at a time may do.
  [[nodiscard]] LHashTable& Attributes() {
    UnpackAttributes();
    return attributes_;
  }
  [[nodiscard]] const LHashTable& Attributes() const {
    UnpackAttributes();
    return attributes_;
  }
  [[nodiscard]] LList<LXMLElement>& Children() { return children_; }
  [[nodiscard]] const LList<LXMLElement>& Children() const { return children_; }

  /// The first child of that name, or null.
  [[nodiscard]] LXMLElement* GetElement(const char* name);
  [[nodiscard]] const LXMLElement* GetElement(const char* name) const;
  /// Adds a child behind the last one, to which it walks.
  LXMLElement* AddElement(const char* name);
  /// Frees every child of that name.
  void DeleteElement(const char* name);
  /// Whether there is a child of that name that has a name or data.
  [[nodiscard]] bool TestFieldExists(const char* name) const;

  /// Copies the text (GetElementData) of the first child of that name into 260 bytes at `out`, cut
  /// to 259. `defaultValue` when there is none: an empty text is not replaced by it.
  void GetString(const char* name, const char* defaultValue, char* out) const;
  /// Replaces everything in the first child of that name by one text. Nothing happens when there is
  /// none: see AddElement.
  void SetString(const char* name, const char* value);
  /// The number at the beginning of the child's text, as strtol reads it in base 10, so that an
  /// empty text is 0. `defaultValue` when there is no child of that name.
  [[nodiscard]] int GetInt(const char* name, int defaultValue) const;
  /// SetString with decimal digits.
  void SetInt(const char* name, int value);
  /// As strtod reads it. 0 when there is no such child.
  [[nodiscard]] double GetFloat(const char* name) const;
  /// The same; `defaultValue` when there is no such child and, unlike with GetInt, when its text is
  /// empty.
  [[nodiscard]] double GetFloat(const char* name, double defaultValue) const;
  /// SetString with six decimals ("%f").
  void SetFloat(const char* name, double value);

  /// Replaces the children by what the loader reads up to this element's closing tag, or up to the
  /// end of the text when the element has no name. Errors in the text are told as by
  /// LXMLLoaderTemplate::SetError and end the element that they are in; its parent goes on.
  ///
  /// Asks once in 512 bytes whether to stop, and then leaves off; what was read so far stays. It
  /// does not ask inside a tag, a comment or their like.
  void LoadData(LXMLLoaderTemplate<char>& loader);

  /// Appends the node to `out`, indented by `depth` tabs, each node below by one more; nothing is
  /// indented when it is negative. Blank text nodes are left out. Text is not indented, and its
  /// line ends become LF.
  ///
  /// Negative depths leave out the line breaks, but for the one behind a closing tag: that it stays
  /// is deliberate.
  ///
  /// False when nothing was written: for a blank text node and for a document, of which each child
  /// is written by itself.
  bool SaveToBuffer(LStringLongTemplate<char>& out, int depth) const;
  /// The same without any blanks that are not in the tree, and with all that are. Text keeps its
  /// line ends. False when nothing was written: for an empty text node and for a document.
  bool SaveToBufferNoFormatting(LStringLongTemplate<char>& out) const;

  /// Elements may lie in memory that others share; these know which.
  static void* operator new(std::size_t size);
  static void* operator new(std::size_t, void* place) noexcept { return place; }
  /// Gives back what operator new gave.
  static void operator delete(void* element) noexcept;
  static void operator delete(void*, void*) noexcept {}

 protected:
  /// A node without name and data.
  explicit LXMLElement(bool preserve) : preserveWhitespace_(preserve) {}

 private:
  friend class LList<LXMLElement>;
  friend class XmlTree;               // makes nodes
  friend class XmlAttributesInOrder;  // looks into packed ones

  [[nodiscard]] const LXMLElement* FindFilled(const char* name) const;
  void ClearChildren();
  void UnpackAttributes() const {
    if (packedSize_ != 0) MakeAttributeTable();
  }
  void MakeAttributeTable() const;

  LXMLElement* next_ = nullptr;
  bool preserveWhitespace_;
  bool ownsName_ = false;  // with new[]; else it lies behind the element
  bool ownsData_ = false;
  mutable std::uint32_t packedSize_ = 0;  // bytes behind the name, which lies behind the element
  mutable LHashTable attributes_;
  LList<LXMLElement> children_;
  char* name_ = nullptr;
  char* data_ = nullptr;
};

/// Whether it has that name; a null name is the empty one.
[[nodiscard]] ZORVEX_API bool LXMLElementHasName(const LXMLElement& element, const char* name);

/// Walks over the children of one name:
///
///     for (NamedElementIterator item(element, "item"); item.Current(); item.Next())
///
/// The name is borrowed. The current child must not be deleted.
template <typename Element>
class LNamedElementIteratorTemplate {
 public:
  /// Stands on the first child of that name.
  LNamedElementIteratorTemplate(Element& element, const char* name)
      : current_(element.GetElement(name)), name_(name) {}

  /// Null when there is none, or no further one.
  [[nodiscard]] Element* Current() const { return current_; }
  /// Goes on to the next child of that name; false when there is none.
  bool Next() {
    while (current_) {
      current_ = LList<LXMLElement>::Next(*current_);
      if (current_ && IsNamed(*current_)) return true;
    }
    return false;
  }

 private:
  [[nodiscard]] bool IsNamed(const LXMLElement& element) const {
    return LXMLElementHasName(element, name_);
  }

  Element* current_;
  const char* name_;
};

using NamedElementIterator = LNamedElementIteratorTemplate<LXMLElement>;
using ConstNamedElementIterator = LNamedElementIteratorTemplate<const LXMLElement>;

#endif  // ZORVEX_FOUNDATION_STORE_XMLELEMENT_H
