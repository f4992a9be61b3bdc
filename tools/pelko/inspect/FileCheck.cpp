#include "tools/pelko/inspect/FileCheck.h"

#include <algorithm>
#include <numeric>

#include "classes/platform/Interrupt.h"
#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/ProgressBar.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/file/Database.h"
#include "tools/pelko/file/StopOnInterrupt.h"
#include "tools/pelko/inspect/SqliteCheck.h"

namespace pelkotool {

namespace fs = std::filesystem;

using pelkoapi::interrupted;
using pelkoapi::utf8Of;

namespace {

// As many as SQLite itself looks for in one table.
constexpr std::size_t mostOfTable = 100;
// Of the whole file, where those of the tables come again.
constexpr std::size_t mostOfFile = 1000;

// Measured on messages: steps of the quick and of the full check for each row. Only the bar's pace follows.
constexpr std::uintmax_t quickStepsPerRow = 20;
constexpr std::uintmax_t fullStepsPerRow = 52;
// No row takes less of a page.
constexpr long long mostRowsPerPage = 4096;

/// A part of the check: one table, or the file as a whole.
struct CheckPart {
    std::string table;  // empty for the whole
    std::string pragma;
    std::uintmax_t steps;  // expected
};

/// Shows how far the parts are, and stops the one that is under way when the user asks for it.
class CheckProgress {
public:
    CheckProgress(const Database& database, const std::vector<CheckPart>& parts)
        : mBar(std::accumulate(parts.begin(), parts.end(), std::uintmax_t{0},
                               [](std::uintmax_t sum, const CheckPart& part) { return sum + part.steps; })),
          mStop(database.handle(), [this] {
              mSteps += StopOnInterrupt::stepsBetweenLooks;
              show();
          }) {}

    void begin(const CheckPart& part) {
        mPart = &part;
        mSteps = 0;
        show();
    }
    void end() {
        mBefore += mPart->steps;
        mPart = nullptr;
    }

private:
    void show() {
        if (mPart != nullptr) {
            mBar.show(mBefore + std::min(mSteps, mPart->steps),
                      mPart->table.empty() ? "the file as a whole" : mPart->table);
        }
    }

    ProgressBar mBar;
    const CheckPart* mPart = nullptr;
    std::uintmax_t mBefore = 0;
    std::uintmax_t mSteps = 0;
    const StopOnInterrupt mStop;
};

/// The table's greatest row id, which is found at once, for the number of its rows; 1 where it has none.
std::uintmax_t estimatedRows(const Database& database, const std::string& quotedTable, long long pages) {
    try {
        const long long greatest = database.number("SELECT max(rowid) FROM " + quotedTable);
        return static_cast<std::uintmax_t>(std::clamp(greatest, 1LL, std::max(1LL, pages * mostRowsPerPage)));
    } catch (const SqliteError&) {
        return 1;  // a table without row ids, or one that its check will tell about
    }
}

std::vector<CheckPart> partsOf(const Database& database, bool full, long long pages) {
    std::vector<CheckPart> parts;
    std::uintmax_t allRows = 1;
    // Before 3.33, SQLite takes a name there for a number, and checks the whole file.
    constexpr int firstByTable = 3'033'000;
    if (sqlite3_libversion_number() < firstByTable) {
        parts.push_back({"",
                         std::string(full ? "PRAGMA integrity_check(" : "PRAGMA quick_check(") +
                             std::to_string(mostOfFile) + ")",
                         1});
        return parts;
    }
    // Only tables with pages of their own: SQLite cannot check others, as virtual ones.
    Statement tables = database.prepare(
        "SELECT name FROM sqlite_master WHERE type = 'table' AND rootpage > 0 ORDER BY rowid");
    while (tables.step()) {
        const std::string name = tables.text(0);
        const std::uintmax_t rows = estimatedRows(database, quotedName(name), pages);
        allRows += rows;
        parts.push_back({name,
                         (full ? "PRAGMA integrity_check(" : "PRAGMA quick_check(") + quotedName(name) + ")",
                         rows * (full ? fullStepsPerRow : quickStepsPerRow)});
    }
    // What belongs to no table or to two: free pages, and pages that are lost or used twice.
    parts.push_back(
        {"", "PRAGMA quick_check(" + std::to_string(mostOfFile) + ")", allRows * quickStepsPerRow});
    return parts;
}

/// What a part tells and no part before it has told.
void addProblems(const Database& database, const CheckPart& part, FileCheck& check) {
    const std::size_t most = part.table.empty() ? mostOfFile : mostOfTable;
    std::vector<std::string> lines;
    try {
        runSqliteCheck(database, part.pragma, most, lines);
    } catch (const SqliteError& failure) {
        if (failure.sqliteCode() != SQLITE_ERROR || part.table.empty()) {
            throw;
        }
        // The file lists a table that there is not.
        lines.push_back(std::string("cannot be checked: ") + sqlite3_errmsg(database.handle()));
    }
    check.more = check.more || lines.size() == most;
    for (const std::string& line : lines) {
        const bool isKnown = part.table.empty() &&
                             std::any_of(check.problems.begin(), check.problems.end(),
                                         [&](const FileProblem& problem) { return problem.text == line; });
        if (!isKnown) {
            check.problems.push_back({part.table, line});
        }
    }
}

/// @throws ToolError when the user has asked to stop
void stopWhenAsked(const fs::path& file, std::size_t done, long long tables) {
    if (interrupted()) {
        throw ToolError("the check of " + utf8Of(file) + " was stopped as asked, after " +
                            std::to_string(done) + " of " + counted(tables, "table") +
                            "; nothing is known of the rest",
                        ExitCode::interrupted);
    }
}

FileCheck checkOpened(const Database& database, bool full) {
    FileCheck check;
    check.pages = database.number("PRAGMA page_count");
    const std::vector<CheckPart> parts = partsOf(database, full, check.pages);
    check.tables = static_cast<long long>(parts.size()) - 1;
    CheckProgress progress(database, parts);
    for (std::size_t i = 0; i < parts.size(); ++i) {
        progress.begin(parts[i]);
        try {
            addProblems(database, parts[i], check);
        } catch (const SqliteError&) {
            stopWhenAsked(database.file(), i, check.tables);
            throw;
        }
        stopWhenAsked(database.file(), i + 1, check.tables);
        progress.end();
    }
    return check;
}

}  // namespace

FileCheck checkFile(const fs::path& file, bool full) {
    try {
        const Database database = Database::openToRead(file);
        FileCheck check = checkOpened(database, full);
        database.requireUnchanged();
        return check;
    } catch (const SqliteError& failure) {
        if (tellsDamage(failure)) {
            throw;  // SQLite cannot even open it
        }
        throw ToolError(std::string("could not be checked: ") + failure.what());
    }
}

}  // namespace pelkotool
