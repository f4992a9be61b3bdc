#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/reliability/support/FaultyStore.h"
#include "tests/reliability/support/StoreOperations.h"

// Every operation of the store, with each call to what it stands on failing in turn, until it runs through
// without meeting the fault.

namespace pelkotest {

namespace {

std::vector<std::string> split(const std::string& text, const std::string& separator) {
    std::vector<std::string> parts;
    std::size_t from = 0;
    for (std::size_t to = 0; (to = text.find(separator, from)) != std::string::npos;
         from = to + separator.size()) {
        parts.push_back(text.substr(from, to - from));
    }
    parts.push_back(text.substr(from));
    return parts;
}

/// The fields of every record in an outcome, however they are spread over the records.
std::set<std::string> fieldsOf(const Outcome& outcome) {
    std::set<std::string> fields;
    for (const std::string& text : {outcome.value, outcome.list}) {
        for (const std::string& line : split(text, "\n")) {
            for (const std::string& field : split(line, "; ")) {
                fields.insert(field);
            }
        }
    }
    return fields;
}

bool isNumber(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

/// The rows without what says only which row of its table one is: a message that is not stored leaves its
/// row id to the next.
StoredRows withoutRowIds(StoredRows rows) {
    for (std::string& row : rows["tbl_msg"]) {
        const std::size_t first = row.find(", ");
        row.erase(first, row.find(", ", first + 1) - first);
    }
    return rows;
}

/// The rows of all of them, table by table.
StoredRows together(StoredRows rows, const StoredRows& others) {
    for (const auto& [table, more] : others) {
        rows[table].insert(rows[table].end(), more.begin(), more.end());
    }
    return rows;
}

/// Whether every row of each table is, as often, in the other's.
bool isWithin(const StoredRows& rows, const StoredRows& other) {
    for (const auto& [table, some] : rows) {
        std::multiset<std::string> left;
        if (const auto found = other.find(table); found != other.end()) {
            left.insert(found->second.begin(), found->second.end());
        }
        for (const std::string& row : some) {
            const auto found = left.find(row);
            if (found == left.end()) {
                return false;
            }
            left.erase(found);
        }
    }
    return true;
}

/// The rows that both have.
StoredRows common(const StoredRows& a, const StoredRows& b) {
    StoredRows rows;
    for (const auto& [table, some] : a) {
        std::multiset<std::string> left;
        if (const auto found = b.find(table); found != b.end()) {
            left.insert(found->second.begin(), found->second.end());
        }
        for (const std::string& row : some) {
            if (const auto found = left.find(row); found != left.end()) {
                rows[table].push_back(row);
                left.erase(found);
            }
        }
    }
    return rows;
}

std::string operationOf(const testing::TestParamInfo<StoreOperation>& info) {
    return info.param.name;
}

bool replaces(const StoreOperation& operation) {
    return std::string(operation.name).rfind("replace", 0) == 0;
}

}  // namespace

class OperationFaults : public FaultyStore, public testing::WithParamInterface<StoreOperation> {
protected:
    /// What the operation does when nothing fails.
    void learn();

    /// n from 1 until the fault is not met any more; PELKO_CALL_STRIDE takes one in so many.
    void failEach(FaultKind kind, bool lasting);

    void expectSound(const Attempt& made, const Outcome& outcome);
    void expectOutcome(const Attempt& made, const Outcome& outcome) const;
    void expectRows(const Attempt& made, const StoredRows& now) const;

    Outcome run() const { return GetParam().run(db()); }

