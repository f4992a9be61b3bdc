#include "tools/pelko/Confirmation.h"

#include <iostream>

#include "classes/platform/Terminal.h"
#include "tools/pelko/Text.h"
#include "tools/pelko/ToolError.h"

namespace pelkotool {

using pelkoapi::stdinIsTerminal;

void requireAnswerable(bool yes) {
    if (!yes && !stdinIsTerminal()) {
        throw UsageError("nobody can be asked, stdin is no terminal; --yes deletes without asking");
    }
}

void confirm(const std::string& question, bool yes) {
    if (yes) {
        return;
    }
    std::cerr << visibleText(question) << "? [y/N] " << std::flush;
    std::string answer;
    if (!std::getline(std::cin, answer)) {
        std::cerr << '\n';  // Ctrl-D leaves the cursor behind the question
    }
    if (answer != "y" && answer != "Y" && answer != "yes") {
        throw ToolError("nothing was deleted, the answer was not yes");
    }
}

}  // namespace pelkotool
