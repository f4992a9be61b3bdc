#include "tools/pelko/export/HtmlDates.h"

#include <array>
#include <ctime>

#include "tools/pelko/Times.h"

namespace pelkotool {

namespace {

// The program keeps the C locale, so the words are English.
std::string localWords(const char* format, unsigned int date) {
    const std::time_t time = date;
    const std::tm* const local = std::localtime(&time);
    std::array<char, 64> text{};
    const std::size_t length = local == nullptr ? 0 : std::strftime(text.data(), text.size(), format, local);
    return {text.data(), length};
}

}  // namespace

std::string dayOf(unsigned int date) {
    return localTime(date).substr(0, 10);
}

std::string clockOf(unsigned int date) {
    return localTime(date).substr(11);
}

std::string dayWords(unsigned int date) {
    const std::string dayOfMonth = localWords("%d", date);
    return localWords("%A, ", date) + (dayOfMonth.front() == '0' ? dayOfMonth.substr(1) : dayOfMonth) +
           localWords(" %B %Y", date);
}

std::string zoneOf(unsigned int date) {
    return localWords("%Z", date);
}

}  // namespace pelkotool
