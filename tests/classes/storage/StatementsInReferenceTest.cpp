#include <gmock/gmock.h>

#include <algorithm>
#include <deque>
#include <fstream>
#include <list>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "classes/sqlite/DatabaseKey.h"
#include "tests/support/StoreTest.h"

// The statements that the reference says an operation runs are those that it runs.

using namespace pelkoapi;
using namespace pelkotest;
using testing::IsEmpty;
using testing::Not;
using Access = PelkoDBManagerTestAccess;

namespace {

std::vector<std::string> linesOf(const std::string& path) {
    std::ifstream file(std::string(PELKO_SOURCE_DIR) + "/" + path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    EXPECT_THAT(lines, Not(IsEmpty())) << path;
    return lines;
}

std::string trimmed(const std::string& line) {
    const std::size_t first = line.find_first_not_of(' ');
    return first == std::string::npos ? std::string() : line.substr(first);
}

/// What is set in code in a text, and the operations that it names, as "name()".
std::vector<std::string> codeIn(const std::string& text) {
    static const std::regex code(R"(@code\{\.sql\} (.*?) @endcode|``(.*?)``|`(.*?)`|(\w+\(\)))");
    std::vector<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), code), end; match != end; ++match) {
        for (std::size_t group = 1; group < match->size(); ++group) {
            if ((*match)[group].matched) {
                found.push_back((*match)[group]);
            }
        }
    }
    return found;
}

/// What PelkoDBManager.h says.
struct Reference {
    /// By operation what it runs: statements, and operations as "name()".
    std::map<std::string, std::vector<std::string>> operations;
    /// What "{conversation}" stands for: a room or group, a user, a customer service.
    std::vector<std::string> conversations;
    /// What "{parties}" stands for in them and in opening.md.
    std::string parties;

    Reference() {
        std::string comment;
        for (const std::string& line : linesOf("classes/storage/PelkoDBManager.h")) {
            if (line == "private:") {
                break;
            }
            const std::string text = trimmed(line);
            if (text.rfind("///", 0) == 0) {
                comment += " " + trimmed(text.substr(3));
            } else {
                read(comment, text);
                comment.clear();
            }
        }
    }

    std::string withParties(const std::string& text) const {
        return std::regex_replace(text, std::regex(R"(\{parties\})"), parties);
    }

private:
    void read(const std::string& comment, const std::string& declaration) {
        std::smatch match;
        if (declaration.empty() && comment.find("`{parties}` for ") != std::string::npos) {
            // "{conversation}", its three forms, "{parties}" and what that stands for.
            const std::vector<std::string> code = codeIn(comment);
            ASSERT_EQ(code.size(), 6U);
            parties = code[5];
            for (std::size_t form = 1; form <= 3; ++form) {
                conversations.push_back(withParties(code[form]));
            }
        } else if (std::regex_search(declaration, match, std::regex(R"((\w+)\()"))) {
            const std::string name = match[1];
            static const std::regex runs("@runs (.*?)( @param | @return | @throws |$)");
            const bool any = std::regex_search(comment, match, runs);
            operations[name] = any ? codeIn(match[1]) : std::vector<std::string>();
        }
    }
};

/// Whether a statement is the documented one, each placeholder being a value.
bool isOneOf(const std::string& documented, const std::string& statement) {
    std::string pattern = std::regex_replace(documented, std::regex(R"([.*+?^$|()\[\]\\])"), R"(\$&)");
    pattern = std::regex_replace(pattern, std::regex(", …"), "(, [^ ',()]+)*");
    pattern = std::regex_replace(pattern, std::regex(R"('\{[^}]*\}')"), "'([^']|'')*'");
    pattern = std::regex_replace(pattern, std::regex(R"(\{[^}]*\})"), "[^ ',()]+");
    return std::regex_match(statement, std::regex(pattern));
}

class StatementsInReferenceTest : public StoreTest {
protected:
    struct Step {
        std::string statement;  ///< as documented
        std::size_t place;      ///< of what the operation documents
    };

    bool matches(const std::string& documented, const std::string& statement) const {
        const std::size_t begin = documented.find("{conversation}");
        if (begin == std::string::npos) {
            return isOneOf(documented, statement);
        }
        return std::any_of(mReference.conversations.begin(), mReference.conversations.end(),
                           [&](const std::string& form) {
                               std::string whole = documented;
                               whole.replace(begin, std::string("{conversation}").size(), form);
                               return isOneOf(whole, statement);
                           });
    }

