// The instance heap: block tracking, reallocation, discard, failure injection.
#include <cstring>

#include <gtest/gtest.h>
#include <qrnp/qrnp_os.h>

namespace {

class HeapTest : public ::testing::Test {
protected:
    void SetUp() override {
        iHeaps = KNL_Heap_LiveHeaps();
        iBlocks = KNL_Heap_LiveBlocks();
        ASSERT_EQ(KNL_Heap_Create(2, &token), 0);
    }
    void TearDown() override {
        KNL_Heap_FailNthCall(0);
        if (token != nullptr) KNL_Heap_Discard(token);
        EXPECT_EQ(KNL_Heap_LiveHeaps(), iHeaps);
        EXPECT_EQ(KNL_Heap_LiveBlocks(), iBlocks);
    }
    void* Acquire(uint64_t iSize) {
        void* p = nullptr;
        EXPECT_EQ(KNL_Heap_Acquire(token, iSize, &p), 0);
        return p;
    }
    KNL_HeapToken token = nullptr;
    int64_t iHeaps = 0, iBlocks = 0;
};

TEST_F(HeapTest, AcquiredBlocksAreZeroedAndCountedUntilDiscard) {
    auto* p = static_cast<unsigned char*>(Acquire(64));
    for (int i = 0; i < 64; ++i) ASSERT_EQ(p[i], 0) << i;
    Acquire(0);
    EXPECT_EQ(KNL_Heap_LiveBlocks(), iBlocks + 2);
    EXPECT_EQ(KNL_Heap_LiveHeaps(), iHeaps + 1);
    ASSERT_EQ(KNL_Heap_Discard(token), 0);
    EXPECT_EQ(KNL_Heap_LiveBlocks(), iBlocks);
    EXPECT_NE(KNL_Heap_Discard(token), 0) << "a discarded heap's token is stale";
    token = nullptr;
}

TEST_F(HeapTest, ReallocateKeepsContentsAndZeroesGrowth) {
    auto* p = static_cast<unsigned char*>(Acquire(10));
    std::memset(p, 0x5A, 10);
    void* pNew = nullptr;
    ASSERT_EQ(KNL_Heap_Reallocate(token, p, 4000, &pNew), 0);
    auto* q = static_cast<unsigned char*>(pNew);
    for (int i = 0; i < 4000; ++i) ASSERT_EQ(q[i], i < 10 ? 0x5A : 0) << i;
    ASSERT_EQ(KNL_Heap_Reallocate(token, q, 4, &pNew), 0);
    EXPECT_EQ(static_cast<unsigned char*>(pNew)[3], 0x5A);
    EXPECT_EQ(KNL_Heap_LiveBlocks(), iBlocks + 1);
}

TEST_F(HeapTest, ForeignBlocksAndBadTokensAreRefused) {
    KNL_HeapToken other = nullptr;
    ASSERT_EQ(KNL_Heap_Create(0, &other), 0);
    void* pForeign = nullptr;
    ASSERT_EQ(KNL_Heap_Acquire(other, 8, &pForeign), 0);
    void* pOut = &pOut;
    EXPECT_NE(KNL_Heap_Reallocate(token, pForeign, 16, &pOut), 0);
    EXPECT_EQ(pOut, &pOut) << "output left alone on failure";
    int iStack = 0;
    EXPECT_NE(KNL_Heap_Reallocate(token, &iStack, 16, &pOut), 0);
    EXPECT_NE(KNL_Heap_Reallocate(token, nullptr, 16, &pOut), 0);
    EXPECT_EQ(KNL_Heap_Discard(other), 0);

    void* p = &p;
    EXPECT_NE(KNL_Heap_Acquire(nullptr, 8, &p), 0);
    EXPECT_EQ(p, nullptr);
    EXPECT_NE(KNL_Heap_Acquire(&iStack, 8, &p), 0);
    EXPECT_NE(KNL_Heap_Discard(nullptr), 0);
    EXPECT_NE(KNL_Heap_Create(0, nullptr), 0);
}

// After FailNthCall(n) on a live heap: Acquire, Acquire, Reallocate, Discard.
// Exactly call n fails, and a failed call changes nothing.
TEST_F(HeapTest, FailureInjectionHitsExactlyTheNthCall) {
    for (int n = 1; n <= 4; ++n) {
        SCOPED_TRACE(n);
        if (token == nullptr) {
            ASSERT_EQ(KNL_Heap_Create(0, &token), 0);
        }
        KNL_Heap_FailNthCall(n);
        void* a = nullptr;
        void* b = nullptr;
        EXPECT_EQ(KNL_Heap_Acquire(token, 8, &a) != 0, n == 1);
        EXPECT_EQ(KNL_Heap_Acquire(token, 8, &b) != 0, n == 2);
        void* pOld = b != nullptr ? b : a;
        void* pNew = pOld;
        EXPECT_EQ(KNL_Heap_Reallocate(token, pOld, 64, &pNew) != 0, n == 3);
        if (n == 3) {
            EXPECT_EQ(pNew, pOld);
        }
        EXPECT_EQ(KNL_Heap_LiveBlocks(), iBlocks + (n <= 2 ? 1 : 2));
        EXPECT_EQ(KNL_Heap_Discard(token) != 0, n == 4);
        if (n == 4) {
            EXPECT_EQ(KNL_Heap_Discard(token), 0) << "the heap survived the failed discard";
        }
        token = nullptr;
    }
    KNL_HeapToken t = &t;
    KNL_Heap_FailNthCall(1);
    EXPECT_NE(KNL_Heap_Create(0, &t), 0);
    EXPECT_EQ(t, nullptr);
    EXPECT_EQ(KNL_Heap_LiveHeaps(), iHeaps);
}

// Every call counts, refused ones included, as failure injection counts them.
TEST_F(HeapTest, CallCountCountsEveryCall) {
    const int64_t iBefore = KNL_Heap_CallCount();
    void* p = nullptr;
    EXPECT_EQ(KNL_Heap_Acquire(token, 8, &p), 0);
    EXPECT_EQ(KNL_Heap_Reallocate(token, p, 16, &p), 0);
    EXPECT_NE(KNL_Heap_Acquire(nullptr, 8, &p), 0);
    EXPECT_EQ(KNL_Heap_CallCount() - iBefore, 3);
}

}  // namespace
