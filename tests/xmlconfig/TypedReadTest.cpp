#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <ostream>
#include <string>

#include "tests/xmlconfig/Loaded.h"

namespace {

TEST(StringRead, CopiesTheText) {
    Loaded loaded(section("a=\" x &amp; y \" e=\"\""));
    std::string value = "before";
    EXPECT_TRUE(loaded.node("S")->getString("a", value));
    EXPECT_EQ(value, " x & y ");
    EXPECT_TRUE(loaded.node("S")->getString("e", value));
    EXPECT_EQ(value, "");
}

TEST(StringRead, TellsKeysApartByCase) {
    Loaded loaded(section("armType=\"1\" ArmType=\"2\""));
    std::string value;
    EXPECT_TRUE(loaded.node("S")->getString("ArmType", value));
    EXPECT_EQ(value, "2");
    EXPECT_FALSE(loaded.node("S")->getString("ARMTYPE", value));
}

struct IntRow {
    const char* what;
    std::string text;
    std::int32_t number;
};

void PrintTo(const IntRow& row, std::ostream* out) {
    *out << row.what;
}

class IntRead : public testing::TestWithParam<IntRow> {};

TEST_P(IntRead, ConvertsWhatTheTextBeginsWith) {
    Loaded loaded(section("a=\"" + GetParam().text + "\""));
    std::int32_t value = -7;
    EXPECT_TRUE(loaded.node("S")->getInt("a", value));
    EXPECT_EQ(value, GetParam().number);
}

constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();

INSTANTIATE_TEST_SUITE_P(
    Texts, IntRead,
    testing::Values(IntRow{"Plain", "115200", 115200}, IntRow{"Negative", "-3", -3},
                    IntRow{"Plus", "+8", 8}, IntRow{"LeadingBlanks", " \t 8", 8},
                    IntRow{"BlankBehindTheSign", "- 8", 0}, IntRow{"TwoSigns", "+-8", 0},
                    IntRow{"BlankBetweenDigits", "8 9", 8}, IntRow{"TrailingText", "8N1", 8},
                    IntRow{"Fraction", "1.9", 1}, IntRow{"Hexadecimal", "0x10", 0},
                    IntRow{"LeadingZero", "010", 10}, IntRow{"NoDigits", "abc", 0},
                    IntRow{"Empty", "", 0}, IntRow{"Sign", "-", 0},
                    IntRow{"Most", "2147483647", kMost}, IntRow{"Least", "-2147483648", kLeast},
                    IntRow{"TooLarge", "2147483648", kMost},
                    IntRow{"TooSmall", "-2147483649", kLeast},
                    IntRow{"HugeDigits", std::string(10000, '9'), kMost},
                    IntRow{"HugeNegativeDigits", "-" + std::string(10000, '9'), kLeast}),
    [](const auto& test) { return test.param.what; });

struct UInt64Row {
    const char* what;
    std::string text;
    std::uint64_t number;
};

void PrintTo(const UInt64Row& row, std::ostream* out) {
    *out << row.what;
}

class UInt64Read : public testing::TestWithParam<UInt64Row> {};

TEST_P(UInt64Read, ScansTheText) {
    Loaded loaded(section("a=\"" + GetParam().text + "\""));
    std::uint64_t value = 77;
    EXPECT_TRUE(loaded.node("S")->getUInt64("a", value));
    EXPECT_EQ(value, GetParam().number);
}

constexpr std::uint64_t kMost64 = std::numeric_limits<std::uint64_t>::max();

INSTANTIATE_TEST_SUITE_P(
    Texts, UInt64Read,
    testing::Values(UInt64Row{"Plain", "42", 42}, UInt64Row{"Zero", "0", 0},
                    UInt64Row{"Plus", "+42", 42}, UInt64Row{"Negative", "-1", kMost64},
                    UInt64Row{"LeadingBlanks", " \t 42", 42}, UInt64Row{"LeadingZero", "010", 10},
                    UInt64Row{"Hexadecimal", "0x10", 0},
                    UInt64Row{"BeyondThirtyTwoBits", "4294967296", 4294967296},
                    UInt64Row{"Most", "18446744073709551615", kMost64},
                    UInt64Row{"OneTooMany", "18446744073709551616", kMost64},
                    UInt64Row{"HugeDigits", std::string(10000, '9'), kMost64},
                    UInt64Row{"TrailingText", "12ab", 12}, UInt64Row{"NoNumber", "abc", 77},
                    UInt64Row{"Empty", "", 77}),
    [](const auto& test) { return test.param.what; });

struct BoolRow {
    const char* what;
    const char* text;
    bool before;
    bool after;
};

void PrintTo(const BoolRow& row, std::ostream* out) {
    *out << row.what;
}

class BoolRead : public testing::TestWithParam<BoolRow> {};

TEST_P(BoolRead, KnowsTrueAndFalseInAnyCase) {
    Loaded loaded(section(std::string("a=\"") + GetParam().text + "\""));
    bool value = GetParam().before;
    EXPECT_TRUE(loaded.node("S")->getBool("a", value));
    EXPECT_EQ(value, GetParam().after);
}

INSTANTIATE_TEST_SUITE_P(Texts, BoolRead,
                         testing::Values(BoolRow{"True", "true", false, true},
                                         BoolRow{"UpperTrue", "TRUE", false, true},
                                         BoolRow{"MixedTrue", "tRuE", false, true},
                                         BoolRow{"False", "false", true, false},
                                         BoolRow{"UpperFalse", "FALSE", true, false},
                                         BoolRow{"MixedFalse", "FalsE", true, false},
                                         BoolRow{"NoKeepsTrue", "no", true, true},
                                         BoolRow{"ZeroKeepsTrue", "0", true, true},
                                         BoolRow{"LongerKeepsTrue", "falsehood", true, true},
                                         BoolRow{"ShorterKeepsFalse", "tru", false, false},
                                         BoolRow{"LeadingBlankKeepsTrue", " false", true, true},
                                         BoolRow{"YesKeepsFalse", "yes", false, false},
                                         BoolRow{"YesKeepsTrue", "yes", true, true},
                                         BoolRow{"OneKeepsFalse", "1", false, false},
                                         BoolRow{"BlankKeepsFalse", "true ", false, false},
                                         BoolRow{"EmptyKeepsTrue", "", true, true}),
                         [](const auto& test) { return test.param.what; });

TEST(NodeRead, FailsForAMissingAttribute) {
    Loaded loaded(section(""));
    expectEveryReadFails(*loaded.node("S"));
}

TEST(ItemRead, ConvertsAsANodeDoes) {
    Loaded loaded(section("", "<ConfigItem s=\"x\" i=\"-1\" u=\"5\" b=\"True\"/>"));
    std::list<SafePointer<XmlConfigureItem>> items;
    ASSERT_TRUE(loaded.node("S")->getItems(items));
    const XmlConfigureItem& item = *items.front();
    std::string text;
    std::int32_t number = 0;
    std::uint64_t large = 0;
    bool flag = false;
    EXPECT_TRUE(item.getString("s", text));
    EXPECT_TRUE(item.getInt("i", number));
    EXPECT_TRUE(item.getUInt64("u", large));
    EXPECT_TRUE(item.getBool("b", flag));
    EXPECT_EQ(text, "x");
    EXPECT_EQ(number, -1);
    EXPECT_EQ(large, 5U);
    EXPECT_TRUE(flag);
}

TEST(ItemRead, FailsForAMissingAttribute) {
    Loaded loaded(section("", "<ConfigItem/>"));
    std::list<SafePointer<XmlConfigureItem>> items;
    ASSERT_TRUE(loaded.node("S")->getItems(items));
    expectEveryReadFails(*items.front());
}

}  // namespace
