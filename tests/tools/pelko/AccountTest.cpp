#include "tools/pelko/Account.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/EnvironmentVariable.h"
#include "tools/pelko/ToolError.h"

using namespace pelkotool;
using pelkotest::EnvironmentVariable;
using testing::HasSubstr;

namespace {

GlobalOptions optionsFor(const std::string& user, const std::string& dataDir = "/data") {
    GlobalOptions options;
    options.user = user;
    options.dataDir = dataDir;
    options.dataDirGiven = true;
    return options;
}

TEST(AccountFolderName, KeepsPlainNames) {
    EXPECT_EQ(accountFolderName("me"), "me");
    EXPECT_EQ(accountFolderName("Anna-Lena_2.x"), "Anna-Lena_2.x");
}

TEST(AccountFolderName, EncodesEveryOtherByte) {
    EXPECT_EQ(accountFolderName("a/b"), "a%2Fb");
    EXPECT_EQ(accountFolderName("../x"), "%2E.%2Fx");
    EXPECT_EQ(accountFolderName("."), "%2E");
    EXPECT_EQ(accountFolderName(".."), "%2E%2E");
    EXPECT_EQ(accountFolderName(".hidden"), "%2Ehidden");
    EXPECT_EQ(accountFolderName("dot."), "dot%2E");
    EXPECT_EQ(accountFolderName("100%"), "100%25");
    EXPECT_EQ(accountFolderName("a b\n"), "a%20b%0A");
    EXPECT_EQ(accountFolderName("é"), "%C3%A9");
    EXPECT_EQ(accountFolderName("\\:*"), "%5C%3A%2A");
}

TEST(AccountFolderName, KeepsDifferentNamesApart) {
    EXPECT_NE(accountFolderName("a/b"), accountFolderName("a%2Fb"));
}

TEST(AccountOf, PutsEveryAccountBelowTheDataFolder) {
    const Account account = accountOf(optionsFor("../../etc"));
    EXPECT_EQ(account.user, "../../etc");
    EXPECT_EQ(account.dataRoot, "/data");
    EXPECT_EQ(account.folder, "/data/users/%2E.%2F..%2Fetc");
    EXPECT_EQ(account.database, account.folder / "db.dat");
}

TEST(AccountOf, MakesTheDataFolderAbsolute) {
    EXPECT_EQ(accountOf(optionsFor("me", "here/../there")).dataRoot,
              std::filesystem::current_path() / "there");
}

TEST(AccountOf, RefusesNamesThatNoAccountCanHave) {
    EXPECT_THROW(accountOf(optionsFor("")), UsageError);
    EXPECT_THROW(accountOf(optionsFor("o'brien")), UsageError);
}

TEST(AccountOf, RefusesAnEmptyDataFolder) {
    EXPECT_THROW(accountOf(optionsFor("me", "")), UsageError);
}

TEST(AccountOf, TakesTheXdgDataDirectory) {
    const EnvironmentVariable data("XDG_DATA_HOME", "/xdg");
    const EnvironmentVariable home("HOME", "/home/someone");
    EXPECT_EQ(accountOf({}).dataRoot, "/xdg/pelko");
}

TEST(AccountOf, FallsBackToTheHomeDirectory) {
    const EnvironmentVariable home("HOME", "/home/someone");
    for (const char* const useless : {static_cast<const char*>(nullptr), "", "relative"}) {
        const EnvironmentVariable data("XDG_DATA_HOME", useless);
        EXPECT_EQ(accountOf({}).dataRoot, "/home/someone/.local/share/pelko");
    }
}

TEST(AccountOf, AsksForAFolderWhenThereIsNoHomeDirectory) {
    const EnvironmentVariable data("XDG_DATA_HOME", nullptr);
    const EnvironmentVariable home("HOME", nullptr);
    EXPECT_THROW(accountOf({}), UsageError);
}

}  // namespace
