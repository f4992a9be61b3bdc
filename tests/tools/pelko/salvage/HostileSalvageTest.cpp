#include <cstdlib>
#include <iostream>
#include <random>

#include "tests/tools/pelko/salvage/SampleFile.h"
#include "tests/tools/pelko/support/ToolTest.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/salvage/Salvage.h"

// Files that were changed in many places, and files that were made to lead a reader astray: each ends in a
// sound new file or in one line that says why not, and never in a crash, without end or with memory that a
// number in the file has claimed.

using namespace pelkotest;
using testing::HasSubstr;

namespace {

class HostileSalvage : public ToolTest {
protected:
    void SetUp() override {
        runWell({"send", "user:bob", "hi"});
        fillStoreFile(database(), 200);
        mContent = contentOf(database());
    }

    /// @return what was recovered; -1 when nothing could be
    long long salvage(const std::string& content) {
        writeFile(mFile, content);
        fs::remove(mOut);
        try {
            pelkotool::NewPath out(mOut.string());
            const pelkotool::SalvageReport report = pelkotool::salvage(mFile, out);
            EXPECT_EQ(rowsOf(mOut, "PRAGMA integrity_check"), (Rows{{"ok"}}));
            return report.recovered();
        } catch (const pelkotool::ToolError& error) {
            EXPECT_FALSE(fs::exists(mOut)) << error.what();
            return -1;
        }
    }

    const std::string& content() const { return mContent; }
    std::size_t offsetOf(std::uint32_t page) const { return (page - 1) * std::size_t{4096}; }
    static void put(std::string& bytes, std::size_t place, std::uint32_t number) {
        for (int i = 0; i < 4; ++i) {
            bytes[place + static_cast<std::size_t>(i)] = static_cast<char>(number >> (24 - 8 * i) & 0xffU);
        }
    }

private:
    fs::path mFile = folder() / "hostile.dat";
    fs::path mOut = folder() / "out.dat";
    std::string mContent;
};

TEST_F(HostileSalvage, EndsWellWithFilesChangedByChance) {
    const char* const asked = std::getenv("PELKO_SALVAGES");
    const int files = asked != nullptr ? 40 * std::stoi(asked) : 150;
    std::mt19937 random(3);
    int rescued = 0;
    for (int i = 0; i < files; ++i) {
        SCOPED_TRACE("file " + std::to_string(i));
        std::string changed = content();
        for (std::size_t changes = 1 + random() % 40; changes > 0; --changes) {
            // Where pages have their form: at their start, and seldom elsewhere.
            const std::size_t page = random() % (changed.size() / 4096);
            const std::size_t place = random() % 4 == 0 ? random() % 4096 : random() % 60;
            changed[page * 4096 + place] = static_cast<char>(random() % 3 == 0 ? 0xff : random() & 0xffU);
        }
        if (i % 10 == 0) {
            changed.resize(random() % changed.size());
        }
        rescued += salvage(changed) > 0 ? 1 : 0;
    }
    EXPECT_GT(rescued, files / 2);
    std::cout << "counted: " << files << " changed files salvaged, " << rescued << " with rows\n";
}

TEST_F(HostileSalvage, FollowsNoTreeThatLeadsBackToItsRoot) {
    const RowPages pages = rowPagesOf(database());
    std::string changed = content();
    const std::size_t root = offsetOf(pages.roots.at("tbl_msg"));
    ASSERT_EQ(changed[root], 5);
    const long long all = salvage(changed);
    put(changed, root + 8, pages.roots.at("tbl_msg"));
    EXPECT_GT(salvage(changed), 0);
    changed = content();
    put(changed, root + 8, pages.roots.at("tbl_notify"));  // a page of another table
    EXPECT_LE(salvage(changed), all);
}

TEST_F(HostileSalvage, FollowsNoChainThatGoesInCircles) {
    std::string changed = content();
    const RowPages pages = rowPagesOf(database());
    int circles = 0;
    for (const auto& [row, its] : pages.rows.at("tbl_msg")) {
        if (its.size() > 1) {
            put(changed, offsetOf(*its.rbegin()), *its.rbegin());
            ++circles;
        }
    }
    ASSERT_GT(circles, 0);
    EXPECT_GT(salvage(changed), 100);
    for (std::uint32_t page = 2; page <= pages.pageCount; ++page) {
        put(changed, offsetOf(page), page == pages.pageCount ? 2 : page + 1);
    }
    EXPECT_LE(salvage(changed), 100);
}

TEST_F(HostileSalvage, FollowsNoListOfFreePagesThatGoesInCircles) {
    std::string changed = content();
    put(changed, 32, 3);  // the list begins with a page of a table
    put(changed, 36, 4'000'000'000U);
    EXPECT_GT(salvage(changed), 100);
    changed += std::string(4096, '\0');
    const auto last = static_cast<std::uint32_t>(changed.size() / 4096);
    put(changed, 28, last);
    put(changed, 32, last);
    put(changed, offsetOf(last), last);
    put(changed, offsetOf(last) + 4, 1022);
    EXPECT_GT(salvage(changed), 100);
}

TEST_F(HostileSalvage, ClaimsNoMemoryForPagesThatAreNotThere) {
    std::string changed = content();
    put(changed, 28, 0xfffffffeU);
    EXPECT_GT(salvage(changed), 100);
    put(changed, 92, 0);  // the number of pages is not to be trusted at all
    EXPECT_GT(salvage(changed), 100);
}

TEST_F(HostileSalvage, RunsNoTextOfASchemaForEver) {
    execute(
        "PRAGMA writable_schema = 1; UPDATE sqlite_master SET sql = 'CREATE TABLE tbl_room AS WITH RECURSIVE "
        "n(i) AS (SELECT "
        "1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n' WHERE name = 'tbl_room'; UPDATE sqlite_master SET "
        "sql = 'CREATE "
        "TABLE tbl_user (username text primary key DEFAULT (hex(zeroblob(100000000))), nickname text)' WHERE "
        "name = 'tbl_user'");
    EXPECT_GT(salvage(contentOf(database())), 100);
}

TEST_F(HostileSalvage, EndsWhereATextOfTheSchemaTakesItsTimeInFewSteps) {
    execute(
        "PRAGMA writable_schema = 1; UPDATE sqlite_master SET sql = 'CREATE TABLE tbl_room AS SELECT 1 AS "
        "room_id,(WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x+1 FROM c) SELECT "
        "sum(length(hex(zeroblob(60000000+x%3)))) FROM c) AS name' WHERE name = 'tbl_room'");
    EXPECT_GT(salvage(contentOf(database())), 100);
}

}  // namespace
