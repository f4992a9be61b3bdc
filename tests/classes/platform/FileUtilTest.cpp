#include "classes/platform/FileUtil.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

#include "classes/platform/DefaultPlatform.h"
#include "tests/support/TemporaryFolder.h"

namespace pelkoapi {

namespace {

namespace fs = std::filesystem;

static_assert(std::is_same_v<decltype(&FileUtil::getUserDataRoot), std::string (*)()>);
static_assert(std::is_same_v<decltype(&FileUtil::createFile), int (*)(const std::string&, bool)>);
static_assert(std::is_same_v<decltype(&FileUtil::getAppRelativePath), std::string (*)(const std::string&)>);
static_assert(std::is_same_v<decltype(&FileUtil::getFullPath), std::string (*)(const std::string&)>);
static_assert(std::is_same_v<decltype(&FileUtil::exist), bool (*)(const std::string&)>);
static_assert(std::is_same_v<decltype(&FileUtil::remove), bool (*)(const std::string&)>);

class FileUtilTest : public testing::Test {
protected:
    void TearDown() override {
        setAppDataRoot("");
        setUserDataRoot("");
    }
};

/// Both directions of one path under the application's data root.
void expectInverse(const std::string& full, const std::string& relative) {
    EXPECT_EQ(FileUtil::getAppRelativePath(full), relative);
    EXPECT_EQ(FileUtil::getFullPath(relative), full);
}

TEST_F(FileUtilTest, TheUserDataRootIsTheOneSet) {
    EXPECT_EQ(FileUtil::getUserDataRoot(), "");
    setUserDataRoot("/data/app/users/me");
    EXPECT_EQ(FileUtil::getUserDataRoot(), "/data/app/users/me");
    setUserDataRoot("/data/app/users/you///");
    EXPECT_EQ(FileUtil::getUserDataRoot(), "/data/app/users/you");
    setUserDataRoot("/");
    EXPECT_EQ(FileUtil::getUserDataRoot(), "/");
}

TEST_F(FileUtilTest, PathsUnderTheRootLoseItAndItsSlash) {
    setAppDataRoot("/data/app");
    expectInverse("/data/app/x.png", "x.png");
    expectInverse("/data/app/media/2014/x.png", "media/2014/x.png");
    expectInverse("/data/app/a b/\xE6\x97\xA5.png", "a b/\xE6\x97\xA5.png");
    expectInverse("/data/app/data/app/x", "data/app/x");
    expectInverse("/data/app/folder/", "folder/");
}

TEST_F(FileUtilTest, TheRootCountsByWholeComponents) {
    setAppDataRoot("/data/app");
    for (const char* const path : {"/data/app-old/x", "/data/application", "/data/ap", "/data", "/DATA/APP/x",
                                   "/other/data/app/x", "data/app/x"}) {
        EXPECT_EQ(FileUtil::getAppRelativePath(path), path);
    }
}

TEST_F(FileUtilTest, TheRootItselfIsNotUnderTheRoot) {
    setAppDataRoot("/data/app");
    for (const char* const path : {"/data/app", "/data/app/", "/data/app//"}) {
        EXPECT_EQ(FileUtil::getAppRelativePath(path), path);
        EXPECT_EQ(FileUtil::getFullPath(path), path);
    }
}

TEST_F(FileUtilTest, EmptyRelativeAndForeignPathsPassThrough) {
    setAppDataRoot("/data/app");
    EXPECT_EQ(FileUtil::getAppRelativePath(""), "");
    EXPECT_EQ(FileUtil::getAppRelativePath("media/x.png"), "media/x.png");
    EXPECT_EQ(FileUtil::getAppRelativePath("/etc/passwd"), "/etc/passwd");
    EXPECT_EQ(FileUtil::getFullPath(""), "");
    EXPECT_EQ(FileUtil::getFullPath("/etc/passwd"), "/etc/passwd");
    EXPECT_EQ(FileUtil::getFullPath("/data/app/x.png"), "/data/app/x.png");
    EXPECT_EQ(FileUtil::getFullPath("/"), "/");
}

TEST_F(FileUtilTest, TrailingSlashesOfTheRootDoNotMatter) {
    for (const char* const root : {"/data/app/", "/data/app///"}) {
        setAppDataRoot(root);
        expectInverse("/data/app/x.png", "x.png");
        EXPECT_EQ(FileUtil::getAppRelativePath("/data/app-old/x"), "/data/app-old/x");
        EXPECT_EQ(FileUtil::getAppRelativePath("/data/app"), "/data/app");
    }
}

TEST_F(FileUtilTest, DoubleSlashesBehindTheRootAreOne) {
    setAppDataRoot("/data/app");
    EXPECT_EQ(FileUtil::getAppRelativePath("/data/app//x.png"), "x.png");
    EXPECT_EQ(FileUtil::getAppRelativePath("/data/app///a//x.png"), "a//x.png");
}

TEST_F(FileUtilTest, TheFileSystemsRootCanBeTheRoot) {
    setAppDataRoot("/");
    expectInverse("/x.png", "x.png");
    expectInverse("/data/x.png", "data/x.png");
    EXPECT_EQ(FileUtil::getAppRelativePath("/"), "/");
}

TEST_F(FileUtilTest, WithoutARootPathsPassThrough) {
    for (const char* const path : {"", "x.png", "/data/app/x.png", "/"}) {
        EXPECT_EQ(FileUtil::getAppRelativePath(path), path);
        EXPECT_EQ(FileUtil::getFullPath(path), path);
    }
}

/// An application's data root "data/app" with an account's folder in it, in a temporary folder with a folder
/// "data/outside". No test passes remove() the path of a file outside the temporary folder, not even by
/// "../..": a faulty remove() must find nothing of the machine's to delete.
class FileUtilDiskTest : public FileUtilTest {
protected:
    void SetUp() override {
        fs::create_directories(inRoot("users/me"));
        fs::create_directories(outside(""));
        setAppDataRoot(inRoot(""));
        setUserDataRoot(inRoot("users/me"));
    }

