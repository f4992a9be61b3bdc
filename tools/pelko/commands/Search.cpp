#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <tuple>
#include <vector>

#include "classes/platform/Terminal.h"
#include "tools/pelko/Arguments.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/DateRange.h"
#include "tools/pelko/Json.h"
#include "tools/pelko/MessageView.h"
#include "tools/pelko/Number.h"
#include "tools/pelko/Target.h"
#include "tools/pelko/Text.h"
#include "tools/pelko/Times.h"
#include "tools/pelko/file/AccountFile.h"
#include "tools/pelko/file/MessageRow.h"
#include "tools/pelko/file/Peers.h"
#include "tools/pelko/file/Tables.h"

// pelko search: messages by their text, over all conversations.

namespace pelkotool {

namespace {

using pelkoapi::PelkoMessage;
using pelkoapi::stdoutWidth;

constexpr long long mostHits = 1'000'000;
constexpr long long mostContext = 1000;
constexpr std::size_t widthWithoutTerminal = 100;

struct SearchOptions {
    FileOptions file;
    DateOptions dates;
    std::string text;
    std::optional<std::string> in;
    std::optional<std::string> from;
    std::string count = "20";
    std::string context = "1";
    bool json = false;
};

struct Hit {
    PelkoMessage message;
    Peer peer;
    std::vector<PelkoMessage> before;
    std::vector<PelkoMessage> after;
};

class Search {
public:
    Search(const Database& database, std::string me) : mDatabase(database), mMe(std::move(me)) {}

    /// The places of all hits, in no order.
    std::vector<MessagePlace> places(const SearchOptions& options) const {
        const std::optional<Peer> in = options.in ? std::optional(parsePeer(*options.in)) : std::nullopt;
        std::string sql =
            std::string("SELECT ") + placeColumns +
            " FROM tbl_msg WHERE (instr(lower(text), ?3) OR instr(lower(extra_path), ?3)) AND " +
            parseDateRange(options.dates).condition("date");
        if (in) {
            sql += " AND (" + conversationCondition(*in) + ')';
        }
        if (options.from) {
            sql += " AND sender_type = 0 AND sender_id = ?4";
        }
        Statement rows = mDatabase.prepare(sql);
        // Not by LIKE, for which a text ends at its first NUL byte.
        rows.bindIfUsed(1, mMe).bindIfUsed(2, in ? in->id : "").bind(3, inSmallLetters(options.text));
        rows.bindIfUsed(4, options.from.value_or(""));
        std::vector<MessagePlace> places;
        while (rows.step()) {
            places.push_back(placeOf(rows));
        }
        return places;
    }

    /// That the conversation and the sender asked for are there at all. @throws ToolError that names what is
    /// not
    void requireKnown(const SearchOptions& options) const {
        if (options.in) {
            const Peer peer = parsePeer(*options.in);
            Statement any =
                mDatabase.prepare("SELECT 1 FROM tbl_msg WHERE " + conversationCondition(peer) + " LIMIT 1");
            if (!any.bindIfUsed(1, mMe).bind(2, peer.id).step()) {
                throw ToolError("--in " + *options.in +
                                ": there is no such conversation; 'pelko inspect' shows them all");
            }
        }
        if (options.from) {
            Statement any =
                mDatabase.prepare("SELECT 1 FROM tbl_msg WHERE sender_type = 0 AND sender_id = ?1 LIMIT 1");
            if (!any.bind(1, *options.from).step()) {
                throw ToolError("--from " + *options.from + ": there is no message of a user with that name");
            }
        }
    }

    Hit hitAt(const MessagePlace& place, std::size_t context) {
        Hit hit;
        std::tie(hit.message, hit.peer) = read(place.row);
        if (context == 0 || hit.peer.type == betweenOthers) {
            return hit;  // no conversation shows what two others have written
        }
        const std::vector<MessagePlace>& all = conversation(hit.peer);
        const auto found = std::lower_bound(all.begin(), all.end(), place);
        if (found == all.end() || found->row != place.row) {
            return hit;  // of a conversation that the store selects by other rows, such as one with oneself
        }
        const auto before = static_cast<std::size_t>(found - all.begin());
        const auto after = static_cast<std::size_t>(all.end() - found) - 1;
        for (auto at = found - static_cast<std::ptrdiff_t>(std::min(context, before)); at != found; ++at) {
            hit.before.push_back(read(at->row).first);
        }
        for (std::size_t i = 1; i <= std::min(context, after); ++i) {
            hit.after.push_back(read((found + static_cast<std::ptrdiff_t>(i))->row).first);
        }
        return hit;
    }

private:
    std::pair<PelkoMessage, Peer> read(long long row) const {
        Statement message = mDatabase.prepare(std::string("SELECT ") + messageColumns + ", " + peerTypeSql +
                                              ", " + peerIdSql + " FROM tbl_msg WHERE db_id = ?2");
        message.bind(1, mMe).bind(2, row);
        if (!message.step()) {
            return {};
        }
        const int peerColumn = message.columnCount() - 2;
        return {messageOf(message), {message.integer(peerColumn), message.text(peerColumn + 1)}};
    }

    /// In order. Read whole, once: asked for its neighbours alone, a conversation between two would be read
    /// and sorted anew for each hit in it.
    const std::vector<MessagePlace>& conversation(const Peer& peer) {
        const auto [known, isNew] = mConversations.try_emplace(peer);
        std::vector<MessagePlace>& found = known->second;
        if (isNew) {
            Statement rows = mDatabase.prepare(std::string("SELECT ") + placeColumns +
                                               " FROM tbl_msg WHERE " + conversationCondition(peer));
            rows.bindIfUsed(1, mMe).bind(2, peer.id);
            while (rows.step()) {
                found.push_back(placeOf(rows));
            }
            std::sort(found.begin(), found.end());
        }
        return found;
    }

