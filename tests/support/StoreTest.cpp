#include "tests/support/StoreTest.h"

#include <sqlite3.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "classes/platform/LoginContext.h"
#include "classes/sqlite/DatabaseKey.h"

namespace pelkotest {

namespace {

std::vector<std::string>& recorded() {
    static std::vector<std::string> statements;
    return statements;
}

int recordStatement(unsigned, void*, void*, void* text) {
    recorded().emplace_back(static_cast<const char*>(text));
    return 0;
}

/// The connection that was opened last through the store.
sqlite3*& storeConnection() {
    static sqlite3* connection = nullptr;
    return connection;
}

int traceNewConnection(sqlite3* db, const char**, const sqlite3_api_routines*) {
    storeConnection() = db;
    return sqlite3_trace_v2(db, SQLITE_TRACE_STMT, recordStatement, nullptr);
}

void traceEveryConnection() {
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(traceNewConnection));
}

using Connection = std::unique_ptr<sqlite3, int (*)(sqlite3*)>;

Connection openUntraced(const std::string& path) {
    sqlite3* raw = nullptr;
    sqlite3* const ofTheStore = storeConnection();
    const int result = sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READWRITE, nullptr);
    storeConnection() = ofTheStore;
    sqlite3_trace_v2(raw, 0, nullptr, nullptr);
    Connection connection(raw, sqlite3_close);
    pelkoapi::useDatabaseKey(raw);
    if (result != SQLITE_OK) {
        throw std::runtime_error("cannot open " + path + ": " + sqlite3_errmsg(raw));
    }
    return connection;
}

struct KeyOfThisRun : testing::Environment {
    void SetUp() override { setKeyOfThisRun(); }
};
const testing::Environment* const keyOfThisRun = testing::AddGlobalTestEnvironment(new KeyOfThisRun);

}  // namespace

void setKeyOfThisRun() {
    const char* const key = std::getenv("PELKO_TEST_KEY");
    pelkoapi::setDatabaseKey(key != nullptr ? key : "");
}

StoreTest::StoreTest() = default;
StoreTest::~StoreTest() = default;

void StoreTest::SetUp() {
    traceEveryConnection();
    platform() = TestPlatform();
    platform().userRoot = folder();
    pelkoapi::LoginContext::getInstance()->setUserName("me");
    ASSERT_TRUE(db().setUp());
    expectNothingLogged();
    forget();
}

void StoreTest::TearDown() {
    db().tearDown();
}

void StoreTest::reopen() {
    db().tearDown();
    ASSERT_TRUE(db().setUp());
}

void StoreTest::forget() {
    recorded().clear();
    platform().console.clear();
    platform().file.clear();
}

const std::vector<std::string>& StoreTest::statements() {
    return recorded();
}

std::vector<Row> StoreTest::rows(const std::string& sql) const {
    const Connection connection = openUntraced(dbPath());
    sqlite3_stmt* raw = nullptr;
    const int prepared = sqlite3_prepare_v2(connection.get(), sql.c_str(), -1, &raw, nullptr);
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(raw, sqlite3_finalize);
    EXPECT_EQ(prepared, SQLITE_OK) << sqlite3_errmsg(connection.get()) << " in " << sql;
    std::vector<Row> result;
    int step = SQLITE_ERROR;
    while (prepared == SQLITE_OK && (step = sqlite3_step(raw)) == SQLITE_ROW) {
        Row row;
        for (int i = 0; i < sqlite3_column_count(raw); ++i) {
            const unsigned char* const text = sqlite3_column_text(raw, i);
            row.push_back(text == nullptr ? Value() : Value(reinterpret_cast<const char*>(text)));
        }
        result.push_back(std::move(row));
    }
    EXPECT_EQ(step, SQLITE_DONE) << sqlite3_errmsg(connection.get()) << " in " << sql;
    return result;
}

Value StoreTest::value(const std::string& sql) const {
    const std::vector<Row> found = rows(sql);
    if (found.empty()) {
        ADD_FAILURE() << "no row: " << sql;
        return {};
    }
    return found.front().front();
}

