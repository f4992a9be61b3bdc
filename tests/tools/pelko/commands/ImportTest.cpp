#include <signal.h>

#include <chrono>
#include <map>
#include <sstream>
#include <thread>

#include "tests/tools/pelko/support/ToolTest.h"
#include "tools/pelko/file/Tables.h"

using namespace pelkotest;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

long long entriesOf(const fs::path& folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

const std::string header = R"({"record":"export","format":1,"account":"me"})";

/// Every row of every table, with row ids, storage classes and bytes.
std::map<std::string, Rows> everythingIn(const fs::path& database) {
    std::map<std::string, Rows> all;
    for (const pelkotool::TableLayout& table : pelkotool::expectedTables()) {
        std::string sql = "SELECT rowid";
        for (const pelkotool::Column& column : table.columns) {
            const std::string name = column.name;
            sql += ", typeof(" + name + "), quote(" + name + "), hex(CAST(" + name + " AS BLOB))";
        }
        all[table.name] = rowsOf(database, sql + " FROM " + table.name + " ORDER BY rowid");
    }
    all["sqlite_sequence"] = rowsOf(database, "SELECT name, seq FROM sqlite_sequence");
    return all;
}

class ImportCommand : public ToolTest {
protected:
    fs::path out() const { return folder() / "exported"; }
    fs::path otherDataDir() const { return folder() / "other"; }
    fs::path otherDatabase() const { return otherDataDir() / "users/me/db.dat"; }

    /// Runs the tool with the other data folder.
    ToolRun runOther(const Arguments& arguments) const {
        Arguments all = {"--data-dir", otherDataDir().string()};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return runExactly(all);
    }

    ToolRun runOtherWell(const Arguments& arguments) const {
        ToolRun result = runOther(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.err, "");
        return result;
    }

    void exportAll(const Arguments& options = {}) const {
        fs::remove_all(out());
        Arguments all = {"export", out().string(), "--format", "json"};
        all.insert(all.end(), options.begin(), options.end());
        runWell(all);
    }

    /// A file of these lines.
    fs::path fileOf(const std::vector<std::string>& lines) const {
        std::string content;
        for (const std::string& line : lines) {
            content += line + '\n';
        }
        writeFile(folder() / "lines.jsonl", content);
        return folder() / "lines.jsonl";
    }

    void expectNothingImported() const { EXPECT_FALSE(fs::exists(otherDataDir())); }

    /// That the lines behind a good header are refused, with a line that names the file and the line.
    void expectLineRefused(const std::vector<std::string>& lines, int number,
                           const testing::Matcher<std::string>& reason) const {
        std::vector<std::string> all = {header};
        all.insert(all.end(), lines.begin(), lines.end());
        const fs::path file = fileOf(all);
        SCOPED_TRACE(lines.front().substr(0, 100));
        expectRefused(runOther({"import", file.string()}), 1,
                      AllOf(HasSubstr(file.string() + " line " + std::to_string(number) + ' '),
                            HasSubstr("nothing was stored"), reason));
        expectNothingImported();
    }

    /// Rows of every table with whatever SQLite can hold in them.
    void storeEverything() const {
        runWell({"replay", sampleLog().string()});
        execute(R"(
            INSERT INTO tbl_msg (db_id, msg_id, date, text, receiver_type, receiver_id, sender_type, sender_id,
                                 status)
            VALUES (-5, -9223372036854775808, -1, 'it''s "quoted" \ ' || char(10, 8364, 128512), 0, 'me', 0, 'bob', 1),
                   (9223372036854775807, 9223372036854775807, -2147483648, CAST(x'610062' AS TEXT), 77, 'x', 9, 'y', -1),
                   (90000, NULL, 0.5, CAST(x'ff00c3' AS TEXT), 9e999, x'', -9e999, x'00ff27', 'read'),
                   (90001, 5e-324, 1e300, x'', NULL, '', 3, NULL, 3),
                   (90002, 1, 2, '', 1, '05', 2, ' 5 ', 1);
            INSERT INTO tbl_relationship VALUES ('ann', 0), ('ann', 1), (NULL, NULL), ('o''brien', 'x'), ('', 2.5);
            DELETE FROM tbl_relationship WHERE rowid = 2;
            INSERT INTO tbl_user VALUES (NULL, NULL, '', x'01', '%s %n', 'i', 2, -1), (NULL, 'n', 1, 2, 3, 4, 5, 6);
            INSERT INTO tbl_room VALUES (-1, 'name', 'u', 'p', 'e', 1, 'i', -2, 4294967296, NULL);
            INSERT INTO tbl_group VALUES (9223372036854775807, 'g', 'u', 'p', 'e', 'i', 1, 2, 'o', 3, 4);
            INSERT INTO tbl_group_list VALUES (7), (NULL), (NULL);
            INSERT INTO tbl_session VALUES (0, 'bob', 90000, 1, 5), (77, 'x', 0, 0, 0), (NULL, NULL, 1, 2, 3),
                                           (1, x'35', 3, 4, 5);
            INSERT INTO tbl_notify (db_id, text, sender_id) VALUES (3, 'three', 'x'), (8, 'eight', 1.5);
            DELETE FROM tbl_notify WHERE db_id = 8;
            INSERT INTO tbl_last_msg_id VALUES ('k', 9223372036854775807), (NULL, 'x'), (x'6b', 1);
            INSERT INTO tbl_msg_config VALUES (0, 'bob', -1), (1, '5', 9e999), (NULL, NULL, NULL);
        )");
    }
};

TEST_F(ImportCommand, BringsBackEveryRow) {
    storeEverything();
    exportAll();
    runOtherWell({"import", out().string()});
    EXPECT_EQ(everythingIn(otherDatabase()), everythingIn(database()));
    EXPECT_THAT(everythingIn(otherDatabase()),
                testing::Each(testing::Pair(testing::_, Not(testing::IsEmpty()))));
    EXPECT_EQ(rowsOf(otherDatabase(), "PRAGMA integrity_check"), (Rows{{"ok"}}));
    EXPECT_EQ(rowsOf(otherDatabase(), "SELECT name, sql FROM sqlite_master ORDER BY name"),
              rows("SELECT name, sql FROM sqlite_master ORDER BY name"));
    EXPECT_EQ(entriesOf(otherDatabase().parent_path()), 1);
}

TEST_F(ImportCommand, BringsBackSessionsAndUnreadCounts) {
    runWell({"replay", sampleLog().string()});
    runWell({"receive", "user:bob", "hi"});
    runWell({"pin", "user:bob", "--priority", "3"});
    runWell({"send", "group:7", "hello"});
    runWell({"mute", "group:7"});
    exportAll();
    runOtherWell({"import", (out() / "export.jsonl").string()});
    for (const char* const command : {"sessions", "unread", "rooms", "friends", "groups"}) {
        EXPECT_EQ(runOtherWell({command, "--json"}).json(), runWell({command, "--json"}).json()) << command;
    }
    EXPECT_EQ(everythingIn(otherDatabase()), everythingIn(database()));
}

TEST_F(ImportCommand, ReplayGoesOnWhereItWas) {
    runWell({"replay", sampleLog().string()});
    exportAll();
    runOtherWell({"import", out().string()});
    EXPECT_EQ(runOtherWell({"replay", sampleLog().string(), "--json"}).json()["stored"], 0);
}

TEST_F(ImportCommand, BringsBackAPart) {
    runWell({"receive", "room:5", "one", "--from", "ann"});
    runWell({"receive", "room:6", "two", "--from", "ann"});
    runWell({"receive", "room:6", "three", "--from", "ann"});
    execute("UPDATE tbl_msg SET date = 86400 * db_id");
    exportAll({"--only", "room:6", "--since", "1970-01-04"});
    const json summary = runOtherWell({"import", out().string(), "--json"}).json();
    EXPECT_EQ(summary["rows"]["tbl_msg"], 1);
    EXPECT_EQ(summary["rows"]["tbl_session"], 1);
    EXPECT_EQ(rowsOf(otherDatabase(), "SELECT db_id, text FROM tbl_msg"), (Rows{{"3", "three"}}));
    EXPECT_EQ(rowsOf(otherDatabase(), "SELECT target_id, last_msg_id FROM tbl_session"), (Rows{{"6", "3"}}));
}

TEST_F(ImportCommand, GivesOutNoNotificationIdTwice) {
    for (int i = 0; i < 3; ++i) {
        runWell({"notifications", "add", "invite", "--group", "7", "--from", "ann"});
    }
    runWell({"notifications", "remove", "3", "2"});
    exportAll();
    runOtherWell({"import", out().string()});
    EXPECT_EQ(runOtherWell({"notifications", "add", "invite", "--group", "7", "--from", "ann", "--json"})
                  .json()["db_id"],
              4);
}

TEST_F(ImportCommand, GoesIntoAnAccountWithoutRows) {
    runWell({"send", "user:bob", "x"});
    exportAll();
    for (int i = 0; i < 9; ++i) {
        runOtherWell({"notifications", "add", "invite", "--group", "7", "--from", "ann"});
    }
    runOtherWell({"notifications", "remove", "1", "2", "3", "4", "5", "6", "7", "8", "9"});
    runOtherWell({"import", out().string()});
    EXPECT_EQ(rowsOf(otherDatabase(), "SELECT text FROM tbl_msg"), (Rows{{"x"}}));
    EXPECT_EQ(rowsOf(otherDatabase(), "SELECT seq FROM sqlite_sequence"), (Rows{{"9"}}));
}

TEST_F(ImportCommand, GoesIntoAnAccountThatHasAFolderOrAnEmptyFileAlone) {
    runWell({"send", "user:bob", "x"});
    exportAll();
    writeFile(otherDatabase().parent_path() / "picture.jpg", "precious");
    runOtherWell({"import", out().string()});
    EXPECT_EQ(everythingIn(otherDatabase()), everythingIn(database()));
    EXPECT_EQ(contentOf(otherDatabase().parent_path() / "picture.jpg"), "precious");
    fs::remove(otherDatabase());
    writeFile(otherDatabase(), "");
    runOtherWell({"import", out().string()});
    EXPECT_EQ(everythingIn(otherDatabase()), everythingIn(database()));
}

TEST_F(ImportCommand, TellsTheRows) {
    runWell({"send", "user:bob", "x"});
    exportAll();
    EXPECT_EQ(runOtherWell({"import", out().string()}).out,
              "TABLE             ROWS\n"
              "tbl_msg              1\n"
              "tbl_relationship     0\n"
              "tbl_user             0\n"
              "tbl_room             0\n"
              "tbl_group            0\n"
              "tbl_group_list       0\n"
              "tbl_session          1\n"
              "tbl_notify           0\n"
              "tbl_last_msg_id      0\n"
              "tbl_msg_config       0\n"
              "Stored in " +
                  otherDatabase().string() + ".\n");
}

TEST_F(ImportCommand, TellsThatTheRowsAreOfAnotherAccount) {
    runWell({"--user", "bob", "send", "user:ann", "x"});
    exportAll({"--user", "bob"});
    EXPECT_THAT(runOtherWell({"import", out().string()}).out, HasSubstr("--user 'bob'"));
    const json summary = runOtherWell({"--user", "bob", "import", out().string(), "--json"}).json();
    EXPECT_EQ(summary["account"], "bob");
    EXPECT_EQ(summary["exported_account"], "bob");
    EXPECT_EQ(summary["database"], (otherDataDir() / "users/bob/db.dat").string());
    EXPECT_EQ(runOtherWell({"--user", "bob", "sessions", "--json"}).json()[0]["last_message"]["text"], "x");
}

TEST_F(ImportCommand, DrawsAProgressBarOnATerminal) {
    const fs::path file =
        fileOf({header, R"({"table":"tbl_room","rowid":5})", R"({"record":"end","rows":1})"});
    const ToolRun run = runOnTerminal({"import", file.string()});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.err, AllOf(HasSubstr("%  1 row"), testing::EndsWith("\r\x1b[K")));
}

