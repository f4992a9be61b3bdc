#include <string>
#include <utility>
#include <vector>

#include "classes/storage/PelkoDBManager.h"
#include "tests/support/StoreTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::_;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Users = std::vector<PelkoUser>;

constexpr char lookupOfAnn[] = "SELECT * FROM tbl_user WHERE username = 'ann'";
constexpr char versionOfAnn[] = "SELECT info_version FROM tbl_user WHERE username = 'ann'";
constexpr char friendshipOfAnn[] =
    "SELECT * FROM tbl_relationship WHERE username = 'ann' AND block_state = 0";
constexpr char blockingOfAnn[] = "SELECT * FROM tbl_relationship WHERE username = 'ann' AND block_state = 1";
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

PelkoUser ann() {
    PelkoUser user("ann");
    user.nickname = "Annie";
    user.icon.url = "http://a/i";
    user.icon.path = "/app/icons/a.png";
    user.icon.pathEx = "/elsewhere/b.png";
    user.info = "says hi";
    user.gender = PelkoUserGenderFemale;
    return user;
}

const Row annsRow = {"ann", "Annie", "http://a/i", "icons/a.png", "/elsewhere/b.png", "says hi", "1", "7"};

using Fields = std::vector<std::string>;

/// What is filled of a user.
Fields fieldsOf(const PelkoUser& user) {
    const PelkoMedia& icon = user.icon;
    const std::string gender = std::to_string(user.gender);
    const std::string detail = user.hasGotDetail ? "detail" : "";
    return {user.name, user.nickname, icon.url, icon.path, icon.pathEx, user.info, gender, detail};
}

const Fields annsFields = {"ann",     "Annie", "http://a/i", "/app/icons/a.png", "/elsewhere/b.png",
                           "says hi", "1",     "detail"};

/// A record with only the name.
void expectBare(const PelkoUser& user, const std::string& name) {
    EXPECT_THAT(fieldsOf(user), ElementsAre(name, "", "", "", "", "", "0", ""));
    EXPECT_EQ(user.type, PelkoChatTargetTypeUser);
}

class UsersTest : public StoreTest {
protected:
    bool store(PelkoUser user, uint version) { return db().insertOrUpdateUser(user, version); }
    PelkoUser read(std::string name) { return db().getBaseUserInfo(name); }
    bool exists(std::string name) { return db().userExist(name); }
    bool remove(std::string name) { return db().deleteUser(name); }

    /// ann's profile, stored past the store.
    void givenAnn() {
        execute(
            "INSERT INTO tbl_user VALUES ('ann', 'Annie', 'http://a/i', 'icons/a.png', "
            "'/elsewhere/b.png', 'says hi', 1, 7)");
    }
    void givenRelation(const std::string& name, const char* relation) {
        execute("INSERT INTO tbl_relationship VALUES ('" + db().transStringQuote(name) + "', " + relation +
                ")");
    }
    std::vector<Row> table() const { return rows("SELECT * FROM tbl_user ORDER BY rowid"); }
};

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

// ---- reading one user

