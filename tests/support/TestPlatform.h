#ifndef PELKO_TESTS_SUPPORT_TEST_PLATFORM_H
#define PELKO_TESTS_SUPPORT_TEST_PLATFORM_H

#include <functional>
#include <set>
#include <string>
#include <vector>

// Platform functions that a test can steer and look into: the storage tests define FileUtil, LoginContext and
// the log functions themselves, as a client with its own platform does.

namespace pelkotest {

struct TestPlatform {
    // FileUtil
    std::string appRoot = "/app";           ///< prefix that getAppRelativePath takes off
    std::string userRoot;                   ///< where db.dat lies
    int createFileResult = 0;               ///< what createFile returns; it creates nothing
    std::set<std::string> existing;         ///< absolute paths of which exist() says yes
    std::vector<std::string> createdFiles;  ///< paths passed to createFile, in order
    std::vector<bool> createdOverwrite;     ///< the flags passed with them
    std::function<void()> onCreateFile;     ///< called by createFile before it returns, if set
    std::vector<std::string> existAsked;    ///< paths passed to exist, in order
    std::vector<std::string> removed;       ///< paths passed to remove, in order
    std::function<void()> onRemove;         ///< called by remove before it returns, if set

    // Log
    bool consoleOn = true;
    bool fileOn = true;
    std::vector<std::string> console;  ///< lines of c_ns_log, formatted
    std::vector<std::string> file;     ///< lines of log_file, formatted
    int consoleSwitchAsked = 0;
    int fileSwitchAsked = 0;
};

/// The one platform that the functions use; each test starts with a fresh one.
TestPlatform& platform();

}  // namespace pelkotest

#endif  // PELKO_TESTS_SUPPORT_TEST_PLATFORM_H
