#include <sqlite3.h>

#include <limits>
#include <new>
#include <string>
#include <vector>

#include "tests/classes/storage/NotificationsTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::_;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char insertNotifyHead[] =
    "INSERT INTO tbl_notify (date, is_read, sender_type, sender_id, sender_name, receiver_type, receiver_id, "
    "receiver_name, from_type, from_id, from_name, is_system, response, type, text) VALUES ";
constexpr char lastRowId[] = "SELECT last_insert_rowid()";

constexpr char requestValues[] =
    "(1700000000, 1, 0, 11, 'ann', 3, 12, 'bob',2, 9007199254740993, 'club', 1, 1, 1, 'let me in')";
const Row requestsRow = {"1", "1700000000",       "1",    "0", "11", "ann", "3",        "12", "bob",
                         "2", "9007199254740993", "club", "1", "1",  "1",   "let me in"};

// ---- storing

TEST_F(NotificationsTest, InsertStoresEveryField) {
    PelkoNotify notify = request();
    EXPECT_TRUE(db().insertNotify(&notify));
    EXPECT_THAT(statements(), ElementsAre(std::string(insertNotifyHead) + requestValues, lastRowId));
    EXPECT_THAT(table(), ElementsAre(requestsRow));
    EXPECT_EQ(notify.dbID, 1);
    expectNothingLogged();
}

TEST_F(NotificationsTest, InsertWritesTheNewRowIdAndNothingElseToTheRecord) {
    PelkoNotify notify = request();
    EXPECT_TRUE(db().insertNotify(&notify));
    PelkoNotify second = request();
    EXPECT_TRUE(db().insertNotify(&second));
    EXPECT_EQ(second.dbID, notify.dbID + 1);
    PelkoNotify expected = request();
    expected.dbID = second.dbID;
    EXPECT_EQ(fieldsOf(second), fieldsOf(expected));
    EXPECT_THAT(loadedIds(), ElementsAre(second.dbID, notify.dbID));

    EXPECT_TRUE(db().insertNotify(&second));  // the same record again is another notification
    EXPECT_EQ(second.dbID, 3);
    EXPECT_EQ(table().size(), 3U);
}

TEST_F(NotificationsTest, InsertStoresFlagsAndKindsAsNumbers) {
    for (const bool flag : {false, true}) {
        for (const int type : {0, 1, 2, -7}) {
            PelkoNotify notify(static_cast<PelkoNotifyType>(type));
            notify.isRead = flag;
            notify.isSystemNotify = !flag;
            notify.agree = flag;
            notify.sender.type = notify.receiver.type = notify.from.type =
                static_cast<PelkoChatTargetType>(type);
            EXPECT_TRUE(db().insertNotify(&notify));
            const std::string number = std::to_string(type);
            const Row stored = {
                flag ? "1" : "0", flag ? "0" : "1", flag ? "1" : "0", number, number, number, number};
            EXPECT_EQ(rows("SELECT is_read, is_system, response, type, sender_type, receiver_type, from_type "
                           "FROM tbl_notify ORDER BY db_id DESC LIMIT 1"),
                      std::vector<Row>{stored});
            const PelkoNotify back = db().getNottify(notify.dbID);
            EXPECT_EQ(fieldsOf(back), fieldsOf(notify));
        }
    }
    expectNothingLogged();
}

TEST_F(NotificationsTest, IdsOfPartiesAre64Bit) {
    PelkoNotify notify = request();
    notify.sender.id = 9223372036854775807;
    notify.receiver.id = -9223372036854775807 - 1;
    EXPECT_TRUE(db().insertNotify(&notify));
    EXPECT_THAT(rows("SELECT sender_id, receiver_id, from_id FROM tbl_notify"),
                ElementsAre(Row{"9223372036854775807", "-9223372036854775808", "9007199254740993"}));
    EXPECT_EQ(fieldsOf(db().getNottify(1)), fieldsOf(notify));
}

