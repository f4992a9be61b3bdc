#ifndef PELKO_TOOL_EXPORT_HTML_PAGES_H
#define PELKO_TOOL_EXPORT_HTML_PAGES_H

#include <cstddef>
#include <optional>
#include <string>

#include "PelkoMessage.h"
#include "tools/pelko/export/HtmlExport.h"
#include "tools/pelko/export/HtmlNames.h"
#include "tools/pelko/export/HtmlSearch.h"
#include "tools/pelko/export/HtmlTemplates.h"

namespace pelkotool {

/// What the index tells of a conversation, beside what it is.
struct ConversationSummary {
    std::string folder;                 ///< its pages', "chats/room-5001"
    std::optional<unsigned int> first;  ///< dates of the exported messages
    std::optional<unsigned int> last;
    std::string lastSender;  ///< of the last one exported; "You" for the account itself
    std::string lastWords;
    std::optional<unsigned int> lastDate;
};

/// Writes the pages of conversations one by one.
class HtmlPages {
public:
    HtmlPages(const Database& database, const HtmlExport& what, HtmlTemplates& templates);

    /// @param folder  safe and not used yet, "room-5001"
    ConversationSummary write(const Conversation& conversation, const std::string& folder);

    /// Writes the search data.
    void finish() { mSearch.finish(); }

private:
    struct Page;

    pelkoapi::PelkoMessage read(long long row);
    void putHeader(const Conversation& conversation, const Page& page, ctemplate::TemplateDictionary& values);
    void putMessages(const Conversation& conversation, const Page& page, ConversationSummary& summary,
                     ctemplate::TemplateDictionary& values);
    void note(const pelkoapi::PelkoMessage& message, const Page& page, ConversationSummary& summary);

    const Database& mDatabase;
    const HtmlExport& mWhat;
    HtmlTemplates& mTemplates;
    HtmlNames mNames;
    HtmlSearch mSearch;
    Statement mMessages;
    std::size_t mDone = 0;
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_HTML_PAGES_H
