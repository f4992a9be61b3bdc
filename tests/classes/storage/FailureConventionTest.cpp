#include "classes/storage/FailureConvention.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/TestPlatform.h"

namespace pelkotest {

namespace {

using pelkoapi::CppSQLite3Exception;
using pelkoapi::logFailure;
using pelkoapi::logNotClosed;
using pelkoapi::logNotReady;
using pelkoapi::withFailureLogged;
using testing::ElementsAre;
using testing::IsEmpty;

class FailureConventionTest : public testing::Test {
protected:
    void SetUp() override { platform() = TestPlatform(); }
    void TearDown() override { platform() = TestPlatform(); }
};

struct Line {
    const char* name;
    void (*write)();
    std::string text;
};

/// One line of every kind.
const std::vector<Line>& lines() {
    static const std::vector<Line> all = {
        {"not ready", [] { logNotReady("getMessage", 42); }, "db is not ready(getMessage, line:42)."},
        {"failure", [] { logFailure("setUp", "disk I/O error"); },
         "setUp failed, exception in (disk I/O error)."},
        {"not closed", [] { logNotClosed(); }, "db is not correctly closed."},
    };
    return all;
}

TEST_F(FailureConventionTest, EachChannelHasItsOwnSwitch) {
    for (const Line& line : lines()) {
        for (const bool console : {false, true}) {
            for (const bool file : {false, true}) {
                SCOPED_TRACE(testing::Message() << line.name << console << file);
                platform() = TestPlatform();
                platform().consoleOn = console;
                platform().fileOn = file;

                line.write();

                const std::vector<std::string> none;
                EXPECT_EQ(platform().console,
                          console ? std::vector<std::string>{"[pelko]" + line.text} : none);
                EXPECT_EQ(platform().file, file ? std::vector<std::string>{line.text} : none);
            }
        }
    }
}

TEST_F(FailureConventionTest, EachSwitchIsAskedAnewBeforeEveryLine) {
    for (const Line& line : lines()) {
        SCOPED_TRACE(line.name);
        platform() = TestPlatform();
        line.write();
        EXPECT_EQ(platform().consoleSwitchAsked, 1);
        EXPECT_EQ(platform().fileSwitchAsked, 1);

        platform().consoleOn = false;
        line.write();
        platform().consoleOn = true;
        platform().fileOn = false;
        line.write();
        EXPECT_EQ(platform().consoleSwitchAsked, 3);
        EXPECT_EQ(platform().fileSwitchAsked, 3);
        EXPECT_EQ(platform().console.size(), 2U);
        EXPECT_EQ(platform().file.size(), 2U);
    }
}

TEST_F(FailureConventionTest, TextsEnterTheLinesAsTheyAre) {
    logFailure("insertMessage", "near \"%s%n\": it's 100%");
    logFailure("insertMessage", "");
    EXPECT_THAT(platform().file, ElementsAre("insertMessage failed, exception in (near \"%s%n\": it's 100%).",
                                             "insertMessage failed, exception in ()."));
    EXPECT_THAT(platform().console,
                ElementsAre("[pelko]insertMessage failed, exception in (near \"%s%n\": it's 100%).",
                            "[pelko]insertMessage failed, exception in ()."));
}

TEST_F(FailureConventionTest, LongMessagesAreNotCut) {
    const std::string message(10000, 'm');
    logFailure("getMessage", message.c_str());
    EXPECT_THAT(platform().file, ElementsAre("getMessage failed, exception in (" + message + ")."));
}

TEST_F(FailureConventionTest, GivesTheResultOfTheWork) {
    EXPECT_TRUE(withFailureLogged("work", false, [] { return true; }));
    EXPECT_EQ(withFailureLogged("work", 0, [] { return 5; }), 5);
    EXPECT_EQ(withFailureLogged("work", std::string(), [] { return std::string("found"); }), "found");
    EXPECT_THAT(platform().console, IsEmpty());
    EXPECT_THAT(platform().file, IsEmpty());
    EXPECT_EQ(platform().consoleSwitchAsked, 0);
    EXPECT_EQ(platform().fileSwitchAsked, 0);
}

TEST_F(FailureConventionTest, ADatabaseErrorBecomesALineAndTheNeutralResult) {
    const bool result = withFailureLogged(
        "deleteSession", false, []() -> bool { throw CppSQLite3Exception(1, "no such table: t", false); });
    EXPECT_FALSE(result);
    EXPECT_THAT(platform().console,
                ElementsAre("[pelko]deleteSession failed, exception in (no such table: t)."));
    EXPECT_THAT(platform().file, ElementsAre("deleteSession failed, exception in (no such table: t)."));
}

TEST_F(FailureConventionTest, TheNeutralResultIsTheCallers) {
    EXPECT_TRUE(withFailureLogged("a", true, []() -> bool { throw CppSQLite3Exception(1, "gone", false); }));
    EXPECT_EQ(withFailureLogged("b", -7, []() -> int { throw CppSQLite3Exception(1, "gone", false); }), -7);
    EXPECT_EQ(withFailureLogged("c", std::string("none"),
                                []() -> std::string { throw CppSQLite3Exception(1, "gone", false); }),
              "none");
    const std::unique_ptr<int> moved =
        withFailureLogged("d", std::make_unique<int>(3),
                          []() -> std::unique_ptr<int> { throw CppSQLite3Exception(1, "gone", false); });
    ASSERT_NE(moved, nullptr);
    EXPECT_EQ(*moved, 3);
    EXPECT_EQ(platform().file.size(), 4U);
}

TEST_F(FailureConventionTest, AFailureIsNeutralWithBothSwitchesOffToo) {
    platform().consoleOn = false;
    platform().fileOn = false;
    EXPECT_EQ(withFailureLogged("quiet", 4, []() -> int { throw CppSQLite3Exception(1, "gone", false); }), 4);
    EXPECT_THAT(platform().console, IsEmpty());
    EXPECT_THAT(platform().file, IsEmpty());
}

TEST_F(FailureConventionTest, OnlyDatabaseErrorsAreCaught) {
    EXPECT_THROW(withFailureLogged("work", false, []() -> bool { throw std::bad_alloc(); }), std::bad_alloc);
    EXPECT_THROW(withFailureLogged("work", false, []() -> bool { throw std::runtime_error("gone"); }),
                 std::runtime_error);
    EXPECT_THROW(withFailureLogged("work", false, []() -> bool { throw std::exception(); }), std::exception);
    EXPECT_THROW(withFailureLogged("work", false, []() -> bool { throw 5; }), int);
    EXPECT_THAT(platform().console, IsEmpty());
    EXPECT_THAT(platform().file, IsEmpty());
}

TEST_F(FailureConventionTest, ErrorsDerivedFromADatabaseErrorAreCaughtToo) {
    class Special : public CppSQLite3Exception {
    public:
        Special() : CppSQLite3Exception(1, "special", false) {}
    };
    EXPECT_FALSE(withFailureLogged("work", false, []() -> bool { throw Special(); }));
    EXPECT_THAT(platform().file, ElementsAre("work failed, exception in (special)."));
}

TEST_F(FailureConventionTest, TheWorkRunsOnce) {
    int runs = 0;
    withFailureLogged("work", false, [&]() -> bool {
        ++runs;
        throw CppSQLite3Exception(1, "gone", false);
    });
    EXPECT_EQ(runs, 1);
}

}  // namespace

}  // namespace pelkotest
