#include "classes/sqlite/UntrustedFile.h"

#include <sqlite3.h>

namespace pelkoapi {

namespace {

// The longest row and the longest statement, in bytes: messages of several megabytes, and lists of a million
// row ids.
constexpr int maxLength = 128 * 1024 * 1024;

}  // namespace

int trustNothing(sqlite3* db) {
    struct Setting {
        int option;
        int value;
    };
    for (const Setting setting : {
             Setting{SQLITE_DBCONFIG_DEFENSIVE, 1},       // no way to break the file by SQL
             Setting{SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},  // its expressions call nothing that has effects
             Setting{SQLITE_DBCONFIG_ENABLE_TRIGGER, 0},  // the store has none: any that are there are
             Setting{SQLITE_DBCONFIG_ENABLE_VIEW, 0},     // somebody else's
             Setting{SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0},
         }) {
        const int result = sqlite3_db_config(db, setting.option, setting.value, nullptr);
        if (result != SQLITE_OK) {
            return result;
        }
    }
    sqlite3_drop_modules(db, nullptr);            // no virtual table in the place of one of the store's
    sqlite3_limit(db, SQLITE_LIMIT_ATTACHED, 0);  // no other file than this one
    // A length field of a damaged row must not claim the memory of the phone.
    sqlite3_limit(db, SQLITE_LIMIT_LENGTH, maxLength);
    sqlite3_limit(db, SQLITE_LIMIT_SQL_LENGTH, maxLength);
    // Damaged pages are found when they are read.
    const int result = sqlite3_exec(db, "PRAGMA cell_size_check = 1", nullptr, nullptr, nullptr);
    if (result != SQLITE_OK) {
        return result;
    }
    // A file that is cut short under a mapping ends the process.
    return sqlite3_exec(db, "PRAGMA mmap_size = 0", nullptr, nullptr, nullptr);
}

std::string fileUri(const std::string& path, const std::string& query) {
    // An empty authority in front of an absolute path, so that none is read into one that begins "//".
    std::string uri = !path.empty() && path.front() == '/' ? "file://" : "file:";
    for (const char c : path) {
        const bool special = c == '%' || c == '?' || c == '#';
        uri += special ? (c == '%' ? "%25" : c == '?' ? "%3f" : "%23") : std::string(1, c);
    }
    return uri + '?' + query;
}

}  // namespace pelkoapi
