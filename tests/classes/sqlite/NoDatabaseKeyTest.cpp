#include <sqlite3.h>

#include <filesystem>

#include "classes/sqlite/CppSQLite3.h"
#include "classes/sqlite/DatabaseKey.h"
#include "tests/support/StoreTest.h"

// A key where SQLite cannot encrypt: nothing is stored unencrypted that was meant not to be.

namespace pelkotest {

namespace {

constexpr char refusal[] = "a key is set, and this build cannot encrypt";

class NoDatabaseKeyTest : public StoreTest {
protected:
    void SetUp() override {
        StoreTest::SetUp();
        ASSERT_TRUE(db().addFriend(mAlice));
        close();
        pelkoapi::setDatabaseKey("key");
    }
    void TearDown() override {
        StoreTest::TearDown();
        setKeyOfThisRun();
    }

    std::string mAlice = "alice";
};

TEST_F(NoDatabaseKeyTest, SetUpFailsAndTellsWhy) {
    EXPECT_FALSE(db().setUp());
    expectFailureLogged("setUp", testing::Eq(refusal));
    EXPECT_FALSE(db().addFriend(mAlice)) << "there is no store";
}

TEST_F(NoDatabaseKeyTest, NoConnectionOpens) {
    pelkoapi::CppSQLite3DB connection;
    const std::string path = folder() + "/new.dat";
    try {
        connection.open(path.c_str());
        ADD_FAILURE() << "it opened";
    } catch (const pelkoapi::CppSQLite3Exception& exception) {
        EXPECT_STREQ(exception.errorMessage(), refusal);
        EXPECT_EQ(exception.errorCode(), SQLITE_MISUSE);
    }
    EXPECT_FALSE(connection.checkDBIsOpen());
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    EXPECT_TRUE(error || size == 0) << size;
}

TEST_F(NoDatabaseKeyTest, WithoutTheKeyAllIsThere) {
    EXPECT_FALSE(db().setUp());
    pelkoapi::setDatabaseKey("");
    ASSERT_TRUE(db().setUp());
    EXPECT_TRUE(db().isFriend(mAlice));
}

}  // namespace

}  // namespace pelkotest
