#include <climits>
#include <list>
#include <string>
#include <vector>

#include "tests/reliability/support/HostileTest.h"
#include "tests/reliability/support/RecordText.h"
#include "tests/reliability/support/SampleRecords.h"

// The store's tables with values in them that the store does not write. Every operation runs over each file;
// WatchedStore checks every call.

namespace pelkotest {

namespace {

using namespace pelkoapi;
using testing::ElementsAre;
using testing::IsEmpty;

using HostileRowsTest = HostileTest;

std::string hex(const std::string& bytes) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        text += digits[static_cast<unsigned char>(c) >> 4];
        text += digits[static_cast<unsigned char>(c) & 15];
    }
    return text;
}

TEST_F(HostileRowsTest, NullsReadAsTheDefaults) {
    for (const std::string& table : allTables()) {
        std::string assignments;
        for (const std::string& column : columnsOf(table)) {
            const bool isKey = column == "db_id" || column == "room_id" || column == "username" ||
                               column == "key" || column == "target_type" || column == "target_id" ||
                               (table == "tbl_group" && column == "group_id");
            assignments += isKey ? "" : (assignments.empty() ? "" : ", ") + column + " = NULL";
        }
        plant(table == "tbl_group_list" ? "INSERT INTO tbl_group_list VALUES (NULL)"
                                        : "UPDATE " + table + " SET " + assignments);
    }
    mStore.open();

    PelkoMessage expected;
    expected.dbID = 1;
    EXPECT_EQ(recordText(db().getMessage(1)), recordText(expected));
    EXPECT_EQ(recordText(db().getRoomInfo(7)), recordText(PelkoRoom(7U)));
    EXPECT_EQ(recordText(db().getGroupInfo(77)), recordText(PelkoGroup(77LL)));
    std::string name = "alice";
    EXPECT_EQ(recordText(db().getBaseUserInfo(name)), recordText(PelkoUser("alice")));
    EXPECT_EQ(db().getTargetInfoVersion(PelkoUser("alice")), 0U);
    EXPECT_THAT(db().getFriendUsernames(), IsEmpty()) << "of no relation";
    PelkoNotify notify(PelkoNotifyTypeGroupInvite);
    notify.dbID = 2;
    EXPECT_EQ(recordText(db().getNottify(2)), recordText(notify));
    std::list<PelkoSession> sessions;
    EXPECT_TRUE(db().loadSessionList(sessions));
    ASSERT_EQ(sessions.size(), 3U);
    PelkoSession session;
    session.target = PelkoUser("alice");
    EXPECT_EQ(recordText(sessions.front()), recordText(session));
    std::vector<PelkoGroup> groups;
    EXPECT_TRUE(db().getGroupList(groups));
    ASSERT_EQ(groups.size(), 3U);
    EXPECT_EQ(recordText(groups.back()), recordText(PelkoGroup(0LL)));
    EXPECT_EQ(db().getLastMsgID("user"), 0);
    EXPECT_EQ(db().getMsgConfig(PelkoRoom(7U)), 0);

    EXPECT_THAT(mStore.lines(), IsEmpty());
    mStore.close();
    use();
}

/// What is stored, and what the readers of 32 and of 64 bits make of it.
struct StoredNumber {
    const char* sql;
    int narrow;
    s64 wide;
};

