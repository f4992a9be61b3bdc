#include "tools/pelko/LogFiles.h"

#include "tests/tools/pelko/support/ToolTest.h"
#include "tools/pelko/ToolError.h"

using namespace pelkotest;
using pelkotool::findLogs;
using pelkotool::FoundLogs;
using pelkotool::LogFile;
using pelkotool::ToolError;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

class FindLogs : public testing::Test {
protected:
    fs::path put(const std::string& name, const std::string& content = "=== x\n") const {
        writeFile(mFolder.path() / name, content);
        return mFolder.path() / name;
    }

    FoundLogs find(const std::vector<std::string>& names) const {
        std::vector<std::string> paths;
        for (const std::string& name : names) {
            paths.push_back((mFolder.path() / name).string());
        }
        return findLogs(paths);
    }

    void expectRefused(const std::vector<std::string>& names,
                       const testing::Matcher<std::string>& line) const {
        try {
            find(names);
            ADD_FAILURE() << "not refused";
        } catch (const ToolError& error) {
            EXPECT_THAT(error.what(), line);
        }
    }

    TemporaryFolder mFolder;
};

std::vector<std::string> namesOf(const FoundLogs& found) {
    std::vector<std::string> names;
    for (const LogFile& file : found.files) {
        names.push_back(file.channel + '/' + file.path.filename().string());
    }
    return names;
}

TEST_F(FindLogs, SortsByChannelThenDay) {
    put("logs/rust/2019-01-05.log");
    put("logs/rust/2018-05-29.log");
    put("logs/deep/er/garden/2024-03-01.log");
    put("logs/rust/2018-12-31.log", "1234567");
    const FoundLogs found = find({"logs"});
    EXPECT_THAT(namesOf(found), ElementsAre("garden/2024-03-01.log", "rust/2018-05-29.log",
                                            "rust/2018-12-31.log", "rust/2019-01-05.log"));
    EXPECT_EQ(found.files[2].size, 7U);
    EXPECT_EQ(found.files[1].day, 17680);
    EXPECT_THAT(found.passedOver, IsEmpty());
}

TEST_F(FindLogs, TakesAChannelsFolderAndSingleLogs) {
    put("logs/rust/2018-05-29.log");
    put("logs/garden/2024-03-01.log");
    EXPECT_THAT(namesOf(find({"logs/rust"})), ElementsAre("rust/2018-05-29.log"));
    EXPECT_THAT(namesOf(find({"logs/rust/"})), ElementsAre("rust/2018-05-29.log"));
    EXPECT_THAT(namesOf(find({"logs/rust/../garden/."})), ElementsAre("garden/2024-03-01.log"));
    EXPECT_THAT(namesOf(find({"logs/rust/2018-05-29.log"})), ElementsAre("rust/2018-05-29.log"));
}

TEST_F(FindLogs, TellsWhatItPassesOver) {
    put("logs/rust/2018-05-29.log");
    const fs::path readme = put("logs/README.md");
    const fs::path noDay = put("logs/rust/2018-02-30.log");
    EXPECT_THAT(find({"logs"}).passedOver, UnorderedElementsAre(readme, noDay));
    EXPECT_THAT(find({"logs", "logs"}).passedOver, UnorderedElementsAre(readme, noDay));
}

TEST_F(FindLogs, TakesALogThatSeveralPathsNameOnce) {
    put("logs/rust/2018-05-29.log");
    EXPECT_THAT(namesOf(find({"logs", "logs/rust/2018-05-29.log", "logs/rust"})),
                ElementsAre("rust/2018-05-29.log"));
}

TEST_F(FindLogs, RefusesTwoLogsOfOneChannelAndDay) {
    put("a/rust/2018-05-29.log");
    put("b/rust/2018-05-29.log");
    expectRefused({"a", "b"}, AllOf(HasSubstr("a/rust/2018-05-29.log"), HasSubstr("b/rust/2018-05-29.log")));
}

TEST_F(FindLogs, RefusesWhatIsNotThere) {
    expectRefused({"nowhere"}, AllOf(HasSubstr("nowhere"), HasSubstr("no such file or folder")));
}

TEST_F(FindLogs, RefusesANamedFileThatIsNoLog) {
    put("rust/notes.txt");
    put("rust/2018-02-30.log");
    expectRefused({"rust/notes.txt"}, AllOf(HasSubstr("notes.txt"), HasSubstr("CHANNEL/YYYY-MM-DD.log")));
    expectRefused({"rust/2018-02-30.log"}, HasSubstr("CHANNEL/YYYY-MM-DD.log"));
}

TEST_F(FindLogs, RefusesAFolderWithoutLogs) {
    put("logs/rust/2018-05-29.log");
    put("empty/notes.txt");
    expectRefused({"logs", "empty"}, AllOf(HasSubstr("no logs in"), HasSubstr("empty")));
}

TEST_F(FindLogs, RefusesDaysThatTheStoreCannotOrder) {
    put("a/1969-12-31.log");
    put("b/2038-01-19.log");
    expectRefused({"a/1969-12-31.log"}, AllOf(HasSubstr("1969-12-31.log"), HasSubstr("out of range")));
    expectRefused({"b"}, AllOf(HasSubstr("2038-01-19.log"), HasSubstr("out of range")));
}

TEST_F(FindLogs, TakesTheFirstAndTheLastDay) {
    put("a/1970-01-01.log");
    put("a/2038-01-18.log");
    EXPECT_THAT(namesOf(find({"a"})), ElementsAre("a/1970-01-01.log", "a/2038-01-18.log"));
}

TEST_F(FindLogs, RefusesALinkToAMissingLog) {
    put("a/2018-05-29.log");
    fs::create_symlink("missing", mFolder.path() / "a/2018-05-30.log");
    expectRefused({"a"}, AllOf(HasSubstr("2018-05-30.log"), HasSubstr("link")));
}

TEST_F(FindLogs, RefusesAFolderNamedAsALogWhenNamed) {
    fs::create_directories(mFolder.path() / "a/2018-05-29.log");
    expectRefused({"a/2018-05-29.log"}, HasSubstr("no logs in"));
}

TEST_F(FindLogs, PutsALogOfTheWorkingFolderIntoThatFoldersChannel) {
    const fs::path log = put("rust/2018-05-29.log");
    const fs::path before = fs::current_path();
    fs::current_path(log.parent_path());
    const FoundLogs named = findLogs({"2018-05-29.log"});
    const FoundLogs found = findLogs({"."});
    fs::current_path(before);
    EXPECT_THAT(namesOf(named), ElementsAre("rust/2018-05-29.log"));
    EXPECT_THAT(namesOf(found), ElementsAre("rust/2018-05-29.log"));
}

TEST(ReadFile, ReadsAllBytes) {
    const TemporaryFolder folder;
    const std::string content = std::string(200'000, 'x') + std::string("\0\r\n\xff", 4);
    writeFile(folder.path() / "file", content);
    writeFile(folder.path() / "empty", "");
    EXPECT_EQ(pelkotool::readFile(folder.path() / "file"), content);
    EXPECT_EQ(pelkotool::readFile(folder.path() / "empty"), "");
}

TEST(ReadFile, TellsWhyItCannot) {
    const TemporaryFolder folder;
    try {
        pelkotool::readFile(folder.path() / "missing");
        ADD_FAILURE() << "read";
    } catch (const ToolError& error) {
        EXPECT_THAT(error.what(), AllOf(HasSubstr("missing"), HasSubstr("No such file")));
    }
    EXPECT_THROW(pelkotool::readFile(folder.path()), ToolError);
}

}  // namespace
