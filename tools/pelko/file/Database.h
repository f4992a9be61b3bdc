#ifndef PELKO_TOOL_FILE_DATABASE_H
#define PELKO_TOOL_FILE_DATABASE_H

#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "classes/platform/Utf8Path.h"

#include "tools/pelko/file/SqliteError.h"

// A db.dat as the file that it is, beside the operations of the store: for looking at it without changing
// anything, and for what the store has no operation for. Every failure is a SqliteError, whose line names the
// file and the remedy.

namespace pelkotool {

/// A prepared statement with its cursor. Columns and parameters are counted as SQLite does: columns from 0,
/// parameters from 1.
class Statement {
public:
    /// @param file  named by failures
    Statement(sqlite3* db, const std::string& sql, std::string file);

    Statement& bind(int parameter, long long value);
    /// The text is copied.
    Statement& bind(int parameter, std::string_view text);
    /// The same for a parameter that not every form of the statement has.
    Statement& bindIfUsed(int parameter, std::string_view text);

    /// Steps to the next row. @return whether there is one
    bool step();
    /// Steps a statement without rows to its end.
    void run();
    /// Back to the start, ready for other values.
    void reset();

    int columnCount() const { return sqlite3_column_count(mStatement.get()); }
    bool isNull(int column) const { return sqlite3_column_type(mStatement.get(), column) == SQLITE_NULL; }
    /// As SQLite turns the value into a number; 0 for NULL.
    long long integer(int column) const { return sqlite3_column_int64(mStatement.get(), column); }
    /// The bytes of the value as a text, with all NUL bytes; empty for NULL.
    std::string text(int column) const;

    sqlite3_stmt* handle() const { return mStatement.get(); }

private:
    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };

    [[noreturn]] void fail(int code) const;

    std::string mFile;
    std::unique_ptr<sqlite3_stmt, Finalizer> mStatement;
};

/// A connection to a database file. It trusts nothing that the file says.
class Database {
public:
    /// To look at a file, also while a client has it open. Nothing in the file's folder is changed, but for
    /// the files of a write-ahead log in use, which every reader shares.
    /// @throws ToolError for a file that is not there or cannot be read
    static Database openToRead(const std::filesystem::path& file);

    /// To change rows, or the file as a whole.
    static Database openToWrite(const std::filesystem::path& file);

    /// A new, empty file. @throws ToolError where there is one already
    static Database create(const std::filesystem::path& file);

    /// An empty one that lies in no file.
    static Database inMemory();

    Statement prepare(const std::string& sql) const { return {mHandle.get(), sql, pelkoapi::utf8Of(mFile)}; }
    void execute(const std::string& sql) const;
    /// The first column of the first row as a number; 0 without a row.
    long long number(const std::string& sql) const;

    const std::filesystem::path& file() const { return mFile; }
    sqlite3* handle() const { return mHandle.get(); }

    /// To be asked when all is read: a file that nobody seemed to have open is read without locks.
    /// @throws ToolError when somebody has changed it meanwhile
    void requireUnchanged() const;

private:
    struct Closer {
        void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
    };
    /// What tells whether a file has been written.
    struct Stamp {
        std::uintmax_t size = 0;
        std::filesystem::file_time_type changed;
        bool hasLog = false;

        bool operator==(const Stamp& other) const {
            return size == other.size && changed == other.changed && hasLog == other.hasLog;
        }
    };

    Database(const std::filesystem::path& file, int flags, const std::string& query);
    static Database openWithoutLocks(const std::filesystem::path& file);
    static Stamp stampOf(const std::filesystem::path& file);

    std::filesystem::path mFile;
    bool mReadsWithoutLocks = false;
    Stamp mStamp;
    std::unique_ptr<sqlite3, Closer> mHandle;
};

/// @throws ToolError for a file that is not there, is none or cannot be read
void requireReadableFile(const std::filesystem::path& file);

/// A name in SQL, whatever it holds.
std::string quotedName(const std::string& name);

/// The path of a file that SQLite keeps beside a database: "db.dat" and "-wal" give "db.dat-wal".
std::filesystem::path besideDatabase(const std::filesystem::path& file, const std::string& suffix);

/// Whether the file's header says that its changes go into a write-ahead log. SQLite does not tell it of a
/// file that is read without locks. Of an encrypted file it is assumed, as the store makes every file so,
/// unless there is a journal beside it.
bool isInLogMode(const std::filesystem::path& file);

}  // namespace pelkotool

#endif  // PELKO_TOOL_FILE_DATABASE_H
