#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <map>
#include <thread>

#include "classes/platform/Interrupt.h"
#include "tests/support/WithoutPrivileges.h"
#include "tests/tools/pelko/support/ToolTest.h"
#include "tools/pelko/CommandLine.h"
#include "tools/pelko/ToolError.h"

using namespace pelkotest;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class CheckCommand : public ToolTest {
protected:
    /// A store in which every table has rows, and messages fill many pages.
    void fill() const {
        runWell({"receive", "user:bob", "hi", "--id", "1"});
        runWell({"users", "add", "ann"});
        execute(
            "WITH n (i) AS (VALUES (2) UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
            "INSERT INTO tbl_msg (msg_id, date, text, sender_type, sender_id, receiver_type, receiver_id, "
            "status) "
            "SELECT i, i, 'message ' || i, 0, 'bob', 0, 'me', 2 FROM n");
    }

    long long rootPage(const std::string& name) const {
        return std::stoll(value("SELECT rootpage FROM sqlite_master WHERE name = '" + name + "'"));
    }

    void overwrite(long long place, const std::string& bytes) const {
        std::fstream file(database(), std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(place);
        file << bytes;
    }
    void damage(const std::string& name) const {
        overwrite((rootPage(name) - 1) * 4096, std::string(4096, '\xa5'));
    }

    static std::size_t lines(const std::string& text) {
        return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    }

    std::map<std::string, std::string> files() const {
        std::map<std::string, std::string> all;
        for (const fs::directory_entry& entry : fs::directory_iterator(database().parent_path())) {
            all[entry.path().string()] = contentOf(entry.path());
        }
        return all;
    }
};

TEST_F(CheckCommand, RefusesWhatIsNotThere) {
    expectRefused(run({"check"}), 1, AllOf(HasSubstr(database().string()), HasSubstr("--file")));
    expectRefused(run({"check", "--file", (folder() / "nowhere").string()}), 1,
                  HasSubstr("there is no file"));
    expectRefused(run({"check", "--file", folder().string()}), 1, HasSubstr("is not a file"));
    expectRefused(run({"check", "--file", ""}), 2, HasSubstr("--file ''"));
    expectRefused(run({"check", "--fast"}), 2, HasSubstr("--fast"));
    expectRefused(run({"check", "db.dat"}), 2, HasSubstr("db.dat"));
    EXPECT_FALSE(fs::exists(dataDir()));
}

TEST_F(CheckCommand, SaysInOneLineThatItIsNoDatabase) {
    const std::string content = "Dear diary, " + std::string(4096, 'x');
    writeFile(database(), content);
    expectRefused(run({"check"}), 1, AllOf(HasSubstr("not a database"), HasSubstr("'pelko salvage OUT'")));
    EXPECT_EQ(contentOf(database()), content);
    fs::remove(database());
    fill();
    overwrite(0, std::string(100, '\xa5'));
    expectRefused(run({"check", "--full"}), 1,
                  AllOf(HasSubstr("not a database"), HasSubstr("'pelko salvage OUT'")));
}

TEST_F(CheckCommand, SaysInOneLineThatTheFileIsCutShort) {
    fill();
    fs::resize_file(database(), fs::file_size(database()) / 2);
    expectRefused(run({"check"}), 1, AllOf(HasSubstr("malformed"), HasSubstr("'pelko salvage OUT'")));
}

TEST_F(CheckCommand, DoesNotCallALockedFileWholeOrDamaged) {
    fill();
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(database().c_str(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "PRAGMA journal_mode = DELETE; BEGIN EXCLUSIVE", nullptr, nullptr, nullptr),
              SQLITE_OK);
    expectRefused(
        run({"check"}), 1,
        AllOf(HasSubstr("could not be checked: "), HasSubstr("database is locked"),
              HasSubstr("another program"), Not(HasSubstr("is whole")), Not(HasSubstr("is damaged"))));
    sqlite3_close(other);
}

TEST_F(CheckCommand, DoesNotCallAFileDamagedThatMayNotBeRead) {
    fill();
    fs::permissions(database(), fs::perms::none);
    letAnybodyRun();
    const WithoutPrivileges anybody;
    expectRefused(
        run({"check"}), 1,
        AllOf(HasSubstr(database().string()), HasSubstr("cannot be read"), Not(HasSubstr("is damaged"))));
}

TEST_F(CheckCommand, FindsAWholeFileWhole) {
    fill();
    const std::string pages = std::to_string(fs::file_size(database()) / 4096);
    EXPECT_EQ(runWell({"check"}).out, database().string() + " is whole: 11 tables, " + pages + " pages.\n");
    EXPECT_EQ(runWell({"check", "--full"}).out, database().string() + " is whole: 11 tables, " + pages +
                                                    " pages, indexes and tables compared.\n");
    EXPECT_EQ(runWell({"check", "--json"}).json(), (json{{"file", database().string()},
                                                         {"full", false},
                                                         {"whole", true},
                                                         {"tables", 11},
                                                         {"pages", std::stoi(pages)},
                                                         {"problems", json::array()},
                                                         {"more", false}}));
}

TEST_F(CheckCommand, ChecksAnyFileByItsName) {
    fill();
    const fs::path copy = folder() / "sent in.dat";
    fs::copy(database(), copy);
    const ToolRun run = runExactly({"check", "--file", copy.string(), "--full"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(run.out, StartsWith(copy.string() + " is whole"));
}

TEST_F(CheckCommand, SaysThatAnEmptyFileHoldsNothing) {
    writeFile(database(), "");
    EXPECT_EQ(runWell({"check"}).out,
              database().string() + " is whole: 0 tables, 0 pages; it holds nothing.\n");
}

TEST_F(CheckCommand, TellsDamageByTableLineByLine) {
    fill();
    damage("tbl_user");
    for (const char* const how : {"--json", "--full"}) {
        const ToolRun damaged = run({"check", how});
        EXPECT_EQ(damaged.exitCode, 1);
        EXPECT_THAT(damaged.err, testing::MatchesRegex(
                                     "pelko: .*/db\\.dat is damaged: [0-9]+ problems; 'pelko salvage OUT' "
                                     "rescues what is left\n"));
    }
    const ToolRun damaged = run({"check"});
    EXPECT_EQ(damaged.exitCode, 1);
    EXPECT_THAT(damaged.out, StartsWith("tbl_user: "));
    EXPECT_THAT(damaged.out,
                AllOf(Not(HasSubstr("tbl_msg")), Not(HasSubstr("whole")), Not(HasSubstr("*** in"))));
    const json found = run({"check", "--json"}).json();
    EXPECT_EQ(found["whole"], false);
    EXPECT_EQ(found["problems"].size(), lines(damaged.out));
    EXPECT_EQ(found["problems"][0]["table"], "tbl_user");
    EXPECT_THAT(damaged.err, HasSubstr("damaged: " + std::to_string(lines(damaged.out)) + " problem"));
}

TEST_F(CheckCommand, GoesOnBehindATableThatCannotBeRead) {
    fill();
    damage("tbl_msg");
    damage("tbl_notify");
    EXPECT_THAT(run({"check"}).out, AllOf(HasSubstr("tbl_msg: "), HasSubstr("tbl_notify: ")));
}

TEST_F(CheckCommand, FindsDamageThatBelongsToNoTable) {
    fill();
    execute("CREATE TABLE t (n); INSERT INTO t VALUES (zeroblob(40000)); DROP TABLE t");
    ASSERT_NE(value("PRAGMA freelist_count"), "0");
    const std::string header = contentOf(database()).substr(32, 4);  // the first free page
    overwrite(36, std::string("\0\0\0\1", 4));                       // fewer free pages than there are
    ASSERT_EQ(contentOf(database()).substr(32, 4), header);
    const ToolRun damaged = run({"check"});
    EXPECT_EQ(damaged.exitCode, 1);
    EXPECT_THAT(damaged.out, HasSubstr("reelist"));
    EXPECT_THAT(damaged.out, Not(HasSubstr("tbl_")));
}

TEST_F(CheckCommand, ComparesIndexesWithTablesOnlyInFull) {
    fill();
    // The index is out of the list of tables while a row is stored and another one goes: it has as many
    // entries as it should have, which newer versions of SQLite count in the short check, too.
    const std::vector<std::string> index =
        rows("SELECT rootpage, sql FROM sqlite_master WHERE name = 'idx_msg_msg_id'").front();
    execute("PRAGMA writable_schema = ON; DELETE FROM sqlite_master WHERE name = 'idx_msg_msg_id'");
    execute(
        "DELETE FROM tbl_msg WHERE db_id = (SELECT MAX(db_id) FROM tbl_msg WHERE msg_id > 0);"
        "INSERT INTO tbl_msg (msg_id, text) VALUES (9999, 'hidden')");
    execute(
        "PRAGMA writable_schema = ON; INSERT INTO sqlite_master (type, name, tbl_name, rootpage, sql) VALUES "
        "('index', 'idx_msg_msg_id', 'tbl_msg', " +
        index[0] + ", '" + index[1] + "')");
    EXPECT_THAT(runWell({"check"}).out, HasSubstr("is whole"));
    const ToolRun damaged = run({"check", "--full"});
    EXPECT_EQ(damaged.exitCode, 1);
    EXPECT_THAT(damaged.out, AllOf(HasSubstr("tbl_msg: "), HasSubstr("missing from index idx_msg_msg_id")));
    EXPECT_THAT(runWell({"check", "--help"}).out, HasSubstr("--full also looks up each row in each index"));
}

TEST_F(CheckCommand, ShowsAtMostAHundredProblems) {
    fill();
    const std::vector<std::string> index =
        rows("SELECT rootpage, sql FROM sqlite_master WHERE name = 'idx_msg_msg_id'").front();
    execute("PRAGMA writable_schema = ON; DELETE FROM sqlite_master WHERE name = 'idx_msg_msg_id'");
    execute("UPDATE tbl_msg SET msg_id = msg_id + 100000");
    execute(
        "PRAGMA writable_schema = ON; INSERT INTO sqlite_master (type, name, tbl_name, rootpage, sql) VALUES "
        "('index', 'idx_msg_msg_id', 'tbl_msg', " +
        index[0] + ", '" + index[1] + "')");
    damage("tbl_notify");
    const ToolRun damaged = run({"check", "--full"});
    EXPECT_EQ(damaged.exitCode, 1);
    EXPECT_EQ(lines(damaged.out), 101U);
    EXPECT_THAT(damaged.out, HasSubstr("\n... and more\n"));
    EXPECT_THAT(damaged.err, HasSubstr("damaged: at least 10"));
    EXPECT_EQ(run({"check", "--full", "--json"}).json()["more"], true);
}

TEST_F(CheckCommand, ChecksTablesOfAnyName) {
    fill();
    execute(
        "CREATE TABLE \"o'x\"\"y \x1b[31m\" (n UNIQUE); INSERT INTO \"o'x\"\"y \x1b[31m\" VALUES (1);"
        "CREATE TABLE \"7\" (n); CREATE TABLE without (n PRIMARY KEY) WITHOUT ROWID; CREATE VIEW v AS SELECT "
        "1");
    EXPECT_THAT(runWell({"check", "--full"}).out, HasSubstr("is whole: 14 tables"));
    overwrite((rootPage("o''x\"y \x1b[31m") - 1) * 4096, std::string(4096, '\xa5'));
    EXPECT_THAT(run({"check"}).out, AllOf(StartsWith("o'x\"y \\x1B[31m: "), Not(HasSubstr("\x1b"))));
}

TEST_F(CheckCommand, ChangesNothing) {
    fill();
    for (const char* const mode : {"WAL", "DELETE"}) {
        execute(std::string("PRAGMA journal_mode = ") + mode);
        const auto before = files();
        runWell({"check", "--full"});
        EXPECT_EQ(files(), before) << mode;
    }
}

TEST_F(CheckCommand, ChecksWhileAClientWrites) {
    fill();
    sqlite3* client = nullptr;
    ASSERT_EQ(sqlite3_open(database().c_str(), &client), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(client,
                           "INSERT INTO tbl_msg (text) VALUES ('1'); BEGIN IMMEDIATE; INSERT INTO tbl_msg "
                           "(text) VALUES ('2')",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    EXPECT_THAT(runWell({"check", "--full"}).out, HasSubstr("is whole"));
    EXPECT_EQ(sqlite3_exec(client, "COMMIT", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(client);
}

TEST_F(CheckCommand, ChecksInAFolderThatCannotBeWritten) {
    fill();
    fs::permissions(database(), fs::perms(0444));
    fs::permissions(database().parent_path(), fs::perms(0555));
    letAnybodyRun();
    {
        const WithoutPrivileges anybody;
        ASSERT_NE(access(database().parent_path().c_str(), W_OK), 0);
        EXPECT_THAT(runWell({"check", "--full"}).out, HasSubstr("is whole"));
    }
    fs::permissions(database().parent_path(), fs::perms(0755));
}

TEST_F(CheckCommand, DrawsABarOnATerminalAndTakesItAway) {
    fill();
    const ToolRun shown = runOnTerminal({"check", "--full"});
    EXPECT_EQ(shown.exitCode, 0);
    EXPECT_THAT(shown.err, AllOf(HasSubstr("0%  tbl_msg"), testing::EndsWith("\r\x1b[K")));
    EXPECT_THAT(shown.out, HasSubstr("is whole"));
}

TEST_F(CheckCommand, StopsWhenAsked) {
    fill();
    const std::string data = dataDir().string();
    const char* const arguments[] = {"pelko", "--data-dir", data.c_str(), "check", "--full"};
    for (const int signal : {SIGINT, SIGTERM}) {
        EXPECT_EXIT(
            {
                pelkoapi::catchInterrupts();
                std::raise(signal);
                std::exit(static_cast<int>(pelkotool::runCommandLine(5, arguments)));
            },
            testing::ExitedWithCode(130),
            "pelko: the check of .*/db\\.dat was stopped as asked, after 0 of 11 tables");
    }
}

TEST_F(CheckCommand, StopsInTheMidstOfATable) {
    fill();
    execute(
        "WITH n (i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n WHERE i < 500000) "
        "INSERT INTO tbl_msg (msg_id, date, sender_id, receiver_id) SELECT 5000 + i, i, 'bob', 'me' FROM n");
    const std::string data = dataDir().string();
    const char* const arguments[] = {"pelko", "--data-dir", data.c_str(), "check", "--full"};
    EXPECT_EXIT(
        {
            pelkoapi::catchInterrupts();
            std::thread([] {
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
                kill(getpid(), SIGINT);
            }).detach();
            std::exit(static_cast<int>(pelkotool::runCommandLine(5, arguments)));
        },
        testing::ExitedWithCode(130), "was stopped as asked, after 0 of 11 tables");
}

TEST_F(CheckCommand, FailsWhenItsOutputCannotBeWritten) {
    fill();
    const ToolRun failed = runExactly({"--data-dir", dataDir().string(), "check"}, "/dev/full");
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_THAT(failed.err, HasSubstr("cannot write all of the output"));
}

}  // namespace
