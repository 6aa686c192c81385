#include "technic/string_util.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "technic/TrackedAlloc.h"
#include "tests/technic/StdoutCapture.h"

namespace {

struct TextCase {
    const char* name;
    std::string utf8;
    std::wstring wide;
};

class Conversion : public testing::TestWithParam<TextCase> {};

TEST_P(Conversion, Utf8BecomesWide) {
    std::wstring wide = L"former";
    EXPECT_EQ(utf8ToWide(GetParam().utf8, wide), 0U);
    EXPECT_EQ(wide, GetParam().wide);
}

TEST_P(Conversion, WideBecomesUtf8) {
    std::string utf8 = "former";
    EXPECT_EQ(wideToUtf8(GetParam().wide, utf8), 0U);
    EXPECT_EQ(utf8, GetParam().utf8);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, Conversion,
    testing::Values(TextCase{"Empty", "", L""}, TextCase{"Ascii", "MCU 2.10", L"MCU 2.10"},
                    TextCase{"TwoBytes", "\xC3\xA9", L"\u00E9"},
                    TextCase{"ThreeBytes", "\xE5\x8D\x87\xE7\xBA\xA7", L"\u5347\u7EA7"},
                    TextCase{"FourBytes", "\xF0\x9F\x98\x80\xF0\x9F\x98\x80",
                             L"\U0001F600\U0001F600"},
                    TextCase{"ZeroInside", std::string("a\0b", 3), std::wstring(L"a\0b", 3)},
                    TextCase{"Long", std::string(5000, 'x'), std::wstring(5000, L'x')}),
    [](const testing::TestParamInfo<TextCase>& row) { return row.param.name; });

TEST(Utf8ToWide, InvalidInputFailsAndLeavesTheDestination) {
    std::wstring wide = L"former";
    EXPECT_EQ(utf8ToWide("good\xFF"
                         "tail",
                         wide),
              kConversionFailed);
    EXPECT_EQ(wide, L"former");
}

TEST(Utf8ToWide, CharacterCutShortFails) {
    std::wstring wide = L"former";
    EXPECT_EQ(utf8ToWide("\xE5\x8D", wide), kConversionFailed);
    EXPECT_EQ(wide, L"former");
}

TEST(WideToUtf8, InvalidInputFailsAndLeavesTheDestination) {
    std::string utf8 = "former";
    EXPECT_EQ(wideToUtf8(std::wstring(1, static_cast<wchar_t>(0xD800)), utf8), kConversionFailed);
    EXPECT_EQ(utf8, "former");
}

std::string dumpedHistory() {
    StdoutCapture capture;
    dumpAllocHistory();
    return capture.text();
}

// The lengths are no other test's.
TEST(ConversionBuffer, OfUtf8IsATrackedAllocationOfFourBytesForEachByteAndOneMore) {
    std::wstring wide;
    utf8ToWide(std::string(776, 'x') + "\xC3\xA9", wide);
    EXPECT_THAT(dumpedHistory(),
                testing::ContainsRegex("alloc in string_util.cpp line [0-9]+ size=3116,"));
}

TEST(ConversionBuffer, OfWideIsATrackedAllocationOfFourBytesForEachCharacterAndOneMore) {
    std::string utf8;
    wideToUtf8(std::wstring(888, L'x'), utf8);
    EXPECT_THAT(dumpedHistory(),
                testing::ContainsRegex("alloc in string_util.cpp line [0-9]+ size=3556,"));
}

}  // namespace
