#include <limits>
#include <numeric>
#include <string>
#include <vector>

#include "tests/support/StoreTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::string>;
using Ids = std::vector<long long>;

namespace {

std::string lookUp(s64 id) {
    return "SELECT * FROM tbl_group_list WHERE group_id = " + std::to_string(id);
}
std::string insertion(s64 id) {
    return "INSERT INTO tbl_group_list (group_id) VALUES (" + std::to_string(id) + ")";
}
constexpr char clearing[] = "DELETE FROM tbl_group_list";

constexpr char lookUpFails[] = "checkIfRecordExist failed, exception in (no such table: tbl_group_list).";
constexpr char joinFails[] = "joinGroup failed, exception in (no such table: tbl_group_list).";
constexpr char clearFails[] = "clearGroupList failed, exception in (no such table: tbl_group_list).";

class GroupListTest : public StoreTest {
protected:
    void joined(const Ids& ids) {
        for (const s64 id : ids) {
            ASSERT_TRUE(db().joinGroup(id));
        }
        forget();
    }
    /// The ids on the list, in the order in which they were joined.
    Ids listed() const {
        Ids ids;
        for (const Row& row : rows("SELECT group_id FROM tbl_group_list ORDER BY rowid")) {
            ids.push_back(std::stoll(*row.front()));
        }
        return ids;
    }
    uint save(Ids ids) { return db().saveGroupList(ids); }
    bool replace(Ids ids) { return db().replaceGroupList(ids); }

