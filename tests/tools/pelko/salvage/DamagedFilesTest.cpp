#include "tests/tools/pelko/salvage/SalvageTest.h"

// Files with some kind of damage: what comes back, what is told to be lost, and that nothing comes back that
// was not there.

using namespace pelkotest;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class DamagedFile : public SalvageTest {};

TEST_F(DamagedFile, MakesAFileThatTheStoreGoesOnWith) {
    fill();
    runWell({"salvage", out().string(), "--file", damaged({1, 2}).string()});
    fs::rename(out(), database());
    const auto before = std::stoi(value("SELECT COUNT(*) FROM tbl_msg"));
    EXPECT_GT(before, 400);
    runWell({"send", "user:bob", "on we go"});
    EXPECT_EQ(value("SELECT COUNT(*) FROM tbl_msg"), std::to_string(before + 1));
    EXPECT_THAT(runWell({"show", "user:bob"}).out, HasSubstr("on we go"));
    EXPECT_EQ(value("PRAGMA integrity_check"), "ok");
}

TEST_F(DamagedFile, CountsTheRowsThatAreLost) {
    fill();
    const RowPages pages = rowPagesOf(database());
    const std::uint32_t leaf = *pages.rows.at("tbl_msg").at(100).begin();
    long long there = 0;
    for (const auto& [row, its] : pages.rows.at("tbl_msg")) {
        there += its.count(leaf) != 0 ? 1 : 0;
    }
    const json report = salvage(damaged({leaf}));
    EXPECT_EQ(tableOf(report, "tbl_msg")["lost"], there);
    EXPECT_EQ(tableOf(report, "tbl_msg")["may_be_more_lost"], false);  // the index tells of all
    EXPECT_EQ(report["nothing_lost"], false);
    EXPECT_GE(report["unusable_pages"], 1);
    fs::remove(out());
    EXPECT_THAT(runWell({"salvage", out().string(), "--file", damaged({leaf}).string()}).out,
                testing::EndsWith("Lost: " + std::to_string(there) + " rows; there were no more.\n"));
    fs::remove(out());
    const ToolRun room =
        runWell({"salvage", out().string(), "--file", damaged({pages.roots.at("tbl_room")}).string()});
    EXPECT_THAT(room.out,
                AllOf(HasSubstr("more may be lost"),
                      testing::EndsWith("No row is known to be lost; there may have been more.\n")));
}

TEST_F(DamagedFile, LosesNothingWithAnIndex) {
    fill();
    const RowPages pages = rowPagesOf(database());
    std::set<std::uint32_t> damage;
    for (const auto& [name, tree] : pages.trees) {
        if (name.rfind("idx_", 0) == 0 || name.rfind("sqlite_autoindex", 0) == 0) {
            damage.insert(tree.begin(), tree.end());
        }
    }
    ASSERT_GT(damage.size(), 15U);
    EXPECT_EQ(salvage(damaged(damage))["nothing_lost"], true);
    expectSameRows(out(), database());
    expectStoreFile(out());
}

TEST_F(DamagedFile, ReadsRowsFromAnIndexWhereTheirTableIsLost) {
    fill(4000);
    const RowPages pages = rowPagesOf(database());
    const auto& relationships = pages.trees.at("tbl_relationship");
    const auto& groups = pages.trees.at("tbl_group_list");
    std::set<std::uint32_t> damage(relationships.begin(), relationships.end());
    damage.insert(groups.begin(), groups.end());
    const json report = salvage(damaged(damage));
    for (const char* const table : {"tbl_relationship", "tbl_group_list"}) {
        const json told = tableOf(report, table);
        EXPECT_EQ(told["from_indexes"], pages.rows.at(table).size());
        EXPECT_EQ(told["lost"], 0);
    }
    expectSameRows(out(), database());
}

