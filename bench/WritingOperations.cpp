#include <memory>

#include "bench/Operations.h"
#include "classes/storage/SqlText.h"

// The operations that change the file, and how the change is undone.

namespace pelkobench {

using namespace pelkoapi;

namespace {

/// Takes back inserted messages and the sessions' new last messages.
Restoring withoutEvents(const Dataset& data, const char* messages, const char* sessions,
                        const char* lastMessage) {
    const std::string drop =
        std::string("DELETE FROM ") + messages + " WHERE rowid > " + std::to_string(data.rows()) + ";";
    const std::string kept = std::string("SELECT rowid AS row, ") + lastMessage + " AS last FROM " + sessions;
    return {"CREATE TEMP TABLE kept AS " + kept, drop,
            drop + "UPDATE " + sessions + " SET " + lastMessage + " = kept.last FROM temp.kept WHERE " +
                sessions + ".rowid = kept.row;"};
}

void restoreEvents(Operation& operation, const Dataset& data) {
    operation.restoreStore = withoutEvents(data, "tbl_msg", "tbl_session", "last_msg_id");
    operation.restoreHandTuned = withoutEvents(data, "message", "conversation", "last_message");
}

std::string setStatus(const char* table, const char* key, const std::vector<long long>& rows, int status) {
    return std::string("UPDATE ") + table + " SET status = " + std::to_string(status) + " WHERE " + key +
           " IN " + numberList(rows);
}

Restoring withStatus(const char* table, const char* key, const std::vector<long long>& rows, int before,
                     int after) {
    return {"", setStatus(table, key, rows, before), setStatus(table, key, rows, after)};
}

Restoring withRows(const char* table, const char* key, const std::vector<long long>& rows) {
    const std::string from = std::string(table) + " WHERE " + key + " IN " + numberList(rows);
    const std::string back = std::string("INSERT OR IGNORE INTO ") + table + " SELECT * FROM temp.kept";
    return {"CREATE TEMP TABLE kept AS SELECT * FROM " + from, back, back};
}

using Events = std::shared_ptr<std::vector<PelkoMessage>>;

Events eventsOf(const Dataset& data) {
    auto events = std::make_shared<std::vector<PelkoMessage>>();
    for (int i = 0; i < batchSize; ++i) {
        events->push_back(data.event(i));
    }
    return events;
}

long long storeEvent(PelkoDBManager& manager, PelkoMessage& message) {
    return manager.insertMessage(&message) &&
           manager.updateSessionLastMsg(
               message.receiver.type == PelkoChatTargetTypeUser ? message.sender : message.receiver,
               message.dbID);
}

long long handTunedEvent(HandTuned& handTuned, const PelkoMessage& message) {
    const PelkoChatTarget& target =
        message.receiver.type == PelkoChatTargetTypeUser ? message.sender : message.receiver;
    return handTuned.insert(message, target) && handTuned.setLastMessage(target, handTuned.lastInsertedRow());
}

Operation event(const char* name, const Events& events, const Dataset& data) {
    Operation operation{name, 1,
                        [events](PelkoDBManager& manager, int variant) {
                            return storeEvent(manager, (*events)[static_cast<std::size_t>(variant)]);
                        },
                        [events](HandTuned& handTuned, int variant) {
                            return handTunedEvent(handTuned, (*events)[static_cast<std::size_t>(variant)]);
                        },
                        durableVariants};
    restoreEvents(operation, data);
    return operation;
}

Operation eventInTransaction(const Events& events, const Dataset& data) {
    Operation operation{
        "event_transaction", 1,
        [events](PelkoDBManager& manager, int variant) {
            manager.beginTransaction();
            const auto done = storeEvent(manager, (*events)[static_cast<std::size_t>(variant)]);
            manager.commiteTransaction();
            return done;
        },
        [events](HandTuned& handTuned, int variant) {
            handTuned.begin();
            const auto done = handTunedEvent(handTuned, (*events)[static_cast<std::size_t>(variant)]);
            handTuned.commit();
            return done;
        },
        durableVariants};
    restoreEvents(operation, data);
    return operation;
}

Operation updateStatus(const Dataset& data) {
    const std::vector<long long> rows = data.newestOutgoing(durableVariants);
    Operation operation{"update_status", 1,
                        [rows](PelkoDBManager& manager, int variant) -> long long {
                            return manager.updateMessageStatus(rows[static_cast<std::size_t>(variant)],
                                                               PelkoMessageStatusSent);
                        },
                        [rows](HandTuned& handTuned, int variant) -> long long {
                            return handTuned.setStatus(rows[static_cast<std::size_t>(variant)],
                                                       PelkoMessageStatusSent);
                        },
                        durableVariants};
    operation.restoreStore =
        withStatus("tbl_msg", "db_id", rows, PelkoMessageStatusSending, PelkoMessageStatusSent);
    operation.restoreHandTuned =
        withStatus("message", "id", rows, PelkoMessageStatusSending, PelkoMessageStatusSent);
    return operation;
}

Operation clearUnread(const Dataset& data) {
    const PelkoChatTarget peer = Dataset::busiestPeer();
    const std::vector<long long> rows = data.unreadRowsOf(peer);
    Operation operation{
        "clear_unread", 1,
        [peer](PelkoDBManager& manager, int) -> long long { return manager.clearUnreadStatus(peer); },
        [peer](HandTuned& handTuned, int) -> long long {
            return handTuned.clearUnread(peer) == unreadOfBusiest;
        },
        1};
    operation.restoreStore =
        withStatus("tbl_msg", "db_id", rows, PelkoMessageStatusUnread, PelkoMessageStatusUnread);
    operation.restoreHandTuned =
        withStatus("message", "id", rows, PelkoMessageStatusUnread, PelkoMessageStatusUnread);
    return operation;
}

Operation deleteMessages(const Dataset& data, const std::string& workFolder) {
    auto rows = std::make_shared<std::vector<long long>>(data.rowsOf(Dataset::quietPeer()));
    Operation operation{
        "delete_100", 1,
        [rows](PelkoDBManager& manager, int) -> long long { return manager.deleteMessages(*rows); },
        [rows, workFolder](HandTuned& handTuned, int) -> long long {
            return handTuned.remove(*rows, workFolder) == quietMessages;
        },
        1};
    operation.restoreStore = withRows("tbl_msg", "db_id", *rows);
    operation.restoreHandTuned = withRows("message", "id", *rows);
    return operation;
}

}  // namespace

std::vector<Operation> writingOperationsOn(const Dataset& data, const std::string& workFolder) {
    const Events events = eventsOf(data);
    Operation batch = event("event_batch", events, data);
    batch.variants = batchSize;
    batch.inBatches = true;
    return {event("event_alone", events, data),
            eventInTransaction(events, data),
            std::move(batch),
            updateStatus(data),
            clearUnread(data),
            deleteMessages(data, workFolder)};
}

}  // namespace pelkobench
