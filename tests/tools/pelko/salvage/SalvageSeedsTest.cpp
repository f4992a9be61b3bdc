#include <cmath>
#include <cstdlib>
#include <iostream>
#include <map>
#include <random>

#include "tests/tools/pelko/salvage/SampleFile.h"
#include "tests/tools/pelko/support/ToolTest.h"

// Pages of a file overwritten, by chance and each in turn. A few files in the usual run, of a size that takes
// no long time; PELKO_SALVAGES=50 damages so many of 100,000 messages.

using namespace pelkotest;

namespace {

/// Of the rows that lie on undamaged pages, how many there are and how many came back.
struct Tally {
    long long there = 0;
    long long back = 0;

    double part() const { return there == 0 ? 1.0 : static_cast<double>(back) / static_cast<double>(there); }
    void add(const Tally& other) {
        there += other.there;
        back += other.back;
    }
};

class SalvageSeeds : public ToolTest {
protected:
    /// The file, filled, and where its rows lie.
    void fill(int messages) {
        runWell({"send", "user:bob", "hi"});
        fillStoreFile(database(), messages);
        fs::copy_file(database(), mOriginal);
        mPages = rowPagesOf(mOriginal);
    }

    std::set<std::uint32_t> somePages(unsigned int seed, double part) const {
        std::mt19937 random(seed);
        const auto count = static_cast<std::size_t>(std::ceil(mPages.pageCount * part));
        std::set<std::uint32_t> some;
        while (some.size() < count) {
            some.insert(static_cast<std::uint32_t>(random() % mPages.pageCount) + 1);
        }
        return some;
    }

    /// Damages a copy and salvages it.
    nlohmann::json salvage(const std::set<std::uint32_t>& pages, unsigned int seed) {
        const fs::path damaged = folder() / "damaged.dat";
        fs::remove(mOut);
        fs::copy_file(mOriginal, damaged, fs::copy_options::overwrite_existing);
        overwritePages(damaged, pages, mPages.pageSize, seed);
        mDamage = pages;
        const ToolRun run = runWell({"salvage", mOut.string(), "--file", damaged.string(), "--json"});
        return run.exitCode == 0 ? run.json() : nlohmann::json();
    }

    bool isUndamaged(const RowPages::Pages& pages) const {
        return std::none_of(pages.begin(), pages.end(),
                            [&](std::uint32_t page) { return mDamage.count(page) != 0; });
    }

    Tally tallyOf(const std::string& table) const {
        std::set<std::int64_t> back;
        for (const auto& row : rowsOf(mOut, "SELECT rowid FROM " + table)) {
            back.insert(std::stoll(row.front()));
        }
        Tally tally;
        for (const auto& [row, its] : mPages.rows.at(table)) {
            if (isUndamaged(its)) {
                ++tally.there;
                tally.back += back.count(row) != 0 ? 1 : 0;
            }
        }
        return tally;
    }

    void expectNoForeignRows() const {
        for (const std::string& table : storeTables()) {
            EXPECT_EQ(foreignRows(mOut, mOriginal, table), 0) << table;
        }
    }

    fs::path original() const { return mOriginal; }
    fs::path out() const { return mOut; }
    const RowPages& pages() const { return mPages; }

private:
    fs::path mOriginal = folder() / "original.dat";
    fs::path mOut = folder() / "out.dat";
    RowPages mPages;
    std::set<std::uint32_t> mDamage;
};

TEST_F(SalvageSeeds, BringBackTheRowsOnUndamagedPages) {
    const char* const asked = std::getenv("PELKO_SALVAGES");
    const unsigned int seeds = asked != nullptr ? static_cast<unsigned int>(std::stoul(asked)) : 5;
    const int messages = asked != nullptr ? 100'000 : 4'000;
    fill(messages);
    Tally allMessages;
    Tally allOthers;
    Tally worst{1, 1};
    for (unsigned int seed = 1; seed <= seeds; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::set<std::uint32_t> damage = somePages(seed, 0.01);
        if (seed % 5 == 0) {
            damage.insert(1);  // seldom hit by chance, but all the rest hangs on them
        }
        if (seed % 3 == 0) {
            damage.insert(pages().roots.at("tbl_msg"));
        }
        salvage(damage, seed);
        Tally others;
        Tally ofMessages;
        for (const std::string& table : storeTables()) {
            const Tally tally = tallyOf(table);
            (table == "tbl_msg" ? ofMessages : others).add(tally);
            if (tally.back < tally.there) {
                std::cout << "seed " << seed << ": " << table << ": " << tally.back << " of " << tally.there
                          << '\n';
            }
        }
        EXPECT_GE(ofMessages.part(), 0.98);
        EXPECT_GE(others.part(), 0.98);
        expectNoForeignRows();
        allMessages.add(ofMessages);
        allOthers.add(others);
        for (const Tally& tally : {ofMessages, others}) {
            worst = tally.part() < worst.part() ? tally : worst;
        }
    }
    std::cout << "counted: " << seeds << " salvages of " << pages().pageCount
              << " pages, 1 % overwritten; of " << allMessages.there << " messages on undamaged pages "
              << allMessages.back << " came back, of " << allOthers.there << " other rows " << allOthers.back
              << ", of one salvage at least " << 100 * worst.part() << " %\n";
}

TEST_F(SalvageSeeds, BringBackTheRowsWhicheverPageIsLost) {
    fill(300);
    // Where the first page is lost, too, these tables are certain by their indexes alone.
    const std::map<std::uint32_t, std::string> vouching = {
        {pages().roots.at("idx_relationship_name"), "tbl_relationship"},
        {pages().roots.at("sqlite_autoindex_tbl_last_msg_id_1"), "tbl_last_msg_id"},
        {pages().roots.at("sqlite_autoindex_tbl_msg_config_1"), "tbl_msg_config"}};
    for (std::uint32_t page = 1; page <= pages().pageCount; ++page) {
        for (const bool withFirst : {false, true}) {
            SCOPED_TRACE("page " + std::to_string(page) + (withFirst ? " and the first" : ""));
            std::set<std::uint32_t> damage = {page};
            if (withFirst) {
                damage.insert(1);
            }
            salvage(damage, page);
            for (const std::string& table : storeTables()) {
                const Tally tally = tallyOf(table);
                const auto found = vouching.find(page);
                const bool uncertain = withFirst && found != vouching.end() && found->second == table;
                EXPECT_EQ(tally.back, uncertain ? 0 : tally.there) << table;
            }
            expectNoForeignRows();
        }
    }
}

}  // namespace
