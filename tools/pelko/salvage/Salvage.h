#ifndef PELKO_TOOL_SALVAGE_SALVAGE_H
#define PELKO_TOOL_SALVAGE_SALVAGE_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "tools/pelko/file/NewPath.h"
#include "tools/pelko/salvage/TableRescue.h"

namespace pelkotool {

struct SalvageReport {
    std::uint32_t pages = 0;
    std::uint32_t pageSize = 0;
    std::uint32_t missingPages = 0;   ///< at the end of the file
    std::uint32_t unusablePages = 0;  ///< of those that are there
    std::size_t waitingPages = 0;     ///< taken from the file beside it
    bool hasHeader = true;
    bool sizesAreMeasured = false;  ///< since the pages contradict the header
    bool schemaIsComplete = true;   ///< else some tables were found by the look of their pages
    bool freePagesAreKnown = true;
    std::vector<TableReport> tables;
    std::vector<std::string> otherTables;  ///< not copied

    long long recovered() const;
    long long lost() const;
    /// Whether every row of the store's tables is there.
    bool hasAllRows() const;
    /// Whether, beyond that, nothing of the file was left behind, and nothing that the store expects is
    /// empty.
    bool isWhole() const;
};

/// Copies what can be read of a database file into a new one, which gets its name when it is whole.
/// @throws ToolError when nothing could be rescued
SalvageReport salvage(const std::filesystem::path& path, NewPath& out);

}  // namespace pelkotool

#endif  // PELKO_TOOL_SALVAGE_SALVAGE_H
