#include "PelkoMessage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "classes/platform/LoginContext.h"

namespace pelkoapi {

namespace {

static_assert(sizeof(PelkoMessageType) == 4 && sizeof(PelkoMessageStatus) == 4 &&
              sizeof(PelkoMessageSource) == 4);
static_assert(std::is_same_v<decltype(PelkoMessage::id), long long>);
static_assert(std::is_same_v<decltype(PelkoMessage::date), unsigned int>);
static_assert(std::is_same_v<decltype(PelkoMessage::dbID), long long>);
static_assert(std::is_same_v<decltype(PelkoMessage::media), PelkoMedia>);
static_assert(std::is_same_v<decltype(PelkoMessage::extra), PelkoMedia>);
static_assert(std::is_same_v<decltype(PelkoMessage::sender), PelkoChatTarget>);
static_assert(std::is_copy_constructible_v<PelkoMessage> && std::is_copy_assignable_v<PelkoMessage>);

class PelkoMessageTest : public testing::Test {
protected:
    void SetUp() override { LoginContext::getInstance()->setUserName("me"); }

    /// What every new message has in common, whatever its kind.
    static void expectNew(const PelkoMessage& message, PelkoMessageType type, const PelkoChatTarget& sender,
                          const PelkoChatTarget& receiver) {
        EXPECT_EQ(message.id, 0);
        EXPECT_EQ(message.date, 0U);
        EXPECT_EQ(message.dbID, 0);
        EXPECT_EQ(message.extraText, "");
        EXPECT_EQ(message.type, type);
        EXPECT_EQ(message.status, PelkoMessageStatusCreated);
        EXPECT_TRUE(message.sender == sender);
        EXPECT_TRUE(message.receiver == receiver);
        EXPECT_FALSE(message.hasExtraData());
    }

    static void expectMedia(const PelkoMedia& media, PelkoMediaType type, const std::string& path,
                            const std::string& pathEx, unsigned int duration) {
        EXPECT_EQ(media.tag, 0);
        EXPECT_EQ(media.type, type);
        EXPECT_EQ(media.status, PelkoMediaStatusCreated);
        EXPECT_EQ(media.url, "");
        EXPECT_EQ(media.path, path);
        EXPECT_EQ(media.pathEx, pathEx);
        EXPECT_EQ(media.duration, duration);
    }

    static void expectNoMedia(const PelkoMessage& message) {
        expectMedia(message.media, static_cast<PelkoMediaType>(0), "", "", 0);
        EXPECT_FALSE(message.hasMedia());
    }

