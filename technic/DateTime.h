#pragma once

#include <cstdint>
#include <string>

// A moment as its parts.
struct DateTime {
    std::uint16_t year = 0;
    std::uint16_t month = 0;      // 1 to 12
    std::uint16_t dayOfWeek = 0;  // 0 Sunday to 6 Saturday
    std::uint16_t day = 0;        // of the month, from 1
    std::uint16_t hour = 0;
    std::uint16_t minute = 0;
    std::uint16_t second = 0;
};

// The names of the layouts that formatDateTime knows, and its answer to any other name.
namespace date_time_layout {

constexpr char kError[] = "ErrorFormat";
constexpr char kDateTime[] = "YYYY-MM-DD hh:mm:ss";
constexpr char kTimeDate[] = "hh:mm:ss YYYY-MM-DD";
constexpr char kMonthFirst[] = "MM/DD/YYYY hh:mm:ss";
constexpr char kTimeMonthFirst[] = "hh:mm:ss MM/DD/YYYY";
constexpr char kWeekday[] = "weekday MM/DD/YYYY hh:mm:ss";

}  // namespace date_time_layout

// The moment in the layout of that name; "ErrorFormat" when no layout has it. The parts are not
// checked.
std::string formatDateTime(const DateTime& moment, const std::string& layoutName);

// The day's name for 0 (Sunday) to 6 (Saturday), for any other number an empty string: in English,
// and in Chinese as GB2312 bytes.
std::string weekdayName(int dayOfWeek);
std::string weekdayNameChinese(int dayOfWeek);
