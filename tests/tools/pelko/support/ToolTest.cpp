#include "tests/tools/pelko/support/ToolTest.h"

#include <fcntl.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace pelkotest {

namespace {

int nothingToRead() {
    return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

int waitFor(pid_t process) {
    int status = 0;
    waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int fileForWriting(const fs::path& path) {
    return open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
}

std::string readAll(int descriptor) {
    std::string text;
    std::array<char, 4096> block{};
    for (ssize_t n = 0; (n = read(descriptor, block.data(), block.size())) > 0;) {
        text.append(block.data(), static_cast<std::size_t>(n));
    }
    return text;
}

int makeTerminal() {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0) {
        throw std::runtime_error("cannot make a terminal");
    }
    return terminal;
}

using Connection = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;

Connection connectTo(const fs::path& database) {
    sqlite3* connection = nullptr;
    const int result = sqlite3_open_v2(database.c_str(), &connection, SQLITE_OPEN_READWRITE, nullptr);
    Connection owned(connection, sqlite3_close);
    if (result != SQLITE_OK) {
        throw std::runtime_error("cannot open " + database.string());
    }
    return owned;
}

}  // namespace

fs::path sampleLog() {
    return fs::path(PELKO_SOURCE_DIR) / "examples/sample-log";
}

std::string contentOf(const fs::path& file) {
    std::ostringstream content;
    content << std::ifstream(file, std::ios::binary).rdbuf();
    return content.str();
}

void writeFile(const fs::path& file, const std::string& content) {
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
}

Rows rowsOf(const fs::path& database, const std::string& sql) {
    const Connection connection = connectTo(database);
    sqlite3_stmt* prepared = nullptr;
    if (sqlite3_prepare_v2(connection.get(), sql.c_str(), -1, &prepared, nullptr) != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errmsg(connection.get()));
    }
    const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> statement(prepared, sqlite3_finalize);
    Rows rows;
    while (sqlite3_step(prepared) == SQLITE_ROW) {
        std::vector<std::string> row;
        for (int i = 0; i < sqlite3_column_count(prepared); ++i) {
            const auto* const text = static_cast<const char*>(sqlite3_column_blob(prepared, i));
            const auto size = static_cast<std::size_t>(sqlite3_column_bytes(prepared, i));
            row.push_back(text != nullptr ? std::string(text, size) : std::string());
        }
        rows.push_back(row);
    }
    return rows;
}

pid_t ToolTest::startTool(const Arguments& arguments, int in, int out, int err) const {
    std::vector<std::string> words = {mTool.string()};
    if (std::strlen(PELKO_TOOL_EMULATOR) > 0) {
        words.insert(words.begin(), PELKO_TOOL_EMULATOR);  // built for another machine
    }
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    std::transform(words.begin(), words.end(), std::back_inserter(argv),
                   [](std::string& word) { return word.data(); });
    argv.push_back(nullptr);

    std::string timeZone = "TZ=UTC";
    std::vector<char*> environment;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        if (std::strncmp(*variable, "TZ=", 3) != 0) {
            environment.push_back(*variable);
        }
    }
    environment.push_back(timeZone.data());
    environment.push_back(nullptr);

    // Not fork(): copying the page tables of a process under a sanitizer takes longer than most commands run.
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err, STDERR_FILENO);
    pid_t process = 0;
    const int failed =
        posix_spawn(&process, argv.front(), &actions, nullptr, argv.data(), environment.data());
    posix_spawn_file_actions_destroy(&actions);
    close(in);
    close(out);
    close(err);
    if (failed != 0) {
        throw std::system_error(failed, std::generic_category(), argv.front());
    }
    return process;
}

ToolTest::Arguments ToolTest::withDataDir(const Arguments& arguments) const {
    Arguments all = {"--data-dir", dataDir().string()};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return all;
}

pid_t ToolTest::start(const Arguments& arguments) const {
    return startTool(withDataDir(arguments), nothingToRead(), fileForWriting(folder() / "out"),
                     fileForWriting(folder() / "err"));
}

ToolRun ToolTest::finish(pid_t process) const {
    ToolRun result;
    result.exitCode = waitFor(process);
    result.out = contentOf(folder() / "out");
    result.err = contentOf(folder() / "err");
    return result;
}

ToolRun ToolTest::run(const Arguments& arguments) const {
    return finish(start(arguments));
}

