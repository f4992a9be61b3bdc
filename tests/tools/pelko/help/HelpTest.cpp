#include <cstdlib>

#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class Help : public ToolTest {
protected:
    /// What a shell prints that runs this script, stderr included.
    std::string outputOf(const std::string& shell, const std::string& script) const {
        writeFile(folder() / "script", script);
        const std::string command = shell + " '" + (folder() / "script").string() + "' > '" +
                                    (folder() / "shell-out").string() + "' 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0) << contentOf(folder() / "shell-out");
        return contentOf(folder() / "shell-out");
    }

    /// What bash offers for the last of these words.
    std::string offeredByBash(const std::string& words) const {
        writeFile(folder() / "completion", runWell({"completion", "bash"}).out);
        return outputOf("bash", "set -eu\nsource '" + (folder() / "completion").string() +
                                    "'\nCOMP_WORDS=(pelko " + words +
                                    ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n_pelko\n"
                                    "echo \"${COMPREPLY[*]}\"\n");
    }

    /// What zsh is handed to offer, line by line: the functions of its completion system are stood in for.
    std::string offeredByZsh(const std::string& words) const {
        writeFile(folder() / "_pelko", runWell({"completion", "zsh"}).out);
        return outputOf("zsh -f",
                        "_files() { print files }\n_describe() { print -l -- ${(P)@[-1]} }\n"
                        "compadd() { print -- ${@[4,-1]} }\nwords=(pelko " +
                            words + ")\nCURRENT=${#words}\nsource '" + (folder() / "_pelko").string() +
                            "'\n");
    }
};

TEST_F(Help, ManPageSaysWhatHelpSays) {
    const std::string page = runWell({"manual"}).out;
    EXPECT_THAT(page,
                AllOf(HasSubstr(".TH PELKO 1"), HasSubstr(".SH SYNOPSIS"), HasSubstr(".SH EXAMPLES"),
                      HasSubstr("\\fB\\-\\-data\\-dir\\fR \\fIDIR\\fR"), HasSubstr("\\fBrooms add\\fR")));
    for (const char* const command : {"replay", "search", "salvage", "notifications add", "completion"}) {
        EXPECT_THAT(page, HasSubstr(std::string("\n\\fB") + command + "\\fR"));
    }
}

TEST_F(Help, ManPageIsSetWithoutAWarning) {
    writeFile(folder() / "pelko.1", runWell({"manual"}).out);
    EXPECT_EQ(outputOf("sh", "groff -man -Tutf8 -ww -z '" + (folder() / "pelko.1").string() + "'\n"), "");
    const std::string page =
        outputOf("sh", "groff -man -Tutf8 -P-c -P-b -P-u '" + (folder() / "pelko.1").string() + "'\n");
    EXPECT_THAT(page,
                AllOf(HasSubstr("--data-dir DIR"), HasSubstr("$XDG_DATA_HOME"), HasSubstr("'pelko read'")));
}

TEST_F(Help, BashCompletesCommands) {
    EXPECT_EQ(offeredByBash("sea"), "search\n");
    EXPECT_EQ(offeredByBash("rooms ''"), "show add remove\n");
    EXPECT_EQ(offeredByBash("--user sessions uns"), "\n") << "that is the account's name";
    EXPECT_EQ(offeredByBash("--user me unm"), "unmute\n");
}

TEST_F(Help, BashCompletesOptions) {
    EXPECT_EQ(offeredByBash("rooms add 5 --t"), "--top\n");
    EXPECT_EQ(offeredByBash("show --d"), "--data-dir\n");
    EXPECT_THAT(offeredByBash("search -"),
                AllOf(HasSubstr("--since"), HasSubstr("--until"), Not(HasSubstr("--top"))));
}

TEST_F(Help, BashCompletesValues) {
    writeFile(folder() / "a file", "");
    EXPECT_EQ(offeredByBash("search x --file '" + (folder() / "a f").string() + "'"),
              (folder() / "a file").string() + '\n');
    EXPECT_EQ(offeredByBash("show ''"), "user: room: group: service:\n");
    EXPECT_EQ(offeredByBash("search x --in r"), "room:\n");
    EXPECT_EQ(offeredByBash("show room:5 -n ''"), "\n") << "a number is not known";
}

TEST_F(Help, ZshCompletes) {
    EXPECT_THAT(offeredByZsh("sea"), HasSubstr("search:Find messages by their text, the newest first\n"));
    EXPECT_EQ(offeredByZsh("rooms ''"),
              "show:Show a room's details\n"
              "add:Store a room's details; what is not given keeps what is stored\n"
              "remove:Remove a room's details; its messages and its session stay\n");
    EXPECT_THAT(offeredByZsh("rooms add 5 --t"), HasSubstr("--top:Whether the room is put on top\n"));
    EXPECT_EQ(offeredByZsh("search x --file ''"), "files\n");
    EXPECT_EQ(offeredByZsh("show ''"), "user: room: group: service:\n");
}

TEST_F(Help, RefusesAShellThatItDoesNotKnow) {
    expectRefused(run({"completion", "fish"}), 2, HasSubstr("'fish'"));
    expectRefused(run({"completion"}), 2, HasSubstr("SHELL"));
    expectRefused(run({"manual", "page"}), 2, HasSubstr("'page'"));
}

}  // namespace
