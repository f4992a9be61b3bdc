#include "tools/pelko/export/Attachments.h"

#include <sys/stat.h>

#include <set>
#include <sstream>

#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using nlohmann::json;
using pelkotool::attachmentName;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

class ExportedAttachments : public ToolTest {
protected:
    fs::path out() const { return folder() / "exported"; }

    /// A message in room 5 for each path.
    void storeMessagesWith(const std::vector<std::string>& paths) const {
        for (const std::string& path : paths) {
            runWell({"receive", "room:5", "x", "--from", "ann"});
            execute("UPDATE tbl_msg SET type = 1, media_path = '" + path +
                    "' WHERE db_id = (SELECT MAX(db_id) FROM tbl_msg)");
        }
    }

    json filesOf(const Arguments& options) const {
        fs::remove_all(out());
        Arguments all = {"export", out().string(), "--format", "json", "--json"};
        all.insert(all.end(), options.begin(), options.end());
        return runWell(all).json()["files"];
    }

    /// The places that the lines name for media_path, "" where there is none.
    std::vector<std::string> places() const {
        std::vector<std::string> found;
        std::istringstream content(contentOf(out() / "export.jsonl"));
        for (std::string line; std::getline(content, line);) {
            const json row = json::parse(line);
            if (row.value("table", "") == "tbl_msg") {
                found.push_back(row["_"].value("attachment", ""));
            }
        }
        return found;
    }

    std::set<std::string> copies() const {
        std::set<std::string> names;
        if (fs::exists(out() / "media")) {
            for (const fs::directory_entry& entry : fs::directory_iterator(out() / "media")) {
                names.insert(entry.path().filename().string());
            }
        }
        return names;
    }
};

TEST_F(ExportedAttachments, AreCopiedOnceEach) {
    writeFile(dataDir() / "files/a.jpg", "picture");
    writeFile(dataDir() / "files/deep/a.jpg", "another");
    storeMessagesWith(
        {"files/a.jpg", "files/deep/../a.jpg", (dataDir() / "files/a.jpg").string(), "files/deep/a.jpg", ""});
    execute("UPDATE tbl_msg SET ex_media_path = 'files/a.jpg' WHERE db_id = 4");
    EXPECT_EQ(filesOf({}),
              (json{{"copied", 2}, {"bytes", 14}, {"linked", 0}, {"missing", 0}, {"refused", 0}}));
    EXPECT_THAT(places(),
                ElementsAre("media/1-a.jpg", "media/1-a.jpg", "media/1-a.jpg", "media/2-a.jpg", ""));
    EXPECT_EQ(contentOf(out() / "media/1-a.jpg"), "picture");
    EXPECT_EQ(contentOf(out() / "media/2-a.jpg"), "another");
    EXPECT_THAT(contentOf(out() / "export.jsonl"), HasSubstr("\"ex_attachment\":\"media/1-a.jpg\""));
}

TEST_F(ExportedAttachments, AreThoseOfTheExportedMessages) {
    writeFile(dataDir() / "a.jpg", "picture");
    writeFile(dataDir() / "b.jpg", "picture");
    storeMessagesWith({"a.jpg", "b.jpg"});
    execute("UPDATE tbl_msg SET receiver_id = '6', date = 86400 WHERE db_id = 1");
    EXPECT_EQ(filesOf({"--only", "room:6"})["copied"], 1);
    EXPECT_THAT(copies(), ElementsAre("1-a.jpg"));
    EXPECT_EQ(filesOf({"--since", "1970-01-03"})["copied"], 1);
    EXPECT_THAT(copies(), ElementsAre("1-b.jpg"));
}

TEST_F(ExportedAttachments, ComeFromTheDataFolderAlone) {
    writeFile(folder() / "outside/secret.jpg", "precious");
    fs::create_directories(dataDir() / "files");
    fs::create_symlink(folder() / "outside/secret.jpg", dataDir() / "files/link.jpg");
    fs::create_directory_symlink(folder() / "outside", dataDir() / "files/folder");
    fs::create_symlink("/dev/zero", dataDir() / "files/zero.jpg");
    ASSERT_EQ(mkfifo((dataDir() / "files/pipe.jpg").c_str(), 0600), 0);
    storeMessagesWith({"../outside/secret.jpg", (folder() / "outside/secret.jpg").string(), "files/link.jpg",
                       "files/folder/secret.jpg", "files/zero.jpg", "files/pipe.jpg", "files", "/etc/passwd",
                       "/dev/zero", "users/me/../../../outside/secret.jpg"});
    for (const char* const media : {"copy", "link"}) {
        EXPECT_EQ(filesOf({"--media", media}),
                  (json{{"copied", 0}, {"bytes", 0}, {"linked", 0}, {"missing", 0}, {"refused", 10}}));
        EXPECT_THAT(places(), testing::Each(""));
        EXPECT_FALSE(fs::exists(out() / "media"));
    }
}

TEST_F(ExportedAttachments, AreNeverADatabase) {
    runWell({"--user", "ann", "send", "user:bob", "another account"});
    fs::copy_file(database("ann"), dataDir() / "backup.jpg");
    writeFile(dataDir() / "users/ann/db.dat-wal", "log");
    storeMessagesWith({"users/me/db.dat", "users/ann/db.dat", "users/ann/db.dat-wal", "backup.jpg"});
    EXPECT_EQ(filesOf({})["refused"], 4);
    EXPECT_EQ(filesOf({"--media", "link"})["refused"], 4);
    EXPECT_FALSE(fs::exists(out() / "media"));
}

