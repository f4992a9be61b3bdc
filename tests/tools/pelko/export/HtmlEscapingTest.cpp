#include <regex>

#include "tests/tools/pelko/export/HtmlTest.h"

namespace pelkotest {

using testing::HasSubstr;
using testing::Not;

namespace {

const std::string attack = "\"'><script>alert(1)</script>{{NAME}}&lt;\xFF";
const std::string escaped =
    "&quot;&#39;&gt;&lt;script&gt;alert(1)&lt;/script&gt;{{NAME}}&amp;lt;\xEF\xBF\xBD";

/// Everything that the pages show is an attack.
class HtmlEscapingTest : public HtmlTest {
protected:
    void SetUp() override {
        HtmlTest::SetUp();
        add("tbl_room", {{"room_id", "5001"}, {"name", attack + "room"}, {"info", attack + "info"}});
        add("tbl_group", {{"group_id", "77"}, {"name", attack + "group"}, {"info", attack + "ginfo"}});
        add("tbl_user",
            {{"username", attack + "user"}, {"nickname", attack + "nick"}, {"info", attack + "uinfo"}});
        addAll({{"receiver_type", "1"}, {"receiver_id", "5001"}, {"sender_id", attack + "user"}});
        addAll({{"receiver_type", "2"}, {"receiver_id", "77"}, {"sender_id", attack + "user"}});
        addAll({{"sender_id", attack + "user"}});
        pelkotool::HtmlExport what;
        what.me = "me";
        what.attachment = [](const std::string& stored) {
            return stored.find("have") != std::string::npos ? "media/" + attack + ".png" : std::string();
        };
        write(what);
    }

    std::string groupPage() const { return page("chats/group-77/1.html"); }
    std::string userPage() const {
        for (const fs::directory_entry& entry : fs::directory_iterator(out() / "chats")) {
            if (entry.path().filename().string().rfind("user-", 0) == 0) {
                return contentOf(entry.path() / "1.html");
            }
        }
        return {};
    }

private:
    void addAll(const Columns& parties) const {
        const auto addWith = [&](Columns columns) {
            columns.insert(parties.begin(), parties.end());
            addMessage(columns);
        };
        addWith({{"text", attack + "text"}, {"extra_path", attack + "extra"}});
        for (const char* const type : {"1", "2", "3"}) {
            addWith({{"type", type},
                     {"media_path", attack + "path"},
                     {"ex_media_path", attack + "expath"},
                     {"media_url", attack + "url"}});
            addWith({{"type", type}, {"media_path", attack + "have"}});
        }
        addWith({{"text", "http://a.example/" + attack}});
        addWith({{"text", "/me " + attack + "act"}});
    }
};

}  // namespace

TEST_F(HtmlEscapingTest, EveryFieldOfAMessageIsEscaped) {
    const std::string nameOfFile = escaped.substr(escaped.rfind('/') + 1) + "have";
    for (const std::string& page : {roomPage(), groupPage(), userPage()}) {
        for (const char* const field : {"text", "extra", "path", "expath", "url", "nick", "act"}) {
            EXPECT_THAT(page, HasSubstr(escaped + field)) << field;
        }
        EXPECT_THAT(page, HasSubstr("alt=\"" + nameOfFile + '"'));
        EXPECT_THAT(page, HasSubstr("aria-label=\"" + nameOfFile + '"'));
        EXPECT_THAT(page, HasSubstr(".png\"><bdi>" + nameOfFile + "</bdi></a>"));
    }
}

TEST_F(HtmlEscapingTest, NamesAndProfilesAreEscaped) {
    EXPECT_THAT(roomPage(), HasSubstr("<title>" + escaped + "room</title>"));
    EXPECT_THAT(roomPage(), HasSubstr("<h1><bdi>" + escaped + "room</bdi></h1>"));
    EXPECT_THAT(roomPage(), HasSubstr(escaped + "info</p>"));
    EXPECT_THAT(groupPage(), HasSubstr("<h1><bdi>" + escaped + "group</bdi></h1>"));
    EXPECT_THAT(groupPage(), HasSubstr(escaped + "ginfo</p>"));
    EXPECT_THAT(userPage(), HasSubstr("<h1><bdi>" + escaped + "nick</bdi></h1>"));
    EXPECT_THAT(userPage(), HasSubstr(escaped + "uinfo</p>"));
    EXPECT_THAT(userPage(), HasSubstr("user:" + escaped + "user"));
}

TEST_F(HtmlEscapingTest, TheIndexIsEscaped) {
    const std::string index = page("index.html");
    for (const char* const field : {"room", "group", "nick", "act"}) {
        EXPECT_THAT(index, HasSubstr(escaped + field)) << field;
    }
}

TEST_F(HtmlEscapingTest, PlacesOfFilesAreLinksWithoutMarks) {
    EXPECT_THAT(roomPage(), HasSubstr("src=\"../../media/%22%27%3E%3Cscript%3Ealert%281%29%3C/script%3E"
                                      "%7B%7BNAME%7D%7D%26lt%3B%FF.png\""));
}

TEST_F(HtmlEscapingTest, ALinkEndsBeforeTheAttack) {
    EXPECT_THAT(roomPage(), HasSubstr("href=\"http://a.example/\" rel=\"noreferrer noopener\" "
                                      "target=\"_blank\">http://a.example/</a>" +
                                      escaped));
}

TEST_F(HtmlEscapingTest, NoPageHoldsTheAttackItself) {
    for (const fs::path& file : pages()) {
        EXPECT_THAT(contentOf(file), Not(HasSubstr("<script>alert"))) << file;
    }
}

TEST_F(HtmlEscapingTest, EachPageForbidsAllScriptsButItsOwn) {
    ASSERT_EQ(pages().size(), 4U);
    for (const fs::path& file : pages()) {
        const std::string page = contentOf(file);
        EXPECT_THAT(page, HasSubstr("<meta http-equiv=\"Content-Security-Policy\" content=\"default-src "
                                    "'none'; script-src 'self'; style-src 'self'; img-src 'self'; media-src "
                                    "'self'; base-uri 'none'; form-action 'none'\">"));
        EXPECT_EQ(countOf("<script", page), 1U);
        EXPECT_TRUE(std::regex_search(
            page, std::regex("<script src=\"(\\.\\./\\.\\./)?script\\.js\" defer></script>")));
        EXPECT_EQ(countOf("<style", page), 0U);
        EXPECT_FALSE(std::regex_search(page, std::regex("<[a-z0-9]+ [^>]*\\b(on[a-z]+|style)=")));
    }
}

TEST_F(HtmlEscapingTest, PagesAreWholeUtf8) {
    for (const fs::path& file : pages()) {
        EXPECT_NO_THROW(static_cast<void>(nlohmann::json(contentOf(file)).dump())) << file;
    }
}

class HtmlAccountNameTest : public HtmlTest {};

TEST_F(HtmlAccountNameTest, TheAccountsOwnNameIsEscaped) {
    pelkotool::HtmlExport what;
    what.me = attack;
    write(what);
    EXPECT_THAT(page("index.html"), HasSubstr("<title>Conversations of " + escaped + "</title>"));
    EXPECT_THAT(page("index.html"), HasSubstr("<h1>Conversations of <bdi>" + escaped + "</bdi></h1>"));
    EXPECT_THAT(page("index.html"), HasSubstr("<dd><bdi>" + escaped + "</bdi></dd>"));
}

}  // namespace pelkotest
