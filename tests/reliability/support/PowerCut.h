#ifndef PELKO_TESTS_RELIABILITY_SUPPORT_POWER_CUT_H
#define PELKO_TESTS_RELIABILITY_SUPPORT_POWER_CUT_H

#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "tests/reliability/support/Material.h"
#include "tests/reliability/support/ShimVfs.h"

namespace pelkotest {

/// A medium whose power fails. It keeps apart what is safe, since it has been synced, and what has only been
/// written, and at the cut loses, keeps or tears each of these writes by chance, in no order. Creations and
/// deletions of files are safe once their folder is synced, which SQLite does with the first sync of a log or
/// journal that it has opened; until then a file may be missing, or an earlier one of its name be back.
class PowerCut : public IoObserver {
public:
    /// What is lost.
    struct Losses {
        unsigned long lost = 0;   ///< writes and truncations
        unsigned long torn = 0;   ///< writes of which a run of sectors was kept
        unsigned long names = 0;  ///< creations and deletions of files
    };

    /// @param folder  the store's; the files that are in it are safe
    PowerCut(std::filesystem::path folder, unsigned seed);

    /// The power fails in the n-th call from now on that changes the medium, which may be done in part. From
    /// then on every call fails.
    void failAtChange(unsigned n);
    /// The same, counting only calls that change the database file itself: as a rule those of a checkpoint.
    void failAtChangeOfDatabase(unsigned n);
    void failNow() { mFailed = true; }
    bool failed() const { return mFailed; }
    /// Whether it failed while the database file itself was changed.
    bool failedInDatabase() const { return mFailedInDatabase; }

    /// Puts into the folder what is found there when the power is back. No connection may be open.
    Losses restore();

    int before(IoCall call, const std::string& path) noexcept override;
    void opened(const std::string& path) noexcept override;
    void deleted(const std::string& path, bool folderSynced) noexcept override;
    void truncated(const std::string& path, long long size) noexcept override;
    void synced(const std::string& path) noexcept override;
    void writing(const std::string& path, const void* data, int size, long long offset) noexcept override;

private:
    /// A change of a file's content that is not safe yet.
    struct Change {
        bool truncates;
        std::size_t offset;  // or the size after a truncation
        std::string data;
        void applyTo(std::string& content) const;
    };
    struct File {
        std::string safe;
        std::vector<Change> pending;
    };
    /// The files that a name has stood for since the folder was synced, the present one last; null for none.
    using History = std::vector<std::shared_ptr<File>>;

    File* present(const std::string& path);
    void folderSynced();
    std::string remains(const File& file, unsigned percentKept, Losses& losses);
    /// Does a run of the write's sectors. @return false, without a change, when it has but one
    bool tear(const Change& write, std::string& content);

    std::filesystem::path mFolder;
    Draw mDraw;
    std::map<std::string, History> mNames;
    std::set<std::string> mSyncFolderToo;  ///< logs and journals that have been opened and not synced
    unsigned mCallsLeft = 0;               ///< until it fails; 0 when that is not set
    bool mCountDatabaseOnly = false;
    bool mFailed = false;
    bool mFailedInDatabase = false;
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_RELIABILITY_SUPPORT_POWER_CUT_H
