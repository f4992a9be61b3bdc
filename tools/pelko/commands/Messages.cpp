#include <limits>
#include <memory>

#include "tools/pelko/Commands.h"
#include "tools/pelko/Json.h"
#include "tools/pelko/Number.h"
#include "tools/pelko/Store.h"
#include "tools/pelko/Target.h"
#include "tools/pelko/Times.h"
#include "tools/pelko/ToolError.h"

// pelko send, pelko receive: single messages, as a client stores them.

namespace pelkotool {

using pelkoapi::PelkoChatTarget;
using pelkoapi::PelkoDBManager;
using pelkoapi::PelkoMessage;

namespace {

struct SendOptions {
    std::string target;
    std::string text;
    bool json = false;
};

struct ReceiveOptions : SendOptions {
    std::string from;
    bool fromGiven = false;
    std::string id;
    bool idGiven = false;
};

void insert(Store& store, PelkoMessage& message) {
    if (!store.run("store the message", [&](PelkoDBManager& db) { return db.insertMessage(&message); })) {
        throw ToolError("cannot store the message: the store changed no row");
    }
}

void printStored(const PelkoMessage& message, const PelkoChatTarget& target, bool json, const char* done) {
    if (json) {
        printJson(messageJson(message));
    } else {
        printLine(std::string(done) + " message " + std::to_string(message.dbID) + " of " +
                  targetText(target) + '.');
    }
}

void send(const GlobalOptions& global, const SendOptions& options) {
    const PelkoChatTarget target = parseTarget(options.target);
    Store store(accountOf(global), Store::IfMissing::create);
    PelkoMessage message = PelkoMessage::createTextMessage(store.me(), target, options.text);
    message.date = now();
    message.status = pelkoapi::PelkoMessageStatusSending;
    insert(store, message);
    store.keepSession(target);
    // This is where a client hands the message to its service; there is none here, so it is sent at once.
    store.run("mark the message sent", [&](PelkoDBManager& db) {
        return db.updateMessageStatus(message.dbID, pelkoapi::PelkoMessageStatusSent);
    });
    message.status = pelkoapi::PelkoMessageStatusSent;
    printStored(message, target, options.json, "Sent");
}

bool hasMembers(const PelkoChatTarget& target) {
    return target.type == pelkoapi::PelkoChatTargetTypeRoom ||
           target.type == pelkoapi::PelkoChatTargetTypeGroup;
}

void receive(const GlobalOptions& global, const ReceiveOptions& options) {
    const PelkoChatTarget target = parseTarget(options.target);
    if (hasMembers(target) && options.from.empty()) {
        throw UsageError("a message in " + targetText(target) + " needs its sender: --from NAME");
    }
    if (!hasMembers(target) && options.fromGiven) {
        throw UsageError("--from '" + options.from + "': a message of " + targetText(target) +
                         " is from it; --from is for rooms and groups");
    }
    const long long id =
        options.idGiven ? parseNumber("--id", options.id, 1, std::numeric_limits<long long>::max()) : 0;

    Store store(accountOf(global), Store::IfMissing::create);
    PelkoMessage message =
        hasMembers(target)
            ? PelkoMessage::createTextMessage(PelkoChatTarget(options.from), target, options.text)
            : PelkoMessage::createTextMessage(target, store.me(), options.text);
    message.id = id;
    message.date = now();
    message.status = pelkoapi::PelkoMessageStatusUnread;
    insert(store, message);
    if (message.dbID == 0) {
        throw ToolError("a message with --id " + options.id + " is stored already; nothing was stored");
    }
    store.keepSession(target);
    printStored(message, target, options.json, "Received");
}

/// What both commands take.
void addCommonOptions(CLI::App& command, SendOptions& options) {
    command.group(headingMessages);
    command.add_option("TARGET", options.target, std::string("The peer: ") + targetForms)
        ->required()
        ->type_name("");
    command.add_option("TEXT", options.text, "The text; put -- before one that begins with a dash")
        ->required()
        ->type_name("");
    command.add_flag("--json", options.json, "Print the stored message as JSON");
}

}  // namespace

void addMessageCommands(CLI::App& app, const GlobalOptions& global) {
    const auto sendOptions = std::make_shared<SendOptions>();
    CLI::App* const sending = app.add_subcommand("send", "Store a text as sent by the account");
    addCommonOptions(*sending, *sendOptions);
    sending->callback([&global, sendOptions] { send(global, *sendOptions); });

    const auto options = std::make_shared<ReceiveOptions>();
    CLI::App* const receiving = app.add_subcommand("receive", "Store a text as received, unread");
    addCommonOptions(*receiving, *options);
    receiving
        ->add_option_function<std::string>(
            "--from",
            [options](const std::string& name) {
                options->from = name;
                options->fromGiven = true;
            },
            "Who sent it, in a room or group")
        ->type_name("NAME");
    receiving
        ->add_option_function<std::string>(
            "--id",
            [options](const std::string& id) {
                options->id = id;
                options->idGiven = true;
            },
            "The message service's id; one that is stored is not stored again")
        ->type_name("N");
    receiving->callback([&global, options] { receive(global, *options); });
}

}  // namespace pelkotool
