#include "tests/reliability/support/StoredRows.h"

#include <sqlite3.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace pelkotest {

namespace {

using Connection = std::unique_ptr<sqlite3, int (*)(sqlite3*)>;
using Statement = std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)>;

Connection openFile(const std::string& path) {
    // By its name, because a test may have put a layer of its own in the default's place.
    const char* const systemVfs = sqlite3_vfs_find("unix") != nullptr ? "unix" : nullptr;
    sqlite3* raw = nullptr;
    const int result = sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READWRITE, systemVfs);
    Connection connection(raw, sqlite3_close);
    sqlite3_trace_v2(raw, 0, nullptr, nullptr);
    sqlite3_busy_timeout(raw, 5000);
    if (result != SQLITE_OK) {
        throw std::runtime_error("cannot open " + path + ": " + sqlite3_errmsg(raw));
    }
    return connection;
}

Statement prepare(sqlite3* db, const std::string& sql) {
    sqlite3_stmt* raw = nullptr;
    const int result = sqlite3_prepare_v2(db, sql.c_str(), -1, &raw, nullptr);
    Statement statement(raw, sqlite3_finalize);
    if (result != SQLITE_OK) {
        throw std::runtime_error(sql + ": " + sqlite3_errmsg(db));
    }
    return statement;
}

std::vector<std::string> run(sqlite3_stmt* statement) {
    std::vector<std::string> rows;
    int step = SQLITE_OK;
    while ((step = sqlite3_step(statement)) == SQLITE_ROW) {
        std::string row;
        for (int i = 0; i < sqlite3_column_count(statement); ++i) {
            const unsigned char* const text = sqlite3_column_text(statement, i);
            row += i == 0 ? "" : ", ";
            row += text == nullptr ? "NULL" : reinterpret_cast<const char*>(text);
        }
        rows.push_back(std::move(row));
    }
    sqlite3_reset(statement);
    if (step != SQLITE_DONE) {
        throw std::runtime_error(std::string(sqlite3_sql(statement)) + ": " + sqlite3_errstr(step));
    }
    return rows;
}

std::vector<std::string> query(sqlite3* db, const std::string& sql) {
    return run(prepare(db, sql).get());
}

/// Every column of the table in SQL notation, which tells NULL, numbers, texts and blobs apart.
std::string quotedColumns(sqlite3* db, const std::string& table) {
    std::string columns;
    for (const std::string& name : query(db, "SELECT name FROM pragma_table_info('" + table + "')")) {
        columns += (columns.empty() ? "quote(" : ", quote(") + name + ')';
    }
    return columns;
}

}  // namespace

StoredFile::StoredFile(const std::string& path)
    : mConnection(openFile(path)),
      mCheck(prepare(mConnection.get(), "PRAGMA integrity_check(5)")),
      mVersion(prepare(mConnection.get(), "PRAGMA data_version")) {
}

void StoredFile::findTables() {
    sqlite3* const db = mConnection.get();
    for (const std::string& table :
         query(db, "SELECT name FROM sqlite_master WHERE type = 'table' AND name LIKE 'tbl%'")) {
        mTables.emplace_back(
            table, prepare(db, "SELECT " + quotedColumns(db, table) + " FROM " + table + " ORDER BY rowid"));
    }
}

const StoredRows& StoredFile::rows() {
    sqlite3_db_release_memory(mConnection.get());
    std::vector<std::string> version = run(mVersion.get());
    if (version != mRowsVersion) {
        if (mTables.empty()) {
            findTables();
        }
        for (const auto& [table, statement] : mTables) {
            mRows[table] = run(statement.get());
        }
        mRowsVersion = std::move(version);
    }
    return mRows;
}

std::string StoredFile::integrity() {
    sqlite3_db_release_memory(mConnection.get());
    std::string verdict;
    for (const std::string& line : run(mCheck.get())) {
        verdict += (verdict.empty() ? "" : "\n") + line;
    }
    return verdict;
}

std::vector<std::string> StoredFile::schema() {
    return query(mConnection.get(), "SELECT name, sql FROM sqlite_master ORDER BY name");
}

StoredRows storedRows(const std::string& path) {
    return StoredFile(path).rows();
}

std::string integrityOf(const std::string& path) {
    return StoredFile(path).integrity();
}

std::string difference(const StoredRows& expected, const StoredRows& actual) {
    std::string text;
    const auto tell = [&](const char* what, const StoredRows& from, const StoredRows& without) {
        for (const auto& [table, rows] : from) {
            const auto other = without.find(table);
            std::vector<std::string> left =
                other != without.end() ? other->second : std::vector<std::string>();
            for (const std::string& row : rows) {
                const auto found = std::find(left.begin(), left.end(), row);
                if (found == left.end()) {
                    text += std::string(what) + table + ": " + row.substr(0, 200) + '\n';
                } else {
                    left.erase(found);
                }
            }
        }
    };
    tell("missing from ", expected, actual);
    tell("too much in ", actual, expected);
    if (text.empty() && expected != actual) {
        text = "the same rows in another order\n";
    }
    return text;
}

}  // namespace pelkotest
