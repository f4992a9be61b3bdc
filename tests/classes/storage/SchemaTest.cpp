#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/StoreTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Access = PelkoDBManagerTestAccess;

namespace {

struct Column {
    const char* name;
    const char* type;
    int keyPosition = 0;  ///< place in the primary key, from 1; 0 for none
};

struct Table {
    const char* operation;
    bool (*create)(PelkoDBManager&);
    const char* name;
    /// The statement without "CREATE TABLE IF NOT EXISTS ", which SQLite drops from what it keeps.
    const char* definition;
    std::vector<Column> columns;

    std::string statement() const { return std::string("CREATE TABLE IF NOT EXISTS ") + definition; }
};

void PrintTo(const Table& table, std::ostream* out) {
    *out << table.name;
}

/// The ten tables in the order in which they are made.
const std::vector<Table>& tables() {
    static const std::vector<Table> all = {
        {"createMsgTable",
         Access::createMsgTable,
         "tbl_msg",
         "tbl_msg (msg_id bigint, db_id integer primary key, type integer, date integer, text text, "
         "media_type integer, media_path text, ex_media_path text, media_url text, media_status integer, "
         "duration integer, receiver_type integer, receiver_id text, sender_type integer, sender_id text, "
         "status integer, extra_path text)",
         {{"msg_id", "bigint"},
          {"db_id", "integer", 1},
          {"type", "integer"},
          {"date", "integer"},
          {"text", "text"},
          {"media_type", "integer"},
          {"media_path", "text"},
          {"ex_media_path", "text"},
          {"media_url", "text"},
          {"media_status", "integer"},
          {"duration", "integer"},
          {"receiver_type", "integer"},
          {"receiver_id", "text"},
          {"sender_type", "integer"},
          {"sender_id", "text"},
          {"status", "integer"},
          {"extra_path", "text"}}},
        {"createRelationshipTable",
         Access::createRelationshipTable,
         "tbl_relationship",
         "tbl_relationship (username text, block_state integr)",
         {{"username", "text"}, {"block_state", "integr"}}},
        {"createUserTable",
         Access::createUserTable,
         "tbl_user",
         "tbl_user (username text primary key, nickname text, icon_url text, icon_path text, "
         "ex_icon_path text, info text, gender integer, info_version integer)",
         {{"username", "text", 1},
          {"nickname", "text"},
          {"icon_url", "text"},
          {"icon_path", "text"},
          {"ex_icon_path", "text"},
          {"info", "text"},
          {"gender", "integer"},
          {"info_version", "integer"}}},
        {"createRoomTable",
         Access::createRoomTable,
         "tbl_room",
         "tbl_room (room_id integer primary key, name text, icon_url text, icon_path text, "
         "icon_path_ex text, is_top integer, info text, capacity integer, online_number integer, "
         "info_version integer)",
         {{"room_id", "integer", 1},
          {"name", "text"},
          {"icon_url", "text"},
          {"icon_path", "text"},
          {"icon_path_ex", "text"},
          {"is_top", "integer"},
          {"info", "text"},
          {"capacity", "integer"},
          {"online_number", "integer"},
          {"info_version", "integer"}}},
        {"createGroupTable",
         Access::createGroupTable,
         "tbl_group",
         "tbl_group (group_id bigint primary key, name text, icon_url text, icon_path text, "
         "icon_path_ex text, info text, capacity integer, type integer, owner text, info_version integer, "
         "need_auth integer)",
         {{"group_id", "bigint", 1},
          {"name", "text"},
          {"icon_url", "text"},
          {"icon_path", "text"},
          {"icon_path_ex", "text"},
          {"info", "text"},
          {"capacity", "integer"},
          {"type", "integer"},
          {"owner", "text"},
          {"info_version", "integer"},
          {"need_auth", "integer"}}},
        {"createGroupListTable",
         Access::createGroupListTable,
         "tbl_group_list",
         "tbl_group_list (group_id bigint primary key)",
         {{"group_id", "bigint", 1}}},
        {"createSessionTable",
         Access::createSessionTable,
         "tbl_session",
         "tbl_session (target_type integer, target_id text, last_msg_id bigint, is_top integer, "
         "priority integer, constraint pk_t2 primary key (target_type, target_id))",
         {{"target_type", "integer", 1},
          {"target_id", "text", 2},
          {"last_msg_id", "bigint"},
          {"is_top", "integer"},
          {"priority", "integer"}}},
        {"createNotifyTable",
         Access::createNotifyTable,
         "tbl_notify",
         "tbl_notify (db_id integer primary key AUTOINCREMENT, date integer, is_read integer, "
         "sender_type integer, sender_id bigint, sender_name text, receiver_type integer, "
         "receiver_id bigint, receiver_name text, from_type integer, from_id bigint, from_name text, "
         "is_system integer, response integer, type integer, text text)",
         {{"db_id", "integer", 1},
          {"date", "integer"},
          {"is_read", "integer"},
          {"sender_type", "integer"},
          {"sender_id", "bigint"},
          {"sender_name", "text"},
          {"receiver_type", "integer"},
          {"receiver_id", "bigint"},
          {"receiver_name", "text"},
          {"from_type", "integer"},
          {"from_id", "bigint"},
          {"from_name", "text"},
          {"is_system", "integer"},
          {"response", "integer"},
          {"type", "integer"},
          {"text", "text"}}},
        {"createLastMsgIdTable",
         Access::createLastMsgIdTable,
         "tbl_last_msg_id",
         "tbl_last_msg_id (key text primary key, last_msg_id bigint)",
         {{"key", "text", 1}, {"last_msg_id", "bigint"}}},
        {"createMsgConfigTable",
         Access::createMsgConfigTable,
         "tbl_msg_config",
         "tbl_msg_config (target_type integer, target_id text, msg_config integer, "
         "constraint pk_t2 primary key (target_type, target_id))",
         {{"target_type", "integer", 1}, {"target_id", "text", 2}, {"msg_config", "integer"}}},
    };
    return all;
}

std::vector<std::string> allCreateStatements() {
    std::vector<std::string> all;
    for (const Table& table : tables()) {
        all.push_back(table.statement());
    }
    return all;
}

class SchemaTest : public StoreTest {
protected:
    int run(const std::string& sql) { return Access::connection(db())->execDML(sql.c_str()); }

