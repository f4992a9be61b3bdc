#ifndef PELKO_TOOL_EXPORT_HTML_EXPORT_H
#define PELKO_TOOL_EXPORT_HTML_EXPORT_H

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tools/pelko/DateRange.h"
#include "tools/pelko/file/Conversations.h"
#include "tools/pelko/file/Database.h"

namespace pelkotool {

/// What the pages of an export show.
struct HtmlExport {
    std::filesystem::path folder;             ///< where the export grows; it is there already
    std::string me;                           ///< the account's name; its messages stand on the right
    std::vector<Conversation> conversations;  ///< those to show, in the order of the index, with their rows
    bool onlySome = false;                    ///< whether --only left others out
    DateRange range;                          ///< what was asked for
    std::size_t messagesPerPage = 1000;
    /// The place of an attachment within the export, with '/' between folders ("media/3-photo.jpg"), or for
    /// --media link an absolute path of the original; empty where there is none to show. @param storedPath as
    /// in the row
    std::function<std::string(const std::string& storedPath)> attachment;
    /// Told after each message; throws to stop.
    std::function<void(std::size_t messagesDone)> progress;
};

/// Writes index.html, the pages of the conversations, the search data, the script and the styles.
void writeHtml(const Database& database, const HtmlExport& what);

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_HTML_EXPORT_H