TEST_F(ImportCommand, RefusesAnAccountWithRowsInAnyTable) {
    runWell({"send", "user:bob", "x"});
    exportAll();
    const std::pair<const char*, const char*> rowsOfTables[] = {
        {"tbl_msg", "(db_id, status) VALUES (1, 3)"},  // the store would repair it
        {"tbl_relationship", "VALUES ('a', 1)"},
        {"tbl_user", "(username) VALUES ('a')"},
        {"tbl_room", "(room_id) VALUES (1)"},
        {"tbl_group", "(group_id) VALUES (1)"},
        {"tbl_group_list", "VALUES (1)"},
        {"tbl_session", "(target_id) VALUES ('1')"},
        {"tbl_notify", "(type) VALUES (1)"},
        {"tbl_last_msg_id", "VALUES ('a', 1)"},
        {"tbl_msg_config", "VALUES (0, 'a', 1)"}};
    for (const auto& [table, row] : rowsOfTables) {
        SCOPED_TRACE(table);
        execute("DELETE FROM tbl_msg; DELETE FROM tbl_session");
        execute(std::string("INSERT INTO ") + table + ' ' + row);
        const auto before = everythingIn(database());
        expectRefused(run({"import", out().string()}), 1,
                      AllOf(HasSubstr(database().string() + " has rows in " + table), HasSubstr("--user")));
        EXPECT_EQ(everythingIn(database()), before);
        execute(std::string("DELETE FROM ") + table);
    }
}

