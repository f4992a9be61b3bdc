#ifndef PELKO_TESTS_RELIABILITY_SUPPORT_SHIM_VFS_H
#define PELKO_TESTS_RELIABILITY_SUPPORT_SHIM_VFS_H

#include <string>

// A layer between SQLite and the system's files through which a test sees every call and can refuse it.

namespace pelkotest {

/// The calls of SQLite to its files that can fail. Closing and unlocking are passed on unseen: SQLite has no
/// way to go on when they fail.
enum class IoCall { Open, Delete, Access, Read, Write, Truncate, Sync, FileSize, Lock, ShmMap, ShmLock };

/// What a test does with the calls of all connections that are opened while the layer stands. Called on the
/// thread that uses the store; must not throw.
class IoObserver {
public:
    virtual ~IoObserver() = default;

    /// Before a call is passed on. @param path of the file; empty for a temporary one
    /// @return SQLITE_OK to pass it on, or the code with which it fails instead
    virtual int before(IoCall call, const std::string& path) noexcept = 0;

    // After a call that succeeded. A file is also created by its opening, which is told as opened().
    virtual void opened(const std::string& /*path*/) noexcept {}
    virtual void deleted(const std::string& /*path*/, bool /*folderSynced*/) noexcept {}
    virtual void truncated(const std::string& /*path*/, long long /*size*/) noexcept {}
    virtual void synced(const std::string& /*path*/) noexcept {}

    /// Before a write, whether or not before() refuses it: a write under way when the power fails may have
    /// reached the medium in part.
    virtual void writing(const std::string& /*path*/, const void* /*data*/, int /*size*/,
                         long long /*offset*/) noexcept {}
};

/// Makes the layer SQLite's default as long as it lives. Waiting for a lock takes no time under it. One at a
/// time, and no connection may outlive it.
class ShimVfs {
public:
    explicit ShimVfs(IoObserver& observer);
    ~ShimVfs();
    ShimVfs(const ShimVfs&) = delete;
    /// How long SQLite would have waited since the construction, in microseconds.
    static long long waited();
    ShimVfs& operator=(const ShimVfs&) = delete;
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_RELIABILITY_SUPPORT_SHIM_VFS_H
