#include <algorithm>
#include <string>
#include <vector>

#include "tests/reliability/support/HostileTest.h"
#include "tests/reliability/support/SampleRecords.h"

// Files with other tables, columns and names than the store's. Every operation runs over each; WatchedStore
// checks every call.

namespace pelkotest {

namespace {

using namespace pelkoapi;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using HostileSchemaTest = HostileTest;

// ---- what is missing or too much

TEST_F(HostileSchemaTest, AMissingTableIsMadeAnewAndTheOthersStay) {
    for (const std::string& table : allTables()) {
        SCOPED_TRACE(table);
        fresh();
        StoredRows expected = rows();
        expected[table].clear();
        plant("DROP TABLE " + table);
        EXPECT_TRUE(mStore.open());
        EXPECT_EQ(difference(expected, rows()), "");
        EXPECT_EQ(rows().count(table), 1U);
        mStore.runAll();
        EXPECT_THAT(mStore.lines(), IsEmpty());
    }
}

TEST_F(HostileSchemaTest, AMissingColumnIsToldByWhoNeedsIt) {
    int missing = 0;
    for (const std::string& table : allTables()) {
        for (const std::string& column : columnsOf(table)) {
            SCOPED_TRACE(table + "." + column);
            fresh();
            std::string others;
            for (const std::string& other : columnsOf(table)) {
                others += other != column ? (others.empty() ? "" : ", ") + other : "";
            }
            plant("CREATE TABLE rest AS SELECT " + (others.empty() ? "1" : others) + " FROM " + table +
                  "; DROP TABLE " + table + "; ALTER TABLE rest RENAME TO " + table);
            use();
            EXPECT_THAT(mStore.lines(), Contains(HasSubstr(column)));
            ++missing;
        }
    }
    EXPECT_EQ(missing, 75);
}

TEST_F(HostileSchemaTest, ARowWithoutAColumnIsNotRead) {
    plant(
        "ALTER TABLE tbl_msg DROP COLUMN text; ALTER TABLE tbl_notify DROP COLUMN text;"
        "ALTER TABLE tbl_session DROP COLUMN priority; ALTER TABLE tbl_room DROP COLUMN info");
    mStore.open();
    EXPECT_THAT(mStore.lines(), IsEmpty());
    const std::string noText = " failed, exception in (no such column in the result: text).";
    EXPECT_THAT(linesOf("getMessage"), ElementsAre("getMessage" + noText));
    EXPECT_THAT(linesOf("getLatestMessages"), ElementsAre("getLatestMessages" + noText));
    EXPECT_THAT(linesOf("getNottify"), ElementsAre("getNottify" + noText));
    EXPECT_THAT(linesOf("loadNotifyList"), ElementsAre("loadNotifyList" + noText));
    EXPECT_THAT(
        linesOf("loadSessionList"),
        ElementsAre("loadSessionList failed, exception in (no such column in the result: priority)."));
    EXPECT_THAT(linesOf("getRoomList"),
                ElementsAre("getRoomList failed, exception in (no such column in the result: info)."));
    EXPECT_THAT(linesOf("insertMessage"),
                ElementsAre("insertMessage failed, exception in (table tbl_msg has no column named text)."));
    // A profile comes with what was read before.
    EXPECT_THAT(linesOf("getRoomInfo"),
                ElementsAre("getRoomInfo failed, exception in (no such column in the result: info)."));
    const PelkoRoom read = db().getRoomInfo(7);
    EXPECT_EQ(read.name, room(7).name);
    EXPECT_EQ(read.icon.url, room(7).icon.url);
    EXPECT_TRUE(read.isTop);
    EXPECT_EQ(read.capacity, 0U);
}

TEST_F(HostileSchemaTest, TheOrderOfColumnsDoesNotMatter) {
    for (const std::string& table : allTables()) {
        // The definition's columns, without what is said of all of them.
        std::string definition = definitionOf(table);
        const std::size_t constraint = definition.find(", constraint");
        const std::string end = constraint != std::string::npos ? definition.substr(constraint) : ")";
        definition = definition.substr(1, std::min(constraint, definition.rfind(')')) - 1);
        std::string reversed;
        for (std::size_t from = 0, to = 0; from < definition.size(); from = to + 2) {
            to = std::min(definition.find(", ", from), definition.size());
            reversed = definition.substr(from, to - from) + (reversed.empty() ? "" : ", ") + reversed;
        }
        replaceTable(table, "(" + reversed + end);
    }
    EXPECT_EQ(columnsOf("tbl_user").front(), "info_version");
    expectUsual();
}

TEST_F(HostileSchemaTest, MoreColumnsDoNotMatter) {
    for (const std::string& table : allTables()) {
        plant("ALTER TABLE " + table + " ADD COLUMN more text NOT NULL DEFAULT 'x';" + "ALTER TABLE " +
              table + " ADD COLUMN \"a'b\"\"c\" blob; ALTER TABLE " + table + " ADD COLUMN [select] integer");
    }
    expectUsual();
}

TEST_F(HostileSchemaTest, AColumnNamedAsTheRowIdIsWhatListsAreOrderedBy) {
    plant("ALTER TABLE tbl_relationship ADD COLUMN rowid; UPDATE tbl_relationship SET rowid = -_rowid_");
    mStore.open();
    EXPECT_THAT(db().getFriendUsernames(),
                ElementsAre("dave, whose name is longer than a short string", "bob", "alice"));
    mStore.runAll();
    EXPECT_THAT(mStore.lines(), IsEmpty());
}

TEST_F(HostileSchemaTest, ColumnsWithoutATypeKeepWhatIsStored) {
    replaceTable("tbl_msg",
                 "(msg_id, db_id INTEGER PRIMARY KEY, type, date, text, media_type, media_path, "
                 "ex_media_path, media_url, media_status, duration, receiver_type, receiver_id, "
                 "sender_type, sender_id, status, extra_path)");
    replaceTable("tbl_notify",
                 "(db_id INTEGER PRIMARY KEY AUTOINCREMENT, date, is_read, sender_type, "
                 "sender_id, sender_name, receiver_type, receiver_id, receiver_name, "
                 "from_type, from_id, from_name, is_system, response, type, text)");
    replaceTable("tbl_group_list", "(group_id)");
    expectUsual();
}

TEST_F(HostileSchemaTest, NumbersInColumnsOfTextsAreReadAsNumbers) {
    for (const std::string& table : allTables()) {
        std::string columns;
        for (const std::string& column : columnsOf(table)) {
            columns += (columns.empty() ? "" : ", ") + column + " text";
        }
        replaceTable(table, "(" + columns + ")");
    }
    mStore.open();
    EXPECT_EQ(db().getMessage(1).text, "it's the first");
    EXPECT_EQ(db().getMessage(1).date, 100U);
    EXPECT_EQ(db().getReceivedMessage(1001).dbID, 1);
    EXPECT_EQ(db().getRoomInfo(7).capacity, 500U);
    EXPECT_EQ(db().getLastMsgID("user"), 2011);
    EXPECT_EQ(db().getMsgConfig(PelkoRoom(7U)), 1);
    EXPECT_EQ(db().getNottify(1).date, 300);
    mStore.runAll();
    EXPECT_THAT(mStore.lines(), IsEmpty());
}

TEST_F(HostileSchemaTest, NamesInOtherLetters) {
    // SQL does not tell them apart; the columns of a result go by their exact names.
    replaceTable("tbl_msg_config",
                 "(TARGET_TYPE integer, TARGET_ID text, MSG_CONFIG integer, constraint "
                 "pk_t2 primary key (TARGET_TYPE, TARGET_ID))");
    plant(
        "ALTER TABLE tbl_msg RENAME TO old; ALTER TABLE old RENAME TO TBL_MSG;"
        "ALTER TABLE tbl_last_msg_id RENAME TO old; ALTER TABLE old RENAME TO Tbl_Last_Msg_Id");
    mStore.open();
    mStore.runAll();
    EXPECT_THAT(mStore.lines(), Each(HasSubstr("no such column in the result: msg_config")));
    EXPECT_EQ(db().getMessage(4).date, 103U);
    EXPECT_EQ(db().getLastMsgID("room_7"), 5);
}

// ---- names that are taken

TEST_F(HostileSchemaTest, AnIndexOfOurNameOnSomethingElse) {
    plant(
        "DROP INDEX idx_msg_msg_id; CREATE INDEX idx_msg_msg_id ON tbl_room (capacity);"
        "DROP INDEX idx_msg_room; CREATE INDEX idx_msg_room ON tbl_msg (text) WHERE text > 'x';"
        "DROP INDEX idx_msg_transfer; CREATE UNIQUE INDEX idx_msg_transfer ON tbl_msg (db_id, status);"
        "DROP INDEX idx_msg_unread; CREATE INDEX idx_msg_unread ON tbl_msg (length(text), status)");
    expectUsual();
}

TEST_F(HostileSchemaTest, AnIndexWithTheNameOfATable) {
    plant("DROP TABLE tbl_user; CREATE INDEX tbl_user ON tbl_room (name)");
    EXPECT_TRUE(mStore.open());
    EXPECT_THAT(
        mStore.lines(),
        ElementsAre("createUserTable failed, exception in (there is already an index named tbl_user)."));
    EXPECT_THAT(linesOf("insertOrUpdateUser"),
                ElementsAre("checkIfRecordExist failed, exception in (no such table: tbl_user).",
                            "insertOrUpdateUser failed, exception in (no such table: tbl_user)."));
    mStore.runAll();
}

TEST_F(HostileSchemaTest, ATableWithTheNameOfAnIndex) {
    plant("DROP INDEX idx_msg_msg_id; CREATE TABLE idx_msg_msg_id (a)");
    EXPECT_TRUE(mStore.open());
    EXPECT_THAT(mStore.lines(),
                ElementsAre("createIndexesIfNotExist failed, exception in (there is already a "
                            "table named idx_msg_msg_id)."));
    mStore.forget();
    mStore.runAll();
    EXPECT_THAT(mStore.lines(), IsEmpty());
}

TEST_F(HostileSchemaTest, NamesOfIndexesThatAreStatementsAreLeftAlone) {
    // A long conversation, which would take the place of one of these indexes if they were the store's own.
    plant(
        "INSERT INTO tbl_msg (msg_id, date, receiver_type, receiver_id, sender_type, sender_id, text) WITH "
        "RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 2500) SELECT 9000 + i, i, 0, "
        "'me', 0, 'alice', 'x' FROM n");
    const StoredRows before = rows();
    for (const char* const name :
         {"idx_msg_with_1; DELETE FROM tbl_msg", "idx_msg_with_1 --; DELETE FROM tbl_msg",
          "idx_msg_with_1\"\"; DROP TABLE tbl_msg", "idx_msg_with_1'; DROP TABLE tbl_msg",
          "idx_msg_with_x.y"}) {
        SCOPED_TRACE(name);
        const std::string quoted = std::string("\"") + name + '"';
        plant("CREATE INDEX " + quoted + " ON tbl_room (name)");
        for (const std::string other : {"idx_msg_with_a", "idx_msg_with_b", "idx_msg_with_c"}) {
            plant("CREATE INDEX " + other + " ON tbl_room (name)");
        }
        mStore.forget();
        EXPECT_TRUE(mStore.open());
        EXPECT_THAT(mStore.lines(), IsEmpty());
        mStore.close();
        EXPECT_EQ(difference(before, rows()), "");
        for (const std::string& index : {quoted, std::string("idx_msg_with_a"), std::string("idx_msg_with_b"),
                                         std::string("idx_msg_with_c")}) {
            plant("DROP INDEX " + index);
        }
    }
    mStore.forget();
    EXPECT_TRUE(mStore.open());
    EXPECT_THAT(mStore.lines(), IsEmpty());
}

// ---- the file as a whole

TEST_F(HostileSchemaTest, ASchemaThatCannotBeReadIsRefused) {
    for (const std::string& row : std::vector<std::string>{
             "'table', 'x', 'x', 3, 'CREATE TABLE x ('", "'table', 'x', 'x', 999999, 'CREATE TABLE x (a)'",
             "'index', 'x', 'tbl_msg', 3, 'CREATE INDEX x ON tbl_msg (nosuch)'",
             "'table', 'x', 'x', 3, 'CREATE TABLE x (a CHECK (" + std::string(5000, '(') + "'",
             "'table', 'x', 'x', 3, 'SELECT 1'", "'table', 'x', 'x', 3, 'DROP TABLE tbl_msg'"}) {
        SCOPED_TRACE(row.substr(0, 100));
        fresh();
        plant("PRAGMA writable_schema = 1; INSERT INTO sqlite_master VALUES (" + row + ")");
        EXPECT_FALSE(mStore.open());
        EXPECT_THAT(mStore.lines(),
                    ElementsAre(HasSubstr("setUp failed, exception in (malformed database schema (")));
        mStore.runAll();
    }
}

TEST_F(HostileSchemaTest, OtherFormsOfTheFile) {
    const StoredRows before = rows();
    for (const std::string form :
         {"PRAGMA page_size = 512", "PRAGMA page_size = 65536", "PRAGMA auto_vacuum = FULL",
          "PRAGMA auto_vacuum = INCREMENTAL", "PRAGMA legacy_file_format = 1"}) {
        SCOPED_TRACE(form);
        fresh();
        // Only a file that is not in write-ahead logging is written anew in another form.
        plant("PRAGMA journal_mode = DELETE; " + form + "; VACUUM");
        EXPECT_EQ(difference(before, rows()), "");
        expectUsual();
        EXPECT_EQ(integrityOf(mStore.dbPath()), "ok");
    }
}

TEST_F(HostileSchemaTest, TextsOfSixteenBits) {
    for (const std::string encoding : {"UTF-16le", "UTF-16be"}) {
        SCOPED_TRACE(encoding);
        mStore.clear();
        plant("PRAGMA encoding = '" + encoding + "'; CREATE TABLE first (a)");
        mStore.open();
        fillStore(db());
        mStore.close();
        mStore.open();
        mStore.close();
        expectUsual();
    }
}

}  // namespace

}  // namespace pelkotest
