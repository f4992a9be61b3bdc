#include <string>
#include <utility>
#include <vector>

#include "tests/classes/storage/UsersTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char friendshipOfAnn[] =
    "SELECT * FROM tbl_relationship WHERE username = 'ann' AND block_state = 0";
constexpr char blockingOfAnn[] = "SELECT * FROM tbl_relationship WHERE username = 'ann' AND block_state = 1";

class UsersReadTest : public UsersTest {};

// ---- reading one user

TEST_F(UsersReadTest, AStoredUserIsRead) {
    givenAnn();
    givenRelation("ann", "0");
    givenRelation("ann", "1");
    const PelkoUser user = read("ann");
    EXPECT_EQ(fieldsOf(user), annsFields);
    EXPECT_EQ(user.type, PelkoChatTargetTypeUser);
    EXPECT_FALSE(user.isFriend);  // not looked up
    EXPECT_FALSE(user.isBlocked);
    EXPECT_THAT(statements(), ElementsAre(lookupOfAnn, versionOfAnn));
    expectNothingLogged();
}

TEST_F(UsersReadTest, OtherFieldsAreNeitherStoredNorRead) {
    PelkoUser stored = ann();
    stored.id = stored.icon.tag = 4;
    stored.tag = stored.icon.duration = 4;
    stored.icon.type = PelkoMediaTypeImage;
    stored.icon.status = PelkoMediaStatusDownloaded;
    EXPECT_TRUE(store(stored, 7));
    const PelkoUser user = read("ann");
    const PelkoUser fresh("ann");
    EXPECT_EQ(fieldsOf(user), annsFields);
    EXPECT_EQ(user.id, fresh.id);
    EXPECT_EQ(user.tag, fresh.tag);
    EXPECT_EQ(user.icon.tag, fresh.icon.tag);
    EXPECT_EQ(user.icon.type, fresh.icon.type);
    EXPECT_EQ(user.icon.status, fresh.icon.status);
    EXPECT_EQ(user.icon.duration, fresh.icon.duration);
}

TEST_F(UsersReadTest, TheNameIsTheOneThatWasAskedFor) {
    // A column that finds names in other letters shows that the name is not read from the row.
    changeTables(
        "DROP TABLE tbl_user; CREATE TABLE tbl_user (username COLLATE NOCASE, nickname, icon_url, icon_path, "
        "ex_icon_path, info, gender, info_version)");
    givenAnn();
    const PelkoUser user = read("ANN");
    EXPECT_EQ(user.name, "ANN");
    EXPECT_EQ(user.nickname, "Annie");
}

TEST_F(UsersReadTest, AnUnknownUserIsABareRecord) {
    givenAnn();
    expectBare(read("zoe"), "zoe");
    EXPECT_THAT(statements(), ElementsAre("SELECT * FROM tbl_user WHERE username = 'zoe'"));
    expectNothingLogged();
}

TEST_F(UsersReadTest, NullColumnsAreReadAsDefaults) {
    execute("INSERT INTO tbl_user (username) VALUES ('ann')");
    expectBare(read("ann"), "ann");
    expectNothingLogged();
}

TEST_F(UsersReadTest, DetailIsKnownExactlyWithANonZeroVersion) {
    for (const char* const version : {"0", "NULL", "1", "7", "-1"}) {
        SCOPED_TRACE(version);
        execute(std::string(
                    "DELETE FROM tbl_user; INSERT INTO tbl_user (username, info_version) VALUES ('ann', ") +
                version + ")");
        EXPECT_EQ(read("ann").hasGotDetail, *version != '0' && *version != 'N');
    }
}

TEST_F(UsersReadTest, OnlyTheFirstRowIsRead) {
    changeTables(
        "DROP TABLE tbl_user; CREATE TABLE tbl_user (username, nickname, icon_url, icon_path, "
        "ex_icon_path, info, gender, info_version);"
        "INSERT INTO tbl_user (username, nickname) VALUES ('ann', 'first'), ('ann', 'second')");
    EXPECT_EQ(read("ann").nickname, "first");
    EXPECT_THAT(statements(), ElementsAre(lookupOfAnn, versionOfAnn));
}

