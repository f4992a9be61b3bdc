#include <signal.h>
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <set>
#include <sstream>
#include <thread>

#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

namespace {

long long exportedEntries(const fs::path& folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

class ExportCommand : public ToolTest {
protected:
    fs::path out() const { return folder() / "exported"; }

    /// Runs 'pelko export' with these options behind the place.
    ToolRun exportWith(const Arguments& options) const {
        Arguments all = {"export", out().string()};
        all.insert(all.end(), options.begin(), options.end());
        return run(all);
    }

    /// Exports to JSON Lines anew. @return the lines
    std::vector<json> linesWith(const Arguments& options = {}) const {
        fs::remove_all(out());
        Arguments all = {"--format", "json"};
        all.insert(all.end(), options.begin(), options.end());
        const ToolRun exported = exportWith(all);
        EXPECT_EQ(exported.exitCode, 0) << exported.err;
        EXPECT_EQ(exported.err, "");
        std::vector<json> lines;
        std::istringstream content(contentOf(out() / "export.jsonl"));
        for (std::string line; std::getline(content, line);) {
            lines.push_back(json::parse(line));
        }
        return lines;
    }

    /// The rows of one table among the lines.
    static std::vector<json> rowsOfTable(const std::vector<json>& lines, const std::string& table) {
        std::vector<json> found;
        std::copy_if(lines.begin(), lines.end(), std::back_inserter(found),
                     [&](const json& line) { return line.value("table", "") == table; });
        return found;
    }

    static std::vector<json> columnOf(const std::vector<json>& lines, const std::string& table,
                                      const std::string& column) {
        std::vector<json> values;
        for (const json& row : rowsOfTable(lines, table)) {
            values.push_back(row.at(column));
        }
        return values;
    }

    /// Room 5 with ann (messages of days 1 and 2), group 7 with bob (day 2), a talk with bob (day 3), and
    /// rows of every table about these and others.
    void storeSome() const {
        runWell({"receive", "room:5", "one", "--from", "ann"});
        runWell({"receive", "room:5", "two", "--from", "ann"});
        runWell({"receive", "group:7", "three", "--from", "bob"});
        runWell({"send", "user:bob", "four"});
        execute("UPDATE tbl_msg SET date = 86400 * CASE db_id WHEN 1 THEN 1 WHEN 4 THEN 3 ELSE 2 END");
        for (const char* const id : {"5", "6"}) {
            runWell({"rooms", "add", id});
            runWell({"mute", std::string("room:") + id});
        }
        for (const char* const id : {"7", "8"}) {
            runWell({"groups", "add", id});
            runWell({"groups", "join", id});
            runWell({"notifications", "add", "invite", "--group", id, "--from", "ann"});
        }
        for (const char* const name : {"ann", "bob", "cem"}) {
            runWell({"users", "add", name});
            runWell({"friends", "add", name});
        }
        runWell({"mark", "inbox", "5"});
    }

    /// What a command that ended early must have left: nothing but what the test itself has made.
    void expectNothingMade() const {
        for (const fs::directory_entry& entry : fs::directory_iterator(folder())) {
            EXPECT_THAT(entry.path().filename().string(), Not(testing::StartsWith("made")));
        }
    }
};

TEST_F(ExportCommand, WritesEveryRowBetweenAHeaderAndAnEnd) {
    runWell({"replay", sampleLog().string()});
    runWell({"notifications", "add", "invite", "--group", "7", "--from", "ann"});
    const std::vector<json> lines = linesWith();
    EXPECT_EQ(lines.front()["record"], "export");
    EXPECT_EQ(lines.front()["format"], 1);
    EXPECT_THAT(lines.front()["tool"], testing::StartsWith("pelko "));
    EXPECT_EQ(lines.front()["account"], "me");
    EXPECT_EQ(lines.front()["only"], nullptr);
    EXPECT_EQ(lines.front()["since"], nullptr);
    EXPECT_EQ(lines.front()["until"], nullptr);
    EXPECT_EQ(lines.front()["media"], "copy");
    EXPECT_EQ(lines.back(), (json{{"record", "end"}, {"rows", lines.size() - 2}}));
    for (const auto& table : rows("SELECT name FROM sqlite_master WHERE type = 'table'")) {
        EXPECT_EQ(std::to_string(rowsOfTable(lines, table[0]).size()),
                  value("SELECT COUNT(*) FROM " + table[0]))
            << table[0];
    }
    const std::vector<json> ids = columnOf(lines, "tbl_msg", "rowid");
    EXPECT_GT(ids.size(), 50U);
    EXPECT_TRUE(std::is_sorted(ids.begin(), ids.end()));
}

TEST_F(ExportCommand, WritesEveryColumnAndWhatAReaderWouldHaveToLookUp) {
    runWell({"receive", "room:5", "it's \"me\" \\ \xf0\x9f\x98\x80", "--from", "ann", "--id", "9"});
    execute("UPDATE tbl_msg SET date = 1527628800");
    const fs::path place = out();
    linesWith();
    EXPECT_THAT(contentOf(place / "export.jsonl"),
                HasSubstr("\n{\"table\":\"tbl_msg\",\"rowid\":1,\"msg_id\":9,\"db_id\":1,\"type\":0,"
                          "\"date\":1527628800,\"text\":\"it's \\\"me\\\" \\\\ \xf0\x9f\x98\x80\","
                          "\"media_type\":0,\"media_path\":\"\",\"ex_media_path\":\"\",\"media_url\":\"\","
                          "\"media_status\":0,\"duration\":0,\"receiver_type\":1,\"receiver_id\":\"5\","
                          "\"sender_type\":0,\"sender_id\":\"ann\",\"status\":1,\"extra_path\":\"\","
                          "\"_\":{\"conversation\":\"room:5\",\"time\":\"2018-05-29T21:20:00Z\"}}\n"));
}

TEST_F(ExportCommand, KeepsEveryStorageClassApart) {
    runWell({"send", "user:bob", "x"});
    execute(R"(UPDATE tbl_msg SET date = -1, msg_id = -9223372036854775808, text = CAST(x'610062' AS TEXT),
               media_url = CAST(x'ff41' AS TEXT), extra_path = x'00ff', duration = 0.1, media_type = 9e999,
               media_status = -9e999, status = NULL, type = 'x', media_path = x'')");
    const json row = rowsOfTable(linesWith(), "tbl_msg").at(0);
    EXPECT_EQ(row["msg_id"], std::numeric_limits<long long>::min());
    EXPECT_EQ(row["text"], std::string("a\0b", 3));
    EXPECT_EQ(row["media_url"], (json{{"text_hex", "ff41"}}));
    EXPECT_EQ(row["extra_path"], (json{{"blob_hex", "00ff"}}));
    EXPECT_EQ(row["media_path"], (json{{"blob_hex", ""}}));
    EXPECT_EQ(row["duration"], 0.1);
    EXPECT_EQ(row["media_type"], (json{{"real", "inf"}}));
    EXPECT_EQ(row["media_status"], (json{{"real", "-inf"}}));
    EXPECT_EQ(row["status"], nullptr);
    EXPECT_EQ(row["type"], "x");
    EXPECT_EQ(row["_"]["time"], "2106-02-07T06:28:15Z");
    EXPECT_THAT(contentOf(out() / "export.jsonl"), HasSubstr("\"text\":\"a\\u0000b\""));
}

TEST_F(ExportCommand, WritesColumnsThatTheStoreDoesNotKnow) {
    runWell({"send", "user:bob", "x"});
    for (const char* const name : {"rowid", "table", "_", "record", "column:x", "say \"hi\""}) {
        std::string quoted;
        for (const char* c = name; *c != '\0'; ++c) {
            quoted.append(*c == '"' ? 2 : 1, *c);
        }
        execute("ALTER TABLE tbl_msg ADD COLUMN \"" + quoted + "\" DEFAULT 'extra'");
    }
    const json row = rowsOfTable(linesWith(), "tbl_msg").at(0);
    EXPECT_EQ(row["rowid"], 1);
    EXPECT_EQ(row["_"]["conversation"], "user:bob");
    for (const char* const name :
         {"column:rowid", "column:table", "column:_", "column:record", "column:column:x", "say \"hi\""}) {
        EXPECT_EQ(row.value(name, ""), "extra") << name;
    }
}

TEST_F(ExportCommand, TakesMessagesOfKindsThatNobodyKnows) {
    runWell({"receive", "user:bob", "x"});
    execute("UPDATE tbl_msg SET sender_type = 9, type = 77, status = -3");
    EXPECT_EQ(rowsOfTable(linesWith(), "tbl_msg").at(0)["_"]["conversation"], "kind-9:bob");
}

TEST_F(ExportCommand, OnlyTakesTheRowsOfTheChosenConversations) {
    storeSome();
    const std::vector<json> lines = linesWith({"--only", "group:7", "user:bob"});
    EXPECT_THAT(lines.front()["only"], ElementsAre("user:bob", "group:7"));
    EXPECT_THAT(columnOf(lines, "tbl_msg", "text"), ElementsAre("three", "four"));
    EXPECT_THAT(columnOf(lines, "tbl_session", "target_id"), UnorderedElementsAre("7", "bob"));
    EXPECT_THAT(columnOf(lines, "tbl_msg_config", "target_id"), IsEmpty());
    EXPECT_THAT(columnOf(lines, "tbl_room", "room_id"), IsEmpty());
    EXPECT_THAT(columnOf(lines, "tbl_group", "group_id"), ElementsAre(7));
    EXPECT_THAT(columnOf(lines, "tbl_group_list", "group_id"), ElementsAre(7));
    EXPECT_THAT(columnOf(lines, "tbl_notify", "from_id"), ElementsAre(7));
    EXPECT_THAT(columnOf(lines, "tbl_user", "username"), ElementsAre("bob"));
    EXPECT_THAT(columnOf(lines, "tbl_relationship", "username"), ElementsAre("bob"));
    EXPECT_THAT(columnOf(lines, "tbl_last_msg_id", "key"), IsEmpty());
}

TEST_F(ExportCommand, OnlyTakesTheProfilesOfSendersAndNotTheirRelations) {
    storeSome();
    const std::vector<json> lines = linesWith({"--only", "room:5", "--only", "room:5"});
    EXPECT_THAT(columnOf(lines, "tbl_msg", "text"), ElementsAre("one", "two"));
    EXPECT_THAT(columnOf(lines, "tbl_room", "room_id"), ElementsAre(5));
    EXPECT_THAT(columnOf(lines, "tbl_msg_config", "target_id"), ElementsAre("5"));
    EXPECT_THAT(columnOf(lines, "tbl_user", "username"), ElementsAre("ann"));
    EXPECT_THAT(columnOf(lines, "tbl_relationship", "username"), IsEmpty());
}

TEST_F(ExportCommand, ARangeChoosesMessagesAndLeavesTheOtherTablesWhole) {
    storeSome();
    const std::vector<json> lines = linesWith({"--since", "1970-01-03", "--until", "1970-01-03"});
    EXPECT_EQ(lines.front()["since"], "1970-01-03T00:00:00Z");
    EXPECT_EQ(lines.front()["until"], "1970-01-03T23:59:59Z");
    EXPECT_THAT(columnOf(lines, "tbl_msg", "text"), ElementsAre("two", "three"));
    EXPECT_EQ(rowsOfTable(lines, "tbl_session").size(), 3U);
    EXPECT_EQ(rowsOfTable(lines, "tbl_user").size(), 3U);
    EXPECT_EQ(rowsOfTable(lines, "tbl_notify").size(), 2U);
    EXPECT_EQ(rowsOfTable(lines, "tbl_last_msg_id").size(), 1U);
}

TEST_F(ExportCommand, RangeAndConversationsAddUp) {
    storeSome();
    const std::vector<json> lines = linesWith({"--only", "room:5", "user:bob", "--until", "1970-01-02"});
    EXPECT_THAT(columnOf(lines, "tbl_msg", "text"), ElementsAre("one"));
    EXPECT_THAT(columnOf(lines, "tbl_session", "target_id"), UnorderedElementsAre("5", "bob"));
    const json summary = [&] {
        fs::remove_all(out());
        return exportWith({"--only", "room:5", "user:bob", "--until", "1970-01-02", "--json"}).json();
    }();
    EXPECT_EQ(summary["conversations"], 1) << "the one that has messages of that time";
}

TEST_F(ExportCommand, KeepsDatesFrom2038OnInARange) {
    runWell({"send", "user:bob", "late"});
    execute("UPDATE tbl_msg SET date = -1");  // as the store keeps the last second of 32 bits
    EXPECT_EQ(rowsOfTable(linesWith({"--since", "2106-02-07"}), "tbl_msg").size(), 1U);
    EXPECT_EQ(rowsOfTable(linesWith({"--until", "2106-02-06"}), "tbl_msg").size(), 0U);
}

TEST_F(ExportCommand, TellsWhatWasExported) {
    storeSome();
    const ToolRun run = exportWith({"--until", "1970-01-03"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(run.out, testing::StartsWith("conversations   2\n"
                                             "messages        3\n"
                                             "asked for       until 1970-01-03 23:59\n"
                                             "exported        1970-01-02 00:00 to 1970-01-03 00:00\n"
                                             "files           0 copied\n"));
    EXPECT_THAT(run.out, testing::EndsWith("place           " + out().string() + "\nOpen " +
                                           (out() / "index.html").string() + " in a browser.\n"));
}

TEST_F(ExportCommand, TellsItAsJson) {
    storeSome();
    const json summary = exportWith({"--format", "json", "--only", "room:5", "--json"}).json();
    EXPECT_EQ(summary["bytes"], fs::file_size(out() / "export.jsonl"));
    json rest = summary;
    rest.erase("bytes");
    EXPECT_EQ(
        rest,
        (json{{"folder", out().string()},
              {"index", nullptr},
              {"conversations", 1},
              {"messages", 2},
              {"asked_for", {{"since", nullptr}, {"until", nullptr}, {"only", {"room:5"}}}},
              {"exported", {{"first", "1970-01-02T00:00:00Z"}, {"last", "1970-01-03T00:00:00Z"}}},
              {"rows", 7},  // with the sequence of the notifications

              {"rows_too_long", 0},
              {"files", {{"copied", 0}, {"bytes", 0}, {"linked", 0}, {"missing", 0}, {"refused", 0}}}}));
}

TEST_F(ExportCommand, WritesTheFormatsThatAreAskedFor) {
    runWell({"send", "user:bob", "x"});
    const ToolRun pages = exportWith({"--format", "html"});
    EXPECT_EQ(pages.exitCode, 0) << pages.err;
    EXPECT_THAT(pages.out, AllOf(HasSubstr("\nOpen "), Not(HasSubstr("\nrows "))));
    EXPECT_FALSE(fs::exists(out() / "export.jsonl"));
    fs::remove_all(out());
    EXPECT_THAT(exportWith({"--format", "json"}).out, Not(HasSubstr("Open ")));
    EXPECT_FALSE(fs::exists(out() / "index.html"));
    fs::remove_all(out());
    EXPECT_THAT(exportWith({"--format", "json,html"}).out, HasSubstr("Open "));
    EXPECT_TRUE(fs::exists(out() / "export.jsonl"));
}

TEST_F(ExportCommand, OpensTheFolderToItsOwnerAlone) {
    runWell({"send", "user:bob", "x"});
    linesWith();
    EXPECT_EQ(fs::status(out()).permissions(), fs::perms::owner_all);
}

TEST_F(ExportCommand, WritesAnEmptyStore) {
    runWell({"send", "user:bob", "x"});
    execute("DELETE FROM tbl_msg; DELETE FROM tbl_session");
    EXPECT_EQ(linesWith().size(), 2U);
    fs::remove_all(out());
    EXPECT_THAT(exportWith({}).out, HasSubstr("conversations   0\nmessages        0\n"));
}

TEST_F(ExportCommand, TakesAnyFile) {
    runWell({"--user", "bob", "send", "user:ann", "x"});
    runWell({"--user", "bob", "send", "user:cem", "y"});
    fs::create_directories(folder() / "mailed");
    fs::copy_file(database("bob"), folder() / "mailed/case 17.dat");
    const std::vector<json> lines = linesWith({"--file", (folder() / "mailed/case 17.dat").string()});
    EXPECT_EQ(lines.front()["account"], "bob");
    EXPECT_THAT(columnOf(lines, "tbl_msg", "text"), ElementsAre("x", "y"));
    EXPECT_EQ(exportedEntries(folder() / "mailed"), 1) << "nothing beside the file";
}

TEST_F(ExportCommand, ShowsOneStateWhileAClientWrites) {
    runWell({"send", "user:bob", "stored"});
    sqlite3* client = nullptr;
    ASSERT_EQ(sqlite3_open(database().c_str(), &client), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(client,
                           "INSERT INTO tbl_msg SELECT msg_id, NULL, type, date, 'in the log', media_type, "
                           "media_path, ex_media_path, media_url, media_status, duration, receiver_type, "
                           "receiver_id, sender_type, sender_id, status, extra_path FROM tbl_msg;"
                           "BEGIN IMMEDIATE; UPDATE tbl_msg SET text = 'not yet'",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    EXPECT_THAT(columnOf(linesWith(), "tbl_msg", "text"), ElementsAre("stored", "in the log"));
    ASSERT_EQ(sqlite3_exec(client, "COMMIT", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(client);
}

TEST_F(ExportCommand, ChangesNothingInTheFile) {
    runWell({"send", "user:bob", "x"});
    execute("UPDATE tbl_msg SET status = 3");  // the store would repair it
    execute("PRAGMA wal_checkpoint(TRUNCATE)");
    const std::string before = contentOf(database());
    linesWith();
    EXPECT_EQ(contentOf(database()), before);
    EXPECT_EQ(exportedEntries(database().parent_path()), 1);
}

TEST_F(ExportCommand, DrawsAProgressBarOnATerminal) {
    runWell({"send", "user:bob", "x"});
    const ToolRun run = runOnTerminal({"export", out().string()});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.err, AllOf(HasSubstr("[##########"), testing::EndsWith("\r\x1b[K")));
}

TEST_F(ExportCommand, LeavesNothingWhenItIsInterrupted) {
    runWell({"send", "user:bob", std::string(200, 'x')});
    execute(
        "WITH RECURSIVE n (i) AS (SELECT 2 UNION ALL SELECT i + 1 FROM n WHERE i < 150000) INSERT INTO "
        "tbl_msg "
        "SELECT msg_id, i, type, date, text, media_type, media_path, ex_media_path, media_url, media_status, "
        "duration, receiver_type, receiver_id, sender_type, sender_id, status, extra_path FROM tbl_msg, n");
    const fs::path place = folder() / "made";
    fs::create_directory(place);
    for (const int signal : {SIGINT, SIGTERM}) {
        const ToolRun stopped = runStopped({"export", (place / "out").string(), "--format", "json"}, signal,
                                           [&] { return !fs::is_empty(place); });
        expectRefused(stopped, 130, HasSubstr("stopped as asked; nothing was exported"));
        EXPECT_TRUE(fs::is_empty(place));
    }
}

TEST_F(ExportCommand, RefusesOptionsThatCannotBeMeant) {
    runWell({"send", "user:bob", "x"});
    const std::string place = (folder() / "made").string();
    const auto refused = [&](const Arguments& options, const std::string& words) {
        Arguments all = {"export", place};
        all.insert(all.end(), options.begin(), options.end());
        expectRefused(run(all), 2, HasSubstr(words));
        expectNothingMade();
    };
    refused({"--format", ""}, "--format ''");
    refused({"--format", "pdf"}, "--format 'pdf'");
    refused({"--format", "html,"}, "--format 'html,'");
    refused({"--format", "html json"}, "--format 'html json'");
    refused({"--media", "move"}, "--media 'move'");
    refused({"--media", ""}, "--media ''");
    refused({"--page", "0"}, "--page '0'");
    refused({"--page", "1001"}, "--page '1001'");
    refused({"--page", "x"}, "--page 'x'");
    refused({"--since", "yesterday"}, "--since 'yesterday'");
    refused({"--since", "2024-02-02", "--until", "2024-02-01"}, "is behind --until");
    refused({"--only", "kind-9:x"}, "'kind-9:x'");
    refused({"--only", ""}, "''");
    refused({"--file", ""}, "--file ''");
    refused({"and", "more"}, "'and'");
    expectRefused(run({"export"}), 2, HasSubstr("OUT"));
}

TEST_F(ExportCommand, RefusesAConversationThatIsNotThere) {
    runWell({"send", "user:bob", "x"});
    expectRefused(run({"export", (folder() / "made").string(), "--only", "user:bob", "--only", "room:5"}), 1,
                  AllOf(HasSubstr("--only room:5"), HasSubstr("pelko sessions")));
    expectNothingMade();
}

TEST_F(ExportCommand, RefusesAPlaceThatCannotBe) {
    runWell({"send", "user:bob", "x"});
    writeFile(out() / "precious", "precious");
    expectRefused(exportWith({}), 2, AllOf(HasSubstr(out().string()), HasSubstr("already")));
    expectRefused(run({"export", (out() / "precious").string()}), 2, HasSubstr("already"));
    EXPECT_EQ(contentOf(out() / "precious"), "precious");
    expectRefused(run({"export", (folder() / "made/of/folders").string()}), 2, HasSubstr("no folder"));
    expectRefused(run({"export", (out() / "precious/out").string()}), 2, HasSubstr("no folder"));
    expectRefused(run({"export", ""}), 2, HasSubstr("''"));
    expectRefused(run({"export", "/proc/pelko"}), 1, HasSubstr("cannot make the folder /proc/pelko"));
    expectNothingMade();
}

TEST_F(ExportCommand, RefusesAFileThatIsNone) {
    const std::string place = (folder() / "made").string();
    const auto refused = [&](const fs::path& file, const testing::Matcher<std::string>& line) {
        expectRefused(run({"export", place, "--file", file.string()}), 1,
                      AllOf(HasSubstr(file.string()), line));
        expectNothingMade();
    };
    expectRefused(run({"export", place}), 1, AllOf(HasSubstr("no file"), HasSubstr(database().string())));
    refused(folder() / "nowhere.dat", HasSubstr("no file"));
    refused(folder(), HasSubstr("not a file"));
    writeFile(folder() / "diary", std::string(4096, 'x'));
    refused(folder() / "diary", HasSubstr("not a database"));
    writeFile(folder() / "empty", "");
    refused(folder() / "empty", AllOf(HasSubstr("no table tbl_msg"), HasSubstr("pelko inspect")));
    // It opens like a file, but its first byte cannot be read, whoever asks.
    fs::create_symlink("/proc/self/mem", folder() / "unreadable");
    refused(folder() / "unreadable", testing::_);
}

TEST_F(ExportCommand, RefusesADamagedFile) {
    runWell({"replay", sampleLog().string()});
    execute("PRAGMA wal_checkpoint(TRUNCATE)");
    const std::string place = (folder() / "made").string();
    std::string content = contentOf(database());
    const auto page = static_cast<std::size_t>(
        std::stoul(value("SELECT rootpage FROM sqlite_master WHERE name = 'tbl_msg'")));
    const auto size = static_cast<std::size_t>(std::stoul(value("PRAGMA page_size")));
    content.replace((page - 1) * size, size, size, '\x7f');
    writeFile(folder() / "damaged.dat", content);
    expectRefused(run({"export", place, "--file", (folder() / "damaged.dat").string()}), 1,
                  AllOf(HasSubstr("malformed"), HasSubstr("pelko salvage")));
    expectNothingMade();
}

TEST_F(ExportCommand, RefusesTablesThatLackAColumn) {
    runWell({"send", "user:bob", "x"});
    execute("ALTER TABLE tbl_msg RENAME COLUMN receiver_type TO kind");
    expectRefused(run({"export", (folder() / "made").string()}), 1, HasSubstr("receiver_type"));
    expectNothingMade();
}

}  // namespace
