#ifndef PELKO_BENCH_STORE_SESSION_H
#define PELKO_BENCH_STORE_SESSION_H

#include <sqlite3.h>

#include <string>

#include "bench/Recording.h"
#include "classes/storage/PelkoDBManager.h"

namespace pelkobench {

/// Points the platform functions at the folder as the user's data root, with loggedInUser logged in.
void useFolder(const std::string& folder);

/// The manager on the db.dat of a folder, from setUp() to tearDown(). One at a time.
class StoreSession {
public:
    /// @throws std::runtime_error when setUp() reports a failure
    explicit StoreSession(const std::string& folder);
    ~StoreSession();
    StoreSession(const StoreSession&) = delete;
    StoreSession& operator=(const StoreSession&) = delete;

    pelkoapi::PelkoDBManager& manager() { return *pelkoapi::PelkoDBManager::getInstance(); }

    /// The manager's own connection, for putting back what an operation changed: another connection's writes
    /// would empty the manager's page cache.
    sqlite3* handle() const { return mHandle; }

private:
    sqlite3* mHandle;
};

/// The statements of setUp() on the folder's file.
Recording recordSetUp(const std::string& folder);

}  // namespace pelkobench

#endif  // PELKO_BENCH_STORE_SESSION_H
