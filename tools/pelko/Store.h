#ifndef PELKO_TOOL_STORE_H
#define PELKO_TOOL_STORE_H

#include <functional>
#include <list>
#include <string>
#include <type_traits>
#include <utility>

#include "classes/storage/PelkoDBManager.h"
#include "tools/pelko/Account.h"

namespace pelkotool {

/// An account's store, open from construction to destruction. The operations are the manager's own; what is
/// added is that a failure, which the manager logs and answers with a neutral result, ends the command.
class Store {
public:
    /// Whether an account that is not there yet is made, or is an error.
    enum class IfMissing { create, refuse };

    /// @throws ToolError when the account's database cannot be opened or made
    Store(const Account& account, IfMissing ifMissing);
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    const Account& account() const { return mAccount; }
    /// The account as the target it is to others.
    pelkoapi::PelkoChatTarget me() const { return pelkoapi::PelkoChatTarget(mAccount.user); }

    /// Runs operations of the manager and hands on what they return.
    /// @param doing  what is being done, to stand behind "cannot "
    /// @throws ToolError when the manager logged a failure or a database error came through
    template <typename Operations>
    auto run(const std::string& doing, Operations operations) {
        using Result = decltype(operations(std::declval<pelkoapi::PelkoDBManager&>()));
        if constexpr (std::is_void_v<Result>) {
            watched(doing, [&](pelkoapi::PelkoDBManager& db) { operations(db); });
        } else {
            Result result{};
            watched(doing, [&](pelkoapi::PelkoDBManager& db) { result = operations(db); });
            return result;
        }
    }

    std::list<pelkoapi::PelkoSession> sessions();

    /// The unread messages of the conversation; 0 for a target of a kind that nobody knows.
    unsigned int unreadOf(const pelkoapi::PelkoChatTarget& target);

    /// Makes the session of a conversation if there is none, and sets its last message to the newest stored.
    void keepSession(const pelkoapi::PelkoChatTarget& target);

    /// Sets the last message of a session to the newest stored, or to none; nothing where there is no
    /// session.
    void refreshSession(const pelkoapi::PelkoChatTarget& target);

    /// Makes a session that has no last message yet and is not pinned.
    void addSession(const pelkoapi::PelkoChatTarget& target);

    /// The newest stored message of the conversation; a default message (dbID 0) when there is none.
    pelkoapi::PelkoMessage newestMessage(const pelkoapi::PelkoChatTarget& target);

private:
    void watched(const std::string& doing, const std::function<void(pelkoapi::PelkoDBManager&)>& operations);

    Account mAccount;
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_STORE_H
