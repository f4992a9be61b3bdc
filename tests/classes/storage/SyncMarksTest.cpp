#include <climits>
#include <string>
#include <type_traits>
#include <vector>

#include "classes/storage/PelkoDBManager.h"
#include "tests/support/StoreTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

static_assert(
    std::is_same_v<decltype(&PelkoDBManager::getLastMsgID), s64 (PelkoDBManager::*)(const std::string&)>);
static_assert(std::is_same_v<decltype(&PelkoDBManager::updateLastMsgID),
                             bool (PelkoDBManager::*)(const std::string&, s64)>);
static_assert(
    std::is_same_v<decltype(&PelkoDBManager::getMsgConfig), int (PelkoDBManager::*)(const PelkoChatTarget&)>);
static_assert(std::is_same_v<decltype(&PelkoDBManager::setMsgConfig),
                             bool (PelkoDBManager::*)(const PelkoChatTarget&, int)>);

/// Keys with a quote, which would end the literal early, if they could.
const char* const quotedKeys[] = {
    "'",      "a''b",         "it's",        "x'||'y",
    "x', 'y", "x' OR '1'='1", "x', 1), ('y", "x'; DROP TABLE tbl_last_msg_id; --"};

class SyncMarksTest : public StoreTest {
protected:
    /// The same, of which only the syncOperations are given: each has met a database error.
    static void expectFailuresLogged(const std::string& first, const std::string& second) {
        const std::string what = " failed, exception in (";
        EXPECT_THAT(platform().file, ElementsAre(StartsWith(first + what), StartsWith(second + what)));
        EXPECT_THAT(platform().console,
                    ElementsAre(StartsWith("[pelko]" + first + what), StartsWith("[pelko]" + second + what)));
    }
    std::vector<Row> marks() const { return rows("SELECT * FROM tbl_last_msg_id ORDER BY rowid"); }
    std::vector<Row> settings() const { return rows("SELECT * FROM tbl_msg_config ORDER BY rowid"); }
};

// ---- sync marks

constexpr char markOfK[] = "SELECT last_msg_id FROM tbl_last_msg_id WHERE key = 'k'";
constexpr char insertOfK[] = "INSERT INTO tbl_last_msg_id (key, last_msg_id) VALUES ('k', 100)";

TEST_F(SyncMarksTest, AnUnknownKeyIsZero) {
    execute("INSERT INTO tbl_last_msg_id VALUES ('other', 5)");
    EXPECT_EQ(db().getLastMsgID("k"), 0);
    EXPECT_THAT(statements(), ElementsAre(markOfK));
    expectNothingLogged();
}

TEST_F(SyncMarksTest, AStoredMarkIsRead) {
    execute(
        "INSERT INTO tbl_last_msg_id VALUES ('other', 5), ('k', 9223372036854775807), ('null', NULL), "
        "('negative', -9223372036854775808)");
    EXPECT_EQ(db().getLastMsgID("k"), LLONG_MAX);
    EXPECT_EQ(db().getLastMsgID("negative"), LLONG_MIN);
    EXPECT_EQ(db().getLastMsgID("null"), 0);
    EXPECT_EQ(statements().front(), markOfK);
    expectNothingLogged();
}

TEST_F(SyncMarksTest, AFirstMarkIsInserted) {
    EXPECT_TRUE(db().updateLastMsgID("k", 100));
    EXPECT_THAT(statements(), ElementsAre(markOfK, insertOfK));
    EXPECT_THAT(marks(), ElementsAre(Row{"k", "100"}));
    expectNothingLogged();
}

TEST_F(SyncMarksTest, ALaterMarkReplacesIt) {
    execute("INSERT INTO tbl_last_msg_id VALUES ('k', 1), ('other', 5)");
    EXPECT_TRUE(db().updateLastMsgID("k", 100));
    EXPECT_THAT(statements(),
                ElementsAre(markOfK, "UPDATE tbl_last_msg_id SET last_msg_id = 100 WHERE key = 'k'"));
    EXPECT_THAT(marks(), ElementsAre(Row{"k", "100"}, Row{"other", "5"}));
    expectNothingLogged();
}

