#ifndef PELKO_TOOL_EXPORT_PASSIVE_FILES_H
#define PELKO_TOOL_EXPORT_PASSIVE_FILES_H

#include <string>

namespace pelkotool {

/// Where the ending of a file's name begins, with its dot; the end of the name without one.
std::size_t placeOfEnding(const std::string& name);

/// Whether a browser that opens the file by itself shows or saves it, and runs nothing in it with the rights
/// of the pages beside it: by its ending, which is what browsers go by with files. One without an ending, or
/// with one that they do not know, is no such file: they would guess by its content, which is the sender's.
bool isPassiveFile(const std::string& name);

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_PASSIVE_FILES_H
