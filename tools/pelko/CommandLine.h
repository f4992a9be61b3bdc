#ifndef PELKO_TOOL_COMMAND_LINE_H
#define PELKO_TOOL_COMMAND_LINE_H

#include "tools/pelko/ToolError.h"

namespace pelkotool {

/// Runs the command that the arguments name. Failures are told on stderr, in one line each.
ExitCode runCommandLine(int argc, const char* const* argv);

}  // namespace pelkotool

#endif  // PELKO_TOOL_COMMAND_LINE_H