TEST_F(ImportCommand, RefusesAFileThatIsNone) {
    const auto refused = [&](const std::string& file, const testing::Matcher<std::string>& line) {
        expectRefused(runOther({"import", file}), 1, AllOf(HasSubstr(file), line));
        expectNothingImported();
    };
    refused((folder() / "nowhere").string(), HasSubstr("no file"));
    fs::create_directory(folder() / "folder");
    refused((folder() / "folder").string(), HasSubstr("export.jsonl"));
    refused("/dev/zero", HasSubstr("is not a file"));
    refused("/proc/self/mem", HasSubstr("cannot read"));
    refused(fileOf({}).string(), HasSubstr("is empty"));
    expectRefused(runOther({"import", ""}), 2, HasSubstr("''"));
    expectRefused(runOther({"import"}), 2, HasSubstr("FILE"));
    expectRefused(runOther({"import", "a", "b"}), 2, HasSubstr("'b'"));
}

TEST_F(ImportCommand, RefusesAnotherHeader) {
    const auto refused = [&](const std::string& line, const std::string& words) {
        const fs::path file = fileOf({line, R"({"record":"end","rows":0})"});
        expectRefused(runOther({"import", file.string()}), 1,
                      AllOf(HasSubstr(file.string() + " line 1 "), HasSubstr(words)));
        expectNothingImported();
    };
    refused(R"({"table":"tbl_room","rowid":5})", "is not the header of an export");
    refused(R"({"record":"end","rows":0})", "is not the header of an export");
    refused(R"({"record":"export"})", "is not of format 1");
    refused(R"({"record":"export","format":2})", "is not of format 1");
    refused(R"({"record":"export","format":"1"})", "is not of format 1");
    refused("SQLite format 3", "is no JSON");
    refused("", "is no JSON");
}

