#include <signal.h>
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "tests/tools/pelko/salvage/SalvageTest.h"

using namespace pelkotest;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class SalvageCommand : public SalvageTest {};

TEST_F(SalvageCommand, CopiesAWholeFileWithoutLoss) {
    fill();
    // What the store itself does not write, too, with the bytes and classes that it has.
    execute(
        "INSERT INTO tbl_msg (db_id, msg_id, text, date, sender_id) VALUES "
        "(-5, -9223372036854775808, x'00ff00', 1.5, NULL), "
        "(9223372036854775807, 9223372036854775807, CAST(x'610062' AS TEXT), -1, ''), "
        "(9000001, 0, CAST(x'ff80c3' AS TEXT), 'no number', zeroblob(20000)), "
        "(9000002, 1, printf('%.*c', 300000, 'x'), 1e300, 'a''b')");
    execute(
        "INSERT INTO tbl_relationship (rowid, username, block_state) VALUES (77777, NULL, 'odd'), (-3, '', "
        "0.25)");
    execute("INSERT INTO tbl_user (rowid, username) VALUES (-8, printf('%.*c', 5000, 'u'))");
    const ToolRun run = runWell({"salvage", out().string()});
    EXPECT_THAT(run.out, AllOf(HasSubstr("tbl_msg_config"), testing::EndsWith("\nNothing is lost.\n")));
    expectSameRows(out(), database());
    expectStoreFile(out());
}

TEST_F(SalvageCommand, TellsWhatItDidAsJson) {
    fill();
    const json report = salvage(database());
    EXPECT_EQ(report["nothing_lost"], true);
    EXPECT_EQ(report["lost"], 0);
    EXPECT_EQ(report["unusable_pages"], 0);
    EXPECT_EQ(report["page_size"], 4096);
    EXPECT_EQ(report["pages"], fs::file_size(database()) / 4096);
    EXPECT_EQ(report["header_readable"], true);
    EXPECT_EQ(report["free_pages_known"], true);
    EXPECT_THAT(report["tables_not_copied"], IsEmpty());
    for (const std::string& table : storeTables()) {
        const json told = tableOf(report, table);
        EXPECT_EQ(told["recovered"].dump(), value("SELECT COUNT(*) FROM " + table)) << table;
        EXPECT_EQ(told["may_be_more_lost"], false);
        EXPECT_EQ(told["uncertain"], 0);
    }
}

TEST_F(SalvageCommand, CopiesAnEmptyStore) {
    runWell({"send", "user:bob", "hi"});
    execute("DELETE FROM tbl_msg; DELETE FROM tbl_session");
    EXPECT_THAT(runWell({"salvage", out().string()}).out, HasSubstr("Nothing is lost."));
    expectSameRows(out(), database());
    expectStoreFile(out());
}

TEST_F(SalvageCommand, LeavesTheFileAndItsFolderAsTheyAre) {
    fill();
    const fs::path file = damaged({1, 5, 9});
    fs::create_directory(folder() / "apart");
    fs::rename(file, folder() / "apart/db.dat");
    const fs::path apart = folder() / "apart/db.dat";
    const std::string content = contentOf(apart);
    const auto written = fs::last_write_time(apart);
    salvage(apart);
    EXPECT_TRUE(contentOf(apart) == content);
    EXPECT_EQ(fs::last_write_time(apart), written);
    EXPECT_EQ(std::distance(fs::directory_iterator(apart.parent_path()), fs::directory_iterator()), 1);
}

TEST_F(SalvageCommand, TakesUpWhatWaitsInTheLog) {
    fill();
    sqlite3* client = nullptr;  // has the file open, so that its log stays
    ASSERT_EQ(sqlite3_open(database().c_str(), &client), SQLITE_OK);
    sqlite3_exec(client,
                 "PRAGMA wal_autocheckpoint = 0; UPDATE tbl_msg SET text = text || '!' WHERE db_id % 3 = 0; "
                 "DELETE FROM "
                 "tbl_msg WHERE db_id BETWEEN 50 AND 150; INSERT INTO tbl_room (room_id) VALUES (1)",
                 nullptr, nullptr, nullptr);
    const fs::path copy = folder() / "apart/db.dat";
    fs::create_directory(copy.parent_path());
    fs::copy_file(database(), copy);
    fs::copy_file(database().string() + "-wal", copy.string() + "-wal");
    const json report = salvage(copy);
    EXPECT_GT(report["pages_beside"], 0);
    EXPECT_EQ(report["nothing_lost"], true);
    expectSameRows(out(), database());
    EXPECT_FALSE(fs::exists(copy.string() + "-shm"));
    // Also where the client is still running.
    EXPECT_EQ(salvage(database())["nothing_lost"], true);
    expectSameRows(out(), database());
    sqlite3_close(client);
}

