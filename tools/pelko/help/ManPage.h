#ifndef PELKO_TOOL_HELP_MAN_PAGE_H
#define PELKO_TOOL_HELP_MAN_PAGE_H

#include <string>

#include "tools/pelko/help/CommandMap.h"

namespace pelkotool {

/// pelko(1), in the man macros of roff.
std::string manPage(const CommandText& tool, const std::string& version);

}  // namespace pelkotool

#endif  // PELKO_TOOL_HELP_MAN_PAGE_H
