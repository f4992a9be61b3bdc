#include "tools/pelko/Times.h"

#include <array>
#include <ctime>

namespace pelkotool {

namespace {

std::string formatted(const char* format, const std::tm* time) {
    std::array<char, 64> text{};
    const std::size_t length = time == nullptr ? 0 : std::strftime(text.data(), text.size(), format, time);
    return {text.data(), length};
}

}  // namespace

std::string localTime(unsigned int secondsSince1970) {
    const std::time_t time = secondsSince1970;
    return formatted("%Y-%m-%d %H:%M", std::localtime(&time));
}

std::string isoTime(unsigned int secondsSince1970) {
    const std::time_t time = secondsSince1970;
    return formatted("%Y-%m-%dT%H:%M:%SZ", std::gmtime(&time));
}

std::string dayText(long long daysSince1970) {
    const std::time_t time = daysSince1970 * secondsPerDay;
    return formatted("%Y-%m-%d", std::gmtime(&time));
}

unsigned int now() {
    return static_cast<unsigned int>(std::time(nullptr));
}

}  // namespace pelkotool