    const Database& mDatabase;
    const std::string mMe;
    std::map<Peer, std::vector<MessagePlace>> mConversations;
};

Json hitJson(const Hit& hit) {
    const auto list = [](const std::vector<PelkoMessage>& messages) {
        Json array = Json::array();
        std::transform(messages.begin(), messages.end(), std::back_inserter(array), messageJson);
        return array;
    };
    return {{"conversation", peerText(hit.peer)},
            {"message", messageJson(hit.message)},
            {"before", list(hit.before)},
            {"after", list(hit.after)}};
}

/// The part of the text around what was looked for, where the whole is too wide.
std::string excerpt(const std::string& text, const std::string& sought, std::size_t width) {
    const std::size_t place = inSmallLetters(text).find(inSmallLetters(sought));
    if (place == std::string::npos || displayWidth(visibleText(text)) <= width || place <= width / 3) {
        return shortened(visibleText(text), width);
    }
    std::size_t start = place - width / 3;
    while (start < place && (static_cast<unsigned char>(text[start]) & 0xC0U) == 0x80U) {
        ++start;  // not in the middle of a character
    }
    return shortened("…" + visibleText(std::string_view(text).substr(start)), width);
}

void printMessage(const PelkoMessage& message, const char* mark, const std::string& sought,
                  std::size_t width) {
    const std::string head = mark + localTime(message.date) + "  " + senderText(message) + "  ";
    const std::size_t taken = displayWidth(visibleText(head));
    const std::size_t left = width > taken + 20 ? width - taken : 20;
    const std::string body =
        bodyText(message) + (message.extraText.empty() ? "" : " [" + message.extraText + ']');
    printLine(head + excerpt(body, sought, left));
}

void printHits(const std::vector<Hit>& hits, std::size_t found, const std::string& sought) {
    const std::size_t width = stdoutWidth().value_or(widthWithoutTerminal);
    for (const Hit& hit : hits) {
        printLine(peerText(hit.peer) + ", row " + std::to_string(hit.message.dbID));
        for (const PelkoMessage& message : hit.before) {
            printMessage(message, "    ", "", width);
        }
        printMessage(hit.message, "  > ", sought, width);
        for (const PelkoMessage& message : hit.after) {
            printMessage(message, "    ", "", width);
        }
        printLine("");
    }
    const std::string all = counted(static_cast<long long>(found), "message", "messages");
    printLine(hits.size() < found
                  ? all + " found, the newest " + std::to_string(hits.size()) + " shown; -n shows more."
                  : all + " found.");
}

void search(const GlobalOptions& global, const SearchOptions& options) {
    if (options.text.empty()) {
        throw UsageError("'' is in every message; name a text to look for");
    }
    const auto count = static_cast<std::size_t>(parseNumber("-n", options.count, 1, mostHits));
    const auto context = static_cast<std::size_t>(parseNumber("--context", options.context, 0, mostContext));
    static_cast<void>(parseDateRange(options.dates));  // wrong arguments first, whatever the file
    if (options.in) {
        static_cast<void>(parsePeer(*options.in));
    }
    const Account account = accountFileOf(global, options.file);
    const Database database = Database::openToRead(account.database);
    requireColumns(database, {"tbl_msg"});
    Search search(database, ownNameIn(database, account));

    std::vector<MessagePlace> places = search.places(options);
    if (places.empty()) {
        search.requireKnown(options);
    }
    const std::size_t shown = std::min(count, places.size());
    // cppcheck-suppress containerOutOfBounds ; nothing is added to the begin of an empty one
    const auto end = places.begin() + static_cast<std::ptrdiff_t>(shown);
    const auto newer = [](const MessagePlace& a, const MessagePlace& b) { return b < a; };
    std::partial_sort(places.begin(), end, places.end(), newer);
    std::vector<Hit> hits;
    std::transform(places.begin(), end, std::back_inserter(hits),
                   [&](const MessagePlace& place) { return search.hitAt(place, context); });
    database.requireUnchanged();

    if (options.json) {
        Json list = Json::array();
        std::transform(hits.begin(), hits.end(), std::back_inserter(list), hitJson);
        printJson({{"found", places.size()}, {"hits", std::move(list)}});
    } else {
        printHits(hits, places.size(), options.text);
    }
}

}  // namespace

void addSearchCommand(CLI::App& app, const GlobalOptions& global) {
    const auto options = std::make_shared<SearchOptions>();
    CLI::App* const command = app.add_subcommand("search", "Find messages by their text, the newest first");
    command->group(headingMessages);
    command->footer(
        "Small and capital letters of the Latin alphabet without accents are the same.\n"
        "The file is only read, also while a client has it open.");
    addPositional(*command, "TEXT", options->text, "What the message or its extra text holds");
    addGiven(*command, "--in", "TARGET", options->in,
             std::string("Only in the conversation with ") + targetForms);
    addGiven(*command, "--from", "NAME", options->from, "Only what that user has sent");
    addDateOptions(*command, options->dates);
    command->add_option("-n", options->count, "At most so many (default: 20)")->type_name("N");
    command->add_option("--context", options->context, "So many messages before and after each (default: 1)")
        ->type_name("N");
    addFileOption(*command, options->file);
    addJsonFlag(*command, options->json);
    command->callback([&global, options] { search(global, *options); });
}

}  // namespace pelkotool