TEST_F(NotificationsTest, DatesAreStoredWholeAndReadAs32Bits) {
    const long widest = static_cast<long>(9223372036854775807);  // what fits, where long is narrower
    for (const long date :
         {0L, -1L, 2147483647L, static_cast<long>(2147483648), static_cast<long>(4294967301), widest}) {
        PelkoNotify notify = request();
        notify.date = date;
        EXPECT_TRUE(db().insertNotify(&notify));
        EXPECT_EQ(value("SELECT date FROM tbl_notify ORDER BY db_id DESC"), std::to_string(date));
        EXPECT_EQ(db().getNottify(notify.dbID).date, static_cast<int>(static_cast<unsigned int>(date)));
    }
    execute("DELETE FROM tbl_notify; INSERT INTO tbl_notify (db_id, date) VALUES (7, 2147483648)");
    EXPECT_EQ(db().getNottify(7).date, -2147483647L - 1);
}

TEST_F(NotificationsTest, AnUninitialisedAnswerIsStoredAsZeroOrOne) {
    for (const int left : {0x00, 0x01, 0x02, 0x80, 0xAB, 0xFF}) {
        alignas(PelkoNotify) unsigned char memory[sizeof(PelkoNotify)];
        for (volatile unsigned char& byte :
             memory) {  // volatile, or the fill before a construction is left out
            byte = static_cast<unsigned char>(left);
        }
        PelkoNotify* const notify = new (memory) PelkoNotify;
        EXPECT_TRUE(db().insertNotify(notify));
        EXPECT_EQ(value("SELECT response FROM tbl_notify ORDER BY db_id DESC"), left == 0 ? "0" : "1");
        EXPECT_EQ(statements().at(statements().size() - 2), std::string(insertNotifyHead) +
                                                                "(0, 0, 0, 0, '', 0, 0, '',0, 0, '', 0, " +
                                                                (left == 0 ? "0" : "1") + ", 0, '')");
        notify->~PelkoNotify();
    }
}

TEST_F(NotificationsTest, RowIdsAreNeverReused) {
    PelkoNotify notify = request();
    for (const long expected : {1L, 2L, 3L}) {
        EXPECT_TRUE(db().insertNotify(&notify));
        EXPECT_EQ(notify.dbID, expected);
        EXPECT_TRUE(db().deleteNotifys({notify.dbID}));
    }
    reopen();
    EXPECT_TRUE(db().insertNotify(&notify));
    EXPECT_EQ(notify.dbID, 4);
}

TEST_F(NotificationsTest, RowIdsAreWrittenBackAs32Bits) {
    given({"4294967301"});
    PelkoNotify notify = request();
    EXPECT_TRUE(db().insertNotify(&notify));
    EXPECT_EQ(value("SELECT max(db_id) FROM tbl_notify"), "4294967302");
    EXPECT_EQ(notify.dbID, 6);

    execute("DELETE FROM tbl_notify; UPDATE sqlite_sequence SET seq = 2147483647");
    EXPECT_TRUE(db().insertNotify(&notify));
    EXPECT_EQ(notify.dbID, -2147483647L - 1);
    EXPECT_THAT(loadedIds(), ElementsAre(notify.dbID));
}

TEST_F(NotificationsTest, AnInsertWithoutARowLeavesTheRecordAlone) {
    changeTables("CREATE TRIGGER i BEFORE INSERT ON tbl_notify BEGIN SELECT RAISE(IGNORE); END");
    PelkoNotify notify = request();
    EXPECT_FALSE(db().insertNotify(&notify));
    EXPECT_EQ(notify.dbID, 99);
    EXPECT_THAT(statements(),
                ElementsAre(std::string(insertNotifyHead) + requestValues, _, _));  // the trigger's
    expectNothingLogged();
}

TEST_F(NotificationsTest, AFailingInsertLeavesTheRecordAlone) {
    changeTables("CREATE TRIGGER i BEFORE INSERT ON tbl_notify BEGIN SELECT RAISE(ABORT, 'not now'); END");
    PelkoNotify notify = request();
    EXPECT_FALSE(db().insertNotify(&notify));
    EXPECT_EQ(notify.dbID, 99);
    expectFailureLogged("insertNotify", "not now");
    EXPECT_THAT(table(), IsEmpty());
}

/// Puts a function in the place of SQLite's last_insert_rowid() on the store's connection.
template <void (*function)(sqlite3_context*, int, sqlite3_value**)>
int replaceLastRowId(sqlite3* connection, const char**, const sqlite3_api_routines*) {
    return sqlite3_create_function(connection, "last_insert_rowid", 0, SQLITE_UTF8, nullptr, function,
                                   nullptr, nullptr);
}

