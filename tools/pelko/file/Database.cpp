#include "tools/pelko/file/Database.h"

#include <array>
#include <fstream>
#include <system_error>
#include <utility>

#include "classes/platform/Utf8Path.h"
#include "classes/sqlite/CppSQLite3.h"
#include "classes/sqlite/DatabaseKey.h"
#include "classes/sqlite/UntrustedFile.h"
#include "tools/pelko/Remedies.h"

namespace pelkotool {

namespace fs = std::filesystem;

using pelkoapi::pathOf;
using pelkoapi::utf8Of;

namespace {

constexpr int busyTimeoutMs = 5000;
constexpr char inMemoryQuery[] = "mode=memory";

[[noreturn]] void throwError(const std::string& file, sqlite3* db, int code) {
    const bool told = db != nullptr && (sqlite3_errcode(db) & 0xff) == (code & 0xff);
    std::string reason = told ? sqlite3_errmsg(db) : sqlite3_errstr(code);
    if (const char* const wrongKey = pelkoapi::wrongKeyMessage(code)) {
        reason = wrongKey;
    }
    throw SqliteError(file + ": " + reason + remedyFor(reason), code & 0xff);
}

void useKey(const fs::path& file, sqlite3* db) {
    try {
        pelkoapi::useDatabaseKey(db);
    } catch (const pelkoapi::CppSQLite3Exception& failure) {
        const std::string reason = failure.errorMessage();
        throw SqliteError(utf8Of(file) + ": " + reason + remedyFor(reason), failure.errorCode());
    }
}

std::uintmax_t sizeOf(const fs::path& file) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(file, error);
    return error ? 0 : size;
}

}  // namespace

void requireReadableFile(const fs::path& file) {
    std::error_code error;
    if (!fs::exists(file, error)) {
        throw ToolError("there is no file " + utf8Of(file) +
                        (error ? ": " + error.message() : "; check --data-dir, --user or --file"));
    }
    if (!fs::is_regular_file(file, error)) {
        throw ToolError(utf8Of(file) + " is not a file; name a db.dat");
    }
    if (!std::ifstream(file, std::ios::binary)) {
        throw ToolError(utf8Of(file) +
                        " cannot be read; make it readable, or copy it to a place where it is");
    }
}

std::string quotedName(const std::string& name) {
    std::string quoted = "\"";
    for (const char c : name) {
        quoted.append(c == '"' ? 2 : 1, c);
    }
    return quoted + '"';
}

fs::path besideDatabase(const fs::path& file, const std::string& suffix) {
    fs::path beside = file;
    beside += pathOf(suffix);
    return beside;
}

bool isInLogMode(const fs::path& file) {
    if (std::error_code error; pelkoapi::isDatabaseKeySet()) {
        return !fs::exists(besideDatabase(file, "-journal"), error);  // the header is encrypted, too
    }
    constexpr std::size_t placeOfReadVersion = 19;
    std::array<char, 20> header{};
    std::ifstream stream(file, std::ios::binary);
    return stream.read(header.data(), header.size()) && header[placeOfReadVersion] == 2;
}

Statement::Statement(sqlite3* db, const std::string& sql, std::string file) : mFile(std::move(file)) {
    sqlite3_stmt* statement = nullptr;
    const int result = sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr);
    mStatement.reset(statement);
    if (result != SQLITE_OK) {
        throwError(mFile, db, result);
    }
}

void Statement::fail(int code) const {
    throwError(mFile, sqlite3_db_handle(mStatement.get()), code);
}

Statement& Statement::bind(int parameter, long long value) {
    if (const int result = sqlite3_bind_int64(mStatement.get(), parameter, value); result != SQLITE_OK) {
        fail(result);
    }
    return *this;
}

Statement& Statement::bind(int parameter, std::string_view text) {
    // An empty view may have no place in memory, which SQLite would take for NULL.
    const int result =
        sqlite3_bind_text64(mStatement.get(), parameter, text.data() != nullptr ? text.data() : "",
                            text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    if (result != SQLITE_OK) {
        fail(result);
    }
    return *this;
}

Statement& Statement::bindIfUsed(int parameter, std::string_view text) {
    return parameter <= sqlite3_bind_parameter_count(mStatement.get()) ? bind(parameter, text) : *this;
}

bool Statement::step() {
    const int result = sqlite3_step(mStatement.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE) {
        fail(result);
    }
    return result == SQLITE_ROW;
}

void Statement::run() {
    while (step()) {
    }
    reset();
}

void Statement::reset() {
    sqlite3_reset(mStatement.get());
}

std::string Statement::text(int column) const {
    // Not a text as a blob: a file may keep its texts as UTF-16. And not a blob as a text, which would decode
    // it.
    const void* const bytes = sqlite3_column_type(mStatement.get(), column) == SQLITE_BLOB
                                  ? sqlite3_column_blob(mStatement.get(), column)
                                  : sqlite3_column_text(mStatement.get(), column);
    const int size = sqlite3_column_bytes(mStatement.get(), column);
    return bytes != nullptr ? std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(size))
                            : std::string();
}

