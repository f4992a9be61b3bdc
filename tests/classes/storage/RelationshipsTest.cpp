#include <string>
#include <type_traits>
#include <vector>

#include "classes/storage/PelkoDBManager.h"
#include "tests/support/StoreTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::_;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Names = std::vector<std::string>;

// The relation kind, and with it what the front ends stand on, is the manager's own.
template <typename Class, typename = void>
constexpr bool offersRelations = false;
template <typename Class>
constexpr bool offersRelations<Class, std::void_t<typename Class::PelkoUserRelation>> = true;
static_assert(!offersRelations<PelkoDBManager>);

/// One of the two lists, through its public operations.
struct List {
    const char* label;
    std::string number;       ///< as block_state holds it
    std::string otherNumber;  ///< that of the other list
    const char* saveName;     ///< operation name of the save
    bool (PelkoDBManager::*add)(std::string&);
    bool (PelkoDBManager::*remove)(std::string&);
    bool (PelkoDBManager::*has)(std::string&);
    bool (PelkoDBManager::*clear)();
    Names (PelkoDBManager::*names)();
    unsigned int (PelkoDBManager::*save)(Names&);
    bool (PelkoDBManager::*replace)(Names&);
};

void PrintTo(const List& list, std::ostream* out) {
    *out << list.label;
}

using Manager = PelkoDBManager;
// clang-format off
const List friends{"Friends", "0", "1", "saveFriendList",
                   &Manager::addFriend, &Manager::deleteFriend, &Manager::isFriend, &Manager::clearFriendList,
                   &Manager::getFriendUsernames, &Manager::saveFriendList, &Manager::replaceFriendList};
const List blocked{"Blocked", "1", "0", "saveBlockList",
                   &Manager::blockUser, &Manager::unblockUser, &Manager::isBlocked, &Manager::clearBlockList,
                   &Manager::getBlockUsernames, &Manager::saveBlockList, &Manager::replaceBlockList};
// clang-format on

class RelationshipsTest : public StoreTest, public testing::WithParamInterface<List> {
protected:
    bool add(std::string name) { return (db().*GetParam().add)(name); }
    bool remove(std::string name) { return (db().*GetParam().remove)(name); }
    bool has(std::string name) { return (db().*GetParam().has)(name); }
    bool clear() { return (db().*GetParam().clear)(); }
    Names names() { return (db().*GetParam().names)(); }
    unsigned int save(Names list) { return (db().*GetParam().save)(list); }
    bool replace(Names list) { return (db().*GetParam().replace)(list); }

    static std::string number() { return GetParam().number; }
    static std::string lookupOf(const std::string& name) {
        return "SELECT * FROM tbl_relationship WHERE username = '" + name + "' AND block_state = " + number();
    }
    static std::string insertOf(const std::string& name) {
        return "INSERT INTO tbl_relationship (username, block_state) VALUES ('" + name + "', " + number() +
               ")";
    }
    static std::string removalOf(const std::string& name) {
        return "DELETE FROM tbl_relationship WHERE username = '" + name + "' AND block_state = " + number();
    }
    static std::string clearing() { return "DELETE FROM tbl_relationship WHERE block_state = " + number(); }

    /// Puts names on this list, or on the other one, past the store.
    void given(const Names& list, const std::string& relation = number()) {
        for (const std::string& name : list) {
            execute("INSERT INTO tbl_relationship VALUES ('" + db().transStringQuote(name) + "', " +
                    relation + ")");
        }
    }
    std::vector<Row> table() const { return rows("SELECT * FROM tbl_relationship ORDER BY rowid"); }
    /// The stored names of this list.
    Names stored() const {
        Names found;
        for (const Row& row : rows("SELECT username FROM tbl_relationship WHERE block_state = " + number() +
                                   " ORDER BY rowid")) {
            found.push_back(row.front().value_or("NULL"));
        }
        return found;
    }
    /// What becomes of each INSERT or DELETE of a name that meets the condition.
    void rejectEach(const std::string& verb, const std::string& condition, const std::string& raise) {
        changeTables("CREATE TRIGGER reject BEFORE " + verb + " ON tbl_relationship WHEN " + condition +
                     " BEGIN SELECT RAISE(" + raise + "); END");
    }

    /// Expects of every operation its neutral result, its not-ready line and no statement.
    void expectNotReadyEach() {
        const auto expectLine = [this](const char* operation) {
            expectNotReadyLogged(operation);
            EXPECT_THAT(statements(), IsEmpty());
            forget();
        };
        forget();
        EXPECT_FALSE(add("ann"));
        expectLine("addRelationship");
        EXPECT_FALSE(remove("ann"));
        expectLine("removeRelationship");
        EXPECT_FALSE(clear());
        expectLine("removeRelationship");
        EXPECT_FALSE(has("ann"));
        expectLine("hasRelationship");
        EXPECT_THAT(names(), IsEmpty());
        expectLine("getRelationUsernames");
        EXPECT_EQ(save({"ann"}), 0U);
        expectLine(GetParam().saveName);
        EXPECT_EQ(save({}), 0U);
        expectLine(GetParam().saveName);
    }
};

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

