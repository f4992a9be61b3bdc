#include "tools/pelko/export/HtmlFolders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

namespace pelkotest {

using pelkotool::HtmlFolders;

TEST(HtmlFoldersTest, PlainTargetsNameTheirFolders) {
    HtmlFolders folders;
    EXPECT_EQ(folders.nameFor({1, "5001"}), "room-5001");
    EXPECT_EQ(folders.nameFor({2, "5001"}), "group-5001");
    EXPECT_EQ(folders.nameFor({3, "9"}), "service-9");
    EXPECT_EQ(folders.nameFor({0, "alice_b-c"}), "user-alice_b-c");
}

TEST(HtmlFoldersTest, ChangedNamesAreNumbered) {
    HtmlFolders folders;
    EXPECT_EQ(folders.nameFor({0, "a/b"}), "user-a_b-1");
    EXPECT_EQ(folders.nameFor({0, "a:b"}), "user-a_b-2");
    EXPECT_EQ(folders.nameFor({0, "a_b"}), "user-a_b");
    EXPECT_EQ(folders.nameFor({0, ".."}), "user-__-1");
    EXPECT_EQ(folders.nameFor({0, ""}), "user--1");
    EXPECT_EQ(folders.nameFor({-7, "x"}), "kind--7-x");
}

TEST(HtmlFoldersTest, NumberedNamesDoNotMeetOthers) {
    HtmlFolders folders;
    EXPECT_EQ(folders.nameFor({0, "a_-1"}), "user-a_-1");
    EXPECT_EQ(folders.nameFor({0, "a."}), "user-a_-2");
    EXPECT_EQ(folders.nameFor({0, "b."}), "user-b_-1");
    EXPECT_EQ(folders.nameFor({0, "b_-1"}), "user-b_-1-1");
}

TEST(HtmlFoldersTest, NamesDifferInMoreThanCapitals) {
    HtmlFolders folders;
    EXPECT_EQ(folders.nameFor({0, "Bob"}), "user-Bob");
    EXPECT_EQ(folders.nameFor({0, "bob"}), "user-bob-1");
    EXPECT_EQ(folders.nameFor({0, "BOB"}), "user-BOB-2");
}

TEST(HtmlFoldersTest, LongNamesAreCutAndNumbered) {
    HtmlFolders folders;
    const std::string first = folders.nameFor({0, std::string(300, 'x')});
    EXPECT_EQ(first, "user-" + std::string(55, 'x') + "-1");
    EXPECT_EQ(folders.nameFor({0, std::string(301, 'x')}), "user-" + std::string(55, 'x') + "-2");
}

TEST(HtmlFoldersTest, ManyAlikeGetDifferentNames) {
    HtmlFolders folders;
    std::set<std::string> names;
    for (int i = 0; i < 20000; ++i) {
        names.insert(folders.nameFor({0, std::string(60, 'x') + std::to_string(i)}));
    }
    EXPECT_EQ(names.size(), 20000U);
}

}  // namespace pelkotest
