#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/classes/storage/NotificationsTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using Access = PelkoDBManagerTestAccess;

namespace {

// The row reader is the manager's own.
template <typename Class, typename = void>
constexpr bool offersNotifyReader = false;
template <typename Class>
constexpr bool offersNotifyReader<Class, std::void_t<decltype(&Class::notifyFromQuery)>> = true;
static_assert(!offersNotifyReader<PelkoDBManager>);

class NotificationsReadTest : public NotificationsTest {};

// ---- reading

TEST_F(NotificationsReadTest, LoadAppendsTheNewestRowFirst) {
    given({"3", "-2", "7"});
    std::vector<PelkoNotify> list = {request()};
    EXPECT_TRUE(db().loadNotifyList(list));
    EXPECT_THAT(statements(), ElementsAre("SELECT * FROM tbl_notify ORDER BY db_id DESC"));
    ASSERT_EQ(list.size(), 4U);
    EXPECT_EQ(fieldsOf(list[0]), fieldsOf(request()));
    EXPECT_EQ(fieldsOf(list[1])[7], "text 7");
    EXPECT_EQ(fieldsOf(list[2])[7], "text 3");
    EXPECT_EQ(fieldsOf(list[3])[7], "text -2");
    expectNothingLogged();
}

TEST_F(NotificationsReadTest, LoadOfAnEmptyTableSucceedsAndLeavesTheListAsItIs) {
    std::vector<PelkoNotify> list = {request()};
    EXPECT_TRUE(db().loadNotifyList(list));
    EXPECT_EQ(list.size(), 1U);
    expectNothingLogged();
}

TEST_F(NotificationsReadTest, RowsReadBeforeAFailureStay) {
    given({"1", "2", "3", "4"});
    changeTables(
        "ALTER TABLE tbl_notify RENAME TO kept; CREATE VIEW tbl_notify AS SELECT *,"
        " CASE db_id WHEN 2 THEN abs(-9223372036854775807 - 1) END AS broken FROM kept");
    std::vector<PelkoNotify> list = {request()};
    EXPECT_FALSE(db().loadNotifyList(list));
    expectFailureLogged("loadNotifyList", "integer overflow");
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list[0].dbID, 99);
    EXPECT_EQ(list[1].dbID, 4);
    EXPECT_EQ(list[2].dbID, 3);
}

TEST_F(NotificationsReadTest, GetReadsOneNotification) {
    PelkoNotify notify = request();
    EXPECT_TRUE(db().insertNotify(&notify));
    given({"7"});
    forget();
    EXPECT_EQ(fieldsOf(db().getNottify(1)),
              (std::vector<std::string>{"1", "1700000000", "read agree system", "0 11 ann", "3 12 bob",
                                        "2 9007199254740993 club", "1", "let me in"}));
    EXPECT_THAT(statements(), ElementsAre("SELECT * FROM tbl_notify WHERE db_id = 1"));
    expectNothingLogged();
}

TEST_F(NotificationsReadTest, GetOfAnUnknownIdIsADefaultRecord) {
    given({"7"});
    expectDefault(db().getNottify(8));
    constexpr long least = std::numeric_limits<long>::min();  // of 32 bits on some machines
    expectDefault(db().getNottify(least));
    EXPECT_THAT(statements(), ElementsAre("SELECT * FROM tbl_notify WHERE db_id = 8",
                                          "SELECT * FROM tbl_notify WHERE db_id = " + std::to_string(least)));
    expectNothingLogged();
}

TEST_F(NotificationsReadTest, GetFindsWideIdsAndReadsThemAs32Bits) {
    if (!longIsWide) {
        GTEST_SKIP() << "a long has 32 bits here, so that nobody can ask for a wider id";
    }
    given({"4294967301"});
    const PelkoNotify notify = db().getNottify(static_cast<long>(4294967301));
    EXPECT_EQ(notify.text, "text 4294967301");
    EXPECT_EQ(notify.dbID, 5);
    expectDefault(db().getNottify(5));
}

TEST_F(NotificationsReadTest, NullColumnsAreReadAsDefaults) {
    execute("INSERT INTO tbl_notify (db_id) VALUES (7)");
    PelkoNotify notify = db().getNottify(7);
    EXPECT_EQ(notify.dbID, 7);
    EXPECT_FALSE(notify.agree);
    notify.dbID = 0;
    expectDefault(notify);
}

