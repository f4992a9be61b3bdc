#ifndef PELKO_TOOL_EXPORT_HTML_INDEX_H
#define PELKO_TOOL_EXPORT_HTML_INDEX_H

#include <vector>

#include "tools/pelko/export/HtmlExport.h"
#include "tools/pelko/export/HtmlPages.h"
#include "tools/pelko/export/HtmlTemplates.h"

namespace pelkotool {

/// Writes index.html. @param summaries  one for each conversation, in the same order
void writeIndex(const HtmlExport& what, const std::vector<ConversationSummary>& summaries,
                HtmlTemplates& templates);

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_HTML_INDEX_H
