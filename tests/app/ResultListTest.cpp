#include <gtest/gtest.h>

#include "app/ResultList.h"

namespace {

TEST(ResultList, SucceedsWhenEmpty) {
    EXPECT_TRUE(ResultList().allSucceeded());
}

TEST(ResultList, SucceedsWhenEveryTypeDid) {
    ResultList results;
    results.recordSuccess(1);
    results.recordSuccess(2);
    EXPECT_TRUE(results.allSucceeded());
}

TEST(ResultList, FailsWithOneFailedType) {
    ResultList results;
    results.recordSuccess(1);
    results.recordFailure(2);
    results.recordSuccess(3);
    EXPECT_FALSE(results.allSucceeded());
}

TEST(ResultList, LetsALaterSuccessOverrideAFailureOfTheType) {
    ResultList results;
    results.recordFailure(1);
    results.recordSuccess(1);
    EXPECT_TRUE(results.allSucceeded());
}

TEST(ResultList, LetsNoLaterFailureOverrideASuccessOfTheType) {
    ResultList results;
    results.recordSuccess(1);
    results.recordFailure(1);
    EXPECT_TRUE(results.allSucceeded());
}

TEST(ResultList, KeepsTypesApart) {
    ResultList results;
    results.recordFailure(1);
    results.recordSuccess(-1);
    EXPECT_FALSE(results.allSucceeded());
}

}  // namespace
