// Values that stand unescaped between the single quotes of a statement: media url, extra text and paths of a
// message, and the logged-in user's name. One with a single quote fails its operation, however well-formed
// the statement would be with it; one without reaches SQLite byte for byte.

#include <gmock/gmock.h>

#include <deque>
#include <list>
#include <string>
#include <utility>
#include <vector>

#include "classes/platform/LoginContext.h"
#include "tests/support/StoreTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// Values that end their literal early, in any of the statements.
const std::vector<std::string>& valuesWithQuotes() {
    static const std::vector<std::string> values = {
        "'",
        "''",
        "'''",
        "it's",
        "' at the start",
        "at the end'",
        "a''b",
        "x'||'y",
        "x' || (SELECT text FROM tbl_msg LIMIT 1) || '",
        "x' WHERE 1=1 --",
        "x' WHERE db_id = 2 --",
        "x', sender_id = 'boss",
        "x', text = 'pwned' --",
        "x'; DELETE FROM tbl_msg; --",
        "x'; DELETE FROM tbl_msg WHERE ''='",
        "x' /*",
        "nobody' OR '1'='1",
        "nobody'))) OR 1=1 --",
        "nobody' OR status = 1 OR '1'='",
        "x\\'",
        "100%' --",
        "\xC3\xBC'\xC3\xBC",
        // For each place in the list of values: the rest of its row, then a second row up to the place.
        "x', 'p', 'u', 0, 0, 0, 'bob', 0, 'eve', 1, 'e'), (666, 0, 1, 'evil', 0, 'y",
        "x', 'u', 0, 0, 0, 'bob', 0, 'eve', 1, 'e'), (666, 0, 1, 'evil', 0, 'p', 'y",
        "x', 0, 0, 0, 'bob', 0, 'eve', 1, 'e'), (666, 0, 1, 'evil', 0, 'p', 'p', 'y",
        "x'), (666, 0, 1, 'evil', 0, 'p', 'p', 'u', 0, 0, 0, 'bob', 0, 'eve', 1, 'y",
        // The same, with the template's own rest cut off.
        "x', 'p', 'u', 0, 0, 0, 'bob', 0, 'eve', 1, 'e') --",
        "x', 'u', 0, 0, 0, 'bob', 0, 'eve', 1, 'e') --",
        "x', 0, 0, 0, 'bob', 0, 'eve', 1, 'e') --",
        "x') --",
    };
    return values;
}

/// Values that mean something somewhere, but not between single quotes.
const std::vector<std::string>& valuesWithoutQuotes() {
    static const std::vector<std::string> values = {
        "",
        " ",
        "plain",
        "%s %d %n %% 100%",
        "a; DROP TABLE tbl_msg;",
        "C:\\new\\table\\",
        "-- no comment",
        "/* no comment */",
        "\"double\" `back` [square]",
        "\xE2\x80\x99 \xCA\xBC \xEF\xBC\x87",  // apostrophes that are none to SQLite
        "J\xC3\xBCrgen \xF0\x9F\x98\x80",
        "line\r\nline\ttab",
        "?1 :a @b $c",
        ") OR 1=1",
        "NULL",
        "http://host/path?a=1&b=%27#x",
        std::string(100000, 'x'),
    };
    return values;
}

/// A field of a message that is not escaped.
struct Field {
    const char* name;
    std::string& (*of)(PelkoMessage&);
};

void PrintTo(const Field& field, std::ostream* out) {
    *out << field.name;
}

const Field mediaUrl = {"mediaUrl", [](PelkoMessage& message) -> std::string& { return message.media.url; }};
const Field extraText = {"extraText",
                         [](PelkoMessage& message) -> std::string& { return message.extraText; }};
const Field mediaPath = {"mediaPath",
                         [](PelkoMessage& message) -> std::string& { return message.media.path; }};
const Field secondPath = {"secondPath",
                          [](PelkoMessage& message) -> std::string& { return message.media.pathEx; }};

/// Two users' messages to the logged-in user, an own one, one from a customer service and one of strangers,
/// all unread: rows that a widened statement would find, change or add to.
class UnescapedValuesTest : public StoreTest {
protected:
    void SetUp() override {
        StoreTest::SetUp();
        for (const auto& [sender, receiver] :
             std::vector<std::pair<PelkoChatTarget, PelkoChatTarget>>{{"alice", "me"},
                                                                      {"bob", "me"},
                                                                      {"me", "alice"},
                                                                      {PelkoCustomerService(9U), "me"},
                                                                      {"eve", "boss"}}) {
            PelkoMessage message = PelkoMessage::createTextMessage(sender, receiver, "secret");
            message.status = PelkoMessageStatusUnread;
            message.date = 1;
            ASSERT_TRUE(db().insertMessage(&message));
        }
        mBefore = dump();
        forget();
    }

