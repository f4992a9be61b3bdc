#include <iostream>
#include <memory>

#include "tools/pelko/Commands.h"
#include "tools/pelko/Json.h"
#include "tools/pelko/Store.h"
#include "tools/pelko/Table.h"
#include "tools/pelko/Target.h"

// pelko unread, pelko read: the badges.

namespace pelkotool {

using pelkoapi::PelkoChatTarget;
using pelkoapi::PelkoChatTargetType;
using pelkoapi::PelkoDBManager;
using pelkoapi::PelkoSession;

namespace {

struct ReceiverKind {
    PelkoChatTargetType type;
    const char* key;
    const char* words;
};

// The store counts by the kind of the receiver: what a user or a service sends to the account is received by
// a user.
constexpr ReceiverKind receiverKinds[] = {
    {pelkoapi::PelkoChatTargetTypeUser, "user", "received by users (from users and services)"},
    {pelkoapi::PelkoChatTargetTypeRoom, "room", "received by rooms"},
    {pelkoapi::PelkoChatTargetTypeGroup, "group", "received by groups"},
    {pelkoapi::PelkoChatTargetTypeCustomerService, "service", "received by services"},
};

void showUnread(const GlobalOptions& global, bool json) {
    Store store(accountOf(global), Store::IfMissing::refuse);
    const unsigned int total =
        store.run("count the unread messages", [](PelkoDBManager& db) { return db.getTotalUnreadCount(); });
    Json kinds = Json::object();
    Table table({{"UNREAD", Table::Align::right}, {"WHERE"}});
    table.add({std::to_string(total), "in all"});
    for (const ReceiverKind& kind : receiverKinds) {
        std::vector<PelkoChatTargetType> types = {kind.type};
        const unsigned int count = store.run(
            "count the unread messages", [&](PelkoDBManager& db) { return db.getUnreadCountOfTypes(types); });
        kinds[kind.key] = count;
        if (count > 0) {
            table.add({std::to_string(count), kind.words});
        }
    }

    Json sessions = Json::array();
    Table conversations({{"UNREAD", Table::Align::right}, {"CONVERSATION"}});
    unsigned int inSessions = 0;
    for (const PelkoSession& session : store.sessions()) {
        const std::string target = targetText(session.target);
        const unsigned int count = store.unreadOf(session.target);
        inSessions += count;
        if (count > 0) {
            sessions.push_back({{"target", target}, {"unread", count}});
            conversations.add({std::to_string(count), target});
        }
    }
    const unsigned int elsewhere = total > inSessions ? total - inSessions : 0;
    if (elsewhere > 0) {
        conversations.add({std::to_string(elsewhere), "(without a session)"});
    }

    if (json) {
        printJson({{"total", total},
                   {"by_receiver", std::move(kinds)},
                   {"sessions", std::move(sessions)},
                   {"without_session", elsewhere}});
    } else {
        table.print(std::cout);
        if (total > 0) {
            std::cout << '\n';
            conversations.print(std::cout);
        }
    }
}

void markRead(const GlobalOptions& global, const std::string& text, bool json) {
    const PelkoChatTarget target = parseTarget(text);
    Store store(accountOf(global), Store::IfMissing::refuse);
    const unsigned int unread = store.unreadOf(target);
    store.run("mark " + targetText(target) + " read",
              [&](PelkoDBManager& db) { return db.clearUnreadStatus(target); });
    if (json) {
        printJson({{"target", targetText(target)}, {"marked_read", unread}});
    } else if (unread == 0) {
        printLine(targetText(target) + " had no unread messages.");
    } else {
        printLine(targetText(target) + ": " + counted(unread, "message") + " marked read.");
    }
}

}  // namespace

void addUnreadCommands(CLI::App& app, const GlobalOptions& global) {
    const auto json = std::make_shared<bool>(false);
    CLI::App* const unread =
        app.add_subcommand("unread", "Count the unread messages: in all, by kind, by conversation");
    unread->group(headingConversations);
    unread->add_flag("--json", *json, "Print as JSON");
    unread->callback([&global, json] { showUnread(global, *json); });

    const auto target = std::make_shared<std::string>();
    CLI::App* const read = app.add_subcommand("read", "Mark a conversation read");
    read->group(headingConversations);
    read->add_option("TARGET", *target, std::string("The peer: ") + targetForms)->required()->type_name("");
    const auto readJson = std::make_shared<bool>(false);
    read->add_flag("--json", *readJson, "Print as JSON");
    read->callback([&global, target, readJson] { markRead(global, *target, *readJson); });
}

}  // namespace pelkotool
