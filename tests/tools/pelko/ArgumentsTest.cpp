#include "tools/pelko/Arguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/pelko/ToolError.h"

using namespace pelkotool;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(ParseRowIds, TakesEachOnce) {
    EXPECT_THAT(parseRowIds({"9", "3", "9", "003"}, 10), ElementsAre(3, 9));
    EXPECT_THAT(parseRowIds({}, 10), IsEmpty());
}

TEST(ParseRowIds, RefusesWhatIsNoRow) {
    for (const char* const text : {"", "0", "11", "-1", "x", "1,2"}) {
        EXPECT_THROW(parseRowIds({"1", text}, 10), UsageError) << text;
    }
}

TEST(ParseRoomAndGroup, TakeIdsAndTargets) {
    EXPECT_EQ(parseRoom("5001").id, 5001);
    EXPECT_TRUE(parseRoom("room:5001") == parseRoom("5001"));
    EXPECT_EQ(parseRoom("4294967295").id, 4294967295);
    EXPECT_TRUE(parseGroup("group:77") == parseGroup("77"));
    EXPECT_EQ(parseGroup("9223372036854775807").id, 9223372036854775807);
}

TEST(ParseRoomAndGroup, RefuseWhatTheStoreCannotTellApart) {
    for (const char* const text : {"", "4294967296", "-1", "group:5", "user:ann", "room:", "5 ", "0x5"}) {
        EXPECT_THROW(parseRoom(text), UsageError) << text;
    }
    for (const char* const text : {"", "9223372036854775808", "-1", "room:5", "group:"}) {
        EXPECT_THROW(parseGroup(text), UsageError) << text;
    }
}

TEST(ParseCount, TakesWhatTheStoreKeeps) {
    EXPECT_EQ(parseCount("--n", std::nullopt), std::nullopt);
    EXPECT_EQ(parseCount("--n", std::string("0")), 0U);
    EXPECT_EQ(parseCount("--n", std::string("4294967295")), 4294967295U);
    for (const char* const text : {"", "-1", "4294967296", "x"}) {
        EXPECT_THROW(parseCount("--n", std::string(text)), UsageError) << text;
    }
}

TEST(RequireFindable, RefusesQuotesAndTheEmptyName) {
    EXPECT_NO_THROW(requireFindable("Günther \" ; --"));
    EXPECT_THROW(requireFindable("o'brien"), UsageError);
    EXPECT_THROW(requireFindable(""), UsageError);
}

TEST(RequireNoQuote, NamesTheOption) {
    EXPECT_NO_THROW(requireNoQuote("--icon-url", std::nullopt));
    EXPECT_NO_THROW(requireNoQuote("--icon-url", std::string("x\"y")));
    try {
        requireNoQuote("--icon-url", std::string("x'y"));
        ADD_FAILURE() << "taken";
    } catch (const UsageError& error) {
        EXPECT_STREQ(error.what(),
                     "--icon-url 'x'y': the store cannot hold a single quote there; leave it out");
    }
}

}  // namespace
