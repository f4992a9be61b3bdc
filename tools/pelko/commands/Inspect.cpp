#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Arguments.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/file/AccountFile.h"
#include "tools/pelko/inspect/Findings.h"
#include "tools/pelko/inspect/Inspection.h"
#include "tools/pelko/inspect/InspectionJson.h"
#include "tools/pelko/inspect/InspectionText.h"

// pelko inspect: what is in a db.dat, and what is wrong with it.

namespace pelkotool {

namespace fs = std::filesystem;

using pelkoapi::pathOf;
using pelkoapi::utf8Of;

namespace {

struct InspectOptions {
    FileOptions file;
    std::optional<std::string> attachments;
    bool json = false;
};

/// The folder in which to look for files that no row names. One that only --file names may hold anything.
std::optional<fs::path> folderToSearch(const InspectOptions& options, const Account& account) {
    if (!options.attachments) {
        return options.file.file ? std::nullopt : std::optional(account.folder);
    }
    if (options.attachments->empty()) {
        throw UsageError("--attachments '' is no folder; name one, or leave the option out");
    }
    const fs::path folder = pathOf(*options.attachments);
    std::error_code error;
    if (!fs::is_directory(folder, error)) {
        throw ToolError("--attachments '" + *options.attachments +
                        "' is no folder that is there; name the one that holds the attachments");
    }
    return fs::absolute(folder).lexically_normal();
}

void inspect(const GlobalOptions& global, const InspectOptions& options) {
    const Account account = accountFileOf(global, options.file);
    const std::optional<fs::path> folder = folderToSearch(options, account);
    const Inspection inspection = inspectFile(account, folder);
    const std::vector<Finding> findings = findingsOf(inspection);
    if (options.json) {
        printJson(inspectionJson(inspection, findings));
    } else {
        printInspection(inspection, findings);
    }
    if (!inspection.failures().empty()) {
        finishOutput();
        throw ToolError("parts of " + utf8Of(account.database) + " could not be read; " +
                        remedyForUnread(inspection));
    }
}

}  // namespace

void addInspectCommand(CLI::App& app, const GlobalOptions& global) {
    const auto options = std::make_shared<InspectOptions>();
    CLI::App* const command =
        app.add_subcommand("inspect", "Tell what is in a db.dat, and what is wrong with it");
    command->group(headingFile);
    command->footer(
        "Nothing is changed, and a client may have the file open. The last line says whether something is\n"
        "to be looked at, and what to do about it. Exit code 0: all could be read, whatever was found;\n"
        "1: parts could not be read, and the others are told.");
    addFileOption(*command, options->file);
    addGiven(*command, "--attachments", "DIR", options->attachments,
             "Look there for files that no row names (default: the account's folder; with --file: nowhere)");
    addJsonFlag(*command, options->json);
    command->callback([&global, options] { inspect(global, *options); });
}

}  // namespace pelkotool
