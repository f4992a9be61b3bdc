#include <climits>
#include <deque>
#include <list>
#include <numeric>
#include <string>
#include <tuple>
#include <vector>

#include "tests/reliability/support/FilledStoreTest.h"
#include "tests/reliability/support/RecordText.h"
#include "tests/reliability/support/SampleRecords.h"

// Arguments at the ends of what their types hold: null records, long lists, the greatest and least numbers.

namespace pelkotest {

namespace {

using namespace pelkoapi;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using ExtremesTest = FilledStoreTest;

// ---- null records

TEST_F(ExtremesTest, NullRecordsAreRefusedWithoutAWord) {
    const StoredRows before = rows();
    EXPECT_FALSE(db().insertMessage(nullptr));
    EXPECT_FALSE(db().insertOrUpdateRoom(nullptr, 1));
    EXPECT_FALSE(db().insertOrUpdateGroup(nullptr, 1));
    EXPECT_FALSE(db().insertNotify(nullptr));
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_EQ(difference(before, rows()), "");

    db().tearDown();
    EXPECT_FALSE(db().insertMessage(nullptr));
    EXPECT_FALSE(db().insertOrUpdateRoom(nullptr, 1));
    EXPECT_FALSE(db().insertOrUpdateGroup(nullptr, 1));
    EXPECT_FALSE(db().insertNotify(nullptr));
    EXPECT_THAT(lines(), Each(testing::StartsWith("db is not ready(insert"))) << "which is looked at first";
}

// ---- long lists

constexpr int many = 100000;

template <typename Number>
std::vector<Number> numbersFrom(Number first, int count) {
    std::vector<Number> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
}

TEST_F(ExtremesTest, AHundredThousandMessagesAreDeletedAtOnce) {
    std::vector<s64> ids = numbersFrom<s64>(3, many);
    EXPECT_TRUE(db().deleteMessages(ids));
    EXPECT_EQ(db().queryCount("tbl_msg", "1"), 2);
    EXPECT_THAT(platform().removed, SizeIs(20 * 3)) << "of the rows that there were";
    EXPECT_FALSE(db().deleteMessages(ids)) << "none is left";
    EXPECT_THAT(lines(), IsEmpty());
    ids = std::vector<s64>(many, 1);
    EXPECT_TRUE(db().deleteMessages(ids));
    EXPECT_EQ(db().queryCount("tbl_msg", "1"), 1);
    EXPECT_THAT(platform().removed, SizeIs(3)) << "once, however often it is named";
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(ExtremesTest, AMillionMessagesAreDeletedAtOnce) {
    std::vector<s64> ids = numbersFrom<s64>(1000000000001, 1000000);
    ids.push_back(22);
    EXPECT_TRUE(db().deleteMessages(ids));
    EXPECT_EQ(db().queryCount("tbl_msg", "1"), 21);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(ExtremesTest, AHundredThousandNotificationsAreDeletedAtOnce) {
    EXPECT_TRUE(db().deleteNotifys(numbersFrom<long>(2, many)));
    EXPECT_EQ(db().queryCount("tbl_notify", "1"), 1);
    EXPECT_FALSE(db().deleteNotifys(numbersFrom<long>(2, many)));
    EXPECT_TRUE(db().deleteNotifys(std::vector<long>(many, 1)));
    EXPECT_EQ(db().queryCount("tbl_notify", "1"), 0);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(ExtremesTest, AHundredThousandKinds) {
    std::vector<PelkoChatTargetType> types(many, PelkoChatTargetTypeUser);
    types.push_back(static_cast<PelkoChatTargetType>(INT_MIN));
    types.push_back(static_cast<PelkoChatTargetType>(INT_MAX));
    std::vector<PelkoChatTargetType> users(1, PelkoChatTargetTypeUser);
    EXPECT_EQ(db().getUnreadCountOfTypes(types), db().getUnreadCountOfTypes(users));
    EXPECT_GT(db().getUnreadCountOfTypes(users), 0U);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(ExtremesTest, AHundredThousandNamesAndIdsAreSavedWithinATransaction) {
    std::vector<std::string> names;
    names.reserve(many);
    for (int i = 0; i < many; ++i) {
        names.push_back("user number " + std::to_string(i));
    }
    std::vector<long long> ids = numbersFrom<long long>(1000, many);
    db().beginTransaction();
    EXPECT_TRUE(db().replaceFriendList(names));
    EXPECT_EQ(db().saveGroupList(ids), static_cast<uint>(many));
    db().commiteTransaction();
    EXPECT_TRUE(db().getFriendUsernames() == names);
    EXPECT_EQ(db().queryCount("tbl_group_list", "group_id >= 1000"), many);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(ExtremesTest, TenThousandMessagesAreSavedWithinATransactionAndReadAtOnce) {
    constexpr int count = 10000;
    std::vector<PelkoMessage> messages(
        count, message(0, 1, PelkoUser("alice"), PelkoUser("me"), "x", PelkoMessageStatusRead));
    for (int i = 0; i < count; ++i) {
        messages[static_cast<std::size_t>(i)].id = 10000 + i;
    }
    db().beginTransaction();
    EXPECT_EQ(db().saveMessageList(messages), static_cast<uint>(count));
    db().commiteTransaction();
    EXPECT_EQ(messages.front().dbID, 23);
    EXPECT_EQ(messages.back().dbID, 22 + count);
    std::deque<PelkoMessage> page;
    EXPECT_TRUE(db().getLatestMessages(PelkoUser("alice"), UINT_MAX, page));
    EXPECT_THAT(page, SizeIs(16 + count));
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(ExtremesTest, ListsWithTheSameTwice) {
    std::vector<std::string> names(5, "twice");
    EXPECT_EQ(db().saveFriendList(names), 1U);
    EXPECT_TRUE(db().replaceBlockList(names));
    EXPECT_THAT(db().getBlockUsernames(), ElementsAre("twice"));
    std::vector<long long> ids(5, 500);
    EXPECT_EQ(db().saveGroupList(ids), 1U);
    EXPECT_TRUE(db().replaceGroupList(ids));
    EXPECT_EQ(rows()["tbl_group_list"], std::vector<std::string>{"500"});
    std::vector<PelkoMessage> messages(
        5, message(500, 1, PelkoUser("alice"), PelkoUser("me"), "x", PelkoMessageStatusRead));
    EXPECT_EQ(db().saveMessageList(messages), 5U) << "a known one counts as stored";
    EXPECT_EQ(db().queryCount("tbl_msg", "msg_id = 500"), 1);
    EXPECT_THAT(lines(), IsEmpty());
}

// ---- numbers

TEST_F(ExtremesTest, CountsOfMessages) {
    const PelkoUser alice("alice");
    std::deque<PelkoMessage> page;
    EXPECT_FALSE(db().getLatestMessages(alice, 0, page));
    EXPECT_FALSE(db().getHistoryMessages(alice, 22, 0, page));
    EXPECT_THAT(page, IsEmpty());
    for (const auto& [count, latest, history] :
         {std::tuple(1U, 1U, 1U), std::tuple(2147483647U, 16U, 15U), std::tuple(2147483648U, 16U, 15U),
          std::tuple(4294967295U, 16U, 15U)}) {
        page.clear();
        EXPECT_TRUE(db().getLatestMessages(alice, count, page));
        EXPECT_THAT(page, SizeIs(latest)) << count;
        page.clear();
        EXPECT_TRUE(db().getHistoryMessages(alice, 22, count, page));
        EXPECT_THAT(page, SizeIs(history)) << count;
    }
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(ExtremesTest, IdsOfMessages) {
    for (const s64 id : {LLONG_MIN, LLONG_MIN + 1, -1LL, 2147483648LL, 4294967296LL, LLONG_MAX}) {
        SCOPED_TRACE(id);
        EXPECT_EQ(recordText(db().getReceivedMessage(id)), recordText(PelkoMessage()));
        PelkoMessage record =
            message(id, 1, PelkoUser("alice"), PelkoUser("me"), "x", PelkoMessageStatusUnread);
        EXPECT_TRUE(db().insertMessage(&record));
        EXPECT_EQ(db().getReceivedMessage(id).id, id);
        EXPECT_EQ(db().getMessage(record.dbID).id, id);
        EXPECT_EQ(db().ifMsgIDExist(id), id > 0);
        const s64 dbID = record.dbID;
        EXPECT_TRUE(db().insertMessage(&record)) << "is known";
        EXPECT_EQ(record.dbID, dbID);
        EXPECT_EQ(db().queryCount("tbl_msg", ("msg_id = " + std::to_string(id)).c_str()), 1);

        // Row ids that there are not.
        EXPECT_EQ(recordText(db().getMessage(id)), recordText(PelkoMessage()));
        EXPECT_FALSE(db().updateMessageStatus(id, PelkoMessageStatusRead));
        EXPECT_FALSE(db().updateMessageMediaStatus(id, PelkoMediaStatusCreated));
        record.dbID = id;
        EXPECT_FALSE(db().updateMessage(record));
        std::vector<s64> ids = {id};
        EXPECT_FALSE(db().deleteMessages(ids));
        std::deque<PelkoMessage> page;
        EXPECT_EQ(db().getHistoryMessages(PelkoUser("alice"), id, 5, page), id > 0);
        EXPECT_THAT(page, IsEmpty());
        EXPECT_TRUE(db().updateSessionLastMsg(PelkoUser("alice"), id));
    }
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(ExtremesTest, IdsOfTargets) {
    for (const s64 id : {LLONG_MIN, -1LL, 0LL, 4294967295LL, LLONG_MAX}) {
        for (const auto type :
             {PelkoChatTargetTypeRoom, PelkoChatTargetTypeGroup, PelkoChatTargetTypeCustomerService}) {
            SCOPED_TRACE(std::to_string(id) + " of " + std::to_string(type));
            const PelkoChatTarget target(id, type);
            EXPECT_TRUE(db().setMsgConfig(target, INT_MAX));
            EXPECT_TRUE(db().setMsgConfig(target, 0));
            EXPECT_EQ(db().getMsgConfig(target), 0);
            PelkoSession session;
            session.target = target;
            session.priority = INT_MIN;
            EXPECT_TRUE(db().insertNewSession(session));
            EXPECT_TRUE(db().markSessionIsTop(target, true, INT_MAX));
            PelkoMessage record =
                message(0, UINT_MAX, PelkoUser("me"), target, "x", PelkoMessageStatusUnread);
            EXPECT_TRUE(db().insertMessage(&record));
            std::list<PelkoSession> sessions;
            EXPECT_TRUE(db().loadSessionList(sessions));
            EXPECT_EQ(sessions.back().priority, INT_MAX);
            EXPECT_EQ(sessions.back().target.type, type);
            EXPECT_EQ(sessions.back().target.id,
                      type == PelkoChatTargetTypeGroup ? id : static_cast<s64>(static_cast<uint>(id)));
            EXPECT_EQ(db().getUnreadCountOfTarget(target), 1U);
            std::deque<PelkoMessage> page;
            EXPECT_TRUE(db().getLatestMessages(target, 5, page));
            EXPECT_THAT(page, SizeIs(1));
            EXPECT_TRUE(db().clearMessages(target));
            EXPECT_TRUE(db().deleteSession(target));
        }
    }
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(ExtremesTest, EnumerationsKeepTheirNumbers) {
    for (const int number : {INT_MIN, -1, 100, INT_MAX}) {
        SCOPED_TRACE(number);
        PelkoMessage record =
            message(0, 1, PelkoUser("alice"), PelkoUser("me"), "x", static_cast<PelkoMessageStatus>(number));
        record.type = static_cast<PelkoMessageType>(number);
        record.media.type = static_cast<PelkoMediaType>(number);
        record.media.status = static_cast<PelkoMediaStatus>(number);
        EXPECT_TRUE(db().insertMessage(&record));
        EXPECT_EQ(db().getMessage(record.dbID).type, number);
        EXPECT_EQ(db().getMessage(record.dbID).status, number);
        EXPECT_EQ(recordText(db().getMessage(record.dbID).media), recordText(PelkoMedia())) << "of no kind";
        EXPECT_TRUE(db().updateMessageStatus(record.dbID, static_cast<PelkoMessageStatus>(number)));
        EXPECT_TRUE(db().updateMessageMediaStatus(3, static_cast<PelkoMediaStatus>(number)));
        EXPECT_EQ(db().getMessage(3).media.status, number);

        PelkoUser user = profile("alice");
        user.gender = static_cast<PelkoUserGender>(number);
        EXPECT_TRUE(db().insertOrUpdateUser(user, 1));
        EXPECT_EQ(db().getUserInfo("alice").gender, number);
        PelkoGroup record2 = group(77);
        record2.ownerType = static_cast<PelkoGroupType>(number);
        EXPECT_TRUE(db().insertOrUpdateGroup(&record2, 1));
        EXPECT_EQ(db().getGroupInfo(77).ownerType, number);
        PelkoNotify notify = notification(static_cast<PelkoNotifyType>(number), 1, false);
        notify.sender.type = static_cast<PelkoChatTargetType>(number);
        EXPECT_TRUE(db().insertNotify(&notify));
        EXPECT_EQ(db().getNottify(notify.dbID).type, number);
        EXPECT_EQ(db().getNottify(notify.dbID).sender.type, number);
    }
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(ExtremesTest, ATargetOfNoKindHasNoConversation) {
    for (const int number : {INT_MIN, -1, 4, INT_MAX}) {
        SCOPED_TRACE(number);
        const PelkoChatTarget target(7, static_cast<PelkoChatTargetType>(number));
        const StoredRows before = rows();
        std::deque<PelkoMessage> page;
        EXPECT_FALSE(db().getLatestMessages(target, 5, page));
        EXPECT_FALSE(db().getHistoryMessages(target, 22, 5, page));
        EXPECT_FALSE(db().clearUnreadStatus(target));
        EXPECT_EQ(db().getUnreadCountOfTarget(target), 0U);
        EXPECT_FALSE(db().clearMessages(target));
        const auto failed = [](const char* operation) {
            return testing::StartsWith(std::string(operation) + " failed, exception in (");
        };
        EXPECT_THAT(lines(), ElementsAre(failed("getLatestMessages"), failed("getHistoryMessages"),
                                         failed("clearUnreadStatus"), failed("queryCount"),
                                         failed("clearMessages"), failed("clearMessages")));
        EXPECT_EQ(db().getTargetInfoVersion(target), 0U);
        EXPECT_FALSE(db().deleteSession(target));
        EXPECT_EQ(db().getMsgConfig(target), -1);
        EXPECT_THAT(lines(), IsEmpty());
        EXPECT_EQ(difference(before, rows()), "");
    }
}

TEST_F(ExtremesTest, RowIdsOfNotifications) {
    for (const long id : {LONG_MIN, -1L, 0L, LONG_MAX}) {
        EXPECT_EQ(recordText(db().getNottify(id)), recordText(PelkoNotify()));
        EXPECT_FALSE(db().markNotifyIsRead(id, true));
        EXPECT_FALSE(db().deleteNotifys({id}));
    }
    EXPECT_TRUE(db().deleteNotifys({LONG_MIN, 1, LONG_MAX}));
    EXPECT_THAT(lines(), IsEmpty());
}

}  // namespace

}  // namespace pelkotest