void StoreTest::execute(const std::string& sql) const {
    const Connection connection = openUntraced(dbPath());
    EXPECT_EQ(sqlite3_exec(connection.get(), sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(connection.get()) << " in " << sql;
}

void StoreTest::changeTables(const std::string& sql) {
    execute(sql);
    sqlite3_db_config(storeConnection(), SQLITE_DBCONFIG_ENABLE_TRIGGER, 1, nullptr);
    sqlite3_db_config(storeConnection(), SQLITE_DBCONFIG_ENABLE_VIEW, 1, nullptr);
    db().queryCount("sqlite_master", "1");
    forget();
}

void StoreTest::expectFailureLogged(const std::string& operation,
                                    const testing::Matcher<std::string>& message) {
    ASSERT_EQ(platform().file.size(), 1U) << testing::PrintToString(platform().file);
    const std::string& line = platform().file.front();
    EXPECT_THAT(platform().console, testing::ElementsAre("[pelko]" + line));
    const std::string head = operation + " failed, exception in (";
    const std::string tail = ").";
    ASSERT_THAT(line, testing::AllOf(testing::StartsWith(head), testing::EndsWith(tail)));
    const std::string text = line.substr(head.size(), line.size() - head.size() - tail.size());
    EXPECT_THAT(text, testing::Not(testing::IsEmpty()));
    EXPECT_THAT(text, message);
}

void StoreTest::expectNotReadyLogged(const std::string& operation) {
    ASSERT_EQ(platform().file.size(), 1U) << testing::PrintToString(platform().file);
    const std::string& line = platform().file.front();
    EXPECT_THAT(platform().console, testing::ElementsAre("[pelko]" + line));
    const std::string head = "db is not ready(" + operation + ", line:";
    const std::string tail = ").";
    ASSERT_THAT(line, testing::AllOf(testing::StartsWith(head), testing::EndsWith(tail)));
    ASSERT_GT(line.size(), head.size() + tail.size()) << "there is a line number";
    const std::string number = line.substr(head.size(), line.size() - head.size() - tail.size());
    EXPECT_EQ(number.find_first_not_of("0123456789"), std::string::npos) << line;
    EXPECT_NE(number.front(), '0') << line;
}

void StoreTest::expectLogged(const std::vector<std::string>& lines) {
    std::vector<std::string> file;
    std::vector<std::string> prefixed;
    for (const std::string& line : platform().file) {
        file.push_back(line.substr(0, line.find(", line:")));
        prefixed.push_back("[pelko]" + line);
    }
    EXPECT_EQ(file, lines);
    EXPECT_EQ(platform().console, prefixed);
}

void StoreTest::expectNothingLogged() {
    EXPECT_THAT(platform().console, testing::IsEmpty());
    EXPECT_THAT(platform().file, testing::IsEmpty());
}

pelkoapi::PelkoMessage imageMessage() {
    pelkoapi::PelkoMessage message =
        pelkoapi::PelkoMessage::createImageMessage(pelkoapi::PelkoUser("alice"), pelkoapi::PelkoGroup(77LL),
                                                   "/app/media/small.jpg", "/app/media/full.jpg");
    message.id = 9007199254740993;
    message.date = 1700000000;
    message.text = "it's";
    message.extraText = "extra";
    message.status = pelkoapi::PelkoMessageStatusUnread;
    message.media.url = "http://host/a.jpg";
    message.media.status = pelkoapi::PelkoMediaStatusDownloaded;
    message.media.duration = 12;
    return message;
}

void PrintTo(const Operation& operation, std::ostream* out) {
    *out << operation.name;
}

std::string nameOf(const testing::TestParamInfo<Operation>& info) {
    return info.param.name;
}

void OperationTest::expectNotReadyWhenClosed() {
    close();
    GetParam().expectNeutral(db());
    expectNotReadyLogged(GetParam().name);
    EXPECT_THAT(statements(), testing::IsEmpty());
}

void OperationTest::expectNotReadyWithClosedConnection() {
    pelkoapi::PelkoDBManagerTestAccess::connection(db())->close();
    GetParam().expectNeutral(db());
    expectNotReadyLogged(GetParam().name);
    EXPECT_THAT(statements(), testing::IsEmpty());
}

void OperationTest::expectFailureWithout(const std::string& table) {
    changeTables("DROP TABLE " + table);
    GetParam().expectNeutral(db());
    expectFailureLogged(GetParam().failureName, testing::HasSubstr("no such table: " + table));
    EXPECT_THAT(statements(), testing::IsEmpty());
}

}  // namespace pelkotest
