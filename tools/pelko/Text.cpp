#include "tools/pelko/Text.h"

#include <algorithm>
#include <iterator>

#include "classes/platform/StringFormatUtil.h"

namespace pelkotool {

namespace {

using pelkoapi::StringFormatUtil;

struct Range {
    char32_t first;
    char32_t last;
};

template <typename Ranges>
bool isIn(const Ranges& ranges, char32_t code) {
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [&](const Range& range) { return code >= range.first && code <= range.last; });
}

// The C library's wcwidth() knows these only under a UTF-8 locale, which a script may not have set. The
// blocks that occur in chat are enough for columns that line up.
constexpr Range zeroWidth[] = {
    {0x0300, 0x036F}, {0x200B, 0x200F}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFEFF, 0xFEFF}};
constexpr Range doubleWidth[] = {{0x1100, 0x115F},   {0x2E80, 0xA4CF},   {0xAC00, 0xD7A3},
                                 {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},
                                 {0xFFE0, 0xFFE6},   {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF},
                                 {0x1F900, 0x1FAFF}, {0x20000, 0x3FFFD}};

std::size_t widthOf(char32_t code) {
    if (isIn(zeroWidth, code)) {
        return 0;
    }
    return isIn(doubleWidth, code) ? 2 : 1;
}

}  // namespace

Character firstCharacter(std::string_view text) {
    const auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byteAt(0);
    if (lead < 0x80) {
        return {lead, 1};
    }
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) {
        return {};
    }
    char32_t code = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xC0U) != 0x80U) {
            return {};
        }
        code = code << 6U | (byteAt(i) & 0x3FU);
    }
    constexpr char32_t leastOfLength[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < leastOfLength[length] || code > 0x10FFFF || surrogate) {
        return {};
    }
    return {code, length};
}

bool overridesDirection(char32_t code) {
    return (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

std::string inSmallLetters(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

std::string visibleText(std::string_view text) {
    std::string visible;
    visible.reserve(text.size());
    while (!text.empty()) {
        const auto [code, length] = firstCharacter(text);
        if (length == 0 || code < 0x20 || code == 0x7F) {
            visible += StringFormatUtil::string_format(
                "\\x%02X", static_cast<unsigned int>(static_cast<unsigned char>(text.front())));
        } else if ((code >= 0x80 && code < 0xA0) || overridesDirection(code)) {
            visible += StringFormatUtil::string_format("\\u%04X", static_cast<unsigned int>(code));
        } else {
            visible += text.substr(0, length);
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return visible;
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = firstCharacter(text).length;
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

std::size_t displayWidth(std::string_view visible) {
    std::size_t width = 0;
    while (!visible.empty()) {
        const auto [code, length] = firstCharacter(visible);
        width += length == 0 ? 1 : widthOf(code);
        visible.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return width;
}

std::string shortened(std::string_view visible, std::size_t width) {
    if (displayWidth(visible) <= width) {
        return std::string(visible);
    }
    if (width == 0) {
        return {};
    }
    std::size_t columns = 1;  // of the ellipsis
    std::size_t bytes = 0;
    for (std::string_view rest = visible; !rest.empty(); rest = visible.substr(bytes)) {
        const auto [code, length] = firstCharacter(rest);
        columns += length == 0 ? 1 : widthOf(code);
        if (columns > width) {
            break;
        }
        bytes += std::max<std::size_t>(length, 1);
    }
    return std::string(visible.substr(0, bytes)) + "…";
}

}  // namespace pelkotool
