#include <iostream>
#include <memory>
#include <vector>

#include "classes/platform/Terminal.h"
#include "tools/pelko/Arguments.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/Details.h"
#include "tools/pelko/Json.h"
#include "tools/pelko/Store.h"
#include "tools/pelko/Table.h"
#include "tools/pelko/Target.h"
#include "tools/pelko/ToolError.h"

// pelko groups: the list of joined groups, and the details of groups.

namespace pelkotool {

using pelkoapi::PelkoChatTarget;
using pelkoapi::PelkoDBManager;
using pelkoapi::PelkoGroup;
using pelkoapi::stdoutWidth;

namespace {

struct GroupOptions {
    std::string group;
    std::optional<std::string> name;
    std::optional<std::string> owner;
    std::optional<std::string> capacity;
    std::optional<bool> isPrivate;
    std::optional<bool> needsAuthentication;
    DetailOptions details;
    bool json = false;
};

/// What the store knows of a group.
struct Standing {
    bool joined = false;
    bool hasDetails = false;
};

Standing standingOf(Store& store, const PelkoChatTarget& target) {
    return store.run("read " + targetText(target), [&](PelkoDBManager& db) {
        Standing standing;
        standing.joined = db.isInGroup(target.id);
        standing.hasDetails = db.groupExist(target.id);
        return standing;
    });
}

Standing requireKnown(Store& store, const PelkoChatTarget& target) {
    const Standing standing = standingOf(store, target);
    if (!standing.joined && !standing.hasDetails) {
        throw ToolError(targetText(target) +
                        " is not joined, and no details of it are stored; 'pelko groups' lists the joined");
    }
    return standing;
}

PelkoGroup readGroup(Store& store, const PelkoChatTarget& target) {
    return store.run("read " + targetText(target),
                     [&](PelkoDBManager& db) { return db.getGroupInfo(target.id); });
}

void printGroup(Store& store, const PelkoGroup& group, bool joined, bool json) {
    const unsigned int version = storedVersion(store, group);
    if (json) {
        printJson(groupJson(group, version, joined));
        return;
    }
    printField("group", targetText(group));
    printField("joined", joined ? "yes" : "no");
    printField("name", group.name);
    printField("type", group.ownerType == pelkoapi::PelkoGroupTypePrivate ? "private" : "public");
    printField("owner", group.ownerAccount);
    printField("authentication", group.needAuthentication ? "needed" : "not needed");
    printField("capacity", std::to_string(group.capacity));
    printDetails(group, version);
}

void listGroups(const GlobalOptions& global, bool json) {
    Store store(accountOf(global), Store::IfMissing::refuse);
    const auto groups = store.run("read the groups", [](PelkoDBManager& db) {
        std::vector<PelkoGroup> list;
        db.getGroupList(list);
        return list;
    });
    Json list = Json::array();
    Table table(
        {{"GROUP"}, {"NAME"}, {"TYPE"}, {"OWNER"}, {"CAPACITY", Table::Align::right}, {"AUTHENTICATION"}});
    for (const PelkoGroup& group : groups) {
        list.push_back(groupJson(group, storedVersion(store, group), true));
        table.add({targetText(group), group.name,
                   group.ownerType == pelkoapi::PelkoGroupTypePrivate ? "private" : "public",
                   group.ownerAccount, std::to_string(group.capacity),
                   group.needAuthentication ? "needed" : ""});
    }
    if (json) {
        printJson(list);
    } else if (groups.empty()) {
        printLine("No groups are joined yet.");
    } else {
        table.print(std::cout, stdoutWidth());
    }
}

void showGroup(const GlobalOptions& global, const std::string& text, bool json) {
    const PelkoChatTarget target = parseGroup(text);
    Store store(accountOf(global), Store::IfMissing::refuse);
    const bool joined = requireKnown(store, target).joined;
    printGroup(store, readGroup(store, target), joined, json);
}

void addGroup(const GlobalOptions& global, const GroupOptions& options) {
    const PelkoChatTarget target = parseGroup(options.group);
    requireNoQuote("--owner", options.owner);
    requireStorable(options.details);
    const auto capacity = parseCount("--capacity", options.capacity);

    Store store(accountOf(global), Store::IfMissing::create);
    PelkoGroup group = readGroup(store, target);
    group.name = options.name.value_or(group.name);
    group.ownerAccount = options.owner.value_or(group.ownerAccount);
    group.capacity = capacity.value_or(group.capacity);
    if (options.isPrivate) {
        group.ownerType =
            *options.isPrivate ? pelkoapi::PelkoGroupTypePrivate : pelkoapi::PelkoGroupTypePublic;
    }
    group.needAuthentication = options.needsAuthentication.value_or(group.needAuthentication);
    applyDetails(options.details, group);
    const unsigned int version = versionToStore(options.details, storedVersion(store, target));
    const std::string doing = "store " + targetText(target);
    if (!store.run(doing, [&](PelkoDBManager& db) { return db.insertOrUpdateGroup(&group, version); })) {
        throw ToolError("cannot " + doing + ": the store changed no row");
    }
    // False for a group that was joined before.
    store.run("join " + targetText(target), [&](PelkoDBManager& db) { return db.joinGroup(target.id); });
    if (options.json) {
        printGroup(store, group, true, true);
    } else {
        printLine("Stored " + targetText(target) + ", which is joined.");
    }
}

void removeGroup(const GlobalOptions& global, const std::string& text, bool json) {
    const PelkoChatTarget target = parseGroup(text);
    Store store(accountOf(global), Store::IfMissing::refuse);
    requireKnown(store, target);
    store.run("remove " + targetText(target), [&](PelkoDBManager& db) {
        db.quitGroup(target.id);
        db.deleteGroup(target.id);
    });
    if (json) {
        printJson({{"removed", targetText(target)}});
    } else {
        printLine("Removed " + targetText(target) + " and its details. Its messages stay.");
    }
}

void joinGroup(const GlobalOptions& global, const std::string& text, bool json) {
    const PelkoChatTarget target = parseGroup(text);
    Store store(accountOf(global), Store::IfMissing::create);
    const bool isNew =
        store.run("join " + targetText(target), [&](PelkoDBManager& db) { return db.joinGroup(target.id); });
    if (json) {
        printJson({{"joined", targetText(target)}, {"new", isNew}});
    } else {
        printLine(isNew ? "Joined " + targetText(target) + '.' : targetText(target) + " was joined before.");
    }
}

void quitGroup(const GlobalOptions& global, const std::string& text, bool json) {
    const PelkoChatTarget target = parseGroup(text);
    Store store(accountOf(global), Store::IfMissing::refuse);
    if (!store.run("quit " + targetText(target),
                   [&](PelkoDBManager& db) { return db.quitGroup(target.id); })) {
        throw ToolError(targetText(target) + " is not joined; 'pelko groups' lists the joined");
    }
    if (json) {
        printJson({{"quit", targetText(target)}});
    } else {
        printLine("Quit " + targetText(target) + ". Its details and its messages stay.");
    }
}

}  // namespace

void addGroupCommands(CLI::App& app, const GlobalOptions& global) {
    const char* const groupHelp = "The group's id, as in 77 or group:77";
    CLI::App& groups = addFamily(app, "groups", "List, show, add, remove, join and quit groups",
                                 headingPlaces, [&global](bool json) { listGroups(global, json); });

    addItemCommand(groups, "show", "Show a group's details", "GROUP", groupHelp,
                   [&global](const std::string& group, bool json) { showGroup(global, group, json); });

    const auto options = std::make_shared<GroupOptions>();
    CLI::App& add = addCommand(groups, "add",
                               "Join a group and store its details; what is not given keeps what is stored");
    addPositional(add, "GROUP", options->group, groupHelp);
    addGiven(add, "--name", "NAME", options->name, "The group's name");
    addGiven(add, "--owner", "NAME", options->owner, "The account that owns it");
    addGiven(add, "--capacity", "N", options->capacity, "How many users the group takes");
    addSwitch(add, "--private,!--public", options->isPrivate, "Of which type it is");
    addSwitch(add, "--auth,!--no-auth", options->needsAuthentication,
              "Whether joining needs the owner's consent");
    addDetailOptions(add, options->details);
    addJsonFlag(add, options->json);
    add.callback([&global, options] { addGroup(global, *options); });

    addItemCommand(groups, "remove", "Quit a group and remove its details; its messages and its session stay",
                   "GROUP", groupHelp,
                   [&global](const std::string& group, bool json) { removeGroup(global, group, json); });
    addItemCommand(groups, "join", "Put a group on the list of joined groups, without details", "GROUP",
                   groupHelp,
                   [&global](const std::string& group, bool json) { joinGroup(global, group, json); });
    addItemCommand(groups, "quit", "Take a group off the list; its details stay", "GROUP", groupHelp,
                   [&global](const std::string& group, bool json) { quitGroup(global, group, json); });
    // Last: commands made later would show it, too.
    groups.footer(
        "The list is that of the joined groups. Details are stored apart from it: 'quit' leaves them, "
        "'show'\n"
        "shows them of groups that are not joined, too.");
}

}  // namespace pelkotool