// ---- saving and replacing

TEST_P(RelationshipsTest, SaveCountsTheNewNames) {
    EXPECT_EQ(save({"a", "b", "a"}), 2U);
    EXPECT_THAT(statements(),
                ElementsAre(lookupOf("a"), insertOf("a"), lookupOf("b"), insertOf("b"), lookupOf("a")));
    EXPECT_THAT(stored(), ElementsAre("a", "b"));
    expectNothingLogged();
}

TEST_P(RelationshipsTest, SaveAddsToTheList) {
    given({"b", "z"});
    given({"a"}, GetParam().otherNumber);
    EXPECT_EQ(save({"a", "b"}), 1U);
    EXPECT_THAT(stored(), ElementsAre("b", "z", "a"));
    EXPECT_EQ(save({"a", "b"}), 0U);
}

TEST_P(RelationshipsTest, SaveOfNoNamesIsZeroWithoutAStatement) {
    EXPECT_EQ(save({}), 0U);
    EXPECT_THAT(statements(), IsEmpty());
    expectNothingLogged();
}

TEST_P(RelationshipsTest, SaveDoesNotCountFailingNames) {
    rejectEach("INSERT", "NEW.username = 'b'", "ABORT, 'no b'");
    EXPECT_EQ(save({"a", "b", "c"}), 2U);
    expectFailureLogged("addRelationship", "no b");
    EXPECT_THAT(stored(), ElementsAre("a", "c"));
}

TEST_P(RelationshipsTest, SaveWithoutTheTableFailsPerName) {
    changeTables("DROP TABLE tbl_relationship");
    EXPECT_EQ(save({"a", "b"}), 0U);
    const std::string lookup = "checkIfRecordExist failed, exception in (no such table: tbl_relationship).";
    const std::string insert = "addRelationship failed, exception in (no such table: tbl_relationship).";
    expectLogged({lookup, insert, lookup, insert});
}

TEST_P(RelationshipsTest, SaveKeepsAThousandNamesInOrder) {
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

TEST_P(RelationshipsTest, ReplaceClearsThenSaves) {
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

TEST_P(RelationshipsTest, ReplaceByNoNamesEmptiesTheListAndReportsFalse) {
    given({"ann"});
    EXPECT_FALSE(replace({}));
    EXPECT_THAT(statements(), ElementsAre(clearing()));
    EXPECT_THAT(table(), IsEmpty());
    expectNothingLogged();
}

TEST_P(RelationshipsTest, ReplaceThatFailsHalfwayLeavesTheListPartlyRefilled) {
    given({"old"});
    rejectEach("INSERT", "NEW.username >= 'b'", "ABORT, 'no more'");
    EXPECT_TRUE(replace({"a", "b"}));
    expectFailureLogged("addRelationship", "no more");
    EXPECT_THAT(stored(), ElementsAre("a"));
    EXPECT_FALSE(replace({"b", "c"}));
    EXPECT_THAT(stored(), IsEmpty());
    EXPECT_TRUE(replace({"a"}));  // that there was nothing to clear does not matter
}

TEST_P(RelationshipsTest, ReplaceSavesAlsoWhenClearingFails) {
    given({"old"});
    rejectEach("DELETE", "1", "ABORT, 'not now'");
    EXPECT_TRUE(replace({"old", "new"}));
    expectFailureLogged("removeRelationship", "not now");
    EXPECT_THAT(stored(), ElementsAre("old", "new"));
    EXPECT_FALSE(replace({"old"}));  // nothing new
}

TEST_P(RelationshipsTest, ReplaceNotReadyLogsTheOperationsThatItCalls) {
    close();
    EXPECT_FALSE(replace({"ann"}));
    EXPECT_FALSE(replace({}));
    const std::string removal = "db is not ready(removeRelationship";
    const std::string saving = std::string("db is not ready(") + GetParam().saveName;
    expectLogged({removal, saving, removal, saving});
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_P(RelationshipsTest, ReplaceWithoutTheTableFails) {
    changeTables("DROP TABLE tbl_relationship");
    EXPECT_FALSE(replace({"ann"}));
    expectLogged({"removeRelationship failed, exception in (no such table: tbl_relationship).",
                  "checkIfRecordExist failed, exception in (no such table: tbl_relationship).",
                  "addRelationship failed, exception in (no such table: tbl_relationship)."});
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
