#ifndef PELKO_TOOL_STORE_LOG_H
#define PELKO_TOOL_STORE_LOG_H

#include <optional>
#include <string>

// The tool brings the store's log functions itself: it keeps the lines instead of printing them, so that a
// failed operation can end in one line of the tool's own words.

namespace pelkotool {

/// Forgets what the store has logged.
void forgetStoreLog();

/// The first failure that the store has logged since then: what SQLite says, without the operation's name.
/// The first is the cause; further ones follow from it.
std::optional<std::string> firstStoreFailure();

}  // namespace pelkotool

#endif  // PELKO_TOOL_STORE_LOG_H
