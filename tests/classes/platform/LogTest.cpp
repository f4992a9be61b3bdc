#include "classes/platform/Log.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <type_traits>

#include "classes/platform/DefaultPlatform.h"
#include "classes/storage/FailureConvention.h"
#include "tests/support/TemporaryFolder.h"

namespace pelkoapi {

namespace {

namespace fs = std::filesystem;

static_assert(std::is_same_v<decltype(log_error()), bool>);
static_assert(std::is_same_v<decltype(log_file()), bool>);

/// Whether the lines of each channel are wanted before anything has been set.
const bool consoleAtStart = log_error();
const bool fileAtStart = log_file();

class LogTest : public testing::Test {
protected:
    void SetUp() override {
        setConsoleLogEnabled(true);
        setFileLogEnabled(true);
        setLogFilePath(path());
    }

    void TearDown() override {
        setConsoleLogEnabled(true);
        setFileLogEnabled(false);
        setLogFilePath("");
    }

    std::string path() const { return (mFolder.path() / "pelko.log").string(); }
    const fs::path& folder() const { return mFolder.path(); }

    static std::string contents(const std::string& file) {
        std::ifstream in(file, std::ios::binary);
        EXPECT_TRUE(in) << file;
        return {std::istreambuf_iterator<char>(in), {}};
    }

    /// What the work writes to the console.
    template <typename Work>
    static std::string console(Work work) {
        testing::internal::CaptureStderr();
        work();
        return testing::internal::GetCapturedStderr();
    }

private:
    pelkotest::TemporaryFolder mFolder;
};

TEST_F(LogTest, AtStartTheConsoleIsOnAndTheFileOff) {
    EXPECT_TRUE(consoleAtStart);
    EXPECT_FALSE(fileAtStart);
}

TEST_F(LogTest, EachSwitchSaysWhatWasSetLast) {
    for (const bool consoleOn : {false, true}) {
        for (const bool fileOn : {false, true}) {
            setConsoleLogEnabled(consoleOn);
            setFileLogEnabled(fileOn);
            EXPECT_EQ(log_error(), consoleOn);
            EXPECT_EQ(log_file(), fileOn);
        }
    }
}

TEST_F(LogTest, ConsoleLinesGoToStderr) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(console([] { c_ns_log("[pelko]%s failed, exception in (%s).", "setUp", "100%"); }),
              "[pelko]setUp failed, exception in (100%).\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_FALSE(fs::exists(path()));
}

TEST_F(LogTest, FileLinesAreAppendedAsTheyAre) {
    { std::ofstream(path()) << "kept\n"; }
    const std::string onConsole = console([] {
        log_file("%s failed, exception in (%s).", "setUp", "it's 100%");
        log_file("line %d", 2);
        log_file("%s", "");
    });
    EXPECT_EQ(contents(path()), "kept\nsetUp failed, exception in (it's 100%).\nline 2\n\n");
    EXPECT_EQ(onConsole, "");
}

TEST_F(LogTest, FileIsMadeWithItsFirstLine) {
    EXPECT_FALSE(fs::exists(path()));
    log_file("%s", "first");
    EXPECT_EQ(contents(path()), "first\n");
}

TEST_F(LogTest, EveryLineIsInTheFileAtOnceAndAnewAfterItWasMoved) {
    log_file("%s", "one");
    EXPECT_EQ(contents(path()), "one\n");
    fs::rename(path(), folder() / "old.log");
    log_file("%s", "two");
    EXPECT_EQ(contents(path()), "two\n");
    EXPECT_EQ(contents((folder() / "old.log").string()), "one\n");
}

TEST_F(LogTest, LinesGoToThePathThatWasSetLast) {
    const std::string other = (folder() / "other.log").string();
    log_file("%s", "here");
    setLogFilePath(other);
    log_file("%s", "there");
    EXPECT_EQ(contents(path()), "here\n");
    EXPECT_EQ(contents(other), "there\n");
}

TEST_F(LogTest, ThePathIsUtf8) {
    setLogFilePath((folder() / "größe 日本語.log").string());
    log_file("%s", "here");
    EXPECT_EQ(contents((folder() / std::filesystem::path(u"größe 日本語.log")).string()), "here\n");
}

TEST_F(LogTest, LongLinesAreNotCut) {
    const std::string line(100000, 'l');
    EXPECT_EQ(console([&] { c_ns_log("%s", line.c_str()); }), line + "\n");
    log_file("%s", line.c_str());
    EXPECT_EQ(contents(path()), line + "\n");
}

TEST_F(LogTest, WithoutAPathFileLinesAreDropped) {
    setLogFilePath("");
    EXPECT_EQ(console([] { log_file("%s", "nowhere"); }), "");
    EXPECT_TRUE(fs::is_empty(folder()));
}

TEST_F(LogTest, WhereNoFileCanBeMadeLinesAreDropped) {
    setLogFilePath((folder() / "missing" / "pelko.log").string());
    EXPECT_EQ(console([] { log_file("%s", "nowhere"); }), "");
    setLogFilePath(folder().string());
    EXPECT_EQ(console([] { log_file("%s", "nowhere"); }), "");
    EXPECT_TRUE(fs::is_empty(folder()));
}

TEST_F(LogTest, TheStoresLinesReachTheChannelsThatAreOn) {
    for (const bool consoleOn : {false, true}) {
        for (const bool fileOn : {false, true}) {
            SCOPED_TRACE(testing::Message() << consoleOn << fileOn);
            const std::string file =
                (folder() / (consoleOn ? "on" : "off")).string() + (fileOn ? "-on" : "-off");
            setConsoleLogEnabled(consoleOn);
            setFileLogEnabled(fileOn);
            setLogFilePath(file);

            const std::string onConsole = console([] { logNotReady("getMessage", 42); });

            EXPECT_EQ(onConsole, consoleOn ? "[pelko]db is not ready(getMessage, line:42).\n" : "");
            EXPECT_EQ(fs::exists(file), fileOn);
            if (fileOn) {
                EXPECT_EQ(contents(file), "db is not ready(getMessage, line:42).\n");
            }
        }
    }
}

}  // namespace

}  // namespace pelkoapi
