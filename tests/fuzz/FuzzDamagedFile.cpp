#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "classes/storage/PelkoDBManager.h"
#include "tests/fuzz/FileDamage.h"
#include "tests/fuzz/FuzzFeatures.h"
#include "tests/fuzz/FuzzFolder.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tests/reliability/support/StoreOperations.h"
#include "tests/support/TestPlatform.h"

// Every operation over a file that the input damages. No result is foretold: what must hold is that the
// program lives, that a failure is told on both channels, and that one that is told is not reported as a
// success.

namespace pelkotest {

namespace {

using namespace pelkoapi;

/// The folder that all inputs use, with the sound file that they damage.
struct SoundFile {
    FuzzFolder folder;
    std::string bytes;

    SoundFile() {
        PelkoDBManager* const manager = PelkoDBManager::getInstance();
        manager->setUp();
        fillStore(*manager);
        manager->tearDown();
        bytes = folder.readDatabase();
    }
};

[[noreturn]] void tellFinding(const std::string& operation, const char* what) {
    std::string text = operation + ": " + what + "\nlog file:\n";
    for (const std::string& line : platform().file) {
        text += line + '\n';
    }
    text += "console:\n";
    for (const std::string& line : platform().console) {
        text += line + '\n';
    }
    std::fputs(text.c_str(), stderr);
    std::fflush(stderr);
    std::abort();
}

bool contains(const std::string& line, const std::string& part) {
    return line.find(part) != std::string::npos;
}

bool toldAsFailed(const std::string& operation) {
    for (const std::string& line : platform().file) {
        if (line.rfind(operation + " failed, exception in (", 0) == 0) {
            return true;
        }
    }
    return false;
}

/// Looks at the lines that the operation logged, and forgets them.
void checkLog(const std::string& operation) {
    const std::vector<std::string>& file = platform().file;
    const std::vector<std::string>& console = platform().console;
    if (console.size() != file.size()) {
        tellFinding(operation, "the two channels have different numbers of lines");
    }
    for (std::size_t i = 0; i < file.size(); ++i) {
        if (console[i] != "[pelko]" + file[i]) {
            tellFinding(operation, "the two channels differ");
        }
        if (!contains(file[i], " failed, exception in (") && !contains(file[i], "db is not ready(")) {
            tellFinding(operation, "a line of no known form");
        }
        noteFeature(operation + ' ' + file[i]);
    }
    platform().file.clear();
    platform().console.clear();
}

bool checkedSetUp(PelkoDBManager& manager) {
    const bool opened = manager.setUp();
    if (opened == toldAsFailed("setUp")) {
        tellFinding("setUp", opened ? "succeeded and logged its failure" : "failed and logged nothing");
    }
    checkLog("setUp");
    return opened;
}

void checkedRun(PelkoDBManager& manager, const StoreOperation& operation, bool opened) {
    const std::string name = operation.name;
    const Outcome outcome = operation.run(manager);
    const bool isFlag = outcome.value == "true" || outcome.value == "false";
    noteFeature(name + ' ' + (isFlag ? outcome.value : ""));
    // These log that the files could not be found, and go on.
    const bool goesOn = name == "deleteMessages" || name == "clearMessages";
    if (outcome.value == "true" && toldAsFailed(name) && !goesOn) {
        tellFinding(name, "succeeded and logged its failure");
    }
    if (!opened && outcome.value == "true") {
        tellFinding(name, "succeeded without an open file");
    }
    if (!opened && platform().file.empty() && name != "transStringQuote") {
        tellFinding(name, "logged nothing without an open file");
    }
    checkLog(name);
}

}  // namespace

}  // namespace pelkotest

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace pelkotest;
    static const SoundFile sound;
    const DatabaseBytes bytes = damaged(sound.bytes, FuzzInput(data, size));
    sound.folder.reset(bytes.database, bytes.log);

    pelkoapi::PelkoDBManager& manager = *pelkoapi::PelkoDBManager::getInstance();
    const bool opened = checkedSetUp(manager);
    for (const StoreOperation& operation : storeOperations()) {
        checkedRun(manager, operation, opened);
    }
    manager.tearDown();
    checkedSetUp(manager);  // over what the operations made of it
    manager.tearDown();
    return 0;
}
