#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "classes/platform/DefaultPlatform.h"
#include "classes/platform/LoginContext.h"
#include "classes/storage/PelkoDBManager.h"
#include "tests/support/TemporaryFolder.h"

// The deletion of messages on the default platform functions, in a folder of the test's own. What a peer put
// into a message is a path to be removed when the message is deleted: nothing but files of the application's
// own may go.

using namespace pelkoapi;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

/// What lies at each path: a file's content, a link's target, or nothing for a folder.
using Tree = std::map<std::string, std::string>;

class AttachmentRemovalTest : public testing::Test {
protected:
    /// The data root lies two folders down, so that "../../x" names a file of the test's own.
    void SetUp() override {
        for (const char* const file :
             {"x", "elsewhere/secret", "data/app-old/photo.jpg", "data/app/db.dat",
              "data/app/media/photo.jpg", "data/app/media/small/photo.jpg", "data/app/users/other/db.dat",
              "data/app/users/other/db.dat-journal", "data/app/users/other/db.dat-wal",
              "data/app/users/other/db.dat-shm", "data/app/users/other/db.dat-mj0123ABCD"}) {
            write(file);
        }
        fs::create_directory(root() + "/empty");
        fs::create_symlink(outer() + "/elsewhere/secret", root() + "/link");
        fs::create_symlink(outer() + "/elsewhere", root() + "/folder-link");
        fs::create_symlink(root() + "/users/me/db.dat", root() + "/media/database.jpg");
        fs::create_directory(root() + "/users/me");
        fs::create_symlink(root() + "/users/me", root() + "/account-link");
        fs::create_symlink("nowhere", root() + "/dangling");

        setAppDataRoot(root());
        setUserDataRoot(root() + "/users/me");
        LoginContext::getInstance()->setUserName("me");
        ASSERT_TRUE(db().setUp());
        PelkoMessage message = PelkoMessage::createTextMessage("bob", "stays");
        ASSERT_TRUE(db().insertMessage(&message));
    }
    void TearDown() override {
        db().tearDown();
        setAppDataRoot("");
        setUserDataRoot("");
    }

    static PelkoDBManager& db() { return *PelkoDBManager::getInstance(); }
    std::string outer() const { return mOuter.path().string(); }
    std::string root() const { return outer() + "/data/app"; }

    void write(const std::string& file) const {
        const fs::path path = mOuter.path() / file;
        fs::create_directories(path.parent_path());
        std::ofstream(path) << "content of " << file;
    }

    /// Everything below the outer folder. The database under test is there by name, with its journal files;
    /// their content changes.
    Tree tree() const {
        Tree found;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(mOuter.path())) {
            std::string content;
            if (entry.is_symlink()) {
                content = fs::read_symlink(entry.path()).string();
            } else if (entry.is_regular_file() &&
                       entry.path().string().rfind(root() + "/users/me/db.dat", 0) != 0) {
                std::ifstream file(entry.path());
                content.assign(std::istreambuf_iterator<char>(file), {});
            }
            found[fs::path(entry.path()).lexically_relative(mOuter.path()).string()] = content;
        }
        return found;
    }
    /// The tree without the files of these names.
    static Tree without(Tree tree, const std::vector<std::string>& files) {
        for (const std::string& file : files) {
            EXPECT_EQ(tree.erase(file), 1U) << file;
        }
        return tree;
    }

    static std::vector<std::string> textsOf(const char* peer) {
        std::deque<PelkoMessage> messages;
        EXPECT_TRUE(db().getLatestMessages(PelkoUser(peer), 100, messages));
        std::vector<std::string> texts;
        texts.reserve(messages.size());
        for (const PelkoMessage& message : messages) {
            texts.push_back(message.text);
        }
        return texts;
    }
    /// Expects that the store holds the other conversation and works, in this run and in the next.
    static void expectWorkingStore() {
        EXPECT_THAT(textsOf("alice"), IsEmpty());
        EXPECT_THAT(textsOf("bob"), testing::ElementsAre("stays"));
        db().tearDown();
        ASSERT_TRUE(db().setUp());
        EXPECT_THAT(textsOf("alice"), IsEmpty());
        EXPECT_THAT(textsOf("bob"), testing::ElementsAre("stays"));
        PelkoMessage message = PelkoMessage::createTextMessage("bob", "and goes on");
        EXPECT_TRUE(db().insertMessage(&message));
        EXPECT_THAT(textsOf("bob"), testing::ElementsAre("stays", "and goes on"));
    }