TEST_F(DamagedFile, LeavesOutWhatHasToBeExactAndIsUncertain) {
    fill();
    const RowPages pages = rowPagesOf(database());
    // Nothing tells any more that a table of texts and numbers is the list of friends and blocked users.
    const std::set<std::uint32_t> damage = {1, pages.roots.at("idx_relationship_name"),
                                            pages.roots.at("sqlite_autoindex_tbl_last_msg_id_1")};
    const json report = salvage(damaged(damage));
    for (const char* const table : {"tbl_relationship", "tbl_last_msg_id"}) {
        EXPECT_EQ(tableOf(report, table)["recovered"], 0) << table;
        EXPECT_EQ(tableOf(report, table)["uncertain"], pages.rows.at(table).size()) << table;
    }
    EXPECT_EQ(report["schema_complete"], false);
    EXPECT_EQ(tableOf(report, "tbl_msg_config")["recovered"], pages.rows.at("tbl_msg_config").size());
    EXPECT_EQ(report["nothing_lost"], false);
    fs::remove(out());
    EXPECT_THAT(runWell({"salvage", out().string(), "--file", damaged(damage).string()}).out,
                HasSubstr("left out as uncertain"));
}

TEST_F(DamagedFile, TakesNoRowOfTheExactTablesFromAPageThatIsNotWhole) {
    fill();
    const std::uint32_t page = rowPagesOf(database()).roots.at("tbl_msg_config");
    const fs::path file = damaged({});
    std::string content = contentOf(file);
    content.replace((page - 1) * 4096 + 3000, 200, 200, 'z');  // between the pointers and the rows
    content[(page - 1) * 4096 + 7] = 99;                       // and the header does not add up
    writeFile(file, content);
    const json report = salvage(file);
    EXPECT_EQ(tableOf(report, "tbl_msg_config")["recovered"], 0);
    EXPECT_GT(tableOf(report, "tbl_msg_config")["lost"], 0);
    EXPECT_EQ(tableOf(report, "tbl_msg")["lost"], 0);
}

TEST_F(DamagedFile, BringsNoDeletedRowBack) {
    // fill() deletes without overwriting, and leaves the pages full of deleted messages.
    fill(3000);
    const RowPages pages = rowPagesOf(database());
    EXPECT_TRUE(holds(database(), "message 1070 "));
    EXPECT_EQ(value("SELECT COUNT(*) FROM tbl_msg WHERE text GLOB 'message 1070 *'"), "0");
    const std::set<std::uint32_t> damages[] = {
        {pages.roots.at("tbl_msg")},
        {1, pages.roots.at("tbl_msg")},
        {1, pages.roots.at("tbl_msg"), pages.roots.at("idx_msg_msg_id")},
        {1, pages.roots.at("tbl_notify"), pages.roots.at("tbl_relationship")},
        {pages.roots.at("tbl_notify"), pages.roots.at("tbl_relationship"),
         pages.roots.at("idx_relationship_name")},
    };
    for (const std::set<std::uint32_t>& damage : damages) {
        salvage(damaged(damage));
        expectOnlyOriginalRows(database());
    }
}

TEST_F(DamagedFile, BringsNoDeletedRowBackWhenTheListOfFreePagesIsLost) {
    fill(3000);
    const RowPages pages = rowPagesOf(database());
    const std::string header = contentOf(database()).substr(0, 100);
    const auto byte = [&](std::size_t i) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(header[i]));
    };
    const std::uint32_t trunk = byte(32) << 24U | byte(33) << 16U | byte(34) << 8U | byte(35);
    ASSERT_NE(trunk, 0U);
    for (const std::set<std::uint32_t>& damage :
         {std::set<std::uint32_t>{trunk, pages.roots.at("tbl_msg")},
          std::set<std::uint32_t>{trunk, pages.roots.at("tbl_msg"), pages.roots.at("idx_msg_msg_id"),
                                  pages.roots.at("tbl_notify")}}) {
        const json report = salvage(damaged(damage));
        EXPECT_EQ(report["free_pages_known"], false);
        EXPECT_GT(tableOf(report, "tbl_msg")["recovered"], 2000);
        expectOnlyOriginalRows(database());
    }
}

TEST_F(DamagedFile, KeepsTheCounterOfNotifications) {
    fill();
    const std::string counter = "SELECT seq FROM sqlite_sequence WHERE name = 'tbl_notify'";
    ASSERT_NE(value(counter), value("SELECT MAX(db_id) FROM tbl_notify"));
    for (const std::set<std::uint32_t>& damage : {std::set<std::uint32_t>{}, std::set<std::uint32_t>{1}}) {
        salvage(damaged(damage));
        EXPECT_EQ(rowsOf(out(), counter), rows(counter));
    }
}

