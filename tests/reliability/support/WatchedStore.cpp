#include "tests/reliability/support/WatchedStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>  // sigaction, alarm and write are POSIX's
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <memory>
#include <set>

#include "classes/platform/LoginContext.h"
#include "tests/reliability/support/SampleRecords.h"
#include "tests/support/PelkoDBManagerTestAccess.h"
#include "tests/support/TestPlatform.h"

namespace pelkotest {

namespace {

using namespace pelkoapi;

// ---- what SQLite itself reports

struct Reports {
    std::vector<std::string> failedSteps;     ///< of the store's statements, each once
    std::vector<std::string> failedPrepares;  ///< of its statements, and of what was prepared for them
};

Reports& reported() {
    static Reports reports;
    return reports;
}

bool isPrefix(const char* prefix, const std::string& text) {
    return text.compare(0, std::strlen(prefix), prefix) == 0;
}

void report(void*, int code, const char* message) {
    const std::string text = message;
    // A statement whose schema has changed is prepared anew and run again. A file that cannot be switched to
    // write-ahead logging goes on without it.
    if (code == SQLITE_SCHEMA || text.find("PRAGMA journal_mode = WAL") != std::string::npos) {
        return;
    }
    if (isPrefix("statement aborts at ", text) || isPrefix("abort at ", text)) {
        // What SQLite runs to read the schema has no text.
        if (text.find("[]") == std::string::npos) {
            reported().failedSteps.push_back(text);
        }
    } else if (text.find(" in \"") != std::string::npos) {
        reported().failedPrepares.push_back(text);
    }
}

void reportFailedStatements() {
    // What SQLite reports can only be chosen while it is not in use.
    [[maybe_unused]] static const bool once = [] {
        sqlite3_shutdown();
        sqlite3_config(SQLITE_CONFIG_LOG, report, nullptr);
        return sqlite3_initialize() == SQLITE_OK;
    }();
}

// ---- the watchdog

// Far more than a call takes on the slowest machine under the slowest checker.
constexpr unsigned secondsForACall = 240;

char runningCall[256];

extern "C" void tellRunningCall(int) {
    const auto tell = [](const char* text) {
        [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, text, std::strlen(text));
    };
    tell("no end in sight of ");
    tell(runningCall);
    tell("\n");
    _exit(1);
}

class Watchdog {
public:
    explicit Watchdog(const std::string& what) {
        what.copy(runningCall, sizeof runningCall - 1);
        runningCall[std::min(what.size(), sizeof runningCall - 1)] = '\0';
        struct sigaction action = {};
        action.sa_handler = tellRunningCall;
        sigaction(SIGALRM, &action, nullptr);
        alarm(secondsForACall);
    }
    ~Watchdog() { alarm(0); }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;
};

// ---- log lines

constexpr char failed[] = " failed, exception in (";

bool isName(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    });
}

/// Whose failure the line tells; empty when it tells none.
std::string failedOperation(const std::string& line) {
    const std::string name = line.substr(0, line.find(failed));
    const bool isLine = line.size() > name.size() + std::strlen(failed) + 2 && isName(name) &&
                        line.compare(line.size() - 2, 2, ").") == 0;
    return isLine ? name : "";
}

bool tellsNotReady(const std::string& line) {
    constexpr char head[] = "db is not ready(";
    const std::size_t comma = line.find(", line:");
    return isPrefix(head, line) && comma != std::string::npos &&
           isName(line.substr(std::strlen(head), comma - std::strlen(head)));
}

// ---- neutral results

/// Whether the operation can return something else although it has logged a failure under its own name: the
/// files of deleted messages are removed by a statement whose failure does not keep the rows from being
/// deleted, and a profile is returned with the fields that were read.
bool goesOnAfterFailure(const std::string& name) {
    static const std::set<std::string> those = {"deleteMessages", "clearMessages", "getBaseUserInfo",
                                                "getUserInfo",    "getRoomInfo",   "getGroupInfo"};
    return those.count(name) != 0;
}

const Outcome& neutralOutcome(const StoreOperation& operation) {
    const auto index = static_cast<std::size_t>(&operation - storeOperations().data());
    return neutralOutcomes()[index];
}

}  // namespace

WatchedStore::WatchedStore() {
    reportFailedStatements();
    platform() = TestPlatform();
}

WatchedStore::~WatchedStore() {
    close();
}

void WatchedStore::clear() {
    for (const auto& entry : std::filesystem::directory_iterator(folder())) {
        std::filesystem::remove_all(entry.path());
    }
}

