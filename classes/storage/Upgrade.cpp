#include <sqlite3.h>

#include <set>

#include "classes/platform/FileUtil.h"
#include "classes/platform/StringFormatUtil.h"
#include "classes/storage/FailureConvention.h"
#include "classes/storage/PelkoDBManager.h"
#include "classes/storage/SqlNames.h"

// Repairs states that cannot be true any more once the file is opened afresh: what was under way when the
// previous run ended.

namespace pelkoapi {

namespace {

/// The row ids that a pass has met. See FailureConvention.h on statements within a loop: reading all rows
/// first would make each repair wait for another process's lock, one after the other, while the client
/// starts.
class RowsMet {
public:
    /// @throws CppSQLite3Exception when more rows have come again than there are
    s64 meet(s64 dbID) {
        if (!mIds.insert(dbID).second && ++mAgain > mIds.size()) {
            throw CppSQLite3Exception(SQLITE_CORRUPT, sqlite3_errstr(SQLITE_CORRUPT), false);
        }
        return dbID;
    }

private:
    std::set<s64> mIds;
    std::size_t mAgain = 0;  // a table that somebody else made may hold an id twice
};

}  // namespace

void PelkoDBManager::nessesaryUpdate() {
    constexpr const char* operation = "nessesaryUpdate";

    // Interrupted media transfers: the file tells how they ended.
    withFailureLogged(operation, false, [&] {
        CppSQLite3Query query = connection().execQuery(
            StringFormatUtil::string_format(
                "SELECT %s, %s, %s, %s FROM %s WHERE %s in (%d, %d) and %s in (%d, %d)", sql::dbId, sql::type,
                sql::mediaPath, sql::exMediaPath, sql::tblMsg, sql::mediaStatus, PelkoMediaStatusDownloading,
                PelkoMediaStatusDownloadFailed, sql::type, PelkoMessageTypeAudio, PelkoMessageTypeImage)
                .c_str());
        RowsMet met;
        while (!query.eof()) {
            // An image is complete when its second file is there.
            const bool isAudio = query.getIntField(sql::type, 0) == PelkoMessageTypeAudio;
            const char* const path = query.getStringField(isAudio ? sql::mediaPath : sql::exMediaPath, "");
            const bool present = FileUtil::exist(FileUtil::getFullPath(path));
            updateMessageMediaStatus(met.meet(query.getInt64Field(sql::dbId, 0)),
                                     present ? PelkoMediaStatusDownloaded : PelkoMediaStatusDownloadFailed);
            query.nextRow();
        }
        query.finalize();
        return true;
    });

    // Interrupted sends: they failed.
    withFailureLogged(operation, false, [&] {
        CppSQLite3Query query = connection().execQuery(
            StringFormatUtil::string_format("SELECT %s FROM %s WHERE %s = %d", sql::dbId, sql::tblMsg,
                                            sql::status, PelkoMessageStatusSending)
                .c_str());
        RowsMet met;
        while (!query.eof()) {
            updateMessageStatus(met.meet(query.getInt64Field(sql::dbId, 0)), PelkoMessageStatusSendingFailed);
            query.nextRow();
        }
        query.finalize();
        return true;
    });
}

}  // namespace pelkoapi
