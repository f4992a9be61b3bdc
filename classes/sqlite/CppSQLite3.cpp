#include "classes/sqlite/CppSQLite3.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "classes/sqlite/DatabaseKey.h"
#include "classes/sqlite/UntrustedFile.h"

namespace pelkoapi {

namespace {

struct StatementFinalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;

/// What the system's own files say of a path.
bool isAccessible(const std::string& path, int access) {
    sqlite3_vfs* const files = sqlite3_vfs_find(nullptr);
    int result = 0;
    return files->xAccess(files, path.c_str(), access, &result) == SQLITE_OK && result != 0;
}

/// Whether both the file and its folder, in which its journal is made, can be written.
bool canBeWritten(const std::string& path) {
    const std::size_t end = path.find_last_of("/\\");
    const std::string folder = end == std::string::npos ? "." : path.substr(0, end + 1);
    return isAccessible(path, SQLITE_ACCESS_READWRITE) && isAccessible(folder, SQLITE_ACCESS_READWRITE);
}

[[noreturn]] void throwMisuse(const char* message) {
    throw CppSQLite3Exception(SQLITE_MISUSE, message, false);
}

[[noreturn]] void throwError(sqlite3* db, int code) {
    if (const char* const wrongKey = wrongKeyMessage(code)) {
        throw CppSQLite3Exception(code, wrongKey, false);
    }
    // A connection that was closed under a cursor has no message any more.
    const bool told = (sqlite3_errcode(db) & 0xff) == (code & 0xff);
    throw CppSQLite3Exception(code, told ? sqlite3_errmsg(db) : sqlite3_errstr(code), false);
}

/// Where the quoted text or comment that begins here ends; the same place if none begins here.
const char* skipQuotedOrComment(const char* sql) {
    const auto pastNext = [](const char* from, const char* end) {
        const char* const found = std::strstr(from, end);
        return found != nullptr ? found + std::strlen(end) : from + std::strlen(from);
    };
    switch (*sql) {
        case '\'':
            return pastNext(sql + 1, "'");
        case '"':
            return pastNext(sql + 1, "\"");
        case '`':
            return pastNext(sql + 1, "`");
        case '[':
            return pastNext(sql + 1, "]");
        case '-':
            return sql[1] == '-' ? pastNext(sql, "\n") : sql;
        case '/':
            return sql[1] == '*' ? pastNext(sql + 2, "*/") : sql;
        default:
            return sql;
    }
}

/// Past blanks, comments and semicolons, which are no statement.
const char* skipToStatement(const char* sql) {
    for (;;) {
        const char* const rest =
            *sql == '-' || *sql == '/' ? skipQuotedOrComment(sql) : sql + std::strspn(sql, " \t\n\f\r;");
        if (rest == sql) {
            return sql;
        }
        sql = rest;
    }
}

/// The semicolon that ends the statement, or the end of the text. Not for CREATE TRIGGER, which holds some.
const char* endOfStatement(const char* sql) {
    while (*sql != '\0' && *sql != ';') {
        const char* const rest = skipQuotedOrComment(sql);
        sql = rest != sql ? rest : sql + 1;
    }
    return sql;
}

[[noreturn]] void throwMoreThanOne() {
    throwMisuse("there is more than one statement");
}

Statement prepareOnly(sqlite3* db, const char* sql) {
    if (db == nullptr) {
        throwMisuse("the database is not open");
    }
    if (sql == nullptr || *skipToStatement(sql) == '\0') {
        throwMisuse("there is no statement");
    }
    sql = skipToStatement(sql);
    // Some PRAGMAs act while they are prepared, so what follows one is looked at before.
    if (sqlite3_strnicmp(sql, "pragma", 6) == 0 && *skipToStatement(endOfStatement(sql)) != '\0') {
        throwMoreThanOne();
    }
    sqlite3_stmt* raw = nullptr;
    const int result = sqlite3_prepare_v2(db, sql, -1, &raw, &sql);
    Statement statement(raw);
    if (result != SQLITE_OK) {
        throwError(db, result);
    }
    if (*skipToStatement(sql) != '\0') {
        throwMoreThanOne();
    }
    return statement;
}

/// Steps the statement. @return whether it met a row
bool step(sqlite3* db, sqlite3_stmt* statement) {
    const int result = sqlite3_step(statement);
    if (result != SQLITE_ROW && result != SQLITE_DONE) {
        throwError(db, result);
    }
    return result == SQLITE_ROW;
}

}  // namespace

CppSQLite3Exception::CppSQLite3Exception(int code, const char* message, bool releaseMessage)
    : mnErrCode(code & 0xff), mpszErrMess(sqlite3_mprintf("%s", message)) {
    if (releaseMessage) {
        sqlite3_free(const_cast<char*>(message));
    }
}

CppSQLite3Exception::CppSQLite3Exception(const CppSQLite3Exception& other) noexcept
    : std::exception(other),
      mnErrCode(other.mnErrCode),
      mpszErrMess(sqlite3_mprintf("%s", other.mpszErrMess)) {
}

CppSQLite3Exception& CppSQLite3Exception::operator=(const CppSQLite3Exception& other) noexcept {
    if (this != &other) {
        sqlite3_free(mpszErrMess);
        mnErrCode = other.mnErrCode;
        mpszErrMess = sqlite3_mprintf("%s", other.mpszErrMess);
    }
    return *this;
}

CppSQLite3Exception::~CppSQLite3Exception() {
    sqlite3_free(mpszErrMess);
}

const char* CppSQLite3Exception::errorMessage() const noexcept {
    return mpszErrMess != nullptr ? mpszErrMess : sqlite3_errstr(mnErrCode);
}

CppSQLite3Query::CppSQLite3Query(sqlite3* db, sqlite3_stmt* vm, bool eof, bool ownVM)
    : mpDB(db), mpVM(vm), mbEof(eof), mnCols(sqlite3_column_count(vm)), mbOwnVM(ownVM) {
}

CppSQLite3Query::CppSQLite3Query(const CppSQLite3Query& other) noexcept {
    takeFrom(other);
}

CppSQLite3Query& CppSQLite3Query::operator=(const CppSQLite3Query& other) noexcept {
    if (this != &other) {
        finalize();
        takeFrom(other);
    }
    return *this;
}

CppSQLite3Query::~CppSQLite3Query() {
    finalize();
}

void CppSQLite3Query::takeFrom(const CppSQLite3Query& other) noexcept {
    mpDB = other.mpDB;
    mpVM = other.mpVM;
    mbEof = other.mbEof;
    mnCols = other.mnCols;
    mbOwnVM = other.mbOwnVM;
    mColumns = std::move(other.mColumns);
    mLastColumn = other.mLastColumn;
    other.forget();
}

void CppSQLite3Query::nextRow() {
    if (mbEof) {
        return;  // a finished statement would start over
    }
    mbEof = true;
    mbEof = !step(mpDB, mpVM);
}

int CppSQLite3Query::indexOf(const char* column) const {
    if (mColumns.empty()) {
        std::vector<Column> columns;
        for (int i = 0; i < mnCols; ++i) {
            const char* const name = sqlite3_column_name(mpVM, i);
            if (name == nullptr) {  // the only reason for which a column has no name
                throw CppSQLite3Exception(SQLITE_NOMEM, sqlite3_errstr(SQLITE_NOMEM), false);
            }
            columns.push_back({name, 0});
        }
        mColumns = std::move(columns);
    }
    // Every row is read in the same order, so from the second row on the first guess is right.
    int& next = mColumns[static_cast<std::size_t>(mLastColumn)].next;
    if (std::strcmp(mColumns[static_cast<std::size_t>(next)].name, column) != 0) {
        const auto found = std::find_if(mColumns.begin(), mColumns.end(),
                                        [&](const Column& c) { return std::strcmp(c.name, column) == 0; });
        if (found == mColumns.end()) {
            throw CppSQLite3Exception(SQLITE_ERROR,
                                      sqlite3_mprintf("no such column in the result: %s", column), true);
        }
        next = static_cast<int>(found - mColumns.begin());
    }
    mLastColumn = next;
    return next;
}

void CppSQLite3Query::checkColumn(int column) const {
    if (column < 0 || column >= mnCols) {
        throw CppSQLite3Exception(SQLITE_RANGE, sqlite3_mprintf("no column %d in the result", column), true);
    }
}

bool CppSQLite3Query::isNull(int column) const {
    return sqlite3_column_type(mpVM, column) == SQLITE_NULL;
}

// SQLite gives 0 and a null pointer for NULL, so the type is looked at only when that is not the answer.

int CppSQLite3Query::getIntField(int column, int nullValue) const {
    if (mbEof) {
        return nullValue;
    }
    checkColumn(column);
    return nullValue != 0 && isNull(column) ? nullValue : sqlite3_column_int(mpVM, column);
}

int CppSQLite3Query::getIntField(const char* column, int nullValue) const {
    return mbEof ? nullValue : getIntField(indexOf(column), nullValue);
}

long long CppSQLite3Query::getInt64Field(int column, long long nullValue) const {
    if (mbEof) {
        return nullValue;
    }
    checkColumn(column);
    return nullValue != 0 && isNull(column) ? nullValue : sqlite3_column_int64(mpVM, column);
}

long long CppSQLite3Query::getInt64Field(const char* column, long long nullValue) const {
    return mbEof ? nullValue : getInt64Field(indexOf(column), nullValue);
}

const char* CppSQLite3Query::getStringField(int column, const char* nullValue) const {
    if (mbEof) {
        return nullValue;
    }
    checkColumn(column);
    const unsigned char* const text = sqlite3_column_text(mpVM, column);
    if (text != nullptr) {
        return reinterpret_cast<const char*>(text);
    }
    // A value that could not be made a text, because memory ran out, may read as NULL from then on. After a
    // step the code is SQLITE_ROW: this one is of the conversion, or of another statement run since the step.
    if (!isNull(column) || sqlite3_errcode(mpDB) == SQLITE_NOMEM) {
        throw CppSQLite3Exception(SQLITE_NOMEM, sqlite3_errstr(SQLITE_NOMEM), false);
    }
    return nullValue;
}

const char* CppSQLite3Query::getStringField(const char* column, const char* nullValue) const {
    return mbEof ? nullValue : getStringField(indexOf(column), nullValue);
}

void CppSQLite3Query::finalize() noexcept {
    if (mbOwnVM) {
        sqlite3_finalize(mpVM);  // its result repeats the last step's, which has been reported
    }
    forget();
}

void CppSQLite3Query::forget() const noexcept {
    mpVM = nullptr;
    mbEof = true;
    mnCols = 0;
    mbOwnVM = false;
    mColumns.clear();
    mLastColumn = 0;
}

CppSQLite3DB::~CppSQLite3DB() {
    close();
}

void CppSQLite3DB::open(const char* path) {
    close();
    if (path == nullptr || *path == '\0') {
        throw CppSQLite3Exception(SQLITE_CANTOPEN, "unable to open database file: it has no name", false);
    }
    try {
        openFile(path);
        // A connection without one of these would promise what it does not keep. What was reported stored
        // survives a power cut: EXTRA also where there is no write-ahead log, and the removal of the journal
        // is the commit; on Apple devices, where fsync alone does not reach the medium, by a full one.
        for (const char* const setting : {
                 "PRAGMA synchronous = EXTRA", "PRAGMA fullfsync = 1", "PRAGMA checkpoint_fullfsync = 1",
                 "PRAGMA journal_size_limit = 4194304",  // of the log after a large transaction, in bytes
                 "PRAGMA secure_delete = 1",             // what is deleted is overwritten where it lies
             }) {
            execQuery(setting);
        }
    } catch (...) {
        close();
        throw;
    }
}

void CppSQLite3DB::openFile(const char* path) {
    try {
        openHandle(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
        // A file that does not open stays as it is, and what waits in its log, too.
        sqlite3_db_config(mpDB, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        tryWriteAheadLog();
        sqlite3_busy_timeout(mpDB, mnBusyTimeoutMs);
        readSchema();
        sqlite3_db_config(mpDB, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
    } catch (const CppSQLite3Exception& exception) {
        const bool cannotLog =
            exception.errorCode() == SQLITE_READONLY || exception.errorCode() == SQLITE_CANTOPEN;
        close();
        // One failure of a medium that can be written must not make the file read-only for a whole run.
        if (!cannotLog || canBeWritten(path) || !reopenReadOnly(path)) {
            throw;
        }
    }
}

void CppSQLite3DB::openHandle(const char* path, int flags) {
    // Callers serialise, so SQLite need not lock the connection in each of its functions.
    const int result = sqlite3_open_v2(path, &mpDB, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    if (result != SQLITE_OK) {
        throwError(mpDB, result);
    }
    useDatabaseKey(mpDB);
    if (const int refused = trustNothing(mpDB); refused != SQLITE_OK) {
        throwError(mpDB, refused);
    }
}

void CppSQLite3DB::readSchema() {
    // SQLite reads nothing of a file before the first statement: this one fails where there is no database in
    // it, or one whose schema cannot be read.
    execQuery("SELECT 1 FROM sqlite_master LIMIT 1");
}

bool CppSQLite3DB::reopenReadOnly(const char* path) {
    // A file with a write-ahead log in use is read through files beside it. On a read-only medium they cannot
    // be made; without a log waiting to be taken up the file can be read by itself, as one that nobody
    // changes.
    sqlite3_vfs* const files = sqlite3_vfs_find(nullptr);
    const std::string log = std::string(path) + "-wal";
    int found = 1;
    if (files->xAccess(files, log.c_str(), SQLITE_ACCESS_EXISTS, &found) != SQLITE_OK || found != 0) {
        return false;
    }
    try {
        openHandle(fileUri(path, "immutable=1").c_str(), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
        readSchema();
        return true;
    } catch (const CppSQLite3Exception&) {
        close();
        return false;  // the first failure is the one to tell
    }
}

void CppSQLite3DB::tryWriteAheadLog() {
    // A file that cannot be switched goes on in the mode it has.
    try {
        execQuery("PRAGMA journal_mode = WAL");
    } catch (const CppSQLite3Exception&) {
    }
}

void CppSQLite3DB::close() noexcept {
    sqlite3_close_v2(mpDB);
    mpDB = nullptr;
}

int CppSQLite3DB::execDML(const char* sql) {
    const Statement statement = prepareOnly(mpDB, sql);
    while (step(mpDB, statement.get())) {
    }
    return sqlite3_changes(mpDB);
}

CppSQLite3Query CppSQLite3DB::execQuery(const char* sql) {
    Statement statement = prepareOnly(mpDB, sql);
    const bool eof = !step(mpDB, statement.get());
    return {mpDB, statement.release(), eof};
}

}  // namespace pelkoapi