TEST_F(DamagedFile, FindsThePageSizeWhereTheHeaderIsDestroyed) {
    for (const char* const size : {"512", "1024", "8192", "65536"}) {
        SCOPED_TRACE(size);
        fs::remove_all(dataDir());
        fill(3000);
        execute(std::string("PRAGMA journal_mode = DELETE; PRAGMA page_size = ") + size + "; VACUUM");
        const json report = salvage(damaged({1}, static_cast<std::uint32_t>(std::stoul(size))));
        EXPECT_EQ(report["page_size"].dump(), size);
        EXPECT_EQ(report["header_readable"], false);
        EXPECT_EQ(tableOf(report, "tbl_msg")["recovered"].dump(), value("SELECT COUNT(*) FROM tbl_msg"));
        expectOnlyOriginalRows(database());
    }
}

TEST_F(DamagedFile, IsReadToItsEndWhenItsHeaderCountsTooFewPages) {
    fill(3000);
    const fs::path file = damaged({});
    std::string content = contentOf(file);
    content.replace(28, 4, std::string("\0\0\0\x14", 4));
    writeFile(file, content);
    const json report = salvage(file);
    EXPECT_EQ(report["pages"], content.size() / 4096);
    EXPECT_EQ(report["nothing_lost"], true);
    expectSameRows(out(), database());
}

TEST_F(DamagedFile, TakesNoOldRowsFromBehindThePagesThatItsHeaderCounts) {
    // Left there by a larger database: nothing of the file leads to them.
    fill();
    const RowPages pages = rowPagesOf(database());
    const std::uint32_t room = pages.roots.at("tbl_room");
    std::string old = contentOf(database()).substr((room - 1) * 4096, 4096);
    old.replace(old.find("room "), 5, "RUIN ");
    writeFile(folder() / "longer.dat", contentOf(damaged({room})) + old);
    const json report = salvage(folder() / "longer.dat");
    EXPECT_EQ(tableOf(report, "tbl_room")["recovered"], 0);
    EXPECT_EQ(report["free_pages_known"], false);
    expectOnlyOriginalRows(database());
}

TEST_F(DamagedFile, IsReadWithAHeaderThatIsWrongAboutSizes) {
    fill(3000);
    struct Change {
        std::size_t place;
        std::string bytes;
    };
    const Change changes[] = {{20, "\x02"}, {20, "\x10"},          {20, "\xff"},
                              {16, "\x20"}, {16, "\x08"},          {16, "\x11"},
                              {17, "\x01"}, {16, {"\x00\x01", 2}}, {16, {"\x02\x00", 2}}};
    for (const Change& change : changes) {
        SCOPED_TRACE(testing::PrintToString(change.bytes) + " at " + std::to_string(change.place));
        const fs::path file = damaged({});
        std::string content = contentOf(file);
        content.replace(change.place, change.bytes.size(), change.bytes);
        writeFile(file, content);
        EXPECT_EQ(salvage(file)["page_size"], 4096);
        expectSameRows(out(), database());
    }
}

TEST_F(DamagedFile, KeepsTheSizesOfASoundHeader) {
    // Where next to nothing but the header and a few pages is left, and where pages keep some bytes back.
    fill(3000);
    std::set<std::uint32_t> damage;
    const RowPages pages = rowPagesOf(database());
    for (std::uint32_t page = 2; page <= pages.pageCount; ++page) {
        if (page % 40 != 2) {
            damage.insert(page);
        }
    }
    const json report = salvage(damaged(damage));
    EXPECT_EQ(report["page_size"], 4096);
    EXPECT_EQ(report["header_contradicted"], false);
    expectOnlyOriginalRows(database());
}

TEST_F(DamagedFile, IsReadWithAHeaderThatTellsAnotherEncoding) {
    fill();
    for (const char* const encoding : {"\x02", "\x03"}) {
        const fs::path file = damaged({});
        std::string content = contentOf(file);
        content.replace(59, 1, encoding);
        writeFile(file, content);
        salvage(file);
        expectSameRows(out(), database());
    }
}

