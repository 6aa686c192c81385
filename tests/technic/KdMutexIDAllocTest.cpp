#include "technic/KdMutexIDAlloc.h"

#include <gtest/gtest.h>

namespace {

TEST(KdMutexIDAlloc, StartsWithoutAnyWord) {
    KdMutexIDAlloc ids;
    EXPECT_EQ(ids.wordCount(), 0U);
}

TEST(KdMutexIDAlloc, HandsOutIdsFromZeroUp) {
    KdMutexIDAlloc ids;
    EXPECT_EQ(ids.allocate(), 0U);
    EXPECT_EQ(ids.allocate(), 1U);
    EXPECT_EQ(ids.allocate(), 2U);
    EXPECT_EQ(ids.wordCount(), 10U);
}

TEST(KdMutexIDAlloc, LowestFreeIdIsReusedFirst) {
    KdMutexIDAlloc ids;
    for (int i = 0; i < 70; ++i) {
        ids.allocate();
    }
    ids.free(65);
    ids.free(1);
    EXPECT_EQ(ids.allocate(), 1U);
    EXPECT_EQ(ids.allocate(), 65U);
    EXPECT_EQ(ids.allocate(), 70U);
}

TEST(KdMutexIDAlloc, The321stIdGrowsTheTableByTenWords) {
    KdMutexIDAlloc ids;
    for (std::uint32_t i = 0; i < 320; ++i) {
        ASSERT_EQ(ids.allocate(), i);
    }
    EXPECT_EQ(ids.wordCount(), 10U);
    EXPECT_EQ(ids.allocate(), 320U);
    EXPECT_EQ(ids.wordCount(), 20U);
    EXPECT_EQ(ids.allocate(), 321U);
}

TEST(KdMutexIDAlloc, TableGrowsByTenWordsEveryTime) {
    KdMutexIDAlloc ids;
    for (std::uint32_t i = 0; i < 640; ++i) {
        ASSERT_EQ(ids.allocate(), i);
    }
    EXPECT_EQ(ids.allocate(), 640U);
    EXPECT_EQ(ids.wordCount(), 30U);
}

TEST(KdMutexIDAlloc, TableNeverShrinks) {
    KdMutexIDAlloc ids;
    for (int i = 0; i < 321; ++i) {
        ids.allocate();
    }
    for (std::uint32_t id = 0; id < 321; ++id) {
        ids.free(id);
    }
    EXPECT_EQ(ids.wordCount(), 20U);
    EXPECT_EQ(ids.allocate(), 0U);
}

TEST(KdMutexIDAlloc, IdsInUseSurviveGrowth) {
    KdMutexIDAlloc ids;
    for (int i = 0; i < 321; ++i) {
        ids.allocate();
    }
    ids.free(100);
    EXPECT_EQ(ids.allocate(), 100U);
    EXPECT_EQ(ids.allocate(), 321U);
}

TEST(KdMutexIDAlloc, IdThatWasNeverHandedOutIsIgnored) {
    KdMutexIDAlloc ids;
    ids.free(5);
    ids.free(100000);
    EXPECT_EQ(ids.allocate(), 0U);
}

}  // namespace
