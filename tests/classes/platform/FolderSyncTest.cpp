#include "classes/platform/FolderSync.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/support/FolderSyncs.h"
#include "tests/support/TemporaryFolder.h"

using pelkoapi::syncFolder;
using pelkotest::syncedFolder;

namespace {

namespace fs = std::filesystem;

class FolderSyncTest : public testing::Test {
protected:
    void SetUp() override {
        std::ofstream(folder() / "name") << "content";
        pelkotest::forgetFolderSyncs();
    }

    const fs::path& folder() const { return mFolder.path(); }

private:
    pelkotest::TemporaryFolder mFolder;
};

TEST_F(FolderSyncTest, PassesOverWhatCannotBeSynced) {
    syncFolder(folder() / "missing");
    syncFolder(folder() / "name");
    syncFolder("");
    EXPECT_FALSE(syncedFolder(folder(), "name"));
    EXPECT_FALSE(fs::exists(folder() / "missing"));
}

TEST_F(FolderSyncTest, PutsTheNamesOfTheFolderOnTheMedium) {
    EXPECT_FALSE(syncedFolder(folder(), "name"));
    syncFolder(folder());
    EXPECT_TRUE(syncedFolder(folder(), "name"));
    EXPECT_FALSE(syncedFolder(folder(), "later"));
}

}  // namespace
