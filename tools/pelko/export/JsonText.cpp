#include "tools/pelko/export/JsonText.h"

#include <cmath>

#include "tools/pelko/Output.h"
#include "tools/pelko/export/JsonLinesFormat.h"

namespace pelkotool {

namespace {

void appendBytes(std::string& json, const char* name, std::string_view bytes) {
    constexpr char digits[] = "0123456789abcdef";
    json.append("{\"").append(name).append("\":\"");
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        json += digits[byte >> 4U];
        json += digits[byte & 0xFU];
    }
    json += "\"}";
}

void appendReal(std::string& json, double value) {
    if (std::isinf(value)) {
        json.append("{\"").append(key::real).append(value > 0 ? "\":\"inf\"}" : "\":\"-inf\"}");
    } else {
        json += Json(value).dump();  // the shortest that reads back the same, never without point or exponent
    }
}

int digitValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

}  // namespace

void appendText(std::string& json, std::string_view text) {
    try {
        json += Json(text).dump(-1, ' ', false, Json::error_handler_t::strict);
    } catch (const Json::type_error&) {
        appendBytes(json, key::textHex, text);
    }
}

void appendValue(std::string& json, const Statement& row, int column) {
    switch (sqlite3_column_type(row.handle(), column)) {
        case SQLITE_INTEGER:
            json += std::to_string(row.integer(column));
            break;
        case SQLITE_FLOAT:
            appendReal(json, sqlite3_column_double(row.handle(), column));
            break;
        case SQLITE_TEXT:
            appendText(json, row.text(column));
            break;
        case SQLITE_BLOB:
            appendBytes(json, key::blobHex, row.text(column));
            break;
        default:
            json += "null";
    }
}

bool decodeHex(std::string_view digits, std::string& bytes) {
    if (digits.size() % 2 != 0) {
        return false;
    }
    bytes.clear();
    bytes.reserve(digits.size() / 2);
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const int high = digitValue(digits[i]);
        const int low = digitValue(digits[i + 1]);
        if (high < 0 || low < 0) {
            return false;
        }
        bytes += static_cast<char>(high * 16 + low);
    }
    return true;
}

}  // namespace pelkotool
