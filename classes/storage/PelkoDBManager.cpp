#include "classes/storage/PelkoDBManager.h"

#include <sqlite3.h>

#include "classes/platform/FileUtil.h"
#include "classes/platform/StringFormatUtil.h"
#include "classes/storage/FailureConvention.h"
#include "classes/storage/SqlNames.h"

namespace pelkoapi {

PelkoDBManager* PelkoDBManager::sharedInstance = nullptr;

PelkoDBManager* PelkoDBManager::getInstance() {
    if (sharedInstance == nullptr) {
        sharedInstance = new PelkoDBManager;
    }
    return sharedInstance;
}

PelkoDBManager::PelkoDBManager() = default;

PelkoDBManager::~PelkoDBManager() {
    tearDown();
}

void PelkoDBManager::tearDown() {
    if (mpDB) {
        mpDB->close();
        mpDB.reset();
    }
}

bool PelkoDBManager::setUp() {
    if (mpDB) {
        logNotClosed();
        tearDown();
    }
    mpDB = std::make_unique<CppSQLite3DB>();
    const bool opened = withFailureLogged("setUp", false, [&] {
        mpDB->open(getDBPath().c_str());
        return true;
    });
    if (!opened) {
        tearDown();
        return false;
    }
    createTablesIfNotExist();
    createIndexesIfNotExist();
    nessesaryUpdate();
    return true;
}

std::string PelkoDBManager::getDBPath() {
    const std::string path = FileUtil::getUserDataRoot() + "/db.dat";
    return FileUtil::createFile(path, false) < 0 ? std::string() : path;
}

bool PelkoDBManager::isDBReady() const {
    return mpDB && mpDB->checkDBIsOpen();
}

bool PelkoDBManager::checkReady(const char* operation, int line) const {
    if (!isDBReady()) {
        logNotReady(operation, line);
        return false;
    }
    return true;
}

CppSQLite3DB& PelkoDBManager::connection() {
    if (!mpDB) {
        throw CppSQLite3Exception(SQLITE_MISUSE, "the database is not open", false);
    }
    return *mpDB;
}

bool PelkoDBManager::execChanging(const char* operation, const std::string& statement) {
    return withFailureLogged(operation, false, [&] { return connection().execDML(statement.c_str()) > 0; });
}

bool PelkoDBManager::execSucceeds(const char* operation, const std::string& statement) {
    return withFailureLogged(operation, false, [&] {
        connection().execDML(statement.c_str());
        return true;
    });
}

bool PelkoDBManager::beginTransaction() {
    if (!checkReady("beginTransaction")) {
        return false;
    }
    return connection().execDML("BEGIN TRANSACTION;") != 0;
}

bool PelkoDBManager::commiteTransaction() {
    if (!checkReady("commiteTransaction")) {
        return false;
    }
    return connection().execDML("COMMIT TRANSACTION;") != 0;
}

std::string PelkoDBManager::transStringQuote(const std::string& text) const {
    std::string quoted;
    quoted.reserve(text.size());
    for (const char c : text) {
        quoted.append(c == '\'' ? 2 : 1, c);
    }
    return quoted;
}

bool PelkoDBManager::checkIfRecordExist(const char* table, const char* condition) {
    return withFailureLogged("checkIfRecordExist", false, [&] {
        CppSQLite3Query query = connection().execQuery(
            StringFormatUtil::string_format("SELECT * FROM %s WHERE %s", table, condition).c_str());
        const bool found = !query.eof();
        query.finalize();
        return found;
    });
}

int PelkoDBManager::queryCount(const char* table, const char* condition) {
    return withFailureLogged("queryCount", 0, [&] {
        CppSQLite3Query query =
            connection().execQuery(StringFormatUtil::string_format("SELECT COUNT(*) AS %s FROM %s WHERE %s",
                                                                   sql::count, table, condition)
                                       .c_str());
        const int count = query.eof() ? 0 : query.getIntField(sql::count, 0);
        query.finalize();
        return count;
    });
}

}  // namespace pelkoapi
