// Calendar formats of the output record and the proposed file names, written
// with the strftime conventions (%H hour 00-23, %I hour 01-12, %M minute,
// %S second, %m month, %d day, %y two-digit year, %Y four-digit year).
#pragma once

#include <string>

namespace brinora {

// A calendar date and time of day in the system time zone, as a date picker
// holds it. Two values are the same date when every member is equal.
struct CalendarDateTime {
    int year = 1970;   // four-digit year
    int month = 1;     // 1..12
    int day = 1;       // 1..31
    int hour = 0;      // 0..23
    int minute = 0;    // 0..59
    int second = 0;    // 0..59
    friend bool operator==(const CalendarDateTime&, const CalendarDateTime&) = default;
};

// Time column of a form record: hour, MONTH and second ("%H:%m:%S"). The
// month in the middle is what the record has always carried.
inline constexpr const char* kRecordTimeFormat = "%H:%m:%S";
// Date column of a form record: month/day/four-digit year.
inline constexpr const char* kRecordDateFormat = "%m/%d/%Y";
// Date and time in a proposed output file name: month-day-year hour12.minute.
inline constexpr const char* kFileNameDateFormat = "%m-%d-%y %I.%M";

// `value` written with the strftime `format`.
std::string formatCalendar(const CalendarDateTime& value, const char* format);

}  // namespace brinora