private:
    pelkotest::TemporaryFolder mOuter;
};

// ---- what a message may name without harm

/// Where a message carries the path.
struct Place {
    const char* name;
    std::string& (*of)(PelkoMessage& message);
};

const Place places[] = {
    {"extra text", [](PelkoMessage& message) -> std::string& { return message.extraText; }},
    {"media path", [](PelkoMessage& message) -> std::string& { return message.media.path; }},
    {"second path", [](PelkoMessage& message) -> std::string& { return message.media.pathEx; }}};

/// How messages are deleted: by their row ids, or as the conversation with alice.
struct Deletion {
    const char* name;
    bool (*run)(std::vector<s64>& ids);
};

void PrintTo(const Deletion& deletion, std::ostream* out) {
    *out << deletion.name;
}

const Deletion deletions[] = {
    {"deleteMessages",
     [](std::vector<s64>& ids) { return PelkoDBManager::getInstance()->deleteMessages(ids); }},
    {"clearMessages",
     [](std::vector<s64>&) { return PelkoDBManager::getInstance()->clearMessages(PelkoUser("alice")); }}};

/// Paths that a peer may have put into a message. OUTER and ROOT stand for the test's folders.
struct HarmlessPaths {
    const char* name;
    std::vector<const char*> paths;
};

void PrintTo(const HarmlessPaths& group, std::ostream* out) {
    *out << group.name;
}

const HarmlessPaths harmlessPaths[] = {
    {"Databases",
     {"db.dat", "users/me/db.dat", "ROOT/users/me/db.dat", "users/me/./db.dat", "users/other/../me/db.dat",
      "media/../users//me/db.dat", "../app/users/me/db.dat", "account-link/db.dat", "users/me/db.dat/",
      "users/me/db.dat/.", "users/other/db.dat", "users/other/db.dat-journal", "users/other/db.dat-wal",
      "users/other/db.dat-shm", "users/other/db.dat-mj0123ABCD"}},
    {"FilesOutsideTheRoot",
     {"../../x", "media/../../../x", "users/me/../../../../x", "OUTER/x", "ROOT/../../x",
      "OUTER/elsewhere/secret", "../app-old/photo.jpg", "OUTER/data/app-old/photo.jpg"}},
    {"Links",
     {"link", "ROOT/link", "folder-link", "folder-link/", "folder-link/secret", "folder-link/../x",
      "media/database.jpg", "dangling"}},
    {"Folders",
     {"", ".", "./", "..", "../", "/", "ROOT", "ROOT/", "ROOT/.", "empty", "empty/", "media", "media/small",
      "media/small/..", "users/me", "users"}},
    {"TextsThatNameNothing",
     {"hello", "media/unknown.jpg", "media/photo.jpg/", "media/photo.jpg/x", "no/such/folder/photo.jpg", " ",
      "media/photo.jpg ", "media/*", "media\\photo.jpg", "%s%n", "file://media/photo.jpg", "\xff\xfe",
      "\n"}}};

class HarmlessPathTest : public AttachmentRemovalTest,
                         public testing::WithParamInterface<std::tuple<HarmlessPaths, Deletion>> {
protected:
    std::string withFolders(std::string path) const {
        for (const auto& [word, folder] : {std::pair("OUTER", outer()), std::pair("ROOT", root())}) {
            if (path.rfind(word, 0) == 0) {
                path.replace(0, std::string(word).size(), folder);
            }
        }
        return path;
    }
};

TEST_P(HarmlessPathTest, HarmsNothingWhenItsMessageIsDeleted) {
    const auto& [group, deletion] = GetParam();
    for (const Place& place : places) {
        SCOPED_TRACE(place.name);
        const Tree before = tree();
        ASSERT_EQ(before.count("data/app/users/me/db.dat"), 1U);
        std::vector<s64> ids;
        db().beginTransaction();
        for (const char* const path : group.paths) {
            PelkoMessage message = PelkoMessage::createImageMessage("alice", "", "");
            place.of(message) = withFolders(path);
            ASSERT_TRUE(db().insertMessage(&message));
            ids.push_back(message.dbID);
        }
        db().commiteTransaction();
        EXPECT_TRUE(deletion.run(ids));
        EXPECT_EQ(tree(), before);
    }
    expectWorkingStore();
}

std::string caseName(const testing::TestParamInfo<std::tuple<HarmlessPaths, Deletion>>& info) {
    return std::string(std::get<HarmlessPaths>(info.param).name) + "_" + std::get<Deletion>(info.param).name;
}

