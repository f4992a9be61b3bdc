#ifndef PELKO_TOOL_DATE_RANGE_H
#define PELKO_TOOL_DATE_RANGE_H

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

namespace pelkotool {

struct DateOptions {
    std::optional<std::string> since;
    std::optional<std::string> until;
};

/// Adds --since and --until.
void addDateOptions(CLI::App& command, DateOptions& options);

/// The times that are asked for, in seconds since 1970. Days and minutes are those of the local time zone, in
/// which all commands show times.
struct DateRange {
    std::optional<long long> since;   ///< the first second
    std::optional<long long> before;  ///< the first second behind the last one

    bool isWhole() const { return !since && !before; }
    bool contains(unsigned int time) const {
        return (!since || time >= *since) && (!before || time < *before);
    }

    /// A condition on a column of dates of the store, which keeps those from 2^31 on as negative numbers.
    /// True for every row where nothing is asked for.
    std::string condition(const std::string& column) const;

    /// "2024-03-01 00:00 to 2024-03-02 23:59", for people.
    std::string words() const;
};

/// Takes "2024-03-01" and "2024-03-01 18:30" (also with a T between): --since from the start of that day or
/// minute,
/// --until through to its end.
/// @throws UsageError for any other text, and for a range that ends before it begins
DateRange parseDateRange(const DateOptions& options);

}  // namespace pelkotool

#endif  // PELKO_TOOL_DATE_RANGE_H
