#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>

#include "app/UpdateRules.h"

using update_rules::isSameHardware;
using update_rules::maskHardware;
using update_rules::needsUpdate;

namespace {

struct MaskRow {
    const char* what;
    const char* text;
    const char* mask;
    std::optional<std::string> masked;
};

void PrintTo(const MaskRow& row, std::ostream* out) {
    *out << row.what;
}

class HardwareMask : public testing::TestWithParam<MaskRow> {};

TEST_P(HardwareMask, IsAndedOverTheText) {
    EXPECT_EQ(maskHardware(GetParam().text, GetParam().mask), GetParam().masked);
}

INSTANTIATE_TEST_SUITE_P(Masks, HardwareMask,
                         testing::Values(MaskRow{"EmptyMaskChangesNothing", "0a1b", "", "0a1b"},
                                         MaskRow{"EmptyMaskKeepsAnyText", "xyz", "", "xyz"},
                                         MaskRow{"HalfOfTheText", "0a1b", "ff00", "0a00"},
                                         MaskRow{"SingleBits", "ffff", "8001", "8001"},
                                         MaskRow{"UpperCaseGivesLowerCase", "ABCD", "FFFF", "abcd"},
                                         MaskRow{"LongerThanTheText", "0a", "ff00", "0a"},
                                         MaskRow{"BeyondTheTextAnything", "0a", "ffzz", "0a"},
                                         MaskRow{"EmptyText", "", "ff00", ""},
                                         MaskRow{"OddTextIsRoundedUp", "abc", "ffff", "ab0c"},
                                         MaskRow{"OddTextAndMask", "abc", "fff", "ab0c"},
                                         MaskRow{"ShorterThanTheText", "0a1b", "ff", std::nullopt},
                                         MaskRow{"ShorterByOneDigit", "0a1b", "ff0", std::nullopt},
                                         MaskRow{"OtherDigits", "0a1b", "zzzz", std::nullopt},
                                         MaskRow{"Prefix", "0a1b", "0xff00", std::nullopt},
                                         MaskRow{"Sign", "0a1b", "-1ff", std::nullopt},
                                         MaskRow{"Blank", "0a1b", " fff", std::nullopt},
                                         MaskRow{"TextOfOtherDigits", "zz", "ff", std::nullopt}),
                         [](const auto& test) { return test.param.what; });

struct HardwareRow {
    const char* what;
    const char* mcu;
    const char* file;
    const char* mask;
    bool same;
};

void PrintTo(const HardwareRow& row, std::ostream* out) {
    *out << row.what;
}

class HardwareCheck : public testing::TestWithParam<HardwareRow> {};

TEST_P(HardwareCheck, ComparesTheMaskedTexts) {
    EXPECT_EQ(isSameHardware(GetParam().mcu, GetParam().file, GetParam().mask), GetParam().same);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, HardwareCheck,
    testing::Values(HardwareRow{"EqualWithoutMask", "0a1b", "0a1b", "", true},
                    HardwareRow{"DifferentWithoutMask", "0a1b", "0a1c", "", false},
                    HardwareRow{"DifferenceMaskedOut", "0a1b", "0a1c", "ff00", true},
                    HardwareRow{"DifferenceNotMaskedOut", "0a1b", "0b1b", "ff00", false},
                    HardwareRow{"BothEmpty", "", "", "", true},
                    HardwareRow{"FileEmpty", "0a1b", "", "", false},
                    HardwareRow{"FileEmptyUnderAMask", "0a1b", "", "ffff", false},
                    HardwareRow{"OneIsLonger", "0a1b", "0a1b00", "", false},
                    HardwareRow{"OneIsLongerUnderAMask", "0a1b", "0a1b00", "000000", false},
                    HardwareRow{"MaskTooShortForOne", "0a", "0a1b", "ff", false},
                    HardwareRow{"EqualButMaskTooShort", "0a1b", "0a1b", "ff", false},
                    HardwareRow{"EqualButMaskUnusable", "0a1b", "0a1b", "zzzz", false},
                    HardwareRow{"MaskOfZerosTakesAny", "0a1b", "ffff", "0000", true}),
    [](const auto& test) { return test.param.what; });

struct DecisionRow {
    const char* what;
    const char* mcu;
    const char* file;
    bool force;
    bool higher;
    bool needed;
};

void PrintTo(const DecisionRow& row, std::ostream* out) {
    *out << row.what;
}

class UpdateDecision : public testing::TestWithParam<DecisionRow> {};

TEST_P(UpdateDecision, FollowsTheNumbersAndTheFlags) {
    const DecisionRow& row = GetParam();
    EXPECT_EQ(needsUpdate(row.mcu, row.file, row.force, row.higher), row.needed);
}

INSTANTIATE_TEST_SUITE_P(
    Versions, UpdateDecision,
    testing::Values(DecisionRow{"EqualNeverUpdates", "210", "210", false, false, false},
                    DecisionRow{"EqualUpdatesWhenForced", "210", "210", true, false, true},
                    DecisionRow{"EqualIsNotHigher", "210", "210", false, true, false},
                    DecisionRow{"ForcedBeatsHigher", "2105", "2104", true, true, true},
                    DecisionRow{"LowerIsNotHigher", "2105", "2104", false, true, false},
                    DecisionRow{"LowerDiffers", "2105", "2104", false, false, true},
                    DecisionRow{"HigherIsHigher", "2104", "2105", false, true, true},
                    DecisionRow{"HigherDiffers", "2104", "2105", false, false, true},
                    DecisionRow{"NumbersNotTexts", "99", "100", false, true, true},
                    DecisionRow{"LeadingZeros", "0512", "512", false, false, false},
                    DecisionRow{"NoNumberIsZero", "abc", "000", false, false, false},
                    DecisionRow{"DigitsCountUpToOtherText", "210b", "210", false, false, false},
                    DecisionRow{"EmptyIsZero", "", "1", false, true, true},
                    DecisionRow{"MostThatThreeBytesGive", "255255254", "255255255", false, true,
                                true}),
    [](const auto& test) { return test.param.what; });

}  // namespace
