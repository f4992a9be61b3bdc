#ifndef PELKO_TOOL_EXPORT_HTML_DATES_H
#define PELKO_TOOL_EXPORT_HTML_DATES_H

#include <string>

// Dates in the local time zone, as pages show them.

namespace pelkotool {

std::string dayOf(unsigned int date);    ///< "2024-03-01"
std::string clockOf(unsigned int date);  ///< "18:30"
/// "Friday, 1 March 2024"
std::string dayWords(unsigned int date);
/// "CET", the zone at that time
std::string zoneOf(unsigned int date);

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_HTML_DATES_H
