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
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(shortText, sizeof shortText, fmt, arguments);
    va_end(arguments);

    std::string text;
    if (length >= 0) {
        const auto size = static_cast<std::size_t>(length);
        if (size < sizeof shortText) {
            text.assign(shortText, size);
        } else {
            text.resize(size);
            std::vsnprintf(&text[0], size + 1, fmt, again);
        }
    }
    va_end(again);

    if (length < 0) {
        throw std::length_error("string_format: the text cannot be formatted");
    }
    return text;
}

}  // namespace pelkoapi
