#ifndef PELKO_TOOL_SALVAGE_WAITING_PAGES_H
#define PELKO_TOOL_SALVAGE_WAITING_PAGES_H

#include <cstdint>
#include <filesystem>
#include <optional>
#include <unordered_map>

namespace pelkotool {

/// Pages in a file beside the database that are to be read in the place of the database's own.
struct WaitingPages {
    std::uint32_t pageSize = 0;
    std::uint32_t pageCount = 0;                              ///< of the whole database with them
    std::unordered_map<std::uint32_t, std::uint64_t> places;  ///< of each page within the file beside
};

/// The pages that have been committed into a write-ahead log, through the last commit before the first frame
/// that does not hold. Nothing when there is no log, or none that holds.
std::optional<WaitingPages> readLog(const std::filesystem::path& log);

/// The pages as they were before a change that was broken off, from a rollback journal. Nothing when there is
/// none, or none that is to be rolled back.
std::optional<WaitingPages> readJournal(const std::filesystem::path& journal);

}  // namespace pelkotool

#endif  // PELKO_TOOL_SALVAGE_WAITING_PAGES_H