TEST_F(SyncMarksTest, ASmallerMarkReplacesALargerOne) {
    EXPECT_TRUE(db().updateLastMsgID("k", 100));
    EXPECT_TRUE(db().updateLastMsgID("k", 50));
    EXPECT_EQ(db().getLastMsgID("k"), 50);
    EXPECT_TRUE(db().updateLastMsgID("k", LLONG_MAX));
    EXPECT_TRUE(db().updateLastMsgID("k", 1));
    EXPECT_TRUE(db().updateLastMsgID("k", 1));
    EXPECT_THAT(marks(), ElementsAre(Row{"k", "1"}));
    reopen();
    EXPECT_EQ(db().getLastMsgID("k"), 1);
}

TEST_F(SyncMarksTest, AMarkBelowOneIsRefusedSilently) {
    execute("INSERT INTO tbl_last_msg_id VALUES ('k', 100)");
    for (const s64 msgId : {0LL, -1LL, LLONG_MIN}) {
        EXPECT_FALSE(db().updateLastMsgID("k", msgId));
        EXPECT_FALSE(db().updateLastMsgID("it's", msgId));
    }
    EXPECT_THAT(statements(), IsEmpty());
    expectNothingLogged();
    EXPECT_THAT(marks(), ElementsAre(Row{"k", "100"}));
}

TEST_F(SyncMarksTest, ARowBelowOneFailsOnTheKey) {
    for (const char* const stored : {"0", "-7", "NULL"}) {
        SCOPED_TRACE(stored);
        execute(std::string("DELETE FROM tbl_last_msg_id; INSERT INTO tbl_last_msg_id VALUES ('k', ") +
                stored + ")");
        const std::vector<Row> before = marks();
        forget();
        EXPECT_FALSE(db().updateLastMsgID("k", 100));
        EXPECT_THAT(statements(), ElementsAre(markOfK, insertOfK));
        expectFailureLogged("updateLastMsgID", "UNIQUE constraint failed: tbl_last_msg_id.key");
        EXPECT_EQ(marks(), before);
    }
}

TEST_F(SyncMarksTest, TheChangeCountOfAMarkIsNotLookedAt) {
    changeTables(
        "CREATE TRIGGER i BEFORE INSERT ON tbl_last_msg_id BEGIN SELECT RAISE(IGNORE); END;"
        "CREATE TRIGGER u BEFORE UPDATE ON tbl_last_msg_id BEGIN SELECT RAISE(IGNORE); END");
    EXPECT_TRUE(db().updateLastMsgID("k", 100));
    EXPECT_THAT(marks(), IsEmpty());
    execute("DROP TRIGGER i; INSERT INTO tbl_last_msg_id VALUES ('k', 5)");
    EXPECT_TRUE(db().updateLastMsgID("k", 100));
    EXPECT_THAT(marks(), ElementsAre(Row{"k", "5"}));
    expectNothingLogged();
}

TEST_F(SyncMarksTest, FailingChangesOfMarksAreLogged) {
    changeTables(
        "INSERT INTO tbl_last_msg_id VALUES ('k', 5);"
        "CREATE TRIGGER i BEFORE INSERT ON tbl_last_msg_id BEGIN SELECT RAISE(ABORT, 'no insert'); END;"
        "CREATE TRIGGER u BEFORE UPDATE ON tbl_last_msg_id BEGIN SELECT RAISE(ABORT, 'no update'); END");
    EXPECT_FALSE(db().updateLastMsgID("new", 100));
    expectFailureLogged("updateLastMsgID", "no insert");
    forget();
    EXPECT_FALSE(db().updateLastMsgID("k", 100));
    expectFailureLogged("updateLastMsgID", "no update");
    EXPECT_THAT(marks(), ElementsAre(Row{"k", "5"}));
}

