#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class Deletion : public ToolTest {
protected:
    /// Rows 1 to 3 in room:5, 4 with bob, 5 with ann.
    void storeSome() const {
        for (const char* const text : {"one", "two", "three"}) {
            runWell({"receive", "room:5", text, "--from", "ann"});
        }
        runWell({"send", "user:bob", "four"});
        runWell({"receive", "user:ann", "five"});
        execute("UPDATE tbl_msg SET date = db_id");
    }

    std::string texts() const {
        std::string all;
        for (const auto& row : rows("SELECT text FROM tbl_msg ORDER BY db_id")) {
            all += row[0] + ' ';
        }
        return all;
    }

    std::string lastOf(const std::string& targetId) const {
        return value("SELECT last_msg_id FROM tbl_session WHERE target_id = '" + targetId + "'");
    }
};

class DeleteCommand : public Deletion {};
class ClearCommand : public Deletion {};

TEST_F(DeleteCommand, DeletesMessagesByRow) {
    storeSome();
    EXPECT_EQ(runWell({"delete", "2", "--yes"}).out, "1 message deleted.\n");
    EXPECT_EQ(texts(), "one three four five ");
    EXPECT_EQ(runWell({"delete", "4", "1", "4", "--yes", "--json"}).json(), (json{{"deleted", {1, 4}}}));
    EXPECT_EQ(texts(), "three five ");
}

TEST_F(DeleteCommand, PointsTheSessionsAtTheNewestMessageLeft) {
    storeSome();
    execute("UPDATE tbl_session SET is_top = 1, priority = 4");
    runWell({"delete", "3", "4", "--yes"});
    EXPECT_EQ(lastOf("5"), "2");
    EXPECT_EQ(lastOf("bob"), "0") << "the session of an empty conversation stays";
    EXPECT_EQ(lastOf("ann"), "5");
    EXPECT_EQ(rows("SELECT DISTINCT is_top, priority FROM tbl_session"), (Rows{{"1", "4"}}));
}

TEST_F(DeleteCommand, MakesNoSession) {
    storeSome();
    execute("DELETE FROM tbl_session");
    runWell({"delete", "1", "--yes"});
    EXPECT_EQ(rows("SELECT * FROM tbl_session"), Rows{});
}

TEST_F(DeleteCommand, DeletesTheFilesOfTheDataFolderAlone) {
    storeSome();
    writeFile(dataDir() / "media/a.png", "x");
    writeFile(dataDir() / "media/b.png", "x");
    writeFile(folder() / "outside.png", "precious");
    execute(
        "UPDATE tbl_msg SET media_path = 'media/a.png', ex_media_path = '../outside.png' WHERE db_id = 1");
    execute("UPDATE tbl_msg SET media_path = 'media/b.png' WHERE db_id = 2");
    execute("UPDATE tbl_msg SET extra_path = 'users/me/db.dat' WHERE db_id = 1");
    runWell({"delete", "1", "--yes"});
    EXPECT_FALSE(fs::exists(dataDir() / "media/a.png"));
    EXPECT_TRUE(fs::exists(dataDir() / "media/b.png"));
    EXPECT_TRUE(fs::exists(folder() / "outside.png"));
    EXPECT_EQ(texts(), "two three four five ");
}

TEST_F(DeleteCommand, AsksOnATerminal) {
    storeSome();
    const ToolRun yes = runAnswering("y\n", {"delete", "1", "2"});
    EXPECT_EQ(yes.exitCode, 0);
    EXPECT_EQ(yes.err, "Delete 2 messages and the files attached? [y/N] ");
    EXPECT_EQ(yes.out, "2 messages deleted.\n");
    EXPECT_EQ(texts(), "three four five ");
    EXPECT_EQ(runAnswering("yes\n", {"delete", "3"}).exitCode, 0);
    for (const char* const answer : {"n\n", "\n", "no\n", "yess\n"}) {
        const ToolRun no = runAnswering(answer, {"delete", "4"});
        EXPECT_EQ(no.exitCode, 1);
        EXPECT_THAT(no.err, HasSubstr("[y/N] pelko: nothing was deleted"));
        EXPECT_EQ(no.out, "");
    }
    EXPECT_THAT(runAnswering("\x04", {"delete", "4"}).err, HasSubstr("[y/N] \npelko: nothing was deleted"));
    EXPECT_EQ(texts(), "four five ");
    EXPECT_EQ(runAnswering("n\n", {"delete", "4", "--yes"}).exitCode, 0);
}

