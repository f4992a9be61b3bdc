#include <chrono>
#include <iostream>
#include <memory>
#include <system_error>
#include <thread>

#include "classes/platform/FileUtil.h"
#include "classes/platform/Interrupt.h"
#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Arguments.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/ProgressBar.h"
#include "tools/pelko/Remedies.h"
#include "tools/pelko/Table.h"
#include "tools/pelko/file/AccountFile.h"
#include "tools/pelko/file/NewPath.h"
#include "tools/pelko/file/StopOnInterrupt.h"
#include "tools/pelko/file/Tables.h"

// pelko backup: a copy of the file in one state, also while a client writes to it.

namespace pelkotool {

namespace {

namespace fs = std::filesystem;

using pelkoapi::catchInterrupts;
using pelkoapi::utf8Of;

struct BackupOptions {
    std::string out;
    FileOptions file;
    bool json = false;
};

struct CopiedTable {
    std::string table;
    long long rows = 0;

    bool operator==(const CopiedTable& other) const { return table == other.table && rows == other.rows; }
};

struct BackupReport {
    std::uintmax_t bytes = 0;
    long long pages = 0;
    std::vector<CopiedTable> tables;
};

constexpr char noBackup[] = "no copy was written";

struct BackupFinisher {
    void operator()(sqlite3_backup* backup) const { sqlite3_backup_finish(backup); }
};

[[noreturn]] void failBackup(const fs::path& file, int code) {
    const std::string reason = sqlite3_errstr(code);
    throw SqliteError("cannot copy " + utf8Of(file) + ": " + reason + remedyFor(reason), code & 0xff);
}

/// The rows of each table that is stored in the file.
std::vector<CopiedTable> countAllRows(const Database& database) {
    std::vector<CopiedTable> counts;
    Statement tables = database.prepare(
        "SELECT name FROM sqlite_master WHERE type = 'table' AND rootpage > 0 ORDER BY rowid");
    while (tables.step()) {
        stopIfInterrupted(noBackup);
        const std::string name = tables.text(0);
        counts.push_back({name, database.number("SELECT COUNT(*) FROM " + quotedName(name))});
    }
    return counts;
}

void copyAllPages(const Database& from, const Database& to, ProgressBar& bar) {
    constexpr int pagesAtOnce = 256;
    constexpr int mostWaits = 200;  // in a row: ten seconds
    constexpr std::chrono::milliseconds wait(50);
    const std::unique_ptr<sqlite3_backup, BackupFinisher> copying(
        sqlite3_backup_init(to.handle(), "main", from.handle(), "main"));
    if (!copying) {
        failBackup(from.file(), sqlite3_errcode(to.handle()));
    }
    for (int waits = 0;;) {
        stopIfInterrupted(noBackup);
        const int result = sqlite3_backup_step(copying.get(), pagesAtOnce);
        if (result == SQLITE_DONE) {
            return;
        }
        const bool mustWait = result == SQLITE_BUSY || result == SQLITE_LOCKED;
        if ((!mustWait && result != SQLITE_OK) || waits == mostWaits) {
            failBackup(from.file(), result);
        }
        waits = mustWait ? waits + 1 : 0;
        if (mustWait) {
            std::this_thread::sleep_for(wait);
        }
        const int all = sqlite3_backup_pagecount(copying.get());
        bar.show(static_cast<std::uintmax_t>(all - sqlite3_backup_remaining(copying.get())), "copying");
    }
}

/// Reads the copy as anybody would who is to rely on it.
void verifyCopy(const fs::path& file, const fs::path& copy, const std::vector<CopiedTable>& counts) {
    const Database database = Database::openToRead(copy);
    const StopOnInterrupt stop(database.handle());
    Statement check = database.prepare("PRAGMA integrity_check(1)");
    std::string finding = check.step() ? check.text(0) : "it has no end";
    if (finding == "ok" && !(countAllRows(database) == counts)) {
        finding = "rows are missing";
    }
    if (finding != "ok") {
        throw ToolError("no backup of " + utf8Of(file) + ": the copy does not hold (" + finding +
                        "); the file is damaged: 'pelko salvage OUT' rescues what is left");
    }
}

BackupReport copyOnce(const Database& from, const fs::path& out) {
    // Made as the store makes its files: nobody else may read it.
    if (pelkoapi::FileUtil::createFile(utf8Of(out), false) < 0) {
        throw ToolError("cannot make the file " + utf8Of(out) + "; make its folder writable");
    }
    BackupReport report;
    // One state from the first to the last page, however long it takes: without a transaction each commit of
    // a client would make the copying begin anew.
    from.execute("BEGIN");
    ProgressBar bar(static_cast<std::uintmax_t>(from.number("PRAGMA page_count")));
    bar.show(0, "copying");
    report.tables = countAllRows(from);
    {
        const Database to = Database::openToWrite(out);
        copyAllPages(from, to, bar);
    }
    from.execute("COMMIT");
    bar.show(static_cast<std::uintmax_t>(from.number("PRAGMA page_count")), "checking the copy");
    verifyCopy(from.file(), out, report.tables);
    report.bytes = fs::file_size(out);
    report.pages =
        static_cast<long long>(report.bytes) / Database::openToRead(out).number("PRAGMA page_size");
    return report;
}

bool isStillUnchanged(const Database& database) {
    try {
        database.requireUnchanged();
        return true;
    } catch (const ToolError&) {
        return false;
    }
}

/// A file that nobody seems to have open is read without locks: when a client opens it meanwhile, whatever
/// was read is of no use, errors included, and it begins anew, with locks.
BackupReport backup(const fs::path& file, const NewPath& out) {
    constexpr int mostAttempts = 3;
    for (int attempt = 1;; ++attempt) {
        const Database from = Database::openToRead(file);
        try {
            const StopOnInterrupt stop(from.handle());
            requireStoreFile(from);
            BackupReport report = copyOnce(from, out.unfinished());
            from.requireUnchanged();
            return report;
        } catch (const ToolError&) {
            stopIfInterrupted(noBackup);
            if (attempt == mostAttempts || isStillUnchanged(from)) {
                throw;
            }
        }
        fs::remove(out.unfinished());
    }
}

void printBackup(const BackupReport& report, const Account& account, const NewPath& out) {
    Table lines({{"TABLE"}, {"ROWS", Table::Align::right}});
    for (const CopiedTable& count : report.tables) {
        lines.add({count.table, std::to_string(count.rows)});
    }
    lines.print(std::cout);
    printLine("");
    printField("from", utf8Of(account.database));
    printField("into", utf8Of(out.wanted()));
    printField("bytes", std::to_string(report.bytes));
    printField("pages", std::to_string(report.pages));
    printLine("Checked: the copy is sound in all of its pages, and has the rows that the file had.");
}

Json backupJson(const BackupReport& report, const Account& account, const NewPath& out) {
    Json tables = Json::array();
    for (const CopiedTable& count : report.tables) {
        tables.push_back({{"table", count.table}, {"rows", count.rows}});
    }
    return {{"database", utf8Of(account.database)},
            {"out", utf8Of(out.wanted())},
            {"bytes", report.bytes},
            {"pages", report.pages},
            {"checked", Json::array({"integrity", "row counts"})},
            {"tables", std::move(tables)}};
}

void runBackup(const GlobalOptions& global, const BackupOptions& options) {
    const Account account = accountFileOf(global, options.file);
    NewPath out(options.out);
    out.requireNoLogBeside();
    catchInterrupts();
    const BackupReport report = backup(account.database, out);
    out.finish();
    if (options.json) {
        printJson(backupJson(report, account, out));
    } else {
        printBackup(report, account, out);
    }
}

}  // namespace

void addBackupCommand(CLI::App& app, const GlobalOptions& global) {
    const auto options = std::make_shared<BackupOptions>();
    CLI::App* const command = app.add_subcommand("backup", "Copy the file, also while a client writes to it");
    command->group(headingFile);
    command->footer(
        "OUT is a db.dat in one state of the file: what is committed when the copying begins, and nothing "
        "that\n"
        "comes later. It is checked before it gets its name. A damaged file gives no backup: 'pelko "
        "salvage'\n"
        "rescues what is left of it.");
    addPositional(*command, "OUT", options->out, "The new file; nothing may be there yet");
    addFileOption(*command, options->file);
    addJsonFlag(*command, options->json);
    command->callback([&global, options] { runBackup(global, *options); });
}

}  // namespace pelkotool
