#ifndef PELKO_TOOL_TERMINAL_H
#define PELKO_TOOL_TERMINAL_H

#include <cstddef>
#include <optional>

// What the tool asks the operating system about the terminal, in one place.

namespace pelkotool {

bool stdinIsTerminal();
bool stderrIsTerminal();

/// The columns of the terminal that stdout is; nothing when it is none, as in a pipe.
std::optional<std::size_t> stdoutWidth();

/// The columns of the terminal that stderr is; nothing when it is none.
std::optional<std::size_t> stderrWidth();

}  // namespace pelkotool

#endif  // PELKO_TOOL_TERMINAL_H
