#ifndef PELKO_TESTS_CLASSES_STORAGE_GROUPS_TEST_H
#define PELKO_TESTS_CLASSES_STORAGE_GROUPS_TEST_H

#include <string>
#include <vector>

#include "tests/support/StoreTest.h"

namespace pelkotest {

using Strings = std::vector<std::string>;

inline pelkoapi::PelkoGroup climbers() {
    pelkoapi::PelkoGroup group(77);
    group.name = "Climbers";
    group.info = "every Sunday";
    group.icon.url = "http://icons/2";
    group.icon.path = "/app/icons/2.png";
    group.icon.pathEx = "/app/icons/2-small.png";
    group.capacity = 40;
    group.ownerType = pelkoapi::PelkoGroupTypePrivate;
    group.ownerAccount = "alice";
    group.needAuthentication = true;
    return group;
}

inline pelkoapi::PelkoGroup groupOf(pelkoapi::s64 id, const std::string& name) {
    pelkoapi::PelkoGroup group(id);
    group.name = name;
    return group;
}

class GroupsTest : public StoreTest {
protected:
    static std::string lookUp(pelkoapi::s64 id) {
        return "SELECT * FROM tbl_group WHERE group_id = " + std::to_string(id);
    }
    static std::string versionLookUp(pelkoapi::s64 id) {
        return "SELECT info_version FROM tbl_group WHERE group_id = '" + std::to_string(id) + "'";
    }
    bool store(pelkoapi::PelkoGroup group, pelkoapi::uint version = 1) {
        return db().insertOrUpdateGroup(&group, version);
    }
    void stored(const pelkoapi::PelkoGroup& group, pelkoapi::uint version = 1) {
        ASSERT_TRUE(store(group, version));
        forget();
    }
    /// Puts the ids on the list of joined groups, in this order.
    void joined(const std::vector<pelkoapi::s64>& ids) {
        for (const pelkoapi::s64 id : ids) {
            execute("INSERT INTO tbl_group_list (group_id) VALUES (" + std::to_string(id) + ")");
        }
    }
    /// Ids and names, as "5 five".
    static Strings told(const std::vector<pelkoapi::PelkoGroup>& groups) {
        Strings result;
        for (const pelkoapi::PelkoGroup& group : groups) {
            result.push_back(std::to_string(group.id) + " " + group.name);
        }
        return result;
    }
    /// Which fields are those of climbers with a version, in the order in which they are read.
    static std::vector<bool> readFields(const pelkoapi::PelkoGroup& group) {
        const pelkoapi::PelkoGroup expected = climbers();
        return {group.name == expected.name,
                group.icon.url == expected.icon.url,
                group.icon.path == expected.icon.path,
                group.icon.pathEx == expected.icon.pathEx,
                group.info == expected.info,
                group.capacity == expected.capacity,
                group.ownerType == expected.ownerType,
                group.ownerAccount == expected.ownerAccount,
                group.hasGotDetail,
                group.needAuthentication == expected.needAuthentication};
    }
    static void expectClimbers(const pelkoapi::PelkoGroup& group) {
        EXPECT_EQ(group, pelkoapi::PelkoGroup(77));
        EXPECT_EQ(readFields(group), std::vector<bool>(10, true));
        expectOtherFieldsAsConstructed(group);
    }
    /// Expects that the record carries the id and is otherwise as its constructor made it.
    static void expectOnlyId(const pelkoapi::PelkoGroup& group, pelkoapi::s64 id) {
        EXPECT_EQ(group.id, id);
        EXPECT_EQ(readFields(group), std::vector<bool>(10, false));
        EXPECT_EQ(group.name + group.info + group.icon.url + group.icon.path + group.icon.pathEx +
                      group.ownerAccount,
                  "");
        EXPECT_EQ(group.capacity, 0U);
        EXPECT_EQ(group.ownerType, pelkoapi::PelkoGroupTypePublic);
        expectOtherFieldsAsConstructed(group);
    }
    static void expectOtherFieldsAsConstructed(const pelkoapi::PelkoGroup& group) {
        EXPECT_EQ(group.type, pelkoapi::PelkoChatTargetTypeGroup);
        EXPECT_EQ(group.tag, 0U);
        EXPECT_EQ(group.icon.tag, 0);
        EXPECT_EQ(group.icon.type, 0);
        EXPECT_EQ(group.icon.status, pelkoapi::PelkoMediaStatusCreated);
        EXPECT_EQ(group.icon.duration, 0U);
    }
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_CLASSES_STORAGE_GROUPS_TEST_H
