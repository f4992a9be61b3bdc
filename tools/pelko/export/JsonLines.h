#ifndef PELKO_TOOL_EXPORT_JSON_LINES_H
#define PELKO_TOOL_EXPORT_JSON_LINES_H

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>

#include "tools/pelko/export/Selection.h"
#include "tools/pelko/file/Database.h"

namespace pelkotool {

/// What an export.jsonl holds.
struct JsonLinesExport {
    std::filesystem::path folder;  ///< where it is written; it is there already
    Selection selection;
    std::string media;  ///< the word of --media, for the header
    /// The place of an attachment, as in HtmlExport.
    std::function<std::string(const std::string& storedPath)> attachment;
    /// Told after each message; throws to stop.
    std::function<void(std::size_t messagesDone)> progress;
};

struct JsonLinesWritten {
    long long rows = 0;
    long long tooLong = 0;  ///< rows whose lines 'pelko import' does not read
};

/// Writes the rows of all tables, table by table and by row id.
JsonLinesWritten writeJsonLines(const Database& database, const JsonLinesExport& what);

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_JSON_LINES_H
