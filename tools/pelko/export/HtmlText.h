#ifndef PELKO_TOOL_EXPORT_HTML_TEXT_H
#define PELKO_TOOL_EXPORT_HTML_TEXT_H

#include <string>
#include <string_view>
#include <vector>

// Texts of the file on their way into a page or the search data. They may hold anything; escaping is left to
// the templates.

namespace pelkotool {

/// A text of several lines as valid UTF-8: each byte that is none becomes U+FFFD, control characters other
/// than line ends and tabs become visible as "\x1B".
std::string blockText(std::string_view raw);

/// A name or another text that stands in one line with others: the same, but line ends, tabs and characters
/// that override the reading direction of their neighbours become visible, too.
std::string lineText(std::string_view raw);

struct TextPart {
    std::string text;
    bool isLink = false;
};

/// The text cut at its links. Only what begins with http:// or https:// is one.
std::vector<TextPart> partsOf(std::string_view text);

/// A path as a link within the export: every byte that means something in one is written as "%3F". Absolute
/// paths stay absolute, others are made relative to the folder that `root` leads up to.
std::string linkToFile(const std::string& path, const std::string& root);

/// The part of a path behind the last '/'.
std::string fileName(const std::string& path);

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_HTML_TEXT_H