    /// Refuses the given change of a row: with an error ("ABORT, 'message'") or silently ("IGNORE").
    void refuse(const std::string& change, const std::string& how) {
        changeTables("CREATE TRIGGER refusal BEFORE " + change + " BEGIN SELECT RAISE(" + how + "); END");
    }
};

// ---- joinGroup

TEST_F(GroupListTest, JoiningPutsTheIdOnTheList) {
    EXPECT_TRUE(db().joinGroup(5));
    EXPECT_THAT(statements(), ElementsAre(lookUp(5), insertion(5)));
    EXPECT_THAT(listed(), ElementsAre(5));
    expectNothingLogged();
}

TEST_F(GroupListTest, JoiningTwiceIsFalseAndKeepsOneRow) {
    EXPECT_TRUE(db().joinGroup(5));
    forget();
    EXPECT_FALSE(db().joinGroup(5));
    EXPECT_THAT(statements(), ElementsAre(lookUp(5)));
    EXPECT_THAT(listed(), ElementsAre(5));
    expectNothingLogged();
}

TEST_F(GroupListTest, RowsStandInTheOrderOfJoining) {
    joined({9, 3, 7});
    EXPECT_TRUE(db().quitGroup(9));
    joined({1, 9});
    EXPECT_THAT(listed(), ElementsAre(3, 7, 1, 9));
}

TEST_F(GroupListTest, IdsAreStoredAndMatchedInFull) {
    constexpr s64 largest = std::numeric_limits<s64>::max();
    joined({5, 4294967301, 2147483648, -1, largest});
    EXPECT_THAT(listed(), ElementsAre(5, 4294967301, 2147483648, -1, largest));
    EXPECT_TRUE(db().isInGroup(4294967301));
    EXPECT_FALSE(db().isInGroup(8589934597));
    EXPECT_FALSE(db().isInGroup(-2147483648));
    EXPECT_TRUE(db().quitGroup(4294967301));
    EXPECT_TRUE(db().quitGroup(largest));
    EXPECT_THAT(listed(), ElementsAre(5, 2147483648, -1));
}

TEST_F(GroupListTest, JoiningIsFalseWhenNoRowIsInserted) {
    refuse("INSERT ON tbl_group_list", "IGNORE");
    EXPECT_FALSE(db().joinGroup(5));
    EXPECT_THAT(listed(), IsEmpty());
    expectNothingLogged();
}

TEST_F(GroupListTest, FailedInsertionIsLogged) {
    refuse("INSERT ON tbl_group_list", "ABORT, 'no more groups'");
    EXPECT_FALSE(db().joinGroup(5));
    expectFailureLogged("joinGroup", "no more groups");
    EXPECT_THAT(listed(), IsEmpty());
}

TEST_F(GroupListTest, JoiningWithoutTheTableFailsInTheLookUpAndInTheInsertion) {
    changeTables("DROP TABLE tbl_group_list");
    EXPECT_FALSE(db().joinGroup(5));
    expectLogged({lookUpFails, joinFails});
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(GroupListTest, FailedLookUpDoesNotGetAListedIdListedTwice) {
    joined({5});
    // A computed column, which fails for this row alone and so fails the look-up, but not an insertion.
    changeTables(
        "ALTER TABLE tbl_group_list ADD COLUMN number integer;"
        "UPDATE tbl_group_list SET number = -9223372036854775808;"
        "ALTER TABLE tbl_group_list ADD COLUMN broken AS (abs(number))");
    EXPECT_FALSE(db().joinGroup(5));
    expectLogged({"checkIfRecordExist failed, exception in (integer overflow).",
                  "joinGroup failed, exception in (UNIQUE constraint failed: tbl_group_list.group_id)."});
    EXPECT_THAT(listed(), ElementsAre(5));
}

// ---- saveGroupList

TEST_F(GroupListTest, SavingCountsTheNewIds) {
    Ids ids = {5, 6, 5};
    EXPECT_EQ(db().saveGroupList(ids), 2U);
    EXPECT_THAT(statements(), ElementsAre(lookUp(5), insertion(5), lookUp(6), insertion(6), lookUp(5)));
    EXPECT_THAT(listed(), ElementsAre(5, 6));
    EXPECT_THAT(ids, ElementsAre(5, 6, 5));
    expectNothingLogged();
}

TEST_F(GroupListTest, SavingAddsToTheList) {
    joined({7, 6});
    EXPECT_EQ(save({5, 6, 8}), 2U);
    EXPECT_THAT(listed(), ElementsAre(7, 6, 5, 8));
}

TEST_F(GroupListTest, SavingOnlyKnownIdsIsZero) {
    joined({5, 6});
    EXPECT_EQ(save({6, 5}), 0U);
    EXPECT_THAT(statements(), ElementsAre(lookUp(6), lookUp(5)));
    EXPECT_THAT(listed(), ElementsAre(5, 6));
}

TEST_F(GroupListTest, SavingNothingIsZeroWithoutAStatement) {
    joined({5});
    EXPECT_EQ(save({}), 0U);
    EXPECT_THAT(statements(), IsEmpty());
    expectNothingLogged();
    EXPECT_THAT(listed(), ElementsAre(5));
}

TEST_F(GroupListTest, SavingGoesOnAfterAFailureAndDoesNotCountIt) {
    refuse("INSERT ON tbl_group_list WHEN NEW.group_id IN (6, 8)", "ABORT, 'not this one'");
    EXPECT_EQ(save({5, 6, 7, 8}), 2U);
    expectLogged(
        {"joinGroup failed, exception in (not this one).", "joinGroup failed, exception in (not this one)."});
    EXPECT_THAT(listed(), ElementsAre(5, 7));
}

TEST_F(GroupListTest, SavingWithoutTheTableFailsForEachId) {
    changeTables("DROP TABLE tbl_group_list");
    EXPECT_EQ(save({5, 6}), 0U);
    expectLogged({lookUpFails, joinFails, lookUpFails, joinFails});
}

TEST_F(GroupListTest, SavingAThousandIsALookUpAndAnInsertionEach) {
    Ids ids(1000);
    std::iota(ids.begin(), ids.end(), 1);
    db().beginTransaction();  // so that the disk is not waited for a thousand times
    forget();
    EXPECT_EQ(db().saveGroupList(ids), 1000U);
    EXPECT_EQ(statements().size(), 2000U);
    EXPECT_EQ(statements().back(), insertion(1000));
    db().commiteTransaction();
    EXPECT_EQ(listed(), ids);
}

// ---- clearGroupList

TEST_F(GroupListTest, ClearingDeletesEveryRow) {
    joined({5, 6});
    EXPECT_TRUE(db().clearGroupList());
    EXPECT_THAT(statements(), ElementsAre(clearing));
    EXPECT_THAT(listed(), IsEmpty());
    expectNothingLogged();
}

TEST_F(GroupListTest, ClearingAnEmptyListIsFalse) {
    EXPECT_FALSE(db().clearGroupList());
    EXPECT_THAT(statements(), ElementsAre(clearing));
    expectNothingLogged();
}

// ---- replaceGroupList

TEST_F(GroupListTest, ReplacingClearsThenSaves) {
    joined({5, 6});
    Ids ids = {7, 5};
    EXPECT_TRUE(db().replaceGroupList(ids));
    EXPECT_THAT(statements(), ElementsAre(clearing, lookUp(7), insertion(7), lookUp(5), insertion(5)));
    EXPECT_THAT(listed(), ElementsAre(7, 5));
    EXPECT_THAT(ids, ElementsAre(7, 5));
    expectNothingLogged();
}

TEST_F(GroupListTest, ReplacingAnEmptyListIsTrue) {
    EXPECT_TRUE(replace({7}));
    EXPECT_THAT(listed(), ElementsAre(7));
}

TEST_F(GroupListTest, ReplacingByNothingClearsAndIsFalse) {
    joined({5, 6});
    EXPECT_FALSE(replace({}));
    EXPECT_THAT(statements(), ElementsAre(clearing));
    EXPECT_THAT(listed(), IsEmpty());
    expectNothingLogged();
}

TEST_F(GroupListTest, ReplacingIsTrueWhenOneIdIsStored) {
    refuse("INSERT ON tbl_group_list WHEN NEW.group_id != 7", "IGNORE");
    EXPECT_TRUE(replace({5, 7}));
    EXPECT_FALSE(replace({5, 6}));
    EXPECT_THAT(listed(), IsEmpty());
}

TEST_F(GroupListTest, ReplacingGoesOnWhenTheListCannotBeCleared) {
    joined({5});
    refuse("DELETE ON tbl_group_list", "ABORT, 'no clearing'");
    EXPECT_TRUE(replace({6}));
    expectFailureLogged("clearGroupList", "no clearing");
    EXPECT_THAT(listed(), ElementsAre(5, 6));
    EXPECT_FALSE(replace({6, 5}));
}

TEST_F(GroupListTest, ReplacingWithoutTheTableFailsInEveryStep) {
    changeTables("DROP TABLE tbl_group_list");
    EXPECT_FALSE(replace({5}));
    expectLogged({clearFails, lookUpFails, joinFails});
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(GroupListTest, ReplacingOnAClosedStoreLogsBothSteps) {
    close();
    for (const Ids& ids : {Ids{5}, Ids{}}) {
        forget();
        EXPECT_FALSE(replace(ids));
        ASSERT_EQ(platform().file.size(), 2U);
        EXPECT_THAT(platform().file,
                    ElementsAre(testing::MatchesRegex("db is not ready\\(clearGroupList, line:[0-9]+\\)\\."),
                                testing::MatchesRegex("db is not ready\\(saveGroupList, line:[0-9]+\\)\\.")));
        EXPECT_THAT(platform().console,
                    ElementsAre("[pelko]" + platform().file[0], "[pelko]" + platform().file[1]));
        EXPECT_THAT(statements(), IsEmpty());
    }
}

// ---- isInGroup and quitGroup

TEST_F(GroupListTest, MembershipIsLookedUp) {
    joined({5});
    EXPECT_TRUE(db().isInGroup(5));
    EXPECT_FALSE(db().isInGroup(6));
    EXPECT_THAT(statements(), ElementsAre(lookUp(5), lookUp(6)));
    expectNothingLogged();
}

TEST_F(GroupListTest, QuittingTakesTheIdOffTheList) {
    joined({5, 6});
    EXPECT_TRUE(db().quitGroup(5));
    EXPECT_THAT(statements(), ElementsAre("DELETE FROM tbl_group_list WHERE group_id = 5"));
    EXPECT_THAT(listed(), ElementsAre(6));
    EXPECT_FALSE(db().isInGroup(5));
    expectNothingLogged();
}

TEST_F(GroupListTest, QuittingAnUnlistedGroupIsFalse) {
    joined({5});
    EXPECT_FALSE(db().quitGroup(6));
    EXPECT_THAT(statements(), ElementsAre("DELETE FROM tbl_group_list WHERE group_id = 6"));
    EXPECT_THAT(listed(), ElementsAre(5));
    expectNothingLogged();
}

TEST_F(GroupListTest, QuittingAndClearingLeaveDetailsAndMessages) {
    joined({5, 6});
    execute(
        "INSERT INTO tbl_group (group_id, name) VALUES (5, 'five'), (6, 'six');"
        "INSERT INTO tbl_msg (receiver_type, receiver_id) VALUES (2, '5'), (2, '6');"
        "INSERT INTO tbl_session (target_type, target_id) VALUES (2, '5'), (2, '6')");
    const auto others = [this] {
        return rows(
            "SELECT (SELECT group_concat(name) FROM tbl_group), (SELECT count(*) FROM tbl_msg), "
            "(SELECT count(*) FROM tbl_session)");
    };
    EXPECT_TRUE(db().quitGroup(5));
    EXPECT_EQ(others(), (std::vector<Row>{{"five,six", "2", "2"}}));
    EXPECT_TRUE(db().clearGroupList());
    EXPECT_EQ(others(), (std::vector<Row>{{"five,six", "2", "2"}}));
}

// ---- not ready and SQL failure

class GroupListOperations : public OperationTest {};
class GroupListFailures : public OperationTest {};

TEST_P(GroupListOperations, LogOnceWhenClosed) {
    expectNotReadyWhenClosed();
}

TEST_P(GroupListOperations, LogOnceWithAClosedConnection) {
    expectNotReadyWithClosedConnection();
}

TEST_P(GroupListFailures, WithoutTheTable) {
    expectFailureWithout("tbl_group_list");
}

const Operation isInGroup = {"isInGroup", "checkIfRecordExist",
                             [](PelkoDBManager& db) { EXPECT_FALSE(db.isInGroup(5)); }};
const Operation quitGroup = {"quitGroup", "quitGroup",
                             [](PelkoDBManager& db) { EXPECT_FALSE(db.quitGroup(5)); }};
const Operation clearGroupList = {"clearGroupList", "clearGroupList",
                                  [](PelkoDBManager& db) { EXPECT_FALSE(db.clearGroupList()); }};

INSTANTIATE_TEST_SUITE_P(All, GroupListOperations,
                         testing::Values(Operation{"joinGroup", "joinGroup",
                                                   [](PelkoDBManager& db) { EXPECT_FALSE(db.joinGroup(5)); }},
                                         Operation{"saveGroupList", "saveGroupList",
                                                   [](PelkoDBManager& db) {
                                                       Ids ids = {5, 6};
                                                       EXPECT_EQ(db.saveGroupList(ids), 0U);
                                                   }},
                                         isInGroup, quitGroup, clearGroupList),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(All, GroupListFailures, testing::Values(isInGroup, quitGroup, clearGroupList),
                         nameOf);

TEST_F(GroupListTest, SavingNothingOnAClosedStoreIsNotReadyFirst) {
    close();
    EXPECT_EQ(save({}), 0U);
    expectNotReadyLogged("saveGroupList");
}

}  // namespace
