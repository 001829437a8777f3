#include "list.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::vector<list_node *> forward(const list_node &head) {
    std::vector<list_node *> nodes;
    for (list_node *node = head.next; node != &head; node = node->next) {
        nodes.push_back(node);
    }
    return nodes;
}

std::vector<list_node *> backward(const list_node &head) {
    std::vector<list_node *> nodes;
    for (list_node *node = head.prev; node != &head; node = node->prev) {
        nodes.push_back(node);
    }
    return nodes;
}

class ListTest : public testing::Test {
  protected:
    void SetUp() override { list_init(&head_); }

    list_node head_{};
    list_node a_{};
    list_node b_{};
    list_node c_{};
};

}  // namespace

TEST_F(ListTest, IsEmptyAfterInit) {
    EXPECT_EQ(1, list_empty(&head_));
    EXPECT_TRUE(forward(head_).empty());
    EXPECT_TRUE(backward(head_).empty());
}

TEST_F(ListTest, KeepsTheOrderOfAdding) {
    list_add(&head_, &a_);
    list_add(&head_, &b_);
    list_add(&head_, &c_);
    EXPECT_EQ(0, list_empty(&head_));
    EXPECT_EQ((std::vector<list_node *>{&a_, &b_, &c_}), forward(head_));
    EXPECT_EQ((std::vector<list_node *>{&c_, &b_, &a_}), backward(head_));
}

TEST_F(ListTest, DeletesFromTheMiddleAndTheEnds) {
    list_add(&head_, &a_);
    list_add(&head_, &b_);
    list_add(&head_, &c_);
    list_del(&b_);
    EXPECT_EQ((std::vector<list_node *>{&a_, &c_}), forward(head_));
    list_del(&a_);
    list_del(&c_);
    EXPECT_EQ(1, list_empty(&head_));
}

TEST_F(ListTest, LeavesADeletedNodeAnEmptyListOfItsOwn) {
    list_add(&head_, &a_);
    list_del(&a_);
    EXPECT_EQ(1, list_empty(&a_));
    list_del(&a_);
    EXPECT_EQ(1, list_empty(&a_));
}

TEST_F(ListTest, TakesADeletedNodeAgain) {
    list_add(&head_, &a_);
    list_add(&head_, &b_);
    list_del(&a_);
    list_add(&head_, &a_);
    EXPECT_EQ((std::vector<list_node *>{&b_, &a_}), forward(head_));
}
