#ifndef PELKO_TESTS_CLASSES_STORAGE_RELATIONSHIPS_TEST_H
#define PELKO_TESTS_CLASSES_STORAGE_RELATIONSHIPS_TEST_H

#include <string>
#include <vector>

#include "tests/support/StoreTest.h"

namespace pelkotest {

using pelkoapi::PelkoDBManager;
using Names = std::vector<std::string>;

/// One of the two lists, through its public operations.
struct RelationList {
    const char* label;
    std::string number;       ///< as block_state holds it
    std::string otherNumber;  ///< that of the other list
    const char* saveName;     ///< operation name of the save
    bool (PelkoDBManager::*add)(std::string&);
    bool (PelkoDBManager::*remove)(std::string&);
    bool (PelkoDBManager::*has)(std::string&);
    bool (PelkoDBManager::*clear)();
    Names (PelkoDBManager::*names)();
    unsigned int (PelkoDBManager::*save)(Names&);
    bool (PelkoDBManager::*replace)(Names&);
};

inline void PrintTo(const RelationList& list, std::ostream* out) {
    *out << list.label;
}

// clang-format off
inline const RelationList friends{"Friends", "0", "1", "saveFriendList",
    &PelkoDBManager::addFriend, &PelkoDBManager::deleteFriend, &PelkoDBManager::isFriend,
    &PelkoDBManager::clearFriendList, &PelkoDBManager::getFriendUsernames, &PelkoDBManager::saveFriendList,
    &PelkoDBManager::replaceFriendList};
inline const RelationList blocked{"Blocked", "1", "0", "saveBlockList",
    &PelkoDBManager::blockUser, &PelkoDBManager::unblockUser, &PelkoDBManager::isBlocked,
    &PelkoDBManager::clearBlockList, &PelkoDBManager::getBlockUsernames, &PelkoDBManager::saveBlockList,
    &PelkoDBManager::replaceBlockList};
// clang-format on

class RelationshipsTest : public StoreTest, public testing::WithParamInterface<RelationList> {
protected:
    bool add(std::string name) { return (db().*GetParam().add)(name); }
    bool remove(std::string name) { return (db().*GetParam().remove)(name); }
    bool has(std::string name) { return (db().*GetParam().has)(name); }
    bool clear() { return (db().*GetParam().clear)(); }
    Names names() { return (db().*GetParam().names)(); }
    unsigned int save(Names list) { return (db().*GetParam().save)(list); }
    bool replace(Names list) { return (db().*GetParam().replace)(list); }

    static std::string number() { return GetParam().number; }
    static std::string lookupOf(const std::string& name) {
        return "SELECT * FROM tbl_relationship WHERE username = '" + name + "' AND block_state = " + number();
    }
    static std::string insertOf(const std::string& name) {
        return "INSERT INTO tbl_relationship (username, block_state) VALUES ('" + name + "', " + number() +
               ")";
    }
    static std::string removalOf(const std::string& name) {
        return "DELETE FROM tbl_relationship WHERE username = '" + name + "' AND block_state = " + number();
    }
    static std::string clearing() { return "DELETE FROM tbl_relationship WHERE block_state = " + number(); }

    /// Puts names on this list, or on the other one, past the store.
    void given(const Names& list, const std::string& relation = number()) {
        for (const std::string& name : list) {
            execute("INSERT INTO tbl_relationship VALUES ('" + db().transStringQuote(name) + "', " +
                    relation + ")");
        }
    }
    std::vector<Row> table() const { return rows("SELECT * FROM tbl_relationship ORDER BY rowid"); }
    /// The stored names of this list.
    Names stored() const {
        Names found;
        for (const Row& row : rows("SELECT username FROM tbl_relationship WHERE block_state = " + number() +
                                   " ORDER BY rowid")) {
            found.push_back(row.front().value_or("NULL"));
        }
        return found;
    }
    /// What becomes of each INSERT or DELETE of a name that meets the condition.
    void rejectEach(const std::string& verb, const std::string& condition, const std::string& raise) {
        changeTables("CREATE TRIGGER reject BEFORE " + verb + " ON tbl_relationship WHEN " + condition +
                     " BEGIN SELECT RAISE(" + raise + "); END");
    }

    /// Expects of every operation its neutral result, its not-ready line and no statement.
    void expectNotReadyEach() {
        const auto expectLine = [this](const char* operation) {
            expectNotReadyLogged(operation);
            EXPECT_THAT(statements(), testing::IsEmpty());
            forget();
        };
        forget();
        EXPECT_FALSE(add("ann"));
        expectLine("addRelationship");
        EXPECT_FALSE(remove("ann"));
        expectLine("removeRelationship");
        EXPECT_FALSE(clear());
        expectLine("removeRelationship");
        EXPECT_FALSE(has("ann"));
        expectLine("hasRelationship");
        EXPECT_THAT(names(), testing::IsEmpty());
        expectLine("getRelationUsernames");
        EXPECT_EQ(save({"ann"}), 0U);
        expectLine(GetParam().saveName);
        EXPECT_EQ(save({}), 0U);
        expectLine(GetParam().saveName);
    }
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_CLASSES_STORAGE_RELATIONSHIPS_TEST_H
