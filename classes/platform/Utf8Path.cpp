#include "classes/platform/Utf8Path.h"

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#endif

namespace pelkoapi {

#ifdef _WIN32

std::filesystem::path pathOf(const std::string& utf8) {
    const auto length = static_cast<int>(utf8.size());
    std::wstring wide(utf8.size(), L'\0');  // never longer than the text
    const int size =
        MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), length, wide.data(), length);
    wide.resize(static_cast<std::size_t>(size));
    return wide;
}

std::string utf8Of(const std::filesystem::path& path) {
    const std::wstring& wide = path.native();
    constexpr std::size_t longestCharacter = 3;  // a pair of units, of four bytes, is shorter than that
    std::string utf8(wide.size() * longestCharacter, '\0');
    const int size = WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), utf8.data(),
                                         static_cast<int>(utf8.size()), nullptr, nullptr);
    utf8.resize(static_cast<std::size_t>(size));
    return utf8;
}

#else

std::filesystem::path pathOf(const std::string& utf8) {
    return utf8;
}

std::string utf8Of(const std::filesystem::path& path) {
    return path.native();
}

#endif

}  // namespace pelkoapi
