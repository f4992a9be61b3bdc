#include "tools/pelko/Times.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

using namespace pelkotool;

namespace {

TEST(IsoTime, IsUtc) {
    EXPECT_EQ(isoTime(0), "1970-01-01T00:00:00Z");
    EXPECT_EQ(isoTime(1527628800), "2018-05-29T21:20:00Z");
    EXPECT_EQ(isoTime(4294967295U), "2106-02-07T06:28:15Z");
}

TEST(DayText, CountsFrom1970) {
    EXPECT_EQ(dayText(0), "1970-01-01");
    EXPECT_EQ(dayText(17680), "2018-05-29");
    EXPECT_EQ(dayText(24854), "2038-01-18");
}

TEST(LocalTime, FollowsTheTimeZone) {
    const char* const before = std::getenv("TZ");
    const std::string saved = before != nullptr ? before : "";
    setenv("TZ", "EST5", 1);
    tzset();
    EXPECT_EQ(localTime(1527628800), "2018-05-29 16:20");
    setenv("TZ", "UTC", 1);
    tzset();
    EXPECT_EQ(localTime(1527628800), "2018-05-29 21:20");
    if (before != nullptr) {
        setenv("TZ", saved.c_str(), 1);
    } else {
        unsetenv("TZ");
    }
    tzset();
}

}  // namespace
