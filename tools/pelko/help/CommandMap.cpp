#include "tools/pelko/help/CommandMap.h"

#include <algorithm>
#include <iterator>

namespace pelkotool {

namespace {

OptionText optionText(const CLI::Option& option) {
    OptionText text;
    if (option.get_positional()) {
        text.names.push_back(option.get_name(true));
    } else {
        std::transform(option.get_snames().begin(), option.get_snames().end(), std::back_inserter(text.names),
                       [](const std::string& name) { return '-' + name; });
        std::transform(option.get_lnames().begin(), option.get_lnames().end(), std::back_inserter(text.names),
                       [](const std::string& name) { return "--" + name; });
    }
    text.value = option.get_expected_max() > 0 ? option.get_type_name() : std::string();
    text.description = option.get_description();
    text.required = option.get_required();
    text.repeated = option.get_expected_max() > 1;
    return text;
}

}  // namespace

CommandText commandMap(const CLI::App& app) {
    CommandText map;
    map.name = app.get_name();
    map.heading = app.get_group();
    map.description = app.get_description();
    map.footer = app.get_footer();
    for (const CLI::Option* const option : app.get_options()) {
        (option->get_positional() ? map.arguments : map.options).push_back(optionText(*option));
    }
    for (const CLI::App* const command : app.get_subcommands([](const CLI::App*) { return true; })) {
        map.commands.push_back(commandMap(*command));
    }
    return map;
}

bool isPath(const std::string& valueName) {
    const char* const paths[] = {"DIR", "FILE", "PATH", "OUT"};
    return std::any_of(std::begin(paths), std::end(paths),
                       [&](const char* path) { return valueName == path; });
}

}  // namespace pelkotool
