#include <string>
#include <type_traits>
#include <vector>

#include "tests/classes/storage/RelationshipsTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::_;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// The relation kind, and with it what the front ends stand on, is the manager's own.
template <typename Class, typename = void>
constexpr bool offersRelations = false;
template <typename Class>
constexpr bool offersRelations<Class, std::void_t<typename Class::PelkoUserRelation>> = true;
static_assert(!offersRelations<PelkoDBManager>);

// ---- adding

TEST_P(RelationshipsTest, AddStoresOneRow) {
    EXPECT_TRUE(add("ann"));
    EXPECT_THAT(statements(), ElementsAre(lookupOf("ann"), insertOf("ann")));
    EXPECT_THAT(table(), ElementsAre(Row{"ann", number()}));
    expectNothingLogged();
}

TEST_P(RelationshipsTest, AddingTwiceReportsFalseAndKeepsOneRow) {
    EXPECT_TRUE(add("ann"));
    forget();
    EXPECT_FALSE(add("ann"));
    EXPECT_THAT(statements(), ElementsAre(lookupOf("ann")));
    EXPECT_THAT(table(), ElementsAre(Row{"ann", number()}));
    expectNothingLogged();
}

TEST_P(RelationshipsTest, AddOfANameOnTheOtherListAddsASecondRow) {
    given({"ann"}, GetParam().otherNumber);
    EXPECT_TRUE(add("ann"));
    EXPECT_THAT(table(), ElementsAre(Row{"ann", GetParam().otherNumber}, Row{"ann", number()}));
}

TEST_P(RelationshipsTest, AddReportsFalseWhenNoRowIsChanged) {
    rejectEach("INSERT", "1", "IGNORE");
    EXPECT_FALSE(add("ann"));
    EXPECT_THAT(statements(),
                ElementsAre(lookupOf("ann"), insertOf("ann"), _, _));  // last what the trigger ran
    expectNothingLogged();
}

TEST_P(RelationshipsTest, FailingAddIsLogged) {
    rejectEach("INSERT", "1", "ABORT, 'no room'");
    EXPECT_FALSE(add("ann"));
    expectFailureLogged("addRelationship", "no room");
    EXPECT_THAT(statements(), ElementsAre(lookupOf("ann"), insertOf("ann"), _, _));
    EXPECT_THAT(table(), IsEmpty());
}

TEST_P(RelationshipsTest, AddWithoutTheTableFailsTwice) {
    changeTables("DROP TABLE tbl_relationship");
    EXPECT_FALSE(add("ann"));
    expectLogged({"checkIfRecordExist failed, exception in (no such table: tbl_relationship).",
                  "addRelationship failed, exception in (no such table: tbl_relationship)."});
    EXPECT_THAT(statements(), IsEmpty());
}

// ---- removing

TEST_P(RelationshipsTest, RemoveDeletesTheNameFromThisListOnly) {
    given({"ann"}, GetParam().otherNumber);
    given({"ann", "bob"});
    execute("INSERT INTO tbl_user (username) VALUES ('ann')");
    EXPECT_TRUE(remove("ann"));
    EXPECT_THAT(statements(), ElementsAre(removalOf("ann")));
    EXPECT_THAT(table(), ElementsAre(Row{"ann", GetParam().otherNumber}, Row{"bob", number()}));
    EXPECT_EQ(value("SELECT username FROM tbl_user"), "ann");
    expectNothingLogged();
}

TEST_P(RelationshipsTest, RemoveOfANameThatIsNotOnTheListReportsFalse) {
    given({"ann"}, GetParam().otherNumber);
    EXPECT_FALSE(remove("ann"));
    EXPECT_FALSE(remove("zoe"));
    EXPECT_THAT(statements(), ElementsAre(removalOf("ann"), removalOf("zoe")));
    EXPECT_EQ(table().size(), 1U);
    expectNothingLogged();
}

TEST_P(RelationshipsTest, RemoveDeletesEveryRowOfTheName) {
    given({"it's", "bob", "it's"});
    EXPECT_TRUE(remove("it's"));
    EXPECT_THAT(statements(), ElementsAre(removalOf("it''s")));
    EXPECT_THAT(stored(), ElementsAre("bob"));
}

TEST_P(RelationshipsTest, ClearDeletesThisListOnly) {
    given({"ann", "bob"}, GetParam().otherNumber);
    given({"ann", "cid"});
    execute("INSERT INTO tbl_user (username) VALUES ('cid')");
    EXPECT_TRUE(clear());
    EXPECT_THAT(statements(), ElementsAre(clearing()));
    EXPECT_THAT(table(), ElementsAre(Row{"ann", GetParam().otherNumber}, Row{"bob", GetParam().otherNumber}));
    EXPECT_EQ(value("SELECT username FROM tbl_user"), "cid");
    expectNothingLogged();
}

