#ifndef PELKO_TOOL_INSPECT_FINDINGS_H
#define PELKO_TOOL_INSPECT_FINDINGS_H

#include <string>
#include <vector>

#include "tools/pelko/inspect/Inspection.h"

namespace pelkotool {

/// Something to look at, and what to do about it.
struct Finding {
    std::string what;
    std::string remedy;
};

/// What an inspection has found, the worst first; nothing for a file in which all is as it should be. Missing
/// indexes and free pages are no findings.
std::vector<Finding> findingsOf(const Inspection& inspection);

/// What to do when parts could not be read.
std::string remedyForUnread(const Inspection& inspection);

}  // namespace pelkotool

#endif  // PELKO_TOOL_INSPECT_FINDINGS_H
