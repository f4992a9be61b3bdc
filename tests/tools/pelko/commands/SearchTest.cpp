#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

class Search : public ToolTest {
protected:
    /// Texts of the hits, in their order.
    std::vector<std::string> found(Arguments arguments) const {
        arguments.insert(arguments.begin(), "search");
        arguments.emplace_back("--json");
        std::vector<std::string> texts;
        const nlohmann::json answer = runWell(arguments).json();
        for (const auto& hit : answer.at("hits")) {
            texts.push_back(hit.at("message").at("text"));
        }
        return texts;
    }

    static std::vector<std::string> textsOf(const nlohmann::json& messages) {
        std::vector<std::string> texts;
        for (const auto& message : messages) {
            texts.push_back(message.at("text"));
        }
        return texts;
    }

    void store(const std::string& row) const {
        if (!fs::exists(database())) {
            runWell({"send", "user:zoe", "made"});
        }
        execute(
            "INSERT INTO tbl_msg (date, text, receiver_type, receiver_id, sender_type, sender_id, status, "
            "type, media_type, media_path, ex_media_path, media_url, media_status, duration, msg_id, "
            "extra_path) VALUES (" +
            row + ")");
    }
    /// A message of the room 5.
    void storeInRoom(const std::string& date, const std::string& sender, const std::string& text) const {
        store(date + ", '" + text + "', 1, '5', 0, '" + sender + "', 1, 0, 0, '', '', '', 0, 0, 0, ''");
    }
};

TEST_F(Search, FindsTheNewestFirst) {
    runWell({"replay", sampleLog().string()});
    const ToolRun run = runWell({"search", "bravo"});
    EXPECT_THAT(run.out,
                AllOf(HasSubstr("room:1513769, row 25\n"), HasSubstr("  > 2024-03-02 07:31  ines  bravo\n"),
                      HasSubstr("1 message found.\n")));
    storeInRoom("1000", "ann", "bravo old");
    storeInRoom("4000000000 - 4294967296", "ann", "bravo of 2096, as the store keeps it");
    EXPECT_THAT(found({"bravo", "--in", "room:5"}),
                ElementsAre("bravo old", "bravo of 2096, as the store keeps it"))
        << "in the order of the conversation, which takes dates as signed numbers";
}

TEST_F(Search, ShowsTheHitInItsContext) {
    runWell({"send", "user:bob", "other"});
    for (const char* const text : {"one", "two", "three", "four", "five"}) {
        storeInRoom("1000", "ann", text);
    }
    const auto hit = runWell({"search", "three", "--json"}).json().at("hits").at(0);
    EXPECT_EQ(hit.at("conversation"), "room:5");
    EXPECT_EQ(hit.at("message").at("sender"), "user:ann");
    EXPECT_THAT(textsOf(hit.at("before")), ElementsAre("two"));
    EXPECT_THAT(textsOf(hit.at("after")), ElementsAre("four"));
    const auto wide = runWell({"search", "two", "--context", "3", "--json"}).json().at("hits").at(0);
    EXPECT_THAT(textsOf(wide.at("before")), ElementsAre("one"));
    EXPECT_THAT(textsOf(wide.at("after")), ElementsAre("three", "four", "five"));
    const auto narrow = runWell({"search", "two", "--context", "0", "--json"}).json().at("hits").at(0);
    EXPECT_THAT(textsOf(narrow.at("before")), IsEmpty());
    EXPECT_THAT(textsOf(narrow.at("after")), IsEmpty());
}

TEST_F(Search, ContextIsOfTheSameConversation) {
    runWell({"receive", "user:bob", "from bob"});
    runWell({"receive", "user:eve", "from eve"});
    runWell({"send", "user:bob", "to bob"});
    const auto hit = runWell({"search", "to bob", "--json"}).json().at("hits").at(0);
    EXPECT_EQ(hit.at("conversation"), "user:bob");
    EXPECT_THAT(textsOf(hit.at("before")), ElementsAre("from bob"));
    EXPECT_THAT(textsOf(hit.at("after")), IsEmpty());
}

TEST_F(Search, TakesSmallAndCapitalLettersAlikeAndEveryCharacterAsItself) {
    storeInRoom("1", "ann", "Fifty%");
    storeInRoom("2", "ann", "fifty_");
    storeInRoom("3", "ann", "fifty\\");
    storeInRoom("4", "ann", "it''s fifty");
    EXPECT_THAT(found({"FIFTY%"}), ElementsAre("Fifty%"));
    EXPECT_THAT(found({"y_"}), ElementsAre("fifty_"));
    EXPECT_THAT(found({"fifty\\"}), ElementsAre("fifty\\"));
    EXPECT_THAT(found({"it's"}), ElementsAre("it's fifty"));
}

