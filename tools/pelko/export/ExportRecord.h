#ifndef PELKO_TOOL_EXPORT_EXPORT_RECORD_H
#define PELKO_TOOL_EXPORT_EXPORT_RECORD_H

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace pelkotool {

struct Blob {
    std::string bytes;
};

/// JSON that is no stored value: true and false, lists, objects of another kind.
struct NoValue {};

/// NULL, an integer, a real number, a text, a blob.
using StoredValue = std::variant<std::monostate, long long, double, std::string, Blob, NoValue>;

/// What is wrong with a line, for people.
class LineError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A name out of a line, to stand in an error: it may hold anything, also a NUL byte, at which an error ends.
std::string nameInError(const std::string& name);

/// One line of an export: the values by their keys, each key once, in their order.
struct ExportRecord {
    std::vector<std::pair<std::string, StoredValue>> fields;

    /// Null where the line does not have it.
    const StoredValue* find(std::string_view name) const;
    /// The same, if it is a value of that type.
    template <typename T>
    const T* findOf(std::string_view name) const {
        return std::get_if<T>(find(name));
    }
};

/// @throws LineError for what is no line of an export. Whatever it is, little more memory is taken than the
/// line has bytes
ExportRecord parseRecord(std::string_view line);

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_EXPORT_RECORD_H