template <typename Call>
std::vector<std::string> WatchedStore::watch(const std::string& what, const Call& call) {
    platform().console.clear();
    platform().file.clear();
    reported() = {};
    {
        const Watchdog watchdog(what);
        try {
            call();
        } catch (const std::exception& exception) {
            ADD_FAILURE() << what << " has thrown: " << exception.what();
        }
    }
    std::vector<std::string> told = platform().file;
    std::vector<std::string> prefixed;
    prefixed.reserve(told.size());
    // cppcheck-suppress knownEmptyContainer ; the call fills it
    for (const std::string& line : told) {
        prefixed.push_back("[pelko]" + line);
        EXPECT_TRUE(!failedOperation(line).empty() || tellsNotReady(line)) << what << ": " << line;
    }
    EXPECT_EQ(platform().console, prefixed) << what;
    // cppcheck-suppress unsignedLessThanZero ; as above
    EXPECT_LE(reported().failedSteps.size(), told.size())
        << what << " has not told of one of " << testing::PrintToString(reported().failedSteps)
        << ", only of " << testing::PrintToString(told);
    EXPECT_TRUE(reported().failedPrepares.empty() || !told.empty())
        << what << " has not told of " << testing::PrintToString(reported().failedPrepares);
    mLines.insert(mLines.end(), told.begin(), told.end());
    return told;
}

bool WatchedStore::open() {
    platform().userRoot = folder().string();
    LoginContext::getInstance()->setUserName("me");
    const std::vector<std::string> told = watch("setUp", [&] { mOpen = db().setUp(); });
    const bool toldOfOpening = std::any_of(
        told.begin(), told.end(), [](const std::string& line) { return failedOperation(line) == "setUp"; });
    EXPECT_EQ(mOpen, !toldOfOpening) << testing::PrintToString(told);
    return mOpen;
}

void WatchedStore::close() {
    EXPECT_TRUE(watch("tearDown", [&] { db().tearDown(); }).empty());
    mOpen = false;
}

Outcome WatchedStore::run(const StoreOperation& operation) {
    Outcome outcome;
    const std::vector<std::string> told = watch(operation.name, [&] { outcome = operation.run(db()); });
    const std::string name = operation.name;
    if (!mOpen && name != "transStringQuote") {
        EXPECT_FALSE(told.empty()) << name;
        EXPECT_EQ(outcome.value, neutralOutcome(operation).value) << name;
        EXPECT_EQ(outcome.list, neutralOutcome(operation).list) << name;
    }
    const bool toldOfItself = std::any_of(
        told.begin(), told.end(), [&](const std::string& line) { return failedOperation(line) == name; });
    if (toldOfItself && !goesOnAfterFailure(name)) {
        EXPECT_EQ(outcome.value, neutralOutcome(operation).value) << testing::PrintToString(told);
    }
    return outcome;
}

Outcome WatchedStore::run(const std::string& name) {
    const auto& all = storeOperations();
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const StoreOperation& o) { return o.name == name; });
    if (found == all.end()) {
        ADD_FAILURE() << "no operation " << name;
        return {};
    }
    return run(*found);
}

std::vector<Outcome> WatchedStore::runAll() {
    std::vector<Outcome> outcomes;
    outcomes.reserve(storeOperations().size());
    for (const StoreOperation& operation : storeOperations()) {
        outcomes.push_back(run(operation));
    }
    return outcomes;
}

void WatchedStore::runTransaction() {
    const auto orSqliteFails = [&](bool (PelkoDBManager::*operation)()) {
        try {
            (db().*operation)();
        } catch (const CppSQLite3Exception&) {
            reported() = {};  // told by the exception
        }
    };
    watch("beginTransaction", [&] { orSqliteFails(&PelkoDBManager::beginTransaction); });
    watch("insertMessage", [&] {
        PelkoMessage record =
            message(0, 6001, PelkoUser("me"), PelkoUser("alice"), longText(), PelkoMessageStatusSent);
        db().insertMessage(&record);
    });
    watch("commiteTransaction", [&] { orSqliteFails(&PelkoDBManager::commiteTransaction); });
}

const std::vector<Outcome>& neutralOutcomes() {
    static const std::vector<Outcome> outcomes = [] {
        // A manager that was never opened, by the rules of a closed one.
        const TestPlatform saved = platform();
        const std::unique_ptr<PelkoDBManager> closed = PelkoDBManagerTestAccess::make();
        std::vector<Outcome> result;
        for (const StoreOperation& operation : storeOperations()) {
            result.push_back(operation.run(*closed));
        }
        platform() = saved;
        return result;
    }();
    return outcomes;
}

std::string difference(const std::vector<Outcome>& expected, const std::vector<Outcome>& actual) {
    std::string text;
    for (std::size_t i = 0; i < std::min(expected.size(), actual.size()); ++i) {
        if (!(expected[i] == actual[i])) {
            text += std::string(storeOperations()[i].name) + ": " + actual[i].value.substr(0, 500) + " | " +
                    actual[i].list.substr(0, 500) + "\n  instead of " + expected[i].value.substr(0, 500) +
                    " | " + expected[i].list.substr(0, 500) + '\n';
        }
    }
    return text + (expected.size() == actual.size() ? "" : "another number of outcomes\n");
}

}  // namespace pelkotest
