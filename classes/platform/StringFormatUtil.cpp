#include "classes/platform/StringFormatUtil.h"

#include <cstdarg>
#include <cstdio>
#include <stdexcept>

namespace pelkoapi {

std::string StringFormatUtil::string_format(const char* fmt, ...) {
    // Most statements of the store fit; only longer ones are formatted a second time.
    char shortText[1024];

    std::va_list arguments;
    va_start(arguments, fmt);
    const int length = std::vsnprintf(shortText, sizeof shortText, fmt, arguments);
    va_end(arguments);
    if (length < 0) {
        throw std::length_error("string_format: the text cannot be formatted");
    }
    const auto size = static_cast<std::size_t>(length);
    if (size < sizeof shortText) {
        return {shortText, size};
    }
    std::string text(size, '\0');
    va_start(arguments, fmt);
    std::vsnprintf(&text[0], size + 1, fmt, arguments);
    va_end(arguments);
    return text;
}

}  // namespace pelkoapi
