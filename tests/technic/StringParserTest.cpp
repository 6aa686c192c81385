#include "technic/StringParser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "technic/TrackedAlloc.h"
#include "tests/technic/StdoutCapture.h"

namespace {

using Tokens = std::vector<std::string>;

Tokens tokensOf(const StringParser& parser) {
    Tokens tokens;
    for (std::size_t i = 0; i < parser.tokenCount(); ++i) {
        tokens.push_back(parser.token(i));
    }
    return tokens;
}

struct SplitCase {
    const char* text;
    const char* delimiter;
    Tokens tokens;
};

class StringParserSplit : public testing::TestWithParam<SplitCase> {};

TEST_P(StringParserSplit, KeepsTheNonEmptyPiecesInOrder) {
    StringParser parser;
    EXPECT_EQ(parser.split(GetParam().text, GetParam().delimiter), GetParam().tokens.size());
    EXPECT_EQ(tokensOf(parser), GetParam().tokens);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, StringParserSplit,
    testing::Values(SplitCase{"a,b,c", ",", {"a", "b", "c"}}, SplitCase{"abc", ",", {"abc"}},
                    SplitCase{"/mnt/mtd/log", "/", {"mnt", "mtd", "log"}},
                    SplitCase{"//a///b//", "/", {"a", "b"}}, SplitCase{",", ",", {}},
                    SplitCase{",,,", ",", {}}, SplitCase{"a--b-c--", "--", {"a", "b-c"}},
                    SplitCase{"aaa", "aa", {"a"}}, SplitCase{"ab", "abc", {"ab"}},
                    SplitCase{"", ",", {}}, SplitCase{nullptr, ",", {}},
                    SplitCase{"a,b", nullptr, {}}, SplitCase{"a,b", "", {}}));

TEST(StringParser, AppendsToTheTokensOfFormerSplits) {
    StringParser parser;
    EXPECT_EQ(parser.split("a b", " "), 2U);
    EXPECT_EQ(parser.split("c", " "), 1U);
    EXPECT_EQ(tokensOf(parser), (Tokens{"a", "b", "c"}));
}

TEST(StringParser, TokensAreCopies) {
    StringParser parser;
    std::string text = "one two";
    parser.split(text.c_str(), " ");
    text.assign("xxxxxxx");
    EXPECT_EQ(tokensOf(parser), (Tokens{"one", "two"}));
}

TEST(StringParser, TokensAreRememberedUnderLine33) {
    StringParser parser;
    parser.split("token", ",");
    StdoutCapture capture;
    dumpAllocHistory();
    EXPECT_NE(capture.text().find("alloc in StringParser.cpp line 33 size=" +
                                  std::to_string(sizeof(std::string)) + ","),
              std::string::npos);
}

}  // namespace
