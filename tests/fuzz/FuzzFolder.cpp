#include "tests/fuzz/FuzzFolder.h"

#include <sqlite3.h>
#include <stdlib.h>  // setenv is POSIX's, not the standard library's

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "classes/platform/LoginContext.h"
#include "tests/support/TestPlatform.h"

namespace pelkotest {

namespace {

TemporaryFolder inMemory() {
    const char* const memory = "/dev/shm";
    std::error_code missing;
    if (std::filesystem::is_directory(memory, missing)) {
        setenv("TMPDIR", memory, 0);
    }
    return {};
}

void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

}  // namespace

FuzzFolder::FuzzFolder() : mFolder(inMemory()) {
    reset("", "");
}

void FuzzFolder::reset(const std::string& database, const std::string& log) const {
    platform() = {};
    platform().userRoot = mFolder.path().string();
    pelkoapi::LoginContext::getInstance()->setUserName("me");

    const std::string path = databasePath();
    for (const char* const suffix : {"-wal", "-shm", "-journal", ""}) {
        std::filesystem::remove(path + suffix);
    }
    if (!database.empty()) {
        writeFile(path, database);
    }
    if (!log.empty()) {
        writeFile(path + "-wal", log);
    }
}

std::string FuzzFolder::readDatabase() const {
    std::ifstream file(databasePath(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void runSql(const std::string& path, const char* sql) {
    sqlite3* db = nullptr;
    int result = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr);
    if (result == SQLITE_OK) {
        result = sqlite3_exec(db, sql, nullptr, nullptr, nullptr);
    }
    const std::string message = sqlite3_errmsg(db);
    sqlite3_close(db);
    if (result != SQLITE_OK) {
        throw std::runtime_error(message);
    }
}

}  // namespace pelkotest
