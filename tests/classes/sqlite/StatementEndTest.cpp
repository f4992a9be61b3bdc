#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "classes/sqlite/CppSQLite3.h"
#include "tests/support/TemporaryFolder.h"

// Where a PRAGMA ends, which is found out before SQLite sees it: semicolons in quotes and comments end
// nothing.

namespace pelkotest {

namespace {

using pelkoapi::CppSQLite3DB;
using pelkoapi::CppSQLite3Exception;

class StatementEndTest : public testing::Test {
protected:
    void SetUp() override { mDb.open((mFolder.path() / "db.dat").string().c_str()); }

    bool runs(const std::string& sql) {
        try {
            mDb.execQuery(sql.c_str());
            return true;
        } catch (const CppSQLite3Exception&) {
            return false;
        }
    }

private:
    TemporaryFolder mFolder;
    CppSQLite3DB mDb;
};

TEST_F(StatementEndTest, ASemicolonInQuotesOrACommentEndsNothing) {
    for (const char* const name : {"'a;b'", "\"a;b\"", "`a;b`", "[a;b]", "/* ; */ 'a'", "-- ;\n'a'"}) {
        EXPECT_TRUE(runs(std::string("PRAGMA table_info(") + name + ")")) << name;
        EXPECT_TRUE(runs(std::string("PRAGMA table_info(") + name + "); -- the end")) << name;
        EXPECT_FALSE(runs(std::string("PRAGMA table_info(") + name + "); SELECT 1")) << name;
    }
}

TEST_F(StatementEndTest, AQuoteThatIsNotClosedReachesToTheEnd) {
    for (const char* const name : {"'a; SELECT 1", "\"a; SELECT 1", "`a; SELECT 1", "[a; SELECT 1"}) {
        EXPECT_FALSE(runs(std::string("PRAGMA table_info(") + name)) << name;
    }
}

}  // namespace

}  // namespace pelkotest
