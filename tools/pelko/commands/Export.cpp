#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "classes/platform/Interrupt.h"
#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Arguments.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/DateRange.h"
#include "tools/pelko/Number.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/ProgressBar.h"
#include "tools/pelko/Target.h"
#include "tools/pelko/Times.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/export/Attachments.h"
#include "tools/pelko/export/HtmlExport.h"
#include "tools/pelko/export/JsonLines.h"
#include "tools/pelko/file/AccountFile.h"
#include "tools/pelko/file/Conversations.h"
#include "tools/pelko/file/NewPath.h"
#include "tools/pelko/file/StopOnInterrupt.h"
#include "tools/pelko/file/Tables.h"

// pelko export: conversations as pages for people, and every row as lines for programs.

namespace pelkotool {

namespace fs = std::filesystem;

using pelkoapi::catchInterrupts;
using pelkoapi::utf8Of;

namespace {

constexpr long long largestExportPage = 1000;

struct ExportOptions {
    std::string out;
    std::string formats = "html,json";
    std::vector<std::string> only;
    DateOptions dates;
    std::string media = "copy";
    std::string page = "1000";
    FileOptions file;
    bool json = false;
};

struct ExportFormats {
    bool html = false;
    bool json = false;
};

/// What the arguments ask for.
struct ExportOrder {
    ExportFormats formats;
    Attachments::Media media = Attachments::Media::copy;
    std::size_t messagesPerPage = 0;
    DateRange range;
    std::optional<std::set<Peer>> only;
};

/// What an export holds.
struct ExportSummary {
    std::size_t conversations = 0;
    long long messages = 0;
    std::optional<unsigned int> first;
    std::optional<unsigned int> last;
    Attachments::Counts files;
    JsonLinesWritten lines;
    std::uintmax_t bytes = 0;
};

ExportFormats parseExportFormats(const std::string& text) {
    ExportFormats formats;
    std::size_t begin = 0;
    while (begin <= text.size()) {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        const std::string format = text.substr(begin, end - begin);
        if (format != "html" && format != "json") {
            throw UsageError("--format '" + text + "': write html, json or html,json");
        }
        (format == "html" ? formats.html : formats.json) = true;
        begin = end + 1;
    }
    return formats;
}

Attachments::Media parseMediaChoice(const std::string& text) {
    if (text == "copy") {
        return Attachments::Media::copy;
    }
    if (text == "link") {
        return Attachments::Media::link;
    }
    if (text == "none") {
        return Attachments::Media::none;
    }
    throw UsageError("--media '" + text + "' is no choice; write copy, link or none");
}

ExportOrder orderOf(const ExportOptions& options) {
    ExportOrder order;
    order.formats = parseExportFormats(options.formats);
    order.media = parseMediaChoice(options.media);
    order.messagesPerPage =
        static_cast<std::size_t>(parseNumber("--page", options.page, 1, largestExportPage));
    order.range = parseDateRange(options.dates);
    if (!options.only.empty()) {
        std::set<Peer> peers;
        std::transform(options.only.begin(), options.only.end(), std::inserter(peers, peers.end()),
                       parsePeer);
        order.only = std::move(peers);
    }
    return order;
}

void stopExportIfAsked() {
    stopIfInterrupted("nothing was exported");
}

void requireTablesToExport(const Database& database) {
    for (const char* const table : {"tbl_msg", "tbl_session", "tbl_user", "tbl_room", "tbl_group"}) {
        Statement found = database.prepare("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = ?1");
        if (!found.bind(1, table).step()) {
            throw ToolError(utf8Of(database.file()) + " has no table " + table +
                            ", so there are no conversations to export; 'pelko inspect' shows what it has");
        }
    }
}

/// One account's file on its way into a folder.
class Exporter {
public:
    Exporter(const Database& database, const Account& account, ExportOrder order, fs::path folder)
        : mDatabase(database),
          mOrder(std::move(order)),
          mFolder(std::move(folder)),
          mSelection{ownNameIn(database, account), mOrder.only, mOrder.range},
          mAttachments(account, mOrder.media, mFolder, stopExportIfAsked) {}

    ExportSummary write() {
        const std::vector<Conversation> conversations = chosenConversations();
        stopExportIfAsked();
        makeFolder();
        const auto all = static_cast<std::size_t>(mDatabase.number("SELECT count(*) FROM tbl_msg"));
        ProgressBar bar(all + (mOrder.formats.json ? all : 0) +
                        (mOrder.formats.html ? messagesIn(conversations) : 0));
        std::size_t before = 0;
        const auto progress = [&](const char* label) {
            return [&bar, &before, label](std::size_t messagesDone) {
                stopExportIfAsked();
                bar.show(before + messagesDone, label);
            };
        };
        lookThrough(progress("attachments"));
        before += all;
        if (mOrder.formats.json) {
            writeLines(progress("json"));
            before += all;
        }
        if (mOrder.formats.html) {
            writePages(conversations, progress("html"));
        }
        mSummary.conversations = conversations.size();
        mSummary.files = mAttachments.counts();
        mSummary.bytes = bytesIn(mFolder);
        return mSummary;
    }

private:
    using Progress = std::function<void(std::size_t messagesDone)>;

