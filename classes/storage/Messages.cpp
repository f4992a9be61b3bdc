#include <utility>

#include "classes/platform/StringFormatUtil.h"
#include "classes/storage/FailureConvention.h"
#include "classes/storage/MediaColumns.h"
#include "classes/storage/PelkoDBManager.h"
#include "classes/storage/SqlNames.h"
#include "classes/storage/SqlText.h"

// Writing messages, changing their states, and the row reader that every message query uses.

namespace pelkoapi {

bool PelkoDBManager::insertMessage(PelkoMessage* message) {
    if (!checkReady("insertMessage") || message == nullptr) {
        return false;
    }
    return withFailureLogged("insertMessage", false, [&] {
        if (message->id != 0) {
            const std::string condition =
                StringFormatUtil::string_format("%s = %lld", sql::msgId, message->id);
            if (checkIfRecordExist(sql::tblMsg, condition.c_str())) {
                // The update goes by row id, so a known message that arrives anew, without one, changes
                // nothing and counts as stored.
                updateMessage(*message);
                return true;
            }
        }
        const MediaText media = mediaText(message->media);
        const std::string statement = StringFormatUtil::string_format(
            "INSERT INTO %s (%s, %s, %s, %s, %s, %s, %s, %s, %s, %s, %s, %s, %s, %s, %s, %s) "
            "VALUES(%lld, %d, %d, '%s', %d, '%s', '%s', '%s', %d, %d, %d, '%s', %d, '%s', %d, '%s')",
            sql::tblMsg, sql::msgId, sql::type, sql::date, sql::text, sql::mediaType, sql::mediaPath,
            sql::exMediaPath, sql::mediaUrl, sql::mediaStatus, sql::duration, sql::receiverType,
            sql::receiverId, sql::senderType, sql::senderId, sql::status, sql::extraPath, message->id,
            message->type, static_cast<int>(message->date), transStringQuote(message->text).c_str(),
            message->media.type, media.path.c_str(), media.pathEx.c_str(), media.url.c_str(),
            message->media.status, static_cast<int>(message->media.duration), message->receiver.type,
            getTargetUniqueID(message->receiver).c_str(), message->sender.type,
            getTargetUniqueID(message->sender).c_str(), message->status,
            unescapedText(message->extraText).c_str());
        if (connection().execDML(statement.c_str()) == 0) {
            return false;
        }
        CppSQLite3Query query = connection().execQuery("SELECT last_insert_rowid()");
        message->dbID = query.getInt64Field(0, 0);
        query.finalize();
        return true;
    });
}

bool PelkoDBManager::updateMessage(const PelkoMessage& message) {
    if (!checkReady("updateMessage")) {
        return false;
    }
    const MediaText media = mediaText(message.media);
    return execChanging(
        "updateMessage",
        StringFormatUtil::string_format(
            "UPDATE %s SET %s = %lld, %s = %d, %s = '%s', %s = '%s', %s = %d, %s = %d, %s = '%s', %s = '%s' "
            "WHERE %s = %lld",
            sql::tblMsg, sql::msgId, message.id, sql::date, static_cast<int>(message.date), sql::mediaPath,
            media.path.c_str(), sql::exMediaPath, media.pathEx.c_str(), sql::status, message.status,
            sql::mediaStatus, message.media.status, sql::extraPath, unescapedText(message.extraText).c_str(),
            sql::mediaUrl, media.url.c_str(), sql::dbId, message.dbID));
}

uint PelkoDBManager::saveMessageList(std::vector<PelkoMessage>& messages) {
    if (!checkReady("saveMessageList")) {
        return 0;
    }
    uint saved = 0;
    for (PelkoMessage& message : messages) {
        saved += insertMessage(&message) ? 1 : 0;
    }
    return saved;
}

PelkoMessage PelkoDBManager::getMessage(s64 dbID) {
    if (!checkReady("getMessage")) {
        return {};
    }
    return firstMessage("getMessage", StringFormatUtil::string_format("SELECT * FROM %s WHERE %s = %lld",
                                                                      sql::tblMsg, sql::dbId, dbID));
}

PelkoMessage PelkoDBManager::getReceivedMessage(s64 msgID) {
    if (!checkReady("getReceivedMessage")) {
        return {};
    }
    return firstMessage("getReceivedMessage",
                        StringFormatUtil::string_format(
                            "SELECT * FROM %s WHERE %s = %lld AND (%s == %d OR %s == %d OR %s == %d)",
                            sql::tblMsg, sql::msgId, msgID, sql::status, PelkoMessageStatusUnread,
                            sql::status, PelkoMessageStatusRead, sql::status, PelkoMessageStatusSent));
}

PelkoMessage PelkoDBManager::firstMessage(const char* operation, const std::string& statement) {
    return withFailureLogged(operation, PelkoMessage(), [&] {
        PelkoMessage message;
        CppSQLite3Query query = connection().execQuery(statement.c_str());
        if (!query.eof()) {
            message = createMsgFromQuery(query);
        }
        query.finalize();
        return message;
    });
}

bool PelkoDBManager::ifMsgIDExist(s64 msgID) {
    if (!checkReady("ifMsgIDExist") || msgID < 1) {
        return false;
    }
    return checkIfRecordExist(sql::tblMsg,
                              StringFormatUtil::string_format("%s = %lld", sql::msgId, msgID).c_str());
}

bool PelkoDBManager::updateMessageStatus(s64 dbID, PelkoMessageStatus status) {
    if (!checkReady("updateMessageStatus")) {
        return false;
    }
    return updateMessageColumn("updateMessageStatus", sql::status, status, dbID);
}

bool PelkoDBManager::updateMessageMediaStatus(s64 dbID, PelkoMediaStatus mediaStatus) {
    if (!checkReady("updateMessageMediaStatus")) {
        return false;
    }
    return updateMessageColumn("updateMessageMediaStatus", sql::mediaStatus, mediaStatus, dbID);
}

bool PelkoDBManager::updateMessageColumn(const char* operation, const char* column, int value, s64 dbID) {
    return execChanging(operation,
                        StringFormatUtil::string_format("UPDATE %s SET %s = %d WHERE %s = %lld", sql::tblMsg,
                                                        column, value, sql::dbId, dbID));
}

PelkoMessage PelkoDBManager::createMsgFromQuery(CppSQLite3Query& query) {
    const auto target = [&](const char* typeColumn, const char* idColumn) {
        const auto type = static_cast<PelkoChatTargetType>(query.getIntField(typeColumn, 0));
        return targetFromTypeAndID(type, query.getStringField(idColumn, ""));
    };
    PelkoChatTarget sender = target(sql::senderType, sql::senderId);
    PelkoChatTarget receiver = target(sql::receiverType, sql::receiverId);
    PelkoMessage message = PelkoMessage::createMessage(std::move(sender), std::move(receiver));

    message.id = query.getInt64Field(sql::msgId, 0);
    message.dbID = query.getInt64Field(sql::dbId, 0);
    message.type = static_cast<PelkoMessageType>(query.getIntField(sql::type, 0));
    message.text = query.getStringField(sql::text, "");
    message.date = static_cast<uint>(query.getIntField(sql::date, 0));
    message.status = static_cast<PelkoMessageStatus>(query.getIntField(sql::status, 0));
    message.extraText = query.getStringField(sql::extraPath, "");

    if (message.hasMedia()) {
        const auto mediaType = static_cast<PelkoMediaType>(query.getIntField(sql::mediaType, 0));
        if (mediaType == PelkoMediaTypeImage || mediaType == PelkoMediaTypeAudio ||
            mediaType == PelkoMediaTypeUserData) {
            PelkoMedia media(mediaType);
            media.status = static_cast<PelkoMediaStatus>(query.getIntField(sql::mediaStatus, 0));
            readMedia(query, sql::mediaUrl, sql::mediaPath, sql::exMediaPath, media);
            media.duration = static_cast<uint>(query.getIntField(sql::duration, 0));
            message.media = std::move(media);
        }
    }
    return message;
}

}  // namespace pelkoapi