    std::string above(const std::string& path) const { return (mFolder.path() / "data" / path).string(); }
    std::string inRoot(const std::string& path) const {
        return (mFolder.path() / "data" / "app" / path).string();
    }
    std::string outside(const std::string& path) const {
        return (mFolder.path() / "data" / "outside" / path).string();
    }

    static void write(const std::string& path, const std::string& contents) {
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream out(path, std::ios::binary);
        out << contents;
        EXPECT_TRUE(out.flush()) << path;
    }

    static std::string contents(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        EXPECT_TRUE(in) << path;
        return {std::istreambuf_iterator<char>(in), {}};
    }

    /// Removing `path` leaves the file `kept` in place.
    static void expectKept(const std::string& path, const std::string& kept) {
        write(kept, "kept");
        EXPECT_FALSE(FileUtil::remove(path)) << path;
        EXPECT_EQ(contents(kept), "kept") << path;
    }
    static void expectKept(const std::string& path) { expectKept(path, path); }

private:
    pelkotest::TemporaryFolder mFolder;
};

TEST_F(FileUtilDiskTest, CreateMakesAnEmptyFileForItsOwnerAlone) {
    const mode_t before = umask(0);  // or the user's own mask could hide a mode that is too open
    const int result = FileUtil::createFile(inRoot("users/me/db.dat"), false);
    umask(before);
    EXPECT_GE(result, 0);
    EXPECT_EQ(contents(inRoot("users/me/db.dat")), "");
    EXPECT_EQ(fs::status(inRoot("users/me/db.dat")).permissions(),
              fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(FileUtilDiskTest, CreateMakesMissingParentFolders) {
    for (const bool overwrite : {false, true}) {
        const std::string path = inRoot(std::string("new/") + (overwrite ? "b" : "a") + "/c/db.dat");
        EXPECT_GE(FileUtil::createFile(path, overwrite), 0);
        EXPECT_TRUE(fs::is_regular_file(path));
    }
}

TEST_F(FileUtilDiskTest, CreateLeavesAnExistingFileAlone) {
    const std::string path = inRoot("users/me/db.dat");
    write(path, "rows");
    fs::permissions(path, fs::perms::owner_read);
    EXPECT_GE(FileUtil::createFile(path, false), 0);
    EXPECT_EQ(contents(path), "rows");
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read);
}

TEST_F(FileUtilDiskTest, CreateWithOverwriteEmptiesAnExistingFile) {
    const std::string path = inRoot("users/me/db.dat");
    write(path, "rows");
    EXPECT_GE(FileUtil::createFile(path, true), 0);
    EXPECT_EQ(contents(path), "");
}

TEST_F(FileUtilDiskTest, CreateFailsWithANegativeNumber) {
    write(inRoot("file"), "kept");
    for (const bool overwrite : {false, true}) {
        EXPECT_LT(FileUtil::createFile(inRoot("file/db.dat"), overwrite), 0)
            << "a file where a folder must be";
        EXPECT_LT(FileUtil::createFile(inRoot("file/deeper/db.dat"), overwrite), 0);
        EXPECT_LT(FileUtil::createFile(inRoot("users/me"), overwrite), 0)
            << "a folder where the file must be";
        EXPECT_LT(FileUtil::createFile("", overwrite), 0);
    }
    EXPECT_EQ(contents(inRoot("file")), "kept");
    EXPECT_TRUE(fs::is_directory(inRoot("users/me")));
}

TEST_F(FileUtilDiskTest, ExistSaysWhetherAFileIsThere) {
    write(inRoot("x.png"), "");
    EXPECT_TRUE(FileUtil::exist(inRoot("x.png")));
    EXPECT_TRUE(FileUtil::exist(inRoot("users/../x.png")));
    EXPECT_FALSE(FileUtil::exist(inRoot("y.png")));
    EXPECT_FALSE(FileUtil::exist(inRoot("users")));
    EXPECT_FALSE(FileUtil::exist(inRoot("x.png/y.png")));
    EXPECT_FALSE(FileUtil::exist(""));
}

TEST_F(FileUtilDiskTest, RemovesARegularFileInTheRoot) {
    for (const char* const path : {"x.png", "media/2014/x.png", "users/me/x.png", "a b/\xE6\x97\xA5.png",
                                   "users/me/mydb.dat", "users/me/db.data", "users/me/db.dat.png", "-rf"}) {
        write(inRoot(path), "x");
        write(inRoot("media/other.png"), "kept");
        EXPECT_TRUE(FileUtil::remove(inRoot(path))) << path;
        EXPECT_FALSE(fs::exists(inRoot(path))) << path;
        EXPECT_EQ(contents(inRoot("media/other.png")), "kept");
    }
}

TEST_F(FileUtilDiskTest, RemovesAFileOnAWayThatStaysInTheRoot) {
    for (const char* const path : {"users/../x.png", "users//me/./../../x.png", "../app/x.png"}) {
        write(inRoot("x.png"), "x");
        EXPECT_TRUE(FileUtil::remove(inRoot(path))) << path;
        EXPECT_FALSE(fs::exists(inRoot("x.png"))) << path;
    }
}

TEST_F(FileUtilDiskTest, RemovesInARootThatIsReachedThroughASymbolicLink) {
    fs::create_directory_symlink(inRoot(""), outside("app-link"));
    setAppDataRoot(outside("app-link"));
    write(inRoot("x.png"), "x");
    EXPECT_TRUE(FileUtil::remove(outside("app-link/x.png")));
    EXPECT_FALSE(fs::exists(inRoot("x.png")));
}

TEST_F(FileUtilDiskTest, RemoveIgnoresWhatIsNotThere) {
    EXPECT_FALSE(FileUtil::remove(inRoot("x.png")));
    EXPECT_FALSE(FileUtil::remove(inRoot("missing/x.png")));
    expectKept(inRoot("x.png/y.png"), inRoot("x.png"));
    expectKept(inRoot("missing/../x.png"), inRoot("x.png"));
    expectKept(inRoot("x.png/"), inRoot("x.png"));
    expectKept(inRoot("x.png/."), inRoot("x.png"));
}

TEST_F(FileUtilDiskTest, RemoveIgnoresTextsThatAreNoPath) {
    for (const std::string& text :
         {std::string(), std::string("{\"emotion\": 5}"), std::string("hello world"),
          std::string(100000, 'x'), std::string("\xFF\xFE"), std::string("no such file\0y", 14)}) {
        write(inRoot("x.png"), "kept");
        EXPECT_FALSE(FileUtil::remove(text));
        EXPECT_FALSE(FileUtil::remove(FileUtil::getFullPath(text)));
        EXPECT_EQ(contents(inRoot("x.png")), "kept");
    }
}

TEST_F(FileUtilDiskTest, RemoveIgnoresFoldersAndTheRootItself) {
    fs::create_directories(inRoot("empty"));
    for (const char* const path :
         {"empty", "empty/", "empty/.", "empty/..", "users", "users/me", "", ".", "..", "users/.."}) {
        EXPECT_FALSE(FileUtil::remove(inRoot(path))) << path;
    }
    const std::string root = fs::path(inRoot("x")).parent_path().string();
    EXPECT_FALSE(FileUtil::remove(root));
    EXPECT_FALSE(FileUtil::remove(root + "/"));
    EXPECT_TRUE(fs::is_directory(inRoot("empty")));
    EXPECT_TRUE(fs::is_directory(inRoot("users/me")));
    EXPECT_TRUE(fs::is_directory(outside("")));
}

TEST_F(FileUtilDiskTest, RemoveIgnoresPathsThatLeaveTheRootByDots) {
    expectKept(inRoot("../outside/x"), outside("x"));
    expectKept(inRoot("users/../../outside/x"), outside("x"));
    expectKept(inRoot("../x"), above("x"));
    expectKept(inRoot("../app-old/x"));
}

TEST_F(FileUtilDiskTest, RemoveIgnoresPathsThatLeaveTheRootThroughASymbolicLink) {
    fs::create_directory_symlink(outside(""), inRoot("link"));
    fs::create_directory_symlink(inRoot("link"), inRoot("users/link"));
    fs::create_directories(outside("deeper"));
    expectKept(inRoot("link/x"), outside("x"));
    expectKept(inRoot("users/link/x"), outside("x"));
    expectKept(inRoot("link/deeper/../x"), outside("x"));
    expectKept(inRoot("link/../x"), above("x"));
}

TEST_F(FileUtilDiskTest, RemoveIgnoresASymbolicLinkAndWhatItNames) {
    write(inRoot("inside"), "kept");
    write(outside("x"), "kept");
    fs::create_symlink(inRoot("inside"), inRoot("to-inside"));
    fs::create_symlink(outside("x"), inRoot("to-outside"));
    fs::create_symlink(inRoot("nowhere"), inRoot("to-nowhere"));
    fs::create_directory_symlink(inRoot("users"), inRoot("to-folder"));
    for (const char* const link : {"to-inside", "to-outside", "to-nowhere", "to-folder"}) {
        EXPECT_FALSE(FileUtil::remove(inRoot(link))) << link;
        EXPECT_TRUE(fs::is_symlink(inRoot(link))) << link;
    }
    EXPECT_EQ(contents(inRoot("inside")), "kept");
    EXPECT_EQ(contents(outside("x")), "kept");
}

TEST_F(FileUtilDiskTest, RemoveIgnoresWhatIsNeitherFileNorFolder) {
    ASSERT_EQ(mkfifo(inRoot("pipe").c_str(), 0600), 0);
    EXPECT_FALSE(FileUtil::remove(inRoot("pipe")));
    EXPECT_TRUE(fs::is_fifo(inRoot("pipe")));
}

TEST_F(FileUtilDiskTest, RemoveIgnoresAbsolutePathsElsewhere) {
    expectKept(outside("x"));
    expectKept(above("app-old"));
}

TEST_F(FileUtilDiskTest, RemoveIgnoresEveryAccountsDatabase) {
    for (const char* const folder : {"", "users/me/", "users/you/", "users/../users/me/", "a/b/c/"}) {
        for (const char* const file : {"db.dat", "db.dat-journal", "db.dat-wal", "db.dat-shm"}) {
            fs::create_directories(inRoot("users"));
            expectKept(inRoot(std::string(folder) + file));
        }
    }
}

TEST_F(FileUtilDiskTest, RemoveIgnoresADatabaseBehindANul) {
    // The file system sees the name up to its NUL only.
    expectKept(inRoot("users/me/db.dat") + std::string("\0.png", 5), inRoot("users/me/db.dat"));
    expectKept(inRoot("users/me/db.dat-wal") + std::string("\0.png", 5), inRoot("users/me/db.dat-wal"));
}

TEST_F(FileUtilDiskTest, RemoveHarmsNothingWithWhatAPeerCanSend) {
    const std::vector<std::string> precious = {inRoot("db.dat"), inRoot("users/me/db.dat"), above("x"),
                                               above("../x"),    outside("passwd"),         inRoot("x.png")};
    for (const std::string& file : precious) {
        write(file, "kept");
    }
    const std::vector<std::string> texts = {
        "db.dat", "../../x", "../x",  "users/me/db.dat", outside("passwd"),         "",
        ".",      "..",      "users", "users/me",        "./users/me/../me/db.dat", "x.png/../db.dat"};
    for (const std::string& text : texts) {
        EXPECT_FALSE(FileUtil::remove(FileUtil::getFullPath(text))) << text;
    }
    for (const std::string& file : precious) {
        EXPECT_EQ(contents(file), "kept") << file;
    }
}

TEST_F(FileUtilDiskTest, WithoutARootNothingIsRemoved) {
    setAppDataRoot("");
    expectKept(inRoot("x.png"));
    EXPECT_FALSE(FileUtil::remove(""));
}

TEST_F(FileUtilDiskTest, WithARootThatIsNotThereNothingIsRemoved) {
    setAppDataRoot(inRoot("nowhere"));
    expectKept(inRoot("x.png"));
    EXPECT_FALSE(FileUtil::remove(inRoot("nowhere/x.png")));
}

}  // namespace

}  // namespace pelkoapi
