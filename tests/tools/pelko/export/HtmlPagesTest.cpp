#include <algorithm>
#include <stdexcept>

#include "tests/tools/pelko/export/HtmlTest.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/file/Database.h"

namespace pelkotest {

using testing::HasSubstr;
using testing::Not;

namespace {

pelkotool::HtmlExport pagesOf(std::size_t messages) {
    pelkotool::HtmlExport what;
    what.messagesPerPage = messages;
    return what;
}

const std::string bubble = "<li id=\"m";

}  // namespace

class HtmlPagesTest : public HtmlTest {};

TEST_F(HtmlPagesTest, AConversationWithoutMessagesHasOnePageThatSaysSo) {
    add("tbl_session", {{"target_type", "1"}, {"target_id", "5001"}, {"last_msg_id", "0"}, {"is_top", "0"}});
    write();
    EXPECT_THAT(roomPage(), HasSubstr("There are no messages of this conversation in this export."));
    EXPECT_THAT(roomPage(), HasSubstr("0 messages in this export"));
    EXPECT_EQ(countOf(bubble, roomPage()), 0U);
    EXPECT_FALSE(fs::exists(out() / "chats/room-5001/2.html"));
}

TEST_F(HtmlPagesTest, OneMessageHasOnePageWithoutAPager) {
    addRoomMessages(1);
    write();
    EXPECT_EQ(countOf(bubble, roomPage()), 1U);
    EXPECT_THAT(roomPage(), HasSubstr("1 message in this export"));
    EXPECT_THAT(roomPage(), Not(HasSubstr("class=\"pager\"")));
}

TEST_F(HtmlPagesTest, AThousandMessagesFillOnePage) {
    addRoomMessages(1000);
    write();
    EXPECT_EQ(countOf(bubble, roomPage()), 1000U);
    EXPECT_FALSE(fs::exists(out() / "chats/room-5001/2.html"));
}

TEST_F(HtmlPagesTest, OneMoreBeginsAnotherPage) {
    addRoomMessages(1001);
    write();
    EXPECT_EQ(countOf(bubble, roomPage(1)), 1000U);
    EXPECT_EQ(countOf(bubble, roomPage(2)), 1U);
    EXPECT_FALSE(fs::exists(out() / "chats/room-5001/3.html"));
    EXPECT_THAT(roomPage(1), HasSubstr(">message 1<"));
    EXPECT_THAT(roomPage(1), HasSubstr("page 1 of 2"));
    EXPECT_THAT(roomPage(2), HasSubstr(">message 1001<"));
}

TEST_F(HtmlPagesTest, PagesCanHoldOneMessageEach) {
    addRoomMessages(7);
    write(pagesOf(1));
    for (int number = 1; number <= 7; ++number) {
        EXPECT_EQ(countOf(bubble, roomPage(number)), 1U);
        EXPECT_THAT(roomPage(number), HasSubstr(">message " + std::to_string(number) + "<"));
    }
    EXPECT_FALSE(fs::exists(out() / "chats/room-5001/8.html"));
}

TEST_F(HtmlPagesTest, ThePagerLeadsToNeighboursAndEnds) {
    addRoomMessages(7);
    write(pagesOf(1));
    const std::string middle = roomPage(4);
    EXPECT_EQ(countOf("<nav class=\"pager\"", middle), 2U);
    EXPECT_EQ(countOf("<a href=\"1.html\">First</a>", middle), 2U);
    EXPECT_EQ(countOf("<a href=\"3.html\" rel=\"prev\">Previous</a>", middle), 2U);
    EXPECT_EQ(countOf("<a href=\"5.html\" rel=\"next\">Next</a>", middle), 2U);
    EXPECT_EQ(countOf("<a href=\"7.html\">Last</a>", middle), 2U);
    EXPECT_THAT(middle, HasSubstr("<a href=\"2.html\">2 <span class=\"from\">from 2024-03-01</span></a>"));
    EXPECT_THAT(roomPage(1), Not(HasSubstr("Previous")));
    EXPECT_THAT(roomPage(7), Not(HasSubstr("Next")));
}

TEST_F(HtmlPagesTest, TheListOfAllPagesStaysShort) {
    addRoomMessages(450);
    write(pagesOf(1));
    const std::string page = roomPage(200);
    EXPECT_LE(countOf("<li>", page), 170U);
    EXPECT_THAT(page, HasSubstr("<summary>450 pages, in steps of 3</summary>"));
    EXPECT_THAT(page, HasSubstr("<a href=\"1.html\">1 "));
    EXPECT_THAT(page, HasSubstr("<a href=\"448.html\">448 "));
    EXPECT_THAT(page, HasSubstr("<a href=\"450.html\">450 "));
}

TEST_F(HtmlPagesTest, AListOfFewPagesIsWhole) {
    addRoomMessages(200);
    write(pagesOf(1));
    EXPECT_THAT(roomPage(7), HasSubstr("<summary>All 200 pages</summary>"));
    EXPECT_EQ(countOf("<details>", roomPage(7)), 1U);
    for (const char* const number : {"2", "100", "199"}) {
        EXPECT_THAT(roomPage(7), HasSubstr(std::string("<li><a href=\"") + number + ".html\">"));
    }
}

TEST_F(HtmlPagesTest, OwnMessagesAndThoseOfOthersAreTold) {
    addMessage({{"db_id", "1"}, {"text", "from alice"}});
    addMessage({{"db_id", "2"},
                {"text", "to alice"},
                {"sender_id", "me"},
                {"receiver_id", "alice"},
                {"status", "4"}});
    write();
    EXPECT_THAT(alicePage(), HasSubstr("<li id=\"m1\" class=\"message\">"));
    EXPECT_THAT(alicePage(), HasSubstr("<li id=\"m2\" class=\"message own\">"));
}

TEST_F(HtmlPagesTest, EachDayHasASeparator) {
    addMessage({{"date", "1709280000"}});  // 2024-03-01 08:00
    addMessage({{"date", "1709337599"}});  // 2024-03-01 23:59:59
    addMessage({{"date", "1709337600"}});
    addMessage({{"date", "-2"}});  // as the store keeps dates behind 2038
    write();
    const std::string page = alicePage();
    EXPECT_EQ(countOf("<h2 class=\"day\">", page), 3U);
    EXPECT_THAT(page, HasSubstr("<time datetime=\"2024-03-01\">Friday, 1 March 2024</time>"));
    EXPECT_THAT(page, HasSubstr("<time datetime=\"2024-03-02\">Saturday, 2 March 2024</time>"));
    EXPECT_THAT(page, HasSubstr("<time datetime=\"2106-02-07\">Sunday, 7 February 2106</time>"));
    EXPECT_THAT(page, HasSubstr("<span class=\"days\">2024-03-01 to 2106-02-07</span>"));
    EXPECT_THAT(page, HasSubstr("<time datetime=\"2024-03-01T23:59\">23:59</time>"));
}

TEST_F(HtmlPagesTest, RoomsNameTheirMembersByNicknames) {
    add("tbl_room", {{"room_id", "5001"}, {"name", "Garden"}, {"info", "All about\ngardens"}});
    add("tbl_user", {{"username", "bob"}, {"nickname", "Bobby"}});
    addRoomMessages(1);
    addMessage(
        {{"receiver_type", "1"}, {"receiver_id", "5001"}, {"sender_id", "carol"}, {"date", "1709290000"}});
    write();
    const std::string page = roomPage();
    EXPECT_THAT(page, HasSubstr("<bdi>Bobby</bdi> <bdi class=\"account\">bob</bdi>"));
    EXPECT_THAT(page, HasSubstr("<bdi>carol</bdi></p>"));
    EXPECT_THAT(page, HasSubstr("<h1><bdi>Garden</bdi></h1>"));
    EXPECT_THAT(page, HasSubstr("dir=\"auto\">All about\ngardens</p>"));
    EXPECT_THAT(page, HasSubstr("room:5001"));
}

TEST_F(HtmlPagesTest, TheSameSenderIsNamedOnceInARow) {
    addRoomMessages(3);
    write();
    EXPECT_EQ(countOf("<bdi>bob</bdi>", roomPage()), 3U);
    EXPECT_EQ(countOf(" unseen\"><bdi>bob</bdi>", roomPage()), 2U);
}

TEST_F(HtmlPagesTest, StatesOfOwnMessagesAreWords) {
    const std::vector<std::pair<std::string, std::string>> states = {
        {"0", "<span class=\"state\">created</span>"},
        {"3", "<span class=\"state\">sending</span>"},
        {"4", "<span class=\"state\">sent</span>"},
        {"5", "<span class=\"failed\">failed</span>"},
        {"17", "<span class=\"state\">status 17</span>"}};
    for (const auto& state : states) {
        addMessage({{"sender_id", "me"}, {"receiver_id", "alice"}, {"status", state.first}});
    }
    write();
    for (const auto& state : states) {
        EXPECT_EQ(countOf(state.second, alicePage()), 1U) << state.second;
    }
}

TEST_F(HtmlPagesTest, UnreadMessagesAreMarked) {
    addMessage({{"status", "1"}});
    addMessage({{"status", "2"}});
    write();
    EXPECT_EQ(countOf("<span class=\"unread\">unread</span>", alicePage()), 1U);
}

TEST_F(HtmlPagesTest, ActionsAreShownAsWhatSomebodyDoes) {
    addMessage({{"text", "/me waves"}});
    addMessage({{"text", "/me"}});
    addMessage({{"text", "/mean"}});
    write();
    EXPECT_THAT(alicePage(), HasSubstr("<p class=\"text action\" dir=\"auto\">* alice waves</p>"));
    EXPECT_THAT(alicePage(), HasSubstr("<p class=\"text action\" dir=\"auto\">* alice</p>"));
    EXPECT_THAT(alicePage(), HasSubstr("<p class=\"text plain\" dir=\"auto\">/mean</p>"));
}

TEST_F(HtmlPagesTest, ExtraTextsAndUnknownKindsAreShown) {
    addMessage({{"type", "9"}, {"text", "hello"}, {"extra_path", "more"}});
    addMessage({{"type", "4"}, {"text", "five stars"}});
    write();
    EXPECT_THAT(alicePage(), HasSubstr("message of the unknown kind 9"));
    EXPECT_THAT(alicePage(), HasSubstr("rating of a customer service"));
    EXPECT_THAT(alicePage(), HasSubstr("<p class=\"text extra\" dir=\"auto\">more</p>"));
}

TEST_F(HtmlPagesTest, ConversationsOfUnknownKindAreShown) {
    addMessage({{"sender_type", "9"}, {"sender_id", "17"}, {"text", "from elsewhere"}});
    write();
    const std::string page = this->page("chats/kind-9-17/1.html");
    EXPECT_THAT(page, HasSubstr("from elsewhere"));
    EXPECT_THAT(page, HasSubstr("(unknown kind)"));
}

TEST_F(HtmlPagesTest, TheRangeIsTold) {
    addMessage({});
    pelkotool::HtmlExport what;
    what.range.since = 1709251200;  // 2024-03-01 00:00
    write(what);
    EXPECT_THAT(alicePage(), HasSubstr("Asked for: since 2024-03-01 00:00"));
    EXPECT_THAT(page("index.html"), HasSubstr("all conversations, since 2024-03-01 00:00"));
}

TEST_F(HtmlPagesTest, ProgressIsToldAfterEachMessageAndCanStop) {
    addRoomMessages(10);
    std::vector<std::size_t> told;
    pelkotool::HtmlExport what;
    what.progress = [&](std::size_t done) {
        told.push_back(done);
        if (done == 4) {
            throw std::runtime_error("stop");
        }
    };
    EXPECT_THROW(write(what), std::runtime_error);
    EXPECT_THAT(told, testing::ElementsAre(1, 2, 3, 4));
}

TEST_F(HtmlPagesTest, AFolderThatCannotBeWrittenIsNamed) {
    addRoomMessages(1);
    fs::create_directories(out() / "chats/room-5001/1.html");
    try {
        write();
        FAIL() << "no failure";
    } catch (const pelkotool::ToolError& error) {
        EXPECT_THAT(error.what(), HasSubstr("cannot write " + (out() / "chats/room-5001/1.html").string()));
    }
}

TEST_F(HtmlPagesTest, AFileInTheWayOfAFolderIsNamed) {
    addRoomMessages(1);
    writeFile(out() / "chats", "");
    try {
        write();
        FAIL() << "no failure";
    } catch (const pelkotool::ToolError& error) {
        EXPECT_THAT(error.what(), HasSubstr((out() / "chats").string()));
    }
}

TEST_F(HtmlPagesTest, AMessageThatIsGoneMeanwhileIsNamed) {
    addRoomMessages(1);
    const pelkotool::Database file = pelkotool::Database::openToRead(database());
    pelkotool::HtmlExport what;
    what.folder = out();
    what.me = "me";
    what.conversations = pelkotool::conversationsIn(file, "me");
    what.conversations.front().rows.push_back(999);
    try {
        pelkotool::writeHtml(file, what);
        FAIL() << "no failure";
    } catch (const pelkotool::ToolError& error) {
        EXPECT_THAT(error.what(), HasSubstr("row 999 is not there any more"));
    }
}

}  // namespace pelkotest
