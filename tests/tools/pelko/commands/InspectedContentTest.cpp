#include "tests/support/WithoutPrivileges.h"
#include "tests/tools/pelko/support/InspectCommand.h"

// What pelko inspect tells of the content of a store.

using namespace pelkotest;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

namespace {

class InspectedContent : public InspectCommand {};

TEST_F(InspectedContent, NamesColumnsThatDiffer) {
    runWell({"send", "user:bob", "hi"});
    execute(
        "ALTER TABLE tbl_msg DROP COLUMN extra_path; ALTER TABLE tbl_msg ADD COLUMN mood varchar(9);"
        "DROP TABLE tbl_user; CREATE TABLE tbl_user (nickname TEXT, username blob, icon_url text not null, "
        "icon_path text, ex_icon_path text, info text, gender INTEGER PRIMARY KEY, info_version integer)");
    EXPECT_THAT(differences(), UnorderedElementsAre(
                                   R"(missing column tbl_msg.extra_path "text" null)",
                                   R"x(extra column tbl_msg.mood null "varchar(9)")x",
                                   R"(other type tbl_user.username "text" "BLOB")",
                                   R"(other type tbl_user.icon_url "text" "TEXT not null")",
                                   R"(missing key tbl_user.username "column 1 of the key" "not in the key")",
                                   R"(extra key tbl_user.gender "not in the key" "column 1 of the key")",
                                   R"(other place tbl_user.nickname "place 2" "place 1")",
                                   R"(other place tbl_user.username "place 1" "place 2")"));
    EXPECT_THAT(findings(), ElementsAre("8 differences in the store's tables"));
    EXPECT_THAT(runWell({"inspect"}).out, HasSubstr("  other type      tbl_user.icon_url   text"));
}

TEST_F(InspectedContent, ComparesTypesWithoutCaseAndKeysByTheirOrder) {
    runWell({"send", "user:bob", "hi"});
    execute(
        "DROP TABLE tbl_msg_config; CREATE TABLE tbl_msg_config (target_type INTeger, target_id TEXT, "
        "msg_config "
        "Integer, primary key (target_id, target_type))");
    EXPECT_THAT(
        differences(),
        UnorderedElementsAre(
            R"(other place in the key tbl_msg_config.target_type "column 1 of the key" "column 2 of the key")",
            R"(other place in the key tbl_msg_config.target_id "column 2 of the key" "column 1 of the key")"));
}

TEST_F(InspectedContent, NamesTablesThatAreMissing) {
    runWell({"send", "user:bob", "hi"});
    execute("DROP TABLE tbl_group_list");
    EXPECT_THAT(differences(), ElementsAre("missing table tbl_group_list null null"));
    EXPECT_THAT(findings(), ElementsAre("1 table is missing"));
    EXPECT_EQ(inspect()["rows"]["tbl_group_list"], nullptr);
    EXPECT_THAT(runWell({"inspect"}).out, HasSubstr("  tbl_group_list    missing\n"));
    runWell({"sessions"});
    EXPECT_THAT(findings(), IsEmpty()) << "the opening has made it";
}

TEST_F(InspectedContent, NamesWhatIsNotTheStores) {
    runWell({"send", "user:bob", "hi"});
    execute(
        "CREATE TABLE \"o'x \x1b[31m\" (n); CREATE VIEW look AS SELECT 1; CREATE INDEX mine ON tbl_msg "
        "(text);"
        "CREATE TRIGGER act AFTER INSERT ON tbl_msg BEGIN DELETE FROM tbl_msg; END;"
        "CREATE INDEX idx_msg_with_0123456789abcdef ON tbl_msg (type)");
    EXPECT_THAT(
        differences(),
        UnorderedElementsAre("extra table o'x \x1b[31m null null", "view look null null",
                             R"(extra index mine null "on tbl_msg")", R"(trigger act null "on tbl_msg")"));
    EXPECT_THAT(findings(), ElementsAre("4 tables, views, triggers and indexes that are not the store's"));
    EXPECT_THAT(runWell({"inspect"}).out, AllOf(HasSubstr("o'x \\x1B[31m"), Not(HasSubstr("\x1b"))));
    EXPECT_EQ(value("SELECT count(*) FROM tbl_msg"), "1");
}

TEST_F(InspectedContent, SeesAViewInThePlaceOfATable) {
    runWell({"send", "user:bob", "hi"});
    execute("DROP TABLE tbl_group_list; CREATE VIEW tbl_group_list AS SELECT 7 AS group_id");
    EXPECT_THAT(differences(), UnorderedElementsAre("missing table tbl_group_list null null",
                                                    "view tbl_group_list null null"));
}

TEST_F(InspectedContent, TellsMissingIndexesAsNoFault) {
    runWell({"send", "user:bob", "hi"});
    execute("DROP INDEX idx_msg_room; DROP INDEX idx_relationship_name");
    EXPECT_THAT(differences(), ElementsAre("missing index idx_msg_room null null",
                                           "missing index idx_relationship_name null null"));
    EXPECT_THAT(runWell({"inspect"}).out,
                AllOf(HasSubstr("no damage: the next opening"), EndsWith("Nothing wrong was found.\n")));
}

TEST_F(InspectedContent, ListsConversations) {
    runWell({"receive", "user:bob", "1"});
    runWell({"receive", "user:bob", "2"});
    runWell({"receive", "service:9", "3"});
    execute("UPDATE tbl_msg SET date = 600 * db_id; DELETE FROM tbl_session WHERE target_id = '9'");
    runWell({"pin", "user:bob"});
    EXPECT_THAT(
        runWell({"inspect"}).out,
        HasSubstr("Conversations\n"
                  "  TARGET     NAME  MESSAGES  UNREAD  FIRST             LAST              PIN     SESSION\n"
                  "  user:bob                2       2  1970-01-01 00:10  1970-01-01 00:20  pinned  yes\n"
                  "  service:9               1       1  1970-01-01 00:30  1970-01-01 00:30          no\n"));
}

TEST_F(InspectedContent, CutsLongListsForPeople) {
    runWell({"send", "user:bob", "hi"});
    execute(
        "WITH n (i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n WHERE i < 60) "
        "INSERT INTO tbl_msg (date, sender_type, sender_id, receiver_type, receiver_id, media_path) "
        "SELECT i, 0, 'u' || i, 0, 'me', 'none' || i FROM n");
    const std::string out = runWell({"inspect"}).out;
    EXPECT_THAT(out, AllOf(HasSubstr("  user:u12"), Not(HasSubstr("  user:u11 ")),
                           HasSubstr("  ... and 11 more; --json has all\n"), HasSubstr("none20"),
                           Not(HasSubstr("none21")), HasSubstr("  ... and 40 more; --json has all\n")));
    const json found = inspect();
    EXPECT_EQ(found["conversations"].size(), 61U);
    EXPECT_EQ(found["attachments"]["missing"].size(), 60U);
}

TEST_F(InspectedContent, ForetellsWhatTheNextOpeningRepairs) {
    runWell({"receive", "user:bob", "hi"});
    makeMedia("there.jpg");
    makeMedia("there.amr");
    const std::string there = "'" + media("there.jpg") + "'";
    const std::string columns = "status, type, media_status, media_path, ex_media_path";
    insert(columns, "3, 0, 0, '', ''");        // sending
    insert(columns, "3, 0, 1, '', ''");        // sending; a text has no transfer
    insert(columns, "2, 1, 1, '', " + there);  // image: the second file decides
    insert(columns, "2, 1, 1, " + there + ", ''");
    insert(columns, "2, 1, 3, '', " + there);
    insert(columns, "2, 2, 1, '" + media("there.amr") + "', ''");  // audio: the first one
    insert(columns, "2, 2, 1, '', " + there);
    insert(columns, "2, 2, 3, '" + media("gone.amr") + "', ''");
    insert(columns, "2, 3, 1, '" + media("there.amr") + "', ''");  // user data stays as it is
    insert(columns, "2, 1, 1, '', 'users/me/media'");              // a folder is no file
    EXPECT_EQ(inspect()["unfinished"], json::parse(R"({"sending": 2, "transfers_with_file": 3,
                                          "transfers_without_file": 3, "failed_before": 1})"));
    EXPECT_THAT(findings(),
                AllOf(Contains("2 messages still being sent"), Contains("6 transfers that ended untold")));

    const Rows before = rows("SELECT db_id, status, media_status FROM tbl_msg");
    runWell({"sessions"});  // opens the store
    const Rows after = rows("SELECT db_id, status, media_status FROM tbl_msg");
    int failedSends = 0;
    int downloaded = 0;
    int failed = 0;
    for (std::size_t i = 0; i < before.size(); ++i) {
        failedSends += before[i][1] == "3" && after[i][1] == "5" ? 1 : 0;
        downloaded += before[i][2] != "2" && after[i][2] == "2" ? 1 : 0;
        failed += before[i][2] != "3" && after[i][2] == "3" ? 1 : 0;
    }
    EXPECT_EQ(failedSends, 2);
    EXPECT_EQ(downloaded, 3);
    EXPECT_EQ(failed, 3);
    EXPECT_EQ(inspect()["unfinished"], json::parse(R"({"sending": 0, "transfers_with_file": 0,
                                          "transfers_without_file": 0, "failed_before": 4})"));
}

TEST_F(InspectedContent, NamesAttachmentsThatAreNotThere) {
    runWell({"receive", "user:bob", "hi"});
    makeMedia("there.jpg");
    const std::string columns = "type, media_status, media_path, ex_media_path";
    insert(columns,
           "1, 2, '" + media("there.jpg") + "', '" + (dataDir() / media("there.jpg")).string() + "'");
    insert(columns, "1, 2, '" + media("gone.jpg") + "', '/nowhere/gone.jpg'");
    insert(columns,
           "1, 3, '" + media("thumb.jpg") + "', '" + media("big.jpg") + "'");  // not downloaded, but seen
    insert(columns, "2, 1, '" + media("voice.amr") + "', ''");
    insert(columns, "3, 3, 'users/me/media', x'00ff'");
    runWell({"users", "add", "ann", "--icon-path", "gone.png", "--icon-path-ex", media("there.jpg")});
    runWell({"rooms", "add", "5", "--icon-path-ex", "gone5.png"});
    runWell({"groups", "add", "77", "--icon-path", "gone77.png", "--icon-path-ex", "gone78.png"});
    const json found = inspect()["attachments"];
    EXPECT_EQ(found["named"], 14);
    EXPECT_EQ(found["not_downloaded"], 2);
    std::vector<std::string> missing;
    for (const json& file : found["missing"]) {
        missing.push_back(file["of"].get<std::string>() + ' ' + file["column"].get<std::string>() + ' ' +
                          file["path"].get<std::string>());
    }
    EXPECT_THAT(missing, ElementsAre("message 3 media_path users/me/media/gone.jpg",
                                     "message 3 ex_media_path /nowhere/gone.jpg",
                                     "message 4 media_path users/me/media/thumb.jpg",
                                     "message 6 media_path users/me/media",
                                     std::string("message 6 ex_media_path \0\xef\xbf\xbd", 28),
                                     "user:ann icon_path gone.png", "room:5 icon_path_ex gone5.png",
                                     "group:77 icon_path gone77.png", "group:77 icon_path_ex gone78.png"));
    EXPECT_THAT(findings(), Contains("9 named files that are not there"));
    EXPECT_THAT(runWell({"inspect"}).out, HasSubstr("  message 3, ex_media_path: /nowhere/gone.jpg\n"));
}

TEST_F(InspectedContent, NamesFilesThatNoRowNames) {
    runWell({"receive", "user:bob", "hi"});
    for (const char* const name :
         {"named.jpg", "left.jpg", "inner/left.jpg", "target.jpg", "behind a link/named.jpg"}) {
        makeMedia(name);
    }
    const fs::path folderOfMedia = dataDir() / "users/me/media";
    fs::create_symlink("target.jpg", folderOfMedia / "link.jpg");
    fs::create_symlink("behind a link", folderOfMedia / "way");
    fs::create_directory_symlink(folder(), folderOfMedia / "out of it");
    writeFile(database().string() + "-journal", "");
    writeFile(folder() / "elsewhere.jpg", "not below the folder");
    insert("type, media_status, media_path, ex_media_path",
           "1, 2, '" + media("../media/./named.jpg") + "', '" + media("link.jpg") + "'");
    insert("type, media_status, media_path, ex_media_path",
           "1, 2, '" + (dataDir() / media("way/named.jpg")).string() + "', ''");
    const json found = inspect()["files_without_row"];
    EXPECT_EQ(found["folder"], database().parent_path().string());
    EXPECT_EQ(found["files"], json::parse(R"([{"path": "media/inner/left.jpg", "size": 5},
                                              {"path": "media/left.jpg", "size": 5}])"));
    EXPECT_THAT(findings(), ElementsAre("2 files that no row names"));
    EXPECT_THAT(runWell({"inspect"}).out, AllOf(HasSubstr("         2  files, 10 bytes\n"),
                                                HasSubstr("  media/inner/left.jpg, 5 bytes\n")));
}

TEST_F(InspectedContent, LooksThroughAnotherFolder) {
    runWell({"receive", "user:bob", "hi"});
    makeMedia("left in the account.jpg");
    writeFile(folder() / "media/named.jpg", "12345");
    writeFile(folder() / "media/left \x1b[31m.jpg", "1");
    fs::copy(database(), folder() / "media/db.dat");
    fs::create_directory_symlink(folder() / "media", folder() / "way");
    insert("type, media_status, media_path", "2, 2, '" + (folder() / "media/named.jpg").string() + "'");
    for (const char* const name : {"media", "way", "media/../media/"}) {
        const json found = inspect({"--attachments", (folder() / name).string()});
        EXPECT_EQ(found["files_without_row"]["files"],
                  json::parse("[{\"path\": \"left \\u001b[31m.jpg\", \"size\": 1}]"));
    }
    EXPECT_THAT(runWell({"inspect", "--attachments", (folder() / "media").string()}).out,
                AllOf(HasSubstr("left \\x1B[31m.jpg"), Not(HasSubstr("\x1b"))));
}

TEST_F(InspectedContent, SaysWhichFolderItCouldNotLookInto) {
    runWell({"receive", "user:bob", "hi"});
    makeMedia("closed/left.jpg");
    fs::permissions(database(), fs::perms(0644));
    fs::permissions(dataDir() / "users/me/media/closed", fs::perms::none);
    letAnybodyRun();
    {
        const WithoutPrivileges anybody;
        EXPECT_EQ(inspect()["files_without_row"]["unreadable_folders"],
                  json::array({(dataDir() / "users/me/media/closed").string()}));
        EXPECT_THAT(findings(), ElementsAre("1 folder that could not be looked into"));
    }
    fs::permissions(dataDir() / "users/me/media/closed", fs::perms(0755));
}

TEST_F(InspectedContent, CountsTargetsOfUnknownKinds) {
    runWell({"receive", "user:bob", "hi"});
    runWell({"notifications", "add", "invite", "--group", "7", "--from", "ann"});
    runWell({"mute", "room:5"});
    EXPECT_THAT(findings(), IsEmpty());
    execute(
        "INSERT INTO tbl_msg (sender_type, receiver_type) VALUES (4, 0), (NULL, 'room'), (-1, 1);"
        "INSERT INTO tbl_session VALUES (9, 'x', 0, 0, 0); UPDATE tbl_msg_config SET target_type = 256;"
        "UPDATE tbl_notify SET from_type = 5");
    EXPECT_EQ(inspect()["unknown_kinds"], json::parse(R"([
        {"table": "tbl_msg", "column": "sender_type", "rows": 3},
        {"table": "tbl_msg", "column": "receiver_type", "rows": 1},
        {"table": "tbl_session", "column": "target_type", "rows": 1},
        {"table": "tbl_msg_config", "column": "target_type", "rows": 1},
        {"table": "tbl_notify", "column": "from_type", "rows": 1}])"));
    EXPECT_THAT(findings(), Contains("7 targets of unknown kinds"));
    EXPECT_THAT(runWell({"inspect"}).out, HasSubstr("         3  by tbl_msg.sender_type\n"));
}

TEST_F(InspectedContent, TellsMessagesThatNoConversationShows) {
    runWell({"receive", "user:alice", "to me"});
    execute(
        "INSERT INTO tbl_msg (date, text, status, sender_type, sender_id, receiver_type, receiver_id) VALUES "
        "(1, 'to bob', 1, 0, 'alice', 0, 'bob'), (2, 'to nobody known', 1, 0, 'carol', 9, 'x')");
    const json found = inspect();
    EXPECT_EQ(found["badge"]["unread"], 3);
    EXPECT_EQ(found["badge"]["between_others"], 2);
    EXPECT_EQ(found["badge"]["unread_without_session"], 0) << "nobody can mark them read";
    ASSERT_EQ(found["conversations"].size(), 2U);
    for (const json& conversation : found["conversations"]) {
        EXPECT_EQ(conversation["messages"], conversation["target"] == "user:alice" ? 1 : 2);
    }
    EXPECT_THAT(findings(), Contains("2 messages between two others"));
    EXPECT_THAT(runWell({"inspect"}).out, HasSubstr("         2  messages between two others\n"));
    runWell({"read", "user:alice"});
    EXPECT_EQ(inspect()["conversations"][0]["unread"].get<int>() +
                  inspect()["conversations"][1]["unread"].get<int>(),
              2);
}

TEST_F(InspectedContent, TellsWhyABadgeIsWrong) {
    runWell({"receive", "user:bob", "1", "--id", "11"});
    runWell({"receive", "user:bob", "2", "--id", "12"});
    runWell({"receive", "user:ann", "3", "--id", "13"});
    runWell({"receive", "user:cleo", "4", "--id", "14"});
    runWell({"receive", "room:5", "5", "--from", "ann", "--id", "15"});
    EXPECT_THAT(findings(), IsEmpty());
    execute(
        "DELETE FROM tbl_session WHERE target_id = 'bob';"                        // two unread, in no list
        "UPDATE tbl_session SET last_msg_id = 99 WHERE target_id = 'ann';"        // names no row
        "UPDATE tbl_session SET last_msg_id = 4294967299 WHERE target_id = '5';"  // row 3 in 32 bits: ann's
        "UPDATE tbl_session SET last_msg_id = 0 WHERE target_id = 'cleo';"        // none, though there is one
        "UPDATE tbl_msg SET msg_id = 12 WHERE db_id IN (1, 3);"
        "UPDATE tbl_msg SET msg_id = 0, date = -1 WHERE db_id IN (4, 5);"
        "INSERT INTO tbl_session VALUES (1, '6', 0, 0, 0)");  // an empty one has none rightly
    const json badge = inspect()["badge"];
    EXPECT_EQ(badge, json::parse(R"({
        "unread": 5, "unread_without_session": 2, "between_others": 0,
        "sessions_without_last_message": [
            {"target": "user:ann", "last_msg_id": 99, "message_of": null},
            {"target": "user:cleo", "last_msg_id": 0, "message_of": null},
            {"target": "room:5", "last_msg_id": 3, "message_of": "user:ann"}],
        "stored_twice": [{"msg_id": 12, "rows": 3}],
        "dated_in_the_future": {"messages": 2, "latest": "2106-02-07T06:28:15Z"}})"));
    EXPECT_THAT(
        runWell({"inspect"}).out,
        AllOf(HasSubstr("  user:ann: row 99 is not there\n"), HasSubstr("  room:5: row 3 is of user:ann\n"),
              HasSubstr("  id 12: 3 rows\n"), HasSubstr("the latest 2106-02-07 06:28\n"),
              HasSubstr("\n4 things to look at: 1 service id stored more than once ('pelko delete DBID' "
                        "removes what is too much); ")));
}

TEST_F(InspectedContent, TellsFreePages) {
    runWell({"receive", "user:bob", "hi"});
    execute("INSERT INTO tbl_user (username, info) VALUES ('x', zeroblob(40000)); DELETE FROM tbl_user");
    const json settings = inspect()["settings"];
    EXPECT_GE(settings["free_pages"], 9);
    EXPECT_EQ(settings["free_bytes"], settings["free_pages"].get<int>() * 4096);
    EXPECT_THAT(runWell({"inspect"}).out, AllOf(HasSubstr("bytes that 'pelko compact' returns"),
                                                EndsWith("Nothing wrong was found.\n")));
}

}  // namespace