TEST_F(SalvageCommand, TakesUpTheLogThroughTheLastCommitThatHolds) {
    fill();
    sqlite3* client = nullptr;
    ASSERT_EQ(sqlite3_open(database().c_str(), &client), SQLITE_OK);
    sqlite3_exec(client, "PRAGMA wal_autocheckpoint = 0; UPDATE tbl_room SET name = 'first'", nullptr,
                 nullptr, nullptr);
    const auto first = static_cast<std::size_t>(fs::file_size(database().string() + "-wal"));
    sqlite3_exec(client, "UPDATE tbl_room SET name = 'second'; UPDATE tbl_room SET name = 'third'", nullptr,
                 nullptr, nullptr);
    const fs::path copy = folder() / "apart/db.dat";
    fs::create_directory(copy.parent_path());
    fs::copy_file(database(), copy);
    std::string log = contentOf(database().string() + "-wal");
    sqlite3_close(client);
    log[first + 24 + 100] =
        static_cast<char>(log[first + 24 + 100] + 1);  // in the page of the second commit's first frame
    writeFile(copy.string() + "-wal", log);
    EXPECT_EQ(salvage(copy)["nothing_lost"], true);
    EXPECT_EQ(rowsOf(out(), "SELECT DISTINCT name FROM tbl_room"), (Rows{{"first"}}));
}

TEST_F(SalvageCommand, UndoesAChangeThatWasBrokenOff) {
    fill();
    execute("PRAGMA journal_mode = DELETE");
    const fs::path before = folder() / "before.dat";
    fs::copy_file(database(), before);
    sqlite3* client = nullptr;
    ASSERT_EQ(sqlite3_open(database().c_str(), &client), SQLITE_OK);
    sqlite3_exec(
        client,
        "PRAGMA cache_size = 5; BEGIN; DELETE FROM tbl_msg WHERE db_id % 2; UPDATE tbl_room SET name = 'x'",
        nullptr, nullptr, nullptr);
    const fs::path copy = folder() / "apart/db.dat";
    fs::create_directory(copy.parent_path());
    fs::copy_file(database(), copy);
    fs::copy_file(database().string() + "-journal", copy.string() + "-journal");
    sqlite3_close(client);
    ASSERT_TRUE(contentOf(copy) != contentOf(before));
    EXPECT_GT(salvage(copy)["pages_beside"], 0);
    expectSameRows(out(), before);
}

TEST_F(SalvageCommand, ReadsFilesWithAMapOfPages) {
    fill();
    execute(
        "PRAGMA journal_mode = DELETE; PRAGMA auto_vacuum = 1; VACUUM; DELETE FROM tbl_msg WHERE db_id % 5 = "
        "0");
    ASSERT_EQ(value("PRAGMA auto_vacuum"), "1");
    EXPECT_EQ(salvage(database())["unusable_pages"], 0);
    expectSameRows(out(), database());
}

TEST_F(SalvageCommand, FindsColumnsByTheirNames) {
    runWell({"send", "user:bob", "hi"});
    execute(
        "DROP TABLE tbl_room; CREATE TABLE tbl_room (name text, extra text, room_id integer primary key, "
        "info text DEFAULT "
        "'none'); INSERT INTO tbl_room VALUES ('garden', 'x', 5, 'about'); ALTER TABLE tbl_room ADD COLUMN "
        "capacity "
        "integer DEFAULT 50; ALTER TABLE tbl_user ADD COLUMN mood text; INSERT INTO tbl_user (username, "
        "mood) VALUES "
        "('ann', 'fine'); CREATE TABLE notes (a)");
    const json report = salvage(database());
    EXPECT_EQ(rowsOf(out(), "SELECT room_id, name, info, capacity, is_top IS NULL FROM tbl_room"),
              (Rows{{"5", "garden", "about", "50", "1"}}));
    EXPECT_EQ(rowsOf(out(), "SELECT username FROM tbl_user"), (Rows{{"ann"}}));
    EXPECT_EQ(report["columns_not_copied"], json({"tbl_user.mood", "tbl_room.extra"}));
    EXPECT_EQ(report["tables_not_copied"], json({"notes"}));
    fs::remove(out());
    EXPECT_THAT(runWell({"salvage", out().string()}).out,
                AllOf(HasSubstr("Not copied: the table notes,"),
                      HasSubstr("Not copied: the column mood of tbl_user,")));
}

TEST_F(SalvageCommand, NamesWhatWasLeftBehind) {
    runWell({"send", "user:bob", "hi"});
    execute("ALTER TABLE tbl_user ADD COLUMN mood text; CREATE TABLE notes (a)");
    EXPECT_EQ(salvage(database())["nothing_lost"], false);
    fs::remove(out());
    EXPECT_THAT(runWell({"salvage", out().string()}).out,
                testing::EndsWith("No row is known to be lost; there were no more. Left behind: notes, "
                                  "tbl_user.mood.\n"));
}

