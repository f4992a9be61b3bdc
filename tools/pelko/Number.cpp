#include "tools/pelko/Number.h"

#include <charconv>

#include "tools/pelko/ToolError.h"

namespace pelkotool {

long long parseNumber(const std::string& name, std::string_view text, long long least, long long most) {
    long long number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end || text.front() == '-' || number < least || number > most) {
        throw UsageError(name + " '" + std::string(text) + "' is not a number from " + std::to_string(least) +
                         " to " + std::to_string(most));
    }
    return number;
}

}  // namespace pelkotool
