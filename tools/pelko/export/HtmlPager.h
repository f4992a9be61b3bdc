#ifndef PELKO_TOOL_EXPORT_HTML_PAGER_H
#define PELKO_TOOL_EXPORT_HTML_PAGER_H

#include <cstddef>
#include <string>
#include <vector>

#include "tools/pelko/export/HtmlEngine.h"

namespace pelkotool {

/// The pages of a conversation, told by the day of their first message, oldest first.
using PageDays = std::vector<std::string>;

/// Puts the links to neighbours and ends into the values of pager.tpl. @param page  the one they stand on,
/// from 1
void putPager(const PageDays& days, std::size_t page, ctemplate::TemplateDictionary& values);

/// Puts the list of all pages into them, or, where that would be long, of some from the first to the last.
void putPageList(const PageDays& days, std::size_t page, ctemplate::TemplateDictionary& values);

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_HTML_PAGER_H