void refuse(sqlite3_context* context, int, sqlite3_value**) {
    sqlite3_result_error(context, "no row id", -1);
}

void giveNull(sqlite3_context* context, int, sqlite3_value**) {
    sqlite3_result_null(context);
}

class LastRowIdReplaced : public NotificationsTest {
protected:
    template <void (*function)(sqlite3_context*, int, sqlite3_value**)>
    void open() {
        const auto extension = reinterpret_cast<void (*)()>(replaceLastRowId<function>);
        sqlite3_auto_extension(extension);
        reopen();
        sqlite3_cancel_auto_extension(extension);
        forget();
    }
};

TEST_F(LastRowIdReplaced, AFailureToAskForTheRowIdLeavesTheRecordAlone) {
    open<refuse>();
    PelkoNotify notify = request();
    EXPECT_FALSE(db().insertNotify(&notify));
    EXPECT_EQ(notify.dbID, 99);
    expectFailureLogged("insertNotify", "no row id");
    EXPECT_THAT(statements(), ElementsAre(std::string(insertNotifyHead) + requestValues, lastRowId));
    EXPECT_THAT(table(), ElementsAre(requestsRow));  // stored by then: there is no transaction around the two
}

TEST_F(LastRowIdReplaced, ARowIdThatIsNullIsWrittenBackAsZero) {
    open<giveNull>();
    PelkoNotify notify = request();
    EXPECT_TRUE(db().insertNotify(&notify));
    EXPECT_EQ(notify.dbID, 0);
    expectNothingLogged();
}

TEST_F(NotificationsTest, HoweverManyThereAreTheyAreKept) {
    execute(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 10000) "
        "INSERT INTO tbl_notify (date) SELECT i FROM n");
    PelkoNotify notify = request();
    EXPECT_TRUE(db().insertNotify(&notify));
    EXPECT_EQ(loadedIds().size(), 10001U);
    reopen();
    EXPECT_EQ(loadedIds().size(), 10001U);
}

// ---- what texts may hold

TEST_F(NotificationsTest, NamesAreEscaped) {
    PelkoNotify notify = request();
    notify.sender.name = "it's";
    notify.receiver.name = "x', 0, 0), ('";
    notify.from.name = "''";
    notify.text = "%s%n%d ; \\ -- \"q\" /* J\xC3\xBCrgen\n";
    EXPECT_TRUE(db().insertNotify(&notify));
    EXPECT_EQ(statements().front(), std::string(insertNotifyHead) +
                                        "(1700000000, 1, 0, 11, 'it''s', 3, 12, 'x'', 0, 0), ('''"
                                        ",2, 9007199254740993, '''''', 1, 1, 1, '" +
                                        notify.text + "')");
    EXPECT_THAT(rows("SELECT sender_name, receiver_name, from_name, text FROM tbl_notify"),
                ElementsAre(Row{"it's", "x', 0, 0), ('", "''", notify.text}));
    EXPECT_EQ(fieldsOf(db().getNottify(1)), fieldsOf(notify));
    expectNothingLogged();
}

TEST_F(NotificationsTest, ATextWithAQuoteIsNotStored) {
    given({"1", "2"});
    const std::vector<Row> before = table();
    for (const std::string text :
         {"'", "a''b", "it's", "x'||'y", "x', 'y", "x' OR '1'='1", "x'); DROP TABLE tbl_notify; --",
          "x'), (1, 0, 0, 0, '', 0, 0, '',0, 0, '', 0, 0, 0, 'y"}) {
        SCOPED_TRACE(text);
        PelkoNotify notify = request();
        notify.text = text;
        forget();
        EXPECT_FALSE(db().insertNotify(&notify));
        expectFailureLogged("insertNotify");
        EXPECT_EQ(notify.dbID, 99);
        EXPECT_EQ(notify.text, text);
        EXPECT_THAT(statements(), IsEmpty());
        EXPECT_EQ(table(), before);
    }
    PelkoNotify next = request();
    EXPECT_TRUE(db().insertNotify(&next));
    EXPECT_EQ(next.dbID, 3);  // not one row id was used up
}

