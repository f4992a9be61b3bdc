#include "tools/pelko/Details.h"

#include "tools/pelko/Arguments.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/Target.h"

namespace pelkotool {

using pelkoapi::PelkoChatTarget;
using pelkoapi::PelkoDBManager;

void addDetailOptions(CLI::App& command, DetailOptions& options) {
    addGiven(command, "--info", "TEXT", options.info, "Free profile text");
    addGiven(command, "--icon-url", "URL", options.iconUrl, "Where the icon is on the server");
    addGiven(command, "--icon-path", "FILE", options.iconPath, "The icon's file");
    addGiven(command, "--icon-path-ex", "FILE", options.iconPathEx, "The icon's second file");
    addGiven(command, "--info-version", "N", options.version,
             "Version of the details; 0: not complete (default: the stored one, or 1)");
}

void requireStorable(const DetailOptions& options) {
    requireNoQuote("--icon-url", options.iconUrl);
    requireNoQuote("--icon-path", options.iconPath);
    requireNoQuote("--icon-path-ex", options.iconPathEx);
    parseCount("--info-version", options.version);
}

void applyDetails(const DetailOptions& options, PelkoChatTarget& record) {
    record.info = options.info.value_or(record.info);
    record.icon.url = options.iconUrl.value_or(record.icon.url);
    record.icon.path = options.iconPath.value_or(record.icon.path);
    record.icon.pathEx = options.iconPathEx.value_or(record.icon.pathEx);
}

unsigned int versionToStore(const DetailOptions& options, unsigned int stored) {
    return parseCount("--info-version", options.version).value_or(stored != 0 ? stored : 1);
}

unsigned int storedVersion(Store& store, const PelkoChatTarget& target) {
    return store.run("read the version of " + targetText(target),
                     [&](PelkoDBManager& db) { return db.getTargetInfoVersion(target); });
}

void printDetails(const PelkoChatTarget& record, unsigned int version) {
    printField("info", record.info);
    printField("icon url", record.icon.url);
    printField("icon path", record.icon.path);
    printField("icon path ex", record.icon.pathEx);
    printField("info version", version == 0 ? "0 (not complete)" : std::to_string(version));
}

std::string storedName(Store& store, const PelkoChatTarget& target) {
    return store.run("read the name of " + targetText(target), [&](PelkoDBManager& db) -> std::string {
        switch (target.type) {
            case pelkoapi::PelkoChatTargetTypeRoom:
                return db.getRoomInfo(target.id).name;
            case pelkoapi::PelkoChatTargetTypeGroup:
                return db.getGroupInfo(target.id).name;
            case pelkoapi::PelkoChatTargetTypeUser: {
                // Looking for a name with a single quote fails.
                std::string name = target.name;
                return hasQuote(name) ? std::string() : db.getBaseUserInfo(name).nickname;
            }
            default:
                return {};
        }
    });
}

}  // namespace pelkotool
