#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "tests/classes/storage/GroupsTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr uint largestStored = std::numeric_limits<uint>::max();

class GroupsReadTest : public GroupsTest {};

// ---- getGroupInfo

TEST_F(GroupsReadTest, StoredGroupComesBackAfterANestedLookUpOfItsVersion) {
    PelkoGroup group = climbers();
    group.tag = 4;
    group.icon.tag = 4;
    group.icon.type = PelkoMediaTypeImage;
    group.icon.status = PelkoMediaStatusDownloaded;
    group.icon.duration = 4;
    stored(group, 3);
    expectClimbers(db().getGroupInfo(77));
    EXPECT_THAT(statements(), ElementsAre(lookUp(77), versionLookUp(77)));
    expectNothingLogged();
}

TEST_F(GroupsReadTest, UnknownGroupCarriesOnlyItsFullId) {
    stored(climbers());
    for (const s64 id : {s64{5}, s64{4294967373}, s64{-1}, std::numeric_limits<s64>::max()}) {
        forget();
        expectOnlyId(db().getGroupInfo(id), id);
        EXPECT_THAT(statements(), ElementsAre(lookUp(id)));
    }
    expectNothingLogged();
}

TEST_F(GroupsReadTest, IdsAreStoredAndReadInFull) {
    const std::vector<s64> ids = {5, 4294967301, -1, std::numeric_limits<s64>::max()};
    for (const s64 id : ids) {
        stored(groupOf(id, "old"), 1);
        stored(groupOf(id, "group " + std::to_string(id)), 1);
    }
    for (const s64 id : ids) {
        const PelkoGroup group = db().getGroupInfo(id);
        EXPECT_EQ(group.id, id);
        EXPECT_EQ(group.name, "group " + std::to_string(id));
        EXPECT_TRUE(group.hasGotDetail);
    }
    EXPECT_EQ(value("SELECT count(*) FROM tbl_group"), "4");
}

TEST_F(GroupsReadTest, AnyVersionButZeroMeansThatTheDetailsAreKnown) {
    for (const uint version : {0U, 1U, 2147483648U, largestStored}) {
        stored(climbers(), version);
        EXPECT_EQ(db().getGroupInfo(77).hasGotDetail, version != 0) << version;
    }
}

TEST_F(GroupsReadTest, MissingValuesAreEmptyAndZero) {
    execute("INSERT INTO tbl_group (group_id) VALUES (5)");
    expectOnlyId(db().getGroupInfo(5), 5);
    expectNothingLogged();
}

TEST_F(GroupsReadTest, AnyNumberButZeroNeedsAuthentication) {
    execute("INSERT INTO tbl_group (group_id, need_auth) VALUES (1, 0), (2, 2), (3, -1)");
    EXPECT_FALSE(db().getGroupInfo(1).needAuthentication);
    EXPECT_TRUE(db().getGroupInfo(2).needAuthentication);
    EXPECT_TRUE(db().getGroupInfo(3).needAuthentication);
}

TEST_F(GroupsReadTest, TheFlagIsReadFromTheLow32Bits) {
    execute("INSERT INTO tbl_group (group_id, need_auth) VALUES (1, 4294967296), (2, 4294967297)");
    EXPECT_FALSE(db().getGroupInfo(1).needAuthentication);
    EXPECT_TRUE(db().getGroupInfo(2).needAuthentication);
}

TEST_F(GroupsReadTest, OnlyTheFirstRowIsRead) {
    changeTables(
        "ALTER TABLE tbl_group RENAME TO keyed; CREATE TABLE tbl_group AS SELECT * FROM keyed;"
        "INSERT INTO tbl_group (group_id, name, info_version) VALUES (5, 'first', 3), (5, 'second', 0)");
    const PelkoGroup group = db().getGroupInfo(5);
    EXPECT_EQ(group.name, "first");
    EXPECT_TRUE(group.hasGotDetail);
    EXPECT_EQ(db().getTargetInfoVersion(group), 3U);
}

