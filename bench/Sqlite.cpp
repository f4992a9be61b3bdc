#include "bench/Sqlite.h"

#include <stdexcept>

namespace pelkobench {

namespace {

bool stepped(sqlite3_stmt* statement) {
    const int code = sqlite3_step(statement);
    if (code != SQLITE_ROW && code != SQLITE_DONE) {
        check(code, sqlite3_db_handle(statement));
    }
    return code == SQLITE_ROW;
}

}  // namespace

void check(int code, sqlite3* db) {
    if (code != SQLITE_OK) {
        throw std::runtime_error(std::string("SQLite: ") + sqlite3_errmsg(db));
    }
}

void execute(sqlite3* db, const std::string& sql) {
    check(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), db);
}

long long number(sqlite3* db, const std::string& sql) {
    return KeptStatement(db, sql.c_str()).readNumber();
}

std::vector<std::string> texts(sqlite3* db, const std::string& sql) {
    std::vector<std::string> found;
    KeptStatement statement(db, sql.c_str());
    while (statement.step()) {
        found.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(statement.handle(), 0)));
    }
    return found;
}

void readValues(sqlite3_stmt* statement) {
    const int columns = sqlite3_data_count(statement);
    for (int i = 0; i < columns; ++i) {
        switch (sqlite3_column_type(statement, i)) {
            case SQLITE_INTEGER:
                sqlite3_column_int64(statement, i);
                break;
            case SQLITE_FLOAT:
                sqlite3_column_double(statement, i);
                break;
            case SQLITE_NULL:
                break;
            default:
                sqlite3_column_text(statement, i);
                break;
        }
    }
}

Connection::Connection(const std::string& path, Journal journal) {
    sqlite3* db = nullptr;
    const int code = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    mDb.reset(db);
    check(code, db);
    if (journal == Journal::writeAhead) {
        execute(db,
                "PRAGMA journal_mode = WAL;"
                "PRAGMA synchronous = FULL;"
                "PRAGMA journal_size_limit = 4194304;"
                "PRAGMA checkpoint_fullfsync = 1;");
    }
    check(sqlite3_busy_timeout(db, 5000), db);
}

StatementHandle prepare(sqlite3* db, const char* sql, unsigned flags) {
    sqlite3_stmt* statement = nullptr;
    check(sqlite3_prepare_v3(db, sql, -1, flags, &statement, nullptr), db);
    return StatementHandle(statement);
}

KeptStatement::KeptStatement(sqlite3* db, const char* sql)
    : mStatement(prepare(db, sql, SQLITE_PREPARE_PERSISTENT)) {
}

long long KeptStatement::readAll() {
    long long rows = 0;
    for (; step(); ++rows) {
        readValues(handle());
    }
    reset();
    return rows;
}

long long KeptStatement::readNumber() {
    const long long value = step() ? sqlite3_column_int64(handle(), 0) : 0;
    reset();
    return value;
}

long long KeptStatement::change() {
    step();
    reset();
    return sqlite3_changes(sqlite3_db_handle(handle()));
}

bool KeptStatement::step() {
    return stepped(handle());
}

void KeptStatement::reset() {
    sqlite3_reset(handle());
}

void KeptStatement::bind(int index, long long value) {
    check(sqlite3_bind_int64(handle(), index, value), sqlite3_db_handle(handle()));
}

void KeptStatement::bind(int index, const std::string& value) {
    check(sqlite3_bind_text(handle(), index, value.data(), static_cast<int>(value.size()), SQLITE_STATIC),
          sqlite3_db_handle(handle()));
}

}  // namespace pelkobench
