#include <sqlite3.h>

#include <map>
#include <string>
#include <vector>

#include "tests/reliability/support/HostileTest.h"
#include "tests/reliability/support/SampleRecords.h"
#include "tests/support/TestPlatform.h"

// Files in which the store's tables are something else, or have something at them that acts. Every operation
// runs over each; WatchedStore checks every call.

namespace pelkotest {

namespace {

using namespace pelkoapi;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using HostileObjectsTest = HostileTest;

// ---- what else tables can be

TEST_F(HostileObjectsTest, AViewInThePlaceOfATableIsNeitherReadNorWritten) {
    for (const std::string& table : allTables()) {
        SCOPED_TRACE(table);
        fresh();
        const std::vector<std::string> before = rows()[table];
        plant("ALTER TABLE " + table + " RENAME TO kept; CREATE VIEW " + table + " AS SELECT * FROM kept");
        for (const char* const event : {"INSERT", "UPDATE", "DELETE"}) {
            plant(std::string("CREATE TRIGGER instead_of_") + event + " INSTEAD OF " + event + " ON " +
                  table + " BEGIN DELETE FROM kept; END");
        }
        use();
        EXPECT_THAT(mStore.lines(), Contains(HasSubstr("access to view \"" + table + "\" prohibited")));
        EXPECT_THAT(mStore.lines(), Contains(HasSubstr("cannot modify " + table + " because it is a view")));
        plant("DROP VIEW " + table + "; ALTER TABLE kept RENAME TO " + table);
        EXPECT_EQ(rows()[table], before);
    }
}

TEST_F(HostileObjectsTest, TriggersDoNotRun) {
    std::string emptyAll;
    for (const std::string& table : allTables()) {
        emptyAll += "DELETE FROM " + table + "; ";
    }
    for (const std::string& body :
         {emptyAll,
          std::string("INSERT INTO tbl_relationship SELECT username || 'x', 0 FROM tbl_relationship;"),
          std::string("INSERT INTO tbl_group_list WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 "
                      "FROM n) SELECT i FROM n;"),
          std::string("SELECT RAISE(ABORT, 'no');"), std::string("SELECT RAISE(IGNORE);"),
          std::string("SELECT RAISE(ROLLBACK, 'no');"), std::string("SELECT no_such_function(1);")}) {
        SCOPED_TRACE(body);
        fresh();
        for (const std::string& table : allTables()) {
            for (const std::string moment : {"BEFORE", "AFTER"}) {
                for (const std::string event : {"INSERT", "UPDATE", "DELETE"}) {
                    plant("CREATE TRIGGER " + moment + event + table + " " + moment + " " + event + " ON " +
                          table + " BEGIN " + body + " END");
                }
            }
        }
        expectUsual();
    }
}

TEST_F(HostileObjectsTest, TablesWithoutRowIds) {
    replaceTable("tbl_relationship",
                 "(username text, block_state integer, primary key (username, "
                 "block_state)) WITHOUT ROWID");
    replaceTable("tbl_room",
                 definitionWith("tbl_room", "info_version integer)", "info_version integer) WITHOUT ROWID"));
    replaceTable("tbl_group_list", "(group_id bigint primary key) WITHOUT ROWID");
    replaceTable("tbl_msg", definitionWith("tbl_msg", "extra_path text)", "extra_path text) WITHOUT ROWID"));
    mStore.open();
    EXPECT_THAT(mStore.lines(), IsEmpty());
    const std::string noRowId = " failed, exception in (no such column: rowid).";
    EXPECT_THAT(linesOf("getFriendUsernames"), ElementsAre("getRelationUsernames" + noRowId));
    EXPECT_THAT(linesOf("getRoomList"), ElementsAre("getRoomList" + noRowId));
    EXPECT_THAT(linesOf("getGroupList"), ElementsAre("getGroupList" + noRowId));
    EXPECT_THAT(
        linesOf("insertMessage"),
        ElementsAre("insertMessage failed, exception in (NOT NULL constraint failed: tbl_msg.db_id)."));
    // What does not go by row ids works.
    EXPECT_EQ(db().getMessage(1).text, "it's the first");
    EXPECT_EQ(db().getRoomInfo(7).capacity, 500U);
    EXPECT_TRUE(mStore.run("isFriend") == (Outcome{"true", "alice"}));
    EXPECT_EQ(mStore.run("addFriend").value, "true");
    EXPECT_EQ(mStore.run("joinGroup").value, "true");
    mStore.runAll();
}

TEST_F(HostileObjectsTest, StrictTables) {
    if (sqlite3_libversion_number() < 3037000) {
        GTEST_SKIP() << "this SQLite knows no strict tables";
    }
    for (const std::string& table : allTables()) {
        std::string definition = definitionOf(table) + " STRICT";
        for (const std::string unknown : {"bigint", "integr)"}) {
            for (std::size_t at; (at = definition.find(unknown)) != std::string::npos;) {
                definition.replace(at, unknown.size(), unknown == "bigint" ? "integer" : "integer)");
            }
        }
        replaceTable(table, definition);
    }
    expectUsual();
}

TEST_F(HostileObjectsTest, AConstraintThatNothingMeetsRefusesWhatIsWritten) {
    for (const std::string& table : allTables()) {
        SCOPED_TRACE(table);
        fresh();
        const std::vector<std::string> before = rows()[table];
        redeclare(table, ")", ", CHECK (0))");
        mStore.open();
        EXPECT_THAT(mStore.lines(), IsEmpty());
        EXPECT_EQ(rows()[table], before) << "is read";
        mStore.runAll();
        EXPECT_THAT(mStore.lines(), Contains(HasSubstr("CHECK constraint failed")));
        EXPECT_LE(rows()[table].size(), before.size()) << "deletions are not refused";
    }
}

TEST_F(HostileObjectsTest, WhatMustBeUniqueIsStoredOnce) {
    struct Case {
        const char* onConflict;
        bool stored;
        std::vector<std::string> lines;
    };
    for (const Case& c :
         {Case{"", false, {"insertMessage failed, exception in (UNIQUE constraint failed: tbl_msg.date)."}},
          Case{"ON CONFLICT ROLLBACK",
               false,
               {"insertMessage failed, exception in (UNIQUE constraint failed: tbl_msg.date)."}},
          Case{"ON CONFLICT IGNORE", false, {}}, Case{"ON CONFLICT REPLACE", true, {}}}) {
        SCOPED_TRACE(c.onConflict);
        fresh();
        replaceTable("tbl_msg", definitionWith("tbl_msg", "date integer",
                                               std::string("date integer UNIQUE ") + c.onConflict));
        mStore.open();
        EXPECT_THAT(mStore.lines(), IsEmpty());
        PelkoMessage again = message(0, 100, PelkoUser("alice"), PelkoUser("me"), "", PelkoMessageStatusRead);
        EXPECT_EQ(db().insertMessage(&again), c.stored);
        EXPECT_EQ(again.dbID, c.stored ? 23 : 0);
        EXPECT_EQ(db().queryCount("tbl_msg", "date = 100"), 1);
        EXPECT_EQ(platform().file, c.lines);
        mStore.close();
        use();
    }
}

TEST_F(HostileObjectsTest, AConflictThatRollsBackAtTheStartConcernsItsRowAlone) {
    // Three sends were under way, and only one can be marked failed.
    plant("DELETE FROM tbl_msg WHERE db_id > 3; UPDATE tbl_msg SET status = 3");
    replaceTable("tbl_msg",
                 definitionWith("tbl_msg", "extra_path text)",
                                "extra_path text, one AS (CASE status WHEN 5 THEN 1 END) UNIQUE ON CONFLICT "
                                "ROLLBACK)"));
    EXPECT_TRUE(mStore.open());
    const std::string refused =
        "updateMessageStatus failed, exception in (UNIQUE constraint failed: tbl_msg.one).";
    EXPECT_THAT(mStore.lines(), ElementsAre(refused, refused));
    EXPECT_EQ(db().getMessage(1).status, PelkoMessageStatusSendingFailed);
    EXPECT_EQ(db().getMessage(2).status, PelkoMessageStatusSending);
    EXPECT_EQ(db().getMessage(3).status, PelkoMessageStatusSending);
    mStore.runAll();
}

TEST_F(HostileObjectsTest, ForeignKeysAreNotFollowed) {
    plant("CREATE TABLE child (id REFERENCES tbl_room ON DELETE CASCADE); INSERT INTO child VALUES (7), (8)");
    replaceTable("tbl_group_list", "(group_id bigint primary key REFERENCES no_such_table (x))");
    replaceTable("tbl_user",
                 definitionWith("tbl_user", "username text primary key",
                                "username text primary key REFERENCES tbl_relationship (username) ON "
                                "DELETE CASCADE ON UPDATE CASCADE"));
    expectUsual();
    mStore.open();
    EXPECT_EQ(db().queryCount("child", "1"), 2);
    EXPECT_EQ(db().queryCount("tbl_room", "1"), 0);
}

TEST_F(HostileObjectsTest, ComputedColumnsAreReadAndNotWritten) {
    if (sqlite3_libversion_number() < 3031000) {
        GTEST_SKIP() << "this SQLite computes no columns";
    }
    for (const char* const kind : {"VIRTUAL", "STORED"}) {
        SCOPED_TRACE(kind);
        fresh();
        replaceTable("tbl_msg",
                     definitionWith("tbl_msg", " text text", std::string(" text text AS ('made') ") + kind));
        mStore.open();
        EXPECT_EQ(db().getMessage(1).text, "made");
        EXPECT_THAT(linesOf("insertMessage"),
                    ElementsAre("insertMessage failed, exception in (cannot INSERT into generated column "
                                "\"text\")."));
        EXPECT_EQ(mStore.run("updateMessage").value, "true");
        mStore.runAll();
        mStore.close();
    }
}

TEST_F(HostileObjectsTest, ColumnsComputedAtGreatCost) {
    // 20 MB for each row that is written or read.
    redeclare("tbl_room", ")", ", more DEFAULT (length(hex(zeroblob(10000000)))))");
    redeclare("tbl_group", ")", ", more AS (hex(zeroblob(10000000))))");
    expectUsual();
}

TEST_F(HostileObjectsTest, WhatIsComputedIsNotLongerThanTheLimit) {
    redeclare("tbl_room", ")", ", more DEFAULT (zeroblob(900000000)))");
    redeclare("tbl_group", ")", ", more AS (zeroblob(900000000)))");
    mStore.open();
    EXPECT_THAT(linesOf("insertOrUpdateRoom"),
                ElementsAre("insertOrUpdateRoom failed, exception in (string or blob too big)."));
    EXPECT_THAT(linesOf("getGroupInfo"),
                ElementsAre("getGroupInfo failed, exception in (string or blob too big)."));
    mStore.runAll();
}

TEST_F(HostileObjectsTest, Collations) {
    redeclare("tbl_relationship", "username text", "username text COLLATE NOCASE");
    redeclare("tbl_user", "username text", "username text COLLATE nosuch");
    plant("DROP INDEX idx_relationship_name");
    mStore.open();
    std::string name = "ALICE";
    EXPECT_TRUE(db().isFriend(name));
    EXPECT_THAT(linesOf("userExist"),
                ElementsAre("checkIfRecordExist failed, exception in (no such collation sequence: nosuch)."));
    mStore.runAll();
}

// ---- virtual tables

class HostileModuleTest : public HostileTest, public testing::WithParamInterface<const char*> {
protected:
    /// A virtual table of the module in the place of each table, with the same columns. @return SQLite's
    /// message when it has no such module
    std::string plantVirtualTables(const std::string& module) {
        std::map<std::string, std::string> columnsOfAll;
        for (const std::string& table : allTables()) {
            std::string& columns = columnsOfAll[table];
            for (const std::string& column : columnsOf(table)) {
                columns += (columns.empty() ? "" : ", ") + column;
            }
            plant("DROP TABLE " + table);
        }
        for (const auto& [table, columns] : columnsOfAll) {
            if (!columnsOf(table).empty()) {
                continue;  // a table in which the module keeps its own things has this name
            }
            std::string error =
                tryToPlant("CREATE VIRTUAL TABLE " + table + " USING " + module + "(" + columns + ")");
            if (!error.empty()) {
                return error;
            }
        }
        return "";
    }
};

TEST_P(HostileModuleTest, InThePlaceOfEveryTable) {
    if (const std::string error = plantVirtualTables(GetParam()); !error.empty()) {
        GTEST_SKIP() << error;
    }
    EXPECT_TRUE(mStore.open());
    EXPECT_THAT(mStore.lines(), Contains(HasSubstr("createIndexesIfNotExist failed, exception in (")));
    const std::string noModule = "(no such module: " + std::string(GetParam()) + ").";
    EXPECT_THAT(linesOf("getRoomList"), ElementsAre("getRoomList failed, exception in " + noModule));
    EXPECT_THAT(linesOf("clearGroupList"), ElementsAre("clearGroupList failed, exception in " + noModule));
    mStore.close();
    use();
    use();
}

INSTANTIATE_TEST_SUITE_P(TextSearch, HostileModuleTest, testing::Values("fts3", "fts4", "fts5"),
                         [](const testing::TestParamInfo<const char*>& module) { return module.param; });

TEST_F(HostileModuleTest, ATableOfTextSearchThatReadsItself) {
    for (const std::string module : {"fts4", "fts5"}) {
        SCOPED_TRACE(module);
        fresh();
        plant("DROP TABLE tbl_relationship");
        const std::string error = tryToPlant("CREATE VIRTUAL TABLE tbl_relationship USING " + module +
                                             "(username, block_state, content='tbl_relationship')");
        if (error.find("no such module") != std::string::npos) {
            GTEST_SKIP() << error;
        }
        ASSERT_EQ(error, "");
        use();
        EXPECT_FALSE(mStore.lines().empty());
    }
}

TEST_F(HostileModuleTest, ATableOfRectangles) {
    plant("DROP TABLE tbl_room; DROP TABLE tbl_last_msg_id; DROP TABLE tbl_relationship");
    const std::string error = tryToPlant(
        "CREATE VIRTUAL TABLE tbl_room USING rtree(room_id, is_top, capacity, online_number, "
        "info_version, +name, +icon_url, +icon_path, +icon_path_ex, +info)");
    if (!error.empty()) {
        GTEST_SKIP() << error;
    }
    plant("CREATE VIRTUAL TABLE tbl_relationship USING rtree_i32(username, block_state, more)");
    plant("CREATE VIRTUAL TABLE tbl_last_msg_id USING rtree(key, last_msg_id, more)");
    use();
}

TEST_F(HostileModuleTest, TablesOfModulesThatAreNotThere) {
    plant(
        "DROP TABLE tbl_room; DROP TABLE tbl_user; PRAGMA writable_schema = 1;"
        "INSERT INTO sqlite_master VALUES ('table', 'tbl_room', 'tbl_room', 0, 'CREATE VIRTUAL TABLE "
        "tbl_room "
        "USING nosuch(a)')");
    EXPECT_TRUE(mStore.open());
    EXPECT_THAT(mStore.lines(), IsEmpty());
    EXPECT_THAT(linesOf("getRoomList"),
                ElementsAre("getRoomList failed, exception in (no such module: nosuch)."));
    EXPECT_EQ(mStore.run("insertOrUpdateUser").value, "true");
    mStore.runAll();
}

TEST_F(HostileModuleTest, TablesOfSqlitesOwnWorkings) {
    for (const std::string module : {"dbstat", "sqlite_dbpage", "sqlite_stmt", "fts5vocab(tbl_user, row)",
                                     "fts3tokenize", "fts4aux(tbl_user)", "json_each", "pragma_table_info"}) {
        SCOPED_TRACE(module);
        fresh();
        plant(
            "DROP TABLE tbl_room; DROP TABLE tbl_msg; PRAGMA writable_schema = 1;"
            "INSERT INTO sqlite_master VALUES ('table', 'tbl_room', 'tbl_room', 0, 'CREATE VIRTUAL TABLE "
            "tbl_room USING " +
            module +
            "');"
            "INSERT INTO sqlite_master VALUES ('table', 'tbl_msg', 'tbl_msg', 0, 'CREATE VIRTUAL TABLE "
            "tbl_msg "
            "USING " +
            module + "')");
        use();
        EXPECT_THAT(mStore.lines(), Contains(HasSubstr("insertMessage failed, exception in (")));
        EXPECT_THAT(mStore.lines(), Contains(HasSubstr("getRoomInfo failed, exception in (")));
    }
}

}  // namespace

}  // namespace pelkotest