TEST_F(SalvageCommand, NamesTheColumnsThatAreNotInTheFile) {
    runWell({"send", "user:bob", "hi"});
    execute("ALTER TABLE tbl_user DROP COLUMN gender");
    const json report = salvage(database());
    EXPECT_EQ(report["nothing_lost"], false);
    EXPECT_EQ(report["columns_missing"], json({"tbl_user.gender"}));
    fs::remove(out());
    EXPECT_THAT(runWell({"salvage", out().string()}).out,
                testing::EndsWith("there were no more. Not in the file: tbl_user.gender.\n"));
}

TEST_F(SalvageCommand, RescuesAnEmptyStoreBesideAnUnknownTable) {
    runWell({"send", "user:bob", "hi"});
    execute("DELETE FROM tbl_msg; DELETE FROM tbl_session; CREATE TABLE notes (a)");
    EXPECT_EQ(salvage(database())["recovered"], 0);
    expectStoreFile(out());
}

TEST_F(SalvageCommand, FindsRenamedColumnsByTheirPlaces) {
    fill();
    const fs::path file = damaged({});
    executeOn(file,
              "PRAGMA writable_schema = 1; UPDATE sqlite_master SET sql = replace(sql, 'text text', 'tezt "
              "text') WHERE name = 'tbl_msg'; UPDATE sqlite_master SET sql = replace(sql, 'room_id', "
              "'room_ie') WHERE name = 'tbl_room'");
    ASSERT_THAT(rowsOf(file, "SELECT sql FROM sqlite_master WHERE name = 'tbl_msg'").front().front(),
                HasSubstr("tezt text"));
    const json report = salvage(file);
    expectSameRows(out(), database());
    EXPECT_EQ(report["nothing_lost"], true);
    EXPECT_EQ(report["columns_by_place"],
              json({{{"table", "tbl_msg"}, {"column", "tezt"}, {"taken_for", "text"}},
                    {{"table", "tbl_room"}, {"column", "room_ie"}, {"taken_for", "room_id"}}}));
    EXPECT_THAT(report["columns_not_copied"], IsEmpty());
    fs::remove(out());
    EXPECT_THAT(runWell({"salvage", out().string(), "--file", file.string()}).out,
                AllOf(HasSubstr("tezt taken for text"), testing::EndsWith("\nNothing is lost.\n")));
}

TEST_F(SalvageCommand, LeavesOutATableThatIsTooDifferent) {
    runWell({"send", "user:bob", "hi"});
    execute(
        "DROP TABLE tbl_room; CREATE TABLE tbl_room (a, b); INSERT INTO tbl_room VALUES (1, 2); DROP TABLE "
        "tbl_group; DROP TABLE "
        "tbl_notify; CREATE TABLE tbl_notify (db_id text primary key, text text) WITHOUT ROWID; INSERT INTO "
        "tbl_notify VALUES "
        "('a', 'b')");
    const json report = salvage(database());
    EXPECT_EQ(tableOf(report, "tbl_room")["too_different"], true);
    EXPECT_EQ(tableOf(report, "tbl_notify")["too_different"], true);
    EXPECT_EQ(tableOf(report, "tbl_group")["in_file"], false);
    EXPECT_EQ(tableOf(report, "tbl_msg")["recovered"], 1);
    EXPECT_EQ(report["nothing_lost"], false);
    fs::remove(out());
    EXPECT_THAT(runWell({"salvage", out().string()}).out,
                AllOf(HasSubstr("its columns are not the store's"), HasSubstr("not in the file")));
}

TEST_F(SalvageCommand, ShowsHowFarItIs) {
    fill();
    const ToolRun run = runOnTerminal({"salvage", out().string()});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.err, HasSubstr("looking at the pages"));
}

