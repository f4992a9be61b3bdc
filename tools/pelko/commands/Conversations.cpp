#include <algorithm>
#include <deque>
#include <iostream>
#include <iterator>
#include <limits>
#include <memory>
#include <tuple>

#include "classes/platform/Terminal.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/Details.h"
#include "tools/pelko/Json.h"
#include "tools/pelko/MessageView.h"
#include "tools/pelko/Number.h"
#include "tools/pelko/Store.h"
#include "tools/pelko/Table.h"
#include "tools/pelko/Target.h"
#include "tools/pelko/Times.h"
#include "tools/pelko/ToolError.h"

// pelko sessions, pelko show: what a client's list of conversations and its conversation view show.

namespace pelkotool {

using pelkoapi::PelkoChatTarget;
using pelkoapi::PelkoDBManager;
using pelkoapi::PelkoMessage;
using pelkoapi::PelkoSession;
using pelkoapi::stdoutWidth;

namespace {

constexpr long long largestPage = 1'000'000;

struct ShowOptions {
    std::string target;
    std::string count = "20";
    std::string before;
    bool beforeGiven = false;
    bool json = false;
};

void showSessions(const GlobalOptions& global, bool json) {
    Store store(accountOf(global), Store::IfMissing::refuse);
    std::list<PelkoSession> sessions = store.sessions();
    // Pinned ones first, by priority; then the one that was written in last.
    sessions.sort([](const PelkoSession& a, const PelkoSession& b) {
        const auto place = [](const PelkoSession& s) {
            return std::tuple(s.isTop, s.isTop ? s.priority : 0);
        };
        return place(a) != place(b) ? place(b) < place(a) : b.lastMsg < a.lastMsg;
    });

    Json list = Json::array();
    Table table({{"TARGET"},
                 {"NAME"},
                 {"PIN"},
                 {"UNREAD", Table::Align::right},
                 {"LAST MESSAGE"},
                 {"FROM"},
                 {"TEXT"}});
    for (const PelkoSession& session : sessions) {
        const unsigned int unread = store.unreadOf(session.target);
        const PelkoMessage& last = session.lastMsg;
        const bool hasLast = last.dbID != 0;
        const std::string name = storedName(store, session.target);
        list.push_back({{"target", targetJson(session.target)},
                        {"name", name.empty() ? Json(nullptr) : Json(name)},
                        {"pinned", session.isTop},
                        {"priority", session.priority},
                        {"unread", unread},
                        {"last_message", hasLast ? messageJson(last) : Json(nullptr)}});
        const std::string target = targetText(session.target);
        table.add({target.empty() ? "(unknown)" : target, name, session.isTop ? "pinned" : "",
                   std::to_string(unread), hasLast ? localTime(last.date) : "",
                   hasLast ? senderText(last) : "", hasLast ? bodyText(last) : ""});
    }
    if (json) {
        printJson(list);
    } else if (sessions.empty()) {
        printLine("There are no sessions yet.");
    } else {
        table.print(std::cout, stdoutWidth());
    }
}

PelkoMessage anchorMessage(Store& store, const PelkoChatTarget& target, long long dbID) {
    const std::string row = "--before " + std::to_string(dbID);
    PelkoMessage anchor =
        store.run("read the message of " + row, [&](PelkoDBManager& db) { return db.getMessage(dbID); });
    if (anchor.dbID == 0) {
        throw ToolError(row + ": there is no message of that row; 'pelko show " + targetText(target) +
                        "' shows the rows");
    }
    if (!(anchor.getTarget() == target)) {
        throw ToolError(row + ": that message is not of " + targetText(target) + " but of " +
                        targetText(anchor.getTarget()));
    }
    return anchor;
}

/// The newest messages that are older than the anchor. The store selects by the date alone, so a page of it
/// may hold messages of the anchor's own minute that are newer: it is asked for larger pages until enough is
/// left without them.
std::deque<PelkoMessage> pageBefore(Store& store, const PelkoChatTarget& target, const PelkoMessage& anchor,
                                    unsigned int count) {
    std::deque<PelkoMessage> page;
    for (unsigned int asked = count;; asked *= 2) {
        page = store.run("read " + targetText(target), [&](PelkoDBManager& db) {
            std::deque<PelkoMessage> messages;
            db.getHistoryMessages(target, anchor.dbID, asked, messages);
            return messages;
        });
        const bool all = page.size() < asked;
        page.erase(std::remove_if(page.begin(), page.end(),
                                  [&](const PelkoMessage& message) { return !(message < anchor); }),
                   page.end());
        if (all || page.size() >= count) {
            break;
        }
    }
    page.erase(page.begin(), page.end() - static_cast<long>(std::min<std::size_t>(count, page.size())));
    return page;
}

std::deque<PelkoMessage> newestPage(Store& store, const PelkoChatTarget& target, unsigned int count) {
    return store.run("read " + targetText(target), [&](PelkoDBManager& db) {
        std::deque<PelkoMessage> page;
        db.getLatestMessages(target, count, page);
        return page;
    });
}

void showConversation(const GlobalOptions& global, const ShowOptions& options) {
    const PelkoChatTarget target = parseTarget(options.target);
    const auto count = static_cast<unsigned int>(parseNumber("-n", options.count, 1, largestPage));
    const long long before = options.beforeGiven ? parseNumber("--before", options.before, 1,
                                                               std::numeric_limits<long long>::max())
                                                 : 0;
    Store store(accountOf(global), Store::IfMissing::refuse);
    const std::deque<PelkoMessage> page =
        options.beforeGiven ? pageBefore(store, target, anchorMessage(store, target, before), count)
                            : newestPage(store, target, count);

    if (options.json) {
        Json list = Json::array();
        std::transform(page.begin(), page.end(), std::back_inserter(list), messageJson);
        printJson(list);
        return;
    }
    if (page.empty()) {
        printLine(targetText(target) +
                  (options.beforeGiven ? " has no older messages." : " has no messages."));
        return;
    }
    Table table({{"DBID", Table::Align::right}, {"TIME"}, {"STATUS"}, {"FROM"}, {"TEXT"}});
    for (const PelkoMessage& message : page) {
        table.add({std::to_string(message.dbID), localTime(message.date), statusText(message),
                   senderText(message), bodyText(message)});
    }
    table.print(std::cout);
    if (page.size() == count) {
        printLine("Older ones: --before " + std::to_string(page.front().dbID));
    }
}

}  // namespace

void addConversationCommands(CLI::App& app, const GlobalOptions& global) {
    const auto json = std::make_shared<bool>(false);
    CLI::App* const sessions =
        app.add_subcommand("sessions", "List the conversations with their unread counts and last messages");
    sessions->group(headingConversations);
    sessions->add_flag("--json", *json, "Print as JSON");
    sessions->callback([&global, json] { showSessions(global, *json); });

    const auto options = std::make_shared<ShowOptions>();
    CLI::App* const show = app.add_subcommand("show", "Show messages of a conversation, the newest last");
    show->group(headingConversations);
    show->add_option("TARGET", options->target, std::string("The peer: ") + targetForms)
        ->required()
        ->type_name("");
    show->add_option("-n", options->count, "At most so many (default: 20)")->type_name("N");
    show->add_option_function<std::string>(
            "--before",
            [options](const std::string& row) {
                options->before = row;
                options->beforeGiven = true;
            },
            "Only messages older than the one of that row")
        ->type_name("DBID");
    show->add_flag("--json", options->json, "Print as JSON");
    show->callback([&global, options] { showConversation(global, *options); });
}

}  // namespace pelkotool
