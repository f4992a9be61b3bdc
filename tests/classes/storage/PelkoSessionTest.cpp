#include "classes/storage/PelkoSession.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <list>
#include <type_traits>
#include <vector>

namespace pelkoapi {

namespace {

static_assert(std::is_same_v<decltype(PelkoSession::pageIndex), unsigned int>);
static_assert(std::is_same_v<decltype(PelkoSession::priority), int>);
static_assert(std::is_same_v<decltype(PelkoSession::lastMsgId), long long>);
static_assert(std::is_same_v<decltype(PelkoSession::memberList), std::vector<PelkoUser>>);
static_assert(std::is_same_v<decltype(PelkoSession::curPageMemberList), std::vector<PelkoUser>>);
static_assert(std::is_copy_constructible_v<PelkoSession> && std::is_copy_assignable_v<PelkoSession>);

TEST(PelkoSessionTest, DefaultIsEmpty) {
    const PelkoSession session;
    EXPECT_FALSE(session.isTop);
    EXPECT_EQ(session.pageIndex, 0U);
    EXPECT_EQ(session.priority, 0);
    EXPECT_EQ(session.lastMsgId, 0);
    EXPECT_FALSE(session.requestingHistory);
    EXPECT_FALSE(session.autoRequestHistory);
    EXPECT_FALSE(session.needUpdate);
    EXPECT_TRUE(session.lastMsg == PelkoMessage());
    EXPECT_TRUE(session.target == PelkoChatTarget());
    EXPECT_TRUE(session.memberList.empty());
    EXPECT_TRUE(session.curPageMemberList.empty());
}

TEST(PelkoSessionTest, FieldsLieInTheirOrder) {
    const PelkoSession session;
    const std::vector<const void*> fields = {
        &session.isTop,      &session.pageIndex,         &session.priority,
        &session.lastMsgId,  &session.requestingHistory, &session.autoRequestHistory,
        &session.needUpdate, &session.lastMsg,           &session.target,
        &session.memberList, &session.curPageMemberList};
    EXPECT_TRUE(std::is_sorted(fields.begin(), fields.end(), std::less<>()));
}

TEST(PelkoSessionTest, CopiesEveryField) {
    std::list<PelkoSession> sessions;
    {
        PelkoSession session;
        session.isTop = true;
        session.pageIndex = 4;
        session.priority = -2;
        session.lastMsgId = 1LL << 40;
        session.requestingHistory = true;
        session.autoRequestHistory = true;
        session.needUpdate = true;
        session.lastMsg.text = "see you";
        session.target = PelkoChatTarget(5001, PelkoChatTargetTypeRoom);
        session.memberList = {PelkoUser("alice"), PelkoUser("bob")};
        session.curPageMemberList = {PelkoUser("carol")};
        sessions.push_back(session);
    }

    const PelkoSession& copy = sessions.front();
    EXPECT_TRUE(copy.isTop);
    EXPECT_EQ(copy.pageIndex, 4U);
    EXPECT_EQ(copy.priority, -2);
    EXPECT_EQ(copy.lastMsgId, 1LL << 40);
    EXPECT_TRUE(copy.requestingHistory);
    EXPECT_TRUE(copy.autoRequestHistory);
    EXPECT_TRUE(copy.needUpdate);
    EXPECT_EQ(copy.lastMsg.text, "see you");
    EXPECT_TRUE(copy.target == PelkoChatTarget(5001, PelkoChatTargetTypeRoom));
    ASSERT_EQ(copy.memberList.size(), 2U);
    EXPECT_TRUE(copy.memberList.back() == PelkoUser("bob"));
    ASSERT_EQ(copy.curPageMemberList.size(), 1U);
    EXPECT_TRUE(copy.curPageMemberList.front() == PelkoUser("carol"));
}

}  // namespace

}  // namespace pelkoapi
