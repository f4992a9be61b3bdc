#include <utility>

#include "classes/sqlite/CppSQLite3.h"
#include "tests/support/StoreTest.h"

// How long a text of the current row can be used.

namespace pelkotest {

namespace {

using pelkoapi::CppSQLite3DB;
using pelkoapi::CppSQLite3Query;

TEST(TextFieldTest, TextStaysWhileTheOtherColumnsOfItsRowAreRead) {
    const TemporaryFolder folder;
    CppSQLite3DB db;
    db.open((folder.path() / "test.db").string().c_str());
    CppSQLite3Query query = db.execQuery(
        "SELECT 'one' AS first, 'two' AS second, 3 AS number, NULL AS absent UNION ALL "
        "SELECT 'four', 'five', 6, NULL");
    for (const auto& [expectedFirst, expectedSecond] : {std::pair("one", "two"), std::pair("four", "five")}) {
        const char* const first = query.getStringField("first", "");
        const char* const second = query.getStringField("second", "");
        query.getIntField("number", 0);
        query.getInt64Field(2, 0);
        query.getStringField("number", "");
        query.getStringField("absent", "none");
        query.getStringField("first", "");
        EXPECT_STREQ(first, expectedFirst);
        EXPECT_STREQ(second, expectedSecond);
        query.nextRow();
    }
    EXPECT_TRUE(query.eof());
    EXPECT_STREQ(query.getStringField(0, "none"), "none");
    EXPECT_STREQ(query.getStringField("first", "none"), "none");
}

}  // namespace

}  // namespace pelkotest