TEST_F(SyncMarksTest, AMarkWithoutTheTableFailsTwice) {
    changeTables("DROP TABLE tbl_last_msg_id");
    EXPECT_FALSE(db().updateLastMsgID("k", 100));
    expectLogged({"getLastMsgID failed, exception in (no such table: tbl_last_msg_id).",
                  "updateLastMsgID failed, exception in (no such table: tbl_last_msg_id)."});
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(SyncMarksTest, AMarkThatCannotBeReadIsInserted) {
    changeTables(
        "ALTER TABLE tbl_last_msg_id RENAME TO kept; INSERT INTO kept VALUES ('k', 5);"
        "CREATE VIEW tbl_last_msg_id AS SELECT key, abs(-9223372036854775807 - 1) AS last_msg_id FROM kept;"
        "CREATE TRIGGER i INSTEAD OF INSERT ON tbl_last_msg_id BEGIN"
        " INSERT INTO kept VALUES (NEW.key || ' inserted', NEW.last_msg_id); END");
    EXPECT_TRUE(db().updateLastMsgID("k", 100));
    expectFailureLogged("getLastMsgID", "integer overflow");
    EXPECT_THAT(rows("SELECT * FROM kept"), ElementsAre(Row{"k", "5"}, Row{"k inserted", "100"}));
}

TEST_F(SyncMarksTest, TheFirstOfSeveralMarksAndSettingsIsRead) {
    changeTables(
        "DROP TABLE tbl_last_msg_id; CREATE TABLE tbl_last_msg_id (key, last_msg_id);"
        "INSERT INTO tbl_last_msg_id VALUES ('k', 5), ('k', 6);"
        "DROP TABLE tbl_msg_config; CREATE TABLE tbl_msg_config (target_type, target_id, msg_config);"
        "INSERT INTO tbl_msg_config VALUES (2, '7', 8), (2, '7', 9)");
    EXPECT_EQ(db().getLastMsgID("k"), 5);
    EXPECT_EQ(db().getMsgConfig(PelkoGroup(7)), 8);
}

TEST_F(SyncMarksTest, KeysWithAQuoteFailBothOperations) {
    execute("INSERT INTO tbl_last_msg_id VALUES ('x', 1), ('xy', 2), ('a''b', 3), ('it''s', 4), ('', 5)");
    const std::vector<Row> before = marks();
    for (const std::string key : quotedKeys) {
        SCOPED_TRACE(key);
        forget();
        EXPECT_EQ(db().getLastMsgID(key), 0);
        expectFailureLogged("getLastMsgID");
        forget();
        EXPECT_FALSE(db().updateLastMsgID(key, 100));
        expectFailuresLogged("getLastMsgID", "updateLastMsgID");
        EXPECT_THAT(statements(), IsEmpty());
        EXPECT_EQ(marks(), before);
    }
}

TEST_F(SyncMarksTest, OtherKeysAreKeptByteForByte) {
    std::vector<std::string> keys = {"",   "%s%n%d %", ";",    "a;b -- c",      "\\", "\"q\"",
                                     "/*", "a\nb",     "null", "J\xC3\xBCrgen", "K",  "k"};
    keys.emplace_back(5000, 'k');
    s64 mark = 0;
    for (const std::string& key : keys) {
        SCOPED_TRACE(key);
        EXPECT_EQ(db().getLastMsgID(key), 0);
        EXPECT_TRUE(db().updateLastMsgID(key, ++mark));
        EXPECT_EQ(db().getLastMsgID(key), mark);
        EXPECT_TRUE(db().updateLastMsgID(key, mark + 1000));
        EXPECT_EQ(marks().back(), (Row{key, std::to_string(mark + 1000)}));
    }
    EXPECT_EQ(marks().size(), keys.size());
    expectNothingLogged();
}

// ---- message settings

/// A target of each kind whose id is a number: those that can get a first setting.
struct NumericTarget {
    PelkoChatTarget target;
    std::string kind;
    std::string id;      ///< as the statements hold it
    std::string stored;  ///< as the row holds it
};

void PrintTo(const NumericTarget& target, std::ostream* out) {
    *out << target.kind << " " << target.id;
}

class NumericTargets : public SyncMarksTest, public testing::WithParamInterface<NumericTarget> {};

TEST_P(NumericTargets, GetAFirstSettingAndThenOthers) {
    const auto& [target, kind, id, stored] = GetParam();
    const std::string query =
        "SELECT msg_config FROM tbl_msg_config WHERE target_type = " + kind + " AND target_id = '" + id + "'";
    EXPECT_EQ(db().getMsgConfig(target), -1);
    EXPECT_THAT(statements(), ElementsAre(query));
    forget();
    EXPECT_TRUE(db().setMsgConfig(target, 5));
    EXPECT_THAT(
        statements(),
        ElementsAre(query, "INSERT INTO tbl_msg_config (target_type, target_id, msg_config) VALUES (" + kind +
                               ", " + id + ", 5)"));
    EXPECT_THAT(settings(), ElementsAre(Row{kind, stored, "5"}));
    EXPECT_EQ(value("SELECT typeof(target_id) FROM tbl_msg_config"), "text");
    expectNothingLogged();

    forget();
    if (id == stored) {
        EXPECT_EQ(db().getMsgConfig(target), 5);
        forget();
        EXPECT_TRUE(db().setMsgConfig(target, 0));
        EXPECT_THAT(statements(),
                    ElementsAre(query, "UPDATE tbl_msg_config SET msg_config = 0 WHERE target_type= " + kind +
                                           " AND target_id = '" + id + "'"));
        EXPECT_EQ(db().getMsgConfig(target), 0);
        expectNothingLogged();
    } else {  // stored as another text than it is looked up by
        EXPECT_EQ(db().getMsgConfig(target), -1);
        EXPECT_FALSE(db().setMsgConfig(target, 6));
        expectFailureLogged("setMsgConfig", StartsWith("UNIQUE constraint failed"));
        EXPECT_THAT(settings(), ElementsAre(Row{kind, stored, "5"}));
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, NumericTargets,
    testing::Values(
        NumericTarget{PelkoUser("123"), "0", "123", "123"}, NumericTarget{PelkoUser("0"), "0", "0", "0"},
        NumericTarget{PelkoUser("-5"), "0", "-5", "-5"}, NumericTarget{PelkoUser("+5"), "0", "+5", "5"},
        NumericTarget{PelkoUser("007"), "0", "007", "7"}, NumericTarget{PelkoUser("-0"), "0", "-0", "0"},
        NumericTarget{PelkoUser(std::string("12\0'x", 5)), "0", "12", "12"},
        NumericTarget{PelkoUser("9223372036854775807"), "0", "9223372036854775807", "9223372036854775807"},
        NumericTarget{PelkoUser("99999999999999999999"), "0", "99999999999999999999", "1.0e+20"},
        NumericTarget{PelkoRoom(4294967295U), "1", "4294967295", "4294967295"},
        NumericTarget{PelkoGroup(9007199254740993), "2", "9007199254740993", "9007199254740993"},
        NumericTarget{PelkoGroup(-12), "2", "-12", "-12"},
        NumericTarget{PelkoCustomerService(7U), "3", "7", "7"}));

TEST_F(SyncMarksTest, SettingsBelongToOneKindAndId) {
    execute(
        "INSERT INTO tbl_msg_config VALUES (0, '7', 10), (1, '7', 11), (2, '7', NULL), (2, '8', 2147483648)");
    EXPECT_EQ(db().getMsgConfig(PelkoUser("7")), 10);
    EXPECT_EQ(db().getMsgConfig(PelkoRoom(7U)), 11);
    EXPECT_EQ(db().getMsgConfig(PelkoGroup(7)), 0);  // a row without a value
    EXPECT_EQ(db().getMsgConfig(PelkoGroup(8)), INT_MIN);
    EXPECT_EQ(db().getMsgConfig(PelkoCustomerService(7U)), -1);
    EXPECT_TRUE(db().setMsgConfig(PelkoRoom(7U), INT_MAX));
    EXPECT_THAT(settings(), ElementsAre(Row{"0", "7", "10"}, Row{"1", "7", "2147483647"}, Row{"2", "7", {}},
                                        Row{"2", "8", "2147483648"}));
    expectNothingLogged();
    reopen();
    EXPECT_EQ(db().getMsgConfig(PelkoRoom(7U)), INT_MAX);
}

TEST_F(SyncMarksTest, ANegativeSettingCannotBeReplaced) {
    EXPECT_TRUE(db().setMsgConfig(PelkoGroup(7), -1));
    EXPECT_EQ(db().getMsgConfig(PelkoGroup(7)), -1);
    forget();
    EXPECT_FALSE(db().setMsgConfig(PelkoGroup(7), 5));
    expectFailureLogged("setMsgConfig",
                        "UNIQUE constraint failed: tbl_msg_config.target_type, tbl_msg_config.target_id");
    EXPECT_EQ(statements().back(),
              "INSERT INTO tbl_msg_config (target_type, target_id, msg_config) VALUES (2, 7, 5)");
    EXPECT_THAT(settings(), ElementsAre(Row{"2", "7", "-1"}));
}

TEST_F(SyncMarksTest, ASettingMayBecomeNegative) {
    EXPECT_TRUE(db().setMsgConfig(PelkoGroup(7), 5));
    EXPECT_TRUE(db().setMsgConfig(PelkoGroup(7), INT_MIN));
    EXPECT_EQ(db().getMsgConfig(PelkoGroup(7)), INT_MIN);
    EXPECT_FALSE(db().setMsgConfig(PelkoGroup(7), 5));
}

/// Names that are no numbers. The INSERT has the id outside quotes, where each of them would be something
/// else.
const char* const notNumbers[] = {
    // words
    "ann", "null", "NULL", "true", "rowid", "target_type", "current_time", "last_insert_rowid()", "?", ":a",
    "J\xC3\xBCrgen", "%d", "a b", "x, 1",
    // nearly numbers
    "", "-", "+", "1e3", "0x10", "1.5", ".5", "5.", "- 1", "--5", "-+5", "5-", "1 2", " 5", "5 ", "5\n",
    "1_000", "\xD9\xA1", "5;", "5--", "5/**/", "1+1",
    // crafted
    "(SELECT 1)", "0), (1, 5", "0, 0), (1, 5", "5, 5) --", "(1)", "abs(1)", "'5'", "'", "it's", "x'||'y",
    "a''b", "\"5\"", "[5]", "x'35'", "0, 5); DROP TABLE tbl_msg_config; --"};

TEST_F(SyncMarksTest, NamesThatAreNoNumbersGetNoFirstSetting) {
    execute("INSERT INTO tbl_msg_config VALUES (0, 'x', 1), (0, '1', 1)");
    const std::vector<Row> before = settings();
    for (const char* const name : notNumbers) {
        SCOPED_TRACE(name);
        forget();
        EXPECT_FALSE(db().setMsgConfig(PelkoUser(name), 5));
        expectFailureLogged("setMsgConfig");
        EXPECT_THAT(
            statements(),
            ElementsAre("SELECT msg_config FROM tbl_msg_config WHERE target_type = 0 AND target_id = '" +
                        db().transStringQuote(name) + "'"));
        EXPECT_EQ(settings(), before);
    }
}

TEST_F(SyncMarksTest, AStoredSettingOfAnyNameIsReplaced) {
    for (const char* const name : notNumbers) {
        SCOPED_TRACE(name);
        const std::string id = db().transStringQuote(name);
        execute("DELETE FROM tbl_msg_config; INSERT INTO tbl_msg_config VALUES (0, '" + id +
                "', 3), (0, 'bystander', 1), (1, '" + id + "', 2)");
        EXPECT_EQ(db().getMsgConfig(PelkoUser(name)), 3);
        EXPECT_TRUE(db().setMsgConfig(PelkoUser(name), 5));
        EXPECT_EQ(
            statements().back(),
            "UPDATE tbl_msg_config SET msg_config = 5 WHERE target_type= 0 AND target_id = '" + id + "'");
        EXPECT_THAT(settings(),
                    ElementsAre(Row{"0", name, "5"}, Row{"0", "bystander", "1"}, Row{"1", name, "2"}));
    }
    expectNothingLogged();
}

TEST_F(SyncMarksTest, AnUnknownKindHasAnEmptyId) {
    const PelkoChatTarget target(7, static_cast<PelkoChatTargetType>(9));
    EXPECT_EQ(db().getMsgConfig(target), -1);
    EXPECT_FALSE(db().setMsgConfig(target, 5));
    expectFailureLogged("setMsgConfig");
    const char query[] = "SELECT msg_config FROM tbl_msg_config WHERE target_type = 9 AND target_id = ''";
    EXPECT_THAT(statements(), ElementsAre(query, query));
    EXPECT_THAT(settings(), IsEmpty());

    execute("INSERT INTO tbl_msg_config VALUES (9, '', 3)");
    forget();
    EXPECT_TRUE(db().setMsgConfig(target, 5));
    EXPECT_EQ(db().getMsgConfig(target), 5);
    expectNothingLogged();
}

TEST_F(SyncMarksTest, TheChangeCountOfASettingIsNotLookedAt) {
    changeTables(
        "CREATE TRIGGER i BEFORE INSERT ON tbl_msg_config BEGIN SELECT RAISE(IGNORE); END;"
        "CREATE TRIGGER u BEFORE UPDATE ON tbl_msg_config BEGIN SELECT RAISE(IGNORE); END");
    EXPECT_TRUE(db().setMsgConfig(PelkoGroup(7), 5));
    EXPECT_THAT(settings(), IsEmpty());
    execute("DROP TRIGGER i; INSERT INTO tbl_msg_config VALUES (2, '7', 3)");
    EXPECT_TRUE(db().setMsgConfig(PelkoGroup(7), 5));
    EXPECT_THAT(settings(), ElementsAre(Row{"2", "7", "3"}));
    expectNothingLogged();
}

TEST_F(SyncMarksTest, AFailingReplacementOfASettingIsLogged) {
    changeTables(
        "INSERT INTO tbl_msg_config VALUES (2, '7', 3);"
        "CREATE TRIGGER u BEFORE UPDATE ON tbl_msg_config BEGIN SELECT RAISE(ABORT, 'no update'); END");
    EXPECT_FALSE(db().setMsgConfig(PelkoGroup(7), 5));
    expectFailureLogged("setMsgConfig", "no update");
    EXPECT_THAT(settings(), ElementsAre(Row{"2", "7", "3"}));
}

TEST_F(SyncMarksTest, ASettingWithoutTheTableFailsTwice) {
    changeTables("DROP TABLE tbl_msg_config");
    EXPECT_FALSE(db().setMsgConfig(PelkoGroup(7), 5));
    expectLogged({"getMsgConfig failed, exception in (no such table: tbl_msg_config).",
                  "setMsgConfig failed, exception in (no such table: tbl_msg_config)."});
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(SyncMarksTest, ASettingThatCannotBeReadIsInserted) {
    changeTables(
        "ALTER TABLE tbl_msg_config RENAME TO kept; INSERT INTO kept VALUES (2, '7', 3);"
        "CREATE VIEW tbl_msg_config AS SELECT target_type, target_id,"
        " abs(-9223372036854775807 - 1) AS msg_config FROM kept;"
        "CREATE TRIGGER i INSTEAD OF INSERT ON tbl_msg_config BEGIN"
        " INSERT INTO kept VALUES (NEW.target_type, NEW.target_id || ' inserted', NEW.msg_config); END");
    EXPECT_TRUE(db().setMsgConfig(PelkoGroup(7), 5));
    expectFailureLogged("getMsgConfig", "integer overflow");
    EXPECT_THAT(rows("SELECT * FROM kept"), ElementsAre(Row{"2", "7", "3"}, Row{"2", "7 inserted", "5"}));
}

TEST_F(SyncMarksTest, ReadersLetGoOfTheFile) {
    EXPECT_TRUE(db().updateLastMsgID("k", 100));
    EXPECT_TRUE(db().setMsgConfig(PelkoGroup(7), 5));
    EXPECT_EQ(db().getLastMsgID("k"), 100);
    EXPECT_EQ(db().getMsgConfig(PelkoGroup(7)), 5);
    execute("DELETE FROM tbl_last_msg_id");
    EXPECT_EQ(value("PRAGMA wal_checkpoint(TRUNCATE)"), "0") << "busy while a reader holds what it read";
}

// ---- what all have in common

TEST_F(SyncMarksTest, NotReadyComesBeforeAnyOtherCheck) {
    close();
    EXPECT_FALSE(db().updateLastMsgID("k", 0));
    expectNotReadyLogged("updateLastMsgID");
}

TEST_F(SyncMarksTest, ReadsFailWithoutTheirTable) {
    changeTables("DROP TABLE tbl_last_msg_id; DROP TABLE tbl_msg_config");
    EXPECT_EQ(db().getLastMsgID("k"), 0);
    expectFailureLogged("getLastMsgID", "no such table: tbl_last_msg_id");
    forget();
    EXPECT_EQ(db().getMsgConfig(PelkoGroup(7)), -1);
    expectFailureLogged("getMsgConfig", "no such table: tbl_msg_config");
    EXPECT_THAT(statements(), IsEmpty());
}

class SyncMarkOperations : public OperationTest {};

TEST_P(SyncMarkOperations, AreNotReadyWhenClosed) {
    expectNotReadyWhenClosed();
}

TEST_P(SyncMarkOperations, AreNotReadyWithAClosedConnection) {
    expectNotReadyWithClosedConnection();
}

const Operation syncOperations[] = {
    {"getLastMsgID", "", [](PelkoDBManager& db) { EXPECT_EQ(db.getLastMsgID("k"), 0); }},
    {"updateLastMsgID", "", [](PelkoDBManager& db) { EXPECT_FALSE(db.updateLastMsgID("k", 100)); }},
    {"getMsgConfig", "", [](PelkoDBManager& db) { EXPECT_EQ(db.getMsgConfig(PelkoGroup(7)), -1); }},
    {"setMsgConfig", "", [](PelkoDBManager& db) { EXPECT_FALSE(db.setMsgConfig(PelkoGroup(7), 5)); }},
};

INSTANTIATE_TEST_SUITE_P(All, SyncMarkOperations, testing::ValuesIn(syncOperations), nameOf);

}  // namespace