TEST_F(UsersReadTest, FieldsReadBeforeAFailureStay) {
    // Tables that lack ever fewer columns show the order in which they are read.
    const std::vector<std::string> columns = {"icon_url", "icon_path", "ex_icon_path",
                                              "info",     "nickname",  "gender"};
    std::string present = "'ann' AS username, 1 AS info_version";
    changeTables("DROP TABLE tbl_user");
    for (std::size_t i = 0; i < columns.size(); ++i) {
        SCOPED_TRACE(columns[i]);
        changeTables("CREATE VIEW tbl_user AS SELECT " + present);
        const PelkoUser user = read("ann");
        expectFailureLogged("getBaseUserInfo", testing::EndsWith(columns[i]));
        EXPECT_THAT(fieldsOf(user), ElementsAre("ann", i > 4 ? "5" : "", i > 0 ? "/1" : "", i > 1 ? "/2" : "",
                                                i > 2 ? "/3" : "", i > 3 ? "/4" : "", "0", ""));
        changeTables("DROP VIEW tbl_user");
        present += ", '" + std::string(i < 4 ? "/" : "") + std::to_string(i + 1) + "' AS " + columns[i];
    }
}

TEST_F(UsersReadTest, AVersionThatCannotBeReadMeansNoDetail) {
    givenAnn();
    changeTables("ALTER TABLE tbl_user RENAME COLUMN info_version TO other");
    const PelkoUser user = read("ann");
    expectFailureLogged("getTargetInfoVersion", "no such column: info_version");
    EXPECT_EQ(user.nickname, "Annie");
    EXPECT_FALSE(user.hasGotDetail);
}

TEST_F(UsersReadTest, ReadersLetGoOfTheFile) {
    givenAnn();
    givenRelation("ann", "0");
    db().getUserInfo("ann");
    exists("ann");
    db().getFriendUsernames();
    Users users;
    db().getFriendList(users);
    execute("DELETE FROM tbl_user");
    EXPECT_EQ(value("PRAGMA wal_checkpoint(TRUNCATE)"), "0") << "busy while a reader holds what it read";
}

TEST_F(UsersReadTest, UserInfoAddsBothRelations) {
    givenAnn();
    EXPECT_EQ(db().getUserInfo("ann").nickname, "Annie");
    EXPECT_THAT(statements(), ElementsAre(lookupOfAnn, versionOfAnn, friendshipOfAnn, blockingOfAnn));
    const auto flags = [&](const char* name) {
        const PelkoUser user = db().getUserInfo(name);
        return std::make_pair(user.isFriend, user.isBlocked);
    };
    EXPECT_EQ(flags("ann"), std::make_pair(false, false));
    givenRelation("ann", "0");
    EXPECT_EQ(flags("ann"), std::make_pair(true, false));
    givenRelation("ann", "1");
    EXPECT_EQ(flags("ann"), std::make_pair(true, true));
    givenRelation("zoe", "1");
    EXPECT_EQ(flags("zoe"), std::make_pair(false, true));
    expectBare(db().getUserInfo("zoe"), "zoe");
    expectNothingLogged();
}

TEST_F(UsersReadTest, UserInfoOfANameWithAQuoteHasNoRelations) {
    givenRelation("x", "0");
    givenRelation("x' OR '1'='1", "1");
    const PelkoUser user = db().getUserInfo("x' OR '1'='1");
    expectBare(user, "x' OR '1'='1");
    EXPECT_FALSE(user.isFriend);
    EXPECT_FALSE(user.isBlocked);
    EXPECT_EQ(platform().file.size(), 3U);
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(UsersReadTest, UserInfoNotReadyLogsTheOperationsThatItCalls) {
    close();
    expectBare(db().getUserInfo("ann"), "ann");
    expectLogged({"db is not ready(getBaseUserInfo", "db is not ready(hasRelationship",
                  "db is not ready(hasRelationship"});
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(UsersReadTest, UserInfoWithoutTablesIsBare) {
    changeTables("DROP TABLE tbl_user; DROP TABLE tbl_relationship");
    expectBare(db().getUserInfo("ann"), "ann");
    expectLogged({"getBaseUserInfo failed, exception in (no such table: tbl_user).",
                  "checkIfRecordExist failed, exception in (no such table: tbl_relationship).",
                  "checkIfRecordExist failed, exception in (no such table: tbl_relationship)."});
}

}  // namespace
