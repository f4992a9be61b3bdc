#ifndef PELKO_TESTS_TOOLS_SUPPORT_TOOL_TEST_H
#define PELKO_TESTS_TOOLS_SUPPORT_TOOL_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/TemporaryFolder.h"

namespace pelkotest {

namespace fs = std::filesystem;

/// The sample log that comes with the sources.
fs::path sampleLog();

std::string contentOf(const fs::path& file);
void writeFile(const fs::path& file, const std::string& content);

/// How a run of the tool ended.
struct ToolRun {
    int exitCode = -1;  // -1 when a signal ended it
    std::string out;
    std::string err;

    nlohmann::json json() const { return nlohmann::json::parse(out); }
};

using Rows = std::vector<std::vector<std::string>>;

/// The rows of a query on a connection of its own; NULL reads as an empty string.
Rows rowsOf(const fs::path& database, const std::string& sql);

/// The tool, run as a process in UTC, with a data folder that only this test uses.
class ToolTest : public testing::Test {
protected:
    using Arguments = std::vector<std::string>;

    /// Runs the tool with --data-dir and these arguments, nothing on stdin, stdout and stderr to files.
    ToolRun run(const Arguments& arguments) const;
    /// The same, with a terminal of 60 columns for stderr.
    ToolRun runOnTerminal(const Arguments& arguments) const;
    /// The same as run(), with a terminal for stdin on which these keys have been typed.
    ToolRun runAnswering(const std::string& answer, const Arguments& arguments) const;
    /// The same as run(), with exactly these arguments and stdout into that file.
    ToolRun runExactly(const Arguments& arguments, const fs::path& out = {}) const;
    /// run(), with a failing test unless it ends well and without a word on stderr.
    ToolRun runWell(const Arguments& arguments) const;

    /// Starts the tool as run() does, and returns at once.
    pid_t start(const Arguments& arguments) const;
    /// Waits for what start() started.
    ToolRun finish(pid_t process) const;

    /// Starts the tool and sends it the signal, so many times, as soon as it is at work. @param begun whether
    /// it is
    ToolRun runStopped(const Arguments& arguments, int signal, const std::function<bool()>& begun,
                       int times = 1) const;
    /// Prepares folder() for WithoutPrivileges: anybody may write there, and what is started from now on is a
    /// copy of the tool in it. Where the project lies, others may not be let in.
    void letAnybodyRun();
    /// Whether something in folder() grows under a name of its own until it is whole.
    bool hasUnfinished() const;

    fs::path folder() const { return mFolder.path(); }
    fs::path dataDir() const { return folder() / "data"; }
    fs::path database(const std::string& user = "me") const { return dataDir() / "users" / user / "db.dat"; }

    /// Makes a log of these lines below folder()/logs. @return folder()/logs
    fs::path makeLog(const std::string& channelAndDay, const std::vector<std::string>& lines) const;

    Rows rows(const std::string& sql) const { return rowsOf(database(), sql); }
    std::string value(const std::string& sql) const;
    /// Runs statements on a second connection, to prepare what the tool cannot.
    void execute(const std::string& sql) const;
    /// Makes the database refuse every message of this text, as SQLite's conflict clauses do: "IGNORE" stores
    /// nothing and tells nothing, "ABORT" and "ROLLBACK" fail with "UNIQUE constraint failed: tbl_msg.text".
    void refuseText(const std::string& text, const std::string& onConflict) const;
    void refuseNoText() const;

private:
    Arguments withDataDir(const Arguments& arguments) const;

    /// Starts the tool. The descriptors are its stdin, stdout and stderr; they are closed here.
    pid_t startTool(const Arguments& arguments, int in, int out, int err) const;

    TemporaryFolder mFolder;
    fs::path mTool = PELKO_TOOL_PATH;
};

/// That a run failed with the exit code, said nothing on stdout, and one line on stderr that matches.
void expectRefused(const ToolRun& run, int exitCode, const testing::Matcher<std::string>& line);

}  // namespace pelkotest

#endif  // PELKO_TESTS_TOOLS_SUPPORT_TOOL_TEST_H
