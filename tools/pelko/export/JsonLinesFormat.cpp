#include "tools/pelko/export/JsonLinesFormat.h"

namespace pelkotool {

namespace {

constexpr char columnPrefix[] = "column:";
constexpr std::size_t prefixLength = sizeof columnPrefix - 1;

}  // namespace

std::string keyOfColumn(const std::string& name) {
    const bool taken = name == key::record || name == key::table || name == key::rowId ||
                       name == key::derived || name.rfind(columnPrefix, 0) == 0;
    return taken ? columnPrefix + name : name;
}

std::string columnOfKey(const std::string& field) {
    return field.rfind(columnPrefix, 0) == 0 ? field.substr(prefixLength) : field;
}

}  // namespace pelkotool
