#include "technic/DateTime.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>

namespace {

DateTime someMoment() {
    DateTime moment;
    moment.year = 2024;
    moment.month = 5;
    moment.dayOfWeek = 3;
    moment.day = 8;
    moment.hour = 7;
    moment.minute = 6;
    moment.second = 9;
    return moment;
}

TEST(DateTimeRecord, HoldsSixteenBitPartsInOrder) {
    const DateTime moment = someMoment();
    std::array<std::uint16_t, 7> parts{};
    ASSERT_EQ(sizeof(moment), sizeof(parts));
    std::memcpy(parts.data(), &moment, sizeof(parts));
    EXPECT_EQ(parts, (std::array<std::uint16_t, 7>{2024, 5, 3, 8, 7, 6, 9}));
}

struct LayoutCase {
    const char* layout;
    const char* text;
};

class FormatDateTime : public testing::TestWithParam<LayoutCase> {};

TEST_P(FormatDateTime, GivesTheMomentInTheNamedLayout) {
    EXPECT_EQ(formatDateTime(someMoment(), GetParam().layout), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Layouts, FormatDateTime,
                         testing::Values(LayoutCase{"YYYY-MM-DD hh:mm:ss", "2024-05-08 07:06:09"},
                                         LayoutCase{"hh:mm:ss YYYY-MM-DD", "07:06:09 2024-05-08"},
                                         LayoutCase{"MM/DD/YYYY hh:mm:ss", "05/08/2024 07:06:09"},
                                         LayoutCase{"hh:mm:ss MM/DD/YYYY", "07:06:09 05/08/2024"},
                                         LayoutCase{"weekday MM/DD/YYYY hh:mm:ss",
                                                    "Wednesday 05/08/2024 07:06:09"},
                                         LayoutCase{"YYYY/MM/DD", "ErrorFormat"},
                                         LayoutCase{"yyyy-mm-dd hh:mm:ss", "ErrorFormat"},
                                         LayoutCase{"", "ErrorFormat"}));

TEST(FormatDateTimeLimits, LargestPartsAreWrittenWhole) {
    DateTime moment;
    moment.year = moment.month = moment.day = 65535;
    moment.hour = moment.minute = moment.second = 65535;
    moment.dayOfWeek = 7;
    EXPECT_EQ(formatDateTime(moment, "weekday MM/DD/YYYY hh:mm:ss"),
              " 65535/65535/65535 65535:65535:65535");
}

struct WeekdayCase {
    int dayOfWeek;
    const char* english;
    const char* chinese;
};

class Weekday : public testing::TestWithParam<WeekdayCase> {};

TEST_P(Weekday, HasItsEnglishAndItsChineseName) {
    EXPECT_EQ(weekdayName(GetParam().dayOfWeek), GetParam().english);
    EXPECT_EQ(weekdayNameChinese(GetParam().dayOfWeek), GetParam().chinese);
}

INSTANTIATE_TEST_SUITE_P(Days, Weekday,
                         testing::Values(WeekdayCase{0, "Sunday", "\xD0\xC7\xC6\xDA\xC8\xD5"},
                                         WeekdayCase{1, "Monday", "\xD0\xC7\xC6\xDA\xD2\xBB"},
                                         WeekdayCase{2, "Tuesday", "\xD0\xC7\xC6\xDA\xB6\xFE"},
                                         WeekdayCase{3, "Wednesday", "\xD0\xC7\xC6\xDA\xC8\xFD"},
                                         WeekdayCase{4, "Thursday", "\xD0\xC7\xC6\xDA\xCB\xC4"},
                                         WeekdayCase{5, "Friday", "\xD0\xC7\xC6\xDA\xCE\xE5"},
                                         WeekdayCase{6, "Saturday", "\xD0\xC7\xC6\xDA\xC1\xF9"},
                                         WeekdayCase{7, "", ""}, WeekdayCase{-1, "", ""}));

}  // namespace
