#ifndef PELKO_TOOL_DETAILS_H
#define PELKO_TOOL_DETAILS_H

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "PelkoChatTarget.h"
#include "tools/pelko/Store.h"

// The details of a room, group or user that all three have, as options of 'add'. What is not given keeps what
// is stored.

namespace pelkotool {

struct DetailOptions {
    std::optional<std::string> info;
    std::optional<std::string> iconUrl;
    std::optional<std::string> iconPath;
    std::optional<std::string> iconPathEx;
    std::optional<std::string> version;
};

void addDetailOptions(CLI::App& command, DetailOptions& options);

/// @throws UsageError for what the store cannot hold
void requireStorable(const DetailOptions& options);

/// Puts what is given into the record. The options are storable.
void applyDetails(const DetailOptions& options, pelkoapi::PelkoChatTarget& record);

/// The version to store the details under: the one given, or else the stored one, or else 1.
unsigned int versionToStore(const DetailOptions& options, unsigned int stored);

/// The version that the details are stored under; 0 when they are not complete or not stored.
unsigned int storedVersion(Store& store, const pelkoapi::PelkoChatTarget& target);

/// The details as lines for people, behind the fields that the caller has printed.
void printDetails(const pelkoapi::PelkoChatTarget& record, unsigned int version);

/// The name to show beside a target: a room's or group's stored name, a user's stored nickname. Empty when
/// nothing is stored.
std::string storedName(Store& store, const pelkoapi::PelkoChatTarget& target);

}  // namespace pelkotool

#endif  // PELKO_TOOL_DETAILS_H
