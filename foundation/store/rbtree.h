// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_RBTREE_H
#define ZORVEX_FOUNDATION_STORE_RBTREE_H

#include <cstdint>
#include <utility>

#include <zorvex/foundation/export.h>

/// \file
/// Red-black tree of nodes that their maker allocates. `Key` supplies two types:
///
///  - `Rank`, a number beside the links that orders as the keys do as far as it goes, so that most
///    comparisons need no look at the key itself;
///  - `Probe`, what is looked for: a member `rank`, and `Compare(const Key&)`, which is asked only
///    about keys of that rank and gives less than, equal to or greater than 0 when the probe is
///    before, equal to or behind the key.
///
/// The maker of the nodes also defines LRBTree::FreeNode for its pair of types.

/// Colours of LRBTreeNodeItem.
enum : std::uint32_t { LRBTreeBlack = 0, LRBTreeRed = 1 };

/// A node: an entry of the tree. Readable by all; changed by the tree and by the node's maker.
template <typename Key, typename Value>
struct LRBTreeNodeItem {
  Key key;
  Value* value;             ///< owned by the node
  std::uint32_t colour;     ///< LRBTreeRed or LRBTreeBlack; the root is black
  LRBTreeNodeItem* left;    ///< smaller keys, and equal ones that came before
  LRBTreeNodeItem* right;   ///< larger keys, and equal ones that came later
  LRBTreeNodeItem* parent;  ///< null for the root
  typename Key::Rank rank;  ///< that of `key`
};

/// The tree: one pointer. Nodes keep their address for as long as they are in it.
///
/// Nothing here allocates or throws. One thread at a time; any number may read.
template <typename Key, typename Value>
class ZORVEX_API LRBTree {
 public:
  using Node = LRBTreeNodeItem<Key, Value>;
  using Probe = typename Key::Probe;

  /// Where a new node is to hang.
  struct Place {
    Node* parent;  ///< null: as the root
    bool isLeft;
  };

  LRBTree() = default;
  LRBTree(LRBTree&& other) noexcept : root_(std::exchange(other.root_, nullptr)) {}
  LRBTree& operator=(LRBTree&& other) noexcept {
    DeleteNodeTree(std::exchange(root_, std::exchange(other.root_, nullptr)));
    return *this;
  }
  LRBTree(const LRBTree&) = delete;
  LRBTree& operator=(const LRBTree&) = delete;
  ~LRBTree() { DeleteNodeTree(root_); }

  [[nodiscard]] const Node* Root() const { return root_; }
  /// The node with the smallest key; null when the tree is empty.
  [[nodiscard]] const Node* First() const;
  [[nodiscard]] Node* First() { return const_cast<Node*>(std::as_const(*this).First()); }
  /// The node behind `node` in the order of the keys, or null.
  [[nodiscard]] static const Node* Next(const Node* node);
  [[nodiscard]] static Node* Next(Node* node) {
    return const_cast<Node*>(Next(static_cast<const Node*>(node)));
  }

  /// A node with that key, or null. Of several it is the one nearest to the root.
  [[nodiscard]] const Node* Find(const Probe& probe) const;
  [[nodiscard]] Node* Find(const Probe& probe) {
    return const_cast<Node*>(std::as_const(*this).Find(probe));
  }
  /// The same; when there is none, `place` is where one belongs.
  [[nodiscard]] Node* FindOrPlace(const Probe& probe, Place& place);
  /// Where one more node with that key belongs: behind all that are equal.
  [[nodiscard]] Place PlaceOf(const Probe& probe) const;

  /// Hangs `node`, whose key, value and rank are set, there and balances the tree. `place` comes
  /// from a search for the node's key since the last change.
  void Insert(Node* node, const Place& place);
  /// Takes `node` out of the tree without freeing it, relinking its neighbours.
  void Remove(Node* node);

  /// Frees a node that is in no tree, with its key and value.
  static void FreeNode(Node* node);
  /// Frees all nodes from `node` (or null) down, children before their parents.
  static void DeleteNodeTree(Node* node);

 private:
  /// Both links are read, so that no branch is made of it: it would be foreseen wrongly half the
  /// time.
  static Node* Child(const Node* node, bool isLeft) {
    Node* const left = node->left;
    Node* const right = node->right;
    return __builtin_expect_with_probability(isLeft, 1, 0.5) ? left : right;
  }