TEST_F(Search, FindsExtraTexts) {
    store("1, 'text', 1, '5', 0, 'ann', 1, 0, 0, '', '', '', 0, 0, 0, 'beside it'");
    EXPECT_THAT(found({"beside"}), ElementsAre("text"));
    EXPECT_THAT(runWell({"search", "beside"}).out, HasSubstr("text [beside it]"));
}

TEST_F(Search, KeepsToAConversation) {
    runWell({"send", "user:bob", "hello bob"});
    runWell({"receive", "user:eve", "hello me"});
    storeInRoom("1", "bob", "hello room");
    EXPECT_THAT(found({"hello", "--in", "user:bob"}), ElementsAre("hello bob"));
    EXPECT_THAT(found({"hello", "--in", "user:eve"}), ElementsAre("hello me"));
    EXPECT_THAT(found({"hello", "--in", "room:5"}), ElementsAre("hello room"));
    EXPECT_THAT(found({"nothing", "--in", "room:5"}), IsEmpty());
    expectRefused(run({"search", "hello", "--in", "room:6"}), 1, HasSubstr("--in room:6: there is no such"));
    expectRefused(run({"search", "hello", "--in", "bob"}), 2, HasSubstr("'bob' is no target"));
}

TEST_F(Search, KeepsToASender) {
    storeInRoom("1", "ann", "hello one");
    storeInRoom("2", "bob", "hello two");
    EXPECT_THAT(found({"hello", "--from", "ann"}), ElementsAre("hello one"));
    EXPECT_THAT(found({"two", "--from", "ann"}), IsEmpty());
    expectRefused(run({"search", "hello", "--from", "an"}), 1, HasSubstr("--from an: there is no message"));
}

TEST_F(Search, KeepsToDates) {
    storeInRoom("1709251199", "ann", "hello 29 February, the last second");
    storeInRoom("1709251200", "ann", "hello 1 March, the first second");
    storeInRoom("1709337599", "ann", "hello 1 March, the last second");
    storeInRoom("1709337600", "ann", "hello 2 March");
    EXPECT_THAT(found({"hello", "--since", "2024-03-01", "--until", "2024-03-01"}),
                ElementsAre("hello 1 March, the last second", "hello 1 March, the first second"));
    EXPECT_THAT(found({"hello", "--since", "2024-03-02"}), ElementsAre("hello 2 March"));
    EXPECT_THAT(found({"hello", "--until", "2024-02-29 23:59"}),
                ElementsAre("hello 29 February, the last second"));
    expectRefused(run({"search", "hello", "--since", "yesterday"}), 2,
                  HasSubstr("--since 'yesterday' is no date"));
    expectRefused(run({"search", "hello", "--since", "2024-03-02", "--until", "2024-03-01"}), 2,
                  HasSubstr("nothing lies between"));
}

TEST_F(Search, ShowsAsManyAsAsked) {
    for (int i = 0; i < 25; ++i) {
        storeInRoom(std::to_string(i), "ann", "hello " + std::to_string(i));
    }
    EXPECT_EQ(found({"hello"}).size(), 20U);
    EXPECT_THAT(found({"hello", "-n", "2"}), ElementsAre("hello 24", "hello 23"));
    EXPECT_EQ(runWell({"search", "hello", "-n", "2", "--json"}).json().at("found"), 25);
    EXPECT_THAT(runWell({"search", "hello", "-n", "2"}).out,
                HasSubstr("25 messages found, the newest 2 shown; -n shows more.\n"));
    for (const char* const wrong : {"0", "-1", "x", "1000001"}) {
        expectRefused(run({"search", "hello", "-n", wrong}), 2, HasSubstr("-n"));
    }
    expectRefused(run({"search", "hello", "--context", "1001"}), 2, HasSubstr("--context"));
}

TEST_F(Search, ShowsThePartOfALongTextThatHoldsTheHit) {
    storeInRoom("1", "ann", std::string(300, 'a') + " \xC3\xA9 Needle " + std::string(300, 'b'));
    const std::string out = runWell({"search", "needle"}).out;
    EXPECT_THAT(out, AllOf(HasSubstr("…a"), HasSubstr(" \xC3\xA9 Needle bbb"), HasSubstr("b…\n")));
    EXPECT_LT(out.size(), 200U);
}