    void expectKeyRejects(const std::string& insertStatement) {
        EXPECT_EQ(run(insertStatement), 1) << insertStatement;
        EXPECT_THROW(run(insertStatement), CppSQLite3Exception) << insertStatement;
    }

    std::vector<Row> schema() const {
        return rows("SELECT name, sql, rootpage FROM sqlite_master ORDER BY name");
    }
};

// ---- all tables together

TEST_F(SchemaTest, TablesAreMadeInOrder) {
    Access::createTablesIfNotExist(db());
    EXPECT_EQ(statements(), allCreateStatements());
    expectNothingLogged();
}

TEST_F(SchemaTest, SetUpMakesTheTablesOfANewFile) {
    const TemporaryFolder other;
    close();
    platform().userRoot = other.path().string();
    forget();
    ASSERT_TRUE(db().setUp());
    std::vector<std::string> creates;
    for (const std::string& statement : statements()) {
        if (statement.rfind("CREATE TABLE", 0) == 0) {
            creates.push_back(statement);
        }
    }
    EXPECT_EQ(creates, allCreateStatements());
}

TEST_F(SchemaTest, FileHoldsExactlyTheTenTables) {
    std::vector<Row> expected;
    for (const Table& table : tables()) {
        expected.push_back({table.name, std::string("CREATE TABLE ") + table.definition});
    }
    EXPECT_EQ(rows("SELECT name, sql FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite_%' "
                   "ORDER BY rowid"),
              expected);
    EXPECT_EQ(value("SELECT count(*) FROM sqlite_master WHERE type IN ('view', 'trigger')"), "0");
}

TEST_F(SchemaTest, OpeningAnExistingFileLeavesTablesAndRowsAsTheyAre) {
    run("INSERT INTO tbl_msg (msg_id, text) VALUES (7, 'kept')");
    run("INSERT INTO tbl_session VALUES (1, '5', 6, 1, 2)");
    const std::vector<Row> before = schema();
    reopen();
    EXPECT_EQ(schema(), before);
    EXPECT_EQ(rows("SELECT msg_id, text FROM tbl_msg"), (std::vector<Row>{{"7", "kept"}}));
    EXPECT_EQ(rows("SELECT * FROM tbl_session"), (std::vector<Row>{{"1", "5", "6", "1", "2"}}));
    expectNothingLogged();
}

TEST_F(SchemaTest, ATableOfAnotherShapeIsLeftAsItIs) {
    changeTables("DROP TABLE tbl_room; CREATE TABLE tbl_room (other text)");
    EXPECT_TRUE(Access::createRoomTable(db()));
    EXPECT_EQ(value("SELECT sql FROM sqlite_master WHERE name = 'tbl_room'"),
              "CREATE TABLE tbl_room (other text)");
}

TEST_F(SchemaTest, CreateTablesOnAClosedManagerReportsEveryTable) {
    close();
    forget();
    Access::createTablesIfNotExist(db());
    ASSERT_EQ(platform().file.size(), tables().size());
    for (std::size_t i = 0; i < tables().size(); ++i) {
        EXPECT_THAT(platform().file[i], HasSubstr(tables()[i].operation));
    }
}

TEST_F(SchemaTest, ConfigTableDoesNotExist) {
    EXPECT_TRUE(Access::createConfigTable(db()));
    close();
    forget();
    EXPECT_TRUE(Access::createConfigTable(db()));
    EXPECT_THAT(statements(), IsEmpty());
    expectNothingLogged();
}

// ---- each table

class EachTable : public SchemaTest, public testing::WithParamInterface<Table> {};

TEST_P(EachTable, IsMadeWhereItIsMissing) {
    const Table& table = GetParam();
    changeTables(std::string("DROP TABLE ") + table.name);
    EXPECT_TRUE(table.create(db()));
    EXPECT_THAT(statements(), ElementsAre(table.statement()));
    EXPECT_EQ(value(std::string("SELECT sql FROM sqlite_master WHERE name = '") + table.name + "'"),
              std::string("CREATE TABLE ") + table.definition);
    expectNothingLogged();
}

TEST_P(EachTable, HasItsColumnsInOrder) {
    std::vector<Row> expected;
    for (const Column& column : GetParam().columns) {
        expected.push_back({column.name, column.type, std::to_string(column.keyPosition)});
    }
    // SQLite may spell its own types in capitals here.
    EXPECT_EQ(
        rows(std::string("SELECT name, lower(type), pk FROM pragma_table_info('") + GetParam().name + "')"),
        expected);
}

TEST_P(EachTable, IsLeftAloneWhereItExists) {
    const std::vector<Row> before = schema();
    EXPECT_TRUE(GetParam().create(db()));                        // after a statement that changed no row
    run("INSERT INTO tbl_relationship VALUES ('somebody', 0)");  // a change count of 1
    EXPECT_TRUE(GetParam().create(db()));
    EXPECT_EQ(schema(), before);
    expectNothingLogged();
}

TEST_P(EachTable, IsNotMadeWhenNotReady) {
    close();
    forget();
    EXPECT_FALSE(GetParam().create(db()));
    expectNotReadyLogged(GetParam().operation);
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_P(EachTable, IsNotMadeWithAClosedConnection) {
    Access::connection(db())->close();
    EXPECT_FALSE(GetParam().create(db()));
    expectNotReadyLogged(GetParam().operation);
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_P(EachTable, FailsUnderItsOwnNameWhileSetUpSucceeds) {
    const Table& table = GetParam();
    const std::string name = table.name;
    // An index of the table's name, on a table that none of the others needs.
    changeTables("DROP TABLE " + name + "; CREATE TABLE obstacle (x); CREATE INDEX " + name +
                 " ON obstacle (x)");
    EXPECT_FALSE(table.create(db()));
    expectFailureLogged(table.operation, HasSubstr("already an index named " + name));

    forget();
    reopen();
    EXPECT_TRUE(Access::isDBReady(db()));
    const auto reported = [&](const std::string& line) {
        return line == std::string(table.operation) +
                           " failed, exception in (there is already an index named " + name + ").";
    };
    EXPECT_EQ(std::count_if(platform().file.begin(), platform().file.end(), reported), 1);
    EXPECT_EQ(value("SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name LIKE 'tbl%'"), "9");
}

INSTANTIATE_TEST_SUITE_P(All, EachTable, testing::ValuesIn(tables()),
                         [](const testing::TestParamInfo<Table>& table) { return table.param.name; });

// ---- keys

TEST_F(SchemaTest, KeysRejectASecondRow) {
    expectKeyRejects("INSERT INTO tbl_session VALUES (1, '5', 0, 0, 0)");
    expectKeyRejects("INSERT INTO tbl_msg_config VALUES (1, '5', 0)");
    expectKeyRejects("INSERT INTO tbl_msg (db_id) VALUES (3)");
    expectKeyRejects("INSERT INTO tbl_user (username) VALUES ('alice')");
    expectKeyRejects("INSERT INTO tbl_room (room_id) VALUES (1)");
    expectKeyRejects("INSERT INTO tbl_group (group_id) VALUES (1)");
    expectKeyRejects("INSERT INTO tbl_group_list VALUES (1)");
    expectKeyRejects("INSERT INTO tbl_last_msg_id VALUES ('stream', 1)");
    expectKeyRejects("INSERT INTO tbl_notify (db_id) VALUES (1)");
}

TEST_F(SchemaTest, SessionKeyIsThePairOfKindAndId) {
    EXPECT_EQ(run("INSERT INTO tbl_session VALUES (1, '5', 0, 0, 0)"), 1);
    EXPECT_EQ(run("INSERT INTO tbl_session VALUES (2, '5', 0, 0, 0)"), 1);
    EXPECT_EQ(run("INSERT INTO tbl_session VALUES (1, '6', 0, 0, 0)"), 1);
    EXPECT_EQ(run("INSERT INTO tbl_msg_config VALUES (1, '5', 0)"), 1);
    EXPECT_EQ(run("INSERT INTO tbl_msg_config VALUES (2, '5', 0)"), 1);
}

TEST_F(SchemaTest, OneUserMayHaveSeveralRelationshipRows) {
    EXPECT_EQ(run("INSERT INTO tbl_relationship VALUES ('alice', 0)"), 1);
    EXPECT_EQ(run("INSERT INTO tbl_relationship VALUES ('alice', 0)"), 1);
    EXPECT_EQ(value("SELECT count(*) FROM tbl_relationship"), "2");
}

TEST_F(SchemaTest, ServiceIdOfAMessageIsNoKey) {
    EXPECT_EQ(run("INSERT INTO tbl_msg (msg_id) VALUES (7)"), 1);
    EXPECT_EQ(run("INSERT INTO tbl_msg (msg_id) VALUES (7)"), 1);
    EXPECT_EQ(value("SELECT count(*) FROM tbl_msg WHERE msg_id = 7 AND db_id = rowid"), "2");
}

TEST_F(SchemaTest, RowIdOfADeletedNotificationIsNeverUsedAgain) {
    run("INSERT INTO tbl_notify (text) VALUES ('first')");
    run("INSERT INTO tbl_notify (text) VALUES ('second')");
    run("DELETE FROM tbl_notify WHERE db_id = 2");
    reopen();
    run("INSERT INTO tbl_notify (text) VALUES ('third')");
    EXPECT_EQ(rows("SELECT db_id, text FROM tbl_notify"), (std::vector<Row>{{"1", "first"}, {"3", "third"}}));
    run("DELETE FROM tbl_notify");
    run("INSERT INTO tbl_notify (text) VALUES ('fourth')");
    EXPECT_EQ(value("SELECT db_id FROM tbl_notify"), "4");
}

TEST_F(SchemaTest, ColumnsKeepWhatTheirTypesSay) {
    run("INSERT INTO tbl_relationship VALUES ('alice', '1')");  // the misspelt type still means a number
    EXPECT_EQ(value("SELECT typeof(block_state) FROM tbl_relationship"), "integer");
    run("INSERT INTO tbl_msg (sender_id, receiver_id) VALUES (5, 6)");
    EXPECT_EQ(rows("SELECT typeof(sender_id), typeof(receiver_id) FROM tbl_msg"),
              (std::vector<Row>{{"text", "text"}}));
    run("INSERT INTO tbl_notify (sender_id, receiver_id) VALUES ('5', '6')");
    EXPECT_EQ(rows("SELECT typeof(sender_id), typeof(receiver_id) FROM tbl_notify"),
              (std::vector<Row>{{"integer", "integer"}}));
}

}  // namespace
