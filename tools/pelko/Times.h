#ifndef PELKO_TOOL_TIMES_H
#define PELKO_TOOL_TIMES_H

#include <string>

namespace pelkotool {

constexpr long long secondsPerDay = 24LL * 60 * 60;

/// For people: "2018-05-29 23:20" in local time.
std::string localTime(unsigned int secondsSince1970);

/// For scripts: "2018-05-29T21:20:00Z", ISO 8601 in UTC.
std::string isoTime(unsigned int secondsSince1970);

/// "2018-05-29", the day that lies so many days after 1970-01-01.
std::string dayText(long long daysSince1970);

/// The present, as a message is dated.
unsigned int now();

}  // namespace pelkotool

#endif  // PELKO_TOOL_TIMES_H
