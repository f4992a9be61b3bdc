#include "tools/pelko/DateRange.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdlib>
#include <ctime>
#include <memory>

#include "tools/pelko/ToolError.h"

using namespace pelkotool;
using testing::HasSubstr;

namespace {

class DateRangeTest : public testing::Test {
protected:
    void SetUp() override { liveIn("UTC"); }
    void TearDown() override { liveIn("UTC"); }

    static void liveIn(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }

    static DateRange since(const std::string& text) { return parseDateRange({text, std::nullopt}); }
    static DateRange until(const std::string& text) { return parseDateRange({std::nullopt, text}); }
};

constexpr long long march1 = 1709251200;  // 2024-03-01 00:00 UTC

TEST_F(DateRangeTest, RefusesWhatIsNoDate) {
    for (const char* const text : {"",
                                   "x",
                                   "yesterday",
                                   "2024",
                                   "2024-03",
                                   "2024-3-1",
                                   "24-03-01",
                                   "2024/03/01",
                                   "2024-03-01x",
                                   "2024-03-01 ",
                                   " 2024-03-01",
                                   "2024-03-01 18",
                                   "2024-03-01 18:3",
                                   "2024-03-01 18:30:00",
                                   "2024-03-01  18:30",
                                   "2024-03-01_18:30",
                                   "2024-03-01 1830",
                                   "2024-03-01T18:30Z",
                                   "01-03-2024",
                                   "2024-03- 1",
                                   "2024- 3-01",
                                   " 024-03-01",
                                   "+024-03-01",
                                   "-024-03-01",
                                   "2024-03-+1",
                                   "2024-03-01 18: 5",
                                   "2024-03-01  8:30"}) {
        EXPECT_THROW(since(text), UsageError) << '\'' << text << '\'';
        EXPECT_THROW(until(text), UsageError) << '\'' << text << '\'';
    }
}

TEST_F(DateRangeTest, RefusesDaysAndMinutesThatThereAreNot) {
    for (const char* const text : {"2024-02-30", "2023-02-29", "2024-04-31", "2024-13-01", "2024-00-01",
                                   "2024-01-00", "2024-01-32", "2024-03-01 24:00", "2024-03-01 18:60"}) {
        EXPECT_THROW(since(text), UsageError) << text;
        EXPECT_THROW(until(text), UsageError) << text;
    }
}

TEST_F(DateRangeTest, RefusesDaysBefore1970) {
    EXPECT_THROW(since("1969-12-31"), UsageError);
    EXPECT_THROW(since("0000-01-01"), UsageError);
    EXPECT_EQ(since("1970-01-01").since, 0);
}

TEST_F(DateRangeTest, NamesTheOptionAndTheText) {
    try {
        until("2024-02-30");
        ADD_FAILURE() << "taken";
    } catch (const UsageError& error) {
        EXPECT_STREQ(error.what(),
                     "--until '2024-02-30' is no date since 1970; write 2024-03-01 or \"2024-03-01 18:30\"");
    }
}

TEST_F(DateRangeTest, RefusesARangeThatEndsBeforeItBegins) {
    EXPECT_THROW(parseDateRange({"2024-03-02", "2024-03-01"}), UsageError);
    EXPECT_THROW(parseDateRange({"2024-03-01 18:31", "2024-03-01 18:30"}), UsageError);
    EXPECT_NO_THROW(parseDateRange({"2024-03-01", "2024-03-01"}));
    EXPECT_NO_THROW(parseDateRange({"2024-03-01 18:30", "2024-03-01 18:30"}));
    EXPECT_NO_THROW(parseDateRange({"2024-03-01 18:30", "2024-03-01"}));
}

TEST_F(DateRangeTest, IsWholeWithoutOptions) {
    const DateRange range = parseDateRange({});
    EXPECT_TRUE(range.isWhole());
    EXPECT_TRUE(range.contains(0));
    EXPECT_TRUE(range.contains(4294967295U));
    EXPECT_EQ(range.words(), "all dates");
    EXPECT_FALSE(since("2024-03-01").isWhole());
    EXPECT_FALSE(until("2024-03-01").isWhole());
}

TEST_F(DateRangeTest, TakesDaysFromTheirStartThroughToTheirEnd) {
    const DateRange day = parseDateRange({"2024-03-01", "2024-03-01"});
    EXPECT_EQ(day.since, march1);
    EXPECT_EQ(day.before, march1 + 24 * 60 * 60);
    EXPECT_EQ(until("2024-02-29").before, march1);
    EXPECT_EQ(until("2023-12-31").before, *since("2024-01-01").since);
}

TEST_F(DateRangeTest, TakesMinutesFromTheirStartThroughToTheirEnd) {
    constexpr long long halfPastSix = march1 + (18 * 60 + 30) * 60;
    for (const char* const text : {"2024-03-01 18:30", "2024-03-01T18:30"}) {
        const DateRange minute = parseDateRange({text, text});
        EXPECT_EQ(minute.since, halfPastSix) << text;
        EXPECT_EQ(minute.before, halfPastSix + 60) << text;
    }
    EXPECT_EQ(until("2024-02-29 23:59").before, march1);
}

TEST_F(DateRangeTest, MeansLocalDays) {
    liveIn("Europe/Berlin");
    EXPECT_EQ(since("2024-03-01").since, march1 - 60 * 60);
    const DateRange shortDay = parseDateRange({"2024-03-31", "2024-03-31"});
    EXPECT_EQ(*shortDay.before - *shortDay.since, 23 * 60 * 60);
    const DateRange longDay = parseDateRange({"2024-10-27", "2024-10-27"});
    EXPECT_EQ(*longDay.before - *longDay.since, 25 * 60 * 60);
}

TEST_F(DateRangeTest, ContainsItsFirstSecondAndNotTheOneBehindItsLast) {
    const DateRange day = parseDateRange({"2024-03-01", "2024-03-01"});
    EXPECT_FALSE(day.contains(static_cast<unsigned int>(march1 - 1)));
    EXPECT_TRUE(day.contains(static_cast<unsigned int>(march1)));
    EXPECT_TRUE(day.contains(static_cast<unsigned int>(march1 + 24 * 60 * 60 - 1)));
    EXPECT_FALSE(day.contains(static_cast<unsigned int>(march1 + 24 * 60 * 60)));
    EXPECT_TRUE(since("2100-01-01").contains(4294967295U));
    EXPECT_FALSE(until("2100-01-01").contains(4294967295U));
}

TEST_F(DateRangeTest, ItsConditionSelectsWhatItContains) {
    sqlite3* opened = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &opened), SQLITE_OK);
    const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> db(opened, sqlite3_close);
    const auto selects = [&](const DateRange& range, unsigned int date) {
        // As the store keeps it.
        const std::string sql = "SELECT count(*) FROM (SELECT " + std::to_string(static_cast<int>(date)) +
                                " AS day) WHERE " + range.condition("day");
        sqlite3_stmt* statement = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(db.get(), sql.c_str(), -1, &statement, nullptr), SQLITE_OK) << sql;
        EXPECT_EQ(sqlite3_step(statement), SQLITE_ROW);
        const int count = sqlite3_column_int(statement, 0);
        sqlite3_finalize(statement);
        return count == 1;
    };
    const DateRange ranges[] = {parseDateRange({}),  since("2024-03-01"),
                                until("2024-03-01"), parseDateRange({"2024-03-01", "2024-03-01"}),
                                since("2038-01-20"), until("2038-01-20"),
                                since("2100-01-01"), since("2200-01-01")};
    const auto first = static_cast<unsigned int>(march1);
    for (const DateRange& range : ranges) {
        for (const unsigned int date : {0U, 1U, first - 1, first, first + 86399, first + 86400, 2147483647U,
                                        2147483648U, 4102444800U, 4294967295U}) {
            EXPECT_EQ(selects(range, date), range.contains(date)) << range.words() << ", " << date;
        }
    }
}

TEST_F(DateRangeTest, SaysItselfInWords) {
    EXPECT_EQ(since("2024-03-01").words(), "since 2024-03-01 00:00");
    EXPECT_EQ(until("2024-03-01").words(), "until 2024-03-01 23:59");
    EXPECT_EQ(parseDateRange({"2024-03-01 18:30", "2024-03-02"}).words(),
              "2024-03-01 18:30 to 2024-03-02 23:59");
}

TEST_F(DateRangeTest, TakesItsOptionsFromTheCommandLine) {
    CLI::App app;
    DateOptions options;
    addDateOptions(app, options);
    app.parse("--since 2024-03-01 --until \"2024-03-01 18:30\"");
    EXPECT_EQ(options.since, "2024-03-01");
    EXPECT_EQ(options.until, "2024-03-01 18:30");
}

}  // namespace