    std::vector<Row> dump() const { return rows("SELECT * FROM tbl_msg ORDER BY db_id"); }
    void expectNothingStored() const { EXPECT_EQ(dump(), mBefore); }
    void expectRefused(const char* operation) const {
        expectFailureLogged(operation, HasSubstr("unrecognized token"));
        expectNothingStored();
    }

private:
    std::vector<Row> mBefore;
};

// ---- fields of a message

class UnescapedField : public UnescapedValuesTest, public testing::WithParamInterface<Field> {
protected:
    static PelkoMessage messageWith(const std::string& value, s64 id = 0) {
        PelkoMessage message = imageMessage();
        message.id = id;
        GetParam().of(message) = value;
        return message;
    }
};

TEST_P(UnescapedField, QuoteMakesInsertFail) {
    for (const std::string& value : valuesWithQuotes()) {
        SCOPED_TRACE(value);
        forget();
        PelkoMessage message = messageWith(value);
        EXPECT_FALSE(db().insertMessage(&message));
        EXPECT_EQ(message.dbID, 0);
        expectRefused("insertMessage");
        EXPECT_THAT(statements(), IsEmpty());
    }
}

TEST_P(UnescapedField, QuoteMakesInsertWithAServiceIdFail) {
    for (const std::string& value : valuesWithQuotes()) {
        SCOPED_TRACE(value);
        forget();
        PelkoMessage message = messageWith(value, 7);
        EXPECT_FALSE(db().insertMessage(&message));
        expectRefused("insertMessage");
        EXPECT_THAT(statements(), ElementsAre("SELECT * FROM tbl_msg WHERE msg_id = 7"));
    }
}

TEST_P(UnescapedField, QuoteMakesUpdateFail) {
    for (const std::string& value : valuesWithQuotes()) {
        SCOPED_TRACE(value);
        forget();
        PelkoMessage message = messageWith(value);
        message.dbID = 1;
        EXPECT_FALSE(db().updateMessage(message));
        expectRefused("updateMessage");
        EXPECT_THAT(statements(), IsEmpty());
    }
}

TEST_P(UnescapedField, QuoteInAKnownMessageIsReportedByTheUpdate) {
    execute("UPDATE tbl_msg SET msg_id = 7 WHERE db_id = 1");
    const std::vector<Row> before = dump();
    for (const std::string& value : valuesWithQuotes()) {
        SCOPED_TRACE(value);
        forget();
        PelkoMessage message = messageWith(value, 7);
        message.dbID = 1;
        EXPECT_TRUE(db().insertMessage(&message));  // known, whatever becomes of its update
        expectFailureLogged("updateMessage", HasSubstr("unrecognized token"));
        EXPECT_EQ(dump(), before);
    }
}

TEST_P(UnescapedField, QuoteIsNotCountedAsSaved) {
    std::vector<PelkoMessage> list;
    for (const std::string& value : valuesWithQuotes()) {
        list.push_back(messageWith(value));
    }
    EXPECT_EQ(db().saveMessageList(list), 0U);
    EXPECT_EQ(platform().file.size(), list.size());
    EXPECT_THAT(platform().file,
                testing::Each(testing::StartsWith("insertMessage failed, exception in (unrecognized token")));
    expectNothingStored();
}

TEST_P(UnescapedField, ValuesWithoutAQuoteAreInsertedByteForByte) {
    for (const std::string& value : valuesWithoutQuotes()) {
        SCOPED_TRACE(value.substr(0, 50));
        forget();
        PelkoMessage message = messageWith(value);
        ASSERT_TRUE(db().insertMessage(&message));
        EXPECT_THAT(statements(), Contains(HasSubstr("'" + value + "'")));
        const std::string columns = "media_url, extra_path, media_path, ex_media_path";
        EXPECT_THAT(
            rows("SELECT " + columns + " FROM tbl_msg WHERE db_id = " + std::to_string(message.dbID)).front(),
            Contains(Value(value)));
        EXPECT_EQ(db().getMessage(message.dbID).sender, PelkoUser("alice"));
        expectNothingLogged();
    }
}