TEST_F(HostileRowsTest, ValuesOfAnyKindInThePlaceOfNumbers) {
    for (const StoredNumber& stored : {
             StoredNumber{"'abc'", 0, 0},
             {"''", 0, 0},
             {"'12 apples'", 12, 12},
             {"'  34'", 34, 34},
             {"'0x10'", 0, 0},
             {"x''", 0, 0},
             {"x'3536'", 56, 56},
             {"x'00ff'", 0, 0},
             {"zeroblob(100000)", 0, 0},
             {"7.9", 7, 7},
             {"-7.9", -7, -7},
             {"1e300", -1, LLONG_MAX},
             {"-1e300", 0, LLONG_MIN},
             {"9e999", -1, LLONG_MAX},
             {"'99999999999999999999999'", -1, LLONG_MAX},
             {"2147483648", INT_MIN, 2147483648},
             {"-2147483649", INT_MAX, -2147483649},
             {"4294967297", 1, 4294967297},
             {"9223372036854775807", -1, LLONG_MAX},
             {"-9223372036854775808", 0, LLONG_MIN},
         }) {
        SCOPED_TRACE(stored.sql);
        fresh();
        const std::string value = stored.sql;
        plant("UPDATE tbl_msg SET msg_id = " + value + ", type = " + value + ", date = " + value +
              ", status = " + value + ", media_status = " + value + ", duration = " + value +
              " WHERE db_id <> 3;"
              "UPDATE tbl_msg SET duration = " +
              value + ", media_status = " + value + " WHERE db_id = 3;" +
              "UPDATE tbl_room SET is_top = " + value + ", capacity = " + value +
              ";"
              "UPDATE tbl_group SET type = " +
              value + ", need_auth = " + value +
              ";"
              "UPDATE tbl_user SET gender = " +
              value + ", info_version = " + value +
              ";"
              "UPDATE tbl_session SET priority = " +
              value + ", last_msg_id = " + value +
              ";"
              "UPDATE tbl_notify SET date = " +
              value + ", sender_id = " + value + ", sender_type = " + value + ", type = " + value +
              ";"
              "UPDATE tbl_last_msg_id SET last_msg_id = " +
              value +
              ";"
              "UPDATE tbl_msg_config SET msg_config = " +
              value +
              ";"
              "INSERT INTO tbl_relationship VALUES ('x', " +
              value + ")");
        mStore.open();

        const PelkoMessage read = db().getMessage(1);
        EXPECT_EQ(read.id, stored.wide);
        EXPECT_EQ(read.date, static_cast<uint>(stored.narrow));
        EXPECT_EQ(read.status, stored.narrow);
        EXPECT_EQ(read.type, stored.narrow);
        EXPECT_EQ(db().getMessage(3).media.duration, static_cast<uint>(stored.narrow));
        const PelkoRoom readRoom = db().getRoomInfo(7);
        EXPECT_EQ(readRoom.isTop, stored.narrow != 0);
        EXPECT_EQ(readRoom.capacity, static_cast<uint>(stored.narrow));
        const PelkoGroup readGroup = db().getGroupInfo(77);
        EXPECT_EQ(readGroup.ownerType, stored.narrow);
        EXPECT_EQ(readGroup.needAuthentication, stored.narrow != 0);
        const PelkoUser user = db().getUserInfo("alice");
        EXPECT_EQ(user.gender, stored.narrow);
        EXPECT_EQ(user.hasGotDetail, stored.narrow != 0);
        EXPECT_EQ(db().getTargetInfoVersion(user), static_cast<uint>(stored.narrow));
        std::list<PelkoSession> sessions;
        EXPECT_TRUE(db().loadSessionList(sessions));
        ASSERT_EQ(sessions.size(), 3U);
        EXPECT_EQ(sessions.front().priority, stored.narrow);
        const PelkoNotify notify = db().getNottify(1);
        EXPECT_EQ(notify.date, stored.narrow);
        EXPECT_EQ(notify.sender.id, stored.wide);
        EXPECT_EQ(notify.sender.type, static_cast<int>(stored.wide));
        EXPECT_EQ(notify.type, stored.narrow);
        EXPECT_EQ(db().getLastMsgID("user"), stored.wide);
        EXPECT_EQ(db().getMsgConfig(PelkoRoom(7U)), stored.narrow);

        EXPECT_THAT(mStore.lines(), IsEmpty());
        mStore.close();
        use();
    }
}