    /// What the operation runs, the statements of the operations that it names included.
    std::vector<Step> steps(const std::string& operation) const {
        std::vector<Step> all;
        const std::vector<std::string>& items = mReference.operations.at(operation);
        for (std::size_t place = 0; place < items.size(); ++place) {
            const std::string& item = items[place];
            const std::string called = item.substr(0, item.find("()"));
            if (mReference.operations.count(called) == 0) {
                all.push_back({item, place});
                continue;
            }
            for (const Step& step : steps(called)) {
                all.push_back({step.statement, place});
            }
        }
        return all;
    }

    /// Expects that the statements since the last time are documented with the operation, in this order.
    void ran(const std::string& operation) {
        SCOPED_TRACE(operation);
        const std::vector<Step> documented = steps(operation);
        auto next = documented.begin();
        for (const std::string& statement : statements()) {
            next = std::find_if(next, documented.end(),
                                [&](const Step& step) { return matches(step.statement, statement); });
            if (next == documented.end()) {
                ADD_FAILURE() << "not documented: " << statement;
                break;
            }
            mMet[operation].insert(next->place);
            ++next;
        }
        expectNothingLogged();
        forget();
    }

    /// Expects that every statement documented with an operation has run.
    void expectAllMet() {
        for (const auto& [name, items] : mReference.operations) {
            for (std::size_t place = 0; place < items.size(); ++place) {
                EXPECT_EQ(mMet[name].count(place), 1U) << name << " does not run " << items[place];
            }
        }
    }

    void lifecycle();
    void messages();
    void conversations();
    void sessions();
    void relationships();
    void users();
    void rooms();
    void groups();
    void membership();
    void notifications();
    void syncMarks();

    const Reference mReference;
    std::map<std::string, std::set<std::size_t>> mMet;
    std::string mName = "alice";
    std::vector<std::string> mNames = {"alice"};
    const PelkoUser mAlice = PelkoUser("alice");
    const PelkoRoom mRoom = PelkoRoom(7U);
};

void StatementsInReferenceTest::lifecycle() {
    db().checkIfRecordExist("tbl_msg", "1");
    ran("checkIfRecordExist");
    db().queryCount("tbl_msg", "1");
    ran("queryCount");
    db().beginTransaction();
    ran("beginTransaction");
    db().commiteTransaction();
    ran("commiteTransaction");
}

void StatementsInReferenceTest::messages() {
    PelkoMessage message = imageMessage();
    for (int i = 0; i < 2; ++i) {  // a new one, then a known one
        db().insertMessage(&message);
        ran("insertMessage");
    }
    std::vector<PelkoMessage> list = {PelkoMessage(5)};
    db().saveMessageList(list);
    ran("saveMessageList");
    db().updateMessage(message);
    ran("updateMessage");
    db().getMessage(1);
    ran("getMessage");
    db().getReceivedMessage(5);
    ran("getReceivedMessage");
    db().ifMsgIDExist(5);
    ran("ifMsgIDExist");
    db().updateMessageStatus(1, PelkoMessageStatusRead);
    ran("updateMessageStatus");
    db().updateMessageMediaStatus(1, PelkoMediaStatusDownloaded);
    ran("updateMessageMediaStatus");
}

void StatementsInReferenceTest::conversations() {
    const std::vector<PelkoChatTarget> targets = {mRoom, mAlice, PelkoCustomerService(9U)};
    for (const PelkoChatTarget& target : targets) {
        std::deque<PelkoMessage> page;
        db().getLatestMessages(target, 20, page);
        ran("getLatestMessages");
        db().getHistoryMessages(target, 1, 20, page);
        ran("getHistoryMessages");
        db().clearUnreadStatus(target);
        ran("clearUnreadStatus");
        db().getUnreadCountOfTarget(target);
        ran("getUnreadCountOfTarget");
        db().clearMessages(target);
        ran("clearMessages");
    }
    std::vector<PelkoChatTargetType> types = {PelkoChatTargetTypeRoom, PelkoChatTargetTypeGroup};
    db().getUnreadCountOfTypes(types);
    ran("getUnreadCountOfTypes");
    db().getTotalUnreadCount();
    ran("getTotalUnreadCount");
    std::vector<s64> ids = {1, 2};
    db().deleteMessages(ids);
    ran("deleteMessages");
}