TEST_P(RelationshipsTest, ClearOfAnEmptyListReportsFalse) {
    given({"ann"}, GetParam().otherNumber);
    EXPECT_FALSE(clear());
    EXPECT_THAT(statements(), ElementsAre(clearing()));
    EXPECT_EQ(table().size(), 1U);
    expectNothingLogged();
}

TEST_P(RelationshipsTest, FailingRemovalsAreLogged) {
    given({"ann"});
    rejectEach("DELETE", "1", "ABORT, 'not now'");
    EXPECT_FALSE(remove("ann"));
    expectFailureLogged("removeRelationship", "not now");
    forget();
    EXPECT_FALSE(clear());
    expectFailureLogged("removeRelationship", "not now");
    EXPECT_THAT(stored(), ElementsAre("ann"));
}

// ---- looking up

TEST_P(RelationshipsTest, HasFindsTheNamesOfThisListOnly) {
    given({"ann"});
    given({"bob"}, GetParam().otherNumber);
    EXPECT_TRUE(has("ann"));
    EXPECT_FALSE(has("bob"));
    EXPECT_FALSE(has("zoe"));
    EXPECT_FALSE(has("an"));
    EXPECT_THAT(statements(), ElementsAre(lookupOf("ann"), lookupOf("bob"), lookupOf("zoe"), lookupOf("an")));
    expectNothingLogged();
}

TEST_P(RelationshipsTest, NamesComeInTheOrderOfFirstInsertion) {
    given({"bob"}, GetParam().otherNumber);
    EXPECT_THAT(names(), IsEmpty());
    ASSERT_TRUE(add("mia"));
    ASSERT_TRUE(add("ann"));
    ASSERT_TRUE(add("zoe"));
    ASSERT_FALSE(add("mia"));
    ASSERT_TRUE(add("cid"));
    reopen();
    forget();
    EXPECT_THAT(names(), ElementsAre("mia", "ann", "zoe", "cid"));
    EXPECT_THAT(statements(), ElementsAre("SELECT * FROM tbl_relationship WHERE block_state = " + number() +
                                          " ORDER BY rowid asc"));
    expectNothingLogged();
}

TEST_P(RelationshipsTest, NamesShowEveryRowAndNullAsEmpty) {
    given({"ann"});
    execute("INSERT INTO tbl_relationship VALUES (NULL, " + number() + "), ('ann', " + number() + ")");
    EXPECT_THAT(names(), ElementsAre("ann", "", "ann"));
    expectNothingLogged();
}

TEST_P(RelationshipsTest, NamesReadBeforeAFailureStay) {
    given({"ann", "bob", "cid", "dan"});
    changeTables(
        "ALTER TABLE tbl_relationship RENAME TO kept;"
        "CREATE VIEW tbl_relationship AS SELECT rowid AS rowid, block_state,"
        " CASE username WHEN 'cid' THEN abs(-9223372036854775807 - 1) ELSE username END AS username FROM "
        "kept");
    EXPECT_THAT(names(), ElementsAre("ann", "bob"));
    expectFailureLogged("getRelationUsernames", "integer overflow");
}

// ---- what names may hold

TEST_P(RelationshipsTest, NamesWithAQuoteAreStoredButNeverFound) {
    for (const std::string name : {"'", "a''b", "it's", "x'||'y", "x', 'y", "x' OR '1'='1", "x', 0), ('y",
                                   "x'; DROP TABLE tbl_msg; --"}) {
        SCOPED_TRACE(name);
        execute("DELETE FROM tbl_relationship");
        given({"x", "xy", "a'b", "it's"});
        forget();
        const std::vector<Row> before = table();

        EXPECT_FALSE(has(name));
        expectFailureLogged("checkIfRecordExist");
        EXPECT_THAT(statements(), IsEmpty());
        EXPECT_EQ(table(), before);

        // The duplicate check does not find it either, so that it is stored each time, as it is.
        for (std::size_t copies = 1; copies <= 2; ++copies) {
            forget();
            EXPECT_TRUE(add(name));
            expectFailureLogged("checkIfRecordExist");
            EXPECT_THAT(statements(), ElementsAre(insertOf(db().transStringQuote(name))));
            std::vector<Row> after = before;
            after.insert(after.end(), copies, Row{name, number()});
            EXPECT_EQ(table(), after);
            EXPECT_EQ(names().back(), name);
        }

        forget();
        EXPECT_TRUE(remove(name));
        EXPECT_THAT(statements(), ElementsAre(removalOf(db().transStringQuote(name))));
        expectNothingLogged();
        EXPECT_FALSE(remove(name));
    }
}

