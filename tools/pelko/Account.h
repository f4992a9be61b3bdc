#ifndef PELKO_TOOL_ACCOUNT_H
#define PELKO_TOOL_ACCOUNT_H

#include <filesystem>
#include <string>

namespace pelkotool {

/// The options that every command takes.
struct GlobalOptions {
    std::string dataDir;  ///< empty when none was given
    bool dataDirGiven = false;
    std::string user = "me";
    bool userGiven = false;
};

/// Whose store is meant, and where it lies.
struct Account {
    std::string user;
    std::filesystem::path dataRoot;  ///< of all accounts, absolute
    std::filesystem::path folder;    ///< of this one, below it
    std::filesystem::path database;  ///< its db.dat
    bool dataRootIsKnown = true;     ///< or else it is only where a file lies that somebody has named
};

/// @throws UsageError for an empty folder, and for a name that no account of the store can have
Account accountOf(const GlobalOptions& options);

/// The name of an account's folder: letters, digits, '-', '_' and inner dots as they are, every other byte as
/// "%2F". Different names give different folders, and none leads out of the folder of all accounts.
std::string accountFolderName(const std::string& user);

}  // namespace pelkotool

#endif  // PELKO_TOOL_ACCOUNT_H