TEST_F(HostileRowsTest, KindsThatThereAreNot) {
    for (const std::string kind : {"-1", "4", "99", "2147483647", "-2147483648"}) {
        SCOPED_TRACE(kind);
        fresh();
        plant("UPDATE tbl_msg SET receiver_type = " + kind + ", sender_type = " + kind + ", type = " + kind +
              ", media_type = " + kind + "; UPDATE tbl_session SET target_type = " + kind +
              "; UPDATE tbl_notify SET sender_type = " + kind + ", receiver_type = " + kind +
              ", from_type = " + kind + ", type = " + kind + "; UPDATE tbl_relationship SET block_state = " +
              kind + "; UPDATE tbl_user SET gender = " + kind + "; UPDATE tbl_group SET type = " + kind);
        mStore.open();
        const auto number = static_cast<int>(std::stol(kind));

        const PelkoMessage read = db().getMessage(3);
        EXPECT_EQ(recordText(read.sender), recordText(PelkoChatTarget()));
        EXPECT_EQ(recordText(read.receiver), recordText(PelkoChatTarget()));
        EXPECT_EQ(read.type, number);
        EXPECT_EQ(recordText(read.media), recordText(PelkoMedia()));
        std::list<PelkoSession> sessions;
        EXPECT_TRUE(db().loadSessionList(sessions));
        ASSERT_EQ(sessions.size(), 3U);
        EXPECT_EQ(recordText(sessions.front().target), recordText(PelkoChatTarget()));
        const PelkoNotify notify = db().getNottify(1);
        EXPECT_EQ(notify.type, number);
        EXPECT_EQ(notify.from.type, number);
        EXPECT_EQ(notify.from.id, 77);
        EXPECT_THAT(db().getFriendUsernames(), IsEmpty());
        EXPECT_EQ(db().getUserInfo("alice").gender, number);
        EXPECT_EQ(db().getGroupInfo(77).ownerType, number);
        EXPECT_EQ(db().getTargetInfoVersion(PelkoChatTarget(7, static_cast<PelkoChatTargetType>(number))),
                  0U);

        EXPECT_THAT(mStore.lines(), IsEmpty());
        mStore.close();
        use();
    }
}

/// Bytes that are no text, or not all of which are the text that the store reads.
std::vector<std::string> strangeTexts() {
    std::string everyByte;
    for (int c = 1; c < 256; ++c) {
        everyByte += static_cast<char>(c);
    }
    return {everyByte,
            "\xff\xfe\x80\xc0\xaf",                  // no UTF-8
            "\xed\xa0\x80\xed\xbf\xbf",              // surrogates
            "\xf4\x90\x80\x80\xf8\x88\x80\x80\x80",  // beyond the last character
            "cut in a character \xe2\x82",
            "\xef\xbb\xbfwith a mark",
            std::string("up to here\0and no further", 25),
            std::string("\0nothing", 8),
            "%s%n%d %100000d",
            "'; DROP TABLE tbl_msg; --",
            std::string(3000000, 'x') + "\xff"};
}

TEST_F(HostileRowsTest, TextsThatAreNone) {
    for (const std::string& bytes : strangeTexts()) {
        for (const bool isBlob : {false, true}) {
            SCOPED_TRACE(testing::PrintToString(bytes.substr(0, 30)) + (isBlob ? " as a blob" : ""));
            fresh();
            const std::string literal =
                isBlob ? "x'" + hex(bytes) + "'" : "CAST(x'" + hex(bytes) + "' AS TEXT)";
            plant(
                "CREATE TEMP TABLE v AS SELECT " + literal +
                " AS s;"
                "UPDATE tbl_msg SET text = (SELECT s FROM v), media_path = (SELECT s FROM v), ex_media_path "
                "= "
                "(SELECT s FROM v), media_url = (SELECT s FROM v), extra_path = (SELECT s FROM v), sender_id "
                "= "
                "(SELECT s FROM v) WHERE db_id = 3;"
                "UPDATE tbl_room SET name = (SELECT s FROM v), icon_url = (SELECT s FROM v), info = (SELECT "
                "s "
                "FROM v);"
                "UPDATE tbl_group SET owner = (SELECT s FROM v);"
                "UPDATE tbl_user SET nickname = (SELECT s FROM v);"
                "UPDATE tbl_relationship SET username = (SELECT s FROM v) WHERE username = 'dave, whose name "
                "is longer than a short string';"
                "UPDATE tbl_session SET target_id = (SELECT s FROM v) WHERE target_type = 0;"
                "UPDATE tbl_notify SET text = (SELECT s FROM v), from_name = (SELECT s FROM v)");
            const std::string read = bytes.substr(0, bytes.find('\0'));
            mStore.open();

            const PelkoMessage third = db().getMessage(3);
            EXPECT_TRUE(third.text == read);
            EXPECT_TRUE(third.extraText == read);
            EXPECT_TRUE(third.sender.name == read);
            EXPECT_TRUE(third.media.url == read);
            EXPECT_TRUE(third.media.path == (read.empty() ? "" : "/app/" + read));
            EXPECT_TRUE(third.media.pathEx == (read.empty() ? "" : "/app/" + read));
            EXPECT_TRUE(db().getRoomInfo(7).name == read);
            EXPECT_TRUE(db().getRoomInfo(7).icon.url == read);
            EXPECT_TRUE(db().getGroupInfo(77).ownerAccount == read);
            EXPECT_TRUE(db().getUserInfo("alice").nickname == read);
            EXPECT_TRUE(db().getFriendUsernames().back() == read);
            std::list<PelkoSession> sessions;
            EXPECT_TRUE(db().loadSessionList(sessions));
            ASSERT_EQ(sessions.size(), 3U);
            EXPECT_TRUE(sessions.front().target.name == read);
            EXPECT_TRUE(db().getNottify(1).text == read);
            EXPECT_TRUE(db().getNottify(1).from.name == read);

            EXPECT_THAT(mStore.lines(), IsEmpty());
            mStore.runAll();
            mStore.close();
        }
    }
}

