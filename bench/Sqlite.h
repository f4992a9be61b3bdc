#ifndef PELKO_BENCH_SQLITE_H
#define PELKO_BENCH_SQLITE_H

#include <sqlite3.h>

#include <memory>
#include <string>
#include <vector>

// Bare calls of SQLite, as little as the benchmark's competitors need. Failures throw std::runtime_error.

namespace pelkobench {

/// @throws std::runtime_error with the connection's message unless the code is SQLITE_OK
void check(int code, sqlite3* db);

/// Runs any number of statements and passes over their rows.
void execute(sqlite3* db, const std::string& sql);

/// The first column of the first row; 0 when there is no row.
long long number(sqlite3* db, const std::string& sql);

/// The first column of every row, as text.
std::vector<std::string> texts(sqlite3* db, const std::string& sql);

/// Fetches every value of the current row in its own type, and drops it.
void readValues(sqlite3_stmt* statement);

enum class Journal {
    standard,    ///< SQLite's defaults: rollback journal, synchronous=FULL
    writeAhead,  ///< what CppSQLite3DB::open sets: write-ahead log, synchronous=FULL
};

/// A connection that is closed at scope end.
class Connection {
public:
    Connection(const std::string& path, Journal journal);
    operator sqlite3*() const { return mDb.get(); }

private:
    struct Closer {
        void operator()(sqlite3* db) const { sqlite3_close(db); }
    };
    std::unique_ptr<sqlite3, Closer> mDb;
};

struct Finalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using StatementHandle = std::unique_ptr<sqlite3_stmt, Finalizer>;

/// Prepares the one statement of the text.
StatementHandle prepare(sqlite3* db, const char* sql, unsigned flags = 0);

/// A statement that is prepared once and run many times with bound values.
class KeptStatement {
public:
    KeptStatement(sqlite3* db, const char* sql);

    /// Binds the values to the statement's parameters in their order. Texts must outlive the run.
    template <typename... Values>
    KeptStatement& with(const Values&... values) {
        int index = 0;
        (bind(++index, values), ...);
        return *this;
    }

    /// Runs to the end and fetches every value. @return how many rows there were
    long long readAll();
    /// Runs to the end. @return the first column of the first row; 0 when there is none
    long long readNumber();
    /// Runs a writing statement. @return how many rows it changed
    long long change();

    sqlite3_stmt* handle() const { return mStatement.get(); }
    bool step();
    void reset();

private:
    void bind(int index, long long value);
    void bind(int index, int value) { bind(index, static_cast<long long>(value)); }
    void bind(int index, const std::string& value);

    StatementHandle mStatement;
};

}  // namespace pelkobench

#endif  // PELKO_BENCH_SQLITE_H
