#include <signal.h>
#include <sqlite3.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "tests/tools/pelko/salvage/SampleFile.h"
#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class BackupCommand : public ToolTest {
protected:
    void fill(int messages = 600) const {
        runWell({"send", "user:bob", "hi"});
        fillStoreFile(database(), messages);
    }

    /// A second connection to the account's file, as a client has one.
    class Client {
    public:
        explicit Client(const fs::path& file) {
            EXPECT_EQ(sqlite3_open(file.c_str(), &mHandle), SQLITE_OK);
            sqlite3_busy_timeout(mHandle, 60'000);
            execute("SELECT COUNT(*) FROM sqlite_master");  // from now on it holds on to the file
        }
        ~Client() { sqlite3_close(mHandle); }
        Client(const Client&) = delete;
        Client& operator=(const Client&) = delete;

        void execute(const std::string& sql) {
            EXPECT_EQ(sqlite3_exec(mHandle, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
                << sqlite3_errmsg(mHandle);
        }

    private:
        sqlite3* mHandle = nullptr;
    };

    /// That nothing is at the place of OUT, nor beside it.
    void expectNothingMade() const {
        for (const auto& entry : fs::directory_iterator(folder())) {
            EXPECT_THAT(entry.path().filename().string(), testing::Not(testing::StartsWith("out.dat")));
        }
    }

    void expectFails(const fs::path& file, const testing::Matcher<std::string>& line) const {
        expectRefused(run({"backup", mOut.string(), "--file", file.string()}), 1, line);
        expectNothingMade();
    }

    std::vector<std::string> folderOfTheFile() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(database().parent_path())) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }

    const fs::path& out() const { return mOut; }

private:
    fs::path mOut = folder() / "out.dat";
};

TEST_F(BackupCommand, CopiesTheFile) {
    fill();
    const ToolRun run = runWell({"backup", out().string()});
    EXPECT_THAT(run.out, AllOf(HasSubstr("tbl_msg_config"), HasSubstr(std::to_string(fs::file_size(out()))),
                               HasSubstr("Checked: ")));
    expectSameRows(out(), database());
    expectStoreFile(out());
    EXPECT_EQ(fs::status(out()).permissions(), fs::status(database()).permissions());
}

TEST_F(BackupCommand, TellsWhatItDidAsJson) {
    fill();
    const auto report = runWell({"backup", out().string(), "--json"}).json();
    EXPECT_EQ(report["bytes"], fs::file_size(out()));
    EXPECT_EQ(report["pages"], fs::file_size(out()) / 4096);
    EXPECT_EQ(report["out"], out().string());
    EXPECT_EQ(
        report["tables"][0],
        nlohmann::json({{"table", "tbl_msg"}, {"rows", std::stoi(value("SELECT COUNT(*) FROM tbl_msg"))}}));
    EXPECT_EQ(report["tables"].size(), 11U);  // with the counter of notifications
}

TEST_F(BackupCommand, LeavesTheFileAndItsFolderAsTheyAre) {
    fill();
    const std::string content = contentOf(database());
    const auto written = fs::last_write_time(database());
    runWell({"backup", out().string()});
    EXPECT_TRUE(contentOf(database()) == content);
    EXPECT_EQ(fs::last_write_time(database()), written);
    EXPECT_EQ(folderOfTheFile(), std::vector<std::string>{"db.dat"});
}

TEST_F(BackupCommand, CopiesWhatAnOpenClientHasCommittedAndNoMore) {
    fill();
    Client client(database());
    client.execute(
        "PRAGMA wal_autocheckpoint = 0; INSERT INTO tbl_room (room_id) VALUES (1); BEGIN; INSERT INTO "
        "tbl_room (room_id) VALUES (2)");
    runWell({"backup", out().string()});
    EXPECT_EQ(rowsOf(out(), "SELECT room_id FROM tbl_room WHERE room_id < 10"), (Rows{{"1"}}));
    expectStoreFile(out());
}

TEST_F(BackupCommand, CopiesOneStateWhileAClientWrites) {
    fill(6000);
    Client client(database());
    std::atomic<bool> done{false};
    std::atomic<int> commits{0};
    std::thread writer([&] {
        for (int i = 1; !done; ++i) {
            const std::string number = std::to_string(i);
            client.execute("BEGIN; INSERT INTO tbl_room (room_id) VALUES (-" + number +
                           "); UPDATE tbl_msg SET duration = " + number +
                           "; INSERT INTO tbl_group (group_id) VALUES (-" + number + "); COMMIT");
            ++commits;
        }
    });
    for (int i = 0; i < 3; ++i) {
        fs::remove(out());
        const int before = commits;
        while (commits == before) {
            std::this_thread::yield();
        }
        runWell({"backup", out().string()});
        // Each commit has one more room, one more group, and its number in every message.
        const Rows state = rowsOf(
            out(),
            "SELECT (SELECT COUNT(*) FROM tbl_room WHERE room_id < 0), (SELECT COUNT(*) FROM tbl_group "
            "WHERE group_id < 0), MIN(duration), MAX(duration) FROM tbl_msg");
        EXPECT_GT(std::stoi(state[0][0]), before - 1);
        EXPECT_EQ(state[0], std::vector<std::string>(4, state[0][0]));
        expectStoreFile(out());
    }
    done = true;
    writer.join();
}

TEST_F(BackupCommand, KeepsTheModeOfTheFile) {
    fill();
    execute("PRAGMA journal_mode = DELETE");
    runWell({"backup", out().string()});
    EXPECT_EQ(rowsOf(out(), "PRAGMA journal_mode"), (Rows{{"delete"}}));
    expectSameRows(out(), database());
}

