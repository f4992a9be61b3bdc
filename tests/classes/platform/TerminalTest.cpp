#include "classes/platform/Terminal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>

using namespace pelkoapi;

namespace {

/// Makes a stream a terminal of so many columns; in a process of its own.
void makeTerminal(int stream, unsigned short columns) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    winsize size{};
    size.ws_col = columns;
    if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0 ||
        ioctl(terminal, TIOCSWINSZ, &size) != 0) {
        _exit(99);
    }
    const int otherEnd = open(ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (otherEnd < 0 || dup2(otherEnd, stream) < 0) {
        _exit(99);
    }
}

/// Makes each of the three streams something that is no terminal.
void makeNoTerminal() {
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        dup2(null, stream);
    }
}

/// The columns as an exit code; 0 where there is no terminal.
int code(std::optional<std::size_t> width) {
    return static_cast<int>(width.value_or(0));
}

TEST(Terminal, AFileIsNone) {
    EXPECT_EXIT(
        {
            makeNoTerminal();
            prepareTerminal();
            _exit(stdinIsTerminal() || stderrIsTerminal() || stdoutWidth() || stderrWidth() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Terminal, AClosedStreamIsNone) {
    EXPECT_EXIT(
        {
            close(STDIN_FILENO);
            close(STDOUT_FILENO);
            _exit(stdinIsTerminal() || stdoutWidth() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Terminal, TellsTheWidthOfEachStreamByItself) {
    EXPECT_EXIT(
        {
            makeNoTerminal();
            makeTerminal(STDOUT_FILENO, 57);
            _exit(stderrIsTerminal() || stdinIsTerminal() ? 1 : code(stdoutWidth()));
        },
        testing::ExitedWithCode(57), "");
    EXPECT_EXIT(
        {
            makeNoTerminal();
            makeTerminal(STDERR_FILENO, 132);
            _exit(!stderrIsTerminal() || stdoutWidth() ? 1 : code(stderrWidth()));
        },
        testing::ExitedWithCode(132), "");
    EXPECT_EXIT(
        {
            makeNoTerminal();
            makeTerminal(STDIN_FILENO, 40);
            _exit(stdinIsTerminal() && !stdoutWidth() && !stderrWidth() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Terminal, ThatDoesNotTellIsTakenForACustomaryOne) {
    EXPECT_EXIT(
        {
            makeTerminal(STDOUT_FILENO, 0);
            _exit(code(stdoutWidth()));
        },
        testing::ExitedWithCode(80), "");
}

}  // namespace
