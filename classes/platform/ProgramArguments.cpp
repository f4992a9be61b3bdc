#include "classes/platform/ProgramArguments.h"

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
// After windows.h, which it needs.
#include <shellapi.h>

#include <memory>

#include "classes/platform/Utf8Path.h"
#endif

namespace pelkoapi {

std::vector<std::string> utf8Arguments(int argc, const char* const* argv) {
#ifdef _WIN32
    int count = 0;
    const std::unique_ptr<LPWSTR, decltype(&LocalFree)> wide(CommandLineToArgvW(GetCommandLineW(), &count),
                                                             &LocalFree);
    if (wide) {
        std::vector<std::string> arguments;
        for (int i = 0; i < count; ++i) {
            arguments.push_back(utf8Of(wide.get()[i]));
        }
        return arguments;
    }
#endif
    return {argv, argv + argc};
}

}  // namespace pelkoapi
