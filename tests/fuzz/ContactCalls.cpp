#include "tests/fuzz/OperationCalls.h"

// Friends, blocked users and profiles.

namespace pelkotest {

namespace {

using namespace pelkoapi;

/// A call that takes a name by reference.
template <typename Operation>
void withName(OperationRun& run, const char* name, const Operation& operation) {
    const std::string argument = run.input.name();
    run.both(name, told(argument), [&](auto& store) {
        std::string copy = argument;
        const auto result = operation(store, copy);
        return told(result, copy);
    });
}

/// A call that takes a list of names by reference.
template <typename Operation>
void withNames(OperationRun& run, const char* name, const Operation& operation) {
    std::vector<std::string> names;
    for (unsigned count = run.input.below(5); count > 0; --count) {
        names.push_back(run.input.name());
    }
    run.both(name, told(names), [&](auto& store) {
        std::vector<std::string> copies = names;
        const auto result = operation(store, copies);
        return told(result, copies);
    });
}

void addFriend(OperationRun& run) {
    withName(run, "addFriend", [](auto& store, std::string& name) { return store.addFriend(name); });
}

void deleteFriend(OperationRun& run) {
    withName(run, "deleteFriend", [](auto& store, std::string& name) { return store.deleteFriend(name); });
}

void isFriend(OperationRun& run) {
    withName(run, "isFriend", [](auto& store, std::string& name) { return store.isFriend(name); });
}

void clearFriendList(OperationRun& run) {
    run.both("clearFriendList", "", [](auto& store) { return told(store.clearFriendList()); });
}

void getFriendUsernames(OperationRun& run) {
    run.both("getFriendUsernames", "", [](auto& store) { return told(store.getFriendUsernames()); });
}

void saveFriendList(OperationRun& run) {
    withNames(run, "saveFriendList", [](auto& store, auto& names) { return store.saveFriendList(names); });
}

void replaceFriendList(OperationRun& run) {
    withNames(run, "replaceFriendList",
              [](auto& store, auto& names) { return store.replaceFriendList(names); });
}

void blockUser(OperationRun& run) {
    withName(run, "blockUser", [](auto& store, std::string& name) { return store.blockUser(name); });
}

void unblockUser(OperationRun& run) {
    withName(run, "unblockUser", [](auto& store, std::string& name) { return store.unblockUser(name); });
}

void isBlocked(OperationRun& run) {
    withName(run, "isBlocked", [](auto& store, std::string& name) { return store.isBlocked(name); });
}

void clearBlockList(OperationRun& run) {
    run.both("clearBlockList", "", [](auto& store) { return told(store.clearBlockList()); });
}

void getBlockUsernames(OperationRun& run) {
    run.both("getBlockUsernames", "", [](auto& store) { return told(store.getBlockUsernames()); });
}

void saveBlockList(OperationRun& run) {
    withNames(run, "saveBlockList", [](auto& store, auto& names) { return store.saveBlockList(names); });
}

void replaceBlockList(OperationRun& run) {
    withNames(run, "replaceBlockList",
              [](auto& store, auto& names) { return store.replaceBlockList(names); });
}

void getBaseUserInfo(OperationRun& run) {
    withName(run, "getBaseUserInfo",
             [](auto& store, std::string& name) { return store.getBaseUserInfo(name); });
}

void getUserInfo(OperationRun& run) {
    withName(run, "getUserInfo", [](auto& store, std::string& name) { return store.getUserInfo(name); });
}

void getFriendList(OperationRun& run) {
    run.both("getFriendList", "", [](auto& store) {
        std::vector<PelkoUser> users = {PelkoUser("is cleared away")};
        const bool result = store.getFriendList(users);
        return told(result, users);
    });
}

void getBlockList(OperationRun& run) {
    run.both("getBlockList", "", [](auto& store) {
        std::vector<PelkoUser> users = {PelkoUser("is cleared away")};
        const bool result = store.getBlockList(users);
        return told(result, users);
    });
}

void insertOrUpdateUser(OperationRun& run) {
    const PelkoUser user = run.input.user();
    const uint version = run.input.number();
    run.both("insertOrUpdateUser", told(user, version), [&](auto& store) {
        PelkoUser copy = user;
        const bool result = store.insertOrUpdateUser(copy, version);
        return told(result, copy);
    });
}

void userExist(OperationRun& run) {
    withName(run, "userExist", [](auto& store, std::string& name) { return store.userExist(name); });
}

void deleteUser(OperationRun& run) {
    withName(run, "deleteUser", [](auto& store, std::string& name) { return store.deleteUser(name); });
}

}  // namespace

const std::vector<OperationCall> contactCalls = {
    addFriend,      deleteFriend,      isFriend,      clearFriendList,    getFriendUsernames,
    saveFriendList, replaceFriendList, blockUser,     unblockUser,        isBlocked,
    clearBlockList, getBlockUsernames, saveBlockList, replaceBlockList,   getBaseUserInfo,
    getUserInfo,    getFriendList,     getBlockList,  insertOrUpdateUser, userExist,
    deleteUser};

}  // namespace pelkotest