  static bool IsRed(const Node* node) { return node && node->colour == LRBTreeRed; }
  static bool IsLeft(const Node* node) { return node == node->parent->left; }

  void Replace(Node* node, Node* by);
  void RotateLeft(Node* node);
  void RotateRight(Node* node);
  void BalanceAfterInsert(Node* node);
  void SwapWithSuccessor(Node* node);
  void BalanceAfterRemove(Node* node, Node* parent);

  Node* root_ = nullptr;
};

/// Walks over a tree in ascending order of the keys:
///
///     for (LRBTreeConstIterator entry(tree); entry.Current(); entry.Next())
///
/// Adding nodes does not disturb it, nor does removing others than the current one.
template <typename Key, typename Value>
class LRBTreeConstIterator {
 public:
  /// Stands on the smallest key. The tree must outlive the iterator.
  explicit LRBTreeConstIterator(const LRBTree<Key, Value>& tree)
      : current_(tree.First()), tree_(&tree) {}

  /// Null behind the last node.
  [[nodiscard]] const LRBTreeNodeItem<Key, Value>* Current() const { return current_; }
  /// Goes on to the next node; false when there is none.
  bool Next() {
    if (current_) current_ = tree_->Next(current_);
    return current_ != nullptr;
  }

 private:
  const LRBTreeNodeItem<Key, Value>* current_;
  const LRBTree<Key, Value>* tree_;
};

template <typename Key, typename Value>
auto LRBTree<Key, Value>::First() const -> const Node* {
  const Node* node = root_;
  while (node && node->left)
    node = node->left;
  return node;
}

template <typename Key, typename Value>
auto LRBTree<Key, Value>::Next(const Node* node) -> const Node* {
  if (node->right) {
    node = node->right;
    while (node->left)
      node = node->left;
    return node;
  }
  while (node->parent && !IsLeft(node))
    node = node->parent;
  return node->parent;
}

template <typename Key, typename Value>
auto LRBTree<Key, Value>::Find(const Probe& probe) const -> const Node* {
  const Node* node = root_;
  while (node) {
    if (node->rank != probe.rank) {
      node = Child(node, probe.rank < node->rank);
      continue;
    }
    const int order = probe.Compare(node->key);
    if (order == 0) break;
    node = Child(node, order < 0);
  }
  return node;
}

template <typename Key, typename Value>
auto LRBTree<Key, Value>::FindOrPlace(const Probe& probe, Place& place) -> Node* {
  place = {nullptr, false};
  Node* node = root_;
  while (node) {
    if (node->rank != probe.rank) {
      place = {node, probe.rank < node->rank};
      node = Child(node, place.isLeft);
      continue;
    }
    const int order = probe.Compare(node->key);
    if (order == 0) break;
    place = {node, order < 0};
    node = Child(node, place.isLeft);
  }
  return node;
}

template <typename Key, typename Value>
auto LRBTree<Key, Value>::PlaceOf(const Probe& probe) const -> Place {
  Place place = {nullptr, false};
  for (Node* node = root_; node; node = Child(node, place.isLeft))
    place = {node,
             probe.rank == node->rank ? probe.Compare(node->key) < 0 : probe.rank < node->rank};
  return place;
}

template <typename Key, typename Value>
void LRBTree<Key, Value>::Insert(Node* node, const Place& place) {
  node->colour = LRBTreeRed;
  node->left = node->right = nullptr;
  node->parent = place.parent;
  (!place.parent ? root_ : place.isLeft ? place.parent->left : place.parent->right) = node;
  BalanceAfterInsert(node);
}

template <typename Key, typename Value>
void LRBTree<Key, Value>::Remove(Node* node) {
  // The nodes change places, not their contents: pointers to the successor stay good.
  if (node->left && node->right) SwapWithSuccessor(node);
  Node* child = node->left ? node->left : node->right;
  Replace(node, child);
  if (node->colour == LRBTreeBlack) BalanceAfterRemove(child, node->parent);
}

template <typename Key, typename Value>
void LRBTree<Key, Value>::DeleteNodeTree(Node* node) {
  // Bottom-up by the parent links, not by recursion. A link is cleared when its child is visited.
  Node* const end = node ? node->parent : nullptr;
  while (node != end) {
    if (node->left) {
      __builtin_prefetch(node->right);
      node = std::exchange(node->left, nullptr);
    } else if (node->right) {
      node = std::exchange(node->right, nullptr);
    } else {
      FreeNode(std::exchange(node, node->parent));
    }
  }
}

