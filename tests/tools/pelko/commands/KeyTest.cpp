#include <cstdlib>

#include "tests/support/WithoutPrivileges.h"
#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// The tool and encrypted files: the key in the environment.

namespace {

class Key : public ToolTest {
protected:
    void SetUp() override {
        setenv("PELKO_KEY", "correct horse battery staple", 1);
        runWell({"send", "user:bob", "a text of a message"});
        runWell({"receive", "user:bob", "an answer to it"});
    }
    void TearDown() override { unsetenv("PELKO_KEY"); }

    /// What each command that opens the file says of it.
    void expectEachRefuses(const testing::Matcher<std::string>& line) const {
        const std::string before = contentOf(database());
        const std::string copy = (folder() / "copy.dat").string();
        for (const Arguments& command :
             {Arguments{"sessions"}, Arguments{"show", "user:bob"}, Arguments{"search", "text"},
              Arguments{"inspect"}, Arguments{"backup", copy}, Arguments{"compact"},
              Arguments{"export", (folder() / "pages").string()}}) {
            SCOPED_TRACE(command.front());
            expectRefused(run(command), 1, line);
        }
        EXPECT_FALSE(fs::exists(copy));
        EXPECT_TRUE(contentOf(database()) == before);
    }
    std::vector<std::string> filesOfTheAccount() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(database().parent_path())) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }
};

TEST_F(Key, EncryptsTheAccountsFile) {
    EXPECT_THAT(contentOf(database()),
                AllOf(Not(HasSubstr("a text of a message")), Not(HasSubstr("SQLite"))));
    EXPECT_THAT(runWell({"show", "user:bob"}).out,
                AllOf(HasSubstr("a text of a message"), HasSubstr("an answer to it")));
}

TEST_F(Key, LooksWithoutLeavingATrace) {
    EXPECT_THAT(runWell({"search", "answer"}).out, HasSubstr("an answer to it"));
    const nlohmann::json report = runWell({"inspect", "--json"}).json();
    EXPECT_THAT(report.dump(), HasSubstr("\"wal\""));
    runWell({"check"});
    EXPECT_THAT(filesOfTheAccount(), ElementsAre("db.dat"));
}

TEST_F(Key, LooksIntoAFolderThatCannotBeWritten) {
    for (const auto& entry : fs::recursive_directory_iterator(folder())) {
        fs::permissions(entry, entry.is_directory() ? fs::perms(0555) : fs::perms(0666));
    }
    letAnybodyRun();
    {
        const WithoutPrivileges anybody;
        EXPECT_THAT(runWell({"search", "answer"}).out, HasSubstr("an answer to it"));
    }
    fs::permissions(database().parent_path(), fs::perms(0755));
}

TEST_F(Key, CopiesAreEncryptedToo) {
    const fs::path copy = folder() / "copy.dat";
    runWell({"backup", copy.string()});
    EXPECT_THAT(contentOf(copy), Not(HasSubstr("a text of a message")));
    EXPECT_THAT(runWell({"search", "answer", "--file", copy.string()}).out, HasSubstr("an answer to it"));
    runWell({"compact"});
    EXPECT_THAT(contentOf(database()), Not(HasSubstr("a text of a message")));
    EXPECT_THAT(runWell({"show", "user:bob"}).out, HasSubstr("an answer to it"));
}

TEST_F(Key, AnotherOneComesByExportAndImport) {
    runWell({"export", (folder() / "pages").string()});
    EXPECT_THAT(contentOf(folder() / "pages/index.html"), HasSubstr("bob")) << "exports are not encrypted";
    setenv("PELKO_KEY", "another", 1);
    const fs::path other = folder() / "other";
    EXPECT_EQ(runExactly({"--data-dir", other.string(), "import", (folder() / "pages").string()}).exitCode,
              0);
    EXPECT_THAT(contentOf(other / "users/me/db.dat"),
                AllOf(Not(testing::IsEmpty()), Not(HasSubstr("an answer to it"))));
    EXPECT_THAT(runExactly({"--data-dir", other.string(), "show", "user:bob"}).out,
                HasSubstr("an answer to it"));
    expectRefused(run({"show", "user:bob"}), 1, HasSubstr("not its key"));
}

TEST_F(Key, AWrongOneIsToldWithItsRemedyAndChangesNothing) {
    setenv("PELKO_KEY", "another", 1);
    expectEachRefuses(
        AllOf(HasSubstr("file is not a database, or the key is not its key"), HasSubstr("set PELKO_KEY")));
    unsetenv("PELKO_KEY");
    expectEachRefuses(AllOf(HasSubstr("file is not a database"), HasSubstr("PELKO_KEY")));
}

TEST_F(Key, SalvageNamesWhatReadsAnEncryptedFile) {
    for (const bool keyed : {true, false}) {
        if (!keyed) {
            unsetenv("PELKO_KEY");
        }
        expectRefused(run({"salvage", (folder() / "copy.dat").string()}), 1,
                      AllOf(HasSubstr("encrypted"), HasSubstr("'pelko backup'"), HasSubstr("PELKO_KEY")));
        EXPECT_FALSE(fs::exists(folder() / "copy.dat"));
    }
}

}  // namespace
