#include "tools/pelko/StoreLog.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

#include "classes/platform/Log.h"

namespace pelkotool {

namespace {

std::optional<std::string>& firstLine() {
    static std::optional<std::string> line;
    return line;
}

/// "…failed, exception in (REASON)." without what is around the reason; any other line as it stands.
std::string reasonOf(const std::string& line) {
    static const std::string before = " failed, exception in (";
    static const std::string after = ").";
    const std::size_t start = line.find(before);
    if (start == std::string::npos || line.size() < start + before.size() + after.size()) {
        return line;
    }
    const std::size_t reason = start + before.size();
    return line.substr(reason, line.size() - after.size() - reason);
}

void keep(const char* fmt, std::va_list arguments) {
    if (firstLine()) {
        return;
    }
    std::va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, fmt, measured);
    va_end(measured);
    std::vector<char> text(length < 0 ? 1 : static_cast<std::size_t>(length) + 1);
    std::vsnprintf(text.data(), text.size(), fmt, arguments);
    firstLine() = text.data();
}

}  // namespace

void forgetStoreLog() {
    firstLine().reset();
}

std::optional<std::string> firstStoreFailure() {
    if (!firstLine()) {
        return std::nullopt;
    }
    return reasonOf(*firstLine());
}

}  // namespace pelkotool

namespace pelkoapi {

bool log_error() {
    return true;
}

bool log_file() {
    return false;
}

void c_ns_log(const char* fmt, ...) {
    std::va_list arguments;
    va_start(arguments, fmt);
    pelkotool::keep(fmt, arguments);
    va_end(arguments);
}

void log_file(const char* /*fmt*/, ...) {
}

}  // namespace pelkoapi
