#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/support/StoreTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::AnyOf;
using testing::Contains;
using testing::Not;
using testing::StartsWith;
using Access = PelkoDBManagerTestAccess;

namespace {

class PelkoDBManagerLifetimeTest : public StoreTest {};

TEST_F(PelkoDBManagerLifetimeTest, SingletonOutlivesTheProgramsEnd) {
    close();
    const std::string log = dbPath() + "-wal";
    ASSERT_FALSE(std::filesystem::exists(log)) << "closing removes it";
    const auto endWithAnOpenStore = [this] {
        db().setUp();
        std::exit(0);  // NOLINT(concurrency-mt-unsafe): there is one thread
    };
    EXPECT_EXIT(endWithAnOpenStore(), testing::ExitedWithCode(0), "");
    EXPECT_TRUE(std::filesystem::exists(log)) << "nobody closed it";
}

TEST_F(PelkoDBManagerLifetimeTest, SetUpRunsEveryStatementOnItsOwn) {
    execute("INSERT INTO tbl_msg (type, media_status, status) VALUES (2, 1, 3)");  // something to repair
    reopen();
    const TemporaryFolder other;
    close();
    platform().userRoot = other.path().string();
    ASSERT_TRUE(db().setUp());  // of a new file
    EXPECT_THAT(statements(), Contains("UPDATE tbl_msg SET status = 5 WHERE db_id = 1"));
    EXPECT_THAT(statements(), Contains(StartsWith("CREATE TABLE")).Times(20));
    EXPECT_THAT(statements(),
                Not(Contains(AnyOf(StartsWith("BEGIN"), StartsWith("SAVEPOINT"), StartsWith("COMMIT")))));
}

}  // namespace
