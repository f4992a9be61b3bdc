#include <sqlite3.h>

#include "tests/support/WithoutPrivileges.h"
#include "tests/tools/pelko/support/InspectCommand.h"
#include "tools/pelko/Store.h"

// Which files pelko inspect reads, how, and what it says of those that it cannot read.

using namespace pelkotest;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

TEST_F(InspectCommand, RefusesWhatIsNotThere) {
    expectRefused(run({"inspect"}), 1, AllOf(HasSubstr(database().string()), HasSubstr("--file")));
    expectRefused(run({"inspect", "--file", (folder() / "nowhere").string()}), 1,
                  HasSubstr("there is no file"));
    expectRefused(run({"inspect", "--file", folder().string()}), 1, HasSubstr("is not a file"));
    EXPECT_FALSE(fs::exists(dataDir()));
}

TEST_F(InspectCommand, RefusesWrongOptions) {
    runWell({"send", "user:bob", "hi"});
    expectRefused(run({"inspect", "--file", ""}), 2, HasSubstr("--file ''"));
    expectRefused(run({"inspect", "--attachments", ""}), 2, HasSubstr("--attachments ''"));
    expectRefused(run({"inspect", "--attachments", (folder() / "nowhere").string()}), 1,
                  AllOf(HasSubstr("nowhere"), HasSubstr("no folder")));
    expectRefused(run({"inspect", "--attachments", database().string()}), 1, HasSubstr("no folder"));
    expectRefused(run({"inspect", "--deep"}), 2, HasSubstr("--deep"));
    expectRefused(run({"inspect", "db.dat"}), 2, HasSubstr("db.dat"));
    expectRefused(run({"--user", "ann", "inspect"}), 1, HasSubstr("users/ann/db.dat"));
}

TEST_F(InspectCommand, RefusesWhatIsNoDatabase) {
    const std::string content = "Dear diary, " + std::string(4096, 'x');
    writeFile(database(), content);
    expectRefused(run({"inspect"}), 1, AllOf(HasSubstr(database().string()), HasSubstr("not a database")));
    EXPECT_EQ(contentOf(database()), content);
}

TEST_F(InspectCommand, SaysInOneLineThatNothingCanBeRead) {
    runWell({"send", "user:bob", "hi"});
    const std::string whole = contentOf(database());
    writeFile(database(), std::string(100, '\xa5') + whole.substr(100));
    expectRefused(run({"inspect"}), 1, AllOf(HasSubstr("not a database"), HasSubstr("'pelko salvage OUT'")));
    writeFile(database(), whole.substr(0, whole.size() / 2));
    expectRefused(run({"inspect"}), 1, AllOf(HasSubstr("malformed"), HasSubstr("'pelko salvage OUT'")));
    writeFile(database(), whole.substr(0, 100) + std::string(3996, '\xa5') + whole.substr(4096));
    expectRefused(run({"inspect"}), 1, AllOf(HasSubstr("malformed"), HasSubstr("'pelko salvage OUT'")));
}

TEST_F(InspectCommand, RefusesAFileThatMayNotBeRead) {
    runWell({"send", "user:bob", "hi"});
    fs::permissions(database(), fs::perms::none);
    letAnybodyRun();
    const WithoutPrivileges anybody;
    expectRefused(run({"inspect"}), 1, AllOf(HasSubstr(database().string()), HasSubstr("cannot be read")));
}

TEST_F(InspectCommand, SaysSoOfAFileThatIsLocked) {
    runWell({"send", "user:bob", "hi"});
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(database().c_str(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "PRAGMA journal_mode = DELETE; BEGIN EXCLUSIVE", nullptr, nullptr, nullptr),
              SQLITE_OK);
    expectRefused(run({"inspect"}), 1, AllOf(HasSubstr("database is locked"), HasSubstr("another program")));
    sqlite3_close(other);
}

