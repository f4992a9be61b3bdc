#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "classes/platform/LoginContext.h"
#include "tests/reliability/support/Material.h"
#include "tests/reliability/support/PowerCut.h"
#include "tests/reliability/support/Reference.h"
#include "tests/reliability/support/Workload.h"
#include "tests/support/PelkoDBManagerTestAccess.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestPlatform.h"

// The power fails while the store works: nothing that it acknowledged is lost, and of what it was doing a
// part only where it is made of several changes.
//
// PELKO_CUTS sets how often, PELKO_SEED where the numbers begin.

namespace pelkotest {

namespace {

namespace fs = std::filesystem;

/// A run of the store and the moment at which the power fails in it.
struct Plan {
    enum Moment { Opening, AtWork, Checkpoint, Closing, Reopening } moment;
    unsigned call;                     ///< it fails in the so manieth call of those that count then,
    unsigned steps;                    ///< but at the latest after so many steps
    std::vector<std::string> pragmas;  ///< set once the store is open
};

Plan drawPlan(Draw& draw, bool fresh) {
    // The log is written back at 1000 pages, or sooner, so that it happens more often.
    const bool smallLog = draw.oneIn(2);
    std::vector<std::string> pragmas;
    if (smallLog) {
        pragmas.push_back("PRAGMA wal_autocheckpoint = " + std::to_string(draw.between(5, 100)));
    }
    if (draw.oneIn(3)) {
        pragmas.emplace_back("PRAGMA cache_size = 10");  // transactions soon outgrow it
    }
    switch (draw.below(8)) {
        case 0:
            return {Plan::Opening, draw.between(1, fresh ? 150 : 12), 200, pragmas};
        case 1:
        case 2:
        case 3:
            return {Plan::AtWork, draw.between(1, 2000), 400, pragmas};
        case 4:
        case 5:
            return {Plan::Checkpoint, draw.between(1, smallLog ? 60 : 400), 400, pragmas};
        case 6:
            return {Plan::Closing, draw.between(1, draw.oneIn(2) ? 10 : 150), draw.below(120), pragmas};
        default:
            return {Plan::Reopening, draw.between(1, 10), draw.below(60), pragmas};
    }
}

/// Opens the store on the medium and takes steps until the power fails, or as many as are planned.
Progress run(pelkoapi::PelkoDBManager& manager, const PowerCut& medium, unsigned seed, unsigned firstStep,
             const Plan& plan) {
    Progress progress;
    bool opened = false;
    progress.opened = succeeds([&] { opened = manager.setUp(); }) && opened;
    EXPECT_TRUE(progress.opened || medium.failed()) << "the store did not open";
    if (progress.opened) {
        for (const std::string& pragma : plan.pragmas) {
            pelkoapi::PelkoDBManagerTestAccess::connection(manager)->execQuery(pragma.c_str());
        }
    }
    while (progress.opened && !medium.failed() && progress.steps < plan.steps) {
        const Step step = workloadStep(seed, firstStep + progress.steps);
        if (!succeeds([&] { step.perform(manager); })) {
            EXPECT_TRUE(medium.failed())
                << step.name << " failed without a reason: " << testing::PrintToString(platform().file);
            progress.stepUnderWay = true;
            break;
        }
        ++progress.steps;
    }
    return progress;
}

/// Runs the store until the power fails.
std::vector<Progress> runUntilCut(const fs::path& folder, PowerCut& medium, unsigned seed, unsigned firstStep,
                                  const Plan& plan) {
    const ShimVfs layer(medium);
    const auto manager = managerIn(folder);
    if (plan.moment == Plan::Checkpoint) {
        medium.failAtChangeOfDatabase(plan.call);
    } else if (plan.moment == Plan::Opening || plan.moment == Plan::AtWork) {
        medium.failAtChange(plan.call);
    }
    std::vector<Progress> runs = {run(*manager, medium, seed, firstStep, plan)};
    if (plan.moment == Plan::Closing) {
        medium.failAtChange(plan.call);
        manager->tearDown();
    } else if (plan.moment == Plan::Reopening) {
        manager->tearDown();
        medium.failAtChange(plan.call);
        runs.push_back(run(*manager, medium, seed, firstStep + runs.front().steps, plan));
    }
    medium.failNow();  // at the latest
    return runs;
}

struct Counts {
    unsigned long cuts = 0, whileOpening = 0, inDatabase = 0, operations = 0, partlyDone = 0;
    PowerCut::Losses losses;
};

void count(unsigned long number, const char* what) {
    std::printf("counted: %lu %s\n", number, what);
}

/// A store whose power fails again and again.
class Trial {
public:
    explicit Trial(unsigned seed) : mSeed(seed), mDraw(seed), mReference(seed) {}

