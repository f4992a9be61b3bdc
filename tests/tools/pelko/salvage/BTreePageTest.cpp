#include "tools/pelko/salvage/BTreePage.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/tools/pelko/salvage/SampleFile.h"
#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using namespace pelkotool;

namespace {

class PageOfATree : public ToolTest {};

TEST_F(PageOfATree, IsSoundWhereSqliteHasWrittenIt) {
    runWell({"send", "user:bob", "hi"});
    fillStoreFile(database(), 3000);
    for (const char* const size : {"512", "1024", "4096", "65536"}) {
        SCOPED_TRACE(size);
        execute(std::string("PRAGMA journal_mode = DELETE; PRAGMA page_size = ") + size +
                "; VACUUM; DELETE FROM tbl_msg WHERE db_id % 6 = 0");
        // It throws where a page of a tree is not sound, and counts the rows itself.
        const RowPages pages = rowPagesOf(database());
        EXPECT_EQ(std::to_string(pages.pageSize), size);
        EXPECT_GE(pages.trees.size(), 20U);
    }
}

TEST_F(PageOfATree, IsNotSoundWithAnyByteOfItsFormChanged) {
    runWell({"send", "user:bob", "hi"});
    fillStoreFile(database(), 300);
    const std::string content = contentOf(database());
    const PageBounds limits{4096, static_cast<std::uint32_t>(content.size() / 4096), content.size()};
    const std::uint32_t number = *rowPagesOf(database()).rows.at("tbl_msg").at(20).begin();
    const Bytes whole(content.begin() + (number - 1) * 4096, content.begin() + number * 4096);
    const BTreePage page = parsePage(ByteView(whole), number, limits);
    ASSERT_TRUE(page.sound);
    ASSERT_GT(page.cells.size(), 10U);
    std::set<std::size_t> form = {0, 3, 4, 5, 6, 7};  // header, pointers, and lengths of the cells
    for (std::size_t i = 0; i < 2 * page.cells.size(); ++i) {
        form.insert(8 + i);
    }
    for (const Cell& cell : page.cells) {
        form.insert(cell.offset);
    }
    for (const std::size_t place : form) {
        for (const unsigned int flip : {1U, 0x10U, 0x80U}) {
            Bytes changed = whole;
            changed[place] = static_cast<std::uint8_t>(changed[place] ^ flip);
            EXPECT_FALSE(parsePage(ByteView(changed), number, limits).sound) << place << ' ' << flip;
        }
    }
}

TEST(RandomPage, IsNeverSoundAndNeverHarms) {
    std::mt19937 random(7);
    for (int i = 0; i < 20'000; ++i) {
        Bytes page(512);
        for (std::uint8_t& byte : page) {
            byte = static_cast<std::uint8_t>(random());
        }
        constexpr std::uint8_t kinds[] = {2, 5, 10, 13};
        page[0] = kinds[i % 4];
        page[3] = 0;  // few cells, in a row, so that more of it is looked at
        page[4] %= 20;
        page[5] = page[5] % 2;
        const BTreePage parsed = parsePage(ByteView(page), 2, {512, 100, 51200});
        EXPECT_FALSE(parsed.sound);
        for (const Cell& cell : parsed.cells) {
            EXPECT_LE(cell.offset + cell.size, 512U);
            EXPECT_LE(cell.localOffset + cell.localSize, 512U);
            EXPECT_LE(cell.payloadSize, 51200U);
            EXPECT_LE(cell.child, 100U);
            EXPECT_LE(cell.overflow, 100U);
        }
    }
}

TEST(EmptyPage, IsOfNoKind) {
    const Bytes zeros(512);
    EXPECT_EQ(parsePage(ByteView(zeros), 2, {512, 3, 1536}).kind, PageKind::none);
    EXPECT_EQ(parsePage(ByteView(zeros), 1, {512, 3, 1536}).kind, PageKind::none);
    EXPECT_EQ(parsePage(ByteView(Bytes(8)), 2, {512, 3, 1536}).kind, PageKind::none);  // cut short
}

TEST(EmptyLeaf, IsSound) {
    Bytes page(512);
    page[0] = 13;
    page[5] = 2;  // the content begins at the end
    EXPECT_TRUE(parsePage(ByteView(page), 2, {512, 3, 1536}).sound);
    page[7] = 1;  // a free byte that is not there
    EXPECT_FALSE(parsePage(ByteView(page), 2, {512, 3, 1536}).sound);
}

TEST(InteriorPage, LeadsNeitherToItselfNorOutOfTheFile) {
    Bytes page(512);
    page[0] = 5;
    page[5] = 2;
    const auto isSound = [&](std::uint8_t child) {
        page[11] = child;
        return parsePage(ByteView(page), 2, {512, 9, 4608}).sound;
    };
    EXPECT_TRUE(isSound(3));
    EXPECT_TRUE(isSound(9));
    EXPECT_FALSE(isSound(10));
    EXPECT_FALSE(isSound(0));
    EXPECT_FALSE(isSound(1));
    EXPECT_FALSE(isSound(2));
}

}  // namespace