void StatementsInReferenceTest::sessions() {
    PelkoSession session;
    session.target = mAlice;
    db().insertNewSession(session);
    ran("insertNewSession");
    db().markSessionIsTop(mAlice, true, 3);
    ran("markSessionIsTop");
    db().updateSessionLastMsg(mAlice, 1);
    ran("updateSessionLastMsg");
    std::list<PelkoSession> list;
    db().loadSessionList(list);
    ran("loadSessionList");
    db().deleteSession(mAlice);
    ran("deleteSession");
}

void StatementsInReferenceTest::relationships() {
    db().addFriend(mName);
    ran("addFriend");
    db().isFriend(mName);
    ran("isFriend");
    db().getFriendUsernames();
    ran("getFriendUsernames");
    db().deleteFriend(mName);
    ran("deleteFriend");
    db().saveFriendList(mNames);
    ran("saveFriendList");
    db().replaceFriendList(mNames);
    ran("replaceFriendList");
    db().clearFriendList();
    ran("clearFriendList");

    db().blockUser(mName);
    ran("blockUser");
    db().isBlocked(mName);
    ran("isBlocked");
    db().getBlockUsernames();
    ran("getBlockUsernames");
    db().unblockUser(mName);
    ran("unblockUser");
    db().saveBlockList(mNames);
    ran("saveBlockList");
    db().replaceBlockList(mNames);
    ran("replaceBlockList");
    db().clearBlockList();
    ran("clearBlockList");
}

void StatementsInReferenceTest::users() {
    PelkoUser user = mAlice;
    for (int i = 0; i < 2; ++i) {  // a new one, then a known one
        db().insertOrUpdateUser(user, 1);
        ran("insertOrUpdateUser");
    }
    db().userExist(mName);
    ran("userExist");
    db().getBaseUserInfo(mName);
    ran("getBaseUserInfo");
    db().getUserInfo(mName);
    ran("getUserInfo");
    db().saveFriendList(mNames);
    db().saveBlockList(mNames);
    forget();
    std::vector<PelkoUser> list;
    db().getFriendList(list);
    ran("getFriendList");
    db().getBlockList(list);
    ran("getBlockList");
    db().deleteUser(mName);
    ran("deleteUser");
}

void StatementsInReferenceTest::rooms() {
    PelkoRoom room = mRoom;
    for (int i = 0; i < 2; ++i) {  // a new one, then a known one
        db().insertOrUpdateRoom(&room, 1);
        ran("insertOrUpdateRoom");
    }
    db().roomExist(7);
    ran("roomExist");
    db().getRoomInfo(7);
    ran("getRoomInfo");
    std::vector<PelkoRoom> list;
    db().getRoomList(list);
    ran("getRoomList");
    db().deleteRoom(7);
    ran("deleteRoom");
    db().clearRoomList();
    ran("clearRoomList");
}

void StatementsInReferenceTest::groups() {
    PelkoGroup group(8);
    for (int i = 0; i < 2; ++i) {  // a new one, then a known one
        db().insertOrUpdateGroup(&group, 1);
        ran("insertOrUpdateGroup");
    }
    db().groupExist(8);
    ran("groupExist");
    db().getGroupInfo(8);
    ran("getGroupInfo");
    const std::vector<PelkoChatTarget> targets = {mAlice, mRoom, group};
    for (const PelkoChatTarget& target : targets) {
        db().getTargetInfoVersion(target);
        ran("getTargetInfoVersion");
    }
    db().joinGroup(8);
    ran("joinGroup");
    std::vector<PelkoGroup> list;
    db().getGroupList(list);
    ran("getGroupList");
    db().deleteGroup(8);
    ran("deleteGroup");
}

void StatementsInReferenceTest::membership() {
    std::vector<long long> ids = {9};
    db().saveGroupList(ids);
    ran("saveGroupList");
    db().replaceGroupList(ids);
    ran("replaceGroupList");
    db().isInGroup(9);
    ran("isInGroup");
    db().quitGroup(9);
    ran("quitGroup");
    db().clearGroupList();
    ran("clearGroupList");
}

