#include <deque>
#include <list>
#include <string>
#include <vector>

#include "classes/platform/LoginContext.h"
#include "tests/reliability/support/FilledStoreTest.h"
#include "tests/reliability/support/RecordText.h"
#include "tests/reliability/support/SampleRecords.h"

// Texts with NUL bytes in them, and of many megabytes, in every place that takes one.

namespace pelkotest {

namespace {

using namespace pelkoapi;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A text that the store keeps: how it gets in and comes out again, and where it lies.
struct TextField {
    const char* name;
    std::string (*throughTheStore)(PelkoDBManager&, const std::string&);
    const char* table;
    const char* column;
};
void PrintTo(const TextField& field, std::ostream* out) {
    *out << field.name;
}

template <typename Set>
PelkoMessage storedMessage(PelkoDBManager& db, const Set& set) {
    PelkoMessage record = mediaMessage(0, 1, PelkoUser("alice"), PelkoUser("me"), PelkoMessageTypeImage,
                                       PelkoMessageStatusRead, PelkoMediaStatusCreated);
    set(record);
    EXPECT_TRUE(db.insertMessage(&record));
    PelkoMessage read = db.getMessage(record.dbID);
    // The same once more, by the statement that changes a row.
    EXPECT_TRUE(db.updateMessage(record));
    EXPECT_TRUE(recordText(db.getMessage(record.dbID)) == recordText(read));
    return read;
}

template <typename Set>
PelkoUser storedUser(PelkoDBManager& db, const Set& set) {
    PelkoUser record = profile("new");
    set(record);
    EXPECT_TRUE(db.insertOrUpdateUser(record, 1));
    EXPECT_TRUE(db.insertOrUpdateUser(record, 2));
    return db.getBaseUserInfo(record.name);
}

template <typename Set>
PelkoRoom storedRoom(PelkoDBManager& db, const Set& set) {
    PelkoRoom record = room(99);
    set(record);
    EXPECT_TRUE(db.insertOrUpdateRoom(&record, 1));
    EXPECT_TRUE(db.insertOrUpdateRoom(&record, 2));
    return db.getRoomInfo(99);
}

template <typename Set>
PelkoGroup storedGroup(PelkoDBManager& db, const Set& set) {
    PelkoGroup record = group(99);
    set(record);
    EXPECT_TRUE(db.insertOrUpdateGroup(&record, 1));
    EXPECT_TRUE(db.insertOrUpdateGroup(&record, 2));
    return db.getGroupInfo(99);
}

template <typename Set>
PelkoNotify storedNotify(PelkoDBManager& db, const Set& set) {
    PelkoNotify record = notification(PelkoNotifyTypeGroupInvite, 1, false);
    set(record);
    EXPECT_TRUE(db.insertNotify(&record));
    return db.getNottify(record.dbID);
}

using Db = PelkoDBManager;
using Text = std::string;

const TextField textFields[] = {
    {"MessageText",
     [](Db& db, const Text& t) { return storedMessage(db, [&](PelkoMessage& m) { m.text = t; }).text; },
     "tbl_msg", "text"},
    {"MessageExtraText",
     [](Db& db, const Text& t) {
         return storedMessage(db, [&](PelkoMessage& m) { m.extraText = t; }).extraText;
     },
     "tbl_msg", "extra_path"},
    {"MessageUrl",
     [](Db& db, const Text& t) {
         return storedMessage(db, [&](PelkoMessage& m) { m.media.url = t; }).media.url;
     },
     "tbl_msg", "media_url"},
    {"MessagePath",
     [](Db& db, const Text& t) {
         return storedMessage(db, [&](PelkoMessage& m) { m.media.path = "/" + t; }).media.path.substr(1);
     },
     "tbl_msg", "substr(media_path, 2)"},
    {"MessageSecondPath",
     [](Db& db, const Text& t) {
         return storedMessage(db, [&](PelkoMessage& m) { m.media.pathEx = "/" + t; }).media.pathEx.substr(1);
     },
     "tbl_msg", "substr(ex_media_path, 2)"},
    {"MessageSender",
     [](Db& db, const Text& t) {
         return storedMessage(db, [&](PelkoMessage& m) { m.sender.name = t; }).sender.name;
     },
     "tbl_msg", "sender_id"},
    {"MessageReceiver",
     [](Db& db, const Text& t) {
         return storedMessage(db, [&](PelkoMessage& m) { m.receiver.name = t; }).receiver.name;
     },
     "tbl_msg", "receiver_id"},
    {"Conversation",
     [](Db& db, const Text& t) {
         storedMessage(db, [&](PelkoMessage& m) { m.receiver.name = "me", m.sender.name = t; });
         std::deque<PelkoMessage> page;
         EXPECT_TRUE(db.getLatestMessages(PelkoUser(t), 5, page));
         EXPECT_TRUE(db.clearUnreadStatus(PelkoUser(t)));
         EXPECT_EQ(db.getUnreadCountOfTarget(PelkoUser(t)), 0U);
         return page.size() == 1 ? page.front().sender.name : "not found";
     },
     "tbl_msg", "sender_id"},
    {"UserName",
     [](Db& db, const Text& t) {
         Text name = t;
         EXPECT_TRUE(storedUser(db, [&](PelkoUser& u) { u.name = t; }).info == profile("new").info);
         EXPECT_TRUE(db.userExist(name));
         EXPECT_EQ(db.getTargetInfoVersion(PelkoUser(t)), 2U);
         return t.substr(0, t.find('\0'));
     },
     "tbl_user", "username"},
    {"UserNickname",
     [](Db& db, const Text& t) { return storedUser(db, [&](PelkoUser& u) { u.nickname = t; }).nickname; },
     "tbl_user", "nickname"},
    {"UserInfo", [](Db& db, const Text& t) { return storedUser(db, [&](PelkoUser& u) { u.info = t; }).info; },
     "tbl_user", "info"},
    {"UserIconUrl",
     [](Db& db, const Text& t) { return storedUser(db, [&](PelkoUser& u) { u.icon.url = t; }).icon.url; },
     "tbl_user", "icon_url"},
    {"UserIconPath",
     [](Db& db, const Text& t) {
         return storedUser(db, [&](PelkoUser& u) { u.icon.path = "/" + t; }).icon.path.substr(1);
     },
     "tbl_user", "substr(icon_path, 2)"},
    {"UserSecondIconPath",
     [](Db& db, const Text& t) {
         return storedUser(db, [&](PelkoUser& u) { u.icon.pathEx = "/" + t; }).icon.pathEx.substr(1);
     },
     "tbl_user", "substr(ex_icon_path, 2)"},
    {"RoomName", [](Db& db, const Text& t) { return storedRoom(db, [&](PelkoRoom& r) { r.name = t; }).name; },
     "tbl_room", "name"},
    {"RoomInfo", [](Db& db, const Text& t) { return storedRoom(db, [&](PelkoRoom& r) { r.info = t; }).info; },
     "tbl_room", "info"},
    {"RoomIconUrl",
     [](Db& db, const Text& t) { return storedRoom(db, [&](PelkoRoom& r) { r.icon.url = t; }).icon.url; },
     "tbl_room", "icon_url"},
    {"RoomIconPath",
     [](Db& db, const Text& t) {
         return storedRoom(db, [&](PelkoRoom& r) { r.icon.path = "/" + t; }).icon.path.substr(1);
     },
     "tbl_room", "substr(icon_path, 2)"},
    {"RoomSecondIconPath",
     [](Db& db, const Text& t) {
         return storedRoom(db, [&](PelkoRoom& r) { r.icon.pathEx = "/" + t; }).icon.pathEx.substr(1);
     },
     "tbl_room", "substr(icon_path_ex, 2)"},
    {"GroupName",
     [](Db& db, const Text& t) { return storedGroup(db, [&](PelkoGroup& g) { g.name = t; }).name; },
     "tbl_group", "name"},
    {"GroupInfo",
     [](Db& db, const Text& t) { return storedGroup(db, [&](PelkoGroup& g) { g.info = t; }).info; },
     "tbl_group", "info"},
    {"GroupOwner",
     [](Db& db, const Text& t) {
         return storedGroup(db, [&](PelkoGroup& g) { g.ownerAccount = t; }).ownerAccount;
     },
     "tbl_group", "owner"},
    {"GroupIconUrl",
     [](Db& db, const Text& t) { return storedGroup(db, [&](PelkoGroup& g) { g.icon.url = t; }).icon.url; },
     "tbl_group", "icon_url"},
    {"GroupIconPath",
     [](Db& db, const Text& t) {
         return storedGroup(db, [&](PelkoGroup& g) { g.icon.path = "/" + t; }).icon.path.substr(1);
     },
     "tbl_group", "substr(icon_path, 2)"},
    {"GroupSecondIconPath",
     [](Db& db, const Text& t) {
         return storedGroup(db, [&](PelkoGroup& g) { g.icon.pathEx = "/" + t; }).icon.pathEx.substr(1);
     },
     "tbl_group", "substr(icon_path_ex, 2)"},
    {"Session",
     [](Db& db, const Text& t) {
         PelkoSession session;
         session.target = PelkoUser(t);
         EXPECT_TRUE(db.insertNewSession(session));
         EXPECT_TRUE(db.markSessionIsTop(session.target, true, 1));
         EXPECT_TRUE(db.updateSessionLastMsg(session.target, 1));
         std::list<PelkoSession> sessions;
         EXPECT_TRUE(db.loadSessionList(sessions));
         return sessions.back().target.name;
     },
     "tbl_session", "target_id"},
    {"Friend",
     [](Db& db, const Text& t) {
         Text name = t;
         EXPECT_TRUE(db.addFriend(name));
         EXPECT_TRUE(db.isFriend(name));
         EXPECT_FALSE(db.addFriend(name)) << "is on the list";
         return db.getFriendUsernames().back();
     },
     "tbl_relationship", "username"},
    {"Blocked",
     [](Db& db, const Text& t) {
         Text name = t;
         EXPECT_TRUE(db.blockUser(name));
         EXPECT_TRUE(db.isBlocked(name));
         std::vector<PelkoUser> users;
         EXPECT_TRUE(db.getBlockList(users));
         return users.back().name;
     },
     "tbl_relationship", "username"},
    {"NotificationText",
     [](Db& db, const Text& t) { return storedNotify(db, [&](PelkoNotify& n) { n.text = t; }).text; },
     "tbl_notify", "text"},
    {"NotificationSender",
     [](Db& db, const Text& t) {
         return storedNotify(db, [&](PelkoNotify& n) { n.sender.name = t; }).sender.name;
     },
     "tbl_notify", "sender_name"},
    {"NotificationReceiver",
     [](Db& db, const Text& t) {
         return storedNotify(db, [&](PelkoNotify& n) { n.receiver.name = t; }).receiver.name;
     },
     "tbl_notify", "receiver_name"},
    {"NotificationFrom",
     [](Db& db, const Text& t) {
         return storedNotify(db, [&](PelkoNotify& n) { n.from.name = t; }).from.name;
     },
     "tbl_notify", "from_name"},
    {"KeyOfAMark",
     [](Db& db, const Text& t) {
         EXPECT_TRUE(db.updateLastMsgID(t, 5));
         EXPECT_TRUE(db.updateLastMsgID(t, 4));
         EXPECT_EQ(db.getLastMsgID(t), 4);
         return t.substr(0, t.find('\0'));
     },
     "tbl_last_msg_id", "key"},
};

std::string tenMegabytesOf(char c) {
    std::string text;
    text.resize(10000000, c);
    return text;
}

class TextExtremesTest : public FilledStoreTest, public testing::WithParamInterface<TextField> {
protected:
    /// How many rows have a text of that many bytes in the field's column.
    int rowsOfLength(std::size_t length) {
        const std::string condition =
            std::string("length(CAST(") + GetParam().column + " AS BLOB)) = " + std::to_string(length);
        return db().queryCount(GetParam().table, condition.c_str());
    }
};

TEST_P(TextExtremesTest, IsStoredUpToItsFirstNulByte) {
    const std::string text("just this\0and 'nothing' else\0", 29);
    EXPECT_EQ(GetParam().throughTheStore(db(), text), "just this");
    EXPECT_EQ(rowsOfLength(9), 1);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_P(TextExtremesTest, HoldsTenMegabytes) {
    const std::string text = tenMegabytesOf('x');
    EXPECT_TRUE(GetParam().throughTheStore(db(), text) == text);
    EXPECT_EQ(rowsOfLength(text.size()), 1);
    EXPECT_THAT(lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(All, TextExtremesTest, testing::ValuesIn(textFields),
                         [](const testing::TestParamInfo<TextField>& field) { return field.param.name; });

using TextsTest = FilledStoreTest;

TEST_F(TextsTest, AllTextsOfARowHoldTenMegabytesTogether) {
    PelkoMessage record = mediaMessage(0, 1, PelkoUser(), PelkoUser(), PelkoMessageTypeImage,
                                       PelkoMessageStatusRead, PelkoMediaStatusCreated);
    const std::string text = tenMegabytesOf('\'');  // each takes twice its place in the statement
    const std::string path = "/" + tenMegabytesOf('x');
    record.text = record.sender.name = record.receiver.name = text;
    record.extraText = record.media.url = record.media.path = record.media.pathEx = path;
    EXPECT_TRUE(db().insertMessage(&record));
    const PelkoMessage read = db().getMessage(record.dbID);
    EXPECT_TRUE(read.text == text);
    EXPECT_TRUE(read.sender.name == text);
    EXPECT_TRUE(read.receiver.name == text);
    EXPECT_TRUE(read.extraText == path);
    EXPECT_TRUE(read.media.url == path);
    EXPECT_TRUE(read.media.path == path);
    EXPECT_TRUE(read.media.pathEx == path);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(TextsTest, ATextBeyondTheLimitIsRefused) {
    const StoredRows before = rows();
    // As long as a statement may be; with the words around it, it is too long.
    const std::string text(std::size_t{128} * 1024 * 1024, 'x');
    PelkoMessage record = PelkoMessage::createTextMessage(PelkoUser("alice"), text);
    EXPECT_FALSE(db().insertMessage(&record));
    EXPECT_EQ(record.dbID, 0);
    EXPECT_THAT(lines(), ElementsAre("insertMessage failed, exception in (string or blob too big)."));
    EXPECT_EQ(db().getLastMsgID(text), 0);
    EXPECT_FALSE(db().updateLastMsgID(text, 1));
    EXPECT_THAT(lines(), ElementsAre("getLastMsgID failed, exception in (string or blob too big).",
                                     "getLastMsgID failed, exception in (string or blob too big).",
                                     "updateLastMsgID failed, exception in (string or blob too big)."));
    EXPECT_EQ(difference(before, rows()), "");
    // The next one is stored.
    record.text = "shorter";
    EXPECT_TRUE(db().insertMessage(&record));
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(TextsTest, NamesAreLookedUpUpToTheirFirstNulByte) {
    const std::string alice("alice\0and more", 14);
    std::string name = alice;
    EXPECT_TRUE(db().isFriend(name));
    EXPECT_FALSE(db().isBlocked(name));
    EXPECT_FALSE(db().addFriend(name));
    EXPECT_EQ(db().getUserInfo(alice).nickname, "alice's nickname");
    EXPECT_EQ(db().getTargetInfoVersion(PelkoUser(alice)), 2U);
    EXPECT_EQ(db().getUnreadCountOfTarget(PelkoUser(alice)), db().getUnreadCountOfTarget(PelkoUser("alice")));
    std::deque<PelkoMessage> page;
    EXPECT_TRUE(db().getHistoryMessages(PelkoUser(alice), 12, 3, page));
    EXPECT_THAT(page, SizeIs(3));
    EXPECT_TRUE(db().deleteFriend(name));
    EXPECT_TRUE(db().deleteUser(name));
    EXPECT_TRUE(db().deleteSession(PelkoUser(alice)));
    EXPECT_TRUE(db().clearMessages(PelkoUser(alice)));
    page.clear();
    EXPECT_TRUE(db().getLatestMessages(PelkoUser("alice"), 3, page));
    EXPECT_THAT(page, IsEmpty());
    std::vector<std::string> names = {std::string("eve\0a", 5), std::string("eve\0b", 5),
                                      std::string("\0c", 2)};
    EXPECT_EQ(db().saveFriendList(names), 2U) << "eve and nobody";
    EXPECT_TRUE(db().replaceBlockList(names));
    EXPECT_THAT(db().getBlockUsernames(), ElementsAre("eve", ""));
    EXPECT_TRUE(db().setMsgConfig(PelkoUser(std::string("12\0'", 4)), 3));
    EXPECT_EQ(db().getMsgConfig(PelkoUser("12")), 3);
    EXPECT_EQ(db().transStringQuote(std::string("it's\0it's", 9)), std::string("it''s\0it''s", 11));
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(TextsTest, TheOwnNameEndsAtItsFirstNulByte) {
    LoginContext::getInstance()->setUserName(std::string("me\0too", 6));
    std::deque<PelkoMessage> page;
    EXPECT_TRUE(db().getLatestMessages(PelkoUser("alice"), 100, page));
    EXPECT_THAT(page, SizeIs(16));
    EXPECT_EQ(db().getUnreadCountOfTarget(PelkoUser("alice")), 2U);
    mStore.close();
    EXPECT_TRUE(db().setUp());
    EXPECT_THAT(lines(), IsEmpty());
}

}  // namespace

}  // namespace pelkotest
