#include "tools/pelko/file/NewPath.h"

#include <memory>

#include "tests/support/FolderSyncs.h"
#include "tests/tools/pelko/support/ToolTest.h"
#include "tools/pelko/ToolError.h"

using namespace pelkotest;
using pelkotool::NewPath;
using pelkotool::ToolError;
using pelkotool::UsageError;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

class NewPathTest : public testing::Test {
protected:
    fs::path in(const std::string& name) const { return mFolder.path() / name; }

    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const fs::directory_entry& entry : fs::directory_iterator(mFolder.path())) {
            found.push_back(entry.path().filename().string());
        }
        return found;
    }

    static void expectRefused(const std::string& path, const std::string& word) {
        try {
            const NewPath made(path);
            ADD_FAILURE() << path << " was taken";
        } catch (const UsageError& error) {
            EXPECT_THAT(error.what(), HasSubstr(word)) << path;
        }
    }

private:
    TemporaryFolder mFolder;
};

TEST_F(NewPathTest, RefusesWhatIsThere) {
    writeFile(in("file"), "precious");
    fs::create_directory(in("folder"));
    fs::create_symlink("nowhere", in("link"));
    expectRefused(in("file").string(), in("file").string());
    expectRefused(in("folder").string(), "already");
    expectRefused(in("folder").string() + '/', "already");
    expectRefused(in("link").string(), "already");
    expectRefused("/", "already");
    expectRefused(".", "already");
    EXPECT_EQ(contentOf(in("file")), "precious");
}

TEST_F(NewPathTest, RefusesAPlaceWithoutAFolder) {
    writeFile(in("file"), "precious");
    expectRefused("", "''");
    expectRefused(in("nowhere/out").string(), in("nowhere").string());
    expectRefused(in("file/out").string(), in("file").string());
    EXPECT_EQ(contentOf(in("file")), "precious");
}

TEST_F(NewPathTest, MakesNothingByItself) {
    {
        const NewPath made(in("out").string());
        EXPECT_THAT(names(), IsEmpty());
    }
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(NewPathTest, GrowsBesideTheWantedPathUnderItsName) {
    const NewPath made(in("x/../out/").string());
    EXPECT_EQ(made.wanted(), in("out"));
    EXPECT_EQ(made.unfinished().parent_path(), in("out").parent_path());
    EXPECT_THAT(made.unfinished().filename().string(), StartsWith("out.unfinished-"));
}

TEST_F(NewPathTest, TakesARelativePath) {
    const fs::path before = fs::current_path();
    fs::current_path(in(""));
    const NewPath made("out");
    fs::current_path(before);
    EXPECT_EQ(made.wanted(), in("out"));
}

TEST_F(NewPathTest, LeavesNothingWhenItIsNotFinished) {
    {
        const NewPath file(in("file").string());
        const NewPath folder(in("folder").string());
        writeFile(file.unfinished(), "half");
        for (const char* const suffix : {"-journal", "-wal", "-shm"}) {
            writeFile(file.unfinished().string() + suffix, "of it");
        }
        writeFile(folder.unfinished() / "inner/page", "half");
    }
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(NewPathTest, LeavesNothingWhenAnErrorEndsTheCommand) {
    const auto fail = [&] {
        const NewPath made(in("out").string());
        writeFile(made.unfinished(), "half");
        throw ToolError("the disk is full");
    };
    EXPECT_THROW(fail(), ToolError);
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(NewPathTest, GivesAFileItsNameWhenItIsWhole) {
    {
        NewPath made(in("out").string());
        writeFile(made.unfinished(), "whole");
        EXPECT_FALSE(fs::exists(in("out")));
        made.finish();
        EXPECT_EQ(contentOf(in("out")), "whole");
    }
    EXPECT_THAT(names(), testing::ElementsAre("out"));
    EXPECT_EQ(contentOf(in("out")), "whole");
}

TEST_F(NewPathTest, GivesAFolderItsNameWhenItIsWhole) {
    {
        NewPath made(in("out").string());
        writeFile(made.unfinished() / "inner/page", "whole");
        made.finish();
    }
    EXPECT_THAT(names(), testing::ElementsAre("out"));
    EXPECT_EQ(contentOf(in("out/inner/page")), "whole");
}

TEST_F(NewPathTest, ItsNameIsOnTheMedium) {
    NewPath file(in("file").string());
    NewPath part(in("part").string());
    writeFile(file.unfinished(), "whole");
    writeFile(part.unfinished() / "db.dat", "whole");
    forgetFolderSyncs();
    file.finish();
    EXPECT_TRUE(syncedFolder(in("file").parent_path(), "file"));
    EXPECT_FALSE(syncedFolder(in("part").parent_path(), "part"));
    part.finish("db.dat");
    EXPECT_TRUE(syncedFolder(in("part").parent_path(), "part"));
}

TEST_F(NewPathTest, ReplacesNothingThatWasMadeMeanwhile) {
    {
        NewPath made(in("out").string());
        writeFile(made.unfinished(), "mine");
        writeFile(in("out"), "precious");
        EXPECT_THROW(made.finish(), UsageError);
    }
    EXPECT_THAT(names(), testing::ElementsAre("out"));
    EXPECT_EQ(contentOf(in("out")), "precious");
}

TEST_F(NewPathTest, SaysWhenItCannotGiveTheName) {
    NewPath made(in("out").string());  // and nothing is written
    try {
        made.finish();
        ADD_FAILURE() << "finished";
    } catch (const ToolError& error) {
        EXPECT_THAT(error.what(), AllOf(HasSubstr(in("out").string()), HasSubstr("No such file")));
    }
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(NewPathTest, TwoOfOnePathDoNotMeet) {
    const NewPath one(in("out").string());
    const NewPath other(in("out").string());
    EXPECT_NE(one.unfinished(), other.unfinished());
}

}  // namespace
