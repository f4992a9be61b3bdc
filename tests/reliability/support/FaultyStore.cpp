#include "tests/reliability/support/FaultyStore.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <new>

#include "classes/platform/LoginContext.h"
#include "tests/reliability/support/StoreOperations.h"
#include "tests/support/TestPlatform.h"

namespace pelkotest {

namespace {

std::string bytesOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void write(const std::string& path, const std::string& bytes) {
    if (!bytes.empty()) {
        std::ofstream(path, std::ios::binary) << bytes;
    }
}

LaidFile fileAt(const std::string& path) {
    return {bytesOf(path), bytesOf(path + "-wal")};
}

struct FilledFiles {
    LaidFile filled;
    LaidFile abandoned;
};

/// Makes blobs of half of the texts. They read as the same texts, but only after an allocation, which can
/// fail.
void storeBlobs(sqlite3* db) {
    const std::pair<std::string, std::vector<std::string>> texts[] = {
        {"tbl_msg", {"text", "media_path", "ex_media_path", "media_url", "extra_path"}},
        {"tbl_user", {"nickname", "icon_url", "icon_path", "ex_icon_path", "info"}},
        {"tbl_room", {"name", "icon_url", "icon_path", "icon_path_ex", "info"}},
        {"tbl_group", {"name", "icon_url", "icon_path", "icon_path_ex", "info", "owner"}},
        {"tbl_notify", {"sender_name", "receiver_name", "from_name", "text"}}};
    for (const auto& [table, columns] : texts) {
        for (const std::string& column : columns) {
            const std::string sql = "UPDATE " + table + " SET " + column + " = CAST(" + column +
                                    " AS BLOB) WHERE rowid % 2 = " + (table == "tbl_group" ? "1" : "0");
            EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sql;
        }
    }
}

FilledFiles makeFilledFiles() {
    const TemporaryFolder folder;
    const std::string path = folder.path().string() + "/db.dat";
    platform() = TestPlatform();
    platform().userRoot = folder.path().string();
    pelkoapi::LoginContext::getInstance()->setUserName("me");
    pelkoapi::PelkoDBManager& db = *pelkoapi::PelkoDBManager::getInstance();
    EXPECT_TRUE(db.setUp());
    fillStore(db);
    storeBlobs(lastPreparedOn());
    FilledFiles files;
    files.abandoned = fileAt(path);
    db.tearDown();
    files.filled = fileAt(path);
    EXPECT_TRUE(platform().file.empty()) << testing::PrintToString(platform().file);
    return files;
}

const FilledFiles& filledFiles() {
    static const FilledFiles files = makeFilledFiles();
    return files;
}

/// Whether the line is "<operation> failed, exception in (<anything>).".
bool isFailureLine(const std::string& line) {
    const std::string middle = " failed, exception in (";
    const std::string tail = ").";
    const std::size_t name = line.find(middle);
    return name != std::string::npos && name > 0 && line.size() > name + middle.size() + tail.size() &&
           line.compare(line.size() - tail.size(), tail.size(), tail) == 0;
}

/// Both channels have the same lines, failures all of them. When memory ran out, the console may be one
/// ahead.
void expectLogOf(const Attempt& attempt) {
    const std::vector<std::string>& console = platform().console;
    const std::size_t ahead = console.size() - attempt.logged.size();
    EXPECT_LE(ahead, attempt.memoryRanOut ? 1U : 0U)
        << testing::PrintToString(console) << " and " << testing::PrintToString(attempt.logged);
    for (std::size_t i = 0; i < std::min(console.size(), attempt.logged.size()); ++i) {
        EXPECT_EQ(console[i], "[pelko]" + attempt.logged[i]);
        EXPECT_TRUE(isFailureLine(attempt.logged[i])) << attempt.logged[i];
    }
}

}  // namespace

bool Attempt::logsFailureOf(const std::string& operation) const {
    return std::any_of(logged.begin(), logged.end(), [&](const std::string& line) {
        return line.compare(0, operation.size() + 1, operation + ' ') == 0;
    });
}

const LaidFile& filledFile() {
    return filledFiles().filled;
}

const LaidFile& abandonedFile() {
    return filledFiles().abandoned;
}

void FaultyStore::SetUp() {
    SCOPED_TRACE("the first one allocates what stays");
    installFaultLayers();
    filledFile();
    resetPlatform();
    pelkoapi::LoginContext::getInstance()->setUserName("me");
}

void FaultyStore::TearDown() {
    mFile.reset();
    db().tearDown();
    std::cout << "counted: " << mInjected << " failures injected\n";
}

void FaultyStore::resetPlatform() const {
    platform() = TestPlatform();
    platform().userRoot = mFolder.path().string();
}

void FaultyStore::lay(const LaidFile& file) const {
    for (const char* const suffix : {"", "-wal", "-shm", "-journal"}) {
        std::filesystem::remove(dbPath() + suffix);
    }
    write(dbPath(), file.bytes);
    write(dbPath() + "-wal", file.log);
}

LaidFile FaultyStore::laid() const {
    return fileAt(dbPath());
}

void FaultyStore::open() {
    expectQuiet([] { ASSERT_TRUE(db().setUp()); });
    rememberConnection();
}

void FaultyStore::rememberConnection() {
    mConnection = lastPreparedOn();
}

StoredFile& FaultyStore::file() {
    if (!mFile) {
        mFile.emplace(dbPath());
    }
    return *mFile;
}

void FaultyStore::close() {
    mFile.reset();
    db().tearDown();
    EXPECT_EQ(sqlite3_memory_used(), 0) << "SQLite has memory that nobody gave back";
}

Attempt FaultyStore::attempt(const FaultPlan& faultPlan, const std::function<void()>& work) {
    platform().console.clear();
    platform().file.clear();
    Attempt result;
    std::string other;
    {
        const ArmedFault fault(faultPlan);
        try {
            work();
        } catch (const std::bad_alloc&) {
            result.memoryRanOut = true;
        } catch (const pelkoapi::CppSQLite3Exception&) {
            result.databaseError = true;
        } catch (...) {
            other = "an exception of another type";
        }
        result.hits = fault.hits();
    }
    EXPECT_EQ(other, "");
    EXPECT_TRUE(!result.memoryRanOut || faultPlan.kind == FaultKind::OwnMemory)
        << "nobody threw std::bad_alloc";
    result.logged = platform().file;
    expectLogOf(result);
    return result;
}

void FaultyStore::expectQuiet(const std::function<void()>& work) {
    platform().console.clear();
    platform().file.clear();
    work();
    EXPECT_TRUE(platform().file.empty() && platform().console.empty())
        << testing::PrintToString(platform().file);
}

void FaultyStore::expectNothingLeftOpen() {
    EXPECT_EQ(sqlite3_next_stmt(mConnection, nullptr), nullptr) << "a statement is left open";
    EXPECT_NE(sqlite3_get_autocommit(mConnection), 0) << "a transaction is left open";
    EXPECT_EQ(file().integrity(), "ok");
}

void FaultyStore::expectUsable() const {
    expectQuiet([this] {
        inPassing([] {
            std::string name = "added in passing";
            EXPECT_TRUE(db().addFriend(name));
            EXPECT_TRUE(db().isFriend(name));
        });
    });
}

void FaultyStore::inPassing(const std::function<void()>& work) const {
    execute("BEGIN");
    work();
    execute("ROLLBACK");
}

void FaultyStore::execute(const char* sql) const {
    EXPECT_EQ(sqlite3_exec(mConnection, sql, nullptr, nullptr, nullptr), SQLITE_OK)
        << sql << ": " << sqlite3_errmsg(mConnection);
}

long numberFromEnvironment(const char* name, long otherwise) {
    const char* const text = std::getenv(name);
    const long number = text != nullptr ? std::strtol(text, nullptr, 10) : 0;
    return number > 0 ? number : otherwise;
}

}  // namespace pelkotest
