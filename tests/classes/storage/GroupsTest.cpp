#include <iterator>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "tests/classes/storage/GroupsTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr char allGroups[] = "SELECT * FROM tbl_group ORDER BY group_id";
constexpr uint largestVersion = std::numeric_limits<uint>::max();

// ---- insertOrUpdateGroup

TEST_F(GroupsTest, NewGroupIsInserted) {
    EXPECT_TRUE(store(climbers(), 3));
    EXPECT_THAT(statements(),
                ElementsAre(lookUp(77),
                            "INSERT INTO tbl_group (group_id, name, icon_url, icon_path, icon_path_ex, info, "
                            "capacity, type, owner, info_version ,need_auth) VALUES (77, 'Climbers', "
                            "'http://icons/2', 'icons/2.png', 'icons/2-small.png', 'every Sunday', 40, 1, "
                            "'alice', 3, 1)"));
    EXPECT_EQ(rows(allGroups),
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
    EXPECT_EQ(rows(allGroups),
              (std::vector<Row>{{"77", "Climbers", "http://icons/2", "icons/2.png", "icons/2-small.png",
                                 "every Sunday", "40", "1", "alice", "3", "1"},
                                {"78", "other", "", "", "", "", "0", "0", "", "1", "0"}}));
    expectNothingLogged();
}

TEST_F(GroupsTest, SecondStoringReplacesTheFirstWithASmallerVersionToo) {
    stored(climbers(), 9);
    EXPECT_TRUE(store(groupOf(77, "bare"), 2));
    EXPECT_EQ(rows(allGroups), (std::vector<Row>{{"77", "bare", "", "", "", "", "0", "0", "", "2", "0"}}));
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
    group.capacity = largestVersion;
    EXPECT_TRUE(store(group, largestVersion - 1));
    EXPECT_EQ(rows("SELECT capacity, info_version FROM tbl_group"), (std::vector<Row>{{"-1", "-2"}}));
    EXPECT_EQ(db().getGroupInfo(5).capacity, largestVersion);
    EXPECT_EQ(db().getTargetInfoVersion(PelkoGroup(5)), largestVersion - 1);
}

TEST_F(GroupsTest, OwnerTypesAreStoredAsTheirNumbers) {
    PelkoGroup group = climbers();
    for (const PelkoGroupType type :
         {PelkoGroupTypePublic, PelkoGroupTypePrivate, static_cast<PelkoGroupType>(-5)}) {
        execute("DELETE FROM tbl_group");
        group.ownerType = type;
        for (int round = 0; round < 2; ++round) {  // once inserted, once updated
            EXPECT_TRUE(store(group));
            EXPECT_EQ(value("SELECT type FROM tbl_group"), std::to_string(type));
            EXPECT_EQ(db().getGroupInfo(77).ownerType, type);
        }
    }
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

TEST_F(GroupsTest, FailedLookUpIsFollowedByAnInsertion) {
    stored(groupOf(5, "kept"));
    // A computed column, which fails in this row alone and so fails the look-up, but not an insertion.
    changeTables(
        "UPDATE tbl_group SET info_version = -9223372036854775808;"
        "ALTER TABLE tbl_group ADD COLUMN broken AS (abs(info_version))");
    EXPECT_FALSE(store(groupOf(5, "changed")));
    expectLogged(
        {"checkIfRecordExist failed, exception in (integer overflow).",
         "insertOrUpdateGroup failed, exception in (UNIQUE constraint failed: tbl_group.group_id)."});
    EXPECT_EQ(rows("SELECT group_id, name FROM tbl_group"), (std::vector<Row>{{"5", "kept"}}));
}

// ---- the values that are not escaped

struct UnescapedGroupField {
    const char* name;
    std::string PelkoMedia::*ofIcon;  ///< null for the owner
    const char* secondRow;            ///< what pasted there would end the row and begin another one
};

class GroupsUnescapedValues : public GroupsTest, public testing::WithParamInterface<UnescapedGroupField> {
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
    const std::vector<Row> before = rows(allGroups);
    for (const std::string& text : Strings{"'", "it's", "a''b", "x'||'y", "x', 'y", "x', name = 'y",
                                           "x' WHERE 1=1 --", "/app/x'||'y", GetParam().secondRow}) {
        SCOPED_TRACE(text);
        for (const s64 id : {7, 77}) {  // to be inserted, and to be updated
            forget();
            EXPECT_FALSE(store(groupWith(id, text)));
            expectFailureLogged("insertOrUpdateGroup", HasSubstr("unrecognized token"));
            EXPECT_THAT(statements(), ElementsAre(lookUp(id)));
            EXPECT_EQ(rows(allGroups), before);
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
    testing::Values(UnescapedGroupField{"IconUrl", &PelkoMedia::url,
                                        "x', '', '', '', 0, 0, '', 0, 0), (99, 'second', 'y"},
                    UnescapedGroupField{"IconPath", &PelkoMedia::path,
                                        "x', '', '', 0, 0, '', 0, 0), (99, 'second', '', 'y"},
                    UnescapedGroupField{"IconPathEx", &PelkoMedia::pathEx,
                                        "x', '', 0, 0, '', 0, 0), (99, 'second', '', '', 'y"},
                    UnescapedGroupField{"Owner", nullptr,
                                        "x', 0, 0), (99, 'second', '', '', '', '', 0, 0, 'y"}),
    [](const testing::TestParamInfo<UnescapedGroupField>& field) { return std::string(field.param.name); });

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

const Operation groupOperations[] = {
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
                         testing::ValuesIn(std::begin(groupOperations), std::end(groupOperations) - 1),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(ButInsertOrUpdate, GroupFailures,
                         testing::ValuesIn(std::begin(groupOperations) + 1, std::end(groupOperations)),
                         nameOf);

}  // namespace
