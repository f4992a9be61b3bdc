#include <algorithm>
#include <memory>

#include "classes/platform/Interrupt.h"
#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Arguments.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/file/AccountFile.h"
#include "tools/pelko/inspect/FileCheck.h"

// pelko check: whether a db.dat is whole, as SQLite tells it.

namespace pelkotool {

using pelkoapi::catchInterrupts;
using pelkoapi::utf8Of;

namespace {

constexpr std::size_t mostProblemsShown = 100;

struct CheckOptions {
    FileOptions file;
    bool full = false;
    bool json = false;
};

std::string problemText(const FileProblem& problem) {
    return problem.table.empty() ? problem.text : problem.table + ": " + problem.text;
}

/// "1 problem"; "at least 300 problems" where not all were looked for.
std::string numberOfProblems(const FileCheck& check) {
    return (check.more ? "at least " : "") +
           counted(static_cast<long long>(check.problems.size()), "problem");
}

void printCheck(const FileCheck& check, const Account& account, bool full) {
    const std::size_t shown = std::min(check.problems.size(), mostProblemsShown);
    for (std::size_t i = 0; i < shown; ++i) {
        printLine(problemText(check.problems[i]));
    }
    if (shown < check.problems.size()) {
        printLine("... and more");
    }
    if (check.isWhole()) {
        const std::string size = counted(check.tables, "table") + ", " + counted(check.pages, "page");
        printLine(utf8Of(account.database) + " is whole: " + size +
                  (check.tables == 0 ? "; it holds nothing"
                   : full            ? ", indexes and tables compared"
                                     : "") +
                  '.');
    }
}

Json checkJson(const FileCheck& check, const Account& account, bool full) {
    Json problems = Json::array();
    for (const FileProblem& problem : check.problems) {
        problems.push_back({{"table", problem.table.empty() ? Json(nullptr) : Json(problem.table)},
                            {"problem", problem.text}});
    }
    return {{"file", utf8Of(account.database)},
            {"full", full},
            {"whole", check.isWhole()},
            {"tables", check.tables},
            {"pages", check.pages},
            {"problems", std::move(problems)},
            {"more", check.more}};
}

void check(const GlobalOptions& global, const CheckOptions& options) {
    const Account account = accountFileOf(global, options.file);
    catchInterrupts();
    const FileCheck result = checkFile(account.database, options.full);
    if (options.json) {
        printJson(checkJson(result, account, options.full));
    } else {
        printCheck(result, account, options.full);
    }
    if (!result.isWhole()) {
        finishOutput();
        throw ToolError(utf8Of(account.database) + " is damaged: " + numberOfProblems(result) +
                        "; 'pelko salvage OUT' rescues what is left");
    }
}

}  // namespace

void addCheckCommand(CLI::App& app, const GlobalOptions& global) {
    const auto options = std::make_shared<CheckOptions>();
    CLI::App* const command = app.add_subcommand("check", "Let SQLite check whether a db.dat is whole");
    command->group(headingFile);
    command->footer(
        "Without --full every page is read and looked at: its form, its place in a table or index, the\n"
        "free pages, and the values of each row. --full also looks up each row in each index of its table,\n"
        "which finds indexes that hide rows or show what is gone, and takes several times as long.\n"
        "Nothing is changed, and a client may have the file open. Exit code 0: whole; 1: damaged, or the\n"
        "check could not be done; 130: interrupted.");
    command->add_flag("--full", options->full, "Compare the indexes with the tables, too");
    addFileOption(*command, options->file);
    addJsonFlag(*command, options->json);
    command->callback([&global, options] { check(global, *options); });
}

}  // namespace pelkotool
