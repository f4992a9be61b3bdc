#ifndef PELKO_TOOL_INSPECT_SQLITE_CHECK_H
#define PELKO_TOOL_INSPECT_SQLITE_CHECK_H

#include <string>
#include <vector>

#include "tools/pelko/file/Database.h"

namespace pelkotool {

/// Runs one of SQLite's checks, as "PRAGMA quick_check(20)", and adds the problems that it tells, one line
/// each, in its words; none for a whole file. Damage that keeps the check from going on is a problem, too.
/// @param most  no more lines than so many are added; what lies behind them is not looked for
/// @throws SqliteError when the check could not be done for another reason
void runSqliteCheck(const Database& database, const std::string& pragma, std::size_t most,
                    std::vector<std::string>& problems);

/// Whether a failure says that the file's content is damaged, not that it cannot be reached.
bool tellsDamage(const SqliteError& failure);

}  // namespace pelkotool

#endif  // PELKO_TOOL_INSPECT_SQLITE_CHECK_H
