#include <algorithm>
#include <set>

#include "tests/fuzz/StoreModel.h"

// Sessions, notifications, sync marks and message settings.

namespace pelkotest {

using namespace pelkoapi;

namespace {

bool sameParty(const PartyRow& a, const PartyRow& b) {
    return a.type == b.type && a.id == b.id;
}

NotifyPartyRow notifyParty(const PelkoChatTarget& target) {
    return {target.type, target.id, stored(target.name)};
}

PelkoChatTarget party(const NotifyPartyRow& row) {
    PelkoChatTarget found;
    found.type = static_cast<PelkoChatTargetType>(row.type);
    found.id = row.id;
    found.name = row.name;
    return found;
}

PelkoNotify record(long long dbID, const NotifyRow& row) {
    PelkoNotify notify(static_cast<PelkoNotifyType>(row.type));
    notify.dbID = static_cast<int>(dbID);
    notify.date = static_cast<int>(row.date);
    notify.isRead = row.isRead;
    notify.sender = party(row.sender);
    notify.receiver = party(row.receiver);
    notify.from = party(row.from);
    notify.isSystemNotify = row.isSystem;
    notify.agree = row.response;
    notify.text = row.text;
    return notify;
}

/// A decimal number with an optional sign, as SQLite writes it into a text column; nothing for any other
/// text.
std::optional<std::string> asNumber(const std::string& text) {
    const bool isNegative = !text.empty() && text.front() == '-';
    std::string digits = isNegative || (!text.empty() && text.front() == '+') ? text.substr(1) : text;
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
    }
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size() - 1));
    return isNegative && digits != "0" ? "-" + digits : digits;
}

}  // namespace

SessionRow* StoreModel::sessionOf(const Target& target) {
    const auto found =
        std::find_if(mTables.sessions.begin(), mTables.sessions.end(),
                     [&](const SessionRow& row) { return sameParty(row.target, stored(target)); });
    return found != mTables.sessions.end() ? &*found : nullptr;
}

bool StoreModel::loadSessionList(std::list<PelkoSession>& sessions) {
    if (!ready("loadSessionList")) {
        return false;
    }
    for (const SessionRow& row : mTables.sessions) {
        PelkoSession session;
        session.isTop = static_cast<int>(row.isTop) != 0;
        session.priority = row.priority;
        session.lastMsg = getMessage(static_cast<int>(row.lastMsgId));
        session.target = target(row.target);
        sessions.push_back(session);
    }
    return true;
}

bool StoreModel::insertNewSession(const PelkoSession& session) {
    if (!ready("insertNewSession")) {
        return false;
    }
    if (sessionOf(session.target) != nullptr) {
        return refused("insertNewSession");
    }
    SessionRow row;
    row.target = stored(session.target);
    row.lastMsgId = session.isTop ? 1 : 0;  // the two are stored in each other's column
    row.isTop = session.lastMsg.dbID;
    row.priority = session.priority;
    mTables.sessions.push_back(row);
    return changed(1);
}

bool StoreModel::deleteSession(const Target& target) {
    if (!ready("deleteSession")) {
        return false;
    }
    const SessionRow* const row = sessionOf(target);
    if (row == nullptr) {
        return changed(0);
    }
    mTables.sessions.erase(mTables.sessions.begin() + (row - mTables.sessions.data()));
    return changed(1);
}

bool StoreModel::markSessionIsTop(const Target& target, bool isTop, int priority) {
    if (!ready("markSessionIsTop")) {
        return false;
    }
    SessionRow* const row = sessionOf(target);
    if (row == nullptr) {
        return changed(0);
    }
    row->isTop = isTop ? 1 : 0;
    row->priority = priority;
    return changed(1);
}

bool StoreModel::updateSessionLastMsg(const Target& target, s64 msgID) {
    if (!ready("updateSessionLastMsg")) {
        return false;
    }
    SessionRow* const row = sessionOf(target);
    if (row == nullptr) {
        return changed(0);
    }
    row->lastMsgId = msgID;
    return changed(1);
}