TEST_P(UnescapedField, ValuesWithoutAQuoteAreUpdatedByteForByte) {
    execute("UPDATE tbl_msg SET type = 1, media_type = 1");
    for (const std::string& value : valuesWithoutQuotes()) {
        SCOPED_TRACE(value.substr(0, 50));
        forget();
        PelkoMessage message = messageWith("/" + value);  // absolute, so that a path comes back as it is
        message.dbID = 1;
        ASSERT_TRUE(db().updateMessage(message));
        EXPECT_THAT(statements(), ElementsAre(HasSubstr(" = '/" + value + "'")));
        PelkoMessage back = db().getMessage(1);
        EXPECT_EQ(GetParam().of(back), "/" + value);
        expectNothingLogged();
    }
    EXPECT_EQ(value("SELECT count(*) FROM tbl_msg"), "5");
}

TEST_P(UnescapedField, ValueEndsAtItsFirstNulByte) {
    PelkoMessage message = messageWith(std::string("/ab\0'cd", 7));
    EXPECT_TRUE(db().insertMessage(&message));
    PelkoMessage back = db().getMessage(message.dbID);
    EXPECT_EQ(GetParam().of(back), "/ab");
    EXPECT_EQ(back.status, message.status);
    expectNothingLogged();
}

INSTANTIATE_TEST_SUITE_P(All, UnescapedField, testing::Values(mediaUrl, extraText, mediaPath, secondPath),
                         [](const testing::TestParamInfo<Field>& field) { return field.param.name; });

TEST_F(UnescapedValuesTest, TwoFieldsWithOneQuoteEachFail) {
    PelkoMessage message = imageMessage();
    message.id = 0;
    message.media.path = "x', '";  // would balance each other
    message.media.pathEx = "', 'y";
    EXPECT_FALSE(db().insertMessage(&message));
    expectRefused("insertMessage");
    forget();
    message.media.path = "p";
    message.media.pathEx = "p";
    message.extraText = "x' || /*";
    message.media.url = "*/ 'y";
    message.dbID = 1;
    EXPECT_FALSE(db().updateMessage(message));
    expectRefused("updateMessage");
}

TEST_F(UnescapedValuesTest, QuoteInAPathUnderTheDataRootFails) {
    PelkoMessage message = imageMessage();
    message.id = 0;
    message.media.path = "/app/it's.jpg";
    EXPECT_FALSE(db().insertMessage(&message));
    expectRefused("insertMessage");
}

TEST_F(UnescapedValuesTest, QuoteInTheDataRootItselfIsTakenOffWithIt) {
    platform().appRoot = "/o'brien";
    PelkoMessage message = imageMessage();
    message.media.path = "/o'brien/a.jpg";
    EXPECT_TRUE(db().insertMessage(&message));
    EXPECT_EQ(value("SELECT media_path FROM tbl_msg WHERE db_id = " + std::to_string(message.dbID)), "a.jpg");
    EXPECT_EQ(db().getMessage(message.dbID).media.path, "/o'brien/a.jpg");
}

// ---- the logged-in user's name

struct UnescapedPeer {
    const char* name;
    PelkoChatTarget target;
};

void PrintTo(const UnescapedPeer& peer, std::ostream* out) {
    *out << peer.name;
}

class UnescapedLoginName : public UnescapedValuesTest, public testing::WithParamInterface<UnescapedPeer> {
protected:
    static const PelkoChatTarget& peer() { return GetParam().target; }
    void logIn(const std::string& name) {
        LoginContext::getInstance()->setUserName(name);
        forget();
    }
};

TEST_P(UnescapedLoginName, QuoteMakesEveryOperationFail) {
    for (const std::string& name : valuesWithQuotes()) {
        SCOPED_TRACE(name);
        std::deque<PelkoMessage> out(1);
        logIn(name);
        EXPECT_FALSE(db().getLatestMessages(peer(), 100, out));
        expectRefused("getLatestMessages");
        logIn(name);
        EXPECT_FALSE(db().getHistoryMessages(peer(), 5, 100, out));
        expectRefused("getHistoryMessages");
        logIn(name);
        EXPECT_FALSE(db().clearUnreadStatus(peer()));
        expectRefused("clearUnreadStatus");
        logIn(name);
        EXPECT_EQ(db().getUnreadCountOfTarget(peer()), 0U);
        expectRefused("queryCount");
        EXPECT_EQ(out.size(), 1U);
        EXPECT_THAT(statements(), IsEmpty());
    }
}

