#ifndef PELKO_TESTS_SUPPORT_RAW_CONNECTION_H
#define PELKO_TESTS_SUPPORT_RAW_CONNECTION_H

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <string>

#include "classes/sqlite/DatabaseKey.h"

namespace pelkotest {

/// A connection of SQLite's own, beside the store's.
using RawConnection = std::unique_ptr<sqlite3, int (*)(sqlite3*)>;

inline RawConnection openRaw(const std::string& path) {
    sqlite3* raw = nullptr;
    EXPECT_EQ(sqlite3_open(path.c_str(), &raw), SQLITE_OK) << path;
    pelkoapi::useDatabaseKey(raw);
    return {raw, sqlite3_close};
}

/// @return SQLite's result code
inline int runRaw(const RawConnection& connection, const char* sql) {
    return sqlite3_exec(connection.get(), sql, nullptr, nullptr, nullptr);
}

}  // namespace pelkotest

#endif  // PELKO_TESTS_SUPPORT_RAW_CONNECTION_H
