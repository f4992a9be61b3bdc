#include <gmock/gmock.h>
#include <sqlite3.h>

#include <cstddef>
#include <vector>

#include "classes/platform/LoginContext.h"
#include "tests/support/StoreTest.h"

// What comes first when messages are deleted, seen at the moment at which each row goes.

namespace pelkotest {

namespace {

using namespace pelkoapi;

/// How many files had been removed when each row was deleted.
std::vector<std::size_t>& removedBefore() {
    static std::vector<std::size_t> numbers;
    return numbers;
}

void keepNumberOfFiles(void*, int change, const char*, const char*, sqlite3_int64) {
    if (change == SQLITE_DELETE) {
        removedBefore().push_back(platform().removed.size());
    }
}

int watchDeletions(sqlite3* connection, const char**, const sqlite3_api_routines*) {
    sqlite3_update_hook(connection, keepNumberOfFiles, nullptr);
    return SQLITE_OK;
}

const auto watchDeletionsHook = reinterpret_cast<void (*)()>(watchDeletions);

/// Two messages to alice on a connection whose deletions are watched.
class MessageDeletionOrderTest : public StoreTest {
protected:
    void SetUp() override {
        sqlite3_auto_extension(watchDeletionsHook);
        StoreTest::SetUp();
        for (int i = 0; i < 2; ++i) {
            PelkoMessage message = PelkoMessage::createImageMessage(PelkoUser("alice"), "/app/a", "/app/b");
            ASSERT_TRUE(db().insertMessage(&message));
            mIds.push_back(message.dbID);
        }
        removedBefore().clear();
    }
    void TearDown() override {
        StoreTest::TearDown();
        sqlite3_cancel_auto_extension(watchDeletionsHook);
    }

    std::vector<s64>& ids() { return mIds; }

private:
    std::vector<s64> mIds;
};

TEST_F(MessageDeletionOrderTest, EveryFileIsRemovedBeforeTheFirstNamedRow) {
    EXPECT_TRUE(db().deleteMessages(ids()));
    EXPECT_THAT(removedBefore(), testing::ElementsAre(6U, 6U));
}

TEST_F(MessageDeletionOrderTest, EveryFileIsRemovedBeforeTheFirstRowOfAConversation) {
    EXPECT_TRUE(db().clearMessages(PelkoUser("alice")));
    EXPECT_THAT(removedBefore(), testing::ElementsAre(6U, 6U));
}

TEST_F(MessageDeletionOrderTest, TheRowsOfAConversationAreThoseOfWhoIsLoggedInThen) {
    platform().onRemove = [] { LoginContext::getInstance()->setUserName("another"); };
    forget();
    EXPECT_TRUE(db().clearMessages(PelkoUser("alice")));
    ASSERT_EQ(statements().size(), 2U);
    EXPECT_THAT(statements().front(), testing::HasSubstr("sender_id = 'me'"));
    EXPECT_THAT(statements().back(), testing::HasSubstr("sender_id = 'another'"));
    EXPECT_EQ(value("SELECT COUNT(*) FROM tbl_msg"), "2");
}

}  // namespace

}  // namespace pelkotest
