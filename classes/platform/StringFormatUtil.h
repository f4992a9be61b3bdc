#ifndef PELKO_PLATFORM_STRING_FORMAT_UTIL_H
#define PELKO_PLATFORM_STRING_FORMAT_UTIL_H

#include <string>

#include "classes/platform/Export.h"

namespace pelkoapi {

/// @ingroup platform
/// printf into a std::string. Part of the storage library, not of the replaceable platform.
class PELKO_API StringFormatUtil {
public:
    /// The formatted text, whatever its length. As in printf, a "%s" argument ends at its first NUL byte.
    /// @throws std::length_error when the C library cannot format it (a result beyond INT_MAX bytes)
    [[gnu::format(printf, 1, 2)]] static std::string string_format(const char* fmt, ...);
};

}  // namespace pelkoapi

#endif  // PELKO_PLATFORM_STRING_FORMAT_UTIL_H
