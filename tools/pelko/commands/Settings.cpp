#include <charconv>
#include <limits>
#include <memory>
#include <optional>

#include "tools/pelko/Arguments.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/Number.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/Store.h"
#include "tools/pelko/Target.h"
#include "tools/pelko/ToolError.h"

// pelko setting, pelko mute, pelko unmute, pelko mark: what the store keeps for a client about conversations
// and streams, one number each.

namespace pelkotool {

using pelkoapi::PelkoChatTarget;
using pelkoapi::PelkoDBManager;

namespace {

// A setting's meaning is the client's; these are this tool's.
constexpr int settingNormal = 0;
constexpr int settingMuted = 1;

struct SettingOptions {
    std::string target;
    std::optional<std::string> value;
    bool json = false;
};

struct MarkOptions {
    std::string key;
    std::optional<std::string> value;
    bool json = false;
};

/// Whether the text is a number as the database would write it itself: it does not keep the form of others
/// ("005", "+5"), and would not find them again.
bool isPlainNumber(const std::string& text) {
    long long number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return std::to_string(number) == text && number != std::numeric_limits<long long>::min();
}

int readSetting(Store& store, const PelkoChatTarget& target) {
    return store.run("read the setting of " + targetText(target),
                     [&](PelkoDBManager& db) { return db.getMsgConfig(target); });
}

void printSetting(const PelkoChatTarget& target, int value, bool json) {
    const std::string text = targetText(target);
    if (json) {
        printJson({{"target", text},
                   {"setting", value < 0 ? Json(nullptr) : Json(value)},
                   {"muted", value == settingMuted}});
        return;
    }
    const char* const meaning = value == settingMuted ? " (muted)" : "";
    printLine(text +
              (value < 0 ? " has no setting." : " has the setting " + std::to_string(value) + meaning + '.'));
}

void storeSetting(const GlobalOptions& global, const std::string& text, int value, bool json) {
    const PelkoChatTarget target = parseTarget(text);
    Store store(accountOf(global), Store::IfMissing::refuse);
    const bool isUser = target.type == pelkoapi::PelkoChatTargetTypeUser;
    // Replacing one works for every name.
    if (isUser && !isPlainNumber(target.name) && readSetting(store, target) < 0) {
        throw ToolError("cannot store a setting of " + text +
                        ": the store takes the first setting of a user only when the name is a plain number");
    }
    store.run("store the setting of " + text,
              [&](PelkoDBManager& db) { return db.setMsgConfig(target, value); });
    printSetting(target, value, json);
}

void setting(const GlobalOptions& global, const SettingOptions& options) {
    if (options.value) {
        const long long value =
            parseNumber("the setting", *options.value, 0, std::numeric_limits<int>::max());
        storeSetting(global, options.target, static_cast<int>(value), options.json);
        return;
    }
    const PelkoChatTarget target = parseTarget(options.target);
    Store store(accountOf(global), Store::IfMissing::refuse);
    printSetting(target, readSetting(store, target), options.json);
}

void mark(const GlobalOptions& global, const MarkOptions& options) {
    if (hasQuote(options.key)) {
        throw UsageError("the key '" + options.key + "': the store finds no key with a single quote");
    }
    const auto value =
        options.value
            ? std::optional(parseNumber("the mark", *options.value, 1, std::numeric_limits<long long>::max()))
            : std::nullopt;
    Store store(accountOf(global), Store::IfMissing::refuse);
    if (value) {
        store.run("store the mark '" + options.key + "'",
                  [&](PelkoDBManager& db) { return db.updateLastMsgID(options.key, *value); });
    }
    const long long stored = store.run("read the mark '" + options.key + "'",
                                       [&](PelkoDBManager& db) { return db.getLastMsgID(options.key); });
    if (options.json) {
        printJson({{"key", options.key}, {"msg_id", stored == 0 ? Json(nullptr) : Json(stored)}});
    } else {
        printLine(options.key + (stored == 0 ? " has no mark." : " is at " + std::to_string(stored) + '.'));
    }
}

void addNumber(CLI::App& command, std::optional<std::string>& value, const std::string& help) {
    command
        .add_option_function<std::string>(
            "N", [&value](const std::string& text) { value = text; }, help)
        ->type_name("");
}

}  // namespace

void addSettingCommands(CLI::App& app, const GlobalOptions& global) {
    const std::string targetHelp = std::string("The peer: ") + targetForms;
    const auto options = std::make_shared<SettingOptions>();
    CLI::App* const command = app.add_subcommand("setting", "Show or store the setting of a conversation");
    command->group(headingSettings);
    command->footer(
        "What a setting means is up to the client; 'mute' stores 1 and 'unmute' 0. Rooms, groups, services, "
        "and\nusers whose name is a plain number can have one.");
    addPositional(*command, "TARGET", options->target, targetHelp);
    addNumber(*command, options->value, "The setting to store");
    addJsonFlag(*command, options->json);
    command->callback([&global, options] { setting(global, *options); });

    addItemCommand(
        app, "mute", "Store the setting 1", "TARGET", targetHelp,
        [&global](const std::string& target, bool json) { storeSetting(global, target, settingMuted, json); })
        .group(headingSettings);
    addItemCommand(app, "unmute", "Store the setting 0", "TARGET", targetHelp,
                   [&global](const std::string& target, bool json) {
                       storeSetting(global, target, settingNormal, json);
                   })
        .group(headingSettings);

    const auto marked = std::make_shared<MarkOptions>();
    CLI::App* const marking = app.add_subcommand("mark", "Show or store a sync mark");
    marking->group(headingSettings);
    marking->footer(
        "A mark is the last message id that was fetched of a stream; its key is up to the client. Those of\n"
        "'pelko replay' are replay:room:ID for a room and replay:room:ID:YYYY-MM-DD for a log.");
    addPositional(*marking, "KEY", marked->key, "The stream");
    addNumber(*marking, marked->value, "The message id to store");
    addJsonFlag(*marking, marked->json);
    marking->callback([&global, marked] { mark(global, *marked); });
}

}  // namespace pelkotool
