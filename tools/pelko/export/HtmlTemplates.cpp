#include "tools/pelko/export/HtmlTemplates.h"

#include <fstream>
#include <stdexcept>
#include <string_view>

#include "classes/platform/Utf8Path.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/export/HtmlFiles.h"

namespace pelkotool {

using pelkoapi::utf8Of;

bool HtmlFile::isTemplate() const {
    constexpr std::string_view ending = ".tpl";
    return name.size() > ending.size() &&
           name.compare(name.size() - ending.size(), ending.size(), ending) == 0;
}

HtmlTemplates::HtmlTemplates() {
    for (const HtmlFile& file : htmlFiles()) {
        if (file.isTemplate() &&
            !mCache.StringToTemplateCache(file.name, file.content, ctemplate::STRIP_BLANK_LINES)) {
            throw std::logic_error(file.name + " is no template");
        }
    }
}

std::string HtmlTemplates::expand(const std::string& name, const ctemplate::TemplateDictionary& values) {
    std::string page;
    if (!mCache.ExpandWithData(name, ctemplate::STRIP_BLANK_LINES, &values, nullptr, &page)) {
        throw std::logic_error("cannot expand " + name);
    }
    return page;
}

void HtmlTemplates::showIfAny(ctemplate::TemplateDictionary& values, const char* section, const char* name,
                              const std::string& value) {
    if (!value.empty()) {
        values.AddSectionDictionary(section)->SetValue(name, value);
    }
}

ctemplate::TemplateDictionary& HtmlTemplates::include(ctemplate::TemplateDictionary& values,
                                                      const char* place, const char* name) {
    ctemplate::TemplateDictionary* const included = values.AddIncludeDictionary(place);
    included->SetFilename(name);
    return *included;
}

void writeHtmlFile(const std::filesystem::path& file, const std::string& content) {
    std::ofstream stream(file, std::ios::binary);
    stream << content;
    stream.close();
    if (!stream) {
        throw ToolError("cannot write " + utf8Of(file) + "; make room there, and the folder writable");
    }
}

}  // namespace pelkotool
