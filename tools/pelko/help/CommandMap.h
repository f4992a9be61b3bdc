#ifndef PELKO_TOOL_HELP_COMMAND_MAP_H
#define PELKO_TOOL_HELP_COMMAND_MAP_H

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

// The command line as data: what --help prints, for the man page and the completions of shells, so that none
// of them can differ from it.

namespace pelkotool {

struct OptionText {
    std::vector<std::string>
        names;          ///< "-n", "--json"; for an argument without a dash its one name, "TARGET"
    std::string value;  ///< the name of its value, "FILE"; empty for a flag
    std::string description;
    bool required = false;
    bool repeated = false;  ///< whether it may be given more than once
};

struct CommandText {
    std::string name;
    std::string heading;  ///< under which 'pelko --help' shows it
    std::string description;
    std::string footer;
    std::vector<OptionText> arguments;
    std::vector<OptionText> options;
    std::vector<CommandText> commands;
};

CommandText commandMap(const CLI::App& app);

/// Whether a value of that name is a path.
bool isPath(const std::string& valueName);

}  // namespace pelkotool

#endif  // PELKO_TOOL_HELP_COMMAND_MAP_H
