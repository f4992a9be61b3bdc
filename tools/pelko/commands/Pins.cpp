#include <limits>
#include <memory>

#include "tools/pelko/Arguments.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/Number.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/Store.h"
#include "tools/pelko/Target.h"
#include "tools/pelko/ToolError.h"

// pelko pin, pelko unpin: which conversations stand on top.

namespace pelkotool {

using pelkoapi::PelkoDBManager;

namespace {

struct PinOptions {
    std::string target;
    std::string priority = "0";
    bool json = false;
};

void pin(const GlobalOptions& global, const PinOptions& options, bool pinned) {
    const pelkoapi::PelkoChatTarget target = parseTarget(options.target);
    const auto priority =
        static_cast<int>(parseNumber("--priority", options.priority, 0, std::numeric_limits<int>::max()));
    Store store(accountOf(global), Store::IfMissing::refuse);
    const std::string text = targetText(target);
    if (!store.run((pinned ? "pin " : "unpin ") + text,
                   [&](PelkoDBManager& db) { return db.markSessionIsTop(target, pinned, priority); })) {
        throw ToolError("there is no session of " + text + "; 'pelko sessions' lists them");
    }
    if (options.json) {
        printJson({{"target", text}, {"pinned", pinned}, {"priority", priority}});
    } else {
        printLine(text + (pinned ? " is pinned with priority " + options.priority + '.' : " is not pinned."));
    }
}

}  // namespace

void addPinCommands(CLI::App& app, const GlobalOptions& global) {
    const auto options = std::make_shared<PinOptions>();
    CLI::App* const command = app.add_subcommand("pin", "Pin a conversation to the top of the sessions");
    command->group(headingConversations);
    addPositional(*command, "TARGET", options->target, std::string("The peer: ") + targetForms);
    command
        ->add_option("--priority", options->priority,
                     "The order among pinned ones, the greatest first (default: 0)")
        ->type_name("N");
    addJsonFlag(*command, options->json);
    command->callback([&global, options] { pin(global, *options, true); });

    CLI::App& unpin =
        addItemCommand(app, "unpin", "Undo 'pin'", "TARGET", std::string("The peer: ") + targetForms,
                       [&global](const std::string& target, bool json) {
                           PinOptions unpinned;
                           unpinned.target = target;
                           unpinned.json = json;
                           pin(global, unpinned, false);
                       });
    unpin.group(headingConversations);
}

}  // namespace pelkotool
