#include "classes/sqlite/DatabaseKey.h"

#include <sqlite3.h>

#include <vector>

#include "classes/sqlite/CppSQLite3.h"

namespace pelkoapi {

namespace {

/// Bytes of which no copy remains where they lay.
class Secret {
public:
    Secret() = default;
    explicit Secret(const std::string& text) : mBytes(text.begin(), text.end()) {}
    Secret(const Secret&) = delete;
    Secret& operator=(const Secret&) = delete;
    ~Secret() {
        volatile char* const written = mBytes.data();  // writes that no optimiser leaves out
        for (std::size_t i = 0; i < mBytes.size(); ++i) {
            written[i] = 0;
        }
    }

    void swap(Secret& other) noexcept { mBytes.swap(other.mBytes); }
    const std::vector<char>& bytes() const { return mBytes; }

private:
    std::vector<char> mBytes;
};

Secret& databaseKey() {
    static Secret key;
    return key;
}

}  // namespace

void setDatabaseKey(const std::string& key) {
    Secret replaced(key);
    replaced.swap(databaseKey());
}

bool isDatabaseKeySet() {
    return !databaseKey().bytes().empty();
}

void useDatabaseKey(sqlite3* db) {
    if (!isDatabaseKeySet()) {
        return;
    }
#ifdef SQLITE_HAS_CODEC
    constexpr std::size_t longestKey = std::size_t{1} << 20U;
    const std::vector<char>& key = databaseKey().bytes();
    if (key.size() > longestKey) {
        throw CppSQLite3Exception(SQLITE_TOOBIG, "the key is longer than 1 MiB", false);
    }
    int result = sqlite3_key(db, key.data(), static_cast<int>(key.size()));
    if (result == SQLITE_OK) {
        // It would write to stderr; what fails is told by the result.
        result = sqlite3_exec(db, "PRAGMA cipher_log_level = NONE", nullptr, nullptr, nullptr);
    }
    if (result != SQLITE_OK) {
        throw CppSQLite3Exception(result, sqlite3_errstr(result), false);
    }
#else
    static_cast<void>(db);
    throw CppSQLite3Exception(SQLITE_MISUSE, "a key is set, and this build cannot encrypt", false);
#endif
}

const char* wrongKeyMessage(int code) {
    const bool isExplained = (code & 0xff) == SQLITE_NOTADB && isDatabaseKeySet();
    return isExplained ? "file is not a database, or the key is not its key" : nullptr;
}

}  // namespace pelkoapi
