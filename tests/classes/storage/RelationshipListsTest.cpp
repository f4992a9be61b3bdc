#include <string>

#include "tests/classes/storage/RelationshipsTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class RelationshipListsTest : public RelationshipsTest {};

// ---- saving and replacing

TEST_P(RelationshipListsTest, SaveCountsTheNewNames) {
    EXPECT_EQ(save({"a", "b", "a"}), 2U);
    EXPECT_THAT(statements(),
                ElementsAre(lookupOf("a"), insertOf("a"), lookupOf("b"), insertOf("b"), lookupOf("a")));
    EXPECT_THAT(stored(), ElementsAre("a", "b"));
    expectNothingLogged();
}

TEST_P(RelationshipListsTest, SaveAddsToTheList) {
    given({"b", "z"});
    given({"a"}, GetParam().otherNumber);
    EXPECT_EQ(save({"a", "b"}), 1U);
    EXPECT_THAT(stored(), ElementsAre("b", "z", "a"));
    EXPECT_EQ(save({"a", "b"}), 0U);
}

TEST_P(RelationshipListsTest, SaveOfNoNamesIsZeroWithoutAStatement) {
    EXPECT_EQ(save({}), 0U);
    EXPECT_THAT(statements(), IsEmpty());
    expectNothingLogged();
}

TEST_P(RelationshipListsTest, SaveDoesNotCountFailingNames) {
    rejectEach("INSERT", "NEW.username = 'b'", "ABORT, 'no b'");
    EXPECT_EQ(save({"a", "b", "c"}), 2U);
    expectFailureLogged("addRelationship", "no b");
    EXPECT_THAT(stored(), ElementsAre("a", "c"));
}

TEST_P(RelationshipListsTest, SaveWithoutTheTableFailsPerName) {
    changeTables("DROP TABLE tbl_relationship");
    EXPECT_EQ(save({"a", "b"}), 0U);
    const std::string lookup = "checkIfRecordExist failed, exception in (no such table: tbl_relationship).";
    const std::string insert = "addRelationship failed, exception in (no such table: tbl_relationship).";
    expectLogged({lookup, insert, lookup, insert});
}

TEST_P(RelationshipListsTest, SaveKeepsAThousandNamesInOrder) {
    Names many;
    for (int i = 1000; i > 0; --i) {
        many.push_back("user " + std::to_string(i));
    }
    db().beginTransaction();  // the caller's: the test need not wait for a thousand commits
    EXPECT_EQ(save(many), 1000U);
    db().commiteTransaction();
    EXPECT_EQ(statements().size(), 2U + 2 * 1000);
    EXPECT_EQ(names(), many);
    EXPECT_EQ(stored(), many);
}

TEST_P(RelationshipListsTest, ReplaceClearsThenSaves) {
    given({"ann", "bob"});
    given({"ann"}, GetParam().otherNumber);
    EXPECT_TRUE(replace({"cid", "ann"}));
    EXPECT_THAT(statements(),
                ElementsAre(clearing(), lookupOf("cid"), insertOf("cid"), lookupOf("ann"), insertOf("ann")));
    EXPECT_THAT(stored(), ElementsAre("cid", "ann"));
    EXPECT_EQ(value("SELECT username FROM tbl_relationship WHERE block_state = " + GetParam().otherNumber),
              "ann");
    expectNothingLogged();
}

TEST_P(RelationshipListsTest, ReplaceByNoNamesEmptiesTheListAndReportsFalse) {
    given({"ann"});
    EXPECT_FALSE(replace({}));
    EXPECT_THAT(statements(), ElementsAre(clearing()));
    EXPECT_THAT(table(), IsEmpty());
    expectNothingLogged();
}

TEST_P(RelationshipListsTest, ReplaceThatFailsHalfwayLeavesTheListPartlyRefilled) {
    given({"old"});
    rejectEach("INSERT", "NEW.username >= 'b'", "ABORT, 'no more'");
    EXPECT_TRUE(replace({"a", "b"}));
    expectFailureLogged("addRelationship", "no more");
    EXPECT_THAT(stored(), ElementsAre("a"));
    EXPECT_FALSE(replace({"b", "c"}));
    EXPECT_THAT(stored(), IsEmpty());
    EXPECT_TRUE(replace({"a"}));  // that there was nothing to clear does not matter
}

TEST_P(RelationshipListsTest, ReplaceSavesAlsoWhenClearingFails) {
    given({"old"});
    rejectEach("DELETE", "1", "ABORT, 'not now'");
    EXPECT_TRUE(replace({"old", "new"}));
    expectFailureLogged("removeRelationship", "not now");
    EXPECT_THAT(stored(), ElementsAre("old", "new"));
    EXPECT_FALSE(replace({"old"}));  // nothing new
}

TEST_P(RelationshipListsTest, ReplaceNotReadyLogsTheOperationsThatItCalls) {
    close();
    EXPECT_FALSE(replace({"ann"}));
    EXPECT_FALSE(replace({}));
    const std::string removal = "db is not ready(removeRelationship";
    const std::string saving = std::string("db is not ready(") + GetParam().saveName;
    expectLogged({removal, saving, removal, saving});
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_P(RelationshipListsTest, ReplaceWithoutTheTableFails) {
    changeTables("DROP TABLE tbl_relationship");
    EXPECT_FALSE(replace({"ann"}));
    expectLogged({"removeRelationship failed, exception in (no such table: tbl_relationship).",
                  "checkIfRecordExist failed, exception in (no such table: tbl_relationship).",
                  "addRelationship failed, exception in (no such table: tbl_relationship)."});
}

INSTANTIATE_TEST_SUITE_P(Both, RelationshipListsTest, testing::Values(friends, blocked),
                         [](const auto& list) { return list.param.label; });

}  // namespace