TEST_F(NotificationsReadTest, FlagsAreTrueForAnyNumberButZeroAndKindsAreNarrowed) {
    execute(
        "INSERT INTO tbl_notify VALUES (1, 5, 2, 4294967298, 0, '', -1, 0, '', 9, 0, '', -1, 256, 77, '')");
    EXPECT_EQ(fieldsOf(db().getNottify(1)),
              (std::vector<std::string>{"1", "5", "read agree system", "2 0 ", "-1 0 ", "9 0 ", "77", ""}));
}

TEST_F(NotificationsReadTest, FlagsAreReadFromTheLow32Bits) {
    execute(
        "INSERT INTO tbl_notify (db_id, is_read, is_system, response) VALUES "
        "(1, 4294967296, 4294967296, 4294967296), (2, 4294967297, 4294967297, 4294967297)");
    EXPECT_EQ(fieldsOf(db().getNottify(1))[2], "unread");
    EXPECT_EQ(fieldsOf(db().getNottify(2))[2], "read agree system");
}

TEST_F(NotificationsReadTest, GetReadsTheFirstRowOnly) {
    changeTables(
        "ALTER TABLE tbl_notify RENAME TO keyed; CREATE TABLE tbl_notify AS SELECT * FROM keyed;"
        "INSERT INTO tbl_notify (db_id, text) VALUES (7, 'first'), (7, 'second')");
    EXPECT_EQ(db().getNottify(7).text, "first");
}

TEST_F(NotificationsReadTest, ReadersLetGoOfTheFile) {
    PelkoNotify notify = request();
    EXPECT_TRUE(db().insertNotify(&notify));
    db().getNottify(1);
    db().getUnreadNotifyCount();
    loadedIds();
    execute("DELETE FROM tbl_notify");
    EXPECT_EQ(value("PRAGMA wal_checkpoint(TRUNCATE)"), "0") << "busy while a reader holds what it read";
}

TEST_F(NotificationsReadTest, TheReaderNeedsNoOpenManager) {
    given({"7"});
    const std::unique_ptr<PelkoDBManager> closed = Access::make();
    CppSQLite3Query query = Access::connection(db())->execQuery("SELECT * FROM tbl_notify");
    EXPECT_EQ(Access::notifyFromQuery(*closed, query).text, "text 7");
    expectNothingLogged();
}

TEST_F(NotificationsReadTest, ARowWithoutAnIdIsReadWithZero) {
    changeTables(
        "ALTER TABLE tbl_notify RENAME TO keyed; CREATE TABLE tbl_notify AS SELECT * FROM keyed;"
        "INSERT INTO tbl_notify (text) VALUES ('without an id')");
    EXPECT_THAT(loadedIds(), ElementsAre(0));
}

TEST_F(NotificationsReadTest, TheReaderTakesTheColumnsInItsOwnOrder) {
    // Tables that lack ever fewer columns name the first one that is missing.
    const std::vector<std::string> order = {"db_id",       "date",        "is_read",       "sender_id",
                                            "sender_type", "sender_name", "from_id",       "from_type",
                                            "from_name",   "receiver_id", "receiver_type", "receiver_name",
                                            "is_system",   "response",    "type",          "text"};
    changeTables("DROP TABLE tbl_notify");
    std::string present = "1 AS other";
    for (const std::string& column : order) {
        SCOPED_TRACE(column);
        CppSQLite3Query query = Access::connection(db())->execQuery(("SELECT " + present).c_str());
        std::string missing;
        try {
            Access::notifyFromQuery(db(), query);
        } catch (const CppSQLite3Exception& exception) {
            missing = exception.errorMessage();
        }
        EXPECT_THAT(missing, testing::EndsWith(" " + column));
        present += ", 1 AS " + column;
    }
    CppSQLite3Query query = Access::connection(db())->execQuery(("SELECT " + present).c_str());
    EXPECT_EQ(fieldsOf(Access::notifyFromQuery(db(), query)),
              (std::vector<std::string>{"1", "1", "read agree system", "1 1 1", "1 1 1", "1 1 1", "1", "1"}));
    expectNothingLogged();  // it leaves exceptions to its caller
}

TEST_F(NotificationsReadTest, AMissingColumnFailsTheReaders) {
    given({"1", "2"});
    changeTables("ALTER TABLE tbl_notify RENAME COLUMN from_name TO other");
    std::vector<PelkoNotify> list = {request()};
    EXPECT_FALSE(db().loadNotifyList(list));
    expectFailureLogged("loadNotifyList", testing::EndsWith("from_name"));
    EXPECT_EQ(list.size(), 1U);
    forget();
    expectDefault(db().getNottify(1));
    expectFailureLogged("getNottify", testing::EndsWith("from_name"));
}

}  // namespace
