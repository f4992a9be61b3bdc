#include "classes/platform/FileUtil.h"
#include "classes/platform/StringFormatUtil.h"
#include "classes/storage/FailureConvention.h"
#include "classes/storage/PelkoDBManager.h"
#include "classes/storage/SqlNames.h"
#include "classes/storage/SqlText.h"

// Deleting messages: first the files that their rows name, then the rows.

namespace pelkoapi {

bool PelkoDBManager::deleteMessages(std::vector<s64>& dbIDs) {
    if (!checkReady("deleteMessages") || dbIDs.empty()) {
        return false;
    }
    const std::string list = numberList(dbIDs);
    removeMessageFiles("deleteMessages",
                       StringFormatUtil::string_format("%s IN %s", sql::dbId, list.c_str()));
    return execChanging("deleteMessages",
                        StringFormatUtil::string_format("DELETE FROM %s WHERE %s IN %s", sql::tblMsg,
                                                        sql::dbId, list.c_str()));
}

bool PelkoDBManager::clearMessages(const PelkoChatTarget& target) {
    if (!checkReady("clearMessages")) {
        return false;
    }
    // The condition is made twice: while the client's FileUtil removes files, another user may log in.
    removeMessageFiles("clearMessages", conditionSqlWithTarget(target));
    return execSucceeds("clearMessages",
                        StringFormatUtil::string_format("DELETE FROM %s WHERE %s", sql::tblMsg,
                                                        conditionSqlWithTarget(target).c_str()));
}

void PelkoDBManager::removeMessageFiles(const char* operation, const std::string& condition) {
    // A failure here is logged and keeps no row from being deleted.
    withFailureLogged(operation, false, [&] {
        CppSQLite3Query query = connection().execQuery(
            StringFormatUtil::string_format("SELECT %s, %s, %s FROM %s WHERE %s", sql::mediaPath,
                                            sql::exMediaPath, sql::extraPath, sql::tblMsg, condition.c_str())
                .c_str());
        while (!query.eof()) {
            // All three are tried in every row, whatever its kind: FileUtil ignores what is no file of the
            // application's, such as the extra text of a text message.
            for (const char* const column : {sql::mediaPath, sql::exMediaPath, sql::extraPath}) {
                FileUtil::remove(FileUtil::getFullPath(query.getStringField(column, "")));
            }
            query.nextRow();
        }
        query.finalize();
        return true;
    });
}

}  // namespace pelkoapi
