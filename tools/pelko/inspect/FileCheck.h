#ifndef PELKO_TOOL_INSPECT_FILE_CHECK_H
#define PELKO_TOOL_INSPECT_FILE_CHECK_H

#include <filesystem>
#include <string>
#include <vector>

namespace pelkotool {

/// One thing that SQLite's check tells against a file, in its words.
struct FileProblem {
    std::string table;  ///< where it was found; empty for the file as a whole
    std::string text;

    bool operator==(const FileProblem& other) const { return table == other.table && text == other.text; }
};

struct FileCheck {
    std::vector<FileProblem> problems;
    bool more = false;  ///< so many were found that the rest was not looked for
    long long tables = 0;
    long long pages = 0;

    bool isWhole() const { return problems.empty(); }
};

/// Checks a file with SQLite's own means: its tables one after the other, then what belongs to none. A bar
/// shows the progress on a terminal, and interrupted() ends it.
/// @param full  compares the indexes with the tables, too
/// @throws ToolError when the file could not be checked, or the check was interrupted
FileCheck checkFile(const std::filesystem::path& file, bool full);

}  // namespace pelkotool

#endif  // PELKO_TOOL_INSPECT_FILE_CHECK_H
