#include "PelkoNotify.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

namespace pelkoapi {

namespace {

static_assert(sizeof(PelkoNotifyType) == 4);
static_assert(std::is_same_v<decltype(PelkoNotify::dbID), long>);
static_assert(std::is_same_v<decltype(PelkoNotify::date), long>);
static_assert(std::is_same_v<decltype(PelkoNotify::agree), bool>);
static_assert(std::is_same_v<decltype(PelkoNotify::text), std::string>);
static_assert(std::is_copy_constructible_v<PelkoNotify> && std::is_copy_assignable_v<PelkoNotify>);

/// Everything but kind and answer.
void expectEmpty(const PelkoNotify& notify) {
    EXPECT_EQ(notify.dbID, 0);
    EXPECT_EQ(notify.date, 0);
    EXPECT_FALSE(notify.isRead);
    EXPECT_TRUE(notify.sender == PelkoChatTarget());
    EXPECT_TRUE(notify.receiver == PelkoChatTarget());
    EXPECT_TRUE(notify.from == PelkoChatTarget());
    EXPECT_FALSE(notify.isSystemNotify);
    EXPECT_EQ(notify.text, "");
}

TEST(PelkoNotifyTest, KindsHaveTheirStoredNumbers) {
    EXPECT_EQ(static_cast<int>(PelkoNotifyTypeGroupInvite), 0);
    EXPECT_EQ(static_cast<int>(PelkoNotifyTypeJoinGroupRequest), 1);
    EXPECT_EQ(static_cast<int>(PelkoNotifyTypeJoinGroupReply), 2);
}

TEST(PelkoNotifyTest, DefaultIsAnUnreadInvitationWithoutParties) {
    const PelkoNotify notify;
    expectEmpty(notify);
    EXPECT_EQ(notify.type, PelkoNotifyTypeGroupInvite);
}

TEST(PelkoNotifyTest, DefaultLeavesTheAnswerAsItsMemoryWas) {
    struct Destroyer {
        void operator()(PelkoNotify* notify) const { notify->~PelkoNotify(); }
    };
    for (const unsigned char before : std::vector<unsigned char>{0, 1}) {
        alignas(PelkoNotify) unsigned char memory[sizeof(PelkoNotify)];
        std::fill(std::begin(memory), std::end(memory), before);
        const std::unique_ptr<PelkoNotify, Destroyer> notify(new (memory) PelkoNotify());
        const auto* const answer = reinterpret_cast<const unsigned char*>(&notify->agree);
        EXPECT_EQ(*answer, before);
    }
}

TEST(PelkoNotifyTest, TakesItsKind) {
    for (const PelkoNotifyType type :
         {PelkoNotifyTypeGroupInvite, PelkoNotifyTypeJoinGroupRequest, PelkoNotifyTypeJoinGroupReply}) {
        const PelkoNotify notify(type);
        expectEmpty(notify);
        EXPECT_EQ(notify.type, type);
        EXPECT_FALSE(notify.agree);
    }
}

TEST(PelkoNotifyTest, FieldsLieInTheirOrder) {
    const PelkoNotify notify;
    const std::vector<const void*> fields = {
        &notify.dbID, &notify.date,  &notify.isRead,         &notify.sender, &notify.receiver,
        &notify.from, &notify.agree, &notify.isSystemNotify, &notify.type,   &notify.text};
    EXPECT_TRUE(std::is_sorted(fields.begin(), fields.end(), std::less<>()));
}

TEST(PelkoNotifyTest, CopiesEveryField) {
    PelkoNotify notify(PelkoNotifyTypeJoinGroupReply);
    notify.dbID = 5;
    notify.date = 1400000000;
    notify.isRead = true;
    notify.sender = PelkoChatTarget("alice");
    notify.receiver = PelkoChatTarget("bob");
    notify.from = PelkoChatTarget(77, PelkoChatTargetTypeGroup);
    notify.agree = true;
    notify.isSystemNotify = true;
    notify.text = "welcome";

    PelkoNotify copy;
    copy = notify;
    notify = PelkoNotify(PelkoNotifyTypeGroupInvite);

    EXPECT_EQ(copy.dbID, 5);
    EXPECT_EQ(copy.date, 1400000000);
    EXPECT_TRUE(copy.isRead);
    EXPECT_TRUE(copy.sender == PelkoChatTarget("alice"));
    EXPECT_TRUE(copy.receiver == PelkoChatTarget("bob"));
    EXPECT_TRUE(copy.from == PelkoChatTarget(77, PelkoChatTargetTypeGroup));
    EXPECT_TRUE(copy.agree);
    EXPECT_TRUE(copy.isSystemNotify);
    EXPECT_EQ(copy.type, PelkoNotifyTypeJoinGroupReply);
    EXPECT_EQ(copy.text, "welcome");
}

}  // namespace

}  // namespace pelkoapi
