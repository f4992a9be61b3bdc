#ifndef PELKO_TESTS_CLASSES_STORAGE_NOTIFICATIONS_TEST_H
#define PELKO_TESTS_CLASSES_STORAGE_NOTIFICATIONS_TEST_H

#include <string>
#include <vector>

#include "tests/support/StoreTest.h"

namespace pelkotest {

// On 32-bit machines and on Windows it is not.
inline constexpr bool longIsWide = sizeof(long) > sizeof(int);

/// A notification with a value of its own in every stored field.
inline pelkoapi::PelkoNotify request() {
    pelkoapi::PelkoNotify notify(pelkoapi::PelkoNotifyTypeJoinGroupRequest);
    notify.dbID = 99;
    notify.date = 1700000000;
    notify.isRead = true;
    notify.sender = pelkoapi::PelkoChatTarget(11, pelkoapi::PelkoChatTargetTypeUser);
    notify.sender.name = "ann";
    notify.receiver = pelkoapi::PelkoChatTarget(12, pelkoapi::PelkoChatTargetTypeCustomerService);
    notify.receiver.name = "bob";
    notify.from = pelkoapi::PelkoChatTarget(9007199254740993, pelkoapi::PelkoChatTargetTypeGroup);
    notify.from.name = "club";
    notify.agree = true;
    notify.isSystemNotify = true;
    notify.text = "let me in";
    return notify;
}

inline std::string partyOf(const pelkoapi::PelkoChatTarget& target) {
    EXPECT_EQ(target.tag, 0U);
    EXPECT_EQ(target.info, "");
    EXPECT_FALSE(target.hasGotDetail);
    EXPECT_EQ(target.icon.url + target.icon.path + target.icon.pathEx, "");
    return std::to_string(target.type) + " " + std::to_string(target.id) + " " + target.name;
}

/// Everything of a notification that has been read from a row.
inline std::vector<std::string> fieldsOf(const pelkoapi::PelkoNotify& notify) {
    const std::string flags = std::string(notify.isRead ? "read" : "unread") +
                              (notify.agree ? " agree" : "") + (notify.isSystemNotify ? " system" : "");
    return {std::to_string(notify.dbID),
            std::to_string(notify.date),
            flags,
            partyOf(notify.sender),
            partyOf(notify.receiver),
            partyOf(notify.from),
            std::to_string(notify.type),
            notify.text};
}

/// A notification as the default constructor leaves it; `agree` may hold anything.
inline void expectDefault(const pelkoapi::PelkoNotify& notify) {
    EXPECT_EQ(notify.dbID, 0);
    EXPECT_EQ(notify.date, 0);
    EXPECT_FALSE(notify.isRead);
    for (const pelkoapi::PelkoChatTarget& party : {notify.sender, notify.receiver, notify.from}) {
        EXPECT_EQ(partyOf(party), "0 0 ");
    }
    EXPECT_FALSE(notify.isSystemNotify);
    EXPECT_EQ(notify.type, pelkoapi::PelkoNotifyTypeGroupInvite);
    EXPECT_EQ(notify.text, "");
}

class NotificationsTest : public StoreTest {
protected:
    /// Rows of these ids, unread.
    void given(const std::vector<std::string>& ids) {
        for (const std::string& id : ids) {
            execute("INSERT INTO tbl_notify (db_id, is_read, text) VALUES (" + id + ", 0, 'text " + id +
                    "')");
        }
    }
    std::vector<Row> table() const { return rows("SELECT * FROM tbl_notify ORDER BY db_id"); }
    std::vector<std::string> readStates() const {
        std::vector<std::string> states;
        for (const Row& row : rows("SELECT is_read FROM tbl_notify ORDER BY db_id")) {
            states.push_back(row.front().value_or("NULL"));
        }
        return states;
    }
    std::vector<long> loadedIds() {
        std::vector<pelkoapi::PelkoNotify> list;
        EXPECT_TRUE(db().loadNotifyList(list));
        std::vector<long> ids;
        for (const pelkoapi::PelkoNotify& notify : list) {
            ids.push_back(notify.dbID);
        }
        return ids;
    }
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_CLASSES_STORAGE_NOTIFICATIONS_TEST_H
