#ifndef PELKO_TOOL_NUMBER_H
#define PELKO_TOOL_NUMBER_H

#include <string>
#include <string_view>

namespace pelkotool {

/// A number of decimal digits alone, from `least` to `most`.
/// @param name  what it is the value of, for the error line
/// @throws UsageError for any other text
long long parseNumber(const std::string& name, std::string_view text, long long least, long long most);

}  // namespace pelkotool

#endif  // PELKO_TOOL_NUMBER_H
