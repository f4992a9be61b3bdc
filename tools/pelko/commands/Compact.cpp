#include <memory>
#include <system_error>

#include "classes/platform/Interrupt.h"
#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Arguments.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/ProgressBar.h"
#include "tools/pelko/file/AccountFile.h"
#include "tools/pelko/file/StopOnInterrupt.h"
#include "tools/pelko/file/Tables.h"

// pelko compact: gives the pages that are free within the file back to the system.

namespace pelkotool {

namespace {

namespace fs = std::filesystem;

using pelkoapi::catchInterrupts;
using pelkoapi::utf8Of;

struct CompactOptions {
    FileOptions file;
    bool json = false;
};

struct CompactReport {
    std::uintmax_t before = 0;  // bytes, with the log beside the file
    std::uintmax_t after = 0;
    long long freePages = 0;
    bool isRewritten = false;

    long long won() const { return static_cast<long long>(before) - static_cast<long long>(after); }
};

constexpr char nothingCompacted[] = "the file is as it was";

std::uintmax_t bytesWithLog(const fs::path& file) {
    std::uintmax_t bytes = fs::file_size(file);
    std::error_code error;
    if (const std::uintmax_t log = fs::file_size(besideDatabase(file, "-wal"), error); !error) {
        bytes += log;
    }
    return bytes;
}

/// Takes the file for this connection alone, as long as it is open.
void takeAlone(const Database& database) {
    // Who has the file open holds on to it; there is nothing to wait for but a client that is just ending.
    constexpr int waitMs = 1000;
    sqlite3_busy_timeout(database.handle(), waitMs);
    try {
        database.execute("PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE; COMMIT");
    } catch (const SqliteError& error) {
        if (error.sqliteCode() == SQLITE_BUSY || error.sqliteCode() == SQLITE_LOCKED) {
            throw ToolError("another program has " + utf8Of(database.file()) +
                            " open; end it, then run the command again");
        }
        throw;
    }
}

void requireSoundFile(const Database& database) {
    Statement check = database.prepare("PRAGMA integrity_check(1)");
    if (const std::string finding = check.step() ? check.text(0) : "no answer"; finding != "ok") {
        throw ToolError(utf8Of(database.file()) + " is damaged (" + finding +
                        "), and is left as it is; 'pelko salvage OUT' rescues what is left");
    }
}

/// Where each statement stands is not known: the bar goes by statements.
void compactFile(const Database& database, CompactReport& report) {
    enum Step { checking, rewriting, writingBack, steps };
    constexpr const char* labels[] = {"checking the file", "rewriting it", "writing it back"};
    ProgressBar bar(steps);
    Step step = checking;
    const StopOnInterrupt stop(database.handle(), [&] { bar.show(step, labels[step]); });
    requireStoreFile(database);  // first: taken alone, an empty file would become a database
    takeAlone(database);
    requireSoundFile(database);
    report.freePages = database.number("PRAGMA freelist_count");
    step = rewriting;
    // SQLite rewrites the file into a temporary one, which counts as attached. Otherwise none may be.
    sqlite3_limit(database.handle(), SQLITE_LIMIT_ATTACHED, 1);
    database.execute("PRAGMA secure_delete = 1; VACUUM");
    report.isRewritten = true;
    step = writingBack;  // cppcheck-suppress redundantAssignment ; the bar reads it in between
    // It is all in the log now; the file itself shrinks when the log is taken up.
    database.execute("PRAGMA wal_checkpoint(TRUNCATE)");
}

CompactReport compact(const fs::path& file) {
    const Database database = Database::openToWrite(file);
    CompactReport report;
    report.before = bytesWithLog(file);
    try {
        compactFile(database, report);
    } catch (const ToolError&) {
        // That is why it failed.
        stopIfInterrupted(report.isRewritten ? "it is rewritten, and shrinks at its next opening"
                                             : nothingCompacted);
        throw;
    }
    return report;
}

void runCompact(const GlobalOptions& global, const CompactOptions& options) {
    const Account account = accountFileOf(global, options.file);
    catchInterrupts();
    CompactReport report = compact(account.database);
    report.after = bytesWithLog(account.database);  // it is closed, and its log is gone
    if (options.json) {
        printJson({{"database", utf8Of(account.database)},
                   {"bytes_before", report.before},
                   {"bytes_after", report.after},
                   {"bytes_won", report.won()},
                   {"free_pages_before", report.freePages}});
        return;
    }
    printField("file", utf8Of(account.database));
    printField("bytes before", std::to_string(report.before));
    printField("bytes after", std::to_string(report.after));
    printLine(report.won() > 0 ? counted(report.won(), "byte") + " won."
                               : "Nothing won: no page of the file was free.");
}

}  // namespace

void addCompactCommand(CLI::App& app, const GlobalOptions& global) {
    const auto options = std::make_shared<CompactOptions>();
    CLI::App* const command = app.add_subcommand("compact", "Give the file's free space back to the system");
    command->group(headingFile);
    command->footer(
        "The file is checked, rewritten without gaps and free pages, and put back in one step: whatever "
        "goes\n"
        "wrong, it is as it was. No client may have it open. While it runs it takes about twice the file's "
        "size\n"
        "on the disk. What had been deleted is gone from the file for good.");
    addFileOption(*command, options->file);
    addJsonFlag(*command, options->json);
    command->callback([&global, options] { runCompact(global, *options); });
}

}  // namespace pelkotool
