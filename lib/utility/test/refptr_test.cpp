#include <utility/refptr.h>

#include <gtest/gtest.h>

namespace {

struct Node : mrefcount {
    explicit Node(int* alive_) : alive(alive_) { ++*alive; }
    ~Node() { --*alive; }
    int* alive;
    refptr<Node> next;
};

class RefptrTest : public testing::Test {
protected:
    int alive = 0;
    refptr<Node> Make() { return new Node(&alive); }
};

TEST_F(RefptrTest, CopiesShareTheObjectAndTheLastOneDestroysIt) {
    refptr<Node> a = Make();
    {
        refptr<Node> b = a;
        refptr<Node> c;
        c = b;
        EXPECT_EQ(a->GetReferenceCount(), 3);
        refptr<Node> d = std::move(c);
        EXPECT_EQ(a->GetReferenceCount(), 3);
        EXPECT_FALSE(c); // NOLINT: a moved-from handle is null
        EXPECT_EQ(d, a);
    }
    EXPECT_EQ(a->GetReferenceCount(), 1);
    a = nullptr;
    EXPECT_EQ(alive, 0);
}

TEST_F(RefptrTest, SelfAssignmentLeavesTheCountUnchanged) {
    refptr<Node> a = Make();
    refptr<Node>& same = a;
    a = same;
    EXPECT_EQ(a->GetReferenceCount(), 1);
    a = std::move(same);
    EXPECT_EQ(a->GetReferenceCount(), 1);
    EXPECT_EQ(alive, 1);
}

TEST_F(RefptrTest, AssignmentReleasesTheOldObject) {
    refptr<Node> a = Make();
    refptr<Node> b = Make();
    a = b;
    EXPECT_EQ(alive, 1);
    EXPECT_EQ(b->GetReferenceCount(), 2);
    a = Make();
    EXPECT_EQ(alive, 2);
    EXPECT_EQ(b->GetReferenceCount(), 1);
}

TEST_F(RefptrTest, AnObjectMayBeReplacedByWhatItHolds) {
    refptr<Node> list = Make();
    list->next = Make();
    list->next->next = Make();
    for (int left = 3; list; --left) {
        EXPECT_EQ(alive, left);
        list = list->next;
    }
    EXPECT_EQ(alive, 0);
}

TEST_F(RefptrTest, ANullHandleIsCopiedAssignedAndDestroyed) {
    refptr<Node> null;
    refptr<Node> copy = null;
    copy = null;
    EXPECT_TRUE(copy == nullptr);
    copy = Make();
    copy = null;
    EXPECT_EQ(alive, 0);
}

TEST_F(RefptrTest, ACopyOfAnObjectHasNoReferencesYet) {
    struct Plain : mrefcount {};
    refptr<Plain> a = new Plain;
    Plain b = *a;
    EXPECT_EQ(b.GetReferenceCount(), 0);
    b.Increment();
    *a = b;
    EXPECT_EQ(a->GetReferenceCount(), 1);
}

} // namespace
