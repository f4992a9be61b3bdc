#ifndef PELKO_TOOL_FILE_ACCOUNT_FILE_H
#define PELKO_TOOL_FILE_ACCOUNT_FILE_H

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "tools/pelko/Account.h"
#include "tools/pelko/file/Database.h"

// The commands that work on the file itself take any db.dat, also one that was sent in by mail and lies in no
// account's folder.

namespace pelkotool {

struct FileOptions {
    std::optional<std::string> file;
};

/// Adds --file.
void addFileOption(CLI::App& command, FileOptions& options);

/// The file that is meant. With --file, the folder and the data root are those where it lies, unless
/// --data-dir says where the attachments are; the name is empty, unless --user says it.
/// @throws UsageError as accountOf()
Account accountFileOf(const GlobalOptions& global, const FileOptions& options);

/// The account's name: the one that is known, or else the one that the rows tell.
std::string ownNameIn(const Database& database, const Account& account);

/// The place of a stored attachment path, which is absolute or relative to the data root.
std::filesystem::path attachmentPlace(const Account& account, const std::string& storedPath);

}  // namespace pelkotool

#endif  // PELKO_TOOL_FILE_ACCOUNT_FILE_H
