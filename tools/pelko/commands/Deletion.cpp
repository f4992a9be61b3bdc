#include <algorithm>
#include <limits>
#include <memory>
#include <vector>

#include "tools/pelko/Arguments.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/Confirmation.h"
#include "tools/pelko/Details.h"
#include "tools/pelko/Json.h"
#include "tools/pelko/Store.h"
#include "tools/pelko/Target.h"
#include "tools/pelko/ToolError.h"

// pelko delete, pelko clear: messages, for good.

namespace pelkotool {

using pelkoapi::PelkoChatTarget;
using pelkoapi::PelkoDBManager;
using pelkoapi::PelkoMessage;

namespace {

struct DeleteOptions {
    std::vector<std::string> rows;
    bool yes = false;
    bool json = false;
};

struct ClearOptions {
    std::string target;
    bool session = false;
    bool yes = false;
    bool json = false;
};

/// The conversations of the messages, each once. @throws ToolError when one of the messages is not stored
std::vector<PelkoChatTarget> conversationsOf(Store& store, const std::vector<long long>& rows) {
    std::vector<PelkoChatTarget> targets;
    for (const long long row : rows) {
        const std::string place = "row " + std::to_string(row);
        const PelkoMessage message =
            store.run("read the message of " + place, [&](PelkoDBManager& db) { return db.getMessage(row); });
        if (message.dbID == 0) {
            throw ToolError("there is no message of " + place +
                            "; 'pelko show' with a TARGET shows the rows; nothing was deleted");
        }
        const PelkoChatTarget& target = message.getTarget();
        if (std::find(targets.begin(), targets.end(), target) == targets.end()) {
            targets.push_back(target);
        }
    }
    return targets;
}

void deleteMessages(const GlobalOptions& global, const DeleteOptions& options) {
    std::vector<long long> rows = parseRowIds(options.rows, std::numeric_limits<long long>::max());
    requireAnswerable(options.yes);
    Store store(accountOf(global), Store::IfMissing::refuse);
    const std::vector<PelkoChatTarget> targets = conversationsOf(store, rows);
    const std::string messages = counted(static_cast<long long>(rows.size()), "message");
    confirm("Delete " + messages + " and the files attached", options.yes);

    store.run("delete the messages", [&](PelkoDBManager& db) { return db.deleteMessages(rows); });
    for (const PelkoChatTarget& target : targets) {
        if (!targetText(target).empty()) {
            store.refreshSession(target);
        }
    }
    if (options.json) {
        printJson({{"deleted", rows}});
    } else {
        printLine(messages + " deleted.");
    }
}

std::string nameBeside(Store& store, const PelkoChatTarget& target) {
    const std::string name = storedName(store, target);
    return targetText(target) + (name.empty() ? "" : " (" + name + ')');
}

void clearConversation(const GlobalOptions& global, const ClearOptions& options) {
    const PelkoChatTarget target = parseTarget(options.target);
    requireAnswerable(options.yes);
    Store store(accountOf(global), Store::IfMissing::refuse);
    const bool hadMessages = store.newestMessage(target).dbID != 0;
    if (hadMessages || options.session) {
        confirm("Delete all messages of " + nameBeside(store, target) + " and the files attached",
                options.yes);
        store.run("clear " + targetText(target),
                  [&](PelkoDBManager& db) { return db.clearMessages(target); });
    }
    const bool sessionRemoved =
        options.session && store.run("remove the session of " + targetText(target),
                                     [&](PelkoDBManager& db) { return db.deleteSession(target); });
    store.refreshSession(target);
    if (options.json) {
        printJson({{"target", targetText(target)},
                   {"had_messages", hadMessages},
                   {"session_removed", sessionRemoved}});
    } else {
        printLine(targetText(target) + (hadMessages ? " is cleared" : " had no messages") +
                  (sessionRemoved ? ", and its session is removed." : "."));
    }
}

void addYesFlag(CLI::App& command, bool& yes) {
    command.add_flag("--yes", yes, "Do not ask; needed where stdin is no terminal");
}

}  // namespace

void addDeleteCommand(CLI::App& app, const GlobalOptions& global) {
    const auto deleted = std::make_shared<DeleteOptions>();
    CLI::App* const del = app.add_subcommand("delete", "Delete messages and the files attached to them");
    del->group(headingMessages);
    del->footer(
        "The sessions stay; the last message of each becomes the newest one left. 'pelko replay' does not\n"
        "bring deleted messages back, unless with --all.");
    addPositionals(*del, "DBID", deleted->rows, "The messages' rows, which 'pelko show' shows");
    addYesFlag(*del, deleted->yes);
    addJsonFlag(*del, deleted->json);
    del->callback([&global, deleted] { deleteMessages(global, *deleted); });
}

void addClearCommand(CLI::App& app, const GlobalOptions& global) {
    const auto cleared = std::make_shared<ClearOptions>();
    CLI::App* const clear = app.add_subcommand("clear", "Delete all messages of a conversation");
    clear->group(headingConversations);
    clear->footer(
        "The files attached go, too. The session stays in the list, empty, with its pin and its setting; so "
        "do\nthe details of the room, group or user. 'pelko replay' does not bring the messages back, unless "
        "with\n--all.");
    addPositional(*clear, "TARGET", cleared->target, std::string("The peer: ") + targetForms);
    clear->add_flag("--session", cleared->session, "Remove the session from the list, too");
    addYesFlag(*clear, cleared->yes);
    addJsonFlag(*clear, cleared->json);
    clear->callback([&global, cleared] { clearConversation(global, *cleared); });
}

}  // namespace pelkotool
