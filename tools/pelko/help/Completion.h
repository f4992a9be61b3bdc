#ifndef PELKO_TOOL_HELP_COMPLETION_H
#define PELKO_TOOL_HELP_COMPLETION_H

#include <string>

#include "tools/pelko/help/CommandMap.h"

// Scripts with which a shell completes commands, options, paths and the kinds of targets.

namespace pelkotool {

/// For bash 4 and newer; to be sourced.
std::string bashCompletion(const CommandText& tool);

/// For zsh; to be put into a folder of $fpath as _pelko.
std::string zshCompletion(const CommandText& tool);

}  // namespace pelkotool

#endif  // PELKO_TOOL_HELP_COMPLETION_H
