#ifndef PELKO_TOOL_INSPECT_INSPECTION_JSON_H
#define PELKO_TOOL_INSPECT_INSPECTION_JSON_H

#include <vector>

#include "tools/pelko/Output.h"
#include "tools/pelko/inspect/Findings.h"
#include "tools/pelko/inspect/Inspection.h"

namespace pelkotool {

/// All of an inspection, with whole lists. A part that could not be read is null, and "not_read" tells why.
Json inspectionJson(const Inspection& inspection, const std::vector<Finding>& findings);

}  // namespace pelkotool

#endif  // PELKO_TOOL_INSPECT_INSPECTION_JSON_H
