#include "tests/tools/pelko/export/HtmlTest.h"

namespace pelkotest {

using testing::HasSubstr;
using testing::Not;

class HtmlIndexTest : public HtmlTest {
protected:
    std::string index() const { return page("index.html"); }
};

TEST_F(HtmlIndexTest, AnEmptyStoreHasAnIndexThatSaysSo) {
    write();
    EXPECT_THAT(index(), HasSubstr("There are no conversations in this export."));
    EXPECT_THAT(index(), HasSubstr("0 messages in 0 conversations"));
    for (const char* const file : {"script.js", "style.css", "colours.css"}) {
        EXPECT_EQ(page(file), contentOf(fs::path(PELKO_SOURCE_DIR) / "tools/pelko/web" / file)) << file;
    }
}

TEST_F(HtmlIndexTest, AnAccountThatNobodyKnowsIsToldToBeUnknown) {
    const pelkotool::Database file = pelkotool::Database::openToRead(database());
    pelkotool::HtmlExport what;
    what.folder = out();
    fs::create_directories(what.folder);
    pelkotool::writeHtml(file, what);
    EXPECT_THAT(index(), HasSubstr("<title>Conversations of (unknown)</title>"));
    EXPECT_THAT(index(), HasSubstr("<bdi>(unknown)</bdi></h1>"));
}

TEST_F(HtmlIndexTest, ConversationsStandInTheOrderOfTheStoreWithPinnedOnesFirst) {
    addMessage({{"sender_id", "old"}, {"date", "1000"}});
    addMessage({{"sender_id", "new"}, {"date", "2000"}});
    add("tbl_session", {{"target_type", "0"},
                        {"target_id", "old"},
                        {"last_msg_id", "1"},
                        {"is_top", "1"},
                        {"priority", "3"}});
    write();
    EXPECT_LT(index().find("user-old/1.html"), index().find("user-new/1.html"));
    EXPECT_EQ(countOf("<span class=\"pinned\">pinned</span>", index()), 1U);
}

TEST_F(HtmlIndexTest, EachConversationIsTold) {
    add("tbl_user", {{"username", "alice"}, {"nickname", "Alice Springer"}});
    addMessage({{"status", "1"}, {"date", "1709270000"}});
    addMessage({{"status", "1"}, {"text", "hello\n\tthere\x1B"}, {"date", "1709280000"}});
    write();
    EXPECT_THAT(index(), HasSubstr("<a href=\"chats/user-alice/1.html\">"));
    EXPECT_THAT(index(), HasSubstr("<span class=\"name\"><bdi>Alice Springer</bdi></span>"));
    EXPECT_THAT(index(), HasSubstr("<span class=\"badge\">2<span class=\"unseen\"> unread</span></span>"));
    EXPECT_THAT(index(), HasSubstr("<bdi>Alice Springer</bdi>: <bdi>hello  there\\x1B</bdi>"));
    EXPECT_THAT(index(), HasSubstr("datetime=\"2024-03-01\""));
    EXPECT_THAT(index(), HasSubstr("<bdi>user:alice</bdi> · 2 messages"));
}

TEST_F(HtmlIndexTest, TheLastMessageIsTheLastOneExported) {
    addMessage({{"text", "inside"}, {"date", "1000"}});
    addMessage({{"text", "outside"}, {"date", "2000"}, {"status", "1"}});
    pelkotool::HtmlExport what;
    what.range.before = 1500;
    write(what);
    EXPECT_THAT(index(), HasSubstr("<bdi>inside</bdi>"));
    EXPECT_THAT(index(), Not(HasSubstr("outside</bdi>")));
    EXPECT_THAT(index(), HasSubstr("The numbers of unread messages count those outside that range, too."));
    EXPECT_THAT(index(), HasSubstr("1 message in 1 conversation, from 1970-01-01 00:16 to 1970-01-01 00:16"));
}

TEST_F(HtmlIndexTest, OwnLastMessagesAndAttachmentsAreNamed) {
    addMessage(
        {{"sender_id", "me"}, {"receiver_id", "alice"}, {"type", "1"}, {"media_path", "users/me/photo.jpg"}});
    write();
    EXPECT_THAT(index(), HasSubstr("<bdi>You</bdi>: <bdi>[image] photo.jpg</bdi>"));
}

TEST_F(HtmlIndexTest, LongLastMessagesAreCut) {
    addMessage({{"text", std::string(100000, 'x')}});
    write();
    EXPECT_LT(index().size(), 10000U);
    EXPECT_THAT(index(), HasSubstr("xxx…</bdi>"));
}

TEST_F(HtmlIndexTest, TheHeaderTellsWhatWasAskedFor) {
    addMessage({});
    pelkotool::HtmlExport what;
    what.onlySome = true;
    write(what);
    EXPECT_THAT(index(), HasSubstr("chosen conversations, all dates"));
    EXPECT_THAT(index(), HasSubstr("1 message in 1 conversation, from 2024-03-01 08:00 to 2024-03-01 08:00"));
    EXPECT_THAT(index(), HasSubstr("all times in the time zone UTC"));
    EXPECT_THAT(index(), Not(HasSubstr("count those outside")));
}

}  // namespace pelkotest
