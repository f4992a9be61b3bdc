#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/support/StoreTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Access = PelkoDBManagerTestAccess;

namespace {

constexpr char selectTransfers[] =
    "SELECT db_id, type, media_path, ex_media_path FROM tbl_msg WHERE media_status in (1, 3) and type in (2, "
    "1)";
constexpr char selectSends[] = "SELECT db_id FROM tbl_msg WHERE status = 3";

/// Message rows as a previous run left them behind.
class UpgradeTest : public StoreTest {
protected:
    void addMedia(int dbID, int type, int mediaStatus, const std::string& path, const std::string& pathEx) {
        execute(
            "INSERT INTO tbl_msg (db_id, type, media_status, media_path, ex_media_path, status) VALUES (" +
            std::to_string(dbID) + ", " + std::to_string(type) + ", " + std::to_string(mediaStatus) + ", '" +
            path + "', '" + pathEx + "', 2)");
    }
    void addWithStatus(int dbID, int status) {
        execute("INSERT INTO tbl_msg (db_id, type, status) VALUES (" + std::to_string(dbID) + ", 0, " +
                std::to_string(status) + ")");
    }
    void upgrade() {
        forget();
        Access::nessesaryUpdate(db());
    }
    Value mediaStatus(int dbID) const {
        return value("SELECT media_status FROM tbl_msg WHERE db_id = " + std::to_string(dbID));
    }
    Value status(int dbID) const {
        return value("SELECT status FROM tbl_msg WHERE db_id = " + std::to_string(dbID));
    }
};

TEST_F(UpgradeTest, EmptyTableRunsBothQueriesAndChangesNothing) {
    upgrade();
    EXPECT_THAT(statements(), ElementsAre(selectTransfers, selectSends));
    EXPECT_THAT(platform().existAsked, IsEmpty());
    expectNothingLogged();
}

// ---- interrupted media transfers

TEST_F(UpgradeTest, DownloadingAudioWhoseFileIsThereIsDownloaded) {
    addMedia(1, PelkoMessageTypeAudio, PelkoMediaStatusDownloading, "media/a.amr", "media/other");
    platform().existing = {"/app/media/a.amr"};
    upgrade();
    EXPECT_EQ(mediaStatus(1), "2");
    EXPECT_THAT(platform().existAsked, ElementsAre("/app/media/a.amr"));
    EXPECT_THAT(
        statements(),
        ElementsAre(selectTransfers, "UPDATE tbl_msg SET media_status = 2 WHERE db_id = 1", selectSends));
    expectNothingLogged();
}

TEST_F(UpgradeTest, DownloadingAudioWhoseFileIsMissingHasFailed) {
    addMedia(1, PelkoMessageTypeAudio, PelkoMediaStatusDownloading, "media/a.amr", "media/other");
    platform().existing = {"/app/media/other", "media/a.amr"};
    upgrade();
    EXPECT_EQ(mediaStatus(1), "3");
    EXPECT_THAT(
        statements(),
        ElementsAre(selectTransfers, "UPDATE tbl_msg SET media_status = 3 WHERE db_id = 1", selectSends));
}

TEST_F(UpgradeTest, FailedAudioWhoseFileHasAppearedIsDownloaded) {
    addMedia(1, PelkoMessageTypeAudio, PelkoMediaStatusDownloadFailed, "media/a.amr", "");
    platform().existing = {"/app/media/a.amr"};
    upgrade();
    EXPECT_EQ(mediaStatus(1), "2");
}

TEST_F(UpgradeTest, FailedImageWhoseExtraFileHasAppearedIsDownloaded) {
    addMedia(1, PelkoMessageTypeImage, PelkoMediaStatusDownloadFailed, "media/small.jpg", "media/full.jpg");
    platform().existing = {"/app/media/full.jpg"};
    upgrade();
    EXPECT_EQ(mediaStatus(1), "2");
    EXPECT_THAT(platform().existAsked, ElementsAre("/app/media/full.jpg"));
}

TEST_F(UpgradeTest, ImageWithItsFirstFileAloneHasFailed) {
    addMedia(1, PelkoMessageTypeImage, PelkoMediaStatusDownloading, "media/small.jpg", "media/full.jpg");
    platform().existing = {"/app/media/small.jpg"};
    upgrade();
    EXPECT_EQ(mediaStatus(1), "3");
    EXPECT_THAT(platform().existAsked, ElementsAre("/app/media/full.jpg"));
}

TEST_F(UpgradeTest, StillFailedTransferIsWrittenAllTheSame) {
    addMedia(1, PelkoMessageTypeImage, PelkoMediaStatusDownloadFailed, "", "media/full.jpg");
    upgrade();
    EXPECT_EQ(mediaStatus(1), "3");
    EXPECT_THAT(
        statements(),
        ElementsAre(selectTransfers, "UPDATE tbl_msg SET media_status = 3 WHERE db_id = 1", selectSends));
}

TEST_F(UpgradeTest, PathsOutsideTheDataRootAndMissingPathsAreAskedAsTheyAre) {
    addMedia(1, PelkoMessageTypeAudio, PelkoMediaStatusDownloading, "/sdcard/a.amr", "");
    addMedia(2, PelkoMessageTypeImage, PelkoMediaStatusDownloading, "media/small.jpg", "");
    execute("INSERT INTO tbl_msg (db_id, type, media_status) VALUES (3, 2, 1)");  // paths are NULL
    platform().existing = {"/sdcard/a.amr"};
    upgrade();
    EXPECT_THAT(platform().existAsked, ElementsAre("/sdcard/a.amr", "", ""));
    EXPECT_EQ(mediaStatus(1), "2");
    EXPECT_EQ(mediaStatus(2), "3");
    EXPECT_EQ(mediaStatus(3), "3");
}

TEST_F(UpgradeTest, OtherKindsOfMessagesAreNeverTouched) {
    const std::vector<int> kinds = {PelkoMessageTypeText, PelkoMessageTypeUserData,
                                    PelkoMessageTypeJudgeService};
    for (int mediaState = PelkoMediaStatusCreated; mediaState <= PelkoMediaStatusDownloadFailed;
         ++mediaState) {
        for (const int kind : kinds) {
            addMedia(10 * kind + mediaState + 1, kind, mediaState, "media/a", "media/a");
        }
    }
    platform().existing = {"/app/media/a"};
    const std::vector<Row> before = rows("SELECT * FROM tbl_msg");
    upgrade();
    EXPECT_EQ(rows("SELECT * FROM tbl_msg"), before);
    EXPECT_THAT(statements(), ElementsAre(selectTransfers, selectSends));
    EXPECT_THAT(platform().existAsked, IsEmpty());
}

TEST_F(UpgradeTest, CreatedAndDownloadedMediaAreNeverTouched) {
    addMedia(1, PelkoMessageTypeAudio, PelkoMediaStatusCreated, "media/a", "");
    addMedia(2, PelkoMessageTypeImage, PelkoMediaStatusDownloaded, "", "media/missing");
    platform().existing = {"/app/media/a"};
    upgrade();
    EXPECT_EQ(mediaStatus(1), "0");
    EXPECT_EQ(mediaStatus(2), "2");
    EXPECT_THAT(platform().existAsked, IsEmpty());
}

TEST_F(UpgradeTest, EveryTransferIsChangedByItsOwnStatementAndNoPathIsRewritten) {
    addMedia(1, PelkoMessageTypeAudio, PelkoMediaStatusDownloading, "media/a", "media/b");
    addMedia(2, PelkoMessageTypeImage, PelkoMediaStatusDownloading, "/app/media/c", "media/d");
    addMedia(3, PelkoMessageTypeAudio, PelkoMediaStatusDownloadFailed, "media/e", "media/f");
    platform().existing = {"/app/media/a", "/app/media/d"};
    const std::vector<Row> paths = rows("SELECT media_path, ex_media_path, status, type FROM tbl_msg");
    upgrade();
    EXPECT_THAT(statements(),
                ElementsAre(selectTransfers, "UPDATE tbl_msg SET media_status = 2 WHERE db_id = 1",
                            "UPDATE tbl_msg SET media_status = 2 WHERE db_id = 2",
                            "UPDATE tbl_msg SET media_status = 3 WHERE db_id = 3", selectSends));
    EXPECT_EQ(rows("SELECT media_path, ex_media_path, status, type FROM tbl_msg"), paths);
}

TEST_F(UpgradeTest, RowIdsAreTakenAs64Bits) {
    execute("INSERT INTO tbl_msg (db_id, type, media_status, status) VALUES (9007199254740993, 2, 1, 3)");
    upgrade();
    EXPECT_THAT(
        statements(),
        ElementsAre(selectTransfers, "UPDATE tbl_msg SET media_status = 3 WHERE db_id = 9007199254740993",
                    selectSends, "UPDATE tbl_msg SET status = 5 WHERE db_id = 9007199254740993"));
}

// ---- interrupted sends

TEST_F(UpgradeTest, SendingBecomesSendingFailedAndNoOtherStateChanges) {
    for (int state = PelkoMessageStatusCreated; state <= PelkoMessageStatusSendingFailed; ++state) {
        addWithStatus(state + 1, state);
    }
    addWithStatus(7, PelkoMessageStatusSending);
    upgrade();
    EXPECT_EQ(rows("SELECT status FROM tbl_msg ORDER BY db_id"),
              (std::vector<Row>{{"0"}, {"1"}, {"2"}, {"5"}, {"4"}, {"5"}, {"5"}}));
    EXPECT_THAT(statements(),
                ElementsAre(selectTransfers, selectSends, "UPDATE tbl_msg SET status = 5 WHERE db_id = 4",
                            "UPDATE tbl_msg SET status = 5 WHERE db_id = 7"));
    expectNothingLogged();
}

// ---- when it runs

TEST_F(UpgradeTest, RunsAtEverySetUp) {
    addMedia(1, PelkoMessageTypeAudio, PelkoMediaStatusDownloading, "media/a", "");
    addWithStatus(2, PelkoMessageStatusSending);
    reopen();
    EXPECT_EQ(mediaStatus(1), "3");
    EXPECT_EQ(status(2), "5");
    expectNothingLogged();

    platform().existing = {"/app/media/a"};  // the file appears between two runs
    execute("UPDATE tbl_msg SET status = 3 WHERE db_id = 2");
    reopen();
    EXPECT_EQ(mediaStatus(1), "2");
    EXPECT_EQ(status(2), "5");
}

TEST_F(UpgradeTest, NeitherPassOpensATransaction) {
    addMedia(1, PelkoMessageTypeAudio, PelkoMediaStatusDownloading, "media/a", "");
    addWithStatus(2, PelkoMessageStatusSending);
    db().beginTransaction();  // would refuse one within
    upgrade();
    expectNothingLogged();
    db().commiteTransaction();
    EXPECT_EQ(mediaStatus(1), "3");
    EXPECT_EQ(status(2), "5");
}

// ---- failures

TEST_F(UpgradeTest, FailureOfTheFirstPassIsLoggedAndTheSecondStillRuns) {
    changeTables(
        "DROP TABLE tbl_msg;"
        "CREATE TABLE tbl_msg (db_id integer primary key, type integer, status integer, media_path text,"
        " ex_media_path text);"
        "INSERT INTO tbl_msg (db_id, status) VALUES (1, 3)");
    upgrade();
    expectFailureLogged("nessesaryUpdate", HasSubstr("no such column: media_status"));
    EXPECT_EQ(status(1), "5");
}

TEST_F(UpgradeTest, FailureOfTheSecondPassIsLoggedAfterTheFirstHasRun) {
    changeTables(
        "DROP TABLE tbl_msg;"
        "CREATE TABLE tbl_msg (db_id integer primary key, type integer, media_status integer,"
        " media_path text, ex_media_path text);"
        "INSERT INTO tbl_msg VALUES (1, 2, 1, 'a', 'b')");
    upgrade();
    expectFailureLogged("nessesaryUpdate", HasSubstr("no such column: status"));
    EXPECT_EQ(mediaStatus(1), "3");
}

TEST_F(UpgradeTest, MissingTableFailsBothPasses) {
    changeTables("DROP TABLE tbl_msg");
    upgrade();
    const std::string line = "nessesaryUpdate failed, exception in (no such table: tbl_msg).";
    EXPECT_THAT(platform().file, ElementsAre(line, line));
    EXPECT_THAT(platform().console, ElementsAre("[pelko]" + line, "[pelko]" + line));
}

TEST_F(UpgradeTest, MakesNoReadinessCheck) {
    close();
    upgrade();
    EXPECT_THAT(platform().file, ElementsAre(testing::StartsWith("nessesaryUpdate failed, exception in ("),
                                             testing::StartsWith("nessesaryUpdate failed, exception in (")));
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(UpgradeTest, RowsChangedBeforeAFailureStayChanged) {
    // Reading the second row's path overflows.
    changeTables(
        "DROP TABLE tbl_msg;"
        "CREATE TABLE tbl_msg (db_id integer primary key, type integer, media_status integer, status integer,"
        " ex_media_path text);"
        "INSERT INTO tbl_msg VALUES (1, 2, 1, 3, ''), (2, 2, 1, 2, ''), (3, 2, 1, 3, '');"
        "ALTER TABLE tbl_msg ADD COLUMN media_path text"
        " AS (abs(CASE db_id WHEN 2 THEN -9223372036854775808 ELSE 0 END)) VIRTUAL");
    upgrade();
    expectFailureLogged("nessesaryUpdate", HasSubstr("integer overflow"));
    EXPECT_EQ(rows("SELECT media_status, status FROM tbl_msg"),
              (std::vector<Row>{{"3", "5"}, {"1", "2"}, {"1", "5"}}));
}

TEST_F(UpgradeTest, ARowThatCannotBeChangedIsReportedByTheStatusUpdateAndTheNextOnesFollow) {
    addMedia(1, PelkoMessageTypeAudio, PelkoMediaStatusDownloading, "media/a", "");
    addMedia(2, PelkoMessageTypeAudio, PelkoMediaStatusDownloading, "media/b", "");
    addWithStatus(3, PelkoMessageStatusSending);
    addWithStatus(4, PelkoMessageStatusSending);
    changeTables(
        "CREATE TRIGGER locked BEFORE UPDATE ON tbl_msg WHEN old.db_id IN (1, 3)"
        " BEGIN SELECT RAISE(ABORT, 'locked row'); END");
    upgrade();
    EXPECT_THAT(platform().file, ElementsAre("updateMessageMediaStatus failed, exception in (locked row).",
                                             "updateMessageStatus failed, exception in (locked row)."));
    EXPECT_EQ(mediaStatus(1), "1");
    EXPECT_EQ(mediaStatus(2), "3");
    EXPECT_EQ(status(3), "3");
    EXPECT_EQ(status(4), "5");
}

TEST_F(UpgradeTest, RowsThatShareAnIdAreNoReasonToStop) {
    changeTables(
        "DROP TABLE tbl_msg; CREATE TABLE tbl_msg (db_id integer, type integer, media_status integer, status "
        "integer, media_path text, ex_media_path text);"
        "INSERT INTO tbl_msg VALUES (1, 2, 1, 3, '', ''), (1, 2, 1, 3, '', ''), (NULL, 2, 1, 3, '', ''), "
        "(2, 2, 1, 3, '', '')");
    upgrade();
    expectNothingLogged();
    EXPECT_EQ(rows("SELECT media_status, status FROM tbl_msg WHERE db_id > 0"),
              (std::vector<Row>{{"3", "5"}, {"3", "5"}, {"3", "5"}}));
}

}  // namespace
