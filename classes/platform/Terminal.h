#ifndef PELKO_PLATFORM_TERMINAL_H
#define PELKO_PLATFORM_TERMINAL_H

#include <cstddef>
#include <optional>

// What a program asks the operating system about its terminal.

namespace pelkoapi {

bool stdinIsTerminal();
bool stderrIsTerminal();

/// The columns of the terminal that stdout is; nothing when it is none, as in a pipe.
std::optional<std::size_t> stdoutWidth();

/// The columns of the terminal that stderr is; nothing when it is none.
std::optional<std::size_t> stderrWidth();

/// Makes a terminal of Windows take what every other one takes: UTF-8, and sequences that move the cursor. To
/// be called before the first output.
void prepareTerminal();

}  // namespace pelkoapi

#endif  // PELKO_PLATFORM_TERMINAL_H
