#include "tools/pelko/Arguments.h"

#include <algorithm>
#include <limits>
#include <memory>

#include "tools/pelko/Number.h"
#include "tools/pelko/Target.h"
#include "tools/pelko/ToolError.h"

namespace pelkotool {

namespace {

pelkoapi::PelkoChatTarget parseNumbered(const std::string& prefix, const std::string& text) {
    const bool isTarget = text.compare(0, prefix.size(), prefix) == 0;
    return parseTarget(isTarget ? text : prefix + text);
}

}  // namespace

const long long greatestCount = std::numeric_limits<unsigned int>::max();

CLI::App& addCommand(CLI::App& parent, const std::string& name, const std::string& description) {
    CLI::App* const command = parent.add_subcommand(name, description);
    command->group("Commands");  // not the parent's heading
    return *command;
}

CLI::App& addFamily(CLI::App& app, const std::string& name, const std::string& description,
                    const std::string& heading, const std::function<void(bool json)>& list) {
    CLI::App* const family = app.add_subcommand(name, description);
    family->group(heading);
    family->require_subcommand(0, 1);
    const auto json = std::make_shared<bool>(false);
    addJsonFlag(*family, *json);
    family->callback([family, json, list] {
        // It runs behind the callback of a command below, too.
        if (family->get_subcommands().empty()) {
            list(*json);
        }
    });
    return *family;
}

CLI::App& addItemCommand(CLI::App& parent, const std::string& name, const std::string& description,
                         const std::string& argument, const std::string& argumentHelp,
                         const std::function<void(const std::string& item, bool json)>& run) {
    struct Options {
        std::string item;
        bool json = false;
    };
    const auto options = std::make_shared<Options>();
    CLI::App& command = addCommand(parent, name, description);
    addPositional(command, argument, options->item, argumentHelp);
    addJsonFlag(command, options->json);
    command.callback([options, run] { run(options->item, options->json); });
    return command;
}

void addPositional(CLI::App& command, const std::string& name, std::string& value, const std::string& help) {
    command.add_option(name, value, help)->required()->type_name("");
}

void addPositionals(CLI::App& command, const std::string& name, std::vector<std::string>& values,
                    const std::string& help) {
    command.add_option(name, values, help)->required()->type_name("");
}

void addJsonFlag(CLI::App& command, bool& json) {
    command.add_flag("--json", json, "Print as JSON");
}

void addGiven(CLI::App& command, const std::string& name, const std::string& typeName,
              std::optional<std::string>& value, const std::string& help) {
    command
        .add_option_function<std::string>(
            name, [&value](const std::string& text) { value = text; }, help)
        ->type_name(typeName);
}

void addSwitch(CLI::App& command, const std::string& names, std::optional<bool>& value,
               const std::string& help) {
    command.add_flag_function(
        names, [&value](std::int64_t count) { value = count > 0; }, help);
}

std::optional<unsigned int> parseCount(const std::string& name, const std::optional<std::string>& text) {
    if (!text) {
        return std::nullopt;
    }
    return static_cast<unsigned int>(parseNumber(name, *text, 0, greatestCount));
}

std::vector<long long> parseRowIds(const std::vector<std::string>& texts, long long greatest) {
    std::vector<long long> ids;
    ids.reserve(texts.size());
    for (const std::string& text : texts) {
        ids.push_back(parseNumber("the row", text, 1, greatest));
    }
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    return ids;
}

pelkoapi::PelkoChatTarget parseRoom(const std::string& text) {
    return parseNumbered("room:", text);
}

pelkoapi::PelkoChatTarget parseGroup(const std::string& text) {
    return parseNumbered("group:", text);
}

bool hasQuote(std::string_view text) {
    return text.find('\'') != std::string_view::npos;
}

void requireFindable(const std::string& name) {
    if (name.empty()) {
        throw UsageError("'' is no user; name one, as in alice");
    }
    if (hasQuote(name)) {
        throw UsageError("'" + name +
                         "': the store never finds a user with a single quote in the name again; use a name "
                         "without one");
    }
}

void requireNoQuote(const std::string& option, const std::optional<std::string>& text) {
    if (text && hasQuote(*text)) {
        throw UsageError(option + " '" + *text +
                         "': the store cannot hold a single quote there; leave it out");
    }
}

}  // namespace pelkotool
