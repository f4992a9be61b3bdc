#include "tests/fuzz/OperationCalls.h"

// Messages and conversations.

namespace pelkotest {

namespace {

using namespace pelkoapi;

void insertMessage(OperationRun& run) {
    const PelkoMessage message = run.input.message();
    run.both("insertMessage", told(message), [&](auto& store) {
        PelkoMessage copy = message;
        const bool result = store.insertMessage(&copy);
        return told(result, copy);
    });
}

void insertNoMessage(OperationRun& run) {
    run.both("insertMessage", "null", [](auto& store) { return told(store.insertMessage(nullptr)); });
}

void updateMessage(OperationRun& run) {
    const PelkoMessage message = run.input.message();
    run.both("updateMessage", told(message), [&](auto& store) { return told(store.updateMessage(message)); });
}

void saveMessageList(OperationRun& run) {
    std::vector<PelkoMessage> messages;
    for (unsigned count = run.input.below(4); count > 0; --count) {
        messages.push_back(run.input.message());
    }
    run.both("saveMessageList", told(messages), [&](auto& store) {
        std::vector<PelkoMessage> copies = messages;
        const uint result = store.saveMessageList(copies);
        return told(result, copies);
    });
}

void getMessage(OperationRun& run) {
    const s64 dbID = run.input.rowId();
    run.both("getMessage", told(dbID), [&](auto& store) { return told(store.getMessage(dbID)); });
}

void getReceivedMessage(OperationRun& run) {
    const s64 id = run.input.id();
    run.both("getReceivedMessage", told(id), [&](auto& store) { return told(store.getReceivedMessage(id)); });
}

void ifMsgIDExist(OperationRun& run) {
    const s64 id = run.input.id();
    run.both("ifMsgIDExist", told(id), [&](auto& store) { return told(store.ifMsgIDExist(id)); });
}

void updateMessageStatus(OperationRun& run) {
    const s64 dbID = run.input.rowId();
    const auto status =
        static_cast<PelkoMessageStatus>(run.input.enumerator(PelkoMessageStatusSendingFailed));
    run.both("updateMessageStatus", told(dbID, status),
             [&](auto& store) { return told(store.updateMessageStatus(dbID, status)); });
}

void updateMessageMediaStatus(OperationRun& run) {
    const s64 dbID = run.input.rowId();
    const auto status = static_cast<PelkoMediaStatus>(run.input.enumerator(PelkoMediaStatusDownloadFailed));
    run.both("updateMessageMediaStatus", told(dbID, status),
             [&](auto& store) { return told(store.updateMessageMediaStatus(dbID, status)); });
}

void getLatestMessages(OperationRun& run) {
    const PelkoChatTarget chat = run.input.target();
    const uint count = run.input.number();
    run.both("getLatestMessages", told(chat, count), [&](auto& store) {
        std::deque<PelkoMessage> messages = {PelkoMessage(9LL)};
        const bool result = store.getLatestMessages(chat, count, messages);
        return told(result) + '\n' + recordsText(messages);
    });
}

void getHistoryMessages(OperationRun& run) {
    const PelkoChatTarget chat = run.input.target();
    const s64 dbID = run.input.rowId();
    const uint count = run.input.number();
    run.both("getHistoryMessages", told(chat, dbID, count), [&](auto& store) {
        std::deque<PelkoMessage> messages = {PelkoMessage(9LL)};
        const bool result = store.getHistoryMessages(chat, dbID, count, messages);
        return told(result) + '\n' + recordsText(messages);
    });
}

void clearUnreadStatus(OperationRun& run) {
    const PelkoChatTarget chat = run.input.target();
    run.both("clearUnreadStatus", told(chat),
             [&](auto& store) { return told(store.clearUnreadStatus(chat)); });
}

void getUnreadCountOfTarget(OperationRun& run) {
    const PelkoChatTarget chat = run.input.target();
    run.both("getUnreadCountOfTarget", told(chat),
             [&](auto& store) { return told(store.getUnreadCountOfTarget(chat)); });
}

void getUnreadCountOfTypes(OperationRun& run) {
    std::vector<PelkoChatTargetType> types;
    for (unsigned count = run.input.below(5); count > 0; --count) {
        types.push_back(
            static_cast<PelkoChatTargetType>(run.input.enumerator(PelkoChatTargetTypeCustomerService)));
    }
    run.both("getUnreadCountOfTypes", told(types), [&](auto& store) {
        std::vector<PelkoChatTargetType> copies = types;
        return told(store.getUnreadCountOfTypes(copies));
    });
}

void getTotalUnreadCount(OperationRun& run) {
    run.both("getTotalUnreadCount", "", [](auto& store) { return told(store.getTotalUnreadCount()); });
}

void deleteMessages(OperationRun& run) {
    std::vector<s64> ids;
    for (unsigned count = run.input.below(6); count > 0; --count) {
        ids.push_back(run.input.rowId());
    }
    run.both("deleteMessages", told(ids), [&](auto& store) {
        std::vector<s64> copies = ids;
        return told(store.deleteMessages(copies));
    });
}

void clearMessages(OperationRun& run) {
    const PelkoChatTarget chat = run.input.target();
    run.both("clearMessages", told(chat), [&](auto& store) { return told(store.clearMessages(chat)); });
}

}  // namespace

const std::vector<OperationCall> messageCalls = {insertMessage,
                                                 insertNoMessage,
                                                 updateMessage,
                                                 saveMessageList,
                                                 getMessage,
                                                 getReceivedMessage,
                                                 ifMsgIDExist,
                                                 updateMessageStatus,
                                                 updateMessageMediaStatus,
                                                 getLatestMessages,
                                                 getHistoryMessages,
                                                 clearUnreadStatus,
                                                 getUnreadCountOfTarget,
                                                 getUnreadCountOfTypes,
                                                 getTotalUnreadCount,
                                                 deleteMessages,
                                                 clearMessages};

}  // namespace pelkotest
