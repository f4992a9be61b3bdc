#include <algorithm>

#include "tests/fuzz/StoreModel.h"

// Friends, blocked users and the cached profiles of users.

namespace pelkotest {

using namespace pelkoapi;

namespace {

template <typename Container, typename Condition>
std::size_t eraseIf(Container& container, const Condition& condition) {
    const std::size_t before = container.size();
    container.erase(std::remove_if(container.begin(), container.end(), condition), container.end());
    return before - container.size();
}

}  // namespace

bool StoreModel::addRelationship(const std::string& name, Relation relation) {
    if (!ready("addRelationship") || hasRelationship(name, relation)) {
        return false;
    }
    mTables.relations.push_back({stored(name), relation});
    return changed(1);
}

bool StoreModel::removeRelationship(const std::string& name, Relation relation) {
    if (!ready("removeRelationship")) {
        return false;
    }
    return changed(eraseIf(mTables.relations, [&](const RelationRow& row) {
        return row.name == stored(name) && row.relation == relation;
    }));
}

bool StoreModel::removeRelationships(Relation relation) {
    if (!ready("removeRelationship")) {
        return false;
    }
    return changed(
        eraseIf(mTables.relations, [&](const RelationRow& row) { return row.relation == relation; }));
}

bool StoreModel::hasRelationship(const std::string& name, Relation relation) {
    if (!ready("hasRelationship")) {
        return false;
    }
    if (breaks(name)) {
        return failed("checkIfRecordExist");
    }
    return std::any_of(mTables.relations.begin(), mTables.relations.end(), [&](const RelationRow& row) {
        return row.name == stored(name) && row.relation == relation;
    });
}

StoreModel::Names StoreModel::relationUsernames(Relation relation) {
    Names names;
    if (ready("getRelationUsernames")) {
        for (const RelationRow& row : mTables.relations) {
            if (row.relation == relation) {
                names.push_back(row.name);
            }
        }
    }
    return names;
}

StoreModel::uint StoreModel::saveRelationships(const char* operation, const Names& names, Relation relation) {
    if (!ready(operation)) {
        return 0;
    }
    uint saved = 0;
    for (const std::string& name : names) {
        saved += addRelationship(name, relation) ? 1 : 0;
    }
    return saved;
}

bool StoreModel::replaceFriendList(Names& names) {
    clearFriendList();
    return saveFriendList(names) > 0;
}

bool StoreModel::replaceBlockList(Names& names) {
    clearBlockList();
    return saveBlockList(names) > 0;
}

PelkoUser StoreModel::getBaseUserInfo(std::string& name) {
    PelkoUser user;
    user.name = name;
    if (!ready("getBaseUserInfo")) {
        return user;
    }
    if (breaks(name)) {
        failed("getBaseUserInfo");
        return user;
    }
    const auto row = mTables.users.find(stored(name));
    if (row != mTables.users.end()) {
        read(row->second.icon, user.icon);
        user.info = row->second.info;
        user.nickname = row->second.nickname;
        user.gender = static_cast<PelkoUserGender>(row->second.gender);
        user.hasGotDetail = row->second.version != 0;
    }
    return user;
}

PelkoUser StoreModel::getUserInfo(std::string name) {
    PelkoUser user = getBaseUserInfo(name);
    user.isFriend = hasRelationship(name, Friend);
    user.isBlocked = hasRelationship(name, Blocked);
    return user;
}

void StoreModel::listUsers(Relation relation, std::vector<PelkoUser>& users) {
    users.clear();
    for (std::string& name : relationUsernames(relation)) {
        PelkoUser user = getBaseUserInfo(name);
        user.isFriend = relation == Friend ? true : hasRelationship(name, Friend);
        user.isBlocked = relation == Blocked ? true : hasRelationship(name, Blocked);
        users.push_back(user);
    }
}

bool StoreModel::getFriendList(std::vector<PelkoUser>& users) {
    if (!ready("getFriendList")) {
        return false;
    }
    listUsers(Friend, users);
    return true;
}

bool StoreModel::getBlockList(std::vector<PelkoUser>& users) {
    if (!ready("getBlockList")) {
        return false;
    }
    listUsers(Blocked, users);
    return true;
}

bool StoreModel::insertOrUpdateUser(PelkoUser& user, uint version) {
    if (!ready("insertOrUpdateUser")) {
        return false;
    }
    const bool known = userExist(user.name);
    if (breaks(user.icon)) {
        return failed("insertOrUpdateUser");
    }
    const std::string name = stored(user.name);
    if (!known && mTables.users.count(name) != 0) {
        return refused("insertOrUpdateUser");  // a name with a quote, which is stored but not found
    }
    mTables.users[name] = {stored(user.nickname), stored(user.icon), stored(user.info), user.gender,
                           static_cast<int>(version)};
    return changed(1);
}

bool StoreModel::userExist(std::string& name) {
    if (!mIsOpen || breaks(name)) {
        return failed("checkIfRecordExist");
    }
    return mTables.users.count(stored(name)) != 0;
}

bool StoreModel::deleteUser(std::string& name) {
    if (!ready("deleteUser")) {
        return false;
    }
    return changed(mTables.users.erase(stored(name)));
}

}  // namespace pelkotest
