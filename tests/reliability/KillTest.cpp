#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "classes/platform/LoginContext.h"
#include "tests/reliability/support/Material.h"
#include "tests/reliability/support/Reference.h"
#include "tests/reliability/support/Workload.h"
#include "tests/support/PelkoDBManagerTestAccess.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestPlatform.h"

// The process that uses the store is killed: nothing that it acknowledged is lost, and of what it was doing a
// part only where it is made of several changes.
//
// PELKO_KILLS sets how often, PELKO_SEED where the numbers begin.

namespace pelkotest {

namespace {

namespace fs = std::filesystem;

/// A run of the store in a process of its own, which acknowledges in this order: that it begins, that the
/// store is open, each step, that the store is closed.
struct Plan {
    unsigned steps;                    ///< then it closes the store and waits for its end
    unsigned acknowledgements;         ///< it is killed after so many …
    unsigned microseconds;             ///< … and this time
    std::vector<std::string> pragmas;  ///< set once the store is open
    bool lies = false;                 ///< acknowledges each step before it is done
};

Plan drawPlan(Draw& draw) {
    std::vector<std::string> pragmas;
    if (draw.oneIn(2)) {
        // Written back all the time rather than at 1000 pages.
        pragmas.push_back("PRAGMA wal_autocheckpoint = " + std::to_string(draw.between(3, 60)));
    }
    if (draw.oneIn(3)) {
        pragmas.emplace_back("PRAGMA cache_size = 10");  // transactions soon outgrow it
    }
    const unsigned steps = draw.between(1, 200);
    switch (draw.below(5)) {
        case 0:  // while the store opens
            return {steps, 1, draw.below(3000), pragmas};
        case 1:  // at any time
            return {steps, 1, draw.below(40000), pragmas};
        case 2:  // while the store closes
            return {steps, steps + 2, draw.below(600), pragmas};
        default:
            return {steps, draw.between(2, steps + 2), draw.below(600), pragmas};
    }
}

/// The life of the process that is killed. It must not return into the test.
[[noreturn]] void live(int acknowledgements, const fs::path& folder, unsigned seed, unsigned firstStep,
                       const Plan& plan) {
    unsigned number = 0;
    const auto acknowledge = [&] {
        ++number;
        if (write(acknowledgements, &number, sizeof number) != sizeof number) {
            _exit(2);
        }
    };
    const auto failed = [](const char* what) {
        std::fprintf(stderr, "%s failed: %s\n", what,
                     platform().file.empty() ? "" : platform().file.front().c_str());
        _exit(1);
    };
    try {
        sqlite3_randomness(0, nullptr);  // drawn anew: every such process would begin with the same numbers
        const auto manager = managerIn(folder);
        acknowledge();
        if (!succeeds([&] { manager->setUp(); })) {
            failed("setUp");
        }
        acknowledge();
        for (const std::string& pragma : plan.pragmas) {
            pelkoapi::PelkoDBManagerTestAccess::connection(*manager)->execQuery(pragma.c_str());
        }
        for (unsigned i = 0; i < plan.steps; ++i) {
            const Step step = workloadStep(seed, firstStep + i);
            if (plan.lies) {
                acknowledge();
            }
            if (!succeeds([&] { step.perform(*manager); })) {
                failed(step.name);
            }
            if (!plan.lies) {
                acknowledge();
            }
        }
        manager->tearDown();
        acknowledge();
        for (;;) {
            pause();
        }
    } catch (const std::exception& exception) {
        failed(exception.what());
    }
    _exit(3);
}

/// Lets a process live until it is killed. @return the number of its last acknowledgement
unsigned lastAcknowledgement(const fs::path& folder, unsigned seed, unsigned firstStep, const Plan& plan) {
    int ends[2];
    if (pipe(ends) != 0) {
        throw std::runtime_error("no pipe");
    }
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error("no process");
    }
    if (child == 0) {
        close(ends[0]);
        live(ends[1], folder, seed, firstStep, plan);
    }
    close(ends[1]);
    unsigned last = 0;
    const auto readOne = [&] {
        unsigned number = 0;
        if (read(ends[0], &number, sizeof number) != sizeof number) {
            return false;
        }
        EXPECT_EQ(number, last + 1);
        last = number;
        return true;
    };
    while (last < plan.acknowledgements && readOne()) {
    }
    std::this_thread::sleep_for(std::chrono::microseconds(plan.microseconds));
    kill(child, SIGKILL);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)
        << "it ended by itself, status " << status;
    while (readOne()) {
    }
    close(ends[0]);
    return last;
}

struct Counts {
    unsigned long kills = 0, whileOpening = 0, atWork = 0, whileClosing = 0, withLog = 0, operations = 0,
                  partlyDone = 0;
};

void count(unsigned long number, const char* what) {
    std::printf("counted: %lu %s\n", number, what);
}

/// A store whose process is killed again and again.
class Trial {
public:
    explicit Trial(unsigned seed) : mSeed(seed), mDraw(seed), mReference(seed) {}