TEST_P(RelationshipsTest, OtherNamesAreKeptByteForByte) {
    Names odd = {"",
                 " ",
                 "%s%n%d %",
                 ";",
                 "a;b -- c",
                 "\\",
                 "\\n",
                 "\"q\"",
                 "/*",
                 "a\nb\t",
                 "null",
                 "Ann",
                 "ann",
                 "J\xC3\xBCrgen",
                 "\xF0\x9F\x98\x80"};
    odd.push_back(std::string(5000, 'n'));
    EXPECT_EQ(save(odd), odd.size());
    EXPECT_EQ(stored(), odd);
    EXPECT_EQ(names(), odd);
    for (const std::string& name : odd) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(has(name));
        EXPECT_FALSE(add(name));
        EXPECT_TRUE(remove(name));
        EXPECT_FALSE(has(name));
    }
    EXPECT_THAT(table(), IsEmpty());
    expectNothingLogged();
}

TEST_P(RelationshipsTest, NamesEndAtTheirFirstNul) {
    EXPECT_TRUE(add(std::string("ann\0'x", 6)));
    EXPECT_THAT(stored(), ElementsAre("ann"));
    EXPECT_TRUE(has(std::string("ann\0'y", 6)));
    EXPECT_TRUE(remove(std::string("ann\0z", 5)));
    EXPECT_THAT(statements(),
                ElementsAre(lookupOf("ann"), insertOf("ann"), lookupOf("ann"), removalOf("ann")));
    expectNothingLogged();
}

TEST_P(RelationshipsTest, TheCallersNamesStayAsTheyAre) {
    std::string name = "it's";
    EXPECT_TRUE((db().*GetParam().add)(name));
    EXPECT_FALSE((db().*GetParam().has)(name));
    EXPECT_TRUE((db().*GetParam().remove)(name));
    EXPECT_EQ(name, "it's");
    Names list = {"it's", "ann"};
    EXPECT_EQ((db().*GetParam().save)(list), 2U);
    EXPECT_TRUE((db().*GetParam().replace)(list));
    EXPECT_THAT(list, ElementsAre("it's", "ann"));
}

// ---- what all have in common

TEST_P(RelationshipsTest, NothingRunsWhenClosed) {
    close();
    expectNotReadyEach();
}

TEST_P(RelationshipsTest, NothingRunsOnAClosedConnection) {
    PelkoDBManagerTestAccess::connection(db())->close();
    expectNotReadyEach();
}

TEST_P(RelationshipsTest, SingleStatementsFailWithoutTheTable) {
    changeTables("DROP TABLE tbl_relationship");
    const auto expectFailure = [this](const char* operation) {
        expectFailureLogged(operation, "no such table: tbl_relationship");
        EXPECT_THAT(statements(), IsEmpty());
        forget();
    };
    EXPECT_FALSE(remove("ann"));
    expectFailure("removeRelationship");
    EXPECT_FALSE(clear());
    expectFailure("removeRelationship");
    EXPECT_FALSE(has("ann"));
    expectFailure("checkIfRecordExist");
    EXPECT_THAT(names(), IsEmpty());
    expectFailure("getRelationUsernames");
}

INSTANTIATE_TEST_SUITE_P(Both, RelationshipsTest, testing::Values(friends, blocked),
                         [](const auto& list) { return list.param.label; });

// ---- the two lists together

using RelationshipsTogether = StoreTest;

TEST_F(RelationshipsTogether, AFriendCanBeBlocked) {
    std::string ann = "ann";
    EXPECT_TRUE(db().addFriend(ann));
    EXPECT_TRUE(db().blockUser(ann));
    EXPECT_TRUE(db().isFriend(ann));
    EXPECT_TRUE(db().isBlocked(ann));
    EXPECT_THAT(rows("SELECT * FROM tbl_relationship"), ElementsAre(Row{"ann", "0"}, Row{"ann", "1"}));
    EXPECT_TRUE(db().deleteFriend(ann));
    EXPECT_FALSE(db().isFriend(ann));
    EXPECT_TRUE(db().isBlocked(ann));
    EXPECT_EQ(ann, "ann");
}

}  // namespace
