#include "tests/reliability/support/OtherProcess.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <exception>
#include <stdexcept>

namespace pelkotest {

namespace {

bool receive(int from, int& number) {
    return read(from, &number, sizeof number) == sizeof number;
}

bool send(int to, int number) {
    return write(to, &number, sizeof number) == sizeof number;
}

}  // namespace

int OtherProcess::Line::hear() {
    int number = 0;
    if (!receive(mIn, number)) {
        _exit(2);
    }
    return number;
}

void OtherProcess::Line::tell(int number) {
    if (!send(mOut, number)) {
        _exit(2);
    }
}

OtherProcess::OtherProcess(const std::function<void(Line&)>& life) {
    std::array<int, 2> toOther{};
    std::array<int, 2> fromOther{};
    if (pipe(toOther.data()) != 0 || pipe(fromOther.data()) != 0) {
        throw std::runtime_error("no pipe");
    }
    mProcess = fork();
    if (mProcess < 0) {
        throw std::runtime_error("no process");
    }
    if (mProcess == 0) {
        close(toOther[1]);
        close(fromOther[0]);
        Line line(toOther[0], fromOther[1]);
        try {
            life(line);
        } catch (const std::exception& exception) {
            std::fprintf(stderr, "the other process: %s\n", exception.what());
            _exit(1);
        }
        _exit(0);
    }
    close(toOther[0]);
    close(fromOther[1]);
    mOut = toOther[1];
    mIn = fromOther[0];
}

OtherProcess::~OtherProcess() {
    if (mProcess > 0) {
        kill();
        join();
    }
    close(mIn);
    close(mOut);
}

int OtherProcess::hear() {
    int number = 0;
    return receive(mIn, number) ? number : -1;
}

void OtherProcess::tell(int number) {
    if (!send(mOut, number)) {
        throw std::runtime_error("the other process is gone");
    }
}

void OtherProcess::kill() {
    ::kill(mProcess, SIGKILL);
}

int OtherProcess::join() {
    int status = 0;
    waitpid(mProcess, &status, 0);
    mProcess = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace pelkotest