Database::Database(const fs::path& file, int flags, const std::string& query) : mFile(file) {
    sqlite3* raw = nullptr;
    const int opened = sqlite3_open_v2(pelkoapi::fileUri(utf8Of(file), query).c_str(), &raw,
                                       flags | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX, nullptr);
    mHandle.reset(raw);
    if (opened != SQLITE_OK) {
        throwError(utf8Of(mFile), raw, opened);
    }
    if (query != inMemoryQuery) {
        useKey(mFile, raw);
    }
    if (const int refused = pelkoapi::trustNothing(raw); refused != SQLITE_OK) {
        throwError(utf8Of(mFile), raw, refused);
    }
    sqlite3_busy_timeout(raw, busyTimeoutMs);
}

Database::Stamp Database::stampOf(const fs::path& file) {
    Stamp stamp;
    std::error_code error;
    stamp.size = sizeOf(file);
    stamp.changed = fs::last_write_time(file, error);
    stamp.hasLog = sizeOf(besideDatabase(file, "-wal")) > 0;
    return stamp;
}

Database Database::openWithoutLocks(const fs::path& file) {
    const Stamp before = stampOf(file);
    Database database(file, SQLITE_OPEN_READONLY, "immutable=1");
    database.mReadsWithoutLocks = true;
    database.mStamp = before;
    return database;
}

Database Database::openToRead(const fs::path& file) {
    requireReadableFile(file);
    const fs::path log = besideDatabase(file, "-wal");
    // A file in log mode without a log is one that nobody has open. Opened like any other, SQLite would put
    // an empty log beside it, and could not open it at all in a folder that cannot be written.
    std::error_code error;
    if (isInLogMode(file) && !fs::exists(log, error)) {
        return openWithoutLocks(file);
    }
    Database database(file, SQLITE_OPEN_READONLY, "mode=ro");
    try {
        database.number("SELECT 1 FROM sqlite_master LIMIT 1");
    } catch (const SqliteError& failure) {
        if (failure.sqliteCode() != SQLITE_CANTOPEN && failure.sqliteCode() != SQLITE_READONLY) {
            throw;
        }
        if (isInLogMode(file) && sizeOf(log) == 0 && sizeOf(besideDatabase(file, "-journal")) == 0) {
            return openWithoutLocks(file);  // an empty log left by a client that ended hard
        }
        throw SqliteError(utf8Of(file) +
                              " has changes waiting beside it that cannot be taken up here; copy it with "
                              "the files " +
                              utf8Of(log.filename()) + " and " + utf8Of(file.filename()) +
                              "-journal beside it, where they are, to a folder that can be written",
                          failure.sqliteCode());
    }
    return database;
}

Database Database::openToWrite(const fs::path& file) {
    requireReadableFile(file);
    Database database(file, SQLITE_OPEN_READWRITE, "mode=rw");
    // What is told to be done is on the medium, as with the store's own connection.
    database.execute("PRAGMA synchronous = EXTRA; PRAGMA fullfsync = 1; PRAGMA checkpoint_fullfsync = 1");
    return database;
}

Database Database::create(const fs::path& file) {
    std::error_code error;
    if (fs::exists(file, error)) {
        throw ToolError(utf8Of(file) + " is there already; name a file that is not");
    }
    return {file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, "mode=rwc"};
}

Database Database::inMemory() {
    return {":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, inMemoryQuery};
}

void Database::execute(const std::string& sql) const {
    if (const int result = sqlite3_exec(mHandle.get(), sql.c_str(), nullptr, nullptr, nullptr);
        result != SQLITE_OK) {
        throwError(utf8Of(mFile), mHandle.get(), result);
    }
}

long long Database::number(const std::string& sql) const {
    Statement statement = prepare(sql);
    return statement.step() ? statement.integer(0) : 0;
}

void Database::requireUnchanged() const {
    if (mReadsWithoutLocks && !(stampOf(mFile) == mStamp)) {
        throw ToolError(utf8Of(mFile) + " was opened by another program meanwhile; run the command again");
    }
}

}  // namespace pelkotool