    std::vector<Conversation> chosenConversations() const {
        std::vector<Conversation> conversations = conversationsIn(mDatabase, mSelection.me, mOrder.range);
        if (mOrder.only) {
            requireAllThere(conversations);
        }
        conversations.erase(std::remove_if(conversations.begin(), conversations.end(),
                                           [&](const Conversation& conversation) {
                                               return !mSelection.isChosen(conversation.peer) ||
                                                      (!mOrder.range.isWhole() && conversation.rows.empty());
                                           }),
                            conversations.end());
        return conversations;
    }

    void requireAllThere(const std::vector<Conversation>& conversations) const {
        for (const Peer& peer : *mOrder.only) {
            const bool isThere =
                std::any_of(conversations.begin(), conversations.end(),
                            [&](const Conversation& conversation) { return conversation.peer == peer; });
            if (!isThere) {
                throw ToolError("--only " + peerText(peer) + ": there is no such conversation in " +
                                utf8Of(mDatabase.file()) +
                                "; 'pelko inspect' and 'pelko sessions' show those that there are");
            }
        }
    }

    static std::size_t messagesIn(const std::vector<Conversation>& conversations) {
        std::size_t messages = 0;
        for (const Conversation& conversation : conversations) {
            messages += conversation.rows.size();
        }
        return messages;
    }

    void makeFolder() const {
        std::error_code error;
        if (!fs::create_directory(mFolder, error)) {
            throw ToolError("cannot make the folder " + utf8Of(mFolder) + ": " + error.message() +
                            "; name a place that can be written");
        }
        // Like the database, it belongs to its user alone.
        fs::permissions(mFolder, fs::perms::owner_all, error);
    }

    /// Looks at every message that is to be exported, and takes the files that it names.
    void lookThrough(const Progress& progress) {
        Statement row = mDatabase.prepare(std::string("SELECT date, media_path, ex_media_path, ") +
                                          peerTypeSql + ", " + peerIdSql + " FROM tbl_msg ORDER BY rowid");
        row.bind(1, mSelection.me);
        for (std::size_t read = 0; row.step();) {
            const auto date = static_cast<unsigned int>(row.integer(0));
            if (mSelection.takes({row.integer(3), row.text(4)}, date)) {
                ++mSummary.messages;
                mSummary.first = std::min(mSummary.first.value_or(date), date);
                mSummary.last = std::max(mSummary.last.value_or(date), date);
                mAttachments.placeOf(row.text(1));
                mAttachments.placeOf(row.text(2));
            }
            progress(++read);
        }
    }

    std::function<std::string(const std::string&)> places() {
        return [this](const std::string& storedPath) { return mAttachments.placeOf(storedPath); };
    }

    void writeLines(const Progress& progress) {
        constexpr const char* mediaWords[] = {"copy", "link", "none"};
        JsonLinesExport what;
        what.folder = mFolder;
        what.selection = mSelection;
        what.media = mediaWords[static_cast<std::size_t>(mOrder.media)];
        what.attachment = places();
        what.progress = progress;
        mSummary.lines = writeJsonLines(mDatabase, what);
    }

    void writePages(const std::vector<Conversation>& conversations, const Progress& progress) {
        HtmlExport what;
        what.folder = mFolder;
        what.me = mSelection.me;
        what.conversations = conversations;
        what.onlySome = mOrder.only.has_value();
        what.range = mOrder.range;
        what.messagesPerPage = mOrder.messagesPerPage;
        what.attachment = places();
        what.progress = progress;
        writeHtml(mDatabase, what);
    }

    static std::uintmax_t bytesIn(const fs::path& folder) {
        std::uintmax_t bytes = 0;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
            bytes += entry.is_regular_file() ? entry.file_size() : 0;
        }
        return bytes;
    }

