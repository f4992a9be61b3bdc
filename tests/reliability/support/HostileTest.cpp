#include "tests/reliability/support/HostileTest.h"

#include <sqlite3.h>

#include <algorithm>
#include <iostream>
#include <memory>

#include "tests/reliability/support/Damage.h"

namespace pelkotest {

namespace {

using Connection = std::unique_ptr<sqlite3, int (*)(sqlite3*)>;

Connection connect(const std::string& path) {
    sqlite3* raw = nullptr;
    EXPECT_EQ(sqlite3_open(path.c_str(), &raw), SQLITE_OK);
    return {raw, sqlite3_close};
}

int addFirstColumn(void* list, int, char** values, char**) {
    static_cast<std::vector<std::string>*>(list)->emplace_back(values[0] != nullptr ? values[0] : "");
    return 0;
}

std::vector<std::string> firstColumn(const std::string& path, const std::string& query) {
    const Connection connection = connect(path);
    std::vector<std::string> values;
    EXPECT_EQ(sqlite3_exec(connection.get(), query.c_str(), addFirstColumn, &values, nullptr), SQLITE_OK)
        << sqlite3_errmsg(connection.get());
    return values;
}

struct Filled {
    Bytes database;
    std::vector<Outcome> outcomes;
};

const Filled& filled() {
    static const Filled once = [] {
        Filled result;
        WatchedStore store;
        store.open();
        fillStore(store.db());
        store.close();
        store.open();  // what the first start after it repairs is repaired
        store.close();
        result.database = readBytes(store.dbPath());
        store.open();
        result.outcomes = store.runAll();
        store.close();
        EXPECT_THAT(store.lines(), testing::IsEmpty());
        return result;
    }();
    return once;
}

}  // namespace

const std::vector<std::string>& allTables() {
    static const std::vector<std::string> tables = {
        "tbl_msg",        "tbl_relationship", "tbl_user",   "tbl_room",        "tbl_group",
        "tbl_group_list", "tbl_session",      "tbl_notify", "tbl_last_msg_id", "tbl_msg_config"};
    return tables;
}

void HostileTest::SetUp() {
    fresh();
}

void HostileTest::TearDown() {
    mStore.close();
    std::cout << "counted: " << mCount << " hostile files\n";
}

void HostileTest::fresh() {
    ++mCount;
    DamagedFile file;
    file.database = filled().database;
    mStore.close();
    mStore.clear();
    mStore.forget();
    writeFiles(file, mStore.folder());
}

std::string HostileTest::tryToPlant(const std::string& sql) const {
    const Connection connection = connect(mStore.dbPath());
    return sqlite3_exec(connection.get(), sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK
               ? ""
               : sqlite3_errmsg(connection.get());
}

void HostileTest::plant(const std::string& sql) const {
    EXPECT_EQ(tryToPlant(sql), "") << "in " << sql.substr(0, 1000);
}

void HostileTest::replaceTable(const std::string& table, const std::string& definition) const {
    const std::vector<std::string> before = columnsOf(table);
    plant("ALTER TABLE " + table + " RENAME TO old; CREATE TABLE " + table + definition);
    std::string both;
    for (const std::string& column : columnsOf(table)) {
        if (std::find(before.begin(), before.end(), column) != before.end()) {
            both += (both.empty() ? "" : ", ") + column;
        }
    }
    if (!both.empty()) {
        plant("INSERT INTO " + table + " (" + both + ") SELECT " + both + " FROM old ORDER BY rowid");
    }
    plant("DROP TABLE old");
}

void HostileTest::redeclare(const std::string& table, const std::string& from, const std::string& to) const {
    std::string definition = definitionWith(table, from, to);
    for (std::size_t at = 0; (at = definition.find('\'', at)) != std::string::npos; at += 2) {
        definition.insert(at, 1, '\'');
    }
    plant("PRAGMA writable_schema = 1; UPDATE sqlite_master SET sql = 'CREATE TABLE " + table + definition +
          "' WHERE name = '" + table + "'");
}

std::string HostileTest::definitionWith(const std::string& table, const std::string& from,
                                        const std::string& to) const {
    std::string definition = definitionOf(table);
    const std::size_t at = definition.rfind(from);
    if (at == std::string::npos) {
        ADD_FAILURE() << "no " << from << " in " << definition;
        return definition;
    }
    return definition.replace(at, from.size(), to);
}

std::string HostileTest::definitionOf(const std::string& table) const {
    const std::string sql =
        firstColumn(mStore.dbPath(), "SELECT sql FROM sqlite_master WHERE name = '" + table + "'").at(0);
    return sql.substr(sql.find('('));
}

std::vector<std::string> HostileTest::columnsOf(const std::string& table) const {
    // Without those that are computed, which cannot be written.
    return firstColumn(mStore.dbPath(), "SELECT name FROM pragma_table_info('" + table + "')");
}

std::vector<Outcome> HostileTest::use() {
    mStore.open();
    std::vector<Outcome> outcomes = mStore.runAll();
    mStore.close();
    mStore.open();
    mStore.runTransaction();
    mStore.runAll();
    mStore.close();
    return outcomes;
}

void HostileTest::expectUsual() {
    mStore.open();
    const std::vector<Outcome> outcomes = mStore.runAll();
    mStore.close();
    EXPECT_EQ(difference(filled().outcomes, outcomes), "");
    EXPECT_THAT(mStore.lines(), testing::IsEmpty());
}

std::vector<std::string> HostileTest::linesOf(const std::string& operation) {
    mStore.forget();
    mStore.run(operation);
    return mStore.lines();
}

}  // namespace pelkotest
