// SPDX-License-Identifier: MIT
#include "foundation/store/list.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/store/sizedarray.h"

namespace {

struct Node {
  explicit Node(int number) : value(number) { ++alive; }
  ~Node() { --alive; }
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  static inline int alive = 0;
  Node* next_ = nullptr;
  int value;
  LList<Node> children;
};

std::string Values(const LList<Node>& list) {
  std::string text;
  for (const Node& node : list)
    text += std::to_string(node.value);
  return text;
}

TEST(ListTest, KeepsOrderAndFreesWhatItOwns) {
  {
    LList<Node> list;
    EXPECT_FALSE(list.DetachHead());
    auto* second = new Node(2);
    list.Append(second);
    list.Prepend(new Node(1));
    LList<Node>::Tail tail(list);
    tail.Append(new Node(3));
    LList<Node> more;
    for (int value = 4; value < 7; ++value)
      more.Append(new Node(value));
    tail.Append(std::move(more));
    tail.Append(new Node(7));
    EXPECT_EQ(Values(list), "1234567");
    EXPECT_TRUE(list.Detach(second));
    EXPECT_FALSE(list.Detach(second));
    EXPECT_EQ(second->next_, nullptr);
    delete second;
    EXPECT_TRUE(list.Delete(LList<Node>::Next(*list.Head())));
    EXPECT_EQ(list.DeleteIf([](const Node& node) { return node.value > 5; }), 2U);
    EXPECT_EQ(Values(list), "145");
    LList<Node> moved(std::move(list));
    more.Append(new Node(9));
    more = std::move(moved);
    EXPECT_EQ(Values(more), "145");
    EXPECT_EQ(Node::alive, 3);
  }
  EXPECT_EQ(Node::alive, 0);
}

TEST(ListTest, FreesADeepTreeWithoutRecursion) {
  constexpr int kMany = 100000;
  LList<Node> list;
  for (LList<Node>* place = &list; Node::alive < kMany; place = &place->Head()->children)
    place->Append(new Node(Node::alive));
  LList<Node>::Tail tail(list);
  for (Node& node : list)
    tail.Append(std::move(node.children));
  EXPECT_EQ(list.Count(), 1U * kMany);
  list.Clear();
  EXPECT_EQ(Node::alive, 0);
}

TEST(SizedArrayTest, SetsCapacityApartFromCount) {
  LSizedArray<char> array;
  array.SetCapacity(3);
  EXPECT_TRUE(array.IsEmpty());
  for (char value = 'a'; value <= 'z'; ++value)
    array.Append(value);
  LSizedArray<char> copy = array;
  EXPECT_EQ(copy.Capacity(), 26U);
  array.SetCapacity(5);
  EXPECT_EQ(std::string(array.begin(), array.end()), "abcde");
  array = std::move(copy);
  EXPECT_EQ(array[25], 'z');
  array.Clear();
  EXPECT_EQ(array.Data(), nullptr);
}

}  // namespace