void StatementsInReferenceTest::notifications() {
    PelkoNotify notify(PelkoNotifyTypeGroupInvite);
    db().insertNotify(&notify);
    ran("insertNotify");
    std::vector<PelkoNotify> list;
    db().loadNotifyList(list);
    ran("loadNotifyList");
    db().getUnreadNotifyCount();
    ran("getUnreadNotifyCount");
    db().markNotifyIsRead(1, true);
    ran("markNotifyIsRead");
    db().clearNotifyUnreadStatus();
    ran("clearNotifyUnreadStatus");
    db().getNottify(1);
    ran("getNottify");
    db().deleteNotifys({1, 2});
    ran("deleteNotifys");
}

void StatementsInReferenceTest::syncMarks() {
    for (int i = 0; i < 2; ++i) {  // a first one, then another
        db().updateLastMsgID("stream", 5);
        ran("updateLastMsgID");
        db().setMsgConfig(mRoom, 1);
        ran("setMsgConfig");
    }
    db().getLastMsgID("stream");
    ran("getLastMsgID");
    db().getMsgConfig(mRoom);
    ran("getMsgConfig");
}

TEST_F(StatementsInReferenceTest, OfEveryOperationAreThoseThatRun) {
    lifecycle();
    messages();
    conversations();
    sessions();
    relationships();
    users();
    rooms();
    groups();
    membership();
    notifications();
    syncMarks();
    expectAllMet();
}

TEST_F(StatementsInReferenceTest, StandWithEveryOperation) {
    const std::set<std::string> withoutStatements = {"PelkoDBManager", "getInstance", "setUp", "tearDown",
                                                     "transStringQuote"};
    EXPECT_GT(mReference.operations.size(), 70U);
    for (const auto& [name, items] : mReference.operations) {
        EXPECT_EQ(items.empty(), withoutStatements.count(name) == 1) << name;
    }
}

TEST_F(StatementsInReferenceTest, NameConversationsAsTheyAreNamed) {
    const std::vector<PelkoChatTarget> targets = {mRoom, mAlice, PelkoCustomerService(9U)};
    ASSERT_EQ(mReference.conversations.size(), targets.size());
    for (std::size_t i = 0; i < targets.size(); ++i) {
        const std::string condition = Access::conditionSqlWithTarget(db(), targets[i]);
        EXPECT_TRUE(isOneOf(mReference.conversations[i], condition)) << condition;
    }
    EXPECT_TRUE(isOneOf(mReference.conversations[0], Access::conditionSqlWithTarget(db(), PelkoGroup(8))));
}

/// The statements in opening.md.
std::vector<std::string> openingStatements() {
    std::vector<std::string> found;
    bool inCode = false;
    for (const std::string& line : linesOf("docs/reference/opening.md")) {
        if (line.rfind("```", 0) == 0) {
            inCode = line != "```";
        } else if (inCode && line.front() == ' ') {
            found.back() += " " + trimmed(line);
        } else if (inCode) {
            found.push_back(line);
        }
    }
    return found;
}

TEST_F(StatementsInReferenceTest, OfTheOpeningAreThoseThatRun) {
    // A conversation that is busy, four that have fallen silent, and two rows to repair.
    execute(
        "INSERT INTO tbl_msg (receiver_type, receiver_id, sender_type, sender_id, status, type) "
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 2000) "
        "SELECT 0, 'me', 0, 'alice', 2, 0 FROM n");
    for (const std::string digit : {"1", "2", "3", "4"}) {
        execute("CREATE INDEX idx_msg_with_000000000000000" + digit + " ON tbl_msg (date)");
    }
    execute("INSERT INTO tbl_msg (type, media_status) VALUES (2, 1)");
    execute("INSERT INTO tbl_msg (status) VALUES (3)");
    forget();
    reopen();

    std::vector<std::string> documented = openingStatements();
    ASSERT_EQ(documented.front(), "PRAGMA cipher_log_level = NONE");
    if (!pelkoapi::isDatabaseKeySet()) {
        documented.erase(documented.begin());
    }
    ASSERT_EQ(statements().size(), documented.size()) << testing::PrintToString(statements());
    for (std::size_t i = 0; i < documented.size(); ++i) {
        EXPECT_TRUE(isOneOf(mReference.withParties(documented[i]), statements()[i]))
            << documented[i] << "\nand\n"
            << statements()[i];
    }
}

}  // namespace
