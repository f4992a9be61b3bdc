#ifndef PELKO_TOOL_EXPORT_HTML_TEMPLATES_H
#define PELKO_TOOL_EXPORT_HTML_TEMPLATES_H

#include <filesystem>
#include <string>

#include "tools/pelko/export/HtmlEngine.h"

namespace pelkotool {

/// The templates of tools/pelko/web. Each escapes by itself what is put into it, by the place where it
/// stands: nothing else here writes HTML. They are kept apart from the template engine's own global ones.
class HtmlTemplates {
public:
    HtmlTemplates();

    /// @param name  "index.tpl"
    std::string expand(const std::string& name, const ctemplate::TemplateDictionary& values);

    /// Shows the section with the one value in it, unless the value is empty.
    static void showIfAny(ctemplate::TemplateDictionary& values, const char* section, const char* name,
                          const std::string& value);

    /// Puts another template in. @param place  "HEAD" for {{>HEAD}} and head.tpl
    static ctemplate::TemplateDictionary& include(ctemplate::TemplateDictionary& values, const char* place,
                                                  const char* name);

private:
    ctemplate::TemplateCache mCache;
};

/// @throws ToolError naming the file when it cannot be written whole
void writeHtmlFile(const std::filesystem::path& file, const std::string& content);

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_HTML_TEMPLATES_H
