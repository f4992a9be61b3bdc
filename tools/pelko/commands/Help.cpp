#include <iostream>
#include <memory>
#include <string>

#include "tools/pelko/Arguments.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/help/CommandMap.h"
#include "tools/pelko/help/Completion.h"
#include "tools/pelko/help/ManPage.h"

// pelko manual, pelko completion: what --help says, for man and for shells.

namespace pelkotool {

namespace {

void printCompletion(const CLI::App& app, const std::string& shell) {
    if (shell == "bash") {
        std::cout << bashCompletion(commandMap(app));
    } else if (shell == "zsh") {
        std::cout << zshCompletion(commandMap(app));
    } else {
        throw UsageError("there is no completion for '" + shell + "'; there is one for bash and one for zsh");
    }
}

}  // namespace

void addHelpCommands(CLI::App& app) {
    CLI::App* const manual = app.add_subcommand("manual", "Print the man page, pelko(1)");
    manual->group(headingTool);
    manual->footer("To read it: pelko manual | man -l -");
    manual->callback([&app] { std::cout << manPage(commandMap(app), PELKO_VERSION); });

    const auto shell = std::make_shared<std::string>();
    CLI::App* const completion = app.add_subcommand("completion", "Print what completes commands in a shell");
    completion->group(headingTool);
    completion->footer(
        "bash: pelko completion bash > ~/.local/share/bash-completion/completions/pelko\n"
        "zsh:  pelko completion zsh > a folder of $fpath/_pelko");
    addPositional(*completion, "SHELL", *shell, "bash or zsh");
    completion->callback([&app, shell] { printCompletion(app, *shell); });
}

}  // namespace pelkotool