TEST_F(ImportCommand, RefusesAFileThatWasCut) {
    runWell({"replay", sampleLog().string()});
    exportAll();
    const std::string content = contentOf(out() / "export.jsonl");
    const std::size_t end = content.rfind("{\"record\":\"end\"");
    const auto refused = [&](const std::string& part, const std::string& words) {
        writeFile(folder() / "part.jsonl", part);
        expectRefused(runOther({"import", (folder() / "part.jsonl").string()}), 1,
                      AllOf(HasSubstr("part.jsonl "), HasSubstr(words), HasSubstr("nothing was stored")));
        expectNothingImported();
    };
    refused(content.substr(0, end), "breaks off behind line");
    refused(content.substr(0, end / 2), "is no JSON");
    refused(content.substr(0, content.find('\n') + 1), "breaks off behind line 1");
    const std::size_t second = content.find('\n', content.find('\n') + 1);
    refused(content.substr(0, content.find('\n')) + content.substr(second), "the number of rows before it");
    refused(content + content.substr(end), "stands behind the end");
    refused(content + "\n", "stands behind the end");
}

TEST_F(ImportCommand, RefusesLinesThatAreNoRows) {
    expectLineRefused({"x"}, 2, HasSubstr("is no JSON"));
    expectLineRefused({"[]"}, 2, HasSubstr("is no JSON object"));
    expectLineRefused({"{}"}, 2, HasSubstr("names no table"));
    expectLineRefused({R"({"table":5,"rowid":1})"}, 2, HasSubstr("names no table"));
    expectLineRefused({R"({"table":"tbl_secret","rowid":1})"}, 2, HasSubstr("tbl_secret"));
    expectLineRefused({R"({"table":"sqlite_master","rowid":1})"}, 2, HasSubstr("sqlite_master"));
    expectLineRefused({R"({"table":"tbl_room"})"}, 2, HasSubstr("has no rowid"));
    expectLineRefused({R"({"table":"tbl_room","rowid":1.5})"}, 2, HasSubstr("has no rowid"));
    expectLineRefused({R"({"record":"middle"})"}, 2, HasSubstr("is neither a row nor the end"));
    expectLineRefused({R"({"record":"end"})"}, 2, HasSubstr("the number of rows before it"));
    expectLineRefused({R"({"record":"end","rows":1})"}, 2, HasSubstr("the number of rows before it"));
    expectLineRefused({R"({"table":"sqlite_sequence","name":"tbl_msg","seq":5})"}, 2, HasSubstr("sequence"));
    expectLineRefused({R"({"table":"sqlite_sequence","name":"tbl_notify","seq":-5})"}, 2,
                      HasSubstr("sequence"));
    expectLineRefused({R"({"table":"sqlite_sequence","name":"tbl_notify"})"}, 2, HasSubstr("sequence"));
}

