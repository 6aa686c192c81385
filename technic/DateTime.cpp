#include "technic/DateTime.h"

#include <array>
#include <cstdio>

namespace {

using Text = std::array<char, 100>;

void dateTime(Text& text, const DateTime& t) {
    (void)std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d", t.year, t.month,
                        t.day, t.hour, t.minute, t.second);
}

void timeDate(Text& text, const DateTime& t) {
    (void)std::snprintf(text.data(), text.size(), "%02d:%02d:%02d %04d-%02d-%02d", t.hour, t.minute,
                        t.second, t.year, t.month, t.day);
}

void monthFirst(Text& text, const DateTime& t) {
    (void)std::snprintf(text.data(), text.size(), "%02d/%02d/%04d %02d:%02d:%02d", t.month, t.day,
                        t.year, t.hour, t.minute, t.second);
}

void timeMonthFirst(Text& text, const DateTime& t) {
    (void)std::snprintf(text.data(), text.size(), "%02d:%02d:%02d %02d/%02d/%04d", t.hour, t.minute,
                        t.second, t.month, t.day, t.year);
}

void weekday(Text& text, const DateTime& t) {
    (void)std::snprintf(text.data(), text.size(), "%s %02d/%02d/%04d %02d:%02d:%02d",
                        weekdayName(t.dayOfWeek).c_str(), t.month, t.day, t.year, t.hour, t.minute,
                        t.second);
}

struct Layout {
    const char* name;
    void (*format)(Text& text, const DateTime& moment);
};

constexpr std::array<Layout, 5> kLayouts{{
    {date_time_layout::kDateTime, dateTime},
    {date_time_layout::kTimeDate, timeDate},
    {date_time_layout::kMonthFirst, monthFirst},
    {date_time_layout::kTimeMonthFirst, timeMonthFirst},
    {date_time_layout::kWeekday, weekday},
}};

constexpr int kDaysOfWeek = 7;

constexpr std::array<const char*, kDaysOfWeek> kEnglishNames{
    "Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};

constexpr std::array<const char*, kDaysOfWeek> kChineseNames{
    "\xD0\xC7\xC6\xDA\xC8\xD5", "\xD0\xC7\xC6\xDA\xD2\xBB", "\xD0\xC7\xC6\xDA\xB6\xFE",
    "\xD0\xC7\xC6\xDA\xC8\xFD", "\xD0\xC7\xC6\xDA\xCB\xC4", "\xD0\xC7\xC6\xDA\xCE\xE5",
    "\xD0\xC7\xC6\xDA\xC1\xF9"};

std::string nameOf(const std::array<const char*, kDaysOfWeek>& names, int dayOfWeek) {
    if (dayOfWeek < 0 || dayOfWeek >= kDaysOfWeek) {
        return {};
    }
    return names[static_cast<std::size_t>(dayOfWeek)];
}

}  // namespace

std::string formatDateTime(const DateTime& moment, const std::string& layoutName) {
    for (const Layout& layout : kLayouts) {
        if (layoutName == layout.name) {
            Text text{};
            layout.format(text, moment);
            return text.data();
        }
    }
    return date_time_layout::kError;
}

std::string weekdayName(int dayOfWeek) {
    return nameOf(kEnglishNames, dayOfWeek);
}

std::string weekdayNameChinese(int dayOfWeek) {
    return nameOf(kChineseNames, dayOfWeek);
}
