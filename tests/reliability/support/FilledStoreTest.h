#ifndef PELKO_TESTS_RELIABILITY_SUPPORT_FILLED_STORE_TEST_H
#define PELKO_TESTS_RELIABILITY_SUPPORT_FILLED_STORE_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/reliability/support/StoredRows.h"
#include "tests/reliability/support/WatchedStore.h"
#include "tests/support/TestPlatform.h"

namespace pelkotest {

/// An open store, filled by fillStore().
class FilledStoreTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(mStore.open());
        fillStore(db());
        forget();
    }
    void TearDown() override {
        mStore.close();
        EXPECT_EQ(integrityOf(mStore.dbPath()), "ok");
    }

    pelkoapi::PelkoDBManager& db() { return mStore.db(); }
    StoredRows rows() const { return storedRows(mStore.dbPath()); }
    static void forget() {
        platform().console.clear();
        platform().file.clear();
        platform().removed.clear();
    }
    /// The lines since the last forget(), which this is one of.
    static std::vector<std::string> lines() {
        std::vector<std::string> told = platform().file;
        EXPECT_THAT(platform().console, testing::SizeIs(told.size()));
        forget();
        return told;
    }

    WatchedStore mStore;
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_RELIABILITY_SUPPORT_FILLED_STORE_TEST_H
