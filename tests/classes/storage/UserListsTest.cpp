#include <string>

#include "tests/classes/storage/UsersTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

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
