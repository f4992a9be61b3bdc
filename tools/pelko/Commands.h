#ifndef PELKO_TOOL_COMMANDS_H
#define PELKO_TOOL_COMMANDS_H

#include <CLI/CLI.hpp>

#include "tools/pelko/Account.h"

// One function for each family of commands; each stands in a file of its own under commands/ and hangs its
// commands into the command line. The options outlive the command line's run.

namespace pelkotool {

// The headings of 'pelko --help'.
constexpr char groupFilling[] = "Messages in";
constexpr char groupConversations[] = "Conversations";
constexpr char groupUnread[] = "Unread badges";

void addReplayCommands(CLI::App& app, const GlobalOptions& global);        // replay
void addConversationCommands(CLI::App& app, const GlobalOptions& global);  // sessions, show
void addUnreadCommands(CLI::App& app, const GlobalOptions& global);        // unread, read
void addMessageCommands(CLI::App& app, const GlobalOptions& global);       // send, receive

}  // namespace pelkotool

#endif  // PELKO_TOOL_COMMANDS_H
