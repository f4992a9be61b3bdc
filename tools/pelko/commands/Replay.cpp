#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <memory>
#include <numeric>
#include <vector>

#include "classes/platform/Interrupt.h"
#include "classes/platform/StringFormatUtil.h"
#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/Json.h"
#include "tools/pelko/LogReplay.h"
#include "tools/pelko/Number.h"
#include "tools/pelko/Table.h"
#include "tools/pelko/Target.h"
#include "tools/pelko/ToolError.h"

// pelko replay: logs of chat rooms into the store.

namespace pelkotool {

namespace {

using pelkoapi::catchInterrupts;
using pelkoapi::StringFormatUtil;
using pelkoapi::utf8Of;

constexpr long long largestBatch = 1'000'000'000;

struct Options {
    std::vector<std::string> paths;
    std::string batch = "1000";
    bool all = false;
    bool json = false;
};

/// What the summary tells beside what the replay has done.
struct Circumstances {
    std::size_t passedOver = 0;  // files in the folders
    double seconds = 0;
    double messagesPerSecond = 0;
    std::uintmax_t fileSize = 0;
};

Json textOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

Json summaryJson(const ReplaySummary& summary, const Circumstances& circumstances, const Account& account) {
    Json rooms = Json::array();
    for (const ReplaySummary::Room& room : summary.rooms) {
        rooms.push_back({{"target", targetJson(room.target)},
                         {"channel", room.channel},
                         {"stored", room.stored},
                         {"known", room.known},
                         {"lines_passed_over", room.passedOver}});
    }
    return {{"stored", summary.stored},
            {"known", summary.known},
            {"lines_passed_over", summary.passedOver},
            {"skipped",
             {{"notices", summary.notices},
              {"unknown_form", summary.unknownLines},
              {"first_unknown_form", textOrNull(summary.firstUnknownLine)}}},
            {"profiles", summary.profiles},
            {"authors_without_profile", summary.withoutProfile},
            {"logs_changed", summary.changedLogs},
            {"first_log_changed", textOrNull(summary.firstChangedLog)},
            {"lines_differing", summary.differingLines},
            {"first_line_differing", textOrNull(summary.firstDifferingLine)},
            {"files", summary.files},
            {"files_passed_over", circumstances.passedOver},
            {"seconds", circumstances.seconds},
            {"messages_per_second", std::round(circumstances.messagesPerSecond)},
            {"database", utf8Of(account.database)},
            {"file_size", circumstances.fileSize},
            {"interrupted", summary.interrupted},
            {"rooms", std::move(rooms)}};
}

void printFigure(const char* what, std::uint64_t figure, const std::string& note = {}) {
    printLine(StringFormatUtil::string_format("%-20s%10llu%s", what, static_cast<unsigned long long>(figure),
                                              note.empty() ? "" : "   ") +
              note);
}

void printSummary(const ReplaySummary& summary, const Circumstances& circumstances, const Account& account) {
    const bool nothingNew = summary.stored == 0 && summary.known + summary.passedOver > 0;
    printFigure("messages stored", summary.stored);
    printFigure("already known", summary.known, nothingNew ? "nothing new: all were stored before" : "");
    printFigure("lines passed over", summary.passedOver,
                summary.passedOver == 0 ? "" : "already replayed; --all looks at them again");
    printFigure("notices skipped", summary.notices, "joins, parts, quits and renames");
    printFigure(
        "other lines skipped", summary.unknownLines,
        summary.unknownLines == 0 ? "" : "of no known form, the first is " + summary.firstUnknownLine);
    printFigure("profiles stored", summary.profiles,
                summary.withoutProfile == 0
                    ? ""
                    : counted(static_cast<long long>(summary.withoutProfile), "author has", "authors have") +
                          " none, for a single quote in the name");
    printFigure("logs read", summary.files);
    if (summary.changedLogs > 0) {
        printFigure("logs changed", summary.changedLogs,
                    "since they were replayed, all of their lines were looked at; the first is " +
                        summary.firstChangedLog);
    }
    if (summary.differingLines > 0) {
        printFigure("lines differing", summary.differingLines,
                    "from what is stored, which stays; the first is " + summary.firstDifferingLine);
    }
    if (circumstances.passedOver > 0) {
        printFigure("files passed over", circumstances.passedOver,
                    "their names are not CHANNEL/YYYY-MM-DD.log");
    }
    printFigure("messages per second", static_cast<std::uint64_t>(circumstances.messagesPerSecond),
                StringFormatUtil::string_format("in %.2f seconds", circumstances.seconds));
    printFigure("bytes in the file", circumstances.fileSize, utf8Of(account.database));

    Table table({{"ROOM"},
                 {"CHANNEL"},
                 {"MESSAGES", Table::Align::right},
                 {"NEW", Table::Align::right},
                 {"LINES PASSED OVER", Table::Align::right}});
    for (const ReplaySummary::Room& room : summary.rooms) {
        table.add({targetText(room.target), room.channel, std::to_string(room.stored + room.known),
                   std::to_string(room.stored), std::to_string(room.passedOver)});
    }
    printLine("");
    table.print(std::cout);
}

void replay(const GlobalOptions& global, const Options& options) {
    ReplayOptions how;
    how.batch = static_cast<std::uint64_t>(parseNumber("--batch", options.batch, 1, largestBatch));
    how.all = options.all;
    const Account account = accountOf(global);
    const FoundLogs logs = findLogs(options.paths);
    requireDistinctRooms(logs.files);
    const auto totalSize =
        std::accumulate(logs.files.begin(), logs.files.end(), std::uintmax_t{0},
                        [](std::uintmax_t sum, const LogFile& file) { return sum + file.size; });

    catchInterrupts();
    const auto start = std::chrono::steady_clock::now();
    const ReplaySummary summary = [&] {
        Store store(account, Store::IfMissing::create);
        ProgressBar progress(totalSize);
        return LogReplay(store, how).play(logs.files, progress);
    }();  // closed by now: everything is in the file itself
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;

    Circumstances circumstances;
    circumstances.passedOver = logs.passedOver.size();
    circumstances.seconds = elapsed.count();
    circumstances.messagesPerSecond =
        static_cast<double>(summary.stored + summary.known) / std::max(elapsed.count(), 1e-9);
    circumstances.fileSize = std::filesystem::file_size(account.database);
    if (options.json) {
        printJson(summaryJson(summary, circumstances, account));
    } else {
        printSummary(summary, circumstances, account);
    }
    if (summary.interrupted) {
        finishOutput();
        throw ToolError(
            "stopped as asked; what had been read is stored, the same command goes on with the rest",
            ExitCode::interrupted);
    }
}

}  // namespace

void addReplayCommands(CLI::App& app, const GlobalOptions& global) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand("replay", "Play logs of chat rooms into the store");
    command->group(headingMessages);
    command->footer(
        "A log is CHANNEL/YYYY-MM-DD.log with lines\n"
        "  [HH:MM] <nick> text          a message\n"
        "  [HH:MM] * nick does a thing  an action\n"
        "  === anything                 a notice, skipped\n"
        "in UTC. Each channel becomes a room, whose number follows from the channel's name. The "
        "room\n"
        "and a profile of each author are stored with the messages.\n"
        "Played again, a log goes on behind the message that was played last, whatever has been deleted "
        "since;\n"
        "one whose lines up to there have changed is looked at whole. 'pelko rooms' shows how far each room "
        "is.");
    command
        ->add_option("PATH", options->paths,
                     "Logs, or folders that are searched for logs; ./[x] for one named [x]")
        ->required()
        ->type_name("");
    command
        ->add_option("--batch", options->batch, "Events per transaction (default: 1000; 1: no transaction)")
        ->type_name("N");
    command->add_flag(
        "--all", options->all,
        "Look at all lines, those that were replayed before, too: brings deleted messages back");
    command->add_flag("--json", options->json, "Print the summary as JSON");
    command->callback([&global, options] { replay(global, *options); });
}

}  // namespace pelkotool
