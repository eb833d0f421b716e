#include "records/calendar_format.h"

#include <ctime>

namespace brinora {

std::string formatCalendar(const CalendarDateTime& value, const char* format) {
    std::tm tm{};
    tm.tm_year = value.year - 1900;
    tm.tm_mon = value.month - 1;
    tm.tm_mday = value.day;
    tm.tm_hour = value.hour;
    tm.tm_min = value.minute;
    tm.tm_sec = value.second;
    tm.tm_isdst = -1;
    char buffer[128];
    const std::size_t length = std::strftime(buffer, sizeof buffer, format, &tm);
    return std::string(buffer, length);
}

}  // namespace brinora
