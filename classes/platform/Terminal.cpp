#include "classes/platform/Terminal.h"

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#else
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace pelkoapi {

namespace {

constexpr std::size_t customaryWidth = 80;  // of a terminal that does not tell

#ifdef _WIN32

constexpr DWORD standardInput = STD_INPUT_HANDLE;
constexpr DWORD standardOutput = STD_OUTPUT_HANDLE;
constexpr DWORD standardError = STD_ERROR_HANDLE;

bool isTerminal(DWORD stream) {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(stream), &mode) != 0;
}

std::optional<std::size_t> widthOf(DWORD stream) {
    if (!isTerminal(stream)) {
        return std::nullopt;
    }
    CONSOLE_SCREEN_BUFFER_INFO info{};
    const bool told = GetConsoleScreenBufferInfo(GetStdHandle(stream), &info) != 0;
    const int width = info.srWindow.Right - info.srWindow.Left + 1;
    return told && width > 0 ? static_cast<std::size_t>(width) : customaryWidth;
}

#else

constexpr int standardInput = STDIN_FILENO;
constexpr int standardOutput = STDOUT_FILENO;
constexpr int standardError = STDERR_FILENO;

bool isTerminal(int stream) {
    return isatty(stream) != 0;
}

std::optional<std::size_t> widthOf(int stream) {
    if (!isTerminal(stream)) {
        return std::nullopt;
    }
    winsize size{};
    const bool told = ioctl(stream, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return told ? size.ws_col : customaryWidth;
}

#endif

}  // namespace

bool stdinIsTerminal() {
    return isTerminal(standardInput);
}

bool stderrIsTerminal() {
    return isTerminal(standardError);
}

std::optional<std::size_t> stdoutWidth() {
    return widthOf(standardOutput);
}

std::optional<std::size_t> stderrWidth() {
    return widthOf(standardError);
}

void prepareTerminal() {
#ifdef _WIN32
    SetConsoleOutputCP(CP_UTF8);
    constexpr DWORD movesTheCursor = 0x0004;  // ENABLE_VIRTUAL_TERMINAL_PROCESSING, which old headers lack
    DWORD mode = 0;
    if (GetConsoleMode(GetStdHandle(standardError), &mode) != 0) {
        SetConsoleMode(GetStdHandle(standardError), mode | movesTheCursor);
    }
#endif
}

}  // namespace pelkoapi