TEST_F(HostileRowsTest, AfterTheGreatestRowIdMessagesGetOthers) {
    plant("UPDATE tbl_msg SET db_id = 9223372036854775807 WHERE db_id = 22");
    mStore.open();
    PelkoMessage record = message(0, 900, PelkoUser("alice"), PelkoUser("me"), "x", PelkoMessageStatusRead);
    EXPECT_TRUE(db().insertMessage(&record));
    EXPECT_GT(record.dbID, 0);
    EXPECT_LT(record.dbID, LLONG_MAX);
    EXPECT_EQ(db().getMessage(record.dbID).date, 900U);
    EXPECT_EQ(db().getMessage(LLONG_MAX).id, 2011);
    std::vector<s64> ids = {LLONG_MAX};
    EXPECT_TRUE(db().deleteMessages(ids));
    EXPECT_THAT(mStore.lines(), IsEmpty());
    mStore.close();
    use();
}

TEST_F(HostileRowsTest, AfterTheGreatestRowIdThereAreNoMoreNotifications) {
    for (const char* const state : {"UPDATE sqlite_sequence SET seq = 9223372036854775807",
                                    "UPDATE tbl_notify SET db_id = 9223372036854775807 WHERE db_id = 3"}) {
        SCOPED_TRACE(state);
        fresh();
        plant(state);
        mStore.open();
        PelkoNotify record = notification(PelkoNotifyTypeGroupInvite, 1, false);
        EXPECT_FALSE(db().insertNotify(&record));
        EXPECT_EQ(record.dbID, 0);
        EXPECT_THAT(linesOf("insertNotify"),
                    ElementsAre("insertNotify failed, exception in (database or disk is full)."));
        EXPECT_EQ(db().getUnreadNotifyCount(), 2U);
        mStore.close();
        use();
    }
}

TEST_F(HostileRowsTest, TheCounterOfNotificationsIsWhatItIs) {
    struct Case {
        const char* counter;
        const char* next;
    };
    for (const Case& c : {Case{"DELETE FROM sqlite_sequence", "4"},
                          {"UPDATE sqlite_sequence SET seq = -5", "4"},
                          {"UPDATE sqlite_sequence SET seq = NULL", "4"},
                          {"UPDATE sqlite_sequence SET seq = 'abc'", "4"},
                          {"UPDATE sqlite_sequence SET seq = x'00'", "4"},
                          {"UPDATE sqlite_sequence SET seq = 50.5", "51"},
                          {"INSERT INTO sqlite_sequence SELECT * FROM sqlite_sequence", "4"},
                          {"UPDATE sqlite_sequence SET seq = 4294967295", "4294967296"}}) {
        SCOPED_TRACE(c.counter);
        fresh();
        plant(c.counter);
        mStore.open();
        EXPECT_EQ(mStore.run("insertNotify").value, "true");
        EXPECT_EQ(db().queryCount("tbl_notify", (std::string("db_id = ") + c.next).c_str()), 1);
        EXPECT_THAT(mStore.lines(), IsEmpty());
        mStore.close();
        use();
    }
}

}  // namespace

}  // namespace pelkotest
