#include <algorithm>
#include <limits>
#include <tuple>

#include "classes/platform/LoginContext.h"
#include "tests/fuzz/StoreModel.h"

// Messages and their conversations.

namespace pelkotest {

using namespace pelkoapi;

namespace {

/// Whether a value that is not escaped makes the insertion or update fail.
bool cannotBeWritten(const PelkoMessage& message) {
    return breaks(message.media) || breaks(message.extraText);
}

/// Sets what an update writes, which is all but the kind, the text and the parties.
void writeChangeable(const PelkoMessage& message, MessageRow& row) {
    row.id = message.id;
    row.date = static_cast<int>(message.date);
    row.media = stored(message.media);
    row.mediaStatus = message.media.status;
    row.status = message.status;
    row.extra = stored(message.extraText);
}

PelkoMessage record(const MessageRow& row) {
    PelkoMessage message;
    message.id = row.id;
    message.dbID = row.dbID;
    message.type = static_cast<PelkoMessageType>(row.type);
    message.date = static_cast<unsigned>(row.date);
    message.text = row.text;
    message.status = static_cast<PelkoMessageStatus>(row.status);
    message.extraText = row.extra;
    message.sender = target(row.sender);
    message.receiver = target(row.receiver);
    const bool hasMedia = row.type >= 1 && row.type <= 3;
    if (hasMedia && row.mediaType >= 1 && row.mediaType <= 3) {
        message.media.type = static_cast<PelkoMediaType>(row.mediaType);
        message.media.status = static_cast<PelkoMediaStatus>(row.mediaStatus);
        message.media.duration = static_cast<unsigned>(row.duration);
        read(row.media, message.media);
    }
    return message;
}

std::string me() {
    return LoginContext::getInstance()->getUserName();
}

}  // namespace

bool StoreModel::insertMessage(PelkoMessage* message) {
    if (!ready("insertMessage") || message == nullptr) {
        return false;
    }
    if (message->id != 0) {
        for (const auto& [dbID, row] : mTables.messages) {
            if (row.id == message->id) {
                updateMessage(*message);
                return true;
            }
        }
    }
    if (cannotBeWritten(*message)) {
        return failed("insertMessage");
    }
    MessageRow row;
    row.dbID = mTables.messages.empty() ? 1 : mTables.messages.rbegin()->first + 1;
    row.type = message->type;
    row.text = stored(message->text);
    row.mediaType = message->media.type;
    row.duration = static_cast<int>(message->media.duration);
    row.receiver = stored(message->receiver);
    row.sender = stored(message->sender);
    writeChangeable(*message, row);
    mTables.messages[row.dbID] = row;
    message->dbID = row.dbID;
    return changed(1);
}

bool StoreModel::updateMessage(const PelkoMessage& message) {
    if (!ready("updateMessage")) {
        return false;
    }
    if (cannotBeWritten(message)) {
        return failed("updateMessage");
    }
    const auto row = mTables.messages.find(message.dbID);
    if (row == mTables.messages.end()) {
        return changed(0);
    }
    writeChangeable(message, row->second);
    return changed(1);
}

StoreModel::uint StoreModel::saveMessageList(std::vector<PelkoMessage>& messages) {
    if (!ready("saveMessageList")) {
        return 0;
    }
    uint saved = 0;
    for (PelkoMessage& message : messages) {
        saved += insertMessage(&message) ? 1 : 0;
    }
    return saved;
}

PelkoMessage StoreModel::getMessage(s64 dbID) {
    if (!ready("getMessage")) {
        return {};
    }
    const auto row = mTables.messages.find(dbID);
    return row != mTables.messages.end() ? record(row->second) : PelkoMessage();
}

PelkoMessage StoreModel::getReceivedMessage(s64 msgID) {
    if (!ready("getReceivedMessage")) {
        return {};
    }
    // Of several with that id, which only an update can make, the store gives the first by row id.
    for (const auto& [dbID, row] : mTables.messages) {
        if (row.id == msgID && (row.status == 1 || row.status == 2 || row.status == 4)) {
            return record(row);
        }
    }
    return {};
}

bool StoreModel::ifMsgIDExist(s64 msgID) {
    if (!ready("ifMsgIDExist") || msgID < 1) {
        return false;
    }
    return std::any_of(mTables.messages.begin(), mTables.messages.end(),
                       [&](const auto& entry) { return entry.second.id == msgID; });
}

bool StoreModel::updateMessageStatus(s64 dbID, PelkoMessageStatus status) {
    if (!ready("updateMessageStatus")) {
        return false;
    }
    const auto row = mTables.messages.find(dbID);
    if (row == mTables.messages.end()) {
        return changed(0);
    }
    row->second.status = status;
    return changed(1);
}

bool StoreModel::updateMessageMediaStatus(s64 dbID, PelkoMediaStatus status) {
    if (!ready("updateMessageMediaStatus")) {
        return false;
    }
    const auto row = mTables.messages.find(dbID);
    if (row == mTables.messages.end()) {
        return changed(0);
    }
    row->second.mediaStatus = status;
    return changed(1);
}

bool StoreModel::conversationFails(const Target& target) const {
    const int type = target.type;
    const bool namesMe = type == 0 || type == 3;
    return type < 0 || type > 3 || (namesMe && breaks(me()));
}

bool StoreModel::inConversation(const MessageRow& row, const Target& target) const {
    const PartyRow peer = stored(target);
    const PartyRow& to = row.receiver;
    const PartyRow& from = row.sender;
    if (peer.type == 1 || peer.type == 2) {
        return to.type == peer.type && to.id == peer.id;
    }
    const bool kindsFit =
        (to.type == 0 && from.type == peer.type) || (to.type == peer.type && from.type == 0);
    const std::string own = stored(me());
    return kindsFit && ((to.id == peer.id && from.id == own) || (from.id == peer.id && to.id == own));
}

bool StoreModel::readPage(const char* operation, const Target& target, const MessageRow* anchor, uint count,
                          std::deque<PelkoMessage>& messages) {
    if (conversationFails(target)) {
        return failed(operation);
    }
    std::vector<const MessageRow*> page;
    for (const auto& [dbID, row] : mTables.messages) {
        const bool inRange = anchor == nullptr || (row.date <= anchor->date && dbID != anchor->dbID);
        if (inRange && inConversation(row, target)) {
            page.push_back(&row);
        }
    }
    std::sort(page.begin(), page.end(), [](const MessageRow* a, const MessageRow* b) {
        return std::tie(a->date, a->id, a->dbID) > std::tie(b->date, b->id, b->dbID);
    });
    // A count that is negative as a signed number is no limit.
    if (count <= static_cast<uint>(std::numeric_limits<int>::max()) && page.size() > count) {
        page.resize(count);
    }
    for (const MessageRow* const row : page) {
        messages.push_front(record(*row));
    }
    return true;
}

bool StoreModel::getLatestMessages(const Target& target, uint count, std::deque<PelkoMessage>& messages) {
    if (!ready("getLatestMessages") || count == 0) {
        return false;
    }
    return readPage("getLatestMessages", target, nullptr, count, messages);
}

bool StoreModel::getHistoryMessages(const Target& target, s64 dbID, uint count,
                                    std::deque<PelkoMessage>& messages) {
    if (!ready("getHistoryMessages") || dbID < 1 || count == 0) {
        return false;
    }
    const auto anchor = mTables.messages.find(dbID);
    if (anchor == mTables.messages.end()) {
        return conversationFails(target) ? failed("getHistoryMessages") : true;
    }
    return readPage("getHistoryMessages", target, &anchor->second, count, messages);
}

bool StoreModel::clearUnreadStatus(const Target& target) {
    if (!ready("clearUnreadStatus")) {
        return false;
    }
    if (conversationFails(target)) {
        return failed("clearUnreadStatus");
    }
    std::size_t rows = 0;
    for (auto& [dbID, row] : mTables.messages) {
        if (row.status == 1 && inConversation(row, target)) {
            row.status = 2;
            ++rows;
        }
    }
    changed(rows);
    return true;
}

StoreModel::uint StoreModel::getUnreadCountOfTarget(const Target& target) {
    if (!ready("getUnreadCountOfTarget")) {
        return 0;
    }
    if (conversationFails(target)) {
        failed("queryCount");
        return 0;
    }
    return static_cast<uint>(std::count_if(
        mTables.messages.begin(), mTables.messages.end(),
        [&](const auto& entry) { return entry.second.status == 1 && inConversation(entry.second, target); }));
}

StoreModel::uint StoreModel::getUnreadCountOfTypes(std::vector<PelkoChatTargetType>& types) {
    if (!ready("getUnreadCountOfTypes")) {
        return 0;
    }
    return static_cast<uint>(
        std::count_if(mTables.messages.begin(), mTables.messages.end(), [&](const auto& entry) {
            const MessageRow& row = entry.second;
            return row.status == 1 && std::count(types.begin(), types.end(), row.receiver.type) > 0;
        }));
}

StoreModel::uint StoreModel::getTotalUnreadCount() {
    if (!ready("getTotalUnreadCount")) {
        return 0;
    }
    return static_cast<uint>(std::count_if(mTables.messages.begin(), mTables.messages.end(),
                                           [](const auto& entry) { return entry.second.status == 1; }));
}

void StoreModel::removeFiles(const MessageRow& row) {
    for (const std::string& path : {row.media.path, row.media.pathEx, row.extra}) {
        removed.push_back(fullPath(path));
    }
}

bool StoreModel::deleteMessages(std::vector<s64>& dbIDs) {
    if (!ready("deleteMessages") || dbIDs.empty()) {
        return false;
    }
    std::size_t rows = 0;
    for (const s64 dbID : dbIDs) {
        const auto row = mTables.messages.find(dbID);
        if (row != mTables.messages.end()) {
            removeFiles(row->second);
            mTables.messages.erase(row);
            ++rows;
        }
    }
    return changed(rows);
}

bool StoreModel::clearMessages(const Target& target) {
    if (!ready("clearMessages")) {
        return false;
    }
    if (conversationFails(target)) {
        failed("clearMessages");  // in looking for the files
        return failed("clearMessages");
    }
    std::size_t rows = 0;
    for (auto entry = mTables.messages.begin(); entry != mTables.messages.end();) {
        if (inConversation(entry->second, target)) {
            removeFiles(entry->second);
            entry = mTables.messages.erase(entry);
            ++rows;
        } else {
            ++entry;
        }
    }
    changed(rows);
    return true;
}

}  // namespace pelkotest
