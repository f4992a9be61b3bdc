#include "tools/pelko/UserProfiles.h"

#include <iostream>

#include "classes/platform/Terminal.h"
#include "tools/pelko/Arguments.h"
#include "tools/pelko/Details.h"
#include "tools/pelko/Json.h"
#include "tools/pelko/Table.h"

namespace pelkotool {

using pelkoapi::PelkoDBManager;
using pelkoapi::PelkoUser;
using pelkoapi::stdoutWidth;

namespace {

std::string genderText(const PelkoUser& user) {
    const Json gender = genderJson(user.gender);
    return gender.is_string() ? gender.get<std::string>() : gender.dump();
}

}  // namespace

PelkoUser readUser(Store& store, const std::string& name) {
    if (hasQuote(name)) {
        return PelkoUser(name);
    }
    return store.run("read the user '" + name + "'",
                     [&](PelkoDBManager& db) { return db.getUserInfo(name); });
}

bool hasProfile(Store& store, const std::string& name) {
    std::string key = name;
    return !hasQuote(name) &&
           store.run("read the user '" + name + "'", [&](PelkoDBManager& db) { return db.userExist(key); });
}

void printUsers(Store& store, const std::vector<PelkoUser>& users, const std::string& none, bool json) {
    if (json) {
        Json list = Json::array();
        for (const PelkoUser& user : users) {
            list.push_back(userJson(user, storedVersion(store, user)));
        }
        printJson(list);
        return;
    }
    if (users.empty()) {
        printLine(none);
        return;
    }
    Table table({{"NAME"}, {"NICKNAME"}, {"FRIEND"}, {"BLOCKED"}, {"INFO"}});
    for (const PelkoUser& user : users) {
        table.add({user.name, user.nickname, user.isFriend ? "friend" : "", user.isBlocked ? "blocked" : "",
                   user.info});
    }
    table.print(std::cout, stdoutWidth());
}

void printUser(Store& store, const PelkoUser& user, bool json) {
    const unsigned int version = storedVersion(store, user);
    if (json) {
        printJson(userJson(user, version));
        return;
    }
    printField("user", user.name);
    printField("nickname", user.nickname);
    printField("gender", genderText(user));
    printField("friend", user.isFriend ? "yes" : "no");
    printField("blocked", user.isBlocked ? "yes" : "no");
    printDetails(user, version);
}

}  // namespace pelkotool
