#include <string>
#include <vector>

#include "tests/classes/storage/UsersTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::_;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char insertOfAnn[] =
    "INSERT INTO tbl_user (username, nickname, icon_url, icon_path, ex_icon_path, info, gender, "
    "info_version) "
    "VALUES ('ann', 'Annie', 'http://a/i', 'icons/a.png', '/elsewhere/b.png', 'says hi', 1, 7)";

/// Texts that would end a literal early, if they could.
const char* const quoted[] = {"'",
                              "a''b",
                              "x'||'y",
                              "x', 'y",
                              "x' OR '1'='1",
                              "'; DROP TABLE tbl_user; --",
                              "x', '', '', '', 0, 0), ('z', '', '', '', '', '', 0, 0); --"};

const Row annsRow = {"ann", "Annie", "http://a/i", "icons/a.png", "/elsewhere/b.png", "says hi", "1", "7"};

// ---- storing

TEST_F(UsersTest, ANewUserIsInserted) {
    EXPECT_TRUE(store(ann(), 7));
    EXPECT_THAT(statements(), ElementsAre(lookupOfAnn, insertOfAnn));
    EXPECT_THAT(table(), ElementsAre(annsRow));
    expectNothingLogged();
}

TEST_F(UsersTest, AKnownUserIsUpdated) {
    execute("INSERT INTO tbl_user (username, nickname) VALUES ('bob', 'Bobby'), ('ann', 'A')");
    EXPECT_TRUE(store(ann(), 7));
    EXPECT_THAT(statements(),
                ElementsAre(lookupOfAnn,
                            "UPDATE tbl_user SET nickname = 'Annie', icon_url = 'http://a/i', icon_path = "
                            "'icons/a.png', ex_icon_path = '/elsewhere/b.png', info = 'says hi', gender = 1, "
                            "info_version = 7 WHERE username = 'ann'"));
    EXPECT_THAT(table(), ElementsAre(Row{"bob", "Bobby", {}, {}, {}, {}, {}, {}}, annsRow));
    expectNothingLogged();
}

TEST_F(UsersTest, VersionsAreWrittenAndNeverCompared) {
    for (const uint version : {7U, 3U, 0U, 7U, 7U}) {
        EXPECT_TRUE(store(ann(), version));
        EXPECT_EQ(value("SELECT info_version FROM tbl_user"), std::to_string(version));
    }
    EXPECT_EQ(table().size(), 1U);
}

TEST_F(UsersTest, VersionsOf32BitsComeBackWhole) {
    EXPECT_TRUE(store(ann(), 4294967295U));
    EXPECT_EQ(value("SELECT info_version FROM tbl_user"), "-1");
    EXPECT_EQ(db().getTargetInfoVersion(ann()), 4294967295U);
    EXPECT_TRUE(read("ann").hasGotDetail);
    EXPECT_TRUE(store(ann(), 2147483648U));
    EXPECT_EQ(value("SELECT info_version FROM tbl_user"), "-2147483648");
    EXPECT_EQ(db().getTargetInfoVersion(ann()), 2147483648U);
}

TEST_F(UsersTest, AnEmptyProfileIsStored) {
    EXPECT_TRUE(store(PelkoUser("ann"), 0));
    EXPECT_THAT(table(), ElementsAre(Row{"ann", "", "", "", "", "", "0", "0"}));
    expectBare(read("ann"), "ann");
    EXPECT_TRUE(store(ann(), 7));
    EXPECT_TRUE(store(PelkoUser(), 1));
    EXPECT_THAT(table(), ElementsAre(annsRow, Row{"", "", "", "", "", "", "0", "1"}));
}

TEST_F(UsersTest, GendersAreStoredAsTheirNumbers) {
    PelkoUser user = ann();
    for (const PelkoUserGender gender : {PelkoUserGenderMale, PelkoUserGenderFemale, PelkoUserGenderNotSet,
                                         static_cast<PelkoUserGender>(-5)}) {
        user.gender = gender;
        EXPECT_TRUE(store(user, 1));
        EXPECT_EQ(value("SELECT gender FROM tbl_user"), std::to_string(gender));
        EXPECT_EQ(read("ann").gender, gender);
    }
}