TEST_F(DamagedFile, TakesNoRowsOfATableForThoseOfAnother) {
    // A schema row whose root is another table's, or a page in the middle of one.
    fill(3000);
    const RowPages pages = rowPagesOf(database());
    const std::uint32_t leaf = *pages.rows.at("tbl_msg").at(100).begin();
    ASSERT_NE(leaf, pages.roots.at("tbl_msg"));
    for (const auto& [table, root] :
         {std::pair{"tbl_session", pages.roots.at("tbl_msg_config")}, std::pair{"tbl_notify", leaf}}) {
        SCOPED_TRACE(table);
        const fs::path file = damaged({});
        executeOn(file, "PRAGMA writable_schema = 1; UPDATE sqlite_master SET rootpage = " +
                            std::to_string(root) + " WHERE name = '" + table + "'");
        const json report = salvage(file);
        EXPECT_EQ(report["nothing_lost"], false);
        const json told = tableOf(report, table);  // without an index, its rows may be none of the table
        EXPECT_EQ(told["recovered"].get<std::size_t>() + told["uncertain"].get<std::size_t>(),
                  pages.rows.at(table).size());
        expectOnlyOriginalRows(database());
    }
}

TEST_F(DamagedFile, TellsHowManyPagesAreMissing) {
    fill(3000);
    const fs::path whole = damaged({});
    std::string content = contentOf(whole);
    const std::size_t there = content.size() / 4096 / 2;
    const std::size_t missing = content.size() / 4096 - there;
    content.resize(there * 4096);
    const std::string told = "; " + std::to_string(missing) + " of " + std::to_string(there + missing) +
                             " pages are missing; there may have been more.\n";
    writeFile(whole, content);
    const std::vector<std::string> command = {"salvage", out().string(), "--file", whole.string()};
    EXPECT_THAT(runWell(command).out, testing::EndsWith(told));
    // Without a count in the header, the trees name at least most of them.
    content.replace(28, 4, 4, '\0');
    writeFile(whole, content);
    EXPECT_GT(salvage(whole)["missing_pages"], missing / 2);
    EXPECT_LE(salvage(whole)["missing_pages"], missing);
}

TEST_F(DamagedFile, RescuesWhatIsLeftOfAFileThatWasCutShort) {
    fill(3000);
    const fs::path file = damaged({});
    fs::resize_file(file, fs::file_size(file) / 2 + 100);
    const json report = salvage(file);
    EXPECT_GT(report["missing_pages"], 10);
    EXPECT_GT(tableOf(report, "tbl_msg")["recovered"], 100);
    expectOnlyOriginalRows(database());
}

TEST_F(DamagedFile, MistakesNoPageOfZerosForARow) {
    // What a write leaves that never reached the disk; long messages end on pages of their own.
    fill();
    const RowPages pages = rowPagesOf(database());
    std::set<std::uint32_t> zeroed;
    for (const auto& [row, its] : pages.rows.at("tbl_msg")) {
        if (its.size() > 1) {
            zeroed.insert(*its.rbegin());
        }
    }
    ASSERT_GT(zeroed.size(), 3U);
    const fs::path file = damaged({});
    std::string content = contentOf(file);
    for (const std::uint32_t page : zeroed) {
        content.replace((page - 1) * 4096, 4096, 4096, '\0');
    }
    writeFile(file, content);
    EXPECT_GT(tableOf(salvage(file), "tbl_msg")["lost"], 3);
    expectOnlyOriginalRows(database());
}

TEST_F(DamagedFile, TakesTheWholeRowsOfAPageThatWasPartlyOverwritten) {
    fill();
    const RowPages pages = rowPagesOf(database());
    const std::uint32_t leaf = *pages.rows.at("tbl_msg").at(100).begin();
    const fs::path file = damaged({});
    std::string content = contentOf(file);
    for (std::size_t i = 0; i < 512; ++i) {
        content[(leaf - 1) * 4096 + 3000 + i] = static_cast<char>(i * 89 % 251);
    }
    writeFile(file, content);
    const json report = salvage(file);
    EXPECT_GT(tableOf(report, "tbl_msg")["lost"], 0);
    EXPECT_GT(tableOf(report, "tbl_msg")["from_stray_pages"], 5);
    expectOnlyOriginalRows(database());
}

}  // namespace
