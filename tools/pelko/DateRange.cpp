#include "tools/pelko/DateRange.h"

#include <algorithm>
#include <ctime>
#include <iomanip>
#include <limits>
#include <sstream>

#include "tools/pelko/Arguments.h"
#include "tools/pelko/Times.h"
#include "tools/pelko/ToolError.h"

namespace pelkotool {

namespace {

enum class End { first, last };

/// Whether the text has a digit wherever the form has a 0, and is the same elsewhere. std::get_time alone
/// also takes blanks for digits.
bool hasForm(const std::string& text, const std::string& form) {
    return std::equal(text.begin(), text.end(), form.begin(), form.end(),
                      [](char c, char place) { return place == '0' ? c >= '0' && c <= '9' : c == place; });
}

/// Reads the whole text by the format of std::get_time.
std::optional<std::tm> readAs(const std::string& text, const char* format) {
    std::tm time{};
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    stream >> std::get_time(&time, format);
    if (stream.fail() || stream.peek() != std::istringstream::traits_type::eof()) {
        return std::nullopt;
    }
    return time;
}

/// The first second of the day or minute, or the first one behind it.
long long secondsOf(const std::string& option, const std::string& text, End end) {
    const bool isDay = hasForm(text, "0000-00-00");
    const bool isMinute = hasForm(text, "0000-00-00 00:00") || hasForm(text, "0000-00-00T00:00");
    const char* const format =
        isDay ? "%Y-%m-%d" : (text.find('T') != std::string::npos ? "%Y-%m-%dT%H:%M" : "%Y-%m-%d %H:%M");
    const std::optional<std::tm> read = isDay || isMinute ? readAs(text, format) : std::nullopt;
    if (read) {
        std::tm time = *read;
        if (end == End::last) {
            ++(isDay ? time.tm_mday : time.tm_min);
        }
        time.tm_isdst = -1;
        std::tm asked = *read;
        asked.tm_isdst = -1;
        const std::time_t seconds = std::mktime(&time);
        // The 30th of February would be taken for a day of March.
        std::mktime(&asked);
        if (asked.tm_mday == read->tm_mday && asked.tm_mon == read->tm_mon && seconds >= 0) {
            return seconds;
        }
    }
    throw UsageError(option + " '" + text +
                     "' is no date since 1970; write 2024-03-01 or \"2024-03-01 18:30\"");
}

}  // namespace

void addDateOptions(CLI::App& command, DateOptions& options) {
    addGiven(command, "--since", "DATE", options.since,
             "From the start of that day, 2024-03-01, or minute, \"2024-03-01 18:30\"");
    addGiven(command, "--until", "DATE", options.until, "Through to the end of that day or minute");
}

std::string DateRange::condition(const std::string& column) const {
    // The signed number of the store as the unsigned one that was meant.
    const std::string date = '(' + column + " & 4294967295)";
    std::string sql = since ? date + " >= " + std::to_string(*since) : "1";
    if (before) {
        sql += " AND " + date + " < " + std::to_string(*before);
    }
    return '(' + sql + ')';
}

std::string DateRange::words() const {
    const auto text = [](long long seconds) {
        constexpr long long greatest = std::numeric_limits<unsigned int>::max();
        return localTime(static_cast<unsigned int>(std::min(seconds, greatest)));
    };
    if (isWhole()) {
        return "all dates";
    }
    if (!before) {
        return "since " + text(*since);
    }
    return (since ? text(*since) + " to " : "until ") + text(*before - 1);
}

DateRange parseDateRange(const DateOptions& options) {
    DateRange range;
    if (options.since) {
        range.since = secondsOf("--since", *options.since, End::first);
    }
    if (options.until) {
        range.before = secondsOf("--until", *options.until, End::last);
    }
    if (range.since && range.before && *range.since >= *range.before) {
        throw UsageError("--since '" + *options.since + "' is behind --until '" + *options.until +
                         "'; nothing lies between");
    }
    return range;
}

}  // namespace pelkotool
