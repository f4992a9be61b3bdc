#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "classes/platform/DefaultPlatform.h"
#include "classes/platform/FileUtil.h"
#include "classes/platform/LoginContext.h"
#include "classes/storage/PelkoDBManager.h"
#include "tests/support/TemporaryFolder.h"

namespace pelkoapi {

namespace {

namespace fs = std::filesystem;

/// A store with a message to alice whose files cannot be removed: a missing one, a folder and no file at all.
class FailedRemovalTest : public testing::Test {
protected:
    void SetUp() override {
        const std::string root = mFolder.path().string();
        fs::create_directories(root + "/users/me");
        fs::create_directory(root + "/media");
        setAppDataRoot(root);
        setUserDataRoot(root + "/users/me");
        setLogFilePath(logPath());
        setFileLogEnabled(true);
        LoginContext::getInstance()->setUserName("me");
        ASSERT_TRUE(db().setUp());
        PelkoMessage message = PelkoMessage::createImageMessage("alice", root + "/gone.jpg", root + "/media");
        message.extraText = "hello";
        for (const char* const path : {"gone.jpg", "media", "hello"}) {
            ASSERT_FALSE(FileUtil::remove(FileUtil::getFullPath(path))) << path;
        }
        ASSERT_TRUE(db().insertMessage(&message));
        mIds = {message.dbID};
    }
    void TearDown() override {
        db().tearDown();
        setFileLogEnabled(false);
        setLogFilePath("");
        setUserDataRoot("");
        setAppDataRoot("");
    }

    static PelkoDBManager& db() { return *PelkoDBManager::getInstance(); }
    std::string logPath() const { return (mFolder.path() / "pelko.log").string(); }
    std::vector<s64>& ids() { return mIds; }

    /// Runs a deletion, which takes the row all the same and says nothing in either channel.
    template <typename Work>
    void expectSilentSuccess(Work work) {
        testing::internal::CaptureStderr();
        const bool done = work();
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        EXPECT_TRUE(done);
        EXPECT_EQ(db().queryCount("tbl_msg", "1"), 0);
        EXPECT_FALSE(fs::exists(logPath()));
    }

private:
    pelkotest::TemporaryFolder mFolder;
    std::vector<s64> mIds;
};

TEST_F(FailedRemovalTest, IsNotReportedByDeleteMessages) {
    expectSilentSuccess([this] { return db().deleteMessages(ids()); });
}

TEST_F(FailedRemovalTest, IsNotReportedByClearMessages) {
    expectSilentSuccess([] { return db().clearMessages("alice"); });
}

}  // namespace

}  // namespace pelkoapi