TEST_F(GroupsReadTest, GroupInfoIsFilledInOrderUpToTheFailure) {
    stored(climbers());
    const Strings columns = {"name", "icon_url", "icon_path", "icon_path_ex", "info", "capacity",
                             "type", "owner",    "",          "need_auth"};
    for (std::size_t gone = 0; gone < columns.size(); ++gone) {
        if (columns[gone].empty()) {
            continue;  // the version, whose look-up fails on its own
        }
        SCOPED_TRACE(columns[gone]);
        changeTables("ALTER TABLE tbl_group RENAME COLUMN " + columns[gone] + " TO gone");
        const PelkoGroup group = db().getGroupInfo(77);
        expectFailureLogged("getGroupInfo", HasSubstr(columns[gone]));
        std::vector<bool> expected(columns.size(), false);
        std::fill_n(expected.begin(), gone, true);
        EXPECT_EQ(readFields(group), expected);
        EXPECT_EQ(group.id, 77);
        changeTables("ALTER TABLE tbl_group RENAME COLUMN gone TO " + columns[gone]);
    }
}

TEST_F(GroupsReadTest, FailedLookUpOfTheVersionLeavesTheRestToBeRead) {
    stored(climbers());
    changeTables("ALTER TABLE tbl_group RENAME COLUMN info_version TO gone");
    const PelkoGroup group = db().getGroupInfo(77);
    expectFailureLogged("getTargetInfoVersion", "no such column: info_version");
    EXPECT_FALSE(group.hasGotDetail);
    EXPECT_TRUE(group.needAuthentication);
    EXPECT_EQ(group.ownerAccount, "alice");
}

TEST_F(GroupsReadTest, ReadersLetGoOfTheFile) {
    stored(climbers());
    joined({77});
    db().getGroupInfo(77);
    db().groupExist(77);
    db().getTargetInfoVersion(PelkoGroup(77));
    std::vector<PelkoGroup> list;
    db().getGroupList(list);
    execute("DELETE FROM tbl_group");
    EXPECT_EQ(value("PRAGMA wal_checkpoint(TRUNCATE)"), "0") << "busy while a reader holds what it read";
}

// ---- getTargetInfoVersion

TEST_F(GroupsReadTest, VersionIsLookedUpByTheKindOfTarget) {
    PelkoUser user("o'neil");
    PelkoRoom room(77);
    ASSERT_TRUE(db().insertOrUpdateUser(user, 11));
    ASSERT_TRUE(db().insertOrUpdateRoom(&room, 12));
    stored(climbers(), 13);
    EXPECT_EQ(db().getTargetInfoVersion(user), 11U);
    EXPECT_EQ(db().getTargetInfoVersion(room), 12U);
    EXPECT_EQ(db().getTargetInfoVersion(PelkoGroup(77)), 13U);
    EXPECT_THAT(statements(),
                ElementsAre("SELECT info_version FROM tbl_user WHERE username = 'o''neil'",
                            "SELECT info_version FROM tbl_room WHERE room_id = '77'", versionLookUp(77)));
    expectNothingLogged();
}

TEST_F(GroupsReadTest, VersionOfAnUnknownTargetIsZero) {
    stored(climbers(), 13);
    EXPECT_EQ(db().getTargetInfoVersion(PelkoUser("Climbers")), 0U);
    EXPECT_EQ(db().getTargetInfoVersion(PelkoRoom(77)), 0U);
    EXPECT_EQ(db().getTargetInfoVersion(PelkoGroup(4294967373)), 0U);
    EXPECT_EQ(db().getTargetInfoVersion(PelkoChatTarget()), 0U);
    EXPECT_EQ(statements().size(), 4U);
    expectNothingLogged();
}

TEST_F(GroupsReadTest, VersionThatIsMissingIsZero) {
    execute("INSERT INTO tbl_group (group_id) VALUES (5)");
    EXPECT_EQ(db().getTargetInfoVersion(PelkoGroup(5)), 0U);
    expectNothingLogged();
}

TEST_F(GroupsReadTest, OtherKindsHaveNoVersionAndNoLookUp) {
    stored(groupOf(7, "group"), 13);
    EXPECT_EQ(db().getTargetInfoVersion(PelkoCustomerService(7U)), 0U);
    for (const int kind : {-1, 4, 99}) {
        EXPECT_EQ(db().getTargetInfoVersion(PelkoChatTarget(7, static_cast<PelkoChatTargetType>(kind))), 0U);
    }
    EXPECT_THAT(statements(), IsEmpty());
    expectNothingLogged();
}

TEST_F(GroupsReadTest, VersionOfACustomerServiceOnAClosedStoreIsNotReadyFirst) {
    close();
    EXPECT_EQ(db().getTargetInfoVersion(PelkoCustomerService(7U)), 0U);
    expectNotReadyLogged("getTargetInfoVersion");
}

