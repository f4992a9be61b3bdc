#include <algorithm>

#include "tests/tools/pelko/export/HtmlTest.h"

namespace pelkotest {

using testing::HasSubstr;
using testing::Not;

class HtmlSearchTest : public HtmlTest {
protected:
    std::string script(const std::string& name) const { return page("search/" + name + ".js"); }

    /// The list that the script hands over behind a number.
    static nlohmann::json listIn(const std::string& script, const std::string& start) {
        const std::string end = ");\n";
        EXPECT_EQ(script.substr(0, start.size()), start);
        EXPECT_EQ(script.substr(script.size() - end.size()), end);
        return nlohmann::json::parse(script.substr(start.size(), script.size() - start.size() - end.size()));
    }
};

TEST_F(HtmlSearchTest, ConversationsAndMessagesAreLists) {
    add("tbl_room", {{"room_id", "5001"}, {"name", "Garden"}});
    addRoomMessages(3);
    pelkotool::HtmlExport what;
    what.messagesPerPage = 2;
    write(what);
    EXPECT_EQ(listIn(script("list"), "pelkoSearchList(1, "),
              nlohmann::json::parse(R"([["Garden", "room:5001", "chats/room-5001"]])"));
    const nlohmann::json messages = listIn(script("1"), "pelkoSearch(1, ");
    ASSERT_EQ(messages.size(), 3U);
    const std::string row = value("SELECT db_id FROM tbl_msg WHERE text = 'message 3'");
    EXPECT_EQ(messages[2],
              nlohmann::json({0, 2, std::stoll(row), 1709280180, "2024-03-01 08:03", "bob", "message 3"}));
}

TEST_F(HtmlSearchTest, AnEmptyStoreHasEmptyLists) {
    write();
    EXPECT_EQ(listIn(script("list"), "pelkoSearchList(0, "), nlohmann::json::array());
    EXPECT_FALSE(fs::exists(out() / "search/1.js"));
}

TEST_F(HtmlSearchTest, EveryTextOfAMessageCanBeFound) {
    addMessage(
        {{"text", "words"}, {"extra_path", "extra words"}, {"type", "3"}, {"media_path", "a/list.pdf"}});
    addMessage({{"text", "/me waves"}, {"date", "1709280001"}});
    write();
    const nlohmann::json messages = listIn(script("1"), "pelkoSearch(1, ");
    EXPECT_EQ(messages[0][6], "words\n[file] list.pdf\nextra words");
    EXPECT_EQ(messages[1][6], "* alice waves");
}

TEST_F(HtmlSearchTest, NothingInTheDataEndsTheScript) {
    const std::string text = "</script><!--&\u2028\u2029\"]]);alert(1)//\\\n";
    add("tbl_user", {{"username", "alice"}, {"nickname", "</script>\u2028"}});
    addMessage({{"text", text}});
    write();
    const std::string data = script("1") + script("list");
    for (const char* const part : {"<", ">", "&", "\u2028", "\u2029"}) {
        EXPECT_THAT(data, Not(HasSubstr(part)));
    }
    const nlohmann::json messages = listIn(script("1"), "pelkoSearch(1, ");
    EXPECT_EQ(messages[0][6], text);
    EXPECT_EQ(messages[0][5], "</script>\\u2028");
    EXPECT_EQ(listIn(script("list"), "pelkoSearchList(1, ")[0][0], "</script>\\u2028");
}

TEST_F(HtmlSearchTest, BytesThatAreNoUtf8AreReplaced) {
    addMessage({{"text", "caf\xE9 \xC0\xBC"}});
    write();
    EXPECT_EQ(listIn(script("1"), "pelkoSearch(1, ")[0][6], "caf\uFFFD \uFFFD\uFFFD");
}

TEST_F(HtmlSearchTest, FilesAreOfHalfAMegabyte) {
    const std::string text(10000, 'x');
    for (int i = 0; i < 110; ++i) {
        addMessage({{"text", text}});
    }
    write();
    EXPECT_EQ(script("list").substr(0, 18), "pelkoSearchList(3,");
    std::size_t messages = 0;
    for (const std::string number : {"1", "2", "3"}) {
        EXPECT_LT(script(number).size(), 540000U);
        messages += listIn(script(number), "pelkoSearch(" + number + ", ").size();
    }
    EXPECT_EQ(messages, 110U);
}

}  // namespace pelkotest