TEST_F(NotificationsTest, OtherTextsAreKeptByteForByte) {
    for (const std::string& text :
         {std::string(), std::string("%s%n%d"), std::string("a;b -- c"), std::string("\\"),
          std::string("\xF0\x9F\x98\x80"), std::string(5000, 't')}) {
        PelkoNotify notify = request();
        notify.text = text;
        EXPECT_TRUE(db().insertNotify(&notify));
        EXPECT_EQ(value("SELECT text FROM tbl_notify ORDER BY db_id DESC"), text);
        EXPECT_EQ(db().getNottify(notify.dbID).text, text);
    }
    expectNothingLogged();
}

// ---- deleting

TEST_F(NotificationsTest, DeleteTakesAwayTheListedRows) {
    given({"-2", "7", "9", "12"});
    EXPECT_TRUE(db().deleteNotifys({7, -2, 12}));
    EXPECT_THAT(statements(), ElementsAre("DELETE FROM tbl_notify WHERE db_id IN (7, -2, 12)"));
    EXPECT_THAT(rows("SELECT db_id FROM tbl_notify"), ElementsAre(Row{"9"}));
    EXPECT_TRUE(db().deleteNotifys({9}));
    EXPECT_EQ(statements().back(), "DELETE FROM tbl_notify WHERE db_id IN (9)");
    expectNothingLogged();
}

TEST_F(NotificationsTest, DeleteReportsWhetherAnyRowWasThere) {
    given({"7"});
    EXPECT_FALSE(db().deleteNotifys({1, 2}));
    EXPECT_TRUE(db().deleteNotifys({1, 7, 2, 7}));
    EXPECT_FALSE(db().deleteNotifys({7}));
    expectNothingLogged();
}

TEST_F(NotificationsTest, DeleteOfNothingRunsAndLogsNothing) {
    given({"7"});
    EXPECT_FALSE(db().deleteNotifys({}));
    EXPECT_THAT(statements(), IsEmpty());
    EXPECT_EQ(table().size(), 1U);
    expectNothingLogged();
}

TEST_F(NotificationsTest, DeleteTakesWideIdsAndManyOfThem) {
    given({"5", "1500"});
    if (longIsWide) {
        given({"4294967301"});
        EXPECT_TRUE(db().deleteNotifys({static_cast<long>(4294967301)}));
        EXPECT_EQ(table().size(), 2U);
    }
    std::vector<long> ids;
    for (long id = 1000; id < 2000; ++id) {
        ids.push_back(id);
    }
    EXPECT_TRUE(db().deleteNotifys(ids));
    EXPECT_THAT(rows("SELECT db_id FROM tbl_notify"), ElementsAre(Row{"5"}));
}

// ---- read state

TEST_F(NotificationsTest, UnreadCountIsThatOfRowsWithStateZero) {
    EXPECT_EQ(db().getUnreadNotifyCount(), 0U);
    execute("INSERT INTO tbl_notify (is_read) VALUES (0), (1), (0), (NULL), (2)");
    forget();
    EXPECT_EQ(db().getUnreadNotifyCount(), 2U);
    EXPECT_THAT(statements(), ElementsAre("SELECT COUNT(*) AS count FROM tbl_notify WHERE is_read = 0"));
    expectNothingLogged();
}

TEST_F(NotificationsTest, NothingButTheCallerChangesTheReadState) {
    PelkoNotify notify;
    notify.agree = false;
    EXPECT_TRUE(db().insertNotify(&notify));
    loadedIds();
    EXPECT_FALSE(db().getNottify(notify.dbID).isRead);
    reopen();
    EXPECT_EQ(db().getUnreadNotifyCount(), 1U);
}

TEST_F(NotificationsTest, MarkSetsTheStateOfOneNotification) {
    given({"1", "2"});
    EXPECT_TRUE(db().markNotifyIsRead(2, true));
    EXPECT_THAT(readStates(), ElementsAre("0", "1"));
    EXPECT_TRUE(db().markNotifyIsRead(2, true));  // rewritten
    EXPECT_TRUE(db().markNotifyIsRead(2, false));
    EXPECT_THAT(readStates(), ElementsAre("0", "0"));
    EXPECT_FALSE(db().markNotifyIsRead(3, true));
    constexpr long wide = longIsWide ? static_cast<long>(4294967298LL) : 4;  // not cut to 2
    EXPECT_FALSE(db().markNotifyIsRead(wide, true));
    EXPECT_THAT(statements(),
                ElementsAre("UPDATE tbl_notify SET is_read = 1 WHERE db_id = 2",
                            "UPDATE tbl_notify SET is_read = 1 WHERE db_id = 2",
                            "UPDATE tbl_notify SET is_read = 0 WHERE db_id = 2",
                            "UPDATE tbl_notify SET is_read = 1 WHERE db_id = 3",
                            "UPDATE tbl_notify SET is_read = 1 WHERE db_id = " + std::to_string(wide)));
    EXPECT_THAT(readStates(), ElementsAre("0", "0"));
    expectNothingLogged();
}