TEST_F(UsersTest, AStoredUserIsRead) {
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

TEST_F(UsersTest, AnUnknownUserIsABareRecord) {
    givenAnn();
    expectBare(read("zoe"), "zoe");
    EXPECT_THAT(statements(), ElementsAre("SELECT * FROM tbl_user WHERE username = 'zoe'"));
    expectNothingLogged();
}

TEST_F(UsersTest, NullColumnsAreReadAsDefaults) {
    execute("INSERT INTO tbl_user (username) VALUES ('ann')");
    expectBare(read("ann"), "ann");
    expectNothingLogged();
}

TEST_F(UsersTest, DetailIsKnownExactlyWithANonZeroVersion) {
    for (const char* const version : {"0", "NULL", "1", "7", "-1"}) {
        SCOPED_TRACE(version);
        execute(std::string(
                    "DELETE FROM tbl_user; INSERT INTO tbl_user (username, info_version) VALUES ('ann', ") +
                version + ")");
        EXPECT_EQ(read("ann").hasGotDetail, *version != '0' && *version != 'N');
    }
}

TEST_F(UsersTest, OnlyTheFirstRowIsRead) {
    changeTables(
        "DROP TABLE tbl_user; CREATE TABLE tbl_user (username, nickname, icon_url, icon_path, "
        "ex_icon_path, info, gender, info_version);"
        "INSERT INTO tbl_user (username, nickname) VALUES ('ann', 'first'), ('ann', 'second')");
    EXPECT_EQ(read("ann").nickname, "first");
    EXPECT_THAT(statements(), ElementsAre(lookupOfAnn, versionOfAnn));
}

TEST_F(UsersTest, FieldsReadBeforeAFailureStay) {
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

TEST_F(UsersTest, AVersionThatCannotBeReadMeansNoDetail) {
    givenAnn();
    changeTables("ALTER TABLE tbl_user RENAME COLUMN info_version TO other");
    const PelkoUser user = read("ann");
    expectFailureLogged("getTargetInfoVersion", "no such column: info_version");
    EXPECT_EQ(user.nickname, "Annie");
    EXPECT_FALSE(user.hasGotDetail);
}

TEST_F(UsersTest, UserInfoAddsBothRelations) {
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

TEST_F(UsersTest, UserInfoOfANameWithAQuoteHasNoRelations) {
    givenRelation("x", "0");
    givenRelation("x' OR '1'='1", "1");
    const PelkoUser user = db().getUserInfo("x' OR '1'='1");
    expectBare(user, "x' OR '1'='1");
    EXPECT_FALSE(user.isFriend);
    EXPECT_FALSE(user.isBlocked);
    EXPECT_EQ(platform().file.size(), 3U);
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(UsersTest, UserInfoNotReadyLogsTheOperationsThatItCalls) {
    close();
    expectBare(db().getUserInfo("ann"), "ann");
    expectLogged({"db is not ready(getBaseUserInfo", "db is not ready(hasRelationship",
                  "db is not ready(hasRelationship"});
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(UsersTest, UserInfoWithoutTablesIsBare) {
    changeTables("DROP TABLE tbl_user; DROP TABLE tbl_relationship");
    expectBare(db().getUserInfo("ann"), "ann");
    expectLogged({"getBaseUserInfo failed, exception in (no such table: tbl_user).",
                  "checkIfRecordExist failed, exception in (no such table: tbl_relationship).",
                  "checkIfRecordExist failed, exception in (no such table: tbl_relationship)."});
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

// ---- the friend and block lists as full users

/// One of the two lists. Its own flag is known from the list, the other one is looked up.
struct UserList {
    const char* name;  ///< of the operation
    const char* number;
    const char* otherNumber;
    bool (PelkoDBManager::*get)(Users&);
    bool PelkoUser::*flag;
    bool PelkoUser::*otherFlag;
};

void PrintTo(const UserList& list, std::ostream* out) {
    *out << list.name;
}

class UserListTest : public UsersTest, public testing::WithParamInterface<UserList> {
protected:
    bool get(Users& users) { return (db().*GetParam().get)(users); }
    void given(const std::string& name) { givenRelation(name, GetParam().number); }
    static std::string namesQuery() {
        return std::string("SELECT * FROM tbl_relationship WHERE block_state = ") + GetParam().number +
               " ORDER BY rowid asc";
    }
    static std::string otherLookupOf(const std::string& name) {
        return "SELECT * FROM tbl_relationship WHERE username = '" + name +
               "' AND block_state = " + GetParam().otherNumber;
    }
};

TEST_P(UserListTest, ListsFullUsersInTheOrderOfInsertion) {
    given("zoe");
    given("ann");
    givenRelation("bob", GetParam().otherNumber);
    givenRelation("ann", GetParam().otherNumber);
    givenAnn();
    Users users;
    EXPECT_TRUE(get(users));
    EXPECT_THAT(statements(),
                ElementsAre(namesQuery(), "SELECT * FROM tbl_user WHERE username = 'zoe'",
                            otherLookupOf("zoe"), lookupOfAnn, versionOfAnn, otherLookupOf("ann")));
    ASSERT_EQ(users.size(), 2U);
    expectBare(users[0], "zoe");
    EXPECT_TRUE(users[0].*GetParam().flag);
    EXPECT_FALSE(users[0].*GetParam().otherFlag);
    EXPECT_EQ(fieldsOf(users[1]), annsFields);
    EXPECT_TRUE(users[1].isFriend);
    EXPECT_TRUE(users[1].isBlocked);
    expectNothingLogged();
}

TEST_P(UserListTest, ReplacesWhatTheCallerHolds) {
    given("ann");
    Users users = {PelkoUser("old"), PelkoUser("older")};
    EXPECT_TRUE(get(users));
    EXPECT_THAT(users, ElementsAre(PelkoUser("ann")));
    execute("DELETE FROM tbl_relationship");
    forget();
    EXPECT_TRUE(get(users));
    EXPECT_THAT(users, IsEmpty());
    EXPECT_THAT(statements(), ElementsAre(namesQuery()));
    expectNothingLogged();
}

TEST_P(UserListTest, NotReadyLeavesTheListUntouched) {
    for (const bool held : {true, false}) {
        held ? PelkoDBManagerTestAccess::connection(db())->close() : close();
        forget();
        Users users = {PelkoUser("old")};
        EXPECT_FALSE(get(users));
        EXPECT_THAT(users, ElementsAre(PelkoUser("old")));
        expectNotReadyLogged(GetParam().name);
        EXPECT_THAT(statements(), IsEmpty());
    }
}

TEST_P(UserListTest, WithoutRelationshipsIsEmptyAndTrue) {
    changeTables("DROP TABLE tbl_relationship");
    Users users = {PelkoUser("old")};
    EXPECT_TRUE(get(users));
    EXPECT_THAT(users, IsEmpty());
    expectFailureLogged("getRelationUsernames", "no such table: tbl_relationship");
}

TEST_P(UserListTest, WithoutProfilesListsBareRecords) {
    given("ann");
    given("bob");
    changeTables("DROP TABLE tbl_user");
    Users users;
    EXPECT_TRUE(get(users));
    ASSERT_EQ(users.size(), 2U);
    expectBare(users[0], "ann");
    expectBare(users[1], "bob");
    EXPECT_TRUE(users[1].*GetParam().flag);
    expectLogged({"getBaseUserInfo failed, exception in (no such table: tbl_user).",
                  "getBaseUserInfo failed, exception in (no such table: tbl_user)."});
}

TEST_P(UserListTest, NamesWithAQuoteAreBareAndNotOnTheOtherList) {
    const std::string name = "x' OR '1'='1";
    given(name);
    givenRelation(name, GetParam().otherNumber);
    execute("INSERT INTO tbl_user (username, nickname) VALUES ('x', 'X')");
    Users users;
    EXPECT_TRUE(get(users));
    ASSERT_EQ(users.size(), 1U);
    expectBare(users[0], name);
    EXPECT_TRUE(users[0].*GetParam().flag);
    EXPECT_FALSE(users[0].*GetParam().otherFlag);
    EXPECT_THAT(statements(), ElementsAre(namesQuery()));
    ASSERT_EQ(platform().file.size(), 2U);
    EXPECT_THAT(platform().file[0], testing::StartsWith("getBaseUserInfo failed, exception in ("));
    EXPECT_THAT(platform().file[1], testing::StartsWith("checkIfRecordExist failed, exception in ("));
}

TEST_P(UserListTest, AThousandUsersTakeThreeStatementsEachAndOneMore) {
    execute(std::string("WITH RECURSIVE n(i) AS (SELECT 1000 UNION ALL SELECT i - 1 FROM n WHERE i > 1) "
                        "INSERT INTO tbl_relationship SELECT 'user ' || i, ") +
            GetParam().number + " FROM n");
    Users users;
    EXPECT_TRUE(get(users));
    EXPECT_EQ(users.size(), 1000U);
    EXPECT_EQ(statements().size(), 1U + 2 * 1000);  // without a profile, there is no version to ask for

    execute(
        "INSERT INTO tbl_user (username, nickname, info_version) "
        "SELECT username, upper(username), 1 FROM tbl_relationship");
    forget();
    EXPECT_TRUE(get(users));
    EXPECT_EQ(statements().size(), 1U + 3 * 1000);
    ASSERT_EQ(users.size(), 1000U);
    for (std::size_t i = 0; i < users.size(); ++i) {
        const std::string number = std::to_string(1000 - i);
        EXPECT_THAT(fieldsOf(users[i]),
                    ElementsAre("user " + number, "USER " + number, "", "", "", "", "0", "detail"));
    }
    expectNothingLogged();
}

INSTANTIATE_TEST_SUITE_P(Both, UserListTest,
                         testing::Values(UserList{"getFriendList", "0", "1", &PelkoDBManager::getFriendList,
                                                  &PelkoUser::isFriend, &PelkoUser::isBlocked},
                                         UserList{"getBlockList", "1", "0", &PelkoDBManager::getBlockList,
                                                  &PelkoUser::isBlocked, &PelkoUser::isFriend}),
                         [](const auto& list) { return list.param.name; });

}  // namespace