/// Hangs `by` (or nothing) where `node` hangs; the children of both stay.
template <typename Key, typename Value>
void LRBTree<Key, Value>::Replace(Node* node, Node* by) {
  Node* parent = node->parent;
  if (!parent)
    root_ = by;
  else if (IsLeft(node))
    parent->left = by;
  else
    parent->right = by;
  if (by) by->parent = parent;
}

template <typename Key, typename Value>
void LRBTree<Key, Value>::RotateLeft(Node* node) {
  Node* up = node->right;
  Replace(node, up);
  node->right = up->left;
  if (node->right) node->right->parent = node;
  up->left = node;
  node->parent = up;
}

template <typename Key, typename Value>
void LRBTree<Key, Value>::RotateRight(Node* node) {
  Node* up = node->left;
  Replace(node, up);
  node->left = up->right;
  if (node->left) node->left->parent = node;
  up->right = node;
  node->parent = up;
}

template <typename Key, typename Value>
void LRBTree<Key, Value>::BalanceAfterInsert(Node* node) {
  while (IsRed(node->parent)) {
    Node* parent = node->parent;
    Node* grandparent = parent->parent;  // there is one: the root is black
    const bool onLeft = IsLeft(parent);
    Node* uncle = onLeft ? grandparent->right : grandparent->left;
    if (IsRed(uncle)) {
      parent->colour = uncle->colour = LRBTreeBlack;
      grandparent->colour = LRBTreeRed;
      node = grandparent;
      continue;
    }
    if (IsLeft(node) != onLeft) {
      onLeft ? RotateLeft(parent) : RotateRight(parent);
      parent = node;
    }
    parent->colour = LRBTreeBlack;
    grandparent->colour = LRBTreeRed;
    onLeft ? RotateRight(grandparent) : RotateLeft(grandparent);
    break;
  }
  root_->colour = LRBTreeBlack;
}

/// For a node with two children, so that it then has at most one: the right one.
template <typename Key, typename Value>
void LRBTree<Key, Value>::SwapWithSuccessor(Node* node) {
  Node* successor = node->right;
  while (successor->left)
    successor = successor->left;
  std::swap(node->colour, successor->colour);

  Node* const below = successor->right;
  Node* const above = successor->parent;
  Replace(node, successor);
  successor->left = std::exchange(node->left, nullptr);
  successor->left->parent = successor;
  if (above == node) {
    successor->right = node;
    node->parent = successor;
  } else {
    successor->right = node->right;
    successor->right->parent = successor;
    above->left = node;
    node->parent = above;
  }
  node->right = below;  // whose parent link is set when it takes the place of `node`
}

/// `node` (or the nothing in its place) below `parent` lacks one black node on its way down.
template <typename Key, typename Value>
void LRBTree<Key, Value>::BalanceAfterRemove(Node* node, Node* parent) {
  while (parent && !IsRed(node)) {
    const bool onLeft = node == parent->left;
    Node* sibling = onLeft ? parent->right : parent->left;  // there is one: it has the black node
    if (IsRed(sibling)) {
      sibling->colour = LRBTreeBlack;
      parent->colour = LRBTreeRed;
      onLeft ? RotateLeft(parent) : RotateRight(parent);
      sibling = onLeft ? parent->right : parent->left;
    }
    Node* inner = onLeft ? sibling->left : sibling->right;
    Node* outer = onLeft ? sibling->right : sibling->left;
    if (!IsRed(inner) && !IsRed(outer)) {
      sibling->colour = LRBTreeRed;
      node = parent;
      parent = node->parent;
      continue;
    }
    if (!IsRed(outer)) {
      onLeft ? RotateRight(sibling) : RotateLeft(sibling);
      sibling->colour = LRBTreeRed;
      outer = std::exchange(sibling, inner);
    }
    sibling->colour = parent->colour;
    parent->colour = outer->colour = LRBTreeBlack;
    onLeft ? RotateLeft(parent) : RotateRight(parent);
    return;
  }
  if (node) node->colour = LRBTreeBlack;
}

#endif  // ZORVEX_FOUNDATION_STORE_RBTREE_H
