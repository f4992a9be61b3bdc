#ifndef PELKO_TOOL_REMEDIES_H
#define PELKO_TOOL_REMEDIES_H

#include <string>

namespace pelkotool {

/// What to do about a failure that SQLite words so, as "; make room on the disk"; empty where nothing general
/// can be said.
std::string remedyFor(const std::string& reason);

}  // namespace pelkotool

#endif  // PELKO_TOOL_REMEDIES_H