TEST_F(UsersTest, IconsInTheDataFolderAreStoredRelative) {
    PelkoUser user = ann();
    user.icon.pathEx = "/app/icons/c.png";
    EXPECT_TRUE(store(user, 1));
    EXPECT_THAT(rows("SELECT icon_path, ex_icon_path FROM tbl_user"),
                ElementsAre(Row{"icons/a.png", "icons/c.png"}));
    EXPECT_EQ(read("ann").icon.path, "/app/icons/a.png");
    platform().appRoot = "/moved";  // as after an update of the client
    EXPECT_EQ(read("ann").icon.path, "/moved/icons/a.png");
    EXPECT_EQ(read("ann").icon.pathEx, "/moved/icons/c.png");
}

TEST_F(UsersTest, AQuoteInTheDataFolderDoesNoHarm) {
    platform().appRoot = "/home/it's me";
    PelkoUser user = ann();
    user.icon.path = "/home/it's me/icons/a.png";
    EXPECT_TRUE(store(user, 7));
    EXPECT_THAT(table(), ElementsAre(annsRow));
    EXPECT_EQ(read("ann").icon.path, "/home/it's me/icons/a.png");
}

TEST_F(UsersTest, StatementsThatChangeNoRowAreNoSuccess) {
    changeTables(
        "CREATE TRIGGER i BEFORE INSERT ON tbl_user BEGIN SELECT RAISE(IGNORE); END;"
        "CREATE TRIGGER u BEFORE UPDATE ON tbl_user BEGIN SELECT RAISE(ABORT, 'not now'); END");
    EXPECT_FALSE(store(ann(), 7));
    EXPECT_THAT(statements(), ElementsAre(lookupOfAnn, insertOfAnn, _, _));  // last what the trigger ran
    expectNothingLogged();
    changeTables("DROP TRIGGER i");
    givenAnn();
    EXPECT_FALSE(store(PelkoUser("ann"), 8));
    expectFailureLogged("insertOrUpdateUser", "not now");
    EXPECT_THAT(table(), ElementsAre(annsRow));
}

