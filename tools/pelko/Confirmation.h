#ifndef PELKO_TOOL_CONFIRMATION_H
#define PELKO_TOOL_CONFIRMATION_H

#include <string>

namespace pelkotool {

/// That somebody can be asked, or need not be. @param yes  whether --yes was given
/// @throws UsageError when stdin is no terminal and --yes is missing
void requireAnswerable(bool yes);

/// Asks on the terminal, unless --yes was given. @param question  without the "?"
/// @throws ToolError for any answer but y or yes
void confirm(const std::string& question, bool yes);

}  // namespace pelkotool

#endif  // PELKO_TOOL_CONFIRMATION_H
