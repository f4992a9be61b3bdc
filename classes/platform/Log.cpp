#include "classes/platform/Log.h"

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <string>

#include "classes/platform/DefaultPlatform.h"
#include "classes/platform/Utf8Path.h"

namespace pelkoapi {

namespace {

struct LogSettings {
    bool consoleEnabled = true;
    bool fileEnabled = false;
    std::string filePath;
};

LogSettings& settings() {
    static LogSettings instance;
    return instance;
}

std::FILE* openToAppend(const std::string& path) {
#ifdef _WIN32
    return _wfopen(pathOf(path).c_str(), L"a");
#else
    return std::fopen(path.c_str(), "a");
#endif
}

[[gnu::format(printf, 2, 0)]] void writeLine(std::FILE* out, const char* fmt, std::va_list arguments) {
    std::vfprintf(out, fmt, arguments);
    std::fputc('\n', out);
}

}  // namespace

void setConsoleLogEnabled(bool enabled) {
    settings().consoleEnabled = enabled;
}

void setFileLogEnabled(bool enabled) {
    settings().fileEnabled = enabled;
}

void setLogFilePath(const std::string& path) {
    settings().filePath = path;
}

bool log_error() {
    return settings().consoleEnabled;
}

bool log_file() {
    return settings().fileEnabled;
}

void c_ns_log(const char* fmt, ...) {
    std::va_list arguments;
    va_start(arguments, fmt);
    writeLine(stderr, fmt, arguments);
    va_end(arguments);
}

void log_file(const char* fmt, ...) {
    // Opened for each line: lines are rare, and a log file that was moved away or deleted is made anew.
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(openToAppend(settings().filePath),
                                                               &std::fclose);
    if (!file) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, fmt);
    writeLine(file.get(), fmt, arguments);
    va_end(arguments);
}

}  // namespace pelkoapi