INSTANTIATE_TEST_SUITE_P(All, HarmlessPathTest,
                         testing::Combine(testing::ValuesIn(harmlessPaths), testing::ValuesIn(deletions)),
                         caseName);

// ---- what is removed

class OwnAttachment : public AttachmentRemovalTest, public testing::WithParamInterface<Deletion> {
protected:
    static void storeAndDelete(PelkoMessage message) {
        ASSERT_TRUE(db().insertMessage(&message));
        std::vector<s64> ids = {message.dbID};
        EXPECT_TRUE(GetParam().run(ids));
    }
};

TEST_P(OwnAttachment, LosesBothFiles) {
    PelkoMessage message = PelkoMessage::createImageMessage("alice", root() + "/media/photo.jpg",
                                                            root() + "/media/small/photo.jpg");
    const Tree before = tree();
    storeAndDelete(message);
    EXPECT_EQ(tree(), without(before, {"data/app/media/photo.jpg", "data/app/media/small/photo.jpg"}));
    expectWorkingStore();
}

TEST_P(OwnAttachment, LosesTheFileThatTheExtraTextNames) {
    PelkoMessage message = PelkoMessage::createTextMessage("alice", "hello");
    message.extraText = "media/photo.jpg";
    const Tree before = tree();
    storeAndDelete(message);
    EXPECT_EQ(tree(), without(before, {"data/app/media/photo.jpg"}));
    expectWorkingStore();
}

TEST_P(OwnAttachment, IsRemovedBesideAHarmfulPath) {
    PelkoMessage message =
        PelkoMessage::createImageMessage("alice", "users/me/db.dat", root() + "/media/small/photo.jpg");
    message.extraText = "../../x";
    const Tree before = tree();
    storeAndDelete(message);
    EXPECT_EQ(tree(), without(before, {"data/app/media/small/photo.jpg"}));
    expectWorkingStore();
}

TEST_P(OwnAttachment, ThatIsGoneAlreadyDoesNotKeepTheRow) {
    PelkoMessage message = PelkoMessage::createImageMessage("alice", root() + "/media/photo.jpg",
                                                            root() + "/media/small/photo.jpg");
    ASSERT_TRUE(fs::remove(root() + "/media/photo.jpg"));
    const Tree before = tree();
    storeAndDelete(message);
    EXPECT_EQ(tree(), without(before, {"data/app/media/small/photo.jpg"}));
    expectWorkingStore();
}

TEST_P(OwnAttachment, OfASecondNameOfTheDatabaseLeavesTheDatabase) {
    fs::create_hard_link(root() + "/users/me/db.dat", root() + "/media/copy.jpg");
    PelkoMessage message = PelkoMessage::createImageMessage("alice", root() + "/media/copy.jpg", "");
    storeAndDelete(message);
    EXPECT_TRUE(fs::exists(root() + "/users/me/db.dat"));
    expectWorkingStore();
}

INSTANTIATE_TEST_SUITE_P(All, OwnAttachment, testing::ValuesIn(deletions),
                         [](const testing::TestParamInfo<Deletion>& deletion) {
                             return std::string(deletion.param.name);
                         });

TEST_F(AttachmentRemovalTest, OneOfManyMessagesIsDeletedWithItsFilesAlone) {
    PelkoMessage kept = PelkoMessage::createImageMessage("bob", root() + "/media/photo.jpg", "");
    PelkoMessage gone = PelkoMessage::createImageMessage("bob", root() + "/media/small/photo.jpg", "");
    ASSERT_TRUE(db().insertMessage(&kept));
    ASSERT_TRUE(db().insertMessage(&gone));
    const Tree before = tree();
    std::vector<s64> ids = {gone.dbID};
    EXPECT_TRUE(db().deleteMessages(ids));
    EXPECT_EQ(tree(), without(before, {"data/app/media/small/photo.jpg"}));
    EXPECT_EQ(db().getMessage(kept.dbID).media.path, root() + "/media/photo.jpg");
}

TEST_F(AttachmentRemovalTest, PathsAreLeftAloneWithoutADataRoot) {
    PelkoMessage message = PelkoMessage::createImageMessage("alice", root() + "/media/photo.jpg", "db.dat");
    setAppDataRoot("");
    ASSERT_TRUE(db().insertMessage(&message));
    const Tree before = tree();
    std::vector<s64> ids = {message.dbID};
    EXPECT_TRUE(db().deleteMessages(ids));
    EXPECT_EQ(tree(), before);
    expectWorkingStore();
}

}  // namespace