TEST_F(DeleteCommand, RefusesWhereNobodyCanBeAsked) {
    storeSome();
    expectRefused(run({"delete", "1"}), 2, AllOf(HasSubstr("stdin is no terminal"), HasSubstr("--yes")));
    expectRefused(run({"clear", "room:5"}), 2, AllOf(HasSubstr("stdin is no terminal"), HasSubstr("--yes")));
    EXPECT_EQ(texts(), "one two three four five ");
}

TEST_F(DeleteCommand, DeletesNothingWhenARowIsNotThere) {
    storeSome();
    expectRefused(run({"delete", "1", "9", "--yes"}), 1, AllOf(HasSubstr("row 9"), HasSubstr("nothing")));
    for (const char* const row : {"0", "x", "9223372036854775808", ""}) {
        expectRefused(run({"delete", "1", row, "--yes"}), 2, HasSubstr('\'' + std::string(row) + '\''));
    }
    EXPECT_EQ(texts(), "one two three four five ");
}

TEST_F(ClearCommand, DeletesOneConversationAndKeepsItsSession) {
    storeSome();
    execute("UPDATE tbl_session SET is_top = 1, priority = 4");
    runWell({"rooms", "add", "5", "--name", "x"});
    EXPECT_EQ(runWell({"clear", "room:5", "--yes"}).out, "room:5 is cleared.\n");
    EXPECT_EQ(texts(), "four five ");
    EXPECT_EQ(rows("SELECT last_msg_id, is_top, priority FROM tbl_session WHERE target_id = '5'"),
              (Rows{{"0", "1", "4"}}));
    EXPECT_EQ(rows("SELECT name FROM tbl_room"), (Rows{{"x"}}));
    EXPECT_EQ(runWell({"clear", "user:bob", "--yes", "--json"}).json(),
              (json{{"target", "user:bob"}, {"had_messages", true}, {"session_removed", false}}));
    EXPECT_EQ(texts(), "five ");
}

TEST_F(ClearCommand, RemovesTheSessionWhenAskedTo) {
    storeSome();
    EXPECT_EQ(runWell({"clear", "room:5", "--session", "--yes"}).out,
              "room:5 is cleared, and its session is removed.\n");
    EXPECT_EQ(rows("SELECT target_id FROM tbl_session ORDER BY 1"), (Rows{{"ann"}, {"bob"}}));
    EXPECT_EQ(runWell({"clear", "room:5", "--session", "--yes"}).out, "room:5 had no messages.\n");
}

TEST_F(ClearCommand, TellsThatThereIsNothing) {
    storeSome();
    EXPECT_EQ(runWell({"clear", "room:6", "--yes"}).out, "room:6 had no messages.\n");
    EXPECT_EQ(texts(), "one two three four five ");
    EXPECT_EQ(value("SELECT COUNT(*) FROM tbl_session"), "3");
}

TEST_F(ClearCommand, AsksOnATerminalWithTheName) {
    storeSome();
    runWell({"rooms", "add", "5", "--name", "gar\x1b[31mden"});
    const ToolRun no = runAnswering("n\n", {"clear", "room:5"});
    EXPECT_EQ(no.exitCode, 1);
    EXPECT_EQ(no.err,
              "Delete all messages of room:5 (gar\\x1B[31mden) and the files attached? [y/N] pelko: nothing "
              "was deleted, the answer was not yes\n");
    EXPECT_EQ(texts(), "one two three four five ");
    EXPECT_EQ(runAnswering("Y\n", {"clear", "room:5"}).out, "room:5 is cleared.\n");
    EXPECT_EQ(texts(), "four five ");
}

TEST_F(ClearCommand, RefusesATargetOfUnknownForm) {
    expectRefused(run({"clear", "channel:5", "--yes"}), 2, HasSubstr("'channel:5'"));
    EXPECT_FALSE(fs::exists(dataDir()));
}

}  // namespace
