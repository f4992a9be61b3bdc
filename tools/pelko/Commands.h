#ifndef PELKO_TOOL_COMMANDS_H
#define PELKO_TOOL_COMMANDS_H

#include <CLI/CLI.hpp>

#include "tools/pelko/Account.h"

// One function for each family of commands; each stands in a file of its own under commands/ and hangs its
// commands into the command line. The options outlive the command line's run.

namespace pelkotool {

// The headings of 'pelko --help', which come in the order in which they are first used.
constexpr char headingMessages[] = "Messages";
constexpr char headingConversations[] = "Conversations";
constexpr char headingContacts[] = "Contacts";
constexpr char headingPlaces[] = "Rooms and groups";
constexpr char headingNotifications[] = "Notifications";
constexpr char headingSettings[] = "Sync marks and settings";
constexpr char headingOutside[] = "In and out";
constexpr char headingFile[] = "The file itself";
constexpr char headingTool[] = "The tool";

void addReplayCommands(CLI::App& app, const GlobalOptions& global);        // replay
void addMessageCommands(CLI::App& app, const GlobalOptions& global);       // send, receive
void addDeleteCommand(CLI::App& app, const GlobalOptions& global);         // delete
void addConversationCommands(CLI::App& app, const GlobalOptions& global);  // sessions, show
void addUnreadCommands(CLI::App& app, const GlobalOptions& global);        // unread, read
void addClearCommand(CLI::App& app, const GlobalOptions& global);          // clear
void addPinCommands(CLI::App& app, const GlobalOptions& global);           // pin, unpin
void addContactCommands(CLI::App& app, const GlobalOptions& global);       // friends, blocked
void addUserCommands(CLI::App& app, const GlobalOptions& global);          // users
void addRoomCommands(CLI::App& app, const GlobalOptions& global);          // rooms
void addGroupCommands(CLI::App& app, const GlobalOptions& global);         // groups
void addNotificationCommands(CLI::App& app, const GlobalOptions& global);  // notifications
void addSettingCommands(CLI::App& app, const GlobalOptions& global);       // setting, mute, unmute, mark
void addSearchCommand(CLI::App& app, const GlobalOptions& global);         // search
void addExportCommand(CLI::App& app, const GlobalOptions& global);         // export
void addImportCommand(CLI::App& app, const GlobalOptions& global);         // import
void addInspectCommand(CLI::App& app, const GlobalOptions& global);        // inspect
void addCheckCommand(CLI::App& app, const GlobalOptions& global);          // check
void addBackupCommand(CLI::App& app, const GlobalOptions& global);         // backup
void addSalvageCommand(CLI::App& app, const GlobalOptions& global);        // salvage
void addCompactCommand(CLI::App& app, const GlobalOptions& global);        // compact
void addHelpCommands(CLI::App& app);                                       // manual, completion

}  // namespace pelkotool

#endif  // PELKO_TOOL_COMMANDS_H
