#include "tools/pelko/export/PassiveFiles.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "tools/pelko/Text.h"

namespace pelkotool {

namespace {

// No pages, drawings (SVG), styles or scripts. Scripts of a PDF see nothing but their own document.
constexpr std::string_view passiveEndings[] = {
    ".jpg", ".jpeg", ".png",  ".gif",  ".webp", ".bmp", ".avif", ".tif", ".tiff", ".mp3", ".m4a", ".aac",
    ".ogg", ".oga",  ".opus", ".wav",  ".flac", ".amr", ".mp4",  ".m4v", ".webm", ".ogv", ".mov", ".3gp",
    ".txt", ".log",  ".csv",  ".json", ".pdf",  ".zip", ".gz",   ".tar", ".7z",   ".rar", ".doc", ".docx",
    ".xls", ".xlsx", ".ppt",  ".pptx", ".odt",  ".ods", ".odp",  ".vcf", ".ics",  ".bin"};

}  // namespace

std::size_t placeOfEnding(const std::string& name) {
    return std::min(name.rfind('.'), name.size());
}

bool isPassiveFile(const std::string& name) {
    const std::string ending = inSmallLetters(name.substr(placeOfEnding(name)));
    return std::find(std::begin(passiveEndings), std::end(passiveEndings), ending) !=
           std::end(passiveEndings);
}

}  // namespace pelkotool
