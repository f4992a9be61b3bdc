#ifndef PELKO_TESTS_SUPPORT_TEMPORARY_FOLDER_H
#define PELKO_TESTS_SUPPORT_TEMPORARY_FOLDER_H

#include <stdlib.h>  // mkdtemp is POSIX's, not the standard library's

#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace pelkotest {

/// A folder of the test's own under the system's temporary folder, removed with everything in it at the end.
class TemporaryFolder {
public:
    TemporaryFolder() {
        // Without links in it, so that it compares equal to resolved paths.
        std::string name =
            (std::filesystem::canonical(std::filesystem::temp_directory_path()) / "pelko-test-XXXXXX")
                .string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("cannot make " + name);
        }
        mPath = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return mPath; }

private:
    std::filesystem::path mPath;
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_SUPPORT_TEMPORARY_FOLDER_H
