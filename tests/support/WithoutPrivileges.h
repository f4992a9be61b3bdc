#ifndef PELKO_TESTS_SUPPORT_WITHOUT_PRIVILEGES_H
#define PELKO_TESTS_SUPPORT_WITHOUT_PRIVILEGES_H

#include <gtest/gtest.h>
#include <unistd.h>

namespace pelkotest {

/// Another user's rights while it lives, when the tests run as root, for whom every file can be read and
/// written. Processes that are started meanwhile have them, too.
class WithoutPrivileges {
public:
    WithoutPrivileges() {
        if (mUser == 0) {
            EXPECT_EQ(setreuid(nobody, 0), 0);
            EXPECT_EQ(seteuid(nobody), 0);
        }
    }
    ~WithoutPrivileges() {
        if (mUser == 0) {
            EXPECT_EQ(seteuid(0), 0);
            EXPECT_EQ(setreuid(0, 0), 0);
        }
    }
    WithoutPrivileges(const WithoutPrivileges&) = delete;
    WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;

private:
    static constexpr uid_t nobody = 65534;  // by convention
    const uid_t mUser = geteuid();
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_SUPPORT_WITHOUT_PRIVILEGES_H