TEST_P(UnescapedLoginName, NamesWithoutAQuoteWorkByteForByte) {
    for (const std::string& name : valuesWithoutQuotes()) {
        SCOPED_TRACE(name.substr(0, 50));
        PelkoMessage message = PelkoMessage::createTextMessage(peer(), PelkoUser(name), "for me alone");
        message.status = PelkoMessageStatusUnread;
        message.date = 2;
        ASSERT_TRUE(db().insertMessage(&message));
        logIn(name);
        std::deque<PelkoMessage> page;
        EXPECT_TRUE(db().getLatestMessages(peer(), 100, page));
        ASSERT_EQ(page.size(), 1U);
        EXPECT_EQ(page.front().dbID, message.dbID);
        EXPECT_THAT(statements(), ElementsAre(HasSubstr("sender_id = '" + name + "') OR")));
        EXPECT_TRUE(db().getHistoryMessages(peer(), message.dbID, 100, page));
        EXPECT_EQ(page.size(), 1U);
        EXPECT_EQ(db().getUnreadCountOfTarget(peer()), 1U);
        EXPECT_TRUE(db().clearUnreadStatus(peer()));
        EXPECT_EQ(db().getUnreadCountOfTarget(peer()), 0U);
        expectNothingLogged();
    }
    EXPECT_EQ(value("SELECT count(*) FROM tbl_msg WHERE status = 1"), "5");  // all but the messages read here
}

INSTANTIATE_TEST_SUITE_P(All, UnescapedLoginName,
                         testing::Values(UnescapedPeer{"User", PelkoUser("alice")},
                                         UnescapedPeer{"CustomerService", PelkoCustomerService(9U)}),
                         [](const testing::TestParamInfo<UnescapedPeer>& peer) { return peer.param.name; });

TEST_F(UnescapedValuesTest, LoginNameDoesNotMatterInRoomsAndGroups) {
    LoginContext::getInstance()->setUserName("o'brien");
    for (const PelkoChatTarget& target :
         {PelkoChatTarget(5, PelkoChatTargetTypeRoom), PelkoChatTarget(5, PelkoChatTargetTypeGroup)}) {
        PelkoMessage message = PelkoMessage::createTextMessage(target, "mine");
        message.status = PelkoMessageStatusUnread;
        EXPECT_TRUE(db().insertMessage(&message));  // names in messages are escaped
        std::deque<PelkoMessage> page;
        EXPECT_TRUE(db().getLatestMessages(target, 100, page));
        ASSERT_EQ(page.size(), 1U);
        EXPECT_EQ(page.front().sender, PelkoUser("o'brien"));
        EXPECT_EQ(db().getUnreadCountOfTarget(target), 1U);
        EXPECT_TRUE(db().clearUnreadStatus(target));
    }
    expectNothingLogged();
}

// ---- names that are escaped stay safe beside them

TEST_F(UnescapedValuesTest, PeersWithQuotesInTheirNamesHaveTheirOwnConversations) {
    for (const std::string& name : valuesWithQuotes()) {
        SCOPED_TRACE(name);
        const PelkoUser peer(name);
        EXPECT_EQ(db().getUnreadCountOfTarget(peer), 0U);
        PelkoMessage message = PelkoMessage::createTextMessage(peer, PelkoUser("me"), name);
        message.status = PelkoMessageStatusUnread;
        ASSERT_TRUE(db().insertMessage(&message));
        std::deque<PelkoMessage> page;
        EXPECT_TRUE(db().getLatestMessages(peer, 100, page));
        ASSERT_EQ(page.size(), 1U);
        EXPECT_EQ(page.front().dbID, message.dbID);
        EXPECT_EQ(page.front().sender.name, name);
        EXPECT_EQ(page.front().text, name);
        EXPECT_TRUE(db().clearUnreadStatus(peer));
    }
    EXPECT_EQ(value("SELECT count(*) FROM tbl_msg WHERE status = 1"), "5");
    expectNothingLogged();
}

TEST_F(UnescapedValuesTest, PeersWithQuotesInTheirNamesHaveTheirOwnSessions) {
    PelkoSession session;
    session.target = PelkoUser("alice");
    ASSERT_TRUE(db().insertNewSession(session));
    const std::vector<Row> before = rows("SELECT * FROM tbl_session");
    for (const std::string& name : valuesWithQuotes()) {
        SCOPED_TRACE(name);
        session.target = PelkoUser(name);
        EXPECT_FALSE(db().deleteSession(session.target));
        EXPECT_TRUE(db().insertNewSession(session));
        EXPECT_TRUE(db().markSessionIsTop(session.target, true, 1));
        EXPECT_TRUE(db().updateSessionLastMsg(session.target, 1));
        std::list<PelkoSession> sessions;
        EXPECT_TRUE(db().loadSessionList(sessions));
        ASSERT_EQ(sessions.size(), 2U);
        EXPECT_EQ(sessions.back().target.name, name);
        EXPECT_TRUE(db().deleteSession(session.target));
        EXPECT_EQ(rows("SELECT * FROM tbl_session"), before);
    }
    expectNothingLogged();
}

}  // namespace
