#include <signal.h>
#include <sqlite3.h>
#include <sys/resource.h>

#include <chrono>
#include <thread>

#include "tests/tools/pelko/salvage/SampleFile.h"
#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class CompactCommand : public ToolTest {
protected:
    /// A file with many free pages, which still hold what was deleted.
    void fill(int messages = 2000) const {
        runWell({"send", "user:bob", "hi"});
        fillStoreFile(database(), messages);
        execute(
            "PRAGMA secure_delete = 0; INSERT INTO tbl_msg (text) VALUES ('secret of the first page'); "
            "DELETE FROM tbl_msg "
            "WHERE db_id % 4 <> 0 OR text GLOB 'secret*'");
        execute("VACUUM INTO '" + copy().string() + "'");  // to compare with
    }

    bool holds(const std::string& text) const {
        return contentOf(database()).find(text) != std::string::npos;
    }

    void expectUntouched(const std::string& content) const {
        EXPECT_TRUE(contentOf(database()) == content);
        EXPECT_EQ(value("PRAGMA integrity_check"), "ok");
    }

    fs::path copy() const { return folder() / "copy.dat"; }
};

TEST_F(CompactCommand, GivesFreePagesBack) {
    fill();
    const auto before = fs::file_size(database());
    const ToolRun run = runWell({"compact"});
    const auto after = fs::file_size(database());
    EXPECT_LT(after, before / 2);
    EXPECT_THAT(run.out, AllOf(HasSubstr(std::to_string(before)), HasSubstr(std::to_string(after)),
                               HasSubstr(std::to_string(before - after) + " bytes won.")));
    EXPECT_EQ(value("PRAGMA freelist_count"), "0");
    expectStoreFile(database());
}

TEST_F(CompactCommand, RefusesAFileWithoutTables) {
    writeFile(folder() / "empty.dat", "");
    expectRefused(run({"compact", "--file", (folder() / "empty.dat").string()}), 1,
                  AllOf(HasSubstr("empty.dat has none of the store's tables"), HasSubstr("name a db.dat")));
    EXPECT_EQ(fs::file_size(folder() / "empty.dat"), 0U);
}

TEST_F(CompactCommand, RefusesAFileWhoseIndexesHideRows) {
    fill();
    execute(
        "PRAGMA writable_schema = ON; CREATE TABLE stolen (a); "
        "UPDATE sqlite_master SET rootpage = (SELECT rootpage FROM sqlite_master WHERE name = "
        "'idx_msg_sending') "
        "WHERE name = 'idx_msg_msg_id'");
    expectRefused(run({"compact"}), 1, AllOf(HasSubstr("is damaged"), HasSubstr("'pelko salvage OUT'")));
}

TEST_F(CompactCommand, KeepsEveryRowAndItsId) {
    fill();
    const auto ids = [&](const std::string& table) {
        return rows("SELECT rowid, * FROM " + table + " ORDER BY rowid");
    };
    std::vector<Rows> before;
    for (const std::string& table : storeTables()) {
        before.push_back(ids(table));
    }
    const Rows sequence = rows("SELECT * FROM sqlite_sequence");
    runWell({"compact"});
    for (std::size_t i = 0; i < before.size(); ++i) {
        EXPECT_EQ(ids(storeTables()[i]), before[i]) << storeTables()[i];
    }
    EXPECT_EQ(rows("SELECT * FROM sqlite_sequence"), sequence);
}

