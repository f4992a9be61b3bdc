#include "classes/platform/UserDataFolder.h"

#include <gtest/gtest.h>

#include "tests/support/EnvironmentVariable.h"

using pelkoapi::userDataFolder;
using pelkotest::EnvironmentVariable;

namespace {

TEST(UserDataFolder, IsTheXdgDataDirectory) {
    const EnvironmentVariable data("XDG_DATA_HOME", "/größe");
    const EnvironmentVariable home("HOME", "/home/someone");
    EXPECT_EQ(userDataFolder(), "/größe");
}

TEST(UserDataFolder, IsBelowTheHomeDirectoryWithoutAnAbsoluteOne) {
    const EnvironmentVariable home("HOME", "/home/someone");
    for (const char* const useless : {static_cast<const char*>(nullptr), "", "relative"}) {
        const EnvironmentVariable data("XDG_DATA_HOME", useless);
        EXPECT_EQ(userDataFolder(), "/home/someone/.local/share");
    }
}

TEST(UserDataFolder, IsEmptyWithoutAHomeDirectory) {
    const EnvironmentVariable data("XDG_DATA_HOME", nullptr);
    for (const char* const useless : {static_cast<const char*>(nullptr), ""}) {
        const EnvironmentVariable home("HOME", useless);
        EXPECT_TRUE(userDataFolder().empty());
    }
}

}  // namespace
