#include <iostream>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "classes/platform/Interrupt.h"
#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Arguments.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/ProgressBar.h"
#include "tools/pelko/Store.h"
#include "tools/pelko/Table.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/export/ExportRecord.h"
#include "tools/pelko/export/JsonLinesFormat.h"
#include "tools/pelko/export/LineFile.h"
#include "tools/pelko/export/NewAccountFile.h"
#include "tools/pelko/export/RowImport.h"
#include "tools/pelko/file/Database.h"
#include "tools/pelko/file/StopOnInterrupt.h"
#include "tools/pelko/file/Tables.h"

// pelko import: the rows of an export back into an empty account.

namespace pelkotool {

namespace fs = std::filesystem;

using pelkoapi::catchInterrupts;
using pelkoapi::pathOf;
using pelkoapi::utf8Of;

namespace {

using InsertedRows = std::vector<std::pair<std::string, long long>>;

[[noreturn]] void failImport(const LineFile& file, const std::string& reason) {
    throw ToolError(utf8Of(file.path()) + " line " + std::to_string(file.number()) + ' ' + reason +
                    "; nothing was stored");
}

ExportRecord exportRecordOf(const LineFile& file) {
    try {
        return parseRecord(file.line());
    } catch (const LineError& error) {
        failImport(file, error.what());
    }
}

/// Reads the first line. @return the account that was exported; empty where it was not known
std::string readExportHeader(LineFile& file) {
    if (!file.next()) {
        throw ToolError(utf8Of(file.path()) + " is empty; name an export.jsonl of 'pelko export'");
    }
    const ExportRecord header = exportRecordOf(file);
    const auto* const record = header.findOf<std::string>(key::record);
    if (record == nullptr || *record != "export") {
        failImport(file, "is not the header of an export; name an export.jsonl of 'pelko export'");
    }
    const auto* const format = header.findOf<long long>("format");
    if (format == nullptr || *format != jsonLinesFormat) {
        failImport(file, "is not of format " + std::to_string(jsonLinesFormat) +
                             ", the one that this pelko reads; use the pelko that has written it");
    }
    const auto* const account = header.findOf<std::string>("account");
    return account != nullptr ? *account : std::string();
}

void requireExportEnd(const LineFile& file, const ExportRecord& end, long long rows) {
    const auto* const record = end.findOf<std::string>(key::record);
    if (record == nullptr || *record != "end") {
        failImport(file, "is neither a row nor the end");
    }
    const auto* const told = end.findOf<long long>("rows");
    if (told == nullptr || *told != rows) {
        failImport(file, "does not tell the number of rows before it, " + std::to_string(rows) +
                             ": some are missing or too many; export again");
    }
}

/// Inserts the rows up to the end of the file.
void importRows(LineFile& file, RowImport& rows) {
    ProgressBar bar(file.size());
    long long count = 0;
    bool ended = false;
    while (file.next()) {
        stopIfInterrupted("nothing was stored");
        if (ended) {
            failImport(file, "stands behind the end of the export");
        }
        const ExportRecord record = exportRecordOf(file);
        if (record.find(key::record) != nullptr) {
            requireExportEnd(file, record, count);
            ended = true;
            continue;
        }
        try {
            rows.insert(record);
        } catch (const LineError& error) {
            failImport(file, error.what());
        }
        ++count;
        bar.show(file.bytesRead(), counted(count, "row"));
    }
    if (!ended) {
        throw ToolError(utf8Of(file.path()) + " breaks off behind line " + std::to_string(file.number()) +
                        ", without the line of its end; export or copy it again; nothing was stored");
    }
}

void requireNoRowsYet(const Database& database) {
    for (const TableLayout& table : expectedTables()) {
        Statement found = database.prepare("SELECT 1 FROM sqlite_master WHERE name = ?1");
        const std::string name = table.name;
        if (found.bind(1, name).step() && database.number("SELECT 1 FROM " + name + " LIMIT 1") != 0) {
            throw ToolError(utf8Of(database.file()) + " has rows in " + name +
                            "; import into an account without any, named with --user or --data-dir");
        }
    }
}

InsertedRows importInto(const Account& account, LineFile& file) {
    {
        const Store store(account, Store::IfMissing::create);  // makes the tables
    }
    const Database database = Database::openToWrite(account.database);
    database.execute("PRAGMA cache_size = -65536");  // KiB: the indexes are filled in no order
    database.execute("BEGIN IMMEDIATE");
    requireNoRowsYet(database);
    RowImport rows(database);
    importRows(file, rows);
    database.execute("COMMIT");
    return rows.inserted();
}

InsertedRows importAccount(const Account& account, LineFile& file) {
    std::error_code error;
    if (fs::exists(fs::symlink_status(account.database, error))) {
        return importInto(account, file);
    }
    NewAccountFile fresh(account);
    InsertedRows rows = importInto(fresh.growing(), file);
    fresh.finish();
    return rows;
}

void printImport(const InsertedRows& rows, const std::string& exported, const Account& account, bool json) {
    Json counts = Json::object();
    for (const auto& [table, count] : rows) {
        counts[table] = count;
    }
    if (json) {
        printJson({{"database", utf8Of(account.database)},
                   {"account", account.user},
                   {"exported_account", exported.empty() ? Json(nullptr) : Json(exported)},
                   {"rows", counts}});
        return;
    }
    Table table({{"TABLE"}, {"ROWS", Table::Align::right}});
    for (const auto& [name, count] : rows) {
        table.add({name, std::to_string(count)});
    }
    table.print(std::cout);
    printLine("Stored in " + utf8Of(account.database) + '.');
    if (!exported.empty() && exported != account.user) {
        printLine(
            "These rows are of the account '" + exported +
            "': under another name, the conversations with users are not found. Import them with --user '" +
            exported + "'.");
    }
}

void importFile(const GlobalOptions& global, const std::string& path, bool json) {
    const Account account = accountOf(global);
    std::error_code error;
    if (path.empty()) {
        throw UsageError("'' is no file; name an export.jsonl or its folder");
    }
    if (fs::exists(account.database, error) && fs::is_regular_file(account.database, error)) {
        requireNoRowsYet(Database::openToRead(account.database));  // before the store repairs any
    }
    const fs::path given = pathOf(path);
    LineFile file(fs::is_directory(given, error) ? given / jsonLinesName : given, longestLine);
    const std::string exported = readExportHeader(file);
    catchInterrupts();
    const InsertedRows rows = importAccount(account, file);
    printImport(rows, exported, account, json);
}

}  // namespace

void addImportCommand(CLI::App& app, const GlobalOptions& global) {
    struct ImportOptions {
        std::string file;
        bool json = false;
    };
    const auto options = std::make_shared<ImportOptions>();
    CLI::App* const command = app.add_subcommand("import", "Bring an export back into an empty account");
    command->group(headingOutside);
    command->footer(
        "The account is the one of --data-dir and --user; it is made when it is not there. It gets the rows "
        "of\n"
        "the export with their ids, all of them or none. Copies of attachments are not brought back.");
    addPositional(*command, "FILE", options->file, "An export.jsonl, or the folder of an export");
    command->add_flag("--json", options->json, "Print the summary as JSON");
    command->callback([&global, options] { importFile(global, options->file, options->json); });
}

}  // namespace pelkotool
