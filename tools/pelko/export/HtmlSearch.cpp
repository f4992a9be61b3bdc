#include "tools/pelko/export/HtmlSearch.h"

#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/Times.h"
#include "tools/pelko/export/HtmlTemplates.h"

namespace pelkotool {

using pelkoapi::pathOf;

namespace {

constexpr std::size_t searchFileSize = 512UL * 1024;

/// JSON that is safe within a script, whatever reads it: no character that could end the script or a line.
std::string scriptJson(const Json& json) {
    const std::string plain = json.dump(-1, ' ', false, Json::error_handler_t::replace);
    std::string safe;
    safe.reserve(plain.size() + plain.size() / 16);
    for (std::size_t i = 0; i < plain.size(); ++i) {
        const char c = plain[i];
        if (c == '<' || c == '>' || c == '&') {
            safe += c == '<' ? "\\u003c" : c == '>' ? "\\u003e" : "\\u0026";
        } else if (plain.compare(i, 3, "\xE2\x80\xA8") == 0 || plain.compare(i, 3, "\xE2\x80\xA9") == 0) {
            safe += plain[i + 2] == '\xA8' ? "\\u2028" : "\\u2029";
            i += 2;
        } else {
            safe += c;
        }
    }
    return safe;
}

void appendItem(std::string& list, const Json& item) {
    if (!list.empty()) {
        list += ",\n";
    }
    list += scriptJson(item);
}

}  // namespace

HtmlSearch::HtmlSearch(const std::filesystem::path& folder) : mFolder(folder / "search") {
    std::filesystem::create_directories(mFolder);
}

void HtmlSearch::addConversation(const std::string& title, const std::string& target,
                                 const std::string& pagesFolder) {
    appendItem(mConversations, Json::array({title, target, pagesFolder}));
    ++mConversationCount;
}

void HtmlSearch::add(const Message& message) {
    // Lists without names: a third of the size of objects.
    appendItem(mMessages, Json::array({mConversationCount - 1, message.page, message.row, message.date,
                                       localTime(message.date), message.sender, message.text}));
    if (mMessages.size() >= searchFileSize) {
        writeMessages();
    }
}

void HtmlSearch::writeMessages() {
    ++mFiles;
    const std::string number = std::to_string(mFiles);
    writeHtmlFile(mFolder / pathOf(number + ".js"),
                  "pelkoSearch(" + number + ", [\n" + mMessages + "\n]);\n");
    mMessages.clear();
}

void HtmlSearch::finish() {
    if (!mMessages.empty()) {
        writeMessages();
    }
    writeHtmlFile(mFolder / "list.js",
                  "pelkoSearchList(" + std::to_string(mFiles) + ", [\n" + mConversations + "\n]);\n");
}

}  // namespace pelkotool
