#ifndef PELKO_TOOL_SALVAGE_RECORD_H
#define PELKO_TOOL_SALVAGE_RECORD_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/pelko/salvage/Bytes.h"

namespace pelkotool {

enum class StorageClass : std::uint8_t { null, integer, real, text, blob };

/// A value as it is stored.
struct Value {
    StorageClass kind = StorageClass::null;
    std::int64_t integer = 0;
    double real = 0;
    std::string bytes;  ///< of a text or blob

    static Value ofInteger(std::int64_t number) { return {StorageClass::integer, number, 0, {}}; }
    static Value ofText(const std::string& text) { return {StorageClass::text, 0, 0, text}; }
};

using Record = std::vector<Value>;

/// The values of a record. Nothing when it is not exactly as SQLite writes one: every length within its
/// bounds, and no byte left over.
std::optional<Record> parseRecord(ByteView payload);

/// A number that is the same for records of the same values and classes.
std::uint64_t fingerprint(const Record& record);

}  // namespace pelkotool

#endif  // PELKO_TOOL_SALVAGE_RECORD_H
