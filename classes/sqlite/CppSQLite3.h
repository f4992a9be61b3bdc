#ifndef PELKO_SQLITE_CPPSQLITE3_H
#define PELKO_SQLITE_CPPSQLITE3_H

#include <exception>
#include <vector>

#include "classes/platform/Export.h"

struct sqlite3;
struct sqlite3_stmt;

namespace pelkoapi {

/// @addtogroup access
/// @{

/// An error of SQLite or of this layer: a primary result code of SQLite and a message.
class PELKO_API CppSQLite3Exception : public std::exception {
public:
    /// An error of that code.
    /// @param code            an SQLite result code; only its primary part is kept
    /// @param message         copied; null reads as the empty message
    /// @param releaseMessage  true hands the message over: it is released with sqlite3_free() once copied
    CppSQLite3Exception(int code, const char* message, bool releaseMessage);
    /// The same error, with a message of its own.
    CppSQLite3Exception(const CppSQLite3Exception& other) noexcept;
    /// Becomes the same error, with a message of its own.
    CppSQLite3Exception& operator=(const CppSQLite3Exception& other) noexcept;
    /// Releases the message.
    ~CppSQLite3Exception() override;

    /// The primary result code of SQLite.
    int errorCode() const noexcept { return mnErrCode; }
    /// The message. Never null; valid as long as the exception.
    const char* errorMessage() const noexcept;
    /// The message.
    const char* what() const noexcept override { return errorMessage(); }

private:
    int mnErrCode;
    char* mpszErrMess;  // owned, from sqlite3_mprintf(); null when memory ran out while copying
};

/// A running statement and its current row. It finalizes its statement when it is destroyed. Copying or
/// moving it hands the statement over, so that it is finalized exactly once: the source is left at eof with
/// nothing to finalize. One thread at a time.
class PELKO_API CppSQLite3Query {
public:
    /// A cursor over nothing: at eof.
    CppSQLite3Query() = default;
    /// Takes over a stepped statement.
    /// @param db     the connection of the statement
    /// @param vm     the statement
    /// @param eof    whether the step met no row
    /// @param ownVM  whether the cursor finalizes the statement
    CppSQLite3Query(sqlite3* db, sqlite3_stmt* vm, bool eof, bool ownVM = true);
    /// Takes over the other's statement.
    CppSQLite3Query(const CppSQLite3Query& other) noexcept;
    /// Releases its own statement and takes over the other's.
    CppSQLite3Query& operator=(const CppSQLite3Query& other) noexcept;
    /// Releases the statement.
    virtual ~CppSQLite3Query();

    /// True when there is no current row.
    bool eof() const { return mbEof; }
    /// Steps to the next row; at eof after the last, and stays there.
    /// @throws CppSQLite3Exception when the step fails; the cursor is then at eof
    void nextRow();

    /// @name Columns
    /// The column's value in the current row, converted as SQLite converts it; nullValue when it is NULL or
    /// when there is no current row. Columns are named as in the result, or counted from 0.
    /// They throw CppSQLite3Exception when the current row has no such column.
    /// @{

    /// As 32 bits: of a larger number the low ones.
    int getIntField(const char* column, int nullValue) const;
    /// The same by place.
    int getIntField(int column, int nullValue) const;
    /// As 64 bits.
    long long getInt64Field(const char* column, long long nullValue) const;
    /// The same by place.
    long long getInt64Field(int column, long long nullValue) const;
    /// As text, valid until the cursor moves or is finalized.
    const char* getStringField(const char* column, const char* nullValue) const;
    /// The same by place.
    const char* getStringField(int column, const char* nullValue) const;
    /// @}

    /// Releases the statement; the cursor is at eof afterwards. May be called more than once.
    void finalize() noexcept;

private:
    int indexOf(const char* column) const;
    void checkColumn(int column) const;
    bool isNull(int column) const;
    void forget() const noexcept;
    void takeFrom(const CppSQLite3Query& other) noexcept;

    // Mutable, because copying from a const cursor takes its statement too.
    mutable sqlite3* mpDB = nullptr;
    mutable sqlite3_stmt* mpVM = nullptr;
    mutable bool mbEof = true;
    mutable int mnCols = 0;
    mutable bool mbOwnVM = false;

    /// A result column, and the one that was asked for after it the last time.
    struct Column {
        const char* name;
        int next;
    };
    mutable std::vector<Column> mColumns;  // filled at the first read by name
    mutable int mLastColumn = 0;
};

/// A connection to one database file. Every failure of SQLite is thrown as CppSQLite3Exception; nothing is
/// logged here. One thread at a time.
class PELKO_API CppSQLite3DB {
public:
    /// A closed connection.
    CppSQLite3DB() = default;
    /// Not copied: it owns its connection.
    CppSQLite3DB(const CppSQLite3DB&) = delete;
    /// Not assigned: it owns its connection.
    CppSQLite3DB& operator=(const CppSQLite3DB&) = delete;
    /// Closes the connection if it is open.
    virtual ~CppSQLite3DB();

    /// Opens the database file, making it if it is missing; an open connection is closed first. The file is
    /// switched to write-ahead logging where that is possible; one on a read-only medium is opened for
    /// reading. What the file's schema holds beside tables and indexes (triggers, views, functions with
    /// effects) is not run, no other file can be attached, and rows and statements are limited to 128 MiB.
    /// Where a key is set (setDatabaseKey()), the file is encrypted with it.
    /// @param path  UTF-8; null or empty is an error, since a nameless database would vanish at close
    /// @throws CppSQLite3Exception when the file cannot be opened or is not an SQLite database; the
    ///         connection is then closed
    void open(const char* path);

    /// Closes the connection if it is open. Cursors that are still alive stay valid; the file is let go with
    /// the last of them.
    void close() noexcept;

    /// Whether a database is open.
    bool checkDBIsOpen() const noexcept { return mpDB != nullptr; }

    /// Runs exactly one statement to its end; rows that it returns are passed over.
    /// @return SQLite's change count after it: the rows changed by this statement if it is an INSERT, UPDATE
    ///         or DELETE, otherwise still the count of the last such statement
    /// @throws CppSQLite3Exception on any error, and before anything runs when there is more than one
    ///         statement, or none
    int execDML(const char* sql);

    /// Prepares exactly one statement and steps to its first row.
    /// @throws CppSQLite3Exception as execDML()
    CppSQLite3Query execQuery(const char* sql);

private:
    void openFile(const char* path);
    void openHandle(const char* path, int flags);
    void readSchema();
    bool reopenReadOnly(const char* path);
    void tryWriteAheadLog();

    sqlite3* mpDB = nullptr;
    int mnBusyTimeoutMs = 5000;  // how long a statement waits for another process's lock
};

/// @}

}  // namespace pelkoapi

#endif  // PELKO_SQLITE_CPPSQLITE3_H
