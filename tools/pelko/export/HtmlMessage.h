#ifndef PELKO_TOOL_EXPORT_HTML_MESSAGE_H
#define PELKO_TOOL_EXPORT_HTML_MESSAGE_H

#include <functional>
#include <string>

#include "PelkoMessage.h"
#include "tools/pelko/export/HtmlEngine.h"
#include "tools/pelko/export/HtmlNames.h"

// A message as the pages show it.

namespace pelkotool {

/// What stands around a message.
struct MessagePlaceOnPage {
    std::string root;         ///< leads from the page up to the folder of the export
    bool hasMembers = false;  ///< whether it is a conversation of several people, who are named
    bool sameSender = false;  ///< whether the one before it on the page is from the same, on the same day
    /// As HtmlExport::attachment.
    const std::function<std::string(const std::string&)>* attachment = nullptr;
};

/// Puts the message into the values of its section in conversation.tpl.
void putMessage(const pelkoapi::PelkoMessage& message, const MessagePlaceOnPage& place, HtmlNames& names,
                ctemplate::TemplateDictionary& values);

/// Everything of the message that can be searched for, and what stands for it in the index.
std::string messageWords(const pelkoapi::PelkoMessage& message, HtmlNames& names);

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_HTML_MESSAGE_H
