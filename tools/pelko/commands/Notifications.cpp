#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "classes/platform/Terminal.h"
#include "tools/pelko/Arguments.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/Json.h"
#include "tools/pelko/Store.h"
#include "tools/pelko/Table.h"
#include "tools/pelko/Target.h"
#include "tools/pelko/Times.h"
#include "tools/pelko/ToolError.h"

// pelko notifications: group invitations, join requests and replies.

namespace pelkotool {

using pelkoapi::PelkoDBManager;
using pelkoapi::PelkoNotify;
using pelkoapi::stdoutWidth;

namespace {

// The store reads the row ids of notifications as signed 32 bits.
constexpr long long greatestRow = std::numeric_limits<int>::max();

struct NotificationOptions {
    std::string type;
    std::string group;
    std::string sender;
    std::string groupName;
    std::optional<std::string> text;
    std::optional<bool> agree;
    bool system = false;
    bool read = false;
    bool json = false;
};

struct RowOptions {
    std::vector<std::string> rows;
    bool all = false;
    bool json = false;
};

std::string typeText(const PelkoNotify& notify) {
    const Json type = notifyTypeJson(notify.type);
    std::string text = type.is_string() ? type.get<std::string>() : type.dump();
    if (notify.type == pelkoapi::PelkoNotifyTypeJoinGroupReply) {
        text += notify.agree ? ": yes" : ": no";
    }
    return text;
}

std::string stateText(const PelkoNotify& notify) {
    return notify.isRead ? "read" : "unread";
}

std::string dateText(const PelkoNotify& notify) {
    return localTime(static_cast<unsigned int>(notify.date));
}

std::string partyText(const pelkoapi::PelkoChatTarget& party) {
    const std::string target = targetText(party);
    const bool isUser = party.type == pelkoapi::PelkoChatTargetTypeUser;
    return isUser || party.name.empty() ? target : target + " (" + party.name + ')';
}

std::optional<PelkoNotify> find(Store& store, long long row) {
    return store.run("read the notification of row " + std::to_string(row),
                     [&](PelkoDBManager& db) -> std::optional<PelkoNotify> {
                         // The one that means "none" has an answer without a value: it is never copied.
                         PelkoNotify found = db.getNottify(static_cast<long>(row));
                         if (found.dbID == 0) {
                             return std::nullopt;
                         }
                         return found;
                     });
}

PelkoNotify require(Store& store, long long row) {
    std::optional<PelkoNotify> found = find(store, row);
    if (!found) {
        throw ToolError("there is no notification of row " + std::to_string(row) +
                        "; 'pelko notifications' shows the rows; nothing was changed");
    }
    return *found;
}

void requireAll(Store& store, const std::vector<long long>& rows) {
    for (const long long row : rows) {
        require(store, row);
    }
}

unsigned int unreadCount(Store& store) {
    return store.run("count the unread notifications",
                     [](PelkoDBManager& db) { return db.getUnreadNotifyCount(); });
}

void listNotifications(const GlobalOptions& global, bool json) {
    Store store(accountOf(global), Store::IfMissing::refuse);
    const auto notifications = store.run("read the notifications", [](PelkoDBManager& db) {
        std::vector<PelkoNotify> list;
        db.loadNotifyList(list);
        return list;
    });
    const unsigned int unread = unreadCount(store);
    Json list = Json::array();
    Table table(
        {{"DBID", Table::Align::right}, {"TIME"}, {"STATE"}, {"TYPE"}, {"FROM"}, {"GROUP"}, {"TEXT"}});
    for (const PelkoNotify& notify : notifications) {
        list.push_back(notifyJson(notify));
        table.add({std::to_string(notify.dbID), dateText(notify), stateText(notify), typeText(notify),
                   partyText(notify.sender), partyText(notify.from), notify.text});
    }
    if (json) {
        printJson({{"unread", unread}, {"notifications", std::move(list)}});
    } else if (notifications.empty()) {
        printLine("There are no notifications yet.");
    } else {
        table.print(std::cout, stdoutWidth());
        printLine(std::to_string(unread) + " unread");
    }
}

void showNotification(const GlobalOptions& global, const std::string& text, bool json) {
    const long long row = parseRowIds({text}, greatestRow).front();
    Store store(accountOf(global), Store::IfMissing::refuse);
    const PelkoNotify notify = require(store, row);
    if (json) {
        printJson(notifyJson(notify));
        return;
    }
    printField("row", std::to_string(notify.dbID));
    printField("time", dateText(notify));
    printField("state", stateText(notify));
    printField("type", typeText(notify));
    printField("from", partyText(notify.sender));
    printField("to", partyText(notify.receiver));
    printField("group", partyText(notify.from));
    printField("system", notify.isSystemNotify ? "yes" : "no");
    printField("text", notify.text);
}

PelkoNotify notificationOf(const NotificationOptions& options) {
    const std::map<std::string, pelkoapi::PelkoNotifyType> types = {
        {"invite", pelkoapi::PelkoNotifyTypeGroupInvite},
        {"request", pelkoapi::PelkoNotifyTypeJoinGroupRequest},
        {"reply", pelkoapi::PelkoNotifyTypeJoinGroupReply}};
    const auto type = types.find(options.type);
    if (type == types.end()) {
        throw UsageError("'" + options.type + "' is no notification; there are invite, request and reply");
    }
    PelkoNotify notify(type->second);
    if (notify.type == pelkoapi::PelkoNotifyTypeJoinGroupReply && !options.agree) {
        throw UsageError("a reply needs its answer: --agree or --refuse");
    }
    if (notify.type != pelkoapi::PelkoNotifyTypeJoinGroupReply && options.agree) {
        throw UsageError("--agree and --refuse are the answer of a reply; an " + options.type + " has none");
    }
    if (options.sender.empty()) {
        throw UsageError("--from '' is no user; name one, as in --from alice");
    }
    requireNoQuote("--text", options.text);
    notify.agree = options.agree.value_or(false);
    notify.sender = pelkoapi::PelkoChatTarget(options.sender);
    notify.from = parseGroup(options.group);
    notify.from.name = options.groupName;
    notify.text = options.text.value_or("");
    notify.isSystemNotify = options.system;
    notify.isRead = options.read;
    notify.date = static_cast<long>(now());
    return notify;
}

void addNotification(const GlobalOptions& global, const NotificationOptions& options) {
    PelkoNotify notify = notificationOf(options);
    Store store(accountOf(global), Store::IfMissing::create);
    notify.receiver = store.me();
    if (!store.run("store the notification", [&](PelkoDBManager& db) { return db.insertNotify(&notify); })) {
        throw ToolError("cannot store the notification: the store changed no row");
    }
    if (options.json) {
        printJson(notifyJson(notify));
    } else {
        printLine("Stored notification " + std::to_string(notify.dbID) + '.');
    }
}

void printMarked(long long count, bool read, bool json) {
    const char* const state = read ? "read" : "unread";
    if (json) {
        printJson({{std::string("marked_") + state, count}});
    } else {
        printLine(counted(count, "notification") + " marked " + state + '.');
    }
}

void markNotifications(const GlobalOptions& global, const RowOptions& options, bool read) {
    const std::vector<long long> rows = parseRowIds(options.rows, greatestRow);
    if (rows.empty() == !options.all) {
        throw UsageError("name the rows, or give --all");
    }
    Store store(accountOf(global), Store::IfMissing::refuse);
    if (options.all) {
        const unsigned int unread = unreadCount(store);
        store.run("mark the notifications read",
                  [](PelkoDBManager& db) { return db.clearNotifyUnreadStatus(); });
        printMarked(unread, true, options.json);
        return;
    }
    requireAll(store, rows);
    for (const long long row : rows) {
        store.run("mark the notification of row " + std::to_string(row),
                  [&](PelkoDBManager& db) { return db.markNotifyIsRead(static_cast<long>(row), read); });
    }
    printMarked(static_cast<long long>(rows.size()), read, options.json);
}

void removeNotifications(const GlobalOptions& global, const RowOptions& options) {
    const std::vector<long long> rows = parseRowIds(options.rows, greatestRow);
    Store store(accountOf(global), Store::IfMissing::refuse);
    requireAll(store, rows);
    store.run("remove the notifications", [&](PelkoDBManager& db) {
        return db.deleteNotifys(std::vector<long>(rows.begin(), rows.end()));
    });
    if (options.json) {
        printJson({{"removed", rows}});
    } else {
        printLine(counted(static_cast<long long>(rows.size()), "notification") + " removed.");
    }
}

void addAddCommand(CLI::App& family, const GlobalOptions& global) {
    const auto options = std::make_shared<NotificationOptions>();
    CLI::App& add = addCommand(family, "add", "Store a notification as received by the account");
    addPositional(add, "TYPE", options->type, "invite, request (to join) or reply (to a request)");
    add.add_option("--group", options->group, "The group it concerns, as in 77 or group:77")
        ->required()
        ->type_name("GROUP");
    add.add_option("--group-name", options->groupName, "The group's name")->type_name("NAME");
    add.add_option("--from", options->sender, "The user who sent it")->required()->type_name("NAME");
    addGiven(add, "--text", "TEXT", options->text, "The text that came with it, without single quotes");
    addSwitch(add, "--agree,!--refuse", options->agree, "The answer of a reply");
    add.add_flag("--system", options->system, "It comes from the system");
    add.add_flag("--read", options->read, "Store it as read");
    addJsonFlag(add, options->json);
    add.callback([&global, options] { addNotification(global, *options); });
}

}  // namespace

void addNotificationCommands(CLI::App& app, const GlobalOptions& global) {
    CLI::App& family = addFamily(
        app, "notifications", "List, show, add, remove, and mark read or unread: invitations, join requests",
        headingNotifications, [&global](bool json) { listNotifications(global, json); });

    addItemCommand(family, "show", "Show a notification", "DBID", "Its row",
                   [&global](const std::string& row, bool json) { showNotification(global, row, json); });
    addAddCommand(family, global);

    const auto removed = std::make_shared<RowOptions>();
    CLI::App& remove = addCommand(family, "remove", "Remove notifications");
    addPositionals(remove, "DBID", removed->rows, "Their rows");
    addJsonFlag(remove, removed->json);
    remove.callback([&global, removed] { removeNotifications(global, *removed); });

    const auto marked = std::make_shared<RowOptions>();
    CLI::App& read = addCommand(family, "read", "Mark notifications read");
    read.add_option("DBID", marked->rows, "Their rows")->type_name("");
    read.add_flag("--all", marked->all, "All notifications");
    addJsonFlag(read, marked->json);
    read.callback([&global, marked] { markNotifications(global, *marked, true); });

    const auto unmarked = std::make_shared<RowOptions>();
    CLI::App& unread = addCommand(family, "unread", "Mark notifications unread");
    addPositionals(unread, "DBID", unmarked->rows, "Their rows");
    addJsonFlag(unread, unmarked->json);
    unread.callback([&global, unmarked] { markNotifications(global, *unmarked, false); });
    // Last: commands made later would show it, too.
    family.footer("The newest row comes first.");
}

}  // namespace pelkotool