TEST_F(ExportedAttachments, EndAtNoNulByte) {
    writeFile(dataDir() / "a.jpg", "picture");
    storeMessagesWith({"a.jpg"});
    execute("UPDATE tbl_msg SET media_path = CAST('a.jpg' || x'00' || '.png' AS TEXT)");
    EXPECT_EQ(filesOf({})["refused"], 1);
}

TEST_F(ExportedAttachments, MissingOnesAreCounted) {
    storeMessagesWith({"files/gone.jpg", "gone.jpg", "gone.jpg", std::string(300, 'x')});
    const json files = filesOf({});
    EXPECT_EQ(files["copied"], 0);
    EXPECT_EQ(files["missing"].get<int>() + files["refused"].get<int>(), 3);
    EXPECT_GE(files["missing"], 2);
    fs::remove_all(out());
    EXPECT_THAT(runWell({"export", out().string(), "--format", "json"}).out,
                HasSubstr("files           0 copied, "));
}

TEST_F(ExportedAttachments, AreLinkedToWhereTheyAre) {
    writeFile(dataDir() / "a.jpg", "picture");
    fs::create_symlink("a.jpg", dataDir() / "within.jpg");
    storeMessagesWith({"a.jpg", "within.jpg"});
    EXPECT_EQ(filesOf({"--media", "link"})["linked"], 2);
    EXPECT_THAT(places(), ElementsAre((dataDir() / "a.jpg").string(), (dataDir() / "a.jpg").string()));
    EXPECT_FALSE(fs::exists(out() / "media"));
}

TEST_F(ExportedAttachments, AreLeftOutWhenNoneAreAskedFor) {
    writeFile(dataDir() / "a.jpg", "picture");
    storeMessagesWith({"a.jpg", "gone.jpg"});
    EXPECT_EQ(filesOf({"--media", "none"}),
              (json{{"copied", 0}, {"bytes", 0}, {"linked", 0}, {"missing", 0}, {"refused", 0}}));
    EXPECT_THAT(places(), ElementsAre("", ""));
}

TEST_F(ExportedAttachments, OfAnyFileLieWhereDataDirSays) {
    writeFile(dataDir() / "a.jpg", "picture");
    storeMessagesWith({"a.jpg"});
    const Arguments all = {"export", out().string(), "--json", "--file", database().string()};
    writeFile(database().parent_path() / "a.jpg", "somebody's own picture");
    EXPECT_EQ(runExactly(all).json()["files"]["refused"], 1) << "not beside a file that was sent in";
    fs::remove_all(out());
    EXPECT_THAT(runExactly({"export", out().string(), "--file", database().string()}).out,
                HasSubstr("1 not taken: --data-dir names the folder that they are in"));
    EXPECT_EQ(filesOf({"--file", database().string()})["copied"], 1);
}

TEST_F(ExportedAttachments, AreNotTakenFromOtherAccounts) {
    writeFile(dataDir() / "users/other/secret.jpg", "picture");
    writeFile(dataDir() / "users/me/own.jpg", "picture");
    writeFile(dataDir() / "shared.jpg", "picture");
    storeMessagesWith(
        {"users/other/secret.jpg", "users/me/../other/secret.jpg", "users/me/own.jpg", "shared.jpg"});
    const json files = filesOf({});
    EXPECT_EQ(files["copied"], 2);
    EXPECT_EQ(files["refused"], 2);
    EXPECT_THAT(copies(), testing::UnorderedElementsAre("1-own.jpg", "2-shared.jpg"));
}

TEST(AttachmentName, KeepsWhatIsPlain) {
    EXPECT_EQ(attachmentName(7, "Photo_2024-01.tar.JPG"), "7-Photo_2024-01.tar.JPG");
}

TEST(AttachmentName, ReplacesEverythingElse) {
    EXPECT_EQ(attachmentName(1, "a b\xc3\xbc\"<script>'&?.png"), "1-a_b_script_.png");
    EXPECT_EQ(attachmentName(2, "..\\..\\x.png"), "2-.._.._x.png");
    EXPECT_EQ(attachmentName(3, "\n\x01\xff.gif"), "3-_.gif");
    EXPECT_EQ(attachmentName(4, ".png"), "4-.png");
}

TEST(AttachmentName, HasAtMostAHundredBytesAndKeepsItsEnding) {
    const std::string name = attachmentName(123456, std::string(300, 'x') + ".jpeg");
    EXPECT_EQ(name.size(), 100U);
    EXPECT_THAT(name, EndsWith("x.jpeg"));
    EXPECT_EQ(attachmentName(1, "x." + std::string(300, 'y')).size(), 100U);
}

TEST(AttachmentName, EndsInNothingThatABrowserRuns) {
    for (const char* const ending : {".html", ".htm",     ".svg", ".svgz", ".xml",   ".xhtml", ".xht",
                                     ".js",   ".mjs",     ".css", ".swf",  ".shtml", ".mhtml", ".HTML",
                                     ".sVg",  ".unknown", "",     ".",     ".html.", ".html ", ".php"}) {
        EXPECT_THAT(attachmentName(1, std::string("x") + ending), EndsWith(".bin")) << ending;
    }
    EXPECT_EQ(attachmentName(1, "x.html"), "1-x.html.bin");
}

}  // namespace
