// A client that brings its own platform functions: it links pelko_storage alone, stores a message, and finds
// it again after a restart. It exits with 0 when all of that held, otherwise it says what did not.

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>

#include "classes/platform/FileUtil.h"
#include "classes/platform/Log.h"
#include "classes/platform/LoginContext.h"
#include "classes/storage/PelkoDBManager.h"

namespace {

std::string dataFolder;
const std::string loggedIn = "me";

bool expect(bool held, const char* what) {
    if (!held) {
        std::fprintf(stderr, "expected: %s\n", what);
    }
    return held;
}

}  // namespace

namespace pelkoapi {

std::string FileUtil::getUserDataRoot() {
    return dataFolder;
}

int FileUtil::createFile(const std::string& path, bool overwrite) {
    return std::ofstream(path, overwrite ? std::ios::trunc : std::ios::app) ? 0 : -1;
}

std::string FileUtil::getAppRelativePath(const std::string& path) {
    return path;
}

std::string FileUtil::getFullPath(const std::string& path) {
    return path;
}

bool FileUtil::exist(const std::string& path) {
    return std::filesystem::exists(path);
}

bool FileUtil::remove(const std::string&) {
    return false;
}

LoginContext* LoginContext::getInstance() {
    static LoginContext instance;
    return &instance;
}

const std::string& LoginContext::getUserName() const {
    return loggedIn;
}

void LoginContext::setUserName(const std::string&) {
}

bool log_error() {
    return true;
}

bool log_file() {
    return false;
}

void c_ns_log(const char* fmt, ...) {
    std::va_list arguments;
    va_start(arguments, fmt);
    std::vfprintf(stderr, fmt, arguments);
    va_end(arguments);
    std::fputc('\n', stderr);
}

void log_file(const char*, ...) {
}

}  // namespace pelkoapi

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return EXIT_FAILURE;
    }
    dataFolder = argv[1];
    std::filesystem::remove_all(dataFolder);
    std::filesystem::create_directories(dataFolder);

    using namespace pelkoapi;
    PelkoDBManager* const store = PelkoDBManager::getInstance();
    const PelkoUser alice("alice");
    PelkoMessage hello = PelkoMessage::createTextMessage(alice, "it's me");

    bool held = expect(store->setUp(), "the store opens");
    held = expect(store->insertMessage(&hello), "a message is stored") && held;
    store->tearDown();

    held = expect(store->setUp(), "the store opens again") && held;
    std::deque<PelkoMessage> page;
    held = expect(store->getLatestMessages(alice, 20, page), "the conversation is read") && held;
    held = expect(page.size() == 1 && page.front().text == "it's me", "it holds the message") && held;
    store->tearDown();
    return held ? EXIT_SUCCESS : EXIT_FAILURE;
}
