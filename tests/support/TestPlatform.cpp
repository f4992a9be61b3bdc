#include "tests/support/TestPlatform.h"

#include <cstdarg>
#include <cstdio>

#include "classes/platform/FileUtil.h"
#include "classes/platform/Log.h"
#include "classes/platform/LoginContext.h"

namespace pelkotest {

TestPlatform& platform() {
    static TestPlatform instance;
    return instance;
}

namespace {

[[gnu::format(printf, 1, 0)]] std::string formatted(const char* fmt, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    std::string line(static_cast<std::size_t>(std::vsnprintf(nullptr, 0, fmt, again)), '\0');
    va_end(again);
    std::vsnprintf(&line[0], line.size() + 1, fmt, arguments);
    return line;
}

}  // namespace

}  // namespace pelkotest

namespace pelkoapi {

using pelkotest::platform;

std::string FileUtil::getUserDataRoot() {
    return platform().userRoot;
}

int FileUtil::createFile(const std::string& path, bool overwrite) {
    platform().createdFiles.push_back(path);
    platform().createdOverwrite.push_back(overwrite);
    if (platform().onCreateFile) {
        platform().onCreateFile();
    }
    return platform().createFileResult;
}

std::string FileUtil::getAppRelativePath(const std::string& path) {
    const std::string root = platform().appRoot + "/";
    return path.compare(0, root.size(), root) == 0 ? path.substr(root.size()) : path;
}

std::string FileUtil::getFullPath(const std::string& path) {
    return path.empty() || path.front() == '/' ? path : platform().appRoot + "/" + path;
}

bool FileUtil::exist(const std::string& path) {
    platform().existAsked.push_back(path);
    return platform().existing.count(path) != 0;
}

bool FileUtil::remove(const std::string& path) {
    platform().removed.push_back(path);
    if (platform().onRemove) {
        platform().onRemove();
    }
    return true;
}

LoginContext* LoginContext::getInstance() {
    static LoginContext instance;
    return &instance;
}

const std::string& LoginContext::getUserName() const {
    return mUserName;
}

void LoginContext::setUserName(const std::string& userName) {
    mUserName = userName;
}

bool log_error() {
    ++platform().consoleSwitchAsked;
    return platform().consoleOn;
}

bool log_file() {
    ++platform().fileSwitchAsked;
    return platform().fileOn;
}

void c_ns_log(const char* fmt, ...) {
    std::va_list arguments;
    va_start(arguments, fmt);
    platform().console.push_back(pelkotest::formatted(fmt, arguments));
    va_end(arguments);
}

void log_file(const char* fmt, ...) {
    std::va_list arguments;
    va_start(arguments, fmt);
    platform().file.push_back(pelkotest::formatted(fmt, arguments));
    va_end(arguments);
}

}  // namespace pelkoapi