TEST_F(SalvageCommand, LeavesNothingWhenItIsStopped) {
    fill(30'000);
    for (const int signal : {SIGINT, SIGTERM}) {
        expectRefused(runStopped({"salvage", out().string()}, signal, [this] { return hasUnfinished(); }),
                      130, HasSubstr("stopped as asked"));
        expectNothingMade();
    }
}

TEST_F(SalvageCommand, AFileThatIsNotThere) {
    expectFails(folder() / "nowhere.dat", AllOf(HasSubstr("nowhere.dat"), HasSubstr("--file")));
    expectRefused(run({"salvage", out().string()}), 1, HasSubstr(database().string()));
    expectNothingMade();
}

TEST_F(SalvageCommand, AFolderInThePlaceOfTheFile) {
    expectFails(folder(), AllOf(HasSubstr(folder().string()), HasSubstr("is not a file")));
}

TEST_F(SalvageCommand, AFileThatCannotBeRead) {
    // It opens like a file, but its first byte cannot be read, whoever asks.
    fs::create_symlink("/proc/self/mem", folder() / "mem.dat");
    expectFails(folder() / "mem.dat", HasSubstr("mem.dat"));
}

TEST_F(SalvageCommand, AnEmptyFile) {
    writeFile(folder() / "empty.dat", "");
    expectFails(folder() / "empty.dat", AllOf(HasSubstr("empty.dat"), HasSubstr("nothing in it")));
}

TEST_F(SalvageCommand, AFileThatIsNoDatabase) {
    writeFile(folder() / "diary.txt", "Dear diary. " + std::string(40'000, 'x'));
    expectFails(folder() / "diary.txt", AllOf(HasSubstr("nothing could be rescued"), HasSubstr("diary.txt")));
}

TEST_F(SalvageCommand, ADatabaseOfAnotherProgram) {
    runWell({"send", "user:bob", "hi"});
    for (const std::string& table : storeTables()) {
        execute("DROP TABLE " + table);
    }
    execute("CREATE TABLE songs (title); INSERT INTO songs VALUES ('x')");
    expectFails(database(),
                AllOf(HasSubstr("nothing could be rescued"), HasSubstr("none with the tables of a store")));
}

TEST_F(SalvageCommand, ADatabaseWithTextsInAnotherEncoding) {
    const fs::path file = folder() / "wide.dat";
    writeFile(file, "");
    executeOn(file, "PRAGMA encoding = 'UTF-16le'; CREATE TABLE tbl_room (room_id integer primary key)");
    expectFails(file, AllOf(HasSubstr("wide.dat"), HasSubstr("UTF-16")));
}

TEST_F(SalvageCommand, ADatabaseWithManyTextsInAnotherEncoding) {
    const fs::path file = folder() / "wide.dat";
    writeFile(file, "");
    executeOn(
        file,
        "PRAGMA encoding = 'UTF-16be'; CREATE TABLE tbl_group_list (group_id bigint primary key); CREATE "
        "TABLE tbl_user (username text primary key); WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i "
        "+ 1 FROM n WHERE i < 900) INSERT INTO tbl_user SELECT char(20013, 25991) || i FROM n");
    expectFails(file, AllOf(HasSubstr("wide.dat"), HasSubstr("UTF-16")));
}

TEST_F(SalvageCommand, AFileOfWhichNothingIsLeft) {
    fill();
    const RowPages pages = rowPagesOf(database());
    std::set<std::uint32_t> all;
    for (std::uint32_t page = 2; page <= pages.pageCount; ++page) {
        all.insert(page);
    }
    expectFails(damaged(all), AllOf(HasSubstr("nothing could be rescued"), HasSubstr("older copy")));
    all.insert(1);
    expectFails(damaged(all),
                AllOf(HasSubstr("nothing could be rescued"), HasSubstr("no pages of a database")));
}

TEST_F(SalvageCommand, AnOutThatIsThereAlready) {
    fill();
    writeFile(out(), "precious");
    expectRefused(run({"salvage", out().string()}), 2,
                  AllOf(HasSubstr(out().string()), HasSubstr("already")));
    EXPECT_EQ(contentOf(out()), "precious");
    expectRefused(run({"salvage", database().string()}), 2, HasSubstr("already"));
}

TEST_F(SalvageCommand, ALogBesideOut) {
    // It would be taken for the new file's own.
    fill();
    for (const char* const suffix : {"-wal", "-journal"}) {
        const fs::path beside = out().string() + suffix;
        writeFile(beside, "old");
        expectRefused(run({"salvage", out().string()}), 2,
                      AllOf(HasSubstr(beside.string()), HasSubstr("already")));
        EXPECT_EQ(contentOf(beside), "old");
        fs::remove(beside);
    }
    expectNothingMade();
}

TEST_F(SalvageCommand, NoFolderForOut) {
    fill();
    expectRefused(run({"salvage", (folder() / "no/where.dat").string()}), 2, HasSubstr("there is no folder"));
    EXPECT_FALSE(fs::exists(folder() / "no"));
    expectRefused(run({"salvage", "/proc/out.dat"}), 1, HasSubstr("/proc/out.dat"));
}

TEST_F(SalvageCommand, WrongArguments) {
    expectRefused(run({"salvage"}), 2, HasSubstr("OUT"));
    expectRefused(run({"salvage", ""}), 2, HasSubstr("''"));
    expectRefused(run({"salvage", out().string(), "more"}), 2, HasSubstr("'more'"));
    expectRefused(run({"salvage", out().string(), "--full"}), 2, HasSubstr("'--full'"));
    expectRefused(run({"salvage", out().string(), "--file", ""}), 2, HasSubstr("--file ''"));
    expectRefused(run({"salvage", out().string(), "--file"}), 2, HasSubstr("--file"));
    expectNothingMade();
}

}  // namespace
