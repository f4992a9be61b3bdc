#ifndef PELKO_TOOL_EXPORT_HTML_SEARCH_H
#define PELKO_TOOL_EXPORT_HTML_SEARCH_H

#include <cstddef>
#include <filesystem>
#include <string>

namespace pelkotool {

/// What the search box of the pages looks through: scripts that hand over JSON, since pages that are opened
/// as files cannot fetch anything else. search/list.js names the conversations and says how many files with
/// messages there are, search/1.js and so on.
class HtmlSearch {
public:
    /// @param folder  of the export
    explicit HtmlSearch(const std::filesystem::path& folder);

    /// The conversation of the messages that follow. All texts are as the pages show them.
    void addConversation(const std::string& title, const std::string& target, const std::string& pagesFolder);

    struct Message {
        long long row;
        std::size_t page;
        unsigned int date;
        std::string sender;
        std::string text;
    };
    void add(const Message& message);

    /// Writes what is left. @throws ToolError as writeHtmlFile()
    void finish();

private:
    void writeMessages();

    std::filesystem::path mFolder;
    std::string mConversations;
    std::size_t mConversationCount = 0;
    std::string mMessages;
    std::size_t mFiles = 0;
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_HTML_SEARCH_H