TEST_F(UsersTest, StoringWithoutTheTableFailsTwice) {
    changeTables("DROP TABLE tbl_user");
    EXPECT_FALSE(store(ann(), 7));
    expectLogged({"checkIfRecordExist failed, exception in (no such table: tbl_user).",
                  "insertOrUpdateUser failed, exception in (no such table: tbl_user)."});
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(UsersTest, StoringLeavesTheCallersRecordAndTheListsAsTheyAre) {
    PelkoUser user = ann();
    user.nickname = "O'Ann";
    user.isFriend = true;
    user.isBlocked = true;
    for (int time = 0; time < 2; ++time) {  // inserted, then updated
        EXPECT_TRUE(db().insertOrUpdateUser(user, 7));
        EXPECT_THAT(fieldsOf(user), ElementsAre("ann", "O'Ann", "http://a/i", "/app/icons/a.png",
                                                "/elsewhere/b.png", "says hi", "1", ""));
    }
    EXPECT_EQ(value("SELECT count(*) FROM tbl_relationship"), "0");
}

// ---- what texts may hold

TEST_F(UsersTest, EscapedTextsSurviveARoundTrip) {
    for (const char* const text : quoted) {
        SCOPED_TRACE(text);
        PelkoUser user = ann();
        user.nickname = text;
        user.info = std::string(text) + "!";
        for (int time = 0; time < 2; ++time) {  // inserted, then updated
            EXPECT_TRUE(store(user, 7));
            EXPECT_EQ(read("ann").nickname, user.nickname);
            EXPECT_EQ(read("ann").info, user.info);
        }
        EXPECT_EQ(table().size(), 1U);
        EXPECT_TRUE(remove("ann"));
    }
    expectNothingLogged();
}

/// The texts of an icon are not escaped.
class UnescapedIconTexts : public UsersTest, public testing::WithParamInterface<std::string PelkoMedia::*> {};

TEST_P(UnescapedIconTexts, WithAQuoteAreNotStored) {
    for (const bool known : {false, true}) {  // an INSERT, then an UPDATE
        if (known) {
            givenAnn();
        }
        execute("INSERT OR IGNORE INTO tbl_user (username) VALUES ('x'), ('y')");
        const std::vector<Row> before = table();
        for (const std::string text : quoted) {
            for (const std::string& value : {text, "/app/" + text}) {
                SCOPED_TRACE(value);
                PelkoUser user = ann();
                user.icon.*GetParam() = value;
                forget();
                EXPECT_FALSE(store(user, 8));
                expectFailureLogged("insertOrUpdateUser");
                EXPECT_THAT(statements(), ElementsAre(lookupOfAnn));
                EXPECT_EQ(table(), before);
            }
        }
    }
}

TEST_P(UnescapedIconTexts, WithoutAQuoteAreKeptByteForByte) {
    PelkoUser user = ann();
    for (const char* const text :
         {"/%s%n%d %", "/;", "/a;b -- c", "/\\", "/\"q\"", "/*", "/J\xC3\xBCrgen\n"}) {
        SCOPED_TRACE(text);
        user.icon.*GetParam() = text;
        EXPECT_TRUE(store(user, 7));
        EXPECT_EQ(read("ann").icon.*GetParam(), text);
    }
    user.icon.*GetParam() = "/" + std::string(5000, 'i');
    EXPECT_TRUE(store(user, 7));
    EXPECT_EQ(read("ann").icon.*GetParam(), user.icon.*GetParam());
    expectNothingLogged();
}

INSTANTIATE_TEST_SUITE_P(Url, UnescapedIconTexts, testing::Values(&PelkoMedia::url));
INSTANTIATE_TEST_SUITE_P(Path, UnescapedIconTexts, testing::Values(&PelkoMedia::path));
INSTANTIATE_TEST_SUITE_P(PathEx, UnescapedIconTexts, testing::Values(&PelkoMedia::pathEx));

TEST_F(UsersTest, NamesWithAQuoteAreStoredButNeverFound) {
    for (const std::string name : quoted) {
        SCOPED_TRACE(name);
        execute(
            "DELETE FROM tbl_user; INSERT INTO tbl_user (username, nickname, info_version) VALUES "
            "('x', 'X', 1), ('xy', 'XY', 1), ('a''b', 'AB', 1)");
        PelkoUser user(name);
        user.nickname = "N";
        const auto expectUnfound = [&] {
            const std::vector<Row> before = table();
            forget();
            EXPECT_FALSE(exists(name));
            expectFailureLogged("checkIfRecordExist");
            forget();
            expectBare(read(name), name);
            expectFailureLogged("getBaseUserInfo");
            EXPECT_THAT(statements(), IsEmpty());
            EXPECT_EQ(table(), before);
        };
        expectUnfound();

        std::vector<Row> after = table();
        after.push_back({name, "N", "", "", "", "", "0", "9"});
        forget();
        EXPECT_TRUE(store(user, 9));
        expectFailureLogged("checkIfRecordExist");
        EXPECT_EQ(table(), after);
        expectUnfound();
        EXPECT_EQ(db().getTargetInfoVersion(user), 9U);  // the one lookup that escapes the name

        user.nickname = "M";  // not known to exist, so inserted again: the key says no
        forget();
        EXPECT_FALSE(store(user, 10));
        ASSERT_EQ(platform().file.size(), 2U);
        EXPECT_THAT(platform().file.back(),
                    "insertOrUpdateUser failed, exception in (UNIQUE constraint failed: tbl_user.username).");
        EXPECT_EQ(table(), after);

        forget();
        EXPECT_TRUE(remove(name));
        EXPECT_FALSE(remove(name));
        EXPECT_EQ(table().size(), 3U);
        expectNothingLogged();
    }
}

TEST_F(UsersTest, OtherNamesAreFoundByteForByte) {
    for (const std::string name :
         {"", "%s%n%d %", ";", "a;b -- c", "\\", "\"q\"", "/*", "a\nb", "null", "J\xC3\xBCrgen", "Ann"}) {
        SCOPED_TRACE(name);
        PelkoUser user = ann();
        user.name = name;
        EXPECT_TRUE(store(user, 1));
        EXPECT_TRUE(exists(name));
        EXPECT_EQ(value("SELECT username FROM tbl_user"), name);
        Fields expected = annsFields;
        expected.front() = name;
        EXPECT_EQ(fieldsOf(read(name)), expected);
        EXPECT_FALSE(exists("ann"));
        EXPECT_TRUE(remove(name));
    }
    expectNothingLogged();
}

// ---- existence and deletion

TEST_F(UsersTest, UserExistLooksTheNameUp) {
    EXPECT_FALSE(exists("ann"));
    givenAnn();
    EXPECT_TRUE(exists("ann"));
    EXPECT_FALSE(exists("an"));
    EXPECT_THAT(statements(),
                ElementsAre(lookupOfAnn, lookupOfAnn, "SELECT * FROM tbl_user WHERE username = 'an'"));
    expectNothingLogged();
}

TEST_F(UsersTest, DeleteUserLeavesTheRelations) {
    givenAnn();
    execute("INSERT INTO tbl_user (username) VALUES ('bob')");
    givenRelation("ann", "0");
    EXPECT_TRUE(remove("ann"));
    EXPECT_FALSE(remove("ann"));
    EXPECT_THAT(statements(), ElementsAre("DELETE FROM tbl_user WHERE username = 'ann'",
                                          "DELETE FROM tbl_user WHERE username = 'ann'"));
    EXPECT_THAT(rows("SELECT username FROM tbl_user"), ElementsAre(Row{"bob"}));
    Users friends;
    EXPECT_TRUE(db().getFriendList(friends));
    ASSERT_EQ(friends.size(), 1U);
    expectBare(friends[0], "ann");
    expectNothingLogged();
}

TEST_F(UsersTest, DeleteUserEscapesTheName) {
    execute("INSERT INTO tbl_user (username) VALUES ('it''s'), ('x')");
    EXPECT_TRUE(remove("it's"));
    EXPECT_FALSE(remove("x' OR '1'='1"));
    EXPECT_THAT(statements(), ElementsAre("DELETE FROM tbl_user WHERE username = 'it''s'",
                                          "DELETE FROM tbl_user WHERE username = 'x'' OR ''1''=''1'"));
    EXPECT_THAT(rows("SELECT username FROM tbl_user"), ElementsAre(Row{"x"}));
}

TEST_F(UsersTest, NothingRunsWhenNotReady) {
    for (const bool held : {true, false}) {
        held ? PelkoDBManagerTestAccess::connection(db())->close() : close();
        const auto expectLine = [this](const char* operation) {
            expectNotReadyLogged(operation);
            EXPECT_THAT(statements(), IsEmpty());
            forget();
        };
        forget();
        EXPECT_FALSE(store(ann(), 7));
        expectLine("insertOrUpdateUser");
        expectBare(read("ann"), "ann");
        expectLine("getBaseUserInfo");
        EXPECT_FALSE(remove("ann"));
        expectLine("deleteUser");
        EXPECT_EQ(db().getTargetInfoVersion(ann()), 0U);
        expectLine("getTargetInfoVersion");
        EXPECT_FALSE(exists("ann"));
        expectFailureLogged("checkIfRecordExist");  // it makes no readiness check
        EXPECT_THAT(statements(), IsEmpty());
    }
}

TEST_F(UsersTest, SingleStatementsFailWithoutTheTable) {
    changeTables("DROP TABLE tbl_user");
    const auto expectFailure = [this](const char* operation) {
        expectFailureLogged(operation, "no such table: tbl_user");
        EXPECT_THAT(statements(), IsEmpty());
        forget();
    };
    expectBare(read("ann"), "ann");
    expectFailure("getBaseUserInfo");
    EXPECT_FALSE(exists("ann"));
    expectFailure("checkIfRecordExist");
    EXPECT_FALSE(remove("ann"));
    expectFailure("deleteUser");
    EXPECT_EQ(db().getTargetInfoVersion(ann()), 0U);
    expectFailure("getTargetInfoVersion");
}

}  // namespace
