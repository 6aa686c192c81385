#include "technic/PathTrim.h"

#include <gtest/gtest.h>

namespace {

struct TrimCase {
    const char* path;
    std::size_t end;
};

class PathTrim : public testing::TestWithParam<TrimCase> {};

TEST_P(PathTrim, EndsBehindTheLastCharacterThatIsNotASlash) {
    EXPECT_EQ(endWithoutTrailingSlashes(GetParam().path), GetParam().end);
}

INSTANTIATE_TEST_SUITE_P(Paths, PathTrim,
                         testing::Values(TrimCase{"/mnt/log", 8}, TrimCase{"/mnt/log/", 8},
                                         TrimCase{"/mnt/log///", 8}, TrimCase{"/a", 2},
                                         TrimCase{"a/", 1}, TrimCase{"/", 1}, TrimCase{"a", 1},
                                         TrimCase{"", 0}, TrimCase{"//", 1}));

}  // namespace