ToolRun ToolTest::runExactly(const Arguments& arguments, const fs::path& out) const {
    const fs::path target = out.empty() ? folder() / "out" : out;
    writeFile(folder() / "out", "");
    return finish(
        startTool(arguments, nothingToRead(), fileForWriting(target), fileForWriting(folder() / "err")));
}

ToolRun ToolTest::runWell(const Arguments& arguments) const {
    ToolRun result = run(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result;
}

ToolRun ToolTest::runAnswering(const std::string& answer, const Arguments& arguments) const {
    const int terminal = makeTerminal();
    const int otherEnd = open(ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (write(terminal, answer.data(), answer.size()) != static_cast<ssize_t>(answer.size())) {
        throw std::runtime_error("cannot write to the terminal");
    }
    const ToolRun result =
        finish(startTool(withDataDir(arguments), otherEnd, fileForWriting(folder() / "out"),
                         fileForWriting(folder() / "err")));
    close(terminal);
    return result;
}

ToolRun ToolTest::runStopped(const Arguments& arguments, int signal, const std::function<bool()>& begun,
                             int times) const {
    const pid_t process = start(arguments);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!begun() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    for (int i = 0; i < times; ++i) {
        EXPECT_EQ(kill(process, signal), 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return finish(process);
}

void ToolTest::letAnybodyRun() {
    mTool = folder() / "pelko";
    fs::copy_file(PELKO_TOOL_PATH, mTool);
    fs::permissions(folder(), fs::perms(0777));
    fs::remove(folder() / "out");
    fs::remove(folder() / "err");
}

bool ToolTest::hasUnfinished() const {
    return std::any_of(fs::directory_iterator(folder()), fs::directory_iterator(), [](const auto& entry) {
        return entry.path().filename().string().find(".unfinished") != std::string::npos;
    });
}

ToolRun ToolTest::runOnTerminal(const Arguments& arguments) const {
    const int terminal = makeTerminal();
    winsize size{};
    size.ws_col = 60;
    size.ws_row = 24;
    ioctl(terminal, TIOCSWINSZ, &size);
    const int otherEnd = open(ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
    const pid_t process =
        startTool(withDataDir(arguments), nothingToRead(), fileForWriting(folder() / "out"), otherEnd);
    ToolRun result;
    result.err = readAll(terminal);  // ends when the tool does
    result.exitCode = waitFor(process);
    result.out = contentOf(folder() / "out");
    close(terminal);
    return result;
}

fs::path ToolTest::makeLog(const std::string& channelAndDay, const std::vector<std::string>& lines) const {
    std::string content;
    for (const std::string& line : lines) {
        content += line + '\n';
    }
    writeFile(folder() / "logs" / (channelAndDay + ".log"), content);
    return folder() / "logs";
}

std::string ToolTest::value(const std::string& sql) const {
    const Rows found = rows(sql);
    if (found.empty()) {
        ADD_FAILURE() << "no row: " << sql;
        return {};
    }
    return found.front().front();
}

void ToolTest::execute(const std::string& sql) const {
    const Connection connection = connectTo(database());
    ASSERT_EQ(sqlite3_exec(connection.get(), sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(connection.get());
}

void ToolTest::refuseText(const std::string& text, const std::string& onConflict) const {
    // Triggers would be simpler, but the store does not run any.
    std::string table = value("SELECT sql FROM sqlite_master WHERE name = 'tbl_msg'");
    table.resize(std::min(table.find(", UNIQUE"), table.size() - 1));
    execute("ALTER TABLE tbl_msg RENAME TO kept; " + table + ", UNIQUE (text) ON CONFLICT " + onConflict +
            "); INSERT INTO tbl_msg SELECT * FROM kept; DROP TABLE kept; INSERT OR IGNORE INTO tbl_msg "
            "(receiver_id, text) VALUES ('obstacle', '" +
            text + "')");
}

void ToolTest::refuseNoText() const {
    execute("DELETE FROM tbl_msg WHERE receiver_id = 'obstacle'");
}

void expectRefused(const ToolRun& run, int exitCode, const testing::Matcher<std::string>& line) {
    EXPECT_EQ(run.exitCode, exitCode);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, testing::StartsWith("pelko: "));
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_THAT(run.err, line);
}

}  // namespace pelkotest
