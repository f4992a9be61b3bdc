#ifndef PELKO_TESTS_RELIABILITY_SUPPORT_HOSTILE_TEST_H
#define PELKO_TESTS_RELIABILITY_SUPPORT_HOSTILE_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/reliability/support/StoredRows.h"
#include "tests/reliability/support/WatchedStore.h"

namespace pelkotest {

/// The file of a store that fillStore() has filled, closed, for a test to change it past the store.
class HostileTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /// Puts the file back as it was. Each is counted.
    void fresh();

    /// Changes the file as somebody with a connection of his own does: no limits, and whatever the schema
    /// says happens. @return SQLite's message; "" for success
    std::string tryToPlant(const std::string& sql) const;
    /// The same; a failure is one of the test.
    void plant(const std::string& sql) const;

    /// Puts a table in the place of the one of that name, with the rows of the columns that both have.
    /// @param definition  what follows its name in CREATE TABLE
    void replaceTable(const std::string& table, const std::string& definition) const;
    /// Says another thing of a table than was said when its rows were written: puts one text for another
    /// into its CREATE TABLE, past SQLite's checks.
    void redeclare(const std::string& table, const std::string& from, const std::string& to) const;
    /// The definition with one text for another, which is in it.
    std::string definitionWith(const std::string& table, const std::string& from,
                               const std::string& to) const;
    /// What follows the table's name in its CREATE TABLE.
    std::string definitionOf(const std::string& table) const;
    std::vector<std::string> columnsOf(const std::string& table) const;
    StoredRows rows() const { return storedRows(mStore.dbPath()); }

    /// Opens, calls every operation and closes, twice.
    /// @return the outcomes of the first time; mStore.lines() has the lines of both
    std::vector<Outcome> use();
    /// Expects that every operation does over the file what it does over the filled one, and logs nothing.
    void expectUsual();
    /// The lines of an operation over the open store.
    std::vector<std::string> linesOf(const std::string& operation);

    pelkoapi::PelkoDBManager& db() { return mStore.db(); }

    WatchedStore mStore;

private:
    int mCount = 0;
};

/// The ten tables of the store.
const std::vector<std::string>& allTables();

}  // namespace pelkotest

#endif  // PELKO_TESTS_RELIABILITY_SUPPORT_HOSTILE_TEST_H
