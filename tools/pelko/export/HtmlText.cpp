#include "tools/pelko/export/HtmlText.h"

#include <algorithm>
#include <cctype>

#include "classes/platform/StringFormatUtil.h"
#include "tools/pelko/Text.h"

namespace pelkotool {

namespace {

using pelkoapi::StringFormatUtil;

enum class Lines { one, several };

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

bool isControl(char32_t code) {
    return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

std::string validText(std::string_view raw, Lines lines) {
    std::string valid;
    valid.reserve(raw.size());
    while (!raw.empty()) {
        const auto [code, length] = firstCharacter(raw);
        const bool isLayout = code == '\n' || code == '\t' || (code == '\r' && raw.substr(1, 1) == "\n");
        if (length == 0) {
            valid += replacementCharacter;
        } else if (isLayout && lines == Lines::several) {
            valid += code == '\r' ? std::string_view() : raw.substr(0, length);
        } else if (isControl(code)) {
            valid += StringFormatUtil::string_format("\\x%02X", static_cast<unsigned int>(code));
        } else if (lines == Lines::one && (overridesDirection(code) || code == 0x2028 || code == 0x2029)) {
            valid += StringFormatUtil::string_format("\\u%04X", static_cast<unsigned int>(code));
        } else {
            valid += raw.substr(0, length);
        }
        raw.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return valid;
}

bool startsWithIgnoringCase(std::string_view text, std::string_view start) {
    return text.size() >= start.size() &&
           std::equal(start.begin(), start.end(), text.begin(), [](char expected, char found) {
               return expected == std::tolower(static_cast<unsigned char>(found));
           });
}

bool isAsciiAlnum(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

/// The length of "http://" or "https://" at the start of the text; 0 without either.
std::size_t schemeLength(std::string_view text) {
    for (const std::string_view scheme : {"http://", "https://"}) {
        if (startsWithIgnoringCase(text, scheme)) {
            return scheme.size();
        }
    }
    return 0;
}

bool endsLink(char32_t code) {
    constexpr std::string_view delimiters = "<>\"`\\^{}|";
    if (code < 0x80) {
        return code <= ' ' || code == 0x7F ||
               delimiters.find(static_cast<char>(code)) != std::string_view::npos;
    }
    // Spaces, marks that are not seen, and the place of bytes that were no UTF-8.
    return code <= 0xA0 || (code >= 0x2000 && code <= 0x200F) || (code >= 0x2028 && code <= 0x202F) ||
           (code >= 0x205F && code <= 0x206F) || code == 0x3000 || code == 0xFEFF || code == 0xFFFD;
}

/// How many closing brackets the text has more than opening ones.
long unopenedIn(std::string_view text, char open, char close) {
    return static_cast<long>(std::count(text.begin(), text.end(), close)) -
           static_cast<long>(std::count(text.begin(), text.end(), open));
}

/// Without what ends a sentence, and without the closing brackets of one that the whole link stands in.
std::string_view withoutSentenceEnd(std::string_view link) {
    long round = unopenedIn(link, '(', ')');
    long square = unopenedIn(link, '[', ']');
    constexpr std::string_view sentenceEnds = ".,;:!?'*_~";
    for (; !link.empty(); link.remove_suffix(1)) {
        const char last = link.back();
        if (last == ')' && round > 0) {
            --round;
        } else if (last == ']' && square > 0) {
            --square;
        } else if (sentenceEnds.find(last) == std::string_view::npos) {
            break;
        }
    }
    return link;
}

/// How long the link at the start of the text is; 0 when there is none.
std::size_t linkLength(std::string_view text) {
    const std::size_t scheme = schemeLength(text);
    if (scheme == 0 || scheme == text.size()) {
        return 0;
    }
    const char host = text[scheme];
    if (!isAsciiAlnum(host) && host != '[' && static_cast<unsigned char>(host) < 0x80) {
        return 0;
    }
    std::size_t end = scheme;
    while (end < text.size()) {
        const auto [code, length] = firstCharacter(text.substr(end));
        if (length == 0 || endsLink(code)) {
            break;
        }
        end += length;
    }
    const std::string_view link = withoutSentenceEnd(text.substr(0, end));
    return link.size() > scheme ? link.size() : 0;
}

}  // namespace

std::string blockText(std::string_view raw) {
    return validText(raw, Lines::several);
}

std::string lineText(std::string_view raw) {
    return validText(raw, Lines::one);
}

std::vector<TextPart> partsOf(std::string_view text) {
    std::vector<TextPart> parts;
    std::size_t done = 0;
    for (std::size_t at = text.find("://"); at != std::string_view::npos; at = text.find("://", at)) {
        std::size_t start = at;
        while (start > done && isAsciiAlnum(text[start - 1])) {
            --start;
        }
        const std::size_t length = linkLength(text.substr(start));
        if (length == 0) {
            ++at;
            continue;
        }
        if (start > done) {
            parts.push_back({std::string(text.substr(done, start - done)), false});
        }
        parts.push_back({std::string(text.substr(start, length)), true});
        done = at = start + length;
    }
    if (done < text.size()) {
        parts.push_back({std::string(text.substr(done)), false});
    }
    return parts;
}

std::string linkToFile(const std::string& path, const std::string& root) {
    std::string link;
    for (const char c : path) {
        // Two slashes at the start would make what follows the name of another machine.
        if (c == '/' && link == "/") {
            continue;
        }
        constexpr std::string_view harmless = "/-_.~";
        if (isAsciiAlnum(c) || harmless.find(c) != std::string_view::npos) {
            link += c;
        } else {
            link += StringFormatUtil::string_format("%%%02X",
                                                    static_cast<unsigned int>(static_cast<unsigned char>(c)));
        }
    }
    return link.rfind('/', 0) == 0 ? link : root + link;
}

std::string fileName(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos || slash + 1 == path.size() ? path : path.substr(slash + 1);
}

}  // namespace pelkotool
