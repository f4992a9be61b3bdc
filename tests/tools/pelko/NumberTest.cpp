#include "tools/pelko/Number.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "tools/pelko/ToolError.h"

using namespace pelkotool;

namespace {

TEST(ParseNumber, TakesNumbersWithinTheirLimits) {
    EXPECT_EQ(parseNumber("-n", "1", 1, 20), 1);
    EXPECT_EQ(parseNumber("-n", "20", 1, 20), 20);
    EXPECT_EQ(parseNumber("-n", "007", 1, 20), 7);
    EXPECT_EQ(parseNumber("-n", "9223372036854775807", 0, std::numeric_limits<long long>::max()),
              std::numeric_limits<long long>::max());
}

TEST(ParseNumber, RefusesEverythingElse) {
    for (const char* const text : {"", "0", "21", "-1", "-0", "+1", " 1", "1 ", "1.0", "1e1", "0x1", "one",
                                   "9223372036854775808", "99999999999999999999"}) {
        EXPECT_THROW(parseNumber("-n", text, 1, 20), UsageError) << text;
    }
}

TEST(ParseNumber, NamesTheInputAndTheLimits) {
    try {
        parseNumber("--batch", "many", 1, 20);
        ADD_FAILURE() << "taken";
    } catch (const UsageError& error) {
        EXPECT_STREQ(error.what(), "--batch 'many' is not a number from 1 to 20");
        EXPECT_EQ(error.code(), ExitCode::wrongUsage);
    }
}

}  // namespace