TEST_F(ImportCommand, RefusesRowsThatTheStoreCannotHold) {
    const std::string good = R"({"table":"tbl_room","rowid":5,"room_id":5})";
    expectLineRefused({good, R"({"table":"tbl_room","rowid":6,"color":"red"})"}, 3,
                      AllOf(HasSubstr("the column color"), HasSubstr("tbl_room")));
    expectLineRefused({good, R"({"table":"tbl_room","rowid":6,"color\u0000\u001b[31m":1})"}, 3,
                      HasSubstr("the column color\\x00\\x1B[31m, which"));
    expectLineRefused({good, R"({"table":"tbl_room","rowid":6,"name":true})"}, 3, HasSubstr("name"));
    expectLineRefused({good, R"({"table":"tbl_room","rowid":6,"name":["a"]})"}, 3, HasSubstr("name"));
    expectLineRefused({good, R"({"table":"tbl_room","rowid":6,"name":{"text_hex":"f"}})"}, 3,
                      HasSubstr("text_hex in name"));
    expectLineRefused({good, R"({"table":"tbl_room","rowid":6,"name":"a","name":"b"})"}, 3,
                      HasSubstr("has name twice"));
    expectLineRefused({good, R"({"table":"tbl_room","rowid":6,"room_id":7})"}, 3,
                      HasSubstr("another room_id than rowid"));
    expectLineRefused({good, R"({"table":"tbl_room","rowid":6,"room_id":null})"}, 3, HasSubstr("room_id"));
    expectLineRefused({good, good}, 3, HasSubstr("UNIQUE constraint failed: tbl_room.room_id"));
    expectLineRefused({R"({"table":"tbl_user","rowid":1,"username":"a"})",
                       R"({"table":"tbl_user","rowid":2,"username":"a"})"},
                      3, HasSubstr("UNIQUE constraint failed: tbl_user.username"));
    expectLineRefused({good, R"({"table":"tbl_msg","rowid":6,"date":9223372036854775808})"}, 3,
                      HasSubstr("more than 64 bits in date"));
    expectLineRefused({good, R"({"table":"tbl_msg","rowid":6,"date":1e999})"}, 3, HasSubstr("too large"));
    expectLineRefused({good, R"({"table":"tbl_msg","rowid":6,"_":)" + std::string(100'000, '[')}, 3,
                      HasSubstr("nested too deep"));
}

TEST_F(ImportCommand, RefusesValuesThatTheStoreWouldConvert) {
    expectLineRefused({R"({"table":"tbl_msg","rowid":6,"date":"5"})"}, 2,
                      AllOf(HasSubstr("text in date"), HasSubstr("integer")));
    expectLineRefused({R"({"table":"tbl_msg","rowid":6,"date":5.0})"}, 2, HasSubstr("real in date"));
    expectLineRefused({R"({"table":"tbl_msg","rowid":6,"text":5})"}, 2, HasSubstr("integer in text"));
    expectLineRefused({R"({"table":"tbl_relationship","rowid":6,"block_state":"1"})"}, 2,
                      HasSubstr("text in block_state"));
}

TEST_F(ImportCommand, TakesRowsWithoutSomeColumns) {
    const fs::path file = fileOf({header, R"({"table":"tbl_room","name":"n","_":{"x":[1]},"rowid":5})",
                                  R"({"record":"end","rows":1})"});
    runOtherWell({"import", file.string()});
    EXPECT_EQ(rowsOf(otherDatabase(), "SELECT room_id, name, typeof(info) FROM tbl_room"),
              (Rows{{"5", "n", "null"}}));
}

TEST_F(ImportCommand, LeavesAnEmptyAccountEmptyWhenItFails) {
    runWell({"send", "user:bob", "x"});
    execute("DELETE FROM tbl_msg; DELETE FROM tbl_session");
    const fs::path file = fileOf({header, R"({"table":"tbl_room","rowid":5})", "x"});
    expectRefused(run({"import", file.string()}), 1, HasSubstr("line 3 is no JSON"));
    EXPECT_EQ(rows("SELECT * FROM tbl_room"), Rows{});
    EXPECT_EQ(runWell({"rooms", "--json"}).json(), json::array());
}

TEST_F(ImportCommand, LeavesAFolderThatWasThereWhenItFails) {
    const fs::path file = fileOf({header, "x"});
    writeFile(otherDatabase().parent_path() / "picture.jpg", "precious");
    expectRefused(runOther({"import", file.string()}), 1, HasSubstr("line 2 is no JSON"));
    EXPECT_EQ(entriesOf(otherDatabase().parent_path()), 1);
    EXPECT_EQ(contentOf(otherDatabase().parent_path() / "picture.jpg"), "precious");
}

TEST_F(ImportCommand, RefusesTheRemainsOfALostDatabase) {
    const fs::path file = fileOf({header, R"({"record":"end","rows":0})"});
    writeFile(otherDatabase().string() + "-wal", "remains");
    expectRefused(runOther({"import", file.string()}), 1,
                  AllOf(HasSubstr(otherDatabase().string() + "-wal"), HasSubstr("move it away")));
    EXPECT_FALSE(fs::exists(otherDatabase()));
}

TEST_F(ImportCommand, RefusesAnAccountThatCannotBe) {
    const std::string file = fileOf({header, R"({"record":"end","rows":0})"}).string();
    expectRefused(runExactly({"--data-dir", "/proc/pelko", "import", file}), 1,
                  AllOf(HasSubstr("/proc/pelko"), HasSubstr("--data-dir")));
    expectRefused(runOther({"--user", "", "import", file}), 2, HasSubstr("--user ''"));
    expectRefused(runOther({"--user", "o'brien", "import", file}), 2, HasSubstr("o'brien"));
    expectNothingImported();
    writeFile(otherDataDir(), "precious");
    expectRefused(runOther({"import", file}), 1,
                  AllOf(HasSubstr("Not a directory"), HasSubstr("--data-dir")));
    EXPECT_EQ(contentOf(otherDataDir()), "precious");
    fs::remove(otherDataDir());
    fs::create_directories(otherDatabase());
    expectRefused(runOther({"import", file}), 1, HasSubstr("it is not a file"));
    fs::remove(otherDatabase());
    writeFile(otherDatabase(), std::string(4096, 'x'));
    expectRefused(runOther({"import", file}), 1,
                  AllOf(HasSubstr(otherDatabase().string()), HasSubstr("not a database")));
    EXPECT_EQ(contentOf(otherDatabase()), std::string(4096, 'x'));
}

TEST_F(ImportCommand, LeavesNothingWhenItIsInterrupted) {
    std::string content = header + '\n';
    for (int i = 1; i <= 100'000; ++i) {
        content +=
            R"({"table":"tbl_room","rowid":)" + std::to_string(i) + R"(,"name":"one of very many"})" + '\n';
    }
    writeFile(folder() / "long.jsonl", content);
    for (const int signal : {SIGINT, SIGTERM}) {
        const ToolRun stopped = runStopped({"import", (folder() / "long.jsonl").string()}, signal,
                                           [this] { return fs::exists(dataDir() / "users/me"); });
        expectRefused(stopped, 130, HasSubstr("stopped as asked; nothing was stored"));
        EXPECT_FALSE(fs::exists(dataDir()));
    }
}

}  // namespace
