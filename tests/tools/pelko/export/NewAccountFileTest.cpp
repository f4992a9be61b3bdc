#include "tools/pelko/export/NewAccountFile.h"

#include "tests/support/FolderSyncs.h"
#include "tests/tools/pelko/support/ToolTest.h"
#include "tools/pelko/ToolError.h"

using namespace pelkotest;
using pelkotool::Account;
using pelkotool::NewAccountFile;
using pelkotool::ToolError;

namespace {

class NewAccountFileTest : public testing::Test {
protected:
    Account account() const {
        const fs::path folder = mFolder.path() / "users/me";
        return {"me", mFolder.path(), folder, folder / "db.dat"};
    }

    void SetUp() override { forgetFolderSyncs(); }

private:
    TemporaryFolder mFolder;
};

TEST_F(NewAccountFileTest, LeavesNoFolderWhenItIsNotFinished) {
    {
        const NewAccountFile made(account());
        writeFile(made.growing().database, "half");
    }
    EXPECT_TRUE(fs::is_empty(account().dataRoot));
    EXPECT_FALSE(syncedFolder(account().dataRoot, "users"));
}

TEST_F(NewAccountFileTest, DoesNotReplaceADatabaseThatWasMadeMeanwhile) {
    {
        NewAccountFile made(account());
        writeFile(made.growing().database, "mine");
        writeFile(account().database, "precious");
        EXPECT_THROW(made.finish(), ToolError);
    }
    EXPECT_EQ(contentOf(account().database), "precious");
}

TEST_F(NewAccountFileTest, ItsNameAndThoseOfItsFoldersAreOnTheMedium) {
    {
        NewAccountFile made(account());
        writeFile(made.growing().database, "whole");
        made.finish();
        EXPECT_TRUE(syncedFolder(account().folder, "db.dat"));
        EXPECT_TRUE(syncedFolder(account().dataRoot / "users", "me"));
        EXPECT_TRUE(syncedFolder(account().dataRoot, "users"));
    }
    EXPECT_EQ(contentOf(account().database), "whole");
}

}  // namespace
