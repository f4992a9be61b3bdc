#ifndef PELKO_PLATFORM_UTF8_PATH_H
#define PELKO_PLATFORM_UTF8_PATH_H

#include <filesystem>
#include <string>

// Every path that is a text is UTF-8. The standard library's own conversions take a text for one of the
// system's code page on Windows, and throw where it is none; so texts become paths, and paths texts, here
// alone.

namespace pelkoapi {

/// The path that a text of UTF-8 names. Where paths are not bytes, a text that is no UTF-8 names none: it
/// gives the empty path.
std::filesystem::path pathOf(const std::string& utf8);

/// The path as a text of UTF-8. What a path of Windows has that no text can hold becomes U+FFFD.
std::string utf8Of(const std::filesystem::path& path);

}  // namespace pelkoapi

#endif  // PELKO_PLATFORM_UTF8_PATH_H