    /// @return what is wrong afterwards; empty when nothing is
    std::string cut(const Plan& plan, Counts& counts) {
        PowerCut medium(mFolder.path(), mDraw.below(1000000));
        const std::vector<Progress> runs =
            runUntilCut(mFolder.path(), medium, mSeed, mReference.nextStep(), plan);
        const PowerCut::Losses losses = medium.restore();
        const unsigned long before = mReference.acknowledgedOperations();
        const unsigned long partlyBefore = mReference.stepsPartlyDone();
        const std::string verdict = mReference.judge(mFolder.path(), runs);

        ++counts.cuts;
        counts.whileOpening += runs.back().opened ? 0 : 1;
        counts.inDatabase += medium.failedInDatabase() ? 1 : 0;
        counts.operations += mReference.acknowledgedOperations() - before;
        counts.partlyDone += mReference.stepsPartlyDone() - partlyBefore;
        counts.losses.lost += losses.lost;
        counts.losses.torn += losses.torn;
        counts.losses.names += losses.names;
        return verdict;
    }

    std::string reopen() { return mReference.judgeReopened(mFolder.path()); }
    bool fresh() const { return fs::is_empty(mFolder.path()); }
    Draw& draw() { return mDraw; }

private:
    unsigned mSeed;
    Draw mDraw;
    Reference mReference;
    TemporaryFolder mFolder;
};

void expectNothing(const std::string& verdict, unsigned seed, unsigned cut) {
    ASSERT_EQ(verdict, "") << "PELKO_SEED=" << seed << ", power cut " << cut + 1;
}

class PowerCutTest : public testing::Test {
protected:
    void SetUp() override {
        platform() = TestPlatform();
        pelkoapi::LoginContext::getInstance()->setUserName("me");
    }
};

TEST_F(PowerCutTest, LosesNothingAcknowledged) {
    const unsigned cuts = setting("PELKO_CUTS", 120);
    Counts counts;
    for (unsigned seed = setting("PELKO_SEED", 1); counts.cuts < cuts; ++seed) {
        Trial trial(seed);
        const unsigned cutsOfFile = trial.draw().between(3, 15);
        for (unsigned cut = 0; cut < cutsOfFile && counts.cuts < cuts; ++cut) {
            ASSERT_NO_FATAL_FAILURE(
                expectNothing(trial.cut(drawPlan(trial.draw(), trial.fresh()), counts), seed, cut));
            // Not always, so that the power also fails while the damage of the last time is mended.
            if (cut + 1 == cutsOfFile || counts.cuts == cuts || trial.draw().oneIn(2)) {
                ASSERT_NO_FATAL_FAILURE(expectNothing(trial.reopen(), seed, cut));
            }
            ASSERT_FALSE(HasFailure()) << "PELKO_SEED=" << seed << ", power cut " << cut + 1;
        }
    }
    EXPECT_GT(counts.whileOpening, 0U);
    EXPECT_GT(counts.inDatabase, 0U);
    count(counts.cuts, "power cuts");
    count(counts.whileOpening, "power cuts during setUp");
    count(counts.inDatabase, "power cuts while the database file was written");
    count(counts.operations, "operations acknowledged before a power cut");
    count(counts.partlyDone, "bulk steps found partly done after a power cut");
    count(counts.losses.lost, "writes lost");
    count(counts.losses.torn, "writes torn");
    count(counts.losses.names, "creations and deletions of files undone");
}

/// The test can fail: a store that syncs less than it must loses what it acknowledged.
class LaxStoreTest : public PowerCutTest, public testing::WithParamInterface<const char*> {};

TEST_P(LaxStoreTest, IsFoundOut) {
    Counts counts;
    for (unsigned seed = 1; seed <= 50; ++seed) {
        Trial trial(seed);
        if (!trial.cut({Plan::AtWork, trial.draw().between(300, 1500), 400, {GetParam()}}, counts).empty()) {
            return;
        }
    }
    FAIL() << "no loss in " << counts.cuts << " power cuts";
}

INSTANTIATE_TEST_SUITE_P(Settings, LaxStoreTest,
                         testing::Values("PRAGMA synchronous = OFF", "PRAGMA synchronous = NORMAL"),
                         [](const testing::TestParamInfo<const char*>& lax) {
                             return std::string(lax.index == 0 ? "SynchronousOff" : "SynchronousNormal");
                         });

}  // namespace

}  // namespace pelkotest
