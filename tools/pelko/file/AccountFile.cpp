#include "tools/pelko/file/AccountFile.h"

#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Arguments.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/file/Peers.h"

namespace pelkotool {

namespace fs = std::filesystem;

using pelkoapi::pathOf;

void addFileOption(CLI::App& command, FileOptions& options) {
    addGiven(command, "--file", "FILE", options.file,
             "This db.dat, wherever it lies (default: the one of --data-dir and --user)");
}

Account accountFileOf(const GlobalOptions& global, const FileOptions& options) {
    if (!options.file) {
        return accountOf(global);
    }
    if (options.file->empty()) {
        throw UsageError("--file '' is no file; name a db.dat, or leave the option out");
    }
    GlobalOptions here = global;
    if (!here.dataDirGiven) {  // so that no home directory is needed, which the account of a service may lack
        here.dataDir = ".";
        here.dataDirGiven = true;
    }
    Account account = accountOf(here);
    account.database = fs::absolute(pathOf(*options.file)).lexically_normal();
    account.folder = account.database.parent_path();
    if (!global.dataDirGiven) {
        account.dataRoot = account.folder;
        account.dataRootIsKnown = false;
    }
    if (!global.userGiven) {
        account.user.clear();
    }
    return account;
}

std::string ownNameIn(const Database& database, const Account& account) {
    return account.user.empty() ? ownerOf(database) : account.user;
}

fs::path attachmentPlace(const Account& account, const std::string& storedPath) {
    const fs::path path = pathOf(storedPath);
    return path.is_absolute() ? path : account.dataRoot / path;
}

}  // namespace pelkotool