TEST_F(Search, ShowsNothingThatSteersTheTerminal) {
    storeInRoom("1", "e\x1b[31mve", "hello\x1b]0;title\x07");
    const ToolRun run = runWell({"search", "hello"});
    EXPECT_THAT(run.out, AllOf(Not(HasSubstr("\x1b")), HasSubstr("hello\\x1B]0;title\\x07")));
}

TEST_F(Search, TellsWhenNothingIsFound) {
    runWell({"send", "user:bob", "hello"});
    EXPECT_EQ(runWell({"search", "goodbye"}).out, "0 messages found.\n");
    EXPECT_EQ(runWell({"search", "goodbye", "--json"}).json().at("hits"), nlohmann::json::array());
    expectRefused(run({"search", ""}), 2, HasSubstr("'' is in every message"));
}

TEST_F(Search, FindsWhatStandsBehindANulByte) {
    runWell({"send", "user:bob", "abc"});
    execute("UPDATE tbl_msg SET text = 'abc' || char(0) || 'Zebra'");
    EXPECT_THAT(runWell({"search", "zebra"}).out, HasSubstr("abc\\x00Zebra"));
}

TEST_F(Search, TakesTextsOfAnyLength) {
    const std::string text(60'000, 'x');
    storeInRoom("1", "ann", text + "y");
    EXPECT_THAT(found({text}), ElementsAre(text + "y"));
    EXPECT_THAT(found({text + "z"}), IsEmpty());
}

TEST_F(Search, ShowsNoContextOfMessagesBetweenOthers) {
    runWell({"receive", "user:alice", "to me"});
    execute(
        "INSERT INTO tbl_msg (date, text, sender_type, sender_id, receiver_type, receiver_id) VALUES "
        "(1, 'to bob', 0, 'alice', 0, 'bob')");
    const auto hit = runWell({"search", "to bob", "--json"}).json().at("hits").at(0);
    EXPECT_EQ(hit.at("conversation"), "between-others");
    EXPECT_THAT(textsOf(hit.at("before")), IsEmpty());
}

TEST_F(Search, NamesAColumnThatIsMissing) {
    runWell({"send", "user:bob", "abc"});
    execute("ALTER TABLE tbl_msg DROP COLUMN extra_path");
    expectRefused(
        run({"search", "abc"}), 1,
        AllOf(HasSubstr("has no column extra_path in a table tbl_msg"), HasSubstr("'pelko inspect'")));
    writeFile(folder() / "empty.dat", "");
    expectRefused(run({"search", "abc", "--file", (folder() / "empty.dat").string()}), 1,
                  HasSubstr("has no column msg_id in a table tbl_msg"));
}

TEST_F(Search, ReadsAFileAnywhereAsItsOwnersFile) {
    runWell({"--user", "ann", "send", "user:bob", "hello bob"});
    fs::create_directories(folder() / "mail");
    fs::copy_file(database("ann"), folder() / "mail/attached.dat");
    const std::string file = (folder() / "mail/attached.dat").string();
    EXPECT_EQ(
        runWell({"search", "hello", "--file", file, "--json"}).json().at("hits").at(0).at("conversation"),
        "user:bob");
    EXPECT_THAT(found({"hello", "--file", file, "--in", "user:bob"}), ElementsAre("hello bob"));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder() / "mail"), {}), 1) << "nothing is put beside it";
}

TEST_F(Search, RefusesWhatIsNoDatabase) {
    writeFile(folder() / "text.dat",
              "this is a text and no database, and long enough to be looked at as one");
    expectRefused(run({"search", "x", "--file", (folder() / "text.dat").string()}), 1,
                  AllOf(HasSubstr("text.dat: file is not a database"), HasSubstr("'pelko salvage OUT'")));
    expectRefused(run({"search", "x", "--file", folder().string()}), 1, HasSubstr("is not a file"));
    expectRefused(run({"search", "x", "--file", (folder() / "none.dat").string()}), 1,
                  AllOf(HasSubstr("there is no file"), HasSubstr("none.dat"), HasSubstr("--file")));
    expectRefused(run({"search", "x", "--file", ""}), 2, HasSubstr("--file '' is no file"));
    expectRefused(run({"search", "x"}), 1, HasSubstr("there is no file " + database().string()));
}

}  // namespace
