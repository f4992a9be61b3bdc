#include "tools/pelko/export/HtmlExport.h"

#include <system_error>

#include "classes/platform/Utf8Path.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/export/HtmlFiles.h"
#include "tools/pelko/export/HtmlFolders.h"
#include "tools/pelko/export/HtmlIndex.h"
#include "tools/pelko/export/HtmlPages.h"
#include "tools/pelko/export/HtmlTemplates.h"

namespace pelkotool {

using pelkoapi::pathOf;
using pelkoapi::utf8Of;

namespace {

void writeStylesAndScript(const std::filesystem::path& folder) {
    for (const HtmlFile& file : htmlFiles()) {
        if (!file.isTemplate()) {
            writeHtmlFile(folder / pathOf(file.name), file.content);
        }
    }
}

void writeAll(const Database& database, const HtmlExport& what) {
    HtmlTemplates templates;
    HtmlFolders folders;
    HtmlPages pages(database, what, templates);
    std::vector<ConversationSummary> summaries;
    for (const Conversation& conversation : what.conversations) {
        summaries.push_back(pages.write(conversation, folders.nameFor(conversation.peer)));
    }
    pages.finish();
    writeIndex(what, summaries, templates);
    writeStylesAndScript(what.folder);
}

}  // namespace

void writeHtml(const Database& database, const HtmlExport& what) {
    try {
        writeAll(database, what);
    } catch (const std::filesystem::filesystem_error& error) {
        throw ToolError("cannot write " + utf8Of(error.path1()) + ": " + error.code().message());
    }
}

}  // namespace pelkotool