TEST_F(GroupsReadTest, VersionsFailUnderTheOperationsNameWhateverTheTable) {
    changeTables("DROP TABLE tbl_user; DROP TABLE tbl_room");
    EXPECT_EQ(db().getTargetInfoVersion(PelkoUser("alice")), 0U);
    expectFailureLogged("getTargetInfoVersion", "no such table: tbl_user");
    forget();
    EXPECT_EQ(db().getTargetInfoVersion(PelkoRoom(7)), 0U);
    expectFailureLogged("getTargetInfoVersion", "no such table: tbl_room");
}

// ---- getGroupList

TEST_F(GroupsReadTest, GroupListIsTheJoinedGroupsInTheOrderOfJoining) {
    stored(climbers(), 3);
    stored(groupOf(5, "not joined"));
    joined({4294967301, 77, 9});
    std::vector<PelkoGroup> list = {groupOf(1, "held")};
    EXPECT_TRUE(db().getGroupList(list));
    EXPECT_THAT(statements(), ElementsAre("SELECT * FROM tbl_group_list ORDER BY rowid asc",
                                          lookUp(4294967301), lookUp(77), versionLookUp(77), lookUp(9)));
    ASSERT_THAT(told(list), ElementsAre("1 held", "4294967301 ", "77 Climbers", "9 "));
    expectOnlyId(list[1], 4294967301);
    expectClimbers(list[2]);
    expectNothingLogged();
}

TEST_F(GroupsReadTest, GroupListWithoutJoinedGroupsLeavesTheCallersListAsItIs) {
    stored(climbers());
    std::vector<PelkoGroup> list = {groupOf(1, "held")};
    EXPECT_TRUE(db().getGroupList(list));
    EXPECT_EQ(statements().size(), 1U);
    EXPECT_THAT(told(list), ElementsAre("1 held"));
}

TEST_F(GroupsReadTest, GroupListNamesAGroupTwiceWhereTheTableDoes) {
    stored(climbers());
    changeTables("DROP TABLE tbl_group_list; CREATE TABLE tbl_group_list (group_id bigint)");
    joined({77, 9, 77});
    execute("INSERT INTO tbl_group_list VALUES (NULL)");
    std::vector<PelkoGroup> list;
    EXPECT_TRUE(db().getGroupList(list));
    EXPECT_THAT(told(list), ElementsAre("77 Climbers", "9 ", "77 Climbers", "0 "));
}

TEST_F(GroupsReadTest, GroupListOfAThousandIsOneStatementAndTwoForEachStoredGroup) {
    execute(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1000) "
        "INSERT INTO tbl_group_list (group_id) SELECT i FROM n");
    std::vector<PelkoGroup> list;
    EXPECT_TRUE(db().getGroupList(list));
    EXPECT_EQ(list.size(), 1000U);
    EXPECT_EQ(statements().size(), 1U + 1000U);

    execute("INSERT INTO tbl_group (group_id, name) SELECT group_id, 'group' FROM tbl_group_list");
    forget();
    list.clear();
    EXPECT_TRUE(db().getGroupList(list));
    EXPECT_EQ(statements().size(), 1U + 2U * 1000U);
    ASSERT_EQ(list.size(), 1000U);
    EXPECT_EQ(told({list.front(), list.back()}), (Strings{"1 group", "1000 group"}));
}

TEST_F(GroupsReadTest, GroupListKeepsTheGroupsReadBeforeAFailure) {
    joined({5, 6, std::numeric_limits<s64>::min(), 7});
    // A computed column, which fails for the smallest id alone.
    changeTables("ALTER TABLE tbl_group_list ADD COLUMN broken AS (abs(group_id))");
    std::vector<PelkoGroup> list = {groupOf(1, "held")};
    EXPECT_FALSE(db().getGroupList(list));
    expectFailureLogged("getGroupList", "integer overflow");
    EXPECT_THAT(told(list), ElementsAre("1 held", "5 ", "6 "));
}

TEST_F(GroupsReadTest, GroupListWithoutTheDetailsTableCarriesIdsOnly) {
    joined({5, 6});
    changeTables("DROP TABLE tbl_group");
    std::vector<PelkoGroup> list;
    EXPECT_TRUE(db().getGroupList(list));
    EXPECT_THAT(told(list), ElementsAre("5 ", "6 "));
    EXPECT_THAT(platform().file,
                ElementsAre("getGroupInfo failed, exception in (no such table: tbl_group).",
                            "getGroupInfo failed, exception in (no such table: tbl_group)."));
}

}  // namespace