TEST_F(CompactCommand, KeepsTheOrderOfListsThatHaveNoIds) {
    // SQLite may give such rows new ids when it rewrites a file. The lists come in the order of the ids, so
    // that the order has to stay; here it is neither that of the names nor that of the numbers.
    runWell({"send", "user:bob", "hi"});
    for (const char* const name : {"zoe", "ann", "max", "bob"}) {
        runWell({"friends", "add", name});
        runWell({"blocked", "add", std::string("not") + name});
    }
    for (const char* const group : {"9", "3", "7", "1"}) {
        runWell({"groups", "join", group});
    }
    runWell({"friends", "remove", "ann"});
    runWell({"groups", "quit", "3"});
    const std::string friends = runWell({"friends"}).out;
    const std::string blocked = runWell({"blocked"}).out;
    const std::string groups = runWell({"groups"}).out;
    const Rows list = rows("SELECT group_id FROM tbl_group_list ORDER BY rowid");
    runWell({"compact"});
    EXPECT_EQ(runWell({"friends"}).out, friends);
    EXPECT_EQ(runWell({"blocked"}).out, blocked);
    EXPECT_EQ(runWell({"groups"}).out, groups);
    EXPECT_EQ(list, (Rows{{"9"}, {"7"}, {"1"}}));
    EXPECT_EQ(rows("SELECT group_id FROM tbl_group_list ORDER BY rowid"), list);
}

TEST_F(CompactCommand, LeavesNothingOfDeletedTexts) {
    fill();
    std::set<std::string> stored;
    for (const auto& row :
         rows("SELECT substr(text, 1, instr(text, 'ä')) FROM tbl_msg WHERE text GLOB 'message *'")) {
        stored.insert(row.front());
    }
    std::vector<std::string> deleted;
    for (int i = 1; i <= 2000; ++i) {
        const std::string text = "message " + std::to_string(i) + " ä";
        if (stored.count(text) == 0 && holds(text)) {
            deleted.push_back(text);
        }
    }
    ASSERT_TRUE(holds("secret of the first page"));
    ASSERT_GT(deleted.size(), 100U);
    runWell({"compact"});
    EXPECT_FALSE(holds("secret of the first page"));
    for (const std::string& text : deleted) {
        EXPECT_FALSE(holds(text)) << text;
    }
    for (const std::string& text : stored) {
        EXPECT_TRUE(holds(text)) << text;
    }
}

TEST_F(CompactCommand, TakesUpALogThatNobodyUsesAnyMore) {
    fill();
    // As a client leaves them that was ended by force.
    sqlite3* client = nullptr;
    ASSERT_EQ(sqlite3_open(database().c_str(), &client), SQLITE_OK);
    sqlite3_exec(client, "PRAGMA wal_autocheckpoint = 0; UPDATE tbl_room SET name = 'from the log'", nullptr,
                 nullptr, nullptr);
    const fs::path left = folder() / "left/db.dat";
    fs::create_directory(left.parent_path());
    fs::copy_file(database(), left);
    fs::copy_file(database().string() + "-wal", left.string() + "-wal");
    sqlite3_close(client);
    const auto before = fs::file_size(left) + fs::file_size(left.string() + "-wal");
    const auto report = runWell({"compact", "--file", left.string(), "--json"}).json();
    EXPECT_EQ(report["bytes_before"], before);
    EXPECT_EQ(report["bytes_after"], fs::file_size(left));
    EXPECT_EQ(report["bytes_won"], before - fs::file_size(left));
    EXPECT_GT(report["free_pages_before"], 10);
    EXPECT_EQ(rowsOf(left, "SELECT DISTINCT name FROM tbl_room"), (Rows{{"from the log"}}));
    expectStoreFile(left);
}

TEST_F(CompactCommand, WinsNothingTwice) {
    fill();
    runWell({"compact"});
    const std::string content = contentOf(database());
    EXPECT_THAT(runWell({"compact"}).out, HasSubstr("Nothing won"));
    EXPECT_EQ(contentOf(database()).size(), content.size());
    expectSameRows(database(), copy());
}

TEST_F(CompactCommand, CompactsFilesWithoutALog) {
    fill();
    execute("PRAGMA journal_mode = DELETE");
    const auto before = fs::file_size(database());
    runWell({"compact"});
    EXPECT_LT(fs::file_size(database()), before / 2);
    EXPECT_EQ(value("PRAGMA journal_mode"), "delete");
    expectSameRows(database(), copy());
}