    /// @return what is wrong afterwards; empty when nothing is
    std::string kill(const Plan& plan, Counts& counts) {
        const unsigned last = lastAcknowledgement(mFolder.path(), mSeed, mReference.nextStep(), plan);
        Progress progress;
        progress.opened = last >= 2;
        progress.steps = progress.opened ? std::min(last - 2, plan.steps) : 0;
        progress.stepUnderWay = progress.opened && progress.steps < plan.steps;
        ++counts.kills;
        counts.whileOpening += progress.opened ? 0 : 1;
        counts.atWork += progress.stepUnderWay ? 1 : 0;
        counts.whileClosing += last == plan.steps + 2 ? 1 : 0;
        counts.withLog += hasLog() ? 1 : 0;

        const unsigned long before = mReference.acknowledgedOperations();
        const unsigned long partlyBefore = mReference.stepsPartlyDone();
        const std::string verdict = mReference.judge(mFolder.path(), {progress});
        counts.operations += mReference.acknowledgedOperations() - before;
        counts.partlyDone += mReference.stepsPartlyDone() - partlyBefore;
        return verdict;
    }

    std::string reopen() { return mReference.judgeReopened(mFolder.path()); }
    Draw& draw() { return mDraw; }

private:
    bool hasLog() const {
        std::error_code none;
        const auto size = fs::file_size(mFolder.path() / "db.dat-wal", none);
        return !none && size > 0;
    }

    unsigned mSeed;
    Draw mDraw;
    Reference mReference;
    TemporaryFolder mFolder;
};

class KillTest : public testing::Test {
protected:
    void SetUp() override {
        platform() = TestPlatform();
        pelkoapi::LoginContext::getInstance()->setUserName("me");
    }
};

void expectNothing(const std::string& verdict, unsigned seed, unsigned kill) {
    ASSERT_EQ(verdict, "") << "PELKO_SEED=" << seed << ", kill " << kill + 1;
}

TEST_F(KillTest, LosesNothingAcknowledged) {
    const unsigned kills = setting("PELKO_KILLS", 100);
    constexpr unsigned killsOfFile = 25;
    Counts counts;
    for (unsigned seed = setting("PELKO_SEED", 1); counts.kills < kills; ++seed) {
        Trial trial(seed);
        for (unsigned kill = 0; kill < killsOfFile && counts.kills < kills; ++kill) {
            ASSERT_NO_FATAL_FAILURE(expectNothing(trial.kill(drawPlan(trial.draw()), counts), seed, kill));
            // Not always, so that the process is also killed while it mends what the last one left.
            if (kill + 1 == killsOfFile || counts.kills == kills || trial.draw().oneIn(2)) {
                ASSERT_NO_FATAL_FAILURE(expectNothing(trial.reopen(), seed, kill));
            }
            ASSERT_FALSE(HasFailure()) << "PELKO_SEED=" << seed << ", kill " << kill + 1;
        }
    }
    EXPECT_GT(counts.atWork, 0U);
    count(counts.kills, "kills");
    count(counts.whileOpening, "kills during setUp");
    count(counts.atWork, "kills between or during operations");
    count(counts.whileClosing, "kills during tearDown");
    count(counts.withLog, "kills that left a log to take up");
    count(counts.operations, "operations acknowledged before a kill");
    count(counts.partlyDone, "bulk steps found partly done after a kill");
}

// The test can fail: a process that acknowledges what it has not done is found out.
TEST_F(KillTest, FindsOutALiar) {
    Counts counts;
    for (unsigned seed = 1; seed <= 50; ++seed) {
        Trial trial(seed);
        Plan plan = {50, trial.draw().between(3, 50), 0, {}};
        plan.lies = true;
        if (!trial.kill(plan, counts).empty()) {
            return;
        }
    }
    FAIL() << "no loss in " << counts.kills << " kills";
}

// What the two tests above compare with: every step succeeds on a store that nothing happens to, and its
// single changes come to the same.
TEST_F(KillTest, StepsAreMadeOfTheirChanges) {
    const TemporaryFolder folderOfSteps;
    const TemporaryFolder folderOfChanges;
    const auto steps = managerIn(folderOfSteps.path());
    ASSERT_TRUE(steps->setUp());
    const auto changes = managerIn(folderOfChanges.path());
    ASSERT_TRUE(changes->setUp());
    const auto rowsIn = [](const TemporaryFolder& folder) {
        return storedRows((folder.path() / "db.dat").string());
    };
    for (unsigned i = 0; i < 400; ++i) {
        const Step step = workloadStep(1, i);
        ASSERT_TRUE(succeeds([&] { step.perform(*steps); })) << step.name;
        for (const Action& change : step.changes) {
            ASSERT_TRUE(succeeds([&] { change(*changes); })) << step.name;
        }
        if (i % 10 == 9) {
            ASSERT_EQ(difference(rowsIn(folderOfSteps), rowsIn(folderOfChanges)), "") << "up to step " << i;
        }
    }
    for (const auto& [table, rows] : rowsIn(folderOfSteps)) {
        EXPECT_FALSE(rows.empty()) << table;
    }
}

}  // namespace

}  // namespace pelkotest
