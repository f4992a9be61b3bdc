#include "tools/pelko/MessageView.h"

#include <gtest/gtest.h>

#include "tools/pelko/Json.h"

using namespace pelkotool;
using pelkoapi::PelkoChatTarget;
using pelkoapi::PelkoMessage;

namespace {

PelkoMessage messageOf(const std::string& text) {
    return PelkoMessage::createTextMessage(PelkoChatTarget("wren"), {5, pelkoapi::PelkoChatTargetTypeRoom},
                                           text);
}

TEST(BodyText, IsTheTextOfAMessage) {
    EXPECT_EQ(bodyText(messageOf("hello")), "hello");
    EXPECT_EQ(bodyText(messageOf("")), "");
    EXPECT_EQ(bodyText(messageOf("/mean")), "/mean");
    EXPECT_EQ(bodyText(messageOf(" /me")), " /me");
}

TEST(BodyText, TellsAnAction) {
    EXPECT_EQ(bodyText(messageOf("/me waves")), "* wren waves");
    EXPECT_EQ(bodyText(messageOf("/me  waves ")), "* wren  waves ");
    EXPECT_EQ(bodyText(messageOf("/me")), "* wren");
}

TEST(BodyText, NamesAnAttachment) {
    PelkoMessage image = PelkoMessage::createImageMessage("a", "b", "/data/x.png", "");
    EXPECT_EQ(bodyText(image), "[image] /data/x.png");
    image.media.path.clear();
    image.media.url = "https://example.org/x.png";
    EXPECT_EQ(bodyText(image), "[image] https://example.org/x.png");
    EXPECT_EQ(bodyText(PelkoMessage::createAudioMessage("a", "b", "y.ogg", 3)), "[audio] y.ogg");
    EXPECT_EQ(bodyText(PelkoMessage::createUserDataMessage("a", "b", "z")), "[data] z");
}

TEST(SenderText, IsTheNameOrTheTarget) {
    EXPECT_EQ(senderText(messageOf("")), "wren");
    PelkoMessage message;
    message.sender = {9, pelkoapi::PelkoChatTargetTypeCustomerService};
    EXPECT_EQ(senderText(message), "service:9");
}

TEST(StatusText, HasAWordForEveryState) {
    PelkoMessage message;
    const char* const words[] = {"created", "unread", "read", "sending", "sent", "failed", "6"};
    for (int i = 0; i < 7; ++i) {
        message.status = static_cast<pelkoapi::PelkoMessageStatus>(i);
        EXPECT_EQ(statusText(message), words[i]);
    }
}

TEST(MessageJson, HoldsEveryStoredField) {
    PelkoMessage message = PelkoMessage::createImageMessage("ann", {77, pelkoapi::PelkoChatTargetTypeGroup},
                                                            "/data/x.png", "/data/y.png");
    message.id = 9'007'199'254'740'993;  // more than a double holds
    message.dbID = 12;
    message.date = 1'527'628'800;
    message.text = "look";
    message.extraText = "more";
    message.status = pelkoapi::PelkoMessageStatusSendingFailed;
    message.media.status = pelkoapi::PelkoMediaStatusDownloaded;
    message.media.url = "https://example.org/x.png";
    message.media.duration = 4;
    EXPECT_EQ(messageJson(message), Json::parse(R"({
        "db_id": 12, "msg_id": 9007199254740993, "date": "2018-05-29T21:20:00Z", "type": "image",
        "status": "sending_failed", "sender": "user:ann", "receiver": "group:77", "text": "look",
        "extra_text": "more",
        "media": {"type": "image", "status": "downloaded", "url": "https://example.org/x.png",
                  "path": "/data/x.png", "path_ex": "/data/y.png", "duration": 4}})"));
}

TEST(MessageJson, KeepsNumbersThatHaveNoWord) {
    PelkoMessage message;
    message.type = static_cast<pelkoapi::PelkoMessageType>(8);
    message.status = static_cast<pelkoapi::PelkoMessageStatus>(-1);
    const Json json = messageJson(message);
    EXPECT_EQ(json["type"], 8);
    EXPECT_EQ(json["status"], -1);
    EXPECT_EQ(json["sender"], nullptr);
    EXPECT_EQ(json["media"], nullptr);
}

}  // namespace
