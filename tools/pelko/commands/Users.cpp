#include <deque>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "tools/pelko/Arguments.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/Details.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/Store.h"
#include "tools/pelko/Target.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/UserProfiles.h"

// pelko users: the cached profiles.

namespace pelkotool {

using pelkoapi::PelkoChatTarget;
using pelkoapi::PelkoDBManager;
using pelkoapi::PelkoMessage;
using pelkoapi::PelkoUser;

namespace {

// So many of each session's messages are looked through for their senders.
constexpr unsigned int messagesLookedThrough = 1000;

struct UserOptions {
    std::string name;
    std::optional<std::string> nickname;
    std::optional<std::string> gender;
    DetailOptions details;
    bool json = false;
};

pelkoapi::PelkoUserGender parseGender(const std::string& text) {
    const std::map<std::string, pelkoapi::PelkoUserGender> genders = {
        {"male", pelkoapi::PelkoUserGenderMale},
        {"female", pelkoapi::PelkoUserGenderFemale},
        {"unset", pelkoapi::PelkoUserGenderNotSet}};
    const auto gender = genders.find(text);
    if (gender == genders.end()) {
        throw UsageError("--gender '" + text + "' is not male, female or unset");
    }
    return gender->second;
}

void addSenders(Store& store, const PelkoChatTarget& target, std::set<std::string>& names) {
    const auto messages = store.run("read " + targetText(target), [&](PelkoDBManager& db) {
        std::deque<PelkoMessage> page;
        db.getLatestMessages(target, messagesLookedThrough, page);
        return page;
    });
    for (const PelkoMessage& message : messages) {
        names.insert(message.sender.name);  // empty for a service
    }
}

/// The store has no operation that lists the profiles: the names come from everything else that it lists.
std::set<std::string> knownNames(Store& store) {
    std::set<std::string> names;
    const auto addAll = [&](const std::vector<std::string>& some) { names.insert(some.begin(), some.end()); };
    addAll(store.run("read the friends", [](PelkoDBManager& db) { return db.getFriendUsernames(); }));
    addAll(store.run("read the blocked users", [](PelkoDBManager& db) { return db.getBlockUsernames(); }));
    names.insert(store.account().user);
    for (const auto& session : store.sessions()) {
        if (!targetText(session.target).empty()) {
            names.insert(session.target.name);
            addSenders(store, session.target, names);
        }
    }
    return names;
}

void listUsers(const GlobalOptions& global, bool json) {
    Store store(accountOf(global), Store::IfMissing::refuse);
    std::vector<PelkoUser> users;
    for (const std::string& name : knownNames(store)) {
        if (hasProfile(store, name)) {
            users.push_back(readUser(store, name));
        }
    }
    printUsers(store, users, "No profiles of known users are stored.", json);
}

void requireProfile(Store& store, const std::string& name) {
    if (!hasProfile(store, name)) {
        throw ToolError("no profile of '" + name + "' is stored; 'pelko users add' stores one");
    }
}

void showUser(const GlobalOptions& global, const std::string& name, bool json) {
    requireFindable(name);
    Store store(accountOf(global), Store::IfMissing::refuse);
    requireProfile(store, name);
    printUser(store, readUser(store, name), json);
}

void addUser(const GlobalOptions& global, const UserOptions& options) {
    requireFindable(options.name);
    requireStorable(options.details);
    // Before the store is opened, so that a wrong one is told without making a file.
    const pelkoapi::PelkoUserGender given =
        options.gender ? parseGender(*options.gender) : pelkoapi::PelkoUserGenderNotSet;

    Store store(accountOf(global), Store::IfMissing::create);
    PelkoUser user = readUser(store, options.name);
    user.nickname = options.nickname.value_or(user.nickname);
    if (options.gender || !hasProfile(store, options.name)) {
        user.gender = given;
    }
    applyDetails(options.details, user);
    const unsigned int version = versionToStore(options.details, storedVersion(store, user));
    const std::string doing = "store the profile of '" + options.name + "'";
    if (!store.run(doing, [&](PelkoDBManager& db) { return db.insertOrUpdateUser(user, version); })) {
        throw ToolError("cannot " + doing + ": the store changed no row");
    }
    if (options.json) {
        printUser(store, user, true);
    } else {
        printLine("Stored the profile of " + options.name + '.');
    }
}

/// Takes names with a single quote, too: other programs may have stored their profiles.
void removeUser(const GlobalOptions& global, const std::string& name, bool json) {
    Store store(accountOf(global), Store::IfMissing::refuse);
    std::string removed = name;
    if (!store.run("remove the profile of '" + name + "'",
                   [&](PelkoDBManager& db) { return db.deleteUser(removed); })) {
        throw ToolError("no profile of '" + name + "' is stored; nothing was removed");
    }
    if (json) {
        printJson({{"removed", name}});
    } else {
        printLine("Removed the profile of " + name + ". Relations and messages stay.");
    }
}

}  // namespace

void addUserCommands(CLI::App& app, const GlobalOptions& global) {
    CLI::App& users = addFamily(app, "users", "List, show, add and remove the profiles of users",
                                headingContacts, [&global](bool json) { listUsers(global, json); });

    addItemCommand(users, "show", "Show a user's profile", "NAME", "The user's account name",
                   [&global](const std::string& name, bool json) { showUser(global, name, json); });

    const auto options = std::make_shared<UserOptions>();
    CLI::App& add =
        addCommand(users, "add", "Store a user's profile; what is not given keeps what is stored");
    addPositional(add, "NAME", options->name, "The user's account name");
    addGiven(add, "--nickname", "NAME", options->nickname, "The name that is shown");
    addGiven(add, "--gender", "GENDER", options->gender, "male, female or unset");
    addDetailOptions(add, options->details);
    addJsonFlag(add, options->json);
    add.callback([&global, options] { addUser(global, *options); });

    addItemCommand(users, "remove", "Remove a user's profile; the user stays on the lists", "NAME",
                   "The user's account name",
                   [&global](const std::string& name, bool json) { removeUser(global, name, json); });
    // Last: commands made later would show it, too.
    users.footer(
        "The store cannot list its profiles. The list is made of the profiles of the account, the friends, "
        "the\n"
        "blocked users, the peers of the sessions and the senders of each session's newest " +
        std::to_string(messagesLookedThrough) + " messages;\n'show' finds all others, too.");
}

}  // namespace pelkotool
