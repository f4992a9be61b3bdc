#include "tools/pelko/ProgressBar.h"

#include <gtest/gtest.h>

using pelkotool::ProgressBar;

namespace {

TEST(ProgressBarLine, TellsHowFarTheWorkIs) {
    EXPECT_EQ(ProgressBar::line(0, 200, "a.log", 80), "[..............................]   0%  a.log");
    EXPECT_EQ(ProgressBar::line(101, 200, "a.log", 80), "[###############...............]  50%  a.log");
    EXPECT_EQ(ProgressBar::line(200, 200, "a.log", 80), "[##############################] 100%  a.log");
}

TEST(ProgressBarLine, IsFullWhenThereIsNothingOrLessToDoThanThought) {
    EXPECT_EQ(ProgressBar::line(0, 0, "a.log", 80), "[##############################] 100%  a.log");
    EXPECT_EQ(ProgressBar::line(9, 3, "a.log", 80), "[##############################] 100%  a.log");
}

TEST(ProgressBarLine, StaysWithinTheTerminalAndCannotSteerIt) {
    EXPECT_EQ(ProgressBar::line(0, 1, "a.log", 36), "[..............................]   …");
    EXPECT_EQ(ProgressBar::line(0, 1, "\x1b[2J", 80), "[..............................]   0%  \\x1B[2J");
}

}  // namespace
