#include <signal.h>  // sigaction and alarm are POSIX's, not the standard library's
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>

#include "tests/fuzz/FuzzTarget.h"
#include "tests/fuzz/SavedInputs.h"

// Runs the saved inputs of a fuzzer, in every build, and packs and unpacks the file in which they are kept.

// Of the sanitizers' runtime; null in a build without them.
extern "C" void __sanitizer_set_death_callback(void (*callback)()) __attribute__((weak));

namespace {

constexpr unsigned secondsPerInput = 60;

char currentInput[256] = "";

/// Names the input that is running. Called in whatever state a finding leaves the program.
void nameInput() {
    const char before[] = "\nfound by the saved input ";
    const char after[] = "; unpack the file to have it by itself\n";
    for (const char* const part : {before, static_cast<const char*>(currentInput), after}) {
        if (write(STDERR_FILENO, part, std::strlen(part)) < 0) {
            return;
        }
    }
}

extern "C" void nameInputAndDie(int signalNumber) {
    nameInput();
    signal(signalNumber, SIG_DFL);
    raise(signalNumber);
}

void nameInputAtFindings() {
    signal(SIGABRT, nameInputAndDie);  // a mismatch
    signal(SIGALRM, nameInputAndDie);  // a hang
    if (__sanitizer_set_death_callback != nullptr) {
        __sanitizer_set_death_callback(nameInput);
        return;
    }
    for (const int signalNumber : {SIGSEGV, SIGBUS, SIGFPE, SIGILL}) {
        signal(signalNumber, nameInputAndDie);
    }
}

int replay(const std::string& path, const char* target) {
    nameInputAtFindings();
    const std::vector<pelkotest::SavedInput> inputs =
        std::strlen(path.c_str()) > 4 && path.substr(path.size() - 4) == ".bin" ? pelkotest::readPacked(path)
                                                                                : pelkotest::readFolder(path);
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        std::snprintf(currentInput, sizeof currentInput, "%s of %s", pelkotest::nameOf(i).c_str(),
                      path.c_str());
        alarm(secondsPerInput);
        LLVMFuzzerTestOneInput(inputs[i].data(), inputs[i].size());
    }
    alarm(0);
    std::printf("counted: %zu saved inputs of %s\n", inputs.size(), target);
    return inputs.empty() ? EXIT_FAILURE : EXIT_SUCCESS;
}

int usage() {
    std::fputs(
        "replay TARGET FILE|FOLDER   runs the saved inputs of a packed file or a folder\n"
        "pack FOLDER FILE            packs the files of a folder\n"
        "unpack FILE FOLDER          writes each packed input to a file of its own\n",
        stderr);
    return EXIT_FAILURE;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 4) {
        return usage();
    }
    const std::string command = arguments[1];
    try {
        if (command == "replay") {
            return replay(arguments[3], arguments[2]);
        }
        if (command == "pack") {
            pelkotest::writePacked(pelkotest::readFolder(arguments[2]), arguments[3]);
            return EXIT_SUCCESS;
        }
        if (command == "unpack") {
            pelkotest::writeFolder(pelkotest::readPacked(arguments[2]), arguments[3]);
            return EXIT_SUCCESS;
        }
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "%s\n", exception.what());
        return EXIT_FAILURE;
    }
    return usage();
}
