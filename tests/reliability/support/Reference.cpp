#include "tests/reliability/support/Reference.h"

#include <algorithm>
#include <exception>

#include "tests/reliability/support/Workload.h"
#include "tests/support/PelkoDBManagerTestAccess.h"
#include "tests/support/TestPlatform.h"

namespace pelkotest {

namespace fs = std::filesystem;

namespace {

/// The files of a store but its shared memory, which does not outlive its processes.
void copyStore(const fs::path& from, const fs::path& to) {
    for (const fs::directory_entry& file : fs::directory_iterator(from)) {
        const fs::path name = file.path().filename();
        if (name.string().find("-shm") == std::string::npos) {
            fs::copy_file(file.path(), to / name);
        }
    }
}

/// The difference for a message: no more of it than can be read, and quickly if there is none.
std::string differences(const StoredRows& expected, const StoredRows& found) {
    return expected == found ? std::string() : difference(expected, found).substr(0, 4000) + '\n';
}

/// The values of a row, which are in SQL notation and separated by commas.
std::vector<std::string> valuesOf(const std::string& row) {
    std::vector<std::string> values(1);
    // cppcheck-suppress variableScope ; carried from one character to the next
    bool quoted = false;
    for (const char c : row) {
        quoted = (c == '\'') != quoted;
        if (c == ',' && !quoted) {
            values.emplace_back();
        } else {
            values.back() += c;
        }
    }
    return values;
}

/// Whether each value is as it was or as it will be: the repairs of an opening change a row once or twice.
bool rowBetween(const std::string& before, const std::string& after, const std::string& found) {
    if (found == before || found == after) {
        return true;
    }
    const std::vector<std::string> was = valuesOf(before);
    const std::vector<std::string> will = valuesOf(after);
    const std::vector<std::string> is = valuesOf(found);
    bool all = is.size() == was.size() && is.size() == will.size();
    for (std::size_t i = 0; all && i < is.size(); ++i) {
        all = is[i] == was[i] || is[i] == will[i];
    }
    return all;
}

/// Whether the store is on the way from one state to another with the same rows but for their repairs. A
/// table that is not there before may be missing.
bool between(const StoredRows& before, const StoredRows& after, const StoredRows& found) {
    for (const auto& [table, rowsAfter] : after) {
        const auto was = before.find(table);
        const auto is = found.find(table);
        if (is == found.end()) {
            if (was != before.end()) {
                return false;
            }
            continue;
        }
        const std::vector<std::string>& rowsBefore = was != before.end() ? was->second : rowsAfter;
        if (is->second.size() != rowsAfter.size() || rowsBefore.size() != rowsAfter.size()) {
            return false;
        }
        for (std::size_t i = 0; i < rowsAfter.size(); ++i) {
            if (!rowBetween(rowsBefore[i], rowsAfter[i], is->second[i])) {
                return false;
            }
        }
    }
    return std::all_of(found.begin(), found.end(),
                       [&](const auto& table) { return after.count(table.first) != 0; });
}

}  // namespace

std::unique_ptr<pelkoapi::PelkoDBManager> managerIn(const fs::path& folder) {
    platform().userRoot = folder.string();
    return pelkoapi::PelkoDBManagerTestAccess::make();
}

std::string Reference::judge(const fs::path& folder, const std::vector<Progress>& runs) {
    try {
        for (auto run = runs.begin(); run + 1 != runs.end(); ++run) {
            const auto manager = managerIn(mFolder.path());
            std::string failure = follow(*manager, *run);
            if (!failure.empty()) {
                return failure;
            }
        }
        const TemporaryFolder copy;
        copyStore(folder, copy.path());
        const fs::path file = copy.path() / "db.dat";
        if (!fs::exists(file)) {
            return judgeRows({}, runs.back());
        }
        const std::string integrity = integrityOf(file.string());
        return integrity != "ok" ? "the check says " + integrity
                                 : judgeRows(storedRows(file.string()), runs.back());
    } catch (const std::exception& exception) {
        return std::string("cannot be read: ") + exception.what();
    }
}

std::string Reference::follow(pelkoapi::PelkoDBManager& manager, const Progress& run) {
    if (!succeeds([&] { manager.setUp(); })) {
        return "the reference does not open";
    }
    for (unsigned i = 0; i < run.steps; ++i) {
        const Step step = workloadStep(mSeed, mNextStep++);
        if (!succeeds([&] { step.perform(manager); })) {
            return std::string("the reference fails in ") + step.name;
        }
        mOperations += step.changes.size();
    }
    if (run.opened) {
        mLast = rows();
    }
    return {};
}

std::string Reference::judgeRows(const StoredRows& found, const Progress& run) {
    const auto manager = managerIn(mFolder.path());
    std::string failure = follow(*manager, run);
    if (!failure.empty()) {
        return failure;
    }
    if (!run.opened) {
        // Which of its repairs an opening has made is not told. They do not add up, so the next opening, of
        // both stores, ends with the same rows.
        return between(mLast, rows(), found)
                   ? std::string()
                   : "an opening under way changed more than its repairs:\n" + differences(mLast, found);
    }
    if (!run.stepUnderWay) {
        return differences(mLast, found);
    }
    const Step step = workloadStep(mSeed, mNextStep++);
    if (mLast == found) {
        return {};
    }
    const std::string verdict = "before the step under way:\n" + differences(mLast, found);
    for (const Action& change : step.changes) {
        if (!succeeds([&] { change(*manager); })) {
            return std::string("the reference fails in a change of ") + step.name;
        }
        mLast = rows();
        if (mLast == found) {
            mPartlyDone += &change != &step.changes.back() ? 1 : 0;
            return {};
        }
    }
    return verdict + "after " + step.name + ":\n" + differences(mLast, found);
}

std::string Reference::judgeReopened(const fs::path& folder) {
    try {
        const auto reference = managerIn(mFolder.path());
        const bool referenceOpens = succeeds([&] { reference->setUp(); });
        const auto store = managerIn(folder);
        bool opened = false;
        const bool quietly = succeeds([&] { opened = store->setUp(); });
        if (!referenceOpens || !opened || !quietly) {
            return "the store does not open, or not without a log line";
        }
        mLast = rows();
        const std::string file = (folder / "db.dat").string();
        const std::string integrity = integrityOf(file);
        if (integrity != "ok") {
            return "once opened, the check says " + integrity;
        }
        const std::string verdict = differences(mLast, storedRows(file));
        return verdict.empty() ? verdict : "once opened:\n" + verdict;
    } catch (const std::exception& exception) {
        return std::string("once opened, it cannot be read: ") + exception.what();
    }
}

}  // namespace pelkotest
