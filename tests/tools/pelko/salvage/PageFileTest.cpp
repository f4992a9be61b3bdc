#include "tools/pelko/salvage/PageFile.h"

#include <chrono>

#include "tests/tools/pelko/salvage/SampleFile.h"
#include "tests/tools/pelko/support/ToolTest.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/salvage/PageMap.h"
#include "tools/pelko/salvage/TreeWalk.h"

using namespace pelkotest;
using namespace pelkotool;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

class PagesOfAFile : public ToolTest {
protected:
    void SetUp() override {
        runWell({"send", "user:bob", "hi"});
        fillStoreFile(database(), 600);
    }

    static PageMap mapOf(PageFile& file) {
        return PageMap(file, [](std::uint32_t) {});
    }
};

TEST_F(PagesOfAFile, AreThoseOfTheFile) {
    PageFile file(database());
    EXPECT_EQ(file.pageSize(), 4096U);
    EXPECT_EQ(file.pageCount(), fs::file_size(database()) / 4096);
    EXPECT_EQ(file.missingPages(), 0U);
    EXPECT_EQ(file.waitingPages(), 0U);
    const std::string content = contentOf(database());
    Bytes page;
    for (std::uint32_t number = 1; number <= file.pageCount(); ++number) {
        ASSERT_TRUE(file.read(number, page));
        EXPECT_EQ(std::string(page.begin(), page.end()),
                  content.substr((std::size_t{number} - 1) * 4096, 4096));
    }
    EXPECT_FALSE(file.read(0, page));
    EXPECT_FALSE(file.read(file.pageCount() + 1, page));
    file.requireUnchanged();
}

TEST_F(PagesOfAFile, AreMissedWhereTheFileIsCutShort) {
    const auto whole = static_cast<std::uint32_t>(fs::file_size(database()) / 4096);
    fs::resize_file(database(), 10 * 4096 + 5);
    const PageFile file(database());
    EXPECT_EQ(file.pageCount(), 10U);
    EXPECT_EQ(file.missingPages(), whole - 10);
}

TEST_F(PagesOfAFile, AreOfNoUseWhenAnotherProgramHasChangedThem) {
    const PageFile file(database());
    file.requireUnchanged();
    fs::last_write_time(database(), fs::last_write_time(database()) + std::chrono::seconds(1));
    EXPECT_THROW(file.requireUnchanged(), ToolError);
    const PageFile again(database());
    writeFile(database().string() + "-wal", "something new");
    EXPECT_THROW(again.requireUnchanged(), ToolError);
}

TEST_F(PagesOfAFile, AreAllOfATreeOrFree) {
    PageFile file(database());
    PageMap map = mapOf(file);
    EXPECT_TRUE(map.freePagesAreKnown());
    std::uint32_t free = 0;
    for (std::uint32_t page = 1; map.has(page); ++page) {
        free += map.at(page).free ? 1 : 0;
    }
    EXPECT_EQ(std::to_string(free), value("PRAGMA freelist_count"));
    EXPECT_GT(free, 0U);
}

TEST_F(PagesOfAFile, AreWalkedInTheOrderOfTheirRows) {
    const RowPages pages = rowPagesOf(database());
    PageFile file(database());
    PageMap map = mapOf(file);
    const TreeWalk walk = walkTable(file, map, pages.roots.at("tbl_msg"));
    EXPECT_TRUE(walk.complete);
    EXPECT_THAT(walk.doubtful, IsEmpty());
    std::vector<std::uint32_t> leaves;
    for (const auto& [row, its] : pages.rows.at("tbl_msg")) {
        // Its leaf is the one of its pages that is a tree's.
        for (const std::uint32_t page : its) {
            if (map.at(page).kind == PageKind::tableLeaf && (leaves.empty() || leaves.back() != page)) {
                leaves.push_back(page);
            }
        }
    }
    EXPECT_THAT(walk.pages, ElementsAreArray(leaves));
    // No page is of two trees.
    const TreeWalk again = walkTable(file, map, pages.roots.at("tbl_msg"));
    EXPECT_FALSE(again.complete);
    EXPECT_THAT(again.pages, IsEmpty());
    EXPECT_FALSE(walkTable(file, map, pages.roots.at("idx_msg_pair")).complete);  // is no table
    EXPECT_FALSE(walkTable(file, map, 0).complete);
    EXPECT_FALSE(walkTable(file, map, 4'000'000'000U).complete);
}

}  // namespace
