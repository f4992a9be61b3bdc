#ifndef PELKO_TESTS_CLASSES_STORAGE_USERS_TEST_H
#define PELKO_TESTS_CLASSES_STORAGE_USERS_TEST_H

#include <string>
#include <vector>

#include "tests/support/StoreTest.h"

namespace pelkotest {

using Users = std::vector<pelkoapi::PelkoUser>;

inline constexpr char lookupOfAnn[] = "SELECT * FROM tbl_user WHERE username = 'ann'";
inline constexpr char versionOfAnn[] = "SELECT info_version FROM tbl_user WHERE username = 'ann'";

inline pelkoapi::PelkoUser ann() {
    pelkoapi::PelkoUser user("ann");
    user.nickname = "Annie";
    user.icon.url = "http://a/i";
    user.icon.path = "/app/icons/a.png";
    user.icon.pathEx = "/elsewhere/b.png";
    user.info = "says hi";
    user.gender = pelkoapi::PelkoUserGenderFemale;
    return user;
}

using Fields = std::vector<std::string>;

/// What is filled of a user.
inline Fields fieldsOf(const pelkoapi::PelkoUser& user) {
    const pelkoapi::PelkoMedia& icon = user.icon;
    const std::string gender = std::to_string(user.gender);
    const std::string detail = user.hasGotDetail ? "detail" : "";
    return {user.name, user.nickname, icon.url, icon.path, icon.pathEx, user.info, gender, detail};
}

inline const Fields annsFields = {"ann",     "Annie", "http://a/i", "/app/icons/a.png", "/elsewhere/b.png",
                                  "says hi", "1",     "detail"};

/// A record with only the name.
inline void expectBare(const pelkoapi::PelkoUser& user, const std::string& name) {
    EXPECT_THAT(fieldsOf(user), testing::ElementsAre(name, "", "", "", "", "", "0", ""));
    EXPECT_EQ(user.type, pelkoapi::PelkoChatTargetTypeUser);
}

class UsersTest : public StoreTest {
protected:
    bool store(pelkoapi::PelkoUser user, pelkoapi::uint version) {
        return db().insertOrUpdateUser(user, version);
    }
    pelkoapi::PelkoUser read(std::string name) { return db().getBaseUserInfo(name); }
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

}  // namespace pelkotest

#endif  // PELKO_TESTS_CLASSES_STORAGE_USERS_TEST_H
