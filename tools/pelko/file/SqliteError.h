#ifndef PELKO_TOOL_FILE_SQLITE_ERROR_H
#define PELKO_TOOL_FILE_SQLITE_ERROR_H

#include <string>

#include "tools/pelko/ToolError.h"

namespace pelkotool {

/// A failure of SQLite on a file that the tool reads or writes by itself.
class SqliteError : public ToolError {
public:
    SqliteError(const std::string& line, int sqliteCode) : ToolError(line), mSqliteCode(sqliteCode) {}

    /// The primary result code.
    int sqliteCode() const noexcept { return mSqliteCode; }

private:
    int mSqliteCode;
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_FILE_SQLITE_ERROR_H
