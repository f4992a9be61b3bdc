#include <algorithm>
#include <vector>

#include "tools/pelko/Arguments.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/Store.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/UserProfiles.h"

// pelko friends, pelko blocked: the two lists of users. A user can be on both.

namespace pelkotool {

using pelkoapi::PelkoDBManager;
using pelkoapi::PelkoUser;

namespace {

/// One of the two lists: its operations, and how it is spoken of.
struct ContactList {
    const char* command;
    const char* inHelp;  // "the friends"
    const char* state;   // what a user on it is: "a friend"
    std::vector<std::string> (PelkoDBManager::*names)();
    bool (PelkoDBManager::*add)(std::string&);
    bool (PelkoDBManager::*remove)(std::string&);
    bool PelkoUser::*flag;
};

constexpr ContactList contactLists[] = {
    {"friends", "the friends", "a friend", &PelkoDBManager::getFriendUsernames, &PelkoDBManager::addFriend,
     &PelkoDBManager::deleteFriend, &PelkoUser::isFriend},
    {"blocked", "the blocked users", "blocked", &PelkoDBManager::getBlockUsernames,
     &PelkoDBManager::blockUser, &PelkoDBManager::unblockUser, &PelkoUser::isBlocked},
};

std::vector<std::string> namesOn(Store& store, const ContactList& list) {
    return store.run(std::string("read ") + list.inHelp,
                     [&](PelkoDBManager& db) { return (db.*list.names)(); });
}

[[noreturn]] void failMissing(const ContactList& list, const std::string& name) {
    throw ToolError("'" + name + "' is not " + list.state + "; 'pelko " + list.command + "' lists " +
                    list.inHelp);
}

void listContacts(const GlobalOptions& global, const ContactList& list, bool json) {
    Store store(accountOf(global), Store::IfMissing::refuse);
    std::vector<PelkoUser> users;
    for (const std::string& name : namesOn(store, list)) {
        users.push_back(readUser(store, name));
        users.back().*list.flag = true;  // also of a name that the store cannot look for
    }
    printUsers(store, users, std::string("Nobody is ") + list.state + " yet.", json);
}

void showContact(const GlobalOptions& global, const ContactList& list, const std::string& name, bool json) {
    Store store(accountOf(global), Store::IfMissing::refuse);
    const std::vector<std::string> names = namesOn(store, list);
    if (std::find(names.begin(), names.end(), name) == names.end()) {
        failMissing(list, name);
    }
    PelkoUser user = readUser(store, name);
    user.*list.flag = true;
    printUser(store, user, json);
}

void addContact(const GlobalOptions& global, const ContactList& list, const std::string& name, bool json) {
    requireFindable(name);
    Store store(accountOf(global), Store::IfMissing::create);
    std::string added = name;
    const bool isNew = store.run("add '" + name + "' to " + list.inHelp,
                                 [&](PelkoDBManager& db) { return (db.*list.add)(added); });
    if (json) {
        printJson({{"added", name}, {"new", isNew}});
    } else {
        printLine(name + (isNew ? " is now " : " is already ") + list.state + '.');
    }
}

/// Takes names with a single quote, too: other programs may have put them on the list.
void removeContact(const GlobalOptions& global, const ContactList& list, const std::string& name, bool json) {
    Store store(accountOf(global), Store::IfMissing::refuse);
    std::string removed = name;
    if (!store.run("remove '" + name + "' from " + list.inHelp,
                   [&](PelkoDBManager& db) { return (db.*list.remove)(removed); })) {
        failMissing(list, name);
    }
    if (json) {
        printJson({{"removed", name}});
    } else {
        printLine(name + " is no longer " + list.state + '.');
    }
}

void addContactList(CLI::App& app, const GlobalOptions& global, const ContactList& list) {
    const std::string inHelp = list.inHelp;
    CLI::App& family = addFamily(app, list.command, "List, show, add and remove " + inHelp, headingContacts,
                                 [&global, &list](bool json) { listContacts(global, list, json); });
    addItemCommand(
        family, "show", "Show the profile of one", "NAME", "The user's account name",
        [&global, &list](const std::string& name, bool json) { showContact(global, list, name, json); });
    addItemCommand(
        family, "add", "Add a user to " + inHelp, "NAME", "The user's account name",
        [&global, &list](const std::string& name, bool json) { addContact(global, list, name, json); });
    addItemCommand(family, "remove", "Remove a user from " + inHelp + "; profile and messages stay", "NAME",
                   "The user's account name", [&global, &list](const std::string& name, bool json) {
                       removeContact(global, list, name, json);
                   });
    // Last: commands made later would show it, too.
    family.footer("In the order in which they were added, with what 'pelko users' knows of them.");
}

}  // namespace

void addContactCommands(CLI::App& app, const GlobalOptions& global) {
    for (const ContactList& list : contactLists) {
        addContactList(app, global, list);
    }
}

}  // namespace pelkotool
