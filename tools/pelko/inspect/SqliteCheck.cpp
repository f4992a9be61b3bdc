#include "tools/pelko/inspect/SqliteCheck.h"

#include <sstream>

namespace pelkotool {

namespace {

/// Whether a line only says which of several open files is meant.
bool isHeading(const std::string& line) {
    return line.rfind("*** in database ", 0) == 0;
}

}  // namespace

void runSqliteCheck(const Database& database, const std::string& pragma, std::size_t most,
                    std::vector<std::string>& problems) {
    const std::size_t full = problems.size() + most;
    try {
        Statement check = database.prepare(pragma);
        while (problems.size() < full && check.step()) {
            // The damage of all pages comes as one row of many lines.
            std::istringstream lines(check.text(0));
            for (std::string line; problems.size() < full && std::getline(lines, line);) {
                if (!line.empty() && line != "ok" && !isHeading(line)) {
                    problems.push_back(line);
                }
            }
        }
    } catch (const SqliteError& failure) {
        if (!tellsDamage(failure)) {
            throw;
        }
        if (problems.size() < full) {
            problems.push_back(std::string("the check could not go on: ") +
                               sqlite3_errmsg(database.handle()));
        }
    }
}

bool tellsDamage(const SqliteError& failure) {
    return failure.sqliteCode() == SQLITE_CORRUPT || failure.sqliteCode() == SQLITE_NOTADB;
}

}  // namespace pelkotool
