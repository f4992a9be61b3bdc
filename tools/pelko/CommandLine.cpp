#include "tools/pelko/CommandLine.h"

#include <cstdlib>
#include <exception>

#include "classes/sqlite/DatabaseKey.h"
#include "tools/pelko/Account.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/Output.h"

namespace pelkotool {

namespace {

constexpr char description[] =
    "pelko looks into the chat store of one account, its db.dat, and writes to it, through the same\n"
    "operations that a chat client uses; it checks, rescues and exports the file itself.\n";

constexpr char map[] =
    "What is where:\n"
    "  DATA-DIR/users/NAME/db.dat   the store of the account NAME\n"
    "  messages                     each once, by row (DBID); those with a service id are never stored "
    "twice\n"
    "  conversations                the messages with one peer, and a session that shows the newest of them\n"
    "  contacts                     the friends and the blocked users, and profiles of users\n"
    "  rooms and groups             their details, and the list of joined groups\n"
    "  notifications                invitations to groups, requests to join and the replies\n"
    "  sync marks and settings      how far streams have been fetched; a number for each conversation\n"
    "  TARGET                       the peer of a conversation: user:alice, room:5001, group:77, service:9\n"
    "  unread                       a received message until 'pelko read' marks its conversation read\n"
    "\n"
    "Begin with 'pelko replay FOLDER', then 'pelko sessions', then 'pelko show' with a TARGET of that list; "
    "with\n"
    "a file that misbehaves, begin with 'pelko inspect'.\n"
    "'pelko COMMAND --help' tells more, and which commands stand below it, as in 'pelko rooms add'.\n"
    "PELKO_KEY in the environment is the key of encrypted files.\n"
    "Exit codes: 0 done, 1 failed or damaged, 2 wrong arguments, 130 interrupted.";

/// The last line of several is what CLI11 adds itself.
std::string firstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

void addGlobalOptions(CLI::App& app, GlobalOptions& options) {
    app.add_option_function<std::string>(
           "--data-dir",
           [&options](const std::string& folder) {
               options.dataDir = folder;
               options.dataDirGiven = true;
           },
           "Folder of all accounts' data (default: pelko in $XDG_DATA_HOME or ~/.local/share)")
        ->type_name("DIR");
    app.add_option_function<std::string>(
           "--user",
           [&options](const std::string& name) {
               options.user = name;
               options.userGiven = true;
           },
           "The account (default: me)")
        ->type_name("NAME");
    app.set_version_flag("--version", "pelko " PELKO_VERSION, "Print the version");
}

void parse(CLI::App& app, int argc, const char* const* argv) {
    constexpr char help[] = "; 'pelko --help' shows the commands";
    try {
        app.parse(argc, argv);
    } catch (const CLI::ExtrasError&) {
        const std::string extra = app.remaining(true).front();
        const bool meantAsCommand = app.get_subcommands().empty() && extra.rfind('-', 0) != 0;
        throw UsageError("'" + extra + (meantAsCommand ? "' is no command" : "' is not expected here") +
                         help);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::Success)) {
            throw UsageError(firstLine(error.what()) + help);
        }
        app.exit(error);  // prints the help or the version
        return;
    }
    if (app.get_subcommands().empty()) {
        throw UsageError(std::string("no command was given") + help);
    }
}

/// From the environment, since others see a process's arguments.
void takeKey() {
    const char* const key = std::getenv("PELKO_KEY");
    pelkoapi::setDatabaseKey(key != nullptr ? key : "");
}

void run(int argc, const char* const* argv) {
    takeKey();
    GlobalOptions options;
    CLI::App app(description, "pelko");
    app.require_subcommand(0, 1);
    app.fallthrough();  // the global options are taken behind the command, too
    app.get_formatter()->column_width(34);
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    addGlobalOptions(app, options);
    addReplayCommands(app, options);
    addMessageCommands(app, options);
    addDeleteCommand(app, options);
    addSearchCommand(app, options);
    addConversationCommands(app, options);
    addUnreadCommands(app, options);
    addPinCommands(app, options);
    addClearCommand(app, options);
    addContactCommands(app, options);
    addUserCommands(app, options);
    addRoomCommands(app, options);
    addGroupCommands(app, options);
    addNotificationCommands(app, options);
    addSettingCommands(app, options);
    addExportCommand(app, options);
    addImportCommand(app, options);
    addInspectCommand(app, options);
    addCheckCommand(app, options);
    addBackupCommand(app, options);
    addSalvageCommand(app, options);
    addCompactCommand(app, options);
    addHelpCommands(app);
    app.footer(map);  // last: commands made later would show it too
    parse(app, argc, argv);
    finishOutput();
}

}  // namespace

ExitCode runCommandLine(int argc, const char* const* argv) {
    try {
        run(argc, argv);
        return ExitCode::done;
    } catch (const ToolError& error) {
        printError(error.what());
        return error.code();
    } catch (const std::exception& error) {
        printError(std::string("unexpected failure: ") + error.what());
        return ExitCode::failed;
    }
}

}  // namespace pelkotool
