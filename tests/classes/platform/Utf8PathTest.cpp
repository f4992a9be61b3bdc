#include "classes/platform/Utf8Path.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "tests/support/TemporaryFolder.h"

using pelkoapi::pathOf;
using pelkoapi::utf8Of;

namespace {

TEST(Utf8Path, EveryTextOfUtf8ComesBack) {
    for (const std::string text : {"", "db.dat", "/a/b/../c/", "größe/日本語/😀.dat", " "}) {
        EXPECT_EQ(utf8Of(pathOf(text)), text);
    }
}

TEST(Utf8Path, TheTextOfAPathIsUtf8) {
    EXPECT_EQ(utf8Of(std::filesystem::path(u"größe") / u"日本語"), "größe/日本語");
    EXPECT_EQ(pathOf("größe/日本語"), std::filesystem::path(u"größe") / u"日本語");
}

TEST(Utf8Path, NamesTheFileThatIsThere) {
    const pelkotest::TemporaryFolder folder;
    const std::string name = "größe 日本語 😀";
    std::ofstream(folder.path() / pathOf(name)) << "here";
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
        EXPECT_EQ(utf8Of(entry.path().filename()), name);
    }
    EXPECT_EQ(std::filesystem::file_size(pathOf(utf8Of(folder.path()) + '/' + name)), 4U);
}

// Where paths are bytes, a file that somebody named in another code must be found all the same.
TEST(Utf8Path, KeepsBytesThatAreNoUtf8) {
    for (const std::string text : {"gr\xf6\xdf"
                                   "e",
                                   "\xff", "cut\xe6\x97"}) {
        EXPECT_EQ(utf8Of(pathOf(text)), text);
    }
}

}  // namespace
