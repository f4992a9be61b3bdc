#ifndef PELKO_TOOL_EXPORT_JSON_TEXT_H
#define PELKO_TOOL_EXPORT_JSON_TEXT_H

#include <string>
#include <string_view>

#include "tools/pelko/file/Database.h"

// Stored values as the JSON of an export, which keeps every storage class and every byte.

namespace pelkotool {

/// A text: a string, or its bytes in hexadecimal where they are no UTF-8.
void appendText(std::string& json, std::string_view text);

/// The value of a column in the statement's row, which has not been read in any other way before: SQLite
/// converts a value in its place.
void appendValue(std::string& json, const Statement& row, int column);

/// Bytes of two digits each; false for what is none. @param bytes  gets them
bool decodeHex(std::string_view digits, std::string& bytes);

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_JSON_TEXT_H
