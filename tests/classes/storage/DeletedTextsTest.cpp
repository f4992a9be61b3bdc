#include <filesystem>
#include <fstream>
#include <iterator>

#include "classes/sqlite/DatabaseKey.h"
#include "tests/support/StoreTest.h"

// What a user deletes is gone: none of it is found in the bytes of the account's files once the store is
// closed.

namespace pelkotest {

namespace {

using namespace pelkoapi;

class DeletedTextsTest : public StoreTest {
protected:
    void SetUp() override {
        if (isDatabaseKeySet()) {
            GTEST_SKIP() << "no text can be found in an encrypted file";
        }
        StoreTest::SetUp();
    }

    /// The bytes of the database and of whatever lies beside it.
    std::string fileBytes() const {
        std::string bytes;
        for (const auto& entry : std::filesystem::directory_iterator(folder())) {
            std::ifstream file(entry.path(), std::ios::binary);
            bytes.append(std::istreambuf_iterator<char>(file), {});
        }
        return bytes;
    }
    static std::size_t found(const std::string& bytes, const std::string& text) {
        std::size_t number = 0;
        for (std::size_t at = 0; (at = bytes.find(text, at)) != std::string::npos; ++at) {
            ++number;
        }
        return number;
    }
    /// Messages with service ids from 1 on; every tenth so long that it needs pages of its own.
    std::vector<s64> storeMessages(const PelkoChatTarget& receiver, const std::string& text, int number) {
        std::vector<s64> rowIds;
        for (int i = 1; i <= number; ++i) {
            PelkoMessage message = PelkoMessage::createTextMessage(PelkoUser("alice"), receiver, text);
            message.id = i;
            message.text += i % 10 == 0 ? std::string(9000, 'x') + text : "";
            EXPECT_TRUE(db().insertMessage(&message));
            rowIds.push_back(message.dbID);
        }
        return rowIds;
    }
};

TEST_F(DeletedTextsTest, FiveHundredDeletedMessages) {
    const std::string gone = "nobody shall ever read this again";
    const std::string kept = "this one stays";
    std::vector<s64> rowIds = storeMessages(PelkoRoom(5), gone, 500);
    PelkoMessage other = PelkoMessage::createTextMessage(PelkoUser("alice"), PelkoRoom(6), kept);
    ASSERT_TRUE(db().insertMessage(&other));
    close();
    ASSERT_EQ(found(fileBytes(), gone), 550U) << "they can be found as long as they are stored";

    ASSERT_TRUE(db().setUp());
    EXPECT_TRUE(db().deleteMessages(rowIds));
    close();
    const std::string bytes = fileBytes();
    EXPECT_EQ(found(bytes, gone), 0U);
    EXPECT_EQ(found(bytes, kept), 1U);
}

TEST_F(DeletedTextsTest, MessagesThatNeverReachedTheDatabaseFile) {
    // Stored and deleted in one run, all of it is in the write-ahead log alone.
    const std::string gone = "nobody shall ever read this again";
    std::vector<s64> rowIds = storeMessages(PelkoUser("me"), gone, 50);
    EXPECT_TRUE(db().deleteMessages(rowIds));
    close();
    EXPECT_EQ(found(fileBytes(), gone), 0U);
}

TEST_F(DeletedTextsTest, AClearedConversation) {
    const std::string gone = "nobody shall ever read this again";
    storeMessages(PelkoGroup(77LL), gone, 50);
    EXPECT_TRUE(db().clearMessages(PelkoGroup(77LL)));
    close();
    EXPECT_EQ(found(fileBytes(), gone), 0U);
}

TEST_F(DeletedTextsTest, NamesInTablesAndIndexes) {
    std::string friendName = "a friend of former days";
    std::string blocked = "somebody long forgiven";
    std::string profile = "a profile that was dropped";
    PelkoUser user(profile);
    user.info = "what the dropped profile said";
    ASSERT_TRUE(db().addFriend(friendName));
    ASSERT_TRUE(db().blockUser(blocked));
    ASSERT_TRUE(db().insertOrUpdateUser(user, 1));
    ASSERT_TRUE(db().deleteFriend(friendName));
    ASSERT_TRUE(db().unblockUser(blocked));
    ASSERT_TRUE(db().deleteUser(profile));
    close();
    const std::string bytes = fileBytes();
    for (const std::string& text : {friendName, blocked, profile, user.info}) {
        EXPECT_EQ(found(bytes, text), 0U) << text;
    }
}

}  // namespace

}  // namespace pelkotest