TEST_F(BackupCommand, WaitsForALockForSomeSecondsOnly) {
    fill();
    execute("PRAGMA journal_mode = DELETE");
    Client client(database());
    client.execute("BEGIN EXCLUSIVE");
    expectFails(database(), AllOf(HasSubstr("database is locked"), HasSubstr("another program")));
}

TEST_F(BackupCommand, CopiesAnEmptyStore) {
    runWell({"send", "user:bob", "hi"});
    execute("DELETE FROM tbl_msg; DELETE FROM tbl_session");
    runWell({"backup", out().string()});
    expectSameRows(out(), database());
}

TEST_F(BackupCommand, CopiesTablesOfAnyName) {
    runWell({"send", "user:bob", "hi"});
    execute("CREATE TABLE \"odd \"\" name; --\" (a); INSERT INTO \"odd \"\" name; --\" VALUES (1), (2)");
    const auto report = runWell({"backup", out().string(), "--json"}).json();
    EXPECT_EQ(report["tables"].back(), nlohmann::json({{"table", "odd \" name; --"}, {"rows", 2}}));
}

TEST_F(BackupCommand, RefusesAFileWithoutTables) {
    writeFile(folder() / "empty.dat", "");
    expectRefused(run({"backup", out().string(), "--file", (folder() / "empty.dat").string()}), 1,
                  AllOf(HasSubstr("empty.dat has none of the store's tables"), HasSubstr("name a db.dat")));
    expectNothingMade();
}

TEST_F(BackupCommand, ShowsHowFarItIs) {
    fill();
    const ToolRun run = runOnTerminal({"backup", out().string()});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.err, HasSubstr("copying"));
}

TEST_F(BackupCommand, LeavesNothingWhenItIsStopped) {
    fill(30'000);
    for (const int signal : {SIGINT, SIGTERM}) {
        expectRefused(runStopped({"backup", out().string()}, signal, [this] { return hasUnfinished(); }), 130,
                      HasSubstr("stopped as asked"));
        expectNothingMade();
    }
}

TEST_F(BackupCommand, OneRequestToStopThatComesTwiceIsOne) {
    fill(30'000);
    const ToolRun stopped = runStopped(
        {"backup", out().string()}, SIGINT, [this] { return hasUnfinished(); }, 2);
    expectRefused(stopped, 130, HasSubstr("stopped as asked"));
    expectNothingMade();
}

TEST_F(BackupCommand, ADamagedFile) {
    fill();
    const RowPages pages = rowPagesOf(database());
    const fs::path damaged = folder() / "damaged.dat";
    const std::set<std::uint32_t> cases[] = {
        {*pages.rows.at("tbl_msg").at(100).begin()},  // found when the rows are counted
        {pages.roots.at("idx_msg_pair")},             // found by nothing but the check
        {*pages.trees.at("idx_msg_room").rbegin()},
        {1},
    };
    for (const std::set<std::uint32_t>& damage : cases) {
        SCOPED_TRACE("page " + std::to_string(*damage.begin()));
        fs::copy_file(database(), damaged, fs::copy_options::overwrite_existing);
        overwritePages(damaged, damage, 4096, 1);
        expectFails(damaged, AllOf(HasSubstr(damaged.string()), HasSubstr("pelko salvage")));
    }
    fs::resize_file(damaged, fs::file_size(database()) / 2);
    expectFails(damaged, HasSubstr("pelko salvage"));
}

TEST_F(BackupCommand, AFileThatIsNotThere) {
    expectFails(folder() / "nowhere.dat", AllOf(HasSubstr("nowhere.dat"), HasSubstr("--file")));
}

TEST_F(BackupCommand, AFileThatIsNoDatabase) {
    writeFile(folder() / "diary.txt", "Dear diary. " + std::string(40'000, 'x'));
    expectFails(folder() / "diary.txt", AllOf(HasSubstr("diary.txt"), HasSubstr("not a database")));
}

TEST_F(BackupCommand, AFolderInThePlaceOfTheFile) {
    expectFails(folder(), HasSubstr("is not a file"));
}

TEST_F(BackupCommand, AFileThatCannotBeRead) {
    fs::create_symlink("/proc/self/mem", folder() / "mem.dat");
    expectFails(folder() / "mem.dat", HasSubstr("mem.dat"));
}

TEST_F(BackupCommand, AnOutThatIsThereAlready) {
    fill();
    writeFile(out(), "precious");
    expectRefused(run({"backup", out().string()}), 2, AllOf(HasSubstr(out().string()), HasSubstr("already")));
    EXPECT_EQ(contentOf(out()), "precious");
    fs::remove(out());
    writeFile(out().string() + "-wal", "old");
    expectRefused(run({"backup", out().string()}), 2, HasSubstr("out.dat-wal"));
    EXPECT_FALSE(fs::exists(out()));
}

TEST_F(BackupCommand, NoFolderForOut) {
    fill();
    expectRefused(run({"backup", (folder() / "no/where.dat").string()}), 2, HasSubstr("there is no folder"));
    expectRefused(run({"backup", "/proc/out.dat"}), 1, HasSubstr("/proc/out.dat"));
}

TEST_F(BackupCommand, WrongArguments) {
    expectRefused(run({"backup"}), 2, HasSubstr("OUT"));
    expectRefused(run({"backup", ""}), 2, HasSubstr("''"));
    expectRefused(run({"backup", out().string(), "more"}), 2, HasSubstr("'more'"));
    expectRefused(run({"backup", out().string(), "--full"}), 2, HasSubstr("'--full'"));
    expectRefused(run({"backup", out().string(), "--file", ""}), 2, HasSubstr("--file ''"));
}

}  // namespace
