#ifndef PELKO_TOOL_INSPECT_INSPECTION_TEXT_H
#define PELKO_TOOL_INSPECT_INSPECTION_TEXT_H

#include <vector>

#include "tools/pelko/inspect/Findings.h"
#include "tools/pelko/inspect/Inspection.h"

namespace pelkotool {

/// An inspection for people, on stdout: long lists cut short, the verdict as the last line.
void printInspection(const Inspection& inspection, const std::vector<Finding>& findings);

}  // namespace pelkotool

#endif  // PELKO_TOOL_INSPECT_INSPECTION_TEXT_H