    LaidFile mLaid;                          // as it is laid, after the repairs of an opening
    Outcome mNeutral;                        // the result while no database is open
    Outcome mClean;                          // the result when nothing fails
    Outcome mUnchecked;                      // the result in a store in which it finds nothing
    std::set<std::string> mFields;           // of the first two
    std::set<std::string> mFieldsUnchecked;  // of the last
    StoredRows mBefore;                      // the rows before the operation
    StoredRows mAfter;                       // the rows after it
    StoredRows mStoredUnseen;                // the rows that it stores where it finds nothing
};

void OperationFaults::learn() {
    lay(filledFile());
    open();
    close();
    mLaid = laid();
    mNeutral = run();

    open();
    mBefore = file().rows();
    expectQuiet([this] { mClean = run(); });
    mAfter = file().rows();
    for (const auto& [table, ignored] : mBefore) {
        execute(("DELETE FROM " + table).c_str());
    }
    mUnchecked = run();
    mStoredUnseen = file().rows();
    close();
    mFields = fieldsOf(mClean);
    mFields.merge(fieldsOf(mNeutral));
    mFieldsUnchecked = fieldsOf(mUnchecked);
}

void OperationFaults::failEach(FaultKind kind, bool lasting) {
    resetPlatform();
    const long live = liveAllocations();
    {
        const std::unique_ptr<ShimVfs> shim =
            isOfFiles(kind) ? std::make_unique<ShimVfs>(faultyFiles()) : nullptr;
        lay(mLaid);
        open();
        bool met = true;
        const long stride = numberFromEnvironment("PELKO_CALL_STRIDE", 1);
        for (long n = 1; met && !HasFailure(); n += stride) {
            const FaultPlan plan = {kind, lasting, n};
            std::ostringstream told;
            told << plan;
            SCOPED_TRACE(told.str());

            sqlite3_db_release_memory(connection());  // so that it reads its pages from the file
            Outcome outcome;
            const Attempt made = attempt(plan, [&] { outcome = run(); });
            met = made.hits > 0;
            count(made);
            expectSound(made, outcome);
        }
        close();
    }
    resetPlatform();
    EXPECT_EQ(liveAllocations(), live) << "somebody has memory of ours and nobody will give it back";
}

void OperationFaults::expectSound(const Attempt& made, const Outcome& outcome) {
    expectNothingLeftOpen();
    expectOutcome(made, outcome);
    const StoredRows& now = file().rows();
    expectRows(made, now);
    if (now != mBefore) {
        expectUsable();
        close();
        lay(mLaid);
        open();
    }
    Outcome again;
    expectQuiet([&] { inPassing([&] { again = run(); }); });
    EXPECT_EQ(again.value, mClean.value) << "when it is called again";
    EXPECT_EQ(again.list, mClean.list) << "when it is called again";
}

void OperationFaults::expectOutcome(const Attempt& made, const Outcome& outcome) const {
    EXPECT_FALSE(made.databaseError) << "CppSQLite3Exception is caught in every operation";
    if (made.threw()) {
        return;
    }
    if (made.logged.empty()) {
        EXPECT_EQ(outcome.value, mClean.value) << "without a word in the log";
        EXPECT_EQ(outcome.list, mClean.list) << "without a word in the log";
        return;
    }
    // A check that failed says that nothing is there.
    const bool unchecked = made.logsFailureOf("checkIfRecordExist");
    const Outcome& most = unchecked ? mUnchecked : mClean;
    if (isNumber(outcome.value) && !GetParam().atomic) {
        EXPECT_LE(std::stol(outcome.value), std::stol(most.value));
    } else if (mClean.value == "true" || mClean.value == "false" || isNumber(mClean.value)) {
        EXPECT_THAT(outcome.value, testing::AnyOf(mClean.value, mNeutral.value, most.value));
    }
    for (const std::string& field : fieldsOf(outcome)) {
        const bool known = mFields.count(field) != 0 || (unchecked && mFieldsUnchecked.count(field) != 0);
        const bool aRowId = field.rfind("dbID=", 0) == 0;
        if (!known && !isNumber(field) && !(aRowId && (unchecked || !GetParam().atomic))) {
            ADD_FAILURE() << field << " in " << outcome.value << '\n'
                          << outcome.list << "neither in\n"
                          << mClean.value << '\n'
                          << mClean.list << "nor in\n"
                          << mNeutral.value << '\n'
                          << mNeutral.list;
        }
    }
    EXPECT_LE(split(outcome.list, "\n").size(),
              std::max(split(mClean.list, "\n").size(), split(mNeutral.list, "\n").size()));
}

void OperationFaults::expectRows(const Attempt& made, const StoredRows& now) const {
    if (!made.threw() && made.logged.empty()) {
        EXPECT_EQ(difference(mAfter, now), "") << "without a word in the log";
        return;
    }
    if (now == mBefore || now == mAfter) {
        return;
    }
    const StoredRows found = withoutRowIds(now);
    const StoredRows before = withoutRowIds(mBefore);
    StoredRows after = withoutRowIds(mAfter);
    if (made.logsFailureOf("checkIfRecordExist")) {
        // What is there already, but could not be looked for, is stored a second time.
        after = together(after, withoutRowIds(mStoredUnseen));
    } else if (GetParam().atomic) {
        ADD_FAILURE() << "neither as before:\n"
                      << difference(mBefore, now) << "nor as after:\n"
                      << difference(mAfter, now);
        return;
    }
    EXPECT_TRUE(isWithin(found, together(before, after))) << "there is what was neither before nor after:\n"
                                                          << difference(mBefore, now);
    if (!replaces(GetParam())) {
        EXPECT_TRUE(isWithin(common(before, after), found)) << "lost:\n" << difference(mBefore, now);
    }
}

TEST_P(OperationFaults, EachCallToWhatItStandsOn) {
    learn();
    for (const FaultKind kind : allFaultKinds()) {
        for (const bool lasting : {false, true}) {
            if (!HasFailure()) {
                failEach(kind, lasting);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, OperationFaults, testing::ValuesIn(storeOperations()), operationOf);

}  // namespace pelkotest
