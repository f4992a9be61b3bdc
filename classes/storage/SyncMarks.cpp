#include "classes/platform/StringFormatUtil.h"
#include "classes/storage/FailureConvention.h"
#include "classes/storage/PelkoDBManager.h"
#include "classes/storage/SqlNames.h"
#include "classes/storage/SqlText.h"

// The last message id fetched per stream, and one message setting per conversation.

namespace pelkoapi {

s64 PelkoDBManager::getLastMsgID(const std::string& key) {
    if (!checkReady("getLastMsgID")) {
        return 0;
    }
    return withFailureLogged("getLastMsgID", s64{0}, [&] {
        CppSQLite3Query query = connection().execQuery(
            StringFormatUtil::string_format("SELECT %s FROM %s WHERE %s = '%s'", sql::lastMsgId,
                                            sql::tblLastMsgId, sql::key, unescapedText(key).c_str())
                .c_str());
        const s64 msgId = query.eof() ? 0 : query.getInt64Field(sql::lastMsgId, 0);
        query.finalize();
        return msgId;
    });
}

bool PelkoDBManager::updateLastMsgID(const std::string& key, s64 msgId) {
    if (!checkReady("updateLastMsgID") || msgId < 1) {
        return false;
    }
    const std::string keyText = unescapedText(key);
    if (getLastMsgID(key) < 1) {
        return execSucceeds(
            "updateLastMsgID",
            StringFormatUtil::string_format("INSERT INTO %s (%s, %s) VALUES ('%s', %lld)", sql::tblLastMsgId,
                                            sql::key, sql::lastMsgId, keyText.c_str(), msgId));
    }
    // A smaller id replaces a larger one: the caller decides from where it resumes.
    return execSucceeds("updateLastMsgID", StringFormatUtil::string_format(
                                               "UPDATE %s SET %s = %lld WHERE %s = '%s'", sql::tblLastMsgId,
                                               sql::lastMsgId, msgId, sql::key, keyText.c_str()));
}

int PelkoDBManager::getMsgConfig(const PelkoChatTarget& target) {
    if (!checkReady("getMsgConfig")) {
        return -1;
    }
    return withFailureLogged("getMsgConfig", -1, [&] {
        CppSQLite3Query query = connection().execQuery(
            StringFormatUtil::string_format("SELECT %s FROM %s WHERE %s = %d AND %s = '%s'", sql::msgConfig,
                                            sql::tblMsgConfig, sql::targetType, target.type, sql::targetId,
                                            getTargetUniqueID(target).c_str())
                .c_str());
        const int config = query.eof() ? -1 : query.getIntField(sql::msgConfig, 0);
        query.finalize();
        return config;
    });
}

bool PelkoDBManager::setMsgConfig(const PelkoChatTarget& target, int config) {
    if (!checkReady("setMsgConfig")) {
        return false;
    }
    const std::string id = getTargetUniqueID(target);
    if (getMsgConfig(target) < 0) {
        // The id stands outside quotes here, so only a numeric one can be inserted.
        return execSucceeds(
            "setMsgConfig",
            StringFormatUtil::string_format("INSERT INTO %s (%s, %s, %s) VALUES (%d, %s, %d)",
                                            sql::tblMsgConfig, sql::targetType, sql::targetId, sql::msgConfig,
                                            target.type, unquotedNumber(id).c_str(), config));
    }
    return execSucceeds("setMsgConfig",
                        StringFormatUtil::string_format(
                            "UPDATE %s SET %s = %d WHERE %s= %d AND %s = '%s'", sql::tblMsgConfig,
                            sql::msgConfig, config, sql::targetType, target.type, sql::targetId, id.c_str()));
}

}  // namespace pelkoapi
