#include "tools/pelko/Target.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/pelko/ToolError.h"

using namespace pelkotool;
using pelkoapi::PelkoChatTarget;
using testing::AllOf;
using testing::HasSubstr;

namespace {

TEST(ParseTarget, KnowsTheFourForms) {
    EXPECT_TRUE(parseTarget("user:alice") == PelkoChatTarget("alice"));
    EXPECT_TRUE(parseTarget("room:5001") == PelkoChatTarget(5001, pelkoapi::PelkoChatTargetTypeRoom));
    EXPECT_TRUE(parseTarget("group:77") == PelkoChatTarget(77, pelkoapi::PelkoChatTargetTypeGroup));
    EXPECT_TRUE(parseTarget("service:9") == PelkoChatTarget(9, pelkoapi::PelkoChatTargetTypeCustomerService));
}

TEST(ParseTarget, TakesAnyNameForAUser) {
    for (const char* const name : {"o'brien", "room:7", "a b", "caf\xe9", ":", "0"}) {
        EXPECT_EQ(parseTarget(std::string("user:") + name).name, name);
    }
}

TEST(ParseTarget, TakesTheIdsThatTheStoreGivesBack) {
    EXPECT_EQ(parseTarget("room:4294967295").id, 4294967295);
    EXPECT_EQ(parseTarget("service:4294967295").id, 4294967295);
    EXPECT_EQ(parseTarget("group:9223372036854775807").id, 9223372036854775807);
    EXPECT_EQ(parseTarget("room:0").id, 0);
    EXPECT_THROW(parseTarget("room:4294967296"), UsageError);
    EXPECT_THROW(parseTarget("service:4294967296"), UsageError);
    EXPECT_THROW(parseTarget("group:9223372036854775808"), UsageError);
}

TEST(ParseTarget, RefusesAnythingElseWithTheInputAndTheForms) {
    for (const char* const text : {"", "alice", "user", "user:", "room:", ":5", "User:alice", " user:alice",
                                   "channel:5", "room 5", "5"}) {
        try {
            parseTarget(text);
            ADD_FAILURE() << "taken: " << text;
        } catch (const UsageError& error) {
            EXPECT_THAT(error.what(),
                        AllOf(HasSubstr("'" + std::string(text) + "'"), HasSubstr("user:alice"),
                              HasSubstr("room:5001"), HasSubstr("group:77"), HasSubstr("service:9")));
        }
    }
    for (const char* const text :
         {"room:x", "room:-1", "group:1.5", "service:0x9", "room:5 ", "room:user:a"}) {
        try {
            parseTarget(text);
            ADD_FAILURE() << "taken: " << text;
        } catch (const UsageError& error) {
            EXPECT_THAT(error.what(), HasSubstr("'" + std::string(text) + "'"));
        }
    }
}

TEST(TargetText, IsTheInverse) {
    for (const char* const text : {"user:alice", "user:o'brien", "room:5001", "group:77", "service:9"}) {
        EXPECT_EQ(targetText(parseTarget(text)), text);
    }
}

TEST(TargetText, IsEmptyForNoTarget) {
    EXPECT_EQ(targetText({}), "");
    EXPECT_EQ(targetText({5, static_cast<pelkoapi::PelkoChatTargetType>(4)}), "");
}

}  // namespace
