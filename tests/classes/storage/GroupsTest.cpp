#include <algorithm>
#include <iterator>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/StoreTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Strings = std::vector<std::string>;

namespace {

constexpr char dump[] = "SELECT * FROM tbl_group ORDER BY group_id";
constexpr uint largest = std::numeric_limits<uint>::max();

std::string lookUp(s64 id) {
    return "SELECT * FROM tbl_group WHERE group_id = " + std::to_string(id);
}
std::string versionLookUp(s64 id) {
    return "SELECT info_version FROM tbl_group WHERE group_id = '" + std::to_string(id) + "'";
}

PelkoGroup climbers() {
    PelkoGroup group(77);
    group.name = "Climbers";
    group.info = "every Sunday";
    group.icon.url = "http://icons/2";
    group.icon.path = "/app/icons/2.png";
    group.icon.pathEx = "/app/icons/2-small.png";
    group.capacity = 40;
    group.ownerType = PelkoGroupTypePrivate;
    group.ownerAccount = "alice";
    group.needAuthentication = true;
    return group;
}

PelkoGroup groupOf(s64 id, const std::string& name) {
    PelkoGroup group(id);
    group.name = name;
    return group;
}

class GroupsTest : public StoreTest {
protected:
    bool store(PelkoGroup group, uint version = 1) { return db().insertOrUpdateGroup(&group, version); }
    void stored(const PelkoGroup& group, uint version = 1) {
        ASSERT_TRUE(store(group, version));
        forget();
    }
    /// Puts the ids on the list of joined groups, in this order.
    void joined(const std::vector<s64>& ids) {
        for (const s64 id : ids) {
            execute("INSERT INTO tbl_group_list (group_id) VALUES (" + std::to_string(id) + ")");
        }
    }
    /// Ids and names, as "5 five".
    static Strings told(const std::vector<PelkoGroup>& groups) {
        Strings result;
        for (const PelkoGroup& group : groups) {
            result.push_back(std::to_string(group.id) + " " + group.name);
        }
        return result;
    }
    /// Which fields are those of climbers with a version, in the order in which they are read.
    static std::vector<bool> readFields(const PelkoGroup& group) {
        const PelkoGroup expected = climbers();
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
    static void expectClimbers(const PelkoGroup& group) {
        EXPECT_EQ(group, PelkoGroup(77));
        EXPECT_EQ(readFields(group), std::vector<bool>(10, true));
        expectOtherFieldsAsConstructed(group);
    }
    /// Expects that the record carries the id and is otherwise as its constructor made it.
    static void expectOnlyId(const PelkoGroup& group, s64 id) {
        EXPECT_EQ(group.id, id);
        EXPECT_EQ(readFields(group), std::vector<bool>(10, false));
        EXPECT_EQ(group.name + group.info + group.icon.url + group.icon.path + group.icon.pathEx +
                      group.ownerAccount,
                  "");
        EXPECT_EQ(group.capacity, 0U);
        EXPECT_EQ(group.ownerType, PelkoGroupTypePublic);
        expectOtherFieldsAsConstructed(group);
    }
    static void expectOtherFieldsAsConstructed(const PelkoGroup& group) {
        EXPECT_EQ(group.type, PelkoChatTargetTypeGroup);
        EXPECT_EQ(group.tag, 0U);
        EXPECT_EQ(group.icon.tag, 0);
        EXPECT_EQ(group.icon.type, 0);
        EXPECT_EQ(group.icon.status, PelkoMediaStatusCreated);
        EXPECT_EQ(group.icon.duration, 0U);
    }
};

// ---- insertOrUpdateGroup

TEST_F(GroupsTest, NewGroupIsInserted) {
    EXPECT_TRUE(store(climbers(), 3));
    EXPECT_THAT(statements(),
                ElementsAre(lookUp(77),
                            "INSERT INTO tbl_group (group_id, name, icon_url, icon_path, icon_path_ex, info, "
                            "capacity, type, owner, info_version ,need_auth) VALUES (77, 'Climbers', "
                            "'http://icons/2', 'icons/2.png', 'icons/2-small.png', 'every Sunday', 40, 1, "
                            "'alice', 3, 1)"));
    EXPECT_EQ(rows(dump),
              (std::vector<Row>{{"77", "Climbers", "http://icons/2", "icons/2.png", "icons/2-small.png",
                                 "every Sunday", "40", "1", "alice", "3", "1"}}));
    expectNothingLogged();
}

TEST_F(GroupsTest, KnownGroupIsUpdated) {
    stored(groupOf(77, "old"));
    stored(groupOf(78, "other"));
    EXPECT_TRUE(store(climbers(), 3));
    EXPECT_THAT(
        statements(),
        ElementsAre(
            lookUp(77),
            "UPDATE tbl_group SET name = 'Climbers', icon_url = 'http://icons/2', icon_path = "
            "'icons/2.png', icon_path_ex = 'icons/2-small.png', info = 'every Sunday', capacity = 40, "
            "type = 1, owner = 'alice', info_version = 3, need_auth = 1 WHERE group_id = 77"));
    EXPECT_EQ(rows(dump),
              (std::vector<Row>{{"77", "Climbers", "http://icons/2", "icons/2.png", "icons/2-small.png",
                                 "every Sunday", "40", "1", "alice", "3", "1"},
                                {"78", "other", "", "", "", "", "0", "0", "", "1", "0"}}));
    expectNothingLogged();
}

TEST_F(GroupsTest, SecondStoringReplacesTheFirstWithASmallerVersionToo) {
    stored(climbers(), 9);
    EXPECT_TRUE(store(groupOf(77, "bare"), 2));
    EXPECT_EQ(rows(dump), (std::vector<Row>{{"77", "bare", "", "", "", "", "0", "0", "", "2", "0"}}));
    EXPECT_TRUE(store(groupOf(77, "bare"), 2)) << "the same again is a change, too";
    EXPECT_EQ(value("SELECT count(*) FROM tbl_group"), "1");
}

TEST_F(GroupsTest, NullPointerStoresNothing) {
    EXPECT_FALSE(db().insertOrUpdateGroup(nullptr, 1));
    EXPECT_THAT(statements(), IsEmpty());
    expectNothingLogged();
}

TEST_F(GroupsTest, StoringLeavesTheCallersRecordAndTheMembershipAsTheyAre) {
    PelkoGroup group = climbers();
    ASSERT_TRUE(db().insertOrUpdateGroup(&group, 1));
    EXPECT_EQ(group.icon.path, "/app/icons/2.png");
    EXPECT_EQ(group.icon.pathEx, "/app/icons/2-small.png");
    EXPECT_FALSE(group.hasGotDetail);
    EXPECT_EQ(value("SELECT count(*) FROM tbl_group_list"), "0");
}

TEST_F(GroupsTest, NameAndInfoAreEscaped) {
    PelkoGroup group = groupOf(5, "O'Neil's ''group''");
    group.info = "'; DROP TABLE tbl_group; --";
    for (int round = 0; round < 2; ++round) {  // once inserted, once updated
        EXPECT_TRUE(store(group));
        EXPECT_EQ(rows("SELECT name, info FROM tbl_group"), (std::vector<Row>{{group.name, group.info}}));
        EXPECT_EQ(db().getGroupInfo(5).name, group.name);
        EXPECT_EQ(db().getGroupInfo(5).info, group.info);
        std::swap(group.name, group.info);
    }
    expectNothingLogged();
}

TEST_F(GroupsTest, UnsignedNumbersAreWrittenAsSignedOnes) {
    PelkoGroup group = groupOf(5, "full");
    group.capacity = largest;
    EXPECT_TRUE(store(group, largest - 1));
    EXPECT_EQ(rows("SELECT capacity, info_version FROM tbl_group"), (std::vector<Row>{{"-1", "-2"}}));
    EXPECT_EQ(db().getGroupInfo(5).capacity, largest);
    EXPECT_EQ(db().getTargetInfoVersion(PelkoGroup(5)), largest - 1);
}

TEST_F(GroupsTest, IconPathsOutsideTheDataRootStayAbsolute) {
    PelkoGroup group = climbers();
    group.icon.path = "/sdcard/2.png";
    group.icon.pathEx = "/app-old/2.png";
    EXPECT_TRUE(store(group));
    EXPECT_EQ(rows("SELECT icon_path, icon_path_ex FROM tbl_group"),
              (std::vector<Row>{{"/sdcard/2.png", "/app-old/2.png"}}));
}

TEST_F(GroupsTest, StoringIsFalseWhenNoRowChanges) {
    stored(groupOf(5, "kept"));
    changeTables(
        "CREATE TRIGGER no_insert BEFORE INSERT ON tbl_group BEGIN SELECT RAISE(IGNORE); END;"
        "CREATE TRIGGER no_update BEFORE UPDATE ON tbl_group BEGIN SELECT RAISE(IGNORE); END");
    EXPECT_FALSE(store(groupOf(5, "changed")));
    EXPECT_FALSE(store(groupOf(6, "new")));
    EXPECT_EQ(rows("SELECT group_id, name FROM tbl_group"), (std::vector<Row>{{"5", "kept"}}));
    expectNothingLogged();
}

TEST_F(GroupsTest, FailedInsertAndFailedUpdateAreLoggedAndChangeNothing) {
    stored(groupOf(5, "kept"));
    changeTables(
        "CREATE TRIGGER no_insert BEFORE INSERT ON tbl_group BEGIN SELECT RAISE(ABORT, 'no insert'); END;"
        "CREATE TRIGGER no_update BEFORE UPDATE ON tbl_group BEGIN SELECT RAISE(ABORT, 'no update'); END");
    EXPECT_FALSE(store(groupOf(5, "changed")));
    expectFailureLogged("insertOrUpdateGroup", "no update");
    forget();
    EXPECT_FALSE(store(groupOf(6, "new")));
    expectFailureLogged("insertOrUpdateGroup", "no insert");
    EXPECT_EQ(rows("SELECT group_id, name FROM tbl_group"), (std::vector<Row>{{"5", "kept"}}));
}

TEST_F(GroupsTest, StoringWithoutTheTableFailsInTheLookUpAndInTheInsertion) {
    changeTables("DROP TABLE tbl_group");
    EXPECT_FALSE(store(climbers()));
    EXPECT_THAT(platform().file,
                ElementsAre("checkIfRecordExist failed, exception in (no such table: tbl_group).",
                            "insertOrUpdateGroup failed, exception in (no such table: tbl_group)."));
    EXPECT_THAT(platform().console,
                ElementsAre("[pelko]" + platform().file[0], "[pelko]" + platform().file[1]));
    EXPECT_THAT(statements(), IsEmpty());
}

// ---- the values that are not escaped

struct UnescapedField {
    const char* name;
    std::string PelkoMedia::*ofIcon;  ///< null for the owner
    const char* secondRow;            ///< what pasted there would end the row and begin another one
};

class GroupsUnescapedValues : public GroupsTest, public testing::WithParamInterface<UnescapedField> {
protected:
    static PelkoGroup groupWith(s64 id, const std::string& text) {
        PelkoGroup group = groupOf(id, "changed");
        std::string PelkoMedia::*const field = GetParam().ofIcon;
        (field != nullptr ? group.icon.*field : group.ownerAccount) = text;
        return group;
    }
};

TEST_P(GroupsUnescapedValues, AnyQuoteFailsAndChangesNothing) {
    stored(climbers(), 3);
    stored(groupOf(6, "other"), 4);
    const std::vector<Row> before = rows(dump);
    for (const std::string& text : Strings{"'", "it's", "a''b", "x'||'y", "x', 'y", "x', name = 'y",
                                           "x' WHERE 1=1 --", "/app/x'||'y", GetParam().secondRow}) {
        SCOPED_TRACE(text);
        for (const s64 id : {7, 77}) {  // to be inserted, and to be updated
            forget();
            EXPECT_FALSE(store(groupWith(id, text)));
            expectFailureLogged("insertOrUpdateGroup", HasSubstr("unrecognized token"));
            EXPECT_THAT(statements(), ElementsAre(lookUp(id)));
            EXPECT_EQ(rows(dump), before);
        }
    }
}

TEST_P(GroupsUnescapedValues, AnythingElseIsKeptByteForByte) {
    for (const std::string& text :
         Strings{"%s%n%d 100%", "a;b; DROP TABLE tbl_group;", "back\\slash", "-- no comment",
                 "/* nor this */", "\"double\" `back` [square]", "caf\xc3\xa9 \xf0\x9f\x90\xb1",
                 "\xff\xfe no UTF-8", "line\nfeed\ttab", " "}) {
        SCOPED_TRACE(text);
        for (int round = 0; round < 2; ++round) {  // once inserted, once updated
            EXPECT_TRUE(store(groupWith(7, text)));
            EXPECT_EQ(rows("SELECT icon_url || icon_path || icon_path_ex || owner FROM tbl_group"),
                      (std::vector<Row>{{text}}));
        }
        EXPECT_TRUE(db().deleteGroup(7));
    }
    expectNothingLogged();
}

INSTANTIATE_TEST_SUITE_P(
    Fields, GroupsUnescapedValues,
    testing::Values(
        UnescapedField{"IconUrl", &PelkoMedia::url, "x', '', '', '', 0, 0, '', 0, 0), (99, 'second', 'y"},
        UnescapedField{"IconPath", &PelkoMedia::path, "x', '', '', 0, 0, '', 0, 0), (99, 'second', '', 'y"},
        UnescapedField{"IconPathEx", &PelkoMedia::pathEx,
                       "x', '', 0, 0, '', 0, 0), (99, 'second', '', '', 'y"},
        UnescapedField{"Owner", nullptr, "x', 0, 0), (99, 'second', '', '', '', '', 0, 0, 'y"}),
    [](const testing::TestParamInfo<UnescapedField>& field) { return std::string(field.param.name); });

// ---- groupExist and deleteGroup

TEST_F(GroupsTest, GroupExistsByItsFullId) {
    stored(groupOf(4294967301, "big"));
    EXPECT_TRUE(db().groupExist(4294967301));
    EXPECT_FALSE(db().groupExist(5));
    EXPECT_THAT(statements(), ElementsAre(lookUp(4294967301), lookUp(5)));
    expectNothingLogged();
}

TEST_F(GroupsTest, GroupExistOnAClosedStoreFailsInTheLookUp) {
    stored(climbers());
    close();
    EXPECT_FALSE(db().groupExist(77));
    expectFailureLogged("checkIfRecordExist");
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(GroupsTest, DeleteGroupDeletesThatGroupAndKeepsItsMembership) {
    stored(groupOf(5, "small"));
    stored(groupOf(4294967301, "big"));
    joined({4294967301});
    EXPECT_TRUE(db().deleteGroup(4294967301));
    EXPECT_THAT(statements(), ElementsAre("DELETE FROM tbl_group WHERE group_id = 4294967301"));
    EXPECT_EQ(rows("SELECT name FROM tbl_group"), (std::vector<Row>{{"small"}}));
    EXPECT_EQ(value("SELECT group_id FROM tbl_group_list"), "4294967301");
    expectNothingLogged();
}

TEST_F(GroupsTest, DeleteGroupOfAnUnknownIdIsFalse) {
    stored(groupOf(5, "small"));
    EXPECT_FALSE(db().deleteGroup(6));
    EXPECT_THAT(statements(), ElementsAre("DELETE FROM tbl_group WHERE group_id = 6"));
    EXPECT_EQ(value("SELECT count(*) FROM tbl_group"), "1");
    expectNothingLogged();
}

// ---- getGroupInfo

TEST_F(GroupsTest, StoredGroupComesBackAfterANestedLookUpOfItsVersion) {
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

TEST_F(GroupsTest, UnknownGroupCarriesOnlyItsFullId) {
    stored(climbers());
    for (const s64 id : {s64{5}, s64{4294967373}, s64{-1}, std::numeric_limits<s64>::max()}) {
        forget();
        expectOnlyId(db().getGroupInfo(id), id);
        EXPECT_THAT(statements(), ElementsAre(lookUp(id)));
    }
    expectNothingLogged();
}

TEST_F(GroupsTest, IdsAreStoredAndReadInFull) {
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

TEST_F(GroupsTest, AnyVersionButZeroMeansThatTheDetailsAreKnown) {
    for (const uint version : {0U, 1U, 2147483648U, largest}) {
        stored(climbers(), version);
        EXPECT_EQ(db().getGroupInfo(77).hasGotDetail, version != 0) << version;
    }
}

TEST_F(GroupsTest, MissingValuesAreEmptyAndZero) {
    execute("INSERT INTO tbl_group (group_id) VALUES (5)");
    expectOnlyId(db().getGroupInfo(5), 5);
    expectNothingLogged();
}

TEST_F(GroupsTest, AnyNumberButZeroNeedsAuthentication) {
    execute("INSERT INTO tbl_group (group_id, need_auth) VALUES (1, 0), (2, 2), (3, -1)");
    EXPECT_FALSE(db().getGroupInfo(1).needAuthentication);
    EXPECT_TRUE(db().getGroupInfo(2).needAuthentication);
    EXPECT_TRUE(db().getGroupInfo(3).needAuthentication);
}

TEST_F(GroupsTest, GroupInfoIsFilledInOrderUpToTheFailure) {
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

TEST_F(GroupsTest, FailedLookUpOfTheVersionLeavesTheRestToBeRead) {
    stored(climbers());
    changeTables("ALTER TABLE tbl_group RENAME COLUMN info_version TO gone");
    const PelkoGroup group = db().getGroupInfo(77);
    expectFailureLogged("getTargetInfoVersion", "no such column: info_version");
    EXPECT_FALSE(group.hasGotDetail);
    EXPECT_TRUE(group.needAuthentication);
    EXPECT_EQ(group.ownerAccount, "alice");
}

// ---- getTargetInfoVersion

TEST_F(GroupsTest, VersionIsLookedUpByTheKindOfTarget) {
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

TEST_F(GroupsTest, VersionOfAnUnknownTargetIsZero) {
    stored(climbers(), 13);
    EXPECT_EQ(db().getTargetInfoVersion(PelkoUser("Climbers")), 0U);
    EXPECT_EQ(db().getTargetInfoVersion(PelkoRoom(77)), 0U);
    EXPECT_EQ(db().getTargetInfoVersion(PelkoGroup(4294967373)), 0U);
    EXPECT_EQ(db().getTargetInfoVersion(PelkoChatTarget()), 0U);
    EXPECT_EQ(statements().size(), 4U);
    expectNothingLogged();
}

TEST_F(GroupsTest, VersionThatIsMissingIsZero) {
    execute("INSERT INTO tbl_group (group_id) VALUES (5)");
    EXPECT_EQ(db().getTargetInfoVersion(PelkoGroup(5)), 0U);
    expectNothingLogged();
}

TEST_F(GroupsTest, OtherKindsHaveNoVersionAndNoLookUp) {
    stored(groupOf(7, "group"), 13);
    EXPECT_EQ(db().getTargetInfoVersion(PelkoCustomerService(7U)), 0U);
    for (const int kind : {-1, 4, 99}) {
        EXPECT_EQ(db().getTargetInfoVersion(PelkoChatTarget(7, static_cast<PelkoChatTargetType>(kind))), 0U);
    }
    EXPECT_THAT(statements(), IsEmpty());
    expectNothingLogged();
}

TEST_F(GroupsTest, VersionOfACustomerServiceOnAClosedStoreIsNotReadyFirst) {
    close();
    EXPECT_EQ(db().getTargetInfoVersion(PelkoCustomerService(7U)), 0U);
    expectNotReadyLogged("getTargetInfoVersion");
}

TEST_F(GroupsTest, VersionsFailUnderTheOperationsNameWhateverTheTable) {
    changeTables("DROP TABLE tbl_user; DROP TABLE tbl_room");
    EXPECT_EQ(db().getTargetInfoVersion(PelkoUser("alice")), 0U);
    expectFailureLogged("getTargetInfoVersion", "no such table: tbl_user");
    forget();
    EXPECT_EQ(db().getTargetInfoVersion(PelkoRoom(7)), 0U);
    expectFailureLogged("getTargetInfoVersion", "no such table: tbl_room");
}

// ---- getGroupList

TEST_F(GroupsTest, GroupListIsTheJoinedGroupsInTheOrderOfJoining) {
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

TEST_F(GroupsTest, GroupListWithoutJoinedGroupsLeavesTheCallersListAsItIs) {
    stored(climbers());
    std::vector<PelkoGroup> list = {groupOf(1, "held")};
    EXPECT_TRUE(db().getGroupList(list));
    EXPECT_EQ(statements().size(), 1U);
    EXPECT_THAT(told(list), ElementsAre("1 held"));
}

TEST_F(GroupsTest, GroupListNamesAGroupTwiceWhereTheTableDoes) {
    stored(climbers());
    changeTables("DROP TABLE tbl_group_list; CREATE TABLE tbl_group_list (group_id bigint)");
    joined({77, 9, 77});
    execute("INSERT INTO tbl_group_list VALUES (NULL)");
    std::vector<PelkoGroup> list;
    EXPECT_TRUE(db().getGroupList(list));
    EXPECT_THAT(told(list), ElementsAre("77 Climbers", "9 ", "77 Climbers", "0 "));
}

TEST_F(GroupsTest, GroupListOfAThousandIsOneStatementAndTwoForEachStoredGroup) {
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

TEST_F(GroupsTest, GroupListKeepsTheGroupsReadBeforeAFailure) {
    joined({5, 6, std::numeric_limits<s64>::min(), 7});
    // A computed column, which fails for the smallest id alone.
    changeTables("ALTER TABLE tbl_group_list ADD COLUMN broken AS (abs(group_id))");
    std::vector<PelkoGroup> list = {groupOf(1, "held")};
    EXPECT_FALSE(db().getGroupList(list));
    expectFailureLogged("getGroupList", "integer overflow");
    EXPECT_THAT(told(list), ElementsAre("1 held", "5 ", "6 "));
}

TEST_F(GroupsTest, GroupListWithoutTheDetailsTableCarriesIdsOnly) {
    joined({5, 6});
    changeTables("DROP TABLE tbl_group");
    std::vector<PelkoGroup> list;
    EXPECT_TRUE(db().getGroupList(list));
    EXPECT_THAT(told(list), ElementsAre("5 ", "6 "));
    EXPECT_THAT(platform().file,
                ElementsAre("getGroupInfo failed, exception in (no such table: tbl_group).",
                            "getGroupInfo failed, exception in (no such table: tbl_group)."));
}

// ---- not ready and SQL failure

class GroupOperations : public OperationTest {};
class GroupFailures : public OperationTest {};

TEST_P(GroupOperations, LogOnceWhenClosed) {
    expectNotReadyWhenClosed();
}

TEST_P(GroupOperations, LogOnceWithAClosedConnection) {
    expectNotReadyWithClosedConnection();
}

TEST_P(GroupFailures, WithoutTheTable) {
    expectFailureWithout(std::string(GetParam().name) == "getGroupList" ? "tbl_group_list" : "tbl_group");
}

const Operation operations[] = {
    {"insertOrUpdateGroup", "insertOrUpdateGroup",
     [](PelkoDBManager& db) {
         PelkoGroup group = climbers();
         EXPECT_FALSE(db.insertOrUpdateGroup(&group, 1));
     }},
    {"getGroupInfo", "getGroupInfo",
     [](PelkoDBManager& db) {
         const PelkoGroup group = db.getGroupInfo(4294967301);
         EXPECT_EQ(group, PelkoGroup(4294967301));
         EXPECT_EQ(group.name, "");
     }},
    {"getTargetInfoVersion", "getTargetInfoVersion",
     [](PelkoDBManager& db) { EXPECT_EQ(db.getTargetInfoVersion(PelkoGroup(5)), 0U); }},
    {"deleteGroup", "deleteGroup", [](PelkoDBManager& db) { EXPECT_FALSE(db.deleteGroup(5)); }},
    {"getGroupList", "getGroupList",
     [](PelkoDBManager& db) {
         std::vector<PelkoGroup> list(2);
         EXPECT_FALSE(db.getGroupList(list));
         EXPECT_EQ(list.size(), 2U);
     }},
    {"groupExist", "checkIfRecordExist", [](PelkoDBManager& db) { EXPECT_FALSE(db.groupExist(77)); }}};

// groupExist makes no readiness check, and insertOrUpdateGroup fails twice without the table; both have tests
// of their own.
INSTANTIATE_TEST_SUITE_P(ButGroupExist, GroupOperations,
                         testing::ValuesIn(std::begin(operations), std::end(operations) - 1), nameOf);
INSTANTIATE_TEST_SUITE_P(ButInsertOrUpdate, GroupFailures,
                         testing::ValuesIn(std::begin(operations) + 1, std::end(operations)), nameOf);

}  // namespace