    const Database& mDatabase;
    const ExportOrder mOrder;
    const fs::path mFolder;
    const Selection mSelection;
    Attachments mAttachments;
    ExportSummary mSummary;
};

Json exportTimeJson(std::optional<unsigned int> time) {
    return time ? Json(isoTime(*time)) : Json(nullptr);
}

Json askedJson(const std::optional<std::string>& text) {
    return text ? Json(*text) : Json(nullptr);
}

void printExportAsJson(const ExportSummary& summary, const ExportOptions& options, const ExportOrder& order,
                       const fs::path& out) {
    Json only = nullptr;
    if (order.only) {
        only = Json::array();
        std::transform(order.only->begin(), order.only->end(), std::back_inserter(only), peerText);
    }
    const Attachments::Counts& files = summary.files;
    printJson(
        {{"folder", utf8Of(out)},
         {"index", order.formats.html ? Json(utf8Of(out / "index.html")) : Json(nullptr)},
         {"conversations", summary.conversations},
         {"messages", summary.messages},
         {"asked_for",
          {{"since", askedJson(options.dates.since)},
           {"until", askedJson(options.dates.until)},
           {"only", only}}},
         {"exported", {{"first", exportTimeJson(summary.first)}, {"last", exportTimeJson(summary.last)}}},
         {"rows", order.formats.json ? Json(summary.lines.rows) : Json(nullptr)},
         {"rows_too_long", summary.lines.tooLong},
         {"files",
          {{"copied", files.copied},
           {"bytes", files.bytes},
           {"linked", files.linked},
           {"missing", files.missing},
           {"refused", files.refused}}},
         {"bytes", summary.bytes}});
}

std::string filesInWords(const Attachments::Counts& files, bool dataRootIsKnown) {
    std::string words = std::to_string(files.copied) + " copied";
    if (files.copied > 0) {
        words += " (" + std::to_string(files.bytes) + " bytes)";
    }
    const std::pair<long long, const char*> others[] = {
        {files.linked, " linked"},
        {files.missing, " missing"},
        {files.refused, dataRootIsKnown ? " not taken: they are no files of the account's"
                                        : " not taken: --data-dir names the folder that they are in"}};
    for (const auto& [number, what] : others) {
        words += number > 0 ? ", " + std::to_string(number) + what : "";
    }
    return words;
}

void printExport(const ExportSummary& summary, const ExportOrder& order, bool dataRootIsKnown,
                 const fs::path& out) {
    printField("conversations", std::to_string(summary.conversations));
    printField("messages", std::to_string(summary.messages));
    printField("asked for", order.range.words() + (order.only ? ", some conversations" : ""));
    printField("exported",
               summary.first ? localTime(*summary.first) + " to " + localTime(*summary.last) : "no message");
    if (order.media != Attachments::Media::none) {
        printField("files", filesInWords(summary.files, dataRootIsKnown));
    }
    if (order.formats.json) {
        printField("rows", std::to_string(summary.lines.rows));
    }
    if (summary.lines.tooLong > 0) {
        printField("too long",
                   counted(summary.lines.tooLong, "row") +
                       ", for which 'pelko import' refuses the export; 'pelko backup' copies such rows");
    }
    printField("bytes", std::to_string(summary.bytes));
    printField("place", utf8Of(out));
    if (order.formats.html) {
        printLine("Open " + utf8Of(out / "index.html") + " in a browser.");
    }
}

void exportAccount(const GlobalOptions& global, const ExportOptions& options) {
    const ExportOrder order = orderOf(options);
    const Account account = accountFileOf(global, options.file);
    NewPath out(options.out);
    catchInterrupts();
    const Database database = Database::openToRead(account.database);
    database.execute("BEGIN");  // everything shows the same state, whatever a client writes meanwhile
    requireTablesToExport(database);
    if (order.formats.html) {
        requireColumns(database, {"tbl_msg", "tbl_session", "tbl_user", "tbl_room", "tbl_group"});
    }
    const ExportSummary summary = Exporter(database, account, order, out.unfinished()).write();
    database.execute("COMMIT");
    database.requireUnchanged();
    out.finish();
    if (options.json) {
        printExportAsJson(summary, options, order, out.wanted());
    } else {
        printExport(summary, order, account.dataRootIsKnown, out.wanted());
    }
}

}  // namespace

void addExportCommand(CLI::App& app, const GlobalOptions& global) {
    const auto options = std::make_shared<ExportOptions>();
    CLI::App* const command =
        app.add_subcommand("export", "Write conversations as web pages, and all rows as JSON Lines");
    command->group(headingOutside);
    command->footer(
        "OUT is a new folder, which only its owner can open:\n"
        "  index.html    the conversations, for a browser\n"
        "  export.jsonl  every row, for programs and 'pelko import'\n"
        "  media/        copies of the messages' attachments\n"
        "Only files of the account's are copied, and with --file only when --data-dir names the folder that "
        "they\n"
        "are in.");
    addPositional(*command, "OUT", options->out, "The folder to make");
    command->add_option("--format", options->formats, "html, json, or both (default: html,json)")
        ->type_name("LIST");
    command
        ->add_option("--only", options->only,
                     std::string("Only the conversations with these: ") + targetForms)
        ->type_name("TARGET");
    addDateOptions(*command, options->dates);
    command
        ->add_option("--media", options->media,
                     "Attachments: copy their files, link to the originals, or none (default: copy)")
        ->type_name("HOW");
    command->add_option("--page", options->page, "Messages on a page, at most 1000 (default: 1000)")
        ->type_name("N");
    addFileOption(*command, options->file);
    command->add_flag("--json", options->json, "Print the summary as JSON");
    command->callback([&global, options] { exportAccount(global, *options); });
}

}  // namespace pelkotool