    const PelkoChatTarget me = PelkoChatTarget("me");
    const PelkoChatTarget alice = PelkoChatTarget("alice");
    const PelkoChatTarget room = PelkoChatTarget(5001, PelkoChatTargetTypeRoom);
    const PelkoChatTarget group = PelkoChatTarget(77, PelkoChatTargetTypeGroup);
    const PelkoChatTarget service = PelkoChatTarget(9, PelkoChatTargetTypeCustomerService);
};

PelkoMessage messageOf(unsigned int date, long long id, long long dbID) {
    PelkoMessage message(id);
    message.date = date;
    message.dbID = dbID;
    return message;
}

TEST_F(PelkoMessageTest, KindsAndStatesHaveTheirStoredNumbers) {
    EXPECT_EQ(static_cast<int>(PelkoMessageTypeText), 0);
    EXPECT_EQ(static_cast<int>(PelkoMessageTypeImage), 1);
    EXPECT_EQ(static_cast<int>(PelkoMessageTypeAudio), 2);
    EXPECT_EQ(static_cast<int>(PelkoMessageTypeUserData), 3);
    EXPECT_EQ(static_cast<int>(PelkoMessageTypeJudgeService), 4);

    EXPECT_EQ(static_cast<int>(PelkoMessageStatusCreated), 0);
    EXPECT_EQ(static_cast<int>(PelkoMessageStatusUnread), 1);
    EXPECT_EQ(static_cast<int>(PelkoMessageStatusRead), 2);
    EXPECT_EQ(static_cast<int>(PelkoMessageStatusSending), 3);
    EXPECT_EQ(static_cast<int>(PelkoMessageStatusSent), 4);
    EXPECT_EQ(static_cast<int>(PelkoMessageStatusSendingFailed), 5);

    EXPECT_EQ(static_cast<int>(PelkoMessageSourceLocal), 0);
    EXPECT_EQ(static_cast<int>(PelkoMessageSourceNewArrived), 1);
    EXPECT_EQ(static_cast<int>(PelkoMessageSourceOffline), 2);
    EXPECT_EQ(static_cast<int>(PelkoMessageSourceHistory), 3);
}

TEST_F(PelkoMessageTest, DefaultIsAnEmptyTextWithoutParties) {
    const PelkoMessage message;
    expectNew(message, PelkoMessageTypeText, PelkoChatTarget(), PelkoChatTarget());
    EXPECT_EQ(message.text, "");
    expectNoMedia(message);
}

TEST_F(PelkoMessageTest, IdIsTheServicesId) {
    const PelkoMessage message(1LL << 40);
    EXPECT_EQ(message.id, 1LL << 40);
    EXPECT_EQ(message.dbID, 0);
    EXPECT_EQ(message.type, PelkoMessageTypeText);
}

TEST_F(PelkoMessageTest, PartiesAndKindAreTaken) {
    const PelkoMessage message(alice, service, PelkoMessageTypeJudgeService);
    expectNew(message, PelkoMessageTypeJudgeService, alice, service);
    EXPECT_EQ(message.text, "");
    expectNoMedia(message);
}

TEST_F(PelkoMessageTest, CreateMessageIsEmptyBetweenTheTwo) {
    const PelkoMessage message = PelkoMessage::createMessage(alice, room);
    expectNew(message, PelkoMessageTypeText, alice, room);
    EXPECT_EQ(message.text, "");
    expectNoMedia(message);
}

TEST_F(PelkoMessageTest, CreateTextMessage) {
    const PelkoMessage own = PelkoMessage::createTextMessage(room, "it's me");
    expectNew(own, PelkoMessageTypeText, me, room);
    EXPECT_EQ(own.text, "it's me");
    expectNoMedia(own);

    const PelkoMessage other = PelkoMessage::createTextMessage(alice, me, "hello");
    expectNew(other, PelkoMessageTypeText, alice, me);
    EXPECT_EQ(other.text, "hello");
    expectNoMedia(other);
}

TEST_F(PelkoMessageTest, CreateImageMessage) {
    const PelkoMessage own = PelkoMessage::createImageMessage(alice, "small.png", "large.png");
    expectNew(own, PelkoMessageTypeImage, me, alice);
    EXPECT_EQ(own.text, "");
    expectMedia(own.media, PelkoMediaTypeImage, "small.png", "large.png", 0);

    const PelkoMessage other = PelkoMessage::createImageMessage(alice, group, "small.png", "");
    expectNew(other, PelkoMessageTypeImage, alice, group);
    expectMedia(other.media, PelkoMediaTypeImage, "small.png", "", 0);
}

TEST_F(PelkoMessageTest, CreateAudioMessage) {
    const PelkoMessage own = PelkoMessage::createAudioMessage(alice, "clip.amr", 12);
    expectNew(own, PelkoMessageTypeAudio, me, alice);
    EXPECT_EQ(own.text, "");
    expectMedia(own.media, PelkoMediaTypeAudio, "clip.amr", "", 12);

    const PelkoMessage other = PelkoMessage::createAudioMessage(alice, group, "clip.amr", 0);
    expectNew(other, PelkoMessageTypeAudio, alice, group);
    expectMedia(other.media, PelkoMediaTypeAudio, "clip.amr", "", 0);
}

TEST_F(PelkoMessageTest, CreateUserDataMessage) {
    const PelkoMessage own = PelkoMessage::createUserDataMessage(alice, "card.bin");
    expectNew(own, PelkoMessageTypeUserData, me, alice);
    EXPECT_EQ(own.text, "");
    expectMedia(own.media, PelkoMediaTypeUserData, "card.bin", "", 0);

    const PelkoMessage other = PelkoMessage::createUserDataMessage(alice, group, "card.bin");
    expectNew(other, PelkoMessageTypeUserData, alice, group);
    expectMedia(other.media, PelkoMediaTypeUserData, "card.bin", "", 0);
}

TEST_F(PelkoMessageTest, SenderWithoutAnExplicitOneIsWhoIsLoggedInNow) {
    LoginContext::getInstance()->setUserName("someone else");
    EXPECT_EQ(PelkoMessage::createTextMessage(alice, "x").sender.name, "someone else");
    EXPECT_EQ(PelkoMessage::createImageMessage(alice, "x", "y").sender.name, "someone else");
    EXPECT_EQ(PelkoMessage::createAudioMessage(alice, "x", 1).sender.name, "someone else");
    EXPECT_EQ(PelkoMessage::createUserDataMessage(alice, "x").sender.name, "someone else");
}

TEST_F(PelkoMessageTest, ImageAudioAndUserDataHaveMedia) {
    PelkoMessage message;
    for (const PelkoMessageType type :
         {PelkoMessageTypeImage, PelkoMessageTypeAudio, PelkoMessageTypeUserData}) {
        message.type = type;
        EXPECT_TRUE(message.hasMedia()) << type;
    }
    for (const int type :
         {static_cast<int>(PelkoMessageTypeText), static_cast<int>(PelkoMessageTypeJudgeService), 5, -1}) {
        message.type = static_cast<PelkoMessageType>(type);
        EXPECT_FALSE(message.hasMedia()) << type;
    }
}

TEST_F(PelkoMessageTest, TheKindDecidesOnMediaNotTheAttachment) {
    PelkoMessage message;
    message.media = PelkoMedia(PelkoMediaTypeImage);
    EXPECT_FALSE(message.hasMedia());
}

TEST_F(PelkoMessageTest, ExtraDataIsAnAttachmentOfItsOwn) {
    PelkoMessage message = PelkoMessage::createImageMessage(alice, "small.png", "large.png");
    EXPECT_FALSE(message.hasExtraData());
    EXPECT_EQ(static_cast<int>(message.getExtraData().type), 0);

    message.putExtraData("more.bin");
    EXPECT_TRUE(message.hasExtraData());
    expectMedia(message.getExtraData(), PelkoMediaTypeExtraData, "more.bin", "", 0);
    expectMedia(message.media, PelkoMediaTypeImage, "small.png", "large.png", 0);
    EXPECT_EQ(message.extraText, "");

    message.extra.url = "http://x/more.bin";
    message.putExtraData("other.bin");
    expectMedia(message.getExtraData(), PelkoMediaTypeExtraData, "other.bin", "", 0);
}

TEST_F(PelkoMessageTest, TargetOfAConversationWithOneIsTheOther) {
    EXPECT_TRUE(PelkoMessage::createMessage(me, alice).getTarget() == alice);
    EXPECT_TRUE(PelkoMessage::createMessage(alice, me).getTarget() == alice);
    EXPECT_TRUE(PelkoMessage::createMessage(me, service).getTarget() == service);
    EXPECT_TRUE(PelkoMessage::createMessage(service, me).getTarget() == service);
    EXPECT_TRUE(PelkoMessage::createMessage(me, me).getTarget() == me);
}

TEST_F(PelkoMessageTest, TargetOfARoomOrGroupIsTheReceiverWhoeverSends) {
    for (const PelkoChatTarget& many : {room, group}) {
        EXPECT_TRUE(PelkoMessage::createMessage(alice, many).getTarget() == many);
        EXPECT_TRUE(PelkoMessage::createMessage(me, many).getTarget() == many);
    }
}

TEST_F(PelkoMessageTest, OnlyAUserOfThatNameIsTheLoggedInUser) {
    PelkoChatTarget namesake = service;
    namesake.name = "me";
    EXPECT_TRUE(PelkoMessage::createMessage(namesake, alice).getTarget() == service);
}

TEST_F(PelkoMessageTest, OrderIsByDateThenIdThenRow) {
    EXPECT_TRUE(messageOf(1, 9, 9) < messageOf(2, 1, 1));
    EXPECT_FALSE(messageOf(2, 1, 1) < messageOf(1, 9, 9));

    EXPECT_TRUE(messageOf(5, 1, 9) < messageOf(5, 2, 1));
    EXPECT_FALSE(messageOf(5, 2, 1) < messageOf(5, 1, 9));

    EXPECT_TRUE(messageOf(5, 1, 1) < messageOf(5, 1, 2));
    EXPECT_FALSE(messageOf(5, 1, 2) < messageOf(5, 1, 1));

    EXPECT_FALSE(messageOf(5, 1, 1) < messageOf(5, 1, 1));
    EXPECT_TRUE(messageOf(5, -1, 0) < messageOf(5, 0, 0));
    EXPECT_TRUE(messageOf(5, 1, 0) < messageOf(5, 1LL << 32, 0)) << "ids have 64 bits";
}

TEST_F(PelkoMessageTest, DatesCompareAsTheStoreKeepsThem) {
    // A stored date is a signed 32-bit number, so 2^31 and later stand before 1970.
    EXPECT_TRUE(messageOf(0x80000000U, 0, 0) < messageOf(0, 0, 0));
    EXPECT_TRUE(messageOf(0xFFFFFFFFU, 0, 0) < messageOf(0, 0, 0));
    EXPECT_TRUE(messageOf(0x80000000U, 0, 0) < messageOf(0xFFFFFFFFU, 0, 0));
    EXPECT_TRUE(messageOf(0, 0, 0) < messageOf(0x7FFFFFFFU, 0, 0));
}

TEST_F(PelkoMessageTest, SortsAPage) {
    std::deque<PelkoMessage> page = {messageOf(2, 4, 1), messageOf(1, 7, 2), messageOf(2, 3, 4),
                                     messageOf(2, 3, 3)};
    std::sort(page.begin(), page.end());
    EXPECT_THAT(page, testing::ElementsAre(
                          testing::Field(&PelkoMessage::dbID, 2), testing::Field(&PelkoMessage::dbID, 3),
                          testing::Field(&PelkoMessage::dbID, 4), testing::Field(&PelkoMessage::dbID, 1)));
}

TEST_F(PelkoMessageTest, EqualityIsTheSamePlaceInTheOrder) {
    PelkoMessage edited = messageOf(5, 1, 2);
    edited.text = "edited";
    edited.status = PelkoMessageStatusRead;
    EXPECT_TRUE(edited == messageOf(5, 1, 2));
    EXPECT_FALSE(edited == messageOf(6, 1, 2));
    EXPECT_FALSE(edited == messageOf(5, 2, 2));
    EXPECT_FALSE(edited == messageOf(5, 1, 3));
}

TEST_F(PelkoMessageTest, FieldsLieInTheirOrder) {
    const PelkoMessage message;
    const std::vector<const void*> fields = {
        &message.id,    &message.date, &message.dbID,   &message.text,   &message.extraText, &message.media,
        &message.extra, &message.type, &message.status, &message.sender, &message.receiver};
    EXPECT_TRUE(std::is_sorted(fields.begin(), fields.end(), std::less<>()));
}

TEST_F(PelkoMessageTest, CopiesEveryField) {
    PelkoMessage message = PelkoMessage::createImageMessage(alice, room, "small.png", "large.png");
    message.id = 1LL << 40;
    message.date = 1400000000U;
    message.dbID = 17;
    message.text = "look";
    message.extraText = "more";
    message.status = PelkoMessageStatusUnread;
    message.putExtraData("more.bin");

    PelkoMessage copy;
    copy = message;
    message = PelkoMessage();

    EXPECT_EQ(copy.id, 1LL << 40);
    EXPECT_EQ(copy.date, 1400000000U);
    EXPECT_EQ(copy.dbID, 17);
    EXPECT_EQ(copy.text, "look");
    EXPECT_EQ(copy.extraText, "more");
    expectMedia(copy.media, PelkoMediaTypeImage, "small.png", "large.png", 0);
    expectMedia(copy.extra, PelkoMediaTypeExtraData, "more.bin", "", 0);
    EXPECT_EQ(copy.type, PelkoMessageTypeImage);
    EXPECT_EQ(copy.status, PelkoMessageStatusUnread);
    EXPECT_TRUE(copy.sender == alice);
    EXPECT_TRUE(copy.receiver == room);
}

}  // namespace

}  // namespace pelkoapi
