#include "tools/pelko/CommandLine.h"

int main(int argc, char** argv) {
    return static_cast<int>(pelkotool::runCommandLine(argc, argv));
}
