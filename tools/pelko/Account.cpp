#include "tools/pelko/Account.h"

#include "classes/platform/StringFormatUtil.h"
#include "classes/platform/UserDataFolder.h"
#include "classes/platform/Utf8Path.h"
#include "tools/pelko/ToolError.h"

namespace pelkotool {

namespace fs = std::filesystem;

namespace {

fs::path customaryDataRoot() {
    const fs::path data = pelkoapi::userDataFolder();
    if (data.empty()) {
        throw UsageError("there is no home directory to keep data in; name a folder with --data-dir");
    }
    return data / "pelko";
}

bool isPlain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

}  // namespace

std::string accountFolderName(const std::string& user) {
    std::string name;
    for (std::size_t i = 0; i < user.size(); ++i) {
        const char c = user[i];
        const bool innerDot = c == '.' && i > 0 && i + 1 < user.size();
        if (isPlain(c) || innerDot) {
            name += c;
        } else {
            name += pelkoapi::StringFormatUtil::string_format(
                "%%%02X", static_cast<unsigned int>(static_cast<unsigned char>(c)));
        }
    }
    return name;
}

Account accountOf(const GlobalOptions& options) {
    if (options.user.empty()) {
        throw UsageError("--user '' is no account; name one, as in --user me");
    }
    // The store puts the account's name unescaped into the conditions of one-to-one conversations.
    if (options.user.find('\'') != std::string::npos) {
        throw UsageError("--user '" + options.user +
                         "': the store finds no conversations of an account with a single quote in its name");
    }
    if (options.dataDirGiven && options.dataDir.empty()) {
        throw UsageError("--data-dir '' is no folder; name one, or leave the option out");
    }
    Account account;
    account.user = options.user;
    account.dataRoot =
        fs::absolute(options.dataDirGiven ? pelkoapi::pathOf(options.dataDir) : customaryDataRoot());
    account.dataRoot = account.dataRoot.lexically_normal();
    account.folder = account.dataRoot / "users" / pelkoapi::pathOf(accountFolderName(options.user));
    account.database = account.folder / "db.dat";
    return account;
}

}  // namespace pelkotool