TEST_F(NotificationsTest, ClearMarksEveryRowRead) {
    EXPECT_FALSE(db().clearNotifyUnreadStatus());
    execute("INSERT INTO tbl_notify (is_read) VALUES (0), (1), (NULL)");
    forget();
    EXPECT_TRUE(db().clearNotifyUnreadStatus());
    EXPECT_THAT(statements(), ElementsAre("UPDATE tbl_notify SET is_read = 1"));
    EXPECT_THAT(readStates(), ElementsAre("1", "1", "1"));
    EXPECT_TRUE(db().clearNotifyUnreadStatus());  // all are read, and rewritten
    EXPECT_EQ(db().getUnreadNotifyCount(), 0U);
    expectNothingLogged();
}

TEST_F(NotificationsTest, FailingChangesAreLogged) {
    given({"1"});
    const std::vector<Row> before = table();
    changeTables(
        "CREATE TRIGGER d BEFORE DELETE ON tbl_notify BEGIN SELECT RAISE(ABORT, 'no delete'); END;"
        "CREATE TRIGGER u BEFORE UPDATE ON tbl_notify BEGIN SELECT RAISE(ABORT, 'no update'); END");
    EXPECT_FALSE(db().deleteNotifys({1}));
    expectFailureLogged("deleteNotifys", "no delete");
    forget();
    EXPECT_FALSE(db().markNotifyIsRead(1, true));
    expectFailureLogged("markNotifyIsRead", "no update");
    forget();
    EXPECT_FALSE(db().clearNotifyUnreadStatus());
    expectFailureLogged("clearNotifyUnreadStatus", "no update");
    EXPECT_EQ(table(), before);
}

// ---- what all have in common

class NotificationOperations : public OperationTest {};

TEST_P(NotificationOperations, AreNotReadyWhenClosed) {
    expectNotReadyWhenClosed();
}

TEST_P(NotificationOperations, AreNotReadyWithAClosedConnection) {
    expectNotReadyWithClosedConnection();
}

TEST_P(NotificationOperations, FailWithoutTheTable) {
    expectFailureWithout("tbl_notify");
}

const Operation notifyOperations[] = {
    {"insertNotify", "insertNotify",
     [](PelkoDBManager& db) {
         PelkoNotify notify = request();
         EXPECT_FALSE(db.insertNotify(&notify));
         EXPECT_EQ(notify.dbID, 99);
     }},
    {"loadNotifyList", "loadNotifyList",
     [](PelkoDBManager& db) {
         std::vector<PelkoNotify> list = {request()};
         EXPECT_FALSE(db.loadNotifyList(list));
         EXPECT_EQ(list.size(), 1U);
     }},
    {"deleteNotifys", "deleteNotifys", [](PelkoDBManager& db) { EXPECT_FALSE(db.deleteNotifys({1})); }},
    {"getUnreadNotifyCount", "queryCount",
     [](PelkoDBManager& db) { EXPECT_EQ(db.getUnreadNotifyCount(), 0U); }},
    {"markNotifyIsRead", "markNotifyIsRead",
     [](PelkoDBManager& db) { EXPECT_FALSE(db.markNotifyIsRead(1, true)); }},
    {"clearNotifyUnreadStatus", "clearNotifyUnreadStatus",
     [](PelkoDBManager& db) { EXPECT_FALSE(db.clearNotifyUnreadStatus()); }},
    {"getNottify", "getNottify", [](PelkoDBManager& db) { expectDefault(db.getNottify(1)); }},
};

INSTANTIATE_TEST_SUITE_P(All, NotificationOperations, testing::ValuesIn(notifyOperations), nameOf);

TEST_F(NotificationsTest, DeleteOfNothingIsNotReadyEither) {
    close();
    EXPECT_FALSE(db().deleteNotifys({}));
    expectNotReadyLogged("deleteNotifys");
}

}  // namespace
