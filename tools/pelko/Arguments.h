#ifndef PELKO_TOOL_ARGUMENTS_H
#define PELKO_TOOL_ARGUMENTS_H

#include <CLI/CLI.hpp>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "PelkoChatTarget.h"

// How commands are hung into the command line, and what several of them ask of their arguments. References to
// values are kept until the command line has run.

namespace pelkotool {

/// A command below another.
CLI::App& addCommand(CLI::App& parent, const std::string& name, const std::string& description);

/// A command that lists its records when none of the commands below it is given, as 'pelko rooms' does.
/// @param heading  where 'pelko --help' shows it
CLI::App& addFamily(CLI::App& app, const std::string& name, const std::string& description,
                    const std::string& heading, const std::function<void(bool json)>& list);

/// A command with one argument and --json.
CLI::App& addItemCommand(CLI::App& parent, const std::string& name, const std::string& description,
                         const std::string& argument, const std::string& argumentHelp,
                         const std::function<void(const std::string& item, bool json)>& run);

void addPositional(CLI::App& command, const std::string& name, std::string& value, const std::string& help);
/// One or more.
void addPositionals(CLI::App& command, const std::string& name, std::vector<std::string>& values,
                    const std::string& help);
void addJsonFlag(CLI::App& command, bool& json);

/// An option for which '' is a value, unlike leaving it out.
void addGiven(CLI::App& command, const std::string& name, const std::string& typeName,
              std::optional<std::string>& value, const std::string& help);

/// A flag with its opposite, written "--top,!--no-top".
void addSwitch(CLI::App& command, const std::string& names, std::optional<bool>& value,
               const std::string& help);

/// The greatest count, capacity or version that the store keeps.
extern const long long greatestCount;

/// The number of an option that may be left out. @throws UsageError for one that is none
std::optional<unsigned int> parseCount(const std::string& name, const std::optional<std::string>& text);

/// Row ids, each once, ascending. @throws UsageError for a text that is none
std::vector<long long> parseRowIds(const std::vector<std::string>& texts, long long greatest);

/// The room or group of an id, which may be written as a target, too: "5001" or "room:5001".
/// @throws UsageError for ids that the store cannot tell apart from others
pelkoapi::PelkoChatTarget parseRoom(const std::string& text);
pelkoapi::PelkoChatTarget parseGroup(const std::string& text);

bool hasQuote(std::string_view text);

/// A user's name as the contacts take it. Names with a single quote can be stored, but the store never finds
/// them again.
/// @throws UsageError for such a name and the empty one
void requireFindable(const std::string& name);

/// @throws UsageError for a text with a single quote, which the store cannot hold in that field
void requireNoQuote(const std::string& option, const std::optional<std::string>& text);

}  // namespace pelkotool

#endif  // PELKO_TOOL_ARGUMENTS_H
