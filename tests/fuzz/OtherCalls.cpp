#include "classes/platform/LoginContext.h"
#include "tests/fuzz/OperationCalls.h"
#include "tests/support/TestPlatform.h"

// Sessions, notifications, sync marks, settings, the lifecycle, and what happens around the store.

namespace pelkotest {

namespace {

using namespace pelkoapi;

void loadSessionList(OperationRun& run) {
    run.both("loadSessionList", "", [](auto& store) {
        std::list<PelkoSession> sessions(1);
        const bool result = store.loadSessionList(sessions);
        return told(result) + '\n' + recordsText(sessions);
    });
}

void insertNewSession(OperationRun& run) {
    const PelkoSession session = run.input.session();
    run.both("insertNewSession", told(session),
             [&](auto& store) { return told(store.insertNewSession(session)); });
}

void deleteSession(OperationRun& run) {
    const PelkoChatTarget chat = run.input.target();
    run.both("deleteSession", told(chat), [&](auto& store) { return told(store.deleteSession(chat)); });
}

void markSessionIsTop(OperationRun& run) {
    const PelkoChatTarget chat = run.input.target();
    const bool isTop = run.input.flag();
    const int priority = static_cast<int>(run.input.number());
    run.both("markSessionIsTop", told(chat, isTop, priority),
             [&](auto& store) { return told(store.markSessionIsTop(chat, isTop, priority)); });
}

void updateSessionLastMsg(OperationRun& run) {
    const PelkoChatTarget chat = run.input.target();
    const s64 dbID = run.input.rowId();
    run.both("updateSessionLastMsg", told(chat, dbID),
             [&](auto& store) { return told(store.updateSessionLastMsg(chat, dbID)); });
}

void insertNotify(OperationRun& run) {
    const PelkoNotify notify = run.input.notification();
    run.both("insertNotify", told(notify), [&](auto& store) {
        PelkoNotify copy = notify;
        const bool result = store.insertNotify(&copy);
        return told(result, copy);
    });
}

void insertNoNotify(OperationRun& run) {
    run.both("insertNotify", "null", [](auto& store) { return told(store.insertNotify(nullptr)); });
}

void loadNotifyList(OperationRun& run) {
    run.both("loadNotifyList", "", [](auto& store) {
        std::vector<PelkoNotify> notifications = {PelkoNotify(PelkoNotifyTypeJoinGroupReply)};
        const bool result = store.loadNotifyList(notifications);
        return told(result, notifications);
    });
}

void deleteNotifys(OperationRun& run) {
    std::vector<long> ids;
    for (unsigned count = run.input.below(5); count > 0; --count) {
        ids.push_back(run.input.notificationId());
    }
    run.both("deleteNotifys", told(ids), [&](auto& store) { return told(store.deleteNotifys(ids)); });
}

void getUnreadNotifyCount(OperationRun& run) {
    run.both("getUnreadNotifyCount", "", [](auto& store) { return told(store.getUnreadNotifyCount()); });
}

void markNotifyIsRead(OperationRun& run) {
    const long dbID = run.input.notificationId();
    const bool isRead = run.input.flag();
    run.both("markNotifyIsRead", told(dbID, isRead),
             [&](auto& store) { return told(store.markNotifyIsRead(dbID, isRead)); });
}

void clearNotifyUnreadStatus(OperationRun& run) {
    run.both("clearNotifyUnreadStatus", "",
             [](auto& store) { return told(store.clearNotifyUnreadStatus()); });
}

void getNottify(OperationRun& run) {
    const long dbID = run.input.notificationId();
    run.both("getNottify", told(dbID), [&](auto& store) { return told(store.getNottify(dbID)); });
}

void getLastMsgID(OperationRun& run) {
    const std::string key = run.input.name();
    run.both("getLastMsgID", told(key), [&](auto& store) { return told(store.getLastMsgID(key)); });
}

void updateLastMsgID(OperationRun& run) {
    const std::string key = run.input.name();
    const s64 id = run.input.id();
    run.both("updateLastMsgID", told(key, id),
             [&](auto& store) { return told(store.updateLastMsgID(key, id)); });
}

void getMsgConfig(OperationRun& run) {
    const PelkoChatTarget chat = run.input.target();
    run.both("getMsgConfig", told(chat), [&](auto& store) { return told(store.getMsgConfig(chat)); });
}

void setMsgConfig(OperationRun& run) {
    const PelkoChatTarget chat = run.input.target();
    const int config = static_cast<int>(run.input.number());
    run.both("setMsgConfig", told(chat, config),
             [&](auto& store) { return told(store.setMsgConfig(chat, config)); });
}

void setUp(OperationRun& run) {
    run.both("setUp", "", [](auto& store) { return told(store.setUp()); });
}

void setUpWithoutFile(OperationRun& run) {
    platform().createFileResult = -1;
    run.both("setUp", "no file can be made", [](auto& store) { return told(store.setUp()); });
    platform().createFileResult = 0;
}

void tearDown(OperationRun& run) {
    run.both("tearDown", "", [](auto& store) {
        store.tearDown();
        return std::string();
    });
}

void reopen(OperationRun& run) {
    tearDown(run);
    setUp(run);
    run.readBack();
}

void beginTransaction(OperationRun& run) {
    run.both("beginTransaction", "", [](auto& store) { return told(store.beginTransaction()); });
}

void commiteTransaction(OperationRun& run) {
    run.both("commiteTransaction", "", [](auto& store) { return told(store.commiteTransaction()); });
}

void transStringQuote(OperationRun& run) {
    const std::string text = run.input.text();
    run.both("transStringQuote", told(text), [&](auto& store) { return told(store.transStringQuote(text)); });
}

// The table and the condition enter a statement as they are: the caller's own SQL, so only some are tried.
constexpr const char* queriedTables[] = {"tbl_msg",         "tbl_relationship", "tbl_user",      "tbl_room",
                                         "tbl_group",       "tbl_group_list",   "tbl_session",   "tbl_notify",
                                         "tbl_last_msg_id", "tbl_msg_config",   "tbl_of_nobody", ""};
constexpr const char* queriedConditions[] = {
    "1 = 1", "1 = 0", "", "no_such_column = 1", "1 = 1; DELETE FROM tbl_msg", "'"};

void checkIfRecordExist(OperationRun& run) {
    const char* const table = queriedTables[run.input.below(12)];
    const char* const condition = queriedConditions[run.input.below(6)];
    run.both("checkIfRecordExist", std::string(table) + ", " + condition,
             [&](auto& store) { return told(store.checkIfRecordExist(table, condition)); });
}

void queryCount(OperationRun& run) {
    const char* const table = queriedTables[run.input.below(12)];
    const char* const condition = queriedConditions[run.input.below(6)];
    run.both("queryCount", std::string(table) + ", " + condition,
             [&](auto& store) { return told(store.queryCount(table, condition)); });
}

void logIn(OperationRun& run) {
    const std::string name = run.input.name();
    LoginContext::getInstance()->setUserName(name);
    run.both("(logged in)", told(name), [](auto&) { return std::string(); });
}

void fileAppears(OperationRun& run) {
    const std::string path = fullPath(run.input.path());
    platform().existing.insert(path);
    run.both("(file appeared)", told(path), [](auto&) { return std::string(); });
}

}  // namespace

const std::vector<OperationCall> otherCalls = {loadSessionList,
                                               insertNewSession,
                                               deleteSession,
                                               markSessionIsTop,
                                               updateSessionLastMsg,
                                               insertNotify,
                                               insertNoNotify,
                                               loadNotifyList,
                                               deleteNotifys,
                                               getUnreadNotifyCount,
                                               markNotifyIsRead,
                                               clearNotifyUnreadStatus,
                                               getNottify,
                                               getLastMsgID,
                                               updateLastMsgID,
                                               getMsgConfig,
                                               setMsgConfig,
                                               setUp,
                                               setUpWithoutFile,
                                               tearDown,
                                               reopen,
                                               beginTransaction,
                                               commiteTransaction,
                                               transStringQuote,
                                               checkIfRecordExist,
                                               queryCount,
                                               logIn,
                                               fileAppears};

}  // namespace pelkotest
