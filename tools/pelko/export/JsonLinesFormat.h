#ifndef PELKO_TOOL_EXPORT_JSON_LINES_FORMAT_H
#define PELKO_TOOL_EXPORT_JSON_LINES_FORMAT_H

#include <cstddef>
#include <string>

// What the writer and the reader of an export agree on; docs/export.md describes it.

namespace pelkotool {

constexpr char jsonLinesName[] = "export.jsonl";
constexpr long long jsonLinesFormat = 1;

/// A longer line is not read. No row of the store is longer than that many bytes itself.
constexpr std::size_t longestLine = std::size_t{128} * 1024 * 1024;

/// SQLite's own limit.
constexpr std::size_t mostColumns = 2000;

namespace key {

constexpr char record[] = "record";
constexpr char table[] = "table";
constexpr char rowId[] = "rowid";
constexpr char derived[] = "_";
constexpr char textHex[] = "text_hex";
constexpr char blobHex[] = "blob_hex";
constexpr char real[] = "real";

}  // namespace key

/// The one table whose ids are never given out twice.
constexpr char sequencedTable[] = "tbl_notify";

/// The key of a column: its name, with "column:" before it where the name has another meaning in a line.
std::string keyOfColumn(const std::string& name);
/// The inverse.
std::string columnOfKey(const std::string& field);

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_JSON_LINES_FORMAT_H
