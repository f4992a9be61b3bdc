#ifndef PELKO_TOOL_EXPORT_HTML_FILES_H
#define PELKO_TOOL_EXPORT_HTML_FILES_H

#include <string>
#include <vector>

namespace pelkotool {

/// A file of tools/pelko/web.
struct HtmlFile {
    std::string name;
    std::string content;

    /// Whether pages are made from it; otherwise it goes into each export as it is.
    bool isTemplate() const;
};

/// All of them, as they were when the tool was built.
const std::vector<HtmlFile>& htmlFiles();

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_HTML_FILES_H