TEST_F(InspectCommand, FindsNothingWrongInAWholeStore) {
    runWell({"receive", "user:bob", "hi", "--id", "1"});
    runWell({"receive", "room:5", "ho", "--from", "ann", "--id", "2"});
    runWell({"read", "user:bob"});
    const std::string out = runWell({"inspect"}).out;
    EXPECT_THAT(out, EndsWith("\nNothing wrong was found.\n"));
    EXPECT_THAT(out, HasSubstr("Schema\n  as the store makes it\n"));
    EXPECT_THAT(out, HasSubstr("Quick check\n  no damage\n"));
    EXPECT_THAT(out, HasSubstr("  tbl_msg              2\n"));
    EXPECT_THAT(out, HasSubstr("         1  unread in all\n"));
    EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(InspectCommand, FindsNothingWrongInAnEmptyStore) {
    runWell({"rooms", "add", "5"});
    runWell({"rooms", "remove", "5"});
    EXPECT_THAT(runWell({"inspect"}).out,
                AllOf(HasSubstr("Conversations\n  none\n"), HasSubstr("account         me\n"),
                      EndsWith("Nothing wrong was found.\n")));
    const json found = inspect();
    EXPECT_EQ(found["conversations"], json::array());
    for (const auto& [table, rows] : found["rows"].items()) {
        EXPECT_EQ(rows, 0) << table;
    }
}

TEST_F(InspectCommand, PrintsJson) {
    runWell({"rooms", "add", "5", "--name", "Garden"});
    runWell({"receive", "room:5", "ho", "--from", "ann"});
    runWell({"receive", "room:5", "hum", "--from", "ann"});
    runWell({"pin", "room:5"});
    execute("UPDATE tbl_msg SET date = 600 * db_id");
    json found = inspect();
    EXPECT_EQ(found["sizes"]["file"], fs::file_size(database()));
    EXPECT_EQ(found["settings"]["pages"].get<std::uintmax_t>() * 4096, fs::file_size(database()));
    found.erase("sizes");
    found["settings"].erase("pages");
    EXPECT_EQ(found, json::parse(R"({
        "file": ")" + database().string() +
                                 R"(", "account": "me",
        "settings": {"page_size": 4096, "free_pages": 0, "free_bytes": 0, "journal_mode": "wal",
                     "encoding": "UTF-8", "user_version": 0},
        "schema": [], "quick_check": [],
        "rows": {"tbl_msg": 2, "tbl_relationship": 0, "tbl_user": 0, "tbl_room": 1, "tbl_group": 0,
                 "tbl_group_list": 0, "tbl_session": 1, "tbl_notify": 0, "tbl_last_msg_id": 0,
                 "tbl_msg_config": 0},
        "conversations": [{"target": "room:5", "name": "Garden", "messages": 2, "unread": 2,
                           "first": "1970-01-01T00:10:00Z", "last": "1970-01-01T00:20:00Z",
                           "pinned": true, "priority": 0, "session": true}],
        "unfinished": {"sending": 0, "transfers_with_file": 0, "transfers_without_file": 0,
                       "failed_before": 0},
        "attachments": {"named": 0, "not_downloaded": 0, "missing": []},
        "files_without_row": {"folder": ")" +
                                 database().parent_path().string() + R"(", "files": [],
                              "unreadable_folders": []},
        "unknown_kinds": [],
        "badge": {"unread": 2, "unread_without_session": 0, "between_others": 0, "sessions_without_last_message": [],
                  "stored_twice": [], "dated_in_the_future": {"messages": 0, "latest": null}},
        "not_read": [], "findings": []})"));
}

TEST_F(InspectCommand, ReadsAnyFileByItsName) {
    runWell({"receive", "user:bob", "hi"});
    const fs::path copy = folder() / "sent in.dat";
    fs::copy(database(), copy);
    const ToolRun run = runExactly({"inspect", "--file", copy.string()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(run.out, AllOf(HasSubstr("account         me (told by the messages)\n"),
                               HasSubstr("user:bob"), HasSubstr("not looked for: --attachments")));
    EXPECT_EQ(inspect({"--file", copy.string()})["files_without_row"], nullptr);
}

TEST_F(InspectCommand, ChangesNothing) {
    runWell({"receive", "user:bob", "hi"});
    insert("status", "3");
    makeMedia("left.jpg");
    for (const char* const mode : {"WAL", "DELETE"}) {
        execute(std::string("PRAGMA journal_mode = ") + mode);
        const auto before = files();
        const auto changed = fs::last_write_time(database());
        const json found = inspect();
        EXPECT_EQ(found["unfinished"]["sending"], 1);
        EXPECT_EQ(found["settings"]["journal_mode"], mode == std::string("WAL") ? "wal" : "delete");
        EXPECT_EQ(files(), before) << mode;
        EXPECT_EQ(fs::last_write_time(database()), changed) << mode;
    }
}

TEST_F(InspectCommand, ReadsWhileAClientHasTheFileOpen) {
    runWell({"receive", "user:bob", "hi"});
    pelkotool::GlobalOptions options;
    options.dataDir = dataDir().string();
    options.dataDirGiven = true;
    pelkotool::Store client(accountOf(options), pelkotool::Store::IfMissing::refuse);
    auto message = pelkoapi::PelkoMessage::createTextMessage("bob", "stands in the log");
    client.run("store", [&](pelkoapi::PelkoDBManager& db) { return db.insertMessage(&message); });
    client.run("begin", [&](pelkoapi::PelkoDBManager& db) { db.beginTransaction(); });
    auto uncommitted = pelkoapi::PelkoMessage::createTextMessage("bob", "not yet");
    client.run("store", [&](pelkoapi::PelkoDBManager& db) { return db.insertMessage(&uncommitted); });

    auto before = files();
    const json found = inspect();
    EXPECT_EQ(found["rows"]["tbl_msg"], 2);
    EXPECT_GT(found["sizes"]["wal"], 0);
    EXPECT_GT(found["sizes"]["shm"], 0);
    EXPECT_EQ(found["files_without_row"]["files"], json::array()) << "the log belongs to the database";
    EXPECT_EQ(found["findings"], json::array());
    auto after = files();
    const std::string shared = database().string() + "-shm";  // every reader marks its place there
    EXPECT_EQ(before.erase(shared), 1U);
    EXPECT_EQ(after.erase(shared), 1U);
    EXPECT_EQ(after, before);
    EXPECT_NO_THROW(client.run("commit", [&](pelkoapi::PelkoDBManager& db) { db.commiteTransaction(); }));
}

TEST_F(InspectCommand, ReadsInAFolderThatCannotBeWritten) {
    runWell({"receive", "user:bob", "hi"});
    fs::permissions(database(), fs::perms(0444));
    fs::permissions(database().parent_path(), fs::perms(0555));
    letAnybodyRun();
    const auto before = files();
    {
        const WithoutPrivileges anybody;
        ASSERT_NE(access(database().parent_path().c_str(), W_OK), 0);
        EXPECT_THAT(runWell({"inspect"}).out, EndsWith("Nothing wrong was found.\n"));
    }
    EXPECT_EQ(files(), before);
    fs::permissions(database().parent_path(), fs::perms(0755));
}

TEST_F(InspectCommand, SaysWhatItCannotReadForAMissingColumn) {
    runWell({"send", "user:bob", "hi"});
    execute("ALTER TABLE tbl_msg RENAME COLUMN receiver_type TO kind");
    const ToolRun failed = run({"inspect"});
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_THAT(failed.err, HasSubstr("could not be read; the differences of the schema tell why"));
    EXPECT_THAT(failed.out,
                AllOf(HasSubstr("missing column"), HasSubstr("tbl_msg.receiver_type"),
                      HasSubstr("Conversations\n  could not be read: no such column: receiver_type\n"),
                      HasSubstr("  tbl_msg              1\n"), HasSubstr("         0  unread in all\n")));
}

TEST_F(InspectCommand, AFileWithoutATableIsReadAsFarAsItGoes) {
    writeFile(database(), "");  // as it is made before the store opens it first
    const ToolRun empty = run({"inspect", "--json"});
    EXPECT_EQ(empty.exitCode, 1);
    EXPECT_THAT(empty.err, HasSubstr("parts of " + database().string() + " could not be read"));
    EXPECT_EQ(empty.json()["schema"].size(), 17U);
    EXPECT_EQ(empty.json()["conversations"], nullptr);
    EXPECT_EQ(empty.json()["quick_check"], json::array());
}

TEST_F(InspectCommand, TellsAllThatItCanReadOfADamagedFile) {
    runWell({"receive", "user:bob", "hi", "--id", "1"});
    runWell({"rooms", "add", "5"});
    damage("tbl_msg");
    const ToolRun failed = run({"inspect"});
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_EQ(failed.err, "pelko: parts of " + database().string() +
                              " could not be read; 'pelko salvage OUT' rescues what is left\n");
    EXPECT_THAT(
        failed.out,
        AllOf(HasSubstr("Schema\n  as the store makes it\n"), HasSubstr("Quick check\n  "),
              HasSubstr("  tbl_msg              ?\n"), HasSubstr("  tbl_room             1\n"),
              HasSubstr("Conversations\n  could not be read: "), HasSubstr("         1  unread in all\n"),
              HasSubstr("the rows that name files could not all be read"),
              HasSubstr("things to look at: the quick check tells damage")));
    EXPECT_THAT(failed.out, Not(HasSubstr("Nothing wrong")));

    const json found = run({"inspect", "--json"}).json();
    EXPECT_FALSE(found["quick_check"].empty());
    EXPECT_EQ(found["rows"]["tbl_msg"], nullptr);
    EXPECT_EQ(found["rows"]["tbl_room"], 1);
    EXPECT_EQ(found["conversations"], nullptr);
    EXPECT_EQ(found["badge"]["unread"], 1);
    EXPECT_EQ(found["badge"]["unread_without_session"], nullptr);
    EXPECT_THAT(found["not_read"].dump(), HasSubstr("the rows of tbl_msg"));
}

TEST_F(InspectCommand, DamageOfOneTableHidesNoOther) {
    runWell({"receive", "user:bob", "hi"});
    runWell({"users", "add", "bob"});
    damage("tbl_notify");
    const ToolRun failed = run({"inspect", "--json"});
    EXPECT_EQ(failed.exitCode, 1);
    const json found = failed.json();
    EXPECT_EQ(found["rows"]["tbl_notify"], nullptr);
    EXPECT_EQ(found["rows"]["tbl_msg"], 1);
    EXPECT_EQ(found["conversations"].size(), 1U);
    EXPECT_EQ(found["attachments"]["named"], 0);
    EXPECT_EQ(found["badge"]["unread_without_session"], 0);
    std::vector<std::string> parts;
    for (const json& part : found["not_read"]) {
        parts.push_back(part["part"]);
    }
    EXPECT_THAT(parts, ElementsAre("the rows of tbl_notify", "the kinds of targets"));
}

TEST_F(InspectCommand, ShowsAtMostTwentyLinesOfTheQuickCheck) {
    runWell({"receive", "user:bob", "hi"});
    execute(
        "WITH n (i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n WHERE i < 60) INSERT INTO tbl_user "
        "(username, info) "
        "SELECT i, zeroblob(3000) FROM n");
    std::string content = contentOf(database());
    const std::size_t half = content.size() / 2 / 4096 * 4096;
    content.replace(half, content.size() - half, content.size() - half, '\xa5');
    writeFile(database(), content);
    EXPECT_EQ(run({"inspect", "--json"}).json()["quick_check"].size(), 20U);
}

TEST_F(InspectCommand, FailsWhenItsOutputCannotBeWritten) {
    runWell({"receive", "user:bob", "hi"});
    const ToolRun failed = runExactly({"--data-dir", dataDir().string(), "inspect"}, "/dev/full");
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_THAT(failed.err, HasSubstr("cannot write all of the output"));
}

}  // namespace
