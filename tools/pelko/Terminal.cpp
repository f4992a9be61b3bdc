#include "tools/pelko/Terminal.h"

#ifndef _WIN32
#include <sys/ioctl.h>
#include <unistd.h>
#else
#include <io.h>
#include <stdio.h>
#endif

namespace pelkotool {

namespace {

constexpr std::size_t customaryWidth = 80;  // of a terminal that does not tell

#ifndef _WIN32
std::optional<std::size_t> widthOf(int descriptor) {
    if (isatty(descriptor) == 0) {
        return std::nullopt;
    }
    winsize size{};
    const bool told = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return told ? size.ws_col : customaryWidth;
}

constexpr int stdinDescriptor = STDIN_FILENO;
constexpr int stdoutDescriptor = STDOUT_FILENO;
constexpr int stderrDescriptor = STDERR_FILENO;
#else
std::optional<std::size_t> widthOf(int descriptor) {
    if (_isatty(descriptor) == 0) {
        return std::nullopt;
    }
    return customaryWidth;
}

constexpr int stdinDescriptor = 0;
constexpr int stdoutDescriptor = 1;
constexpr int stderrDescriptor = 2;
#endif

}  // namespace

bool stdinIsTerminal() {
    return widthOf(stdinDescriptor).has_value();
}

bool stderrIsTerminal() {
    return stderrWidth().has_value();
}

std::optional<std::size_t> stdoutWidth() {
    return widthOf(stdoutDescriptor);
}

std::optional<std::size_t> stderrWidth() {
    return widthOf(stderrDescriptor);
}

}  // namespace pelkotool