bool StoreModel::insertNotify(PelkoNotify* notify) {
    if (!ready("insertNotify") || notify == nullptr) {
        return false;
    }
    if (breaks(notify->text)) {
        return failed("insertNotify");
    }
    const long long dbID = ++mTables.lastNotification;
    mTables.notifications[dbID] = {notify->date,
                                   notify->isRead,
                                   notifyParty(notify->sender),
                                   notifyParty(notify->receiver),
                                   notifyParty(notify->from),
                                   notify->isSystemNotify,
                                   notify->agree,
                                   notify->type,
                                   stored(notify->text)};
    notify->dbID = static_cast<int>(dbID);
    return changed(1);
}

bool StoreModel::loadNotifyList(std::vector<PelkoNotify>& notifyList) {
    if (!ready("loadNotifyList")) {
        return false;
    }
    for (auto entry = mTables.notifications.rbegin(); entry != mTables.notifications.rend(); ++entry) {
        notifyList.push_back(record(entry->first, entry->second));
    }
    return true;
}

bool StoreModel::deleteNotifys(const std::vector<long>& dbIDs) {
    if (!ready("deleteNotifys") || dbIDs.empty()) {
        return false;
    }
    std::size_t rows = 0;
    for (const long dbID : dbIDs) {
        rows += mTables.notifications.erase(dbID);
    }
    return changed(rows);
}

StoreModel::uint StoreModel::getUnreadNotifyCount() {
    if (!ready("getUnreadNotifyCount")) {
        return 0;
    }
    return static_cast<uint>(std::count_if(mTables.notifications.begin(), mTables.notifications.end(),
                                           [](const auto& entry) { return !entry.second.isRead; }));
}

bool StoreModel::markNotifyIsRead(long dbID, bool isRead) {
    if (!ready("markNotifyIsRead")) {
        return false;
    }
    const auto row = mTables.notifications.find(dbID);
    if (row == mTables.notifications.end()) {
        return changed(0);
    }
    row->second.isRead = isRead;
    return changed(1);
}

bool StoreModel::clearNotifyUnreadStatus() {
    if (!ready("clearNotifyUnreadStatus")) {
        return false;
    }
    for (auto& [dbID, row] : mTables.notifications) {
        row.isRead = true;
    }
    return changed(mTables.notifications.size());
}

PelkoNotify StoreModel::getNottify(long dbID) {
    if (!ready("getNottify")) {
        return {};
    }
    const auto row = mTables.notifications.find(dbID);
    return row != mTables.notifications.end() ? record(row->first, row->second) : PelkoNotify();
}

StoreModel::s64 StoreModel::getLastMsgID(const std::string& key) {
    if (!ready("getLastMsgID")) {
        return 0;
    }
    if (breaks(key)) {
        failed("getLastMsgID");
        return 0;
    }
    const auto row = mTables.lastMsgIds.find(stored(key));
    return row != mTables.lastMsgIds.end() ? row->second : 0;
}

bool StoreModel::updateLastMsgID(const std::string& key, s64 msgId) {
    if (!ready("updateLastMsgID") || msgId < 1) {
        return false;
    }
    const s64 before = getLastMsgID(key);
    if (breaks(key)) {
        return failed("updateLastMsgID");
    }
    if (before < 1 && mTables.lastMsgIds.count(stored(key)) != 0) {
        return refused("updateLastMsgID");
    }
    mTables.lastMsgIds[stored(key)] = msgId;
    return changed(1);
}

int StoreModel::getMsgConfig(const Target& target) {
    if (!ready("getMsgConfig")) {
        return -1;
    }
    const PartyRow key = stored(target);
    const auto row = mTables.settings.find({key.type, key.id});
    return row != mTables.settings.end() ? row->second : -1;
}

bool StoreModel::setMsgConfig(const Target& target, int config) {
    if (!ready("setMsgConfig")) {
        return false;
    }
    const PartyRow key = stored(target);
    if (getMsgConfig(target) >= 0) {
        mTables.settings[{key.type, key.id}] = config;
        return changed(1);
    }
    const std::optional<std::string> number = asNumber(key.id);
    if (!number) {
        return failed("setMsgConfig");
    }
    if (!mTables.settings.emplace(std::pair(key.type, *number), config).second) {
        return refused("setMsgConfig");
    }
    return changed(1);
}

}  // namespace pelkotest
