#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "classes/platform/ProgramArguments.h"
#include "classes/platform/Terminal.h"
#include "tools/pelko/CommandLine.h"

int main(int argc, char** argv) {
    pelkoapi::prepareTerminal();
    const std::vector<std::string> arguments = pelkoapi::utf8Arguments(argc, argv);
    std::vector<const char*> pointers;
    std::transform(arguments.begin(), arguments.end(), std::back_inserter(pointers),
                   [](const std::string& argument) { return argument.c_str(); });
    return static_cast<int>(pelkotool::runCommandLine(static_cast<int>(pointers.size()), pointers.data()));
}