TEST_F(CompactCommand, ShowsHowFarItIs) {
    fill();
    const ToolRun run = runOnTerminal({"compact"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.err, HasSubstr("checking the file"));
}

TEST_F(CompactCommand, RefusesAFileThatAClientHasOpen) {
    fill();
    const std::string content = contentOf(database());
    sqlite3* client = nullptr;
    ASSERT_EQ(sqlite3_open(database().c_str(), &client), SQLITE_OK);
    sqlite3_exec(client, "SELECT COUNT(*) FROM tbl_msg", nullptr, nullptr, nullptr);  // at rest, but open
    const auto refused =
        AllOf(HasSubstr(database().string()), HasSubstr("another program"), HasSubstr("end it"));
    expectRefused(run({"compact"}), 1, refused);
    sqlite3_exec(client, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
    expectRefused(run({"compact"}), 1, refused);
    sqlite3_close(client);
    expectUntouched(content);
    runWell({"compact"});
}

TEST_F(CompactCommand, LosesNothingOnAFullDisk) {
    fill();
    const std::string content = contentOf(database());
    // No file may grow to the size of this one, as the rewritten file and its log do. The limit goes on
    // to the tool.
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    rlimit tight = before;
    tight.rlim_cur = 40'000;
    setrlimit(RLIMIT_FSIZE, &tight);
    const ToolRun run = this->run({"compact"});
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, handler);
    expectRefused(run, 1, AllOf(HasSubstr(database().string()), HasSubstr("make room on it")));
    expectUntouched(content);
    expectSameRows(database(), copy());
    runWell({"compact"});
}

TEST_F(CompactCommand, LosesNothingWhenItIsStopped) {
    fill(30'000);
    for (const int signal : {SIGINT, SIGTERM}) {
        const ToolRun stopped =
            runStopped({"compact"}, signal, [this] { return fs::exists(database().string() + "-wal"); });
        expectRefused(stopped, 130, HasSubstr("stopped as asked; the file is as it was"));
        expectStoreFile(database());
        EXPECT_NE(value("PRAGMA freelist_count"), "0");
    }
    expectSameRows(database(), copy());
}

TEST_F(CompactCommand, ADamagedFile) {
    fill();
    const RowPages pages = rowPagesOf(database());
    overwritePages(database(), {*pages.rows.at("tbl_msg").begin()->second.begin()}, pages.pageSize, 1);
    const std::string content = contentOf(database());
    expectRefused(run({"compact"}), 1, AllOf(HasSubstr(database().string()), HasSubstr("pelko salvage")));
    EXPECT_TRUE(contentOf(database()) == content);
}

TEST_F(CompactCommand, AFileThatIsNotThere) {
    expectRefused(run({"compact"}), 1, AllOf(HasSubstr(database().string()), HasSubstr("--file")));
    EXPECT_FALSE(fs::exists(dataDir()));
}

TEST_F(CompactCommand, AFileThatIsNoDatabase) {
    const fs::path diary = folder() / "diary.txt";
    const std::string content = "Dear diary. " + std::string(40'000, 'x');
    writeFile(diary, content);
    expectRefused(run({"compact", "--file", diary.string()}), 1,
                  AllOf(HasSubstr("diary.txt"), HasSubstr("not a database")));
    EXPECT_EQ(contentOf(diary), content);
}

TEST_F(CompactCommand, AFolderInThePlaceOfTheFile) {
    expectRefused(run({"compact", "--file", folder().string()}), 1, HasSubstr("is not a file"));
}

TEST_F(CompactCommand, AFileThatCannotBeRead) {
    fs::create_symlink("/proc/self/mem", folder() / "mem.dat");
    expectRefused(run({"compact", "--file", (folder() / "mem.dat").string()}), 1, HasSubstr("mem.dat"));
}

TEST_F(CompactCommand, WrongArguments) {
    expectRefused(run({"compact", "more"}), 2, HasSubstr("'more'"));
    expectRefused(run({"compact", "--full"}), 2, HasSubstr("'--full'"));
    expectRefused(run({"compact", "--file", ""}), 2, HasSubstr("--file ''"));
    expectRefused(run({"compact", "--file"}), 2, HasSubstr("--file"));
}

}  // namespace
