#include "tools/pelko/Store.h"

#include <algorithm>
#include <deque>
#include <optional>
#include <system_error>

#include "classes/platform/DefaultPlatform.h"
#include "classes/platform/FileUtil.h"
#include "classes/platform/LoginContext.h"
#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Remedies.h"
#include "tools/pelko/StoreLog.h"
#include "tools/pelko/Target.h"
#include "tools/pelko/ToolError.h"

namespace pelkotool {

namespace fs = std::filesystem;
using pelkoapi::PelkoChatTarget;
using pelkoapi::PelkoDBManager;
using pelkoapi::PelkoMessage;
using pelkoapi::PelkoSession;
using pelkoapi::utf8Of;

namespace {

constexpr char otherFolder[] = "name a folder that can be written with --data-dir";

[[noreturn]] void failAccount(const Account& account, const std::string& reason) {
    throw ToolError("cannot open " + utf8Of(account.database) + ": " + reason);
}

void requireFolder(const Account& account) {
    std::error_code error;
    if (fs::exists(account.dataRoot, error) && !fs::is_directory(account.dataRoot, error)) {
        throw ToolError("the data folder " + utf8Of(account.dataRoot) + " is not a folder; " + otherFolder);
    }
}

void refuseMissing(const Account& account) {
    std::error_code error;
    if (fs::exists(account.database, error)) {
        return;
    }
    if (error) {
        failAccount(account, error.message() + "; " + otherFolder);
    }
    throw ToolError("there is no account '" + account.user + "' in " + utf8Of(account.dataRoot) +
                    "; 'pelko replay', 'pelko send' and 'pelko receive' make it, --user and --data-dir name "
                    "another");
}

void createMissing(const Account& account) {
    std::error_code error;
    fs::create_directories(account.folder, error);
    if (error) {
        throw ToolError("cannot make the folder " + utf8Of(account.folder) + ": " + error.message() + "; " +
                        otherFolder);
    }
    // An empty path is all that the manager would make of this failure.
    if (!fs::exists(account.database, error) &&
        pelkoapi::FileUtil::createFile(utf8Of(account.database), false) < 0) {
        throw ToolError("cannot make the file " + utf8Of(account.database) + "; " + otherFolder);
    }
}

}  // namespace

Store::Store(const Account& account, IfMissing ifMissing) : mAccount(account) {
    requireFolder(account);
    if (ifMissing == IfMissing::refuse) {
        refuseMissing(account);
    } else {
        createMissing(account);
    }
    if (std::error_code error; !fs::is_regular_file(account.database, error)) {
        failAccount(account, "it is not a file; move it away, or name another account with --user");
    }
    pelkoapi::setAppDataRoot(utf8Of(account.dataRoot));
    pelkoapi::setUserDataRoot(utf8Of(account.folder));
    pelkoapi::LoginContext::getInstance()->setUserName(account.user);
    // What fails while an open file is made ready, such as an index on a full disk, is no reason to show
    // nothing: the operations tell for themselves whether they can work.
    forgetStoreLog();
    if (!PelkoDBManager::getInstance()->setUp()) {
        const std::string reason = firstStoreFailure().value_or("it cannot be opened");
        failAccount(account, reason + remedyFor(reason));
    }
}

Store::~Store() {
    PelkoDBManager::getInstance()->tearDown();
}

void Store::watched(const std::string& doing, const std::function<void(PelkoDBManager&)>& operations) {
    forgetStoreLog();
    std::optional<std::string> reason;
    try {
        operations(*PelkoDBManager::getInstance());
        reason = firstStoreFailure();
    } catch (const pelkoapi::CppSQLite3Exception& exception) {
        reason = exception.errorMessage();
    }
    if (reason) {
        throw ToolError("cannot " + doing + ": " + *reason + remedyFor(*reason));
    }
}

std::list<PelkoSession> Store::sessions() {
    return run("read the sessions", [](PelkoDBManager& db) {
        std::list<PelkoSession> sessions;
        db.loadSessionList(sessions);
        return sessions;
    });
}

unsigned int Store::unreadOf(const PelkoChatTarget& target) {
    if (targetText(target).empty()) {
        return 0;
    }
    return run("count the unread messages of " + targetText(target),
               [&](PelkoDBManager& db) { return db.getUnreadCountOfTarget(target); });
}

PelkoMessage Store::newestMessage(const PelkoChatTarget& target) {
    return run("read " + targetText(target), [&](PelkoDBManager& db) {
        std::deque<PelkoMessage> page;
        db.getLatestMessages(target, 1, page);
        return page.empty() ? PelkoMessage() : page.front();
    });
}

void Store::addSession(const PelkoChatTarget& target) {
    // Without pin flag and last message: insertNewSession() stores the two in each other's place.
    PelkoSession session;
    session.target = target;
    run("make the session of " + targetText(target),
        [&](PelkoDBManager& db) { return db.insertNewSession(session); });
}

void Store::keepSession(const PelkoChatTarget& target) {
    const std::list<PelkoSession> known = sessions();
    const bool isNew = std::none_of(known.begin(), known.end(),
                                    [&](const PelkoSession& session) { return session.target == target; });
    if (isNew) {
        addSession(target);
    }
    refreshSession(target);
}

void Store::refreshSession(const PelkoChatTarget& target) {
    const long long newest = newestMessage(target).dbID;
    run("update the session of " + targetText(target),
        [&](PelkoDBManager& db) { return db.updateSessionLastMsg(target, newest); });
}

}  // namespace pelkotool
