#include "tools/pelko/salvage/Salvage.h"

#include <iostream>
#include <memory>

#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Arguments.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/Table.h"
#include "tools/pelko/file/AccountFile.h"
#include "tools/pelko/file/NewPath.h"

// pelko salvage: what is left of a damaged file into a new one.

namespace pelkotool {

using pelkoapi::utf8Of;

namespace {

struct SalvageOptions {
    std::string out;
    FileOptions file;
    bool json = false;
};

Json salvageJson(const SalvageReport& report, const Account& account, const NewPath& out) {
    Json tables = Json::array();
    Json otherColumns = Json::array();
    Json missingColumns = Json::array();
    Json takenColumns = Json::array();
    for (const TableReport& table : report.tables) {
        tables.push_back({{"table", table.layout->name},
                          {"in_file", table.inFile},
                          {"too_different", table.tooDifferent},
                          {"recovered", table.recovered},
                          {"from_stray_pages", table.fromStrays},
                          {"from_indexes", table.fromIndexes},
                          {"lost", table.lost},
                          {"uncertain", table.uncertain.size()},
                          {"may_be_more_lost", table.mayBeMore}});
        for (const std::string& column : table.otherColumns) {
            otherColumns.push_back(std::string(table.layout->name) + '.' + column);
        }
        for (const std::string& column : table.missingColumns) {
            missingColumns.push_back(std::string(table.layout->name) + '.' + column);
        }
        for (const TakenColumn& column : table.takenColumns) {
            takenColumns.push_back(
                {{"table", table.layout->name}, {"column", column.name}, {"taken_for", column.takenFor}});
        }
    }
    return {{"database", utf8Of(account.database)},
            {"out", utf8Of(out.wanted())},
            {"recovered", report.recovered()},
            {"lost", report.lost()},
            {"nothing_lost", report.isWhole()},
            {"pages", report.pages},
            {"page_size", report.pageSize},
            {"missing_pages", report.missingPages},
            {"unusable_pages", report.unusablePages},
            {"pages_beside", report.waitingPages},
            {"header_readable", report.hasHeader},
            {"header_contradicted", report.sizesAreMeasured},
            {"schema_complete", report.schemaIsComplete},
            {"free_pages_known", report.freePagesAreKnown},
            {"tables_not_copied", report.otherTables},
            {"columns_not_copied", std::move(otherColumns)},
            {"columns_missing", std::move(missingColumns)},
            {"columns_by_place", std::move(takenColumns)},
            {"tables", std::move(tables)}};
}

std::string salvageNote(const TableReport& table) {
    if (!table.inFile) {
        return "not in the file";
    }
    if (table.tooDifferent) {
        return "not copied: its columns are not the store's";
    }
    std::string note;
    for (const TakenColumn& column : table.takenColumns) {
        note += (note.empty() ? "" : ", ") + column.name + " taken for " + column.takenFor;
    }
    if (table.mayBeMore) {
        note += (note.empty() ? "" : "; ") + std::string("more may be lost");
    }
    return note;
}

void printSalvagedTables(const SalvageReport& report) {
    Table lines({{"TABLE"},
                 {"RECOVERED", Table::Align::right},
                 {"LOST", Table::Align::right},
                 {"UNCERTAIN", Table::Align::right},
                 {"NOTE"}});
    for (const TableReport& table : report.tables) {
        lines.add({table.layout->name, std::to_string(table.recovered), std::to_string(table.lost),
                   std::to_string(table.uncertain.size()), salvageNote(table)});
    }
    lines.print(std::cout);
}

void printNotCopied(const SalvageReport& report) {
    for (const std::string& table : report.otherTables) {
        printLine("Not copied: the table " + table + ", which the store does not know.");
    }
    for (const TableReport& table : report.tables) {
        for (const std::string& column : table.otherColumns) {
            printLine("Not copied: the column " + column + " of " + table.layout->name +
                      ", which the store does not know.");
        }
    }
}

/// What of the file is not in the new one, beside rows.
std::string leftBehind(const SalvageReport& report) {
    std::vector<std::string> left = report.otherTables;
    std::vector<std::string> missing;
    for (const TableReport& table : report.tables) {
        const std::string name = table.layout->name;
        if (table.tooDifferent) {
            left.push_back(name);
        }
        for (const std::string& column : table.otherColumns) {
            left.push_back(std::string(name).append(1, '.').append(column));
        }
        for (const std::string& column : table.missingColumns) {
            missing.push_back(std::string(name).append(1, '.').append(column));
        }
    }
    const auto listed = [](const char* what, const std::vector<std::string>& names) {
        std::string list;
        for (const std::string& name : names) {
            list += (list.empty() ? what : ", ") + name;
        }
        return list;
    };
    return listed(" Left behind: ", left) + (left.empty() ? "" : ".") +
           listed(" Not in the file: ", missing) + (missing.empty() ? "" : ".");
}

std::string salvageVerdict(const SalvageReport& report) {
    if (report.isWhole()) {
        return "Nothing is lost.";
    }
    long long uncertain = 0;
    bool mayBeMore = !report.schemaIsComplete;
    for (const TableReport& table : report.tables) {
        uncertain += static_cast<long long>(table.uncertain.size());
        mayBeMore = mayBeMore || table.mayBeMore || table.tooDifferent;
    }
    std::string line =
        report.lost() > 0 ? "Lost: " + counted(report.lost(), "row") : "No row is known to be lost";
    if (uncertain > 0) {
        line += ", " + counted(uncertain, "row is", "rows are") + " left out as uncertain";
    }
    if (report.missingPages > 0) {
        line += "; " + std::to_string(report.missingPages) + " of " +
                std::to_string(std::uint64_t{report.pages} + report.missingPages) + " pages are missing";
    }
    return line + (mayBeMore ? "; there may have been more." : "; there were no more.") + leftBehind(report);
}

void printSalvage(const SalvageReport& report, const Account& account, const NewPath& out) {
    printSalvagedTables(report);
    printLine("");
    printNotCopied(report);
    printField("from", utf8Of(account.database));
    printField("into", utf8Of(out.wanted()));
    printField("pages", std::to_string(report.pages) + " of " + std::to_string(report.pageSize) + " bytes, " +
                            std::to_string(report.unusablePages) + " of them of no use" +
                            (report.missingPages > 0
                                 ? ", " + std::to_string(report.missingPages) + " missing at the end"
                                 : ""));
    if (report.waitingPages > 0) {
        printField("beside it",
                   counted(static_cast<long long>(report.waitingPages), "page") + " from its log or journal");
    }
    if (!report.hasHeader) {
        printField("header", "destroyed: the tables were found by the look of their pages");
    }
    if (report.sizesAreMeasured) {
        printField("header", "wrong about the size of pages, which was measured");
    }
    printLine(salvageVerdict(report));
}

void runSalvage(const GlobalOptions& global, const SalvageOptions& options) {
    const Account account = accountFileOf(global, options.file);
    NewPath out(options.out);
    out.requireNoLogBeside();
    const SalvageReport report = salvage(account.database, out);
    if (options.json) {
        printJson(salvageJson(report, account, out));
    } else {
        printSalvage(report, account, out);
    }
}

}  // namespace

void addSalvageCommand(CLI::App& app, const GlobalOptions& global) {
    const auto options = std::make_shared<SalvageOptions>();
    CLI::App* const command =
        app.add_subcommand("salvage", "Rescue what is left of a damaged file into a new one");
    command->group(headingFile);
    command->footer(
        "OUT is a new db.dat with every row that can still be read: also rows to which the damaged file "
        "does\n"
        "not lead any more, but none that had been deleted. The block list, sync marks and settings are "
        "only\n"
        "copied where they are certain. The file itself is not changed; what waits in the log beside it is\n"
        "taken up. To go on with OUT, end the client and put it in the place of the damaged file, without "
        "the\n"
        "files -wal and -shm beside that one.");
    addPositional(*command, "OUT", options->out, "The new file; nothing may be there yet");
    addFileOption(*command, options->file);
    addJsonFlag(*command, options->json);
    command->callback([&global, options] { runSalvage(global, *options); });
}

}  // namespace pelkotool
