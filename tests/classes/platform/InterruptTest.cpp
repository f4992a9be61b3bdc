#include "classes/platform/Interrupt.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

using pelkoapi::catchInterrupts;
using pelkoapi::interrupted;

namespace {

TEST(Interrupt, ThereIsNoneAtFirst) {
    EXPECT_EXIT(
        {
            catchInterrupts();
            std::exit(interrupted() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Interrupt, EndsTheProgramThatDoesNotCatchIt) {
    // Not SIGINT: a shell has what it starts in the background ignore that.
    EXPECT_EXIT(std::raise(SIGTERM), testing::KilledBySignal(SIGTERM), "");
}

TEST(Interrupt, IsAMarkForTheProgramThatDoes) {
    for (const int signal : {SIGINT, SIGTERM}) {
        EXPECT_EXIT(
            {
                catchInterrupts();
                std::raise(signal);
                std::exit(interrupted() ? 0 : 1);
            },
            testing::ExitedWithCode(0), "");
    }
}

TEST(Interrupt, ThatComesTwiceAtOnceIsOne) {
    EXPECT_EXIT(
        {
            catchInterrupts();
            std::raise(SIGTERM);
            std::raise(SIGTERM);
            std::raise(SIGINT);
            std::exit(interrupted() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
