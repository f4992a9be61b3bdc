#include "tools/pelko/export/HtmlPages.h"

#include <algorithm>

#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/export/HtmlDates.h"
#include "tools/pelko/export/HtmlMessage.h"
#include "tools/pelko/export/HtmlPager.h"
#include "tools/pelko/export/HtmlText.h"
#include "tools/pelko/file/MessageRow.h"

namespace pelkotool {

using ctemplate::TemplateDictionary;
using pelkoapi::pathOf;
using pelkoapi::PelkoMessage;
using pelkoapi::utf8Of;

namespace {

constexpr char rootOfPages[] = "../../";

std::size_t pageCount(const Conversation& conversation, std::size_t messagesPerPage) {
    return std::max<std::size_t>((conversation.rows.size() + messagesPerPage - 1) / messagesPerPage, 1);
}

bool hasMembers(const Peer& peer) {
    return peer.type == pelkoapi::PelkoChatTargetTypeRoom || peer.type == pelkoapi::PelkoChatTargetTypeGroup;
}

/// The days that pages begin with, without reading the messages between.
PageDays daysOfPages(const Database& database, const Conversation& conversation,
                     std::size_t messagesPerPage) {
    Statement dates = database.prepare("SELECT date FROM tbl_msg WHERE db_id = ?1");
    PageDays days;
    for (std::size_t at = 0; at < conversation.rows.size(); at += messagesPerPage) {
        dates.bind(1, conversation.rows[at]);
        days.push_back(dates.step() ? dayOf(static_cast<unsigned int>(dates.integer(0))) : std::string());
        dates.reset();
    }
    return days;
}

void putDays(TemplateDictionary& values, const std::optional<unsigned int>& first,
             const std::optional<unsigned int>& last) {
    if (first && last) {
        TemplateDictionary& days = *values.AddSectionDictionary("DAYS");
        days.SetValue("FIRST_DAY", dayOf(*first));
        if (dayOf(*last) != dayOf(*first)) {
            HtmlTemplates::showIfAny(days, "SEVERAL", "LAST_DAY", dayOf(*last));
        }
    }
}

}  // namespace

/// One page, with the rows that stand on it.
struct HtmlPages::Page {
    std::size_t number;
    PageDays days;
    std::size_t firstRow;
    std::size_t endRow;
};

HtmlPages::HtmlPages(const Database& database, const HtmlExport& what, HtmlTemplates& templates)
    : mDatabase(database),
      mWhat(what),
      mTemplates(templates),
      mNames(database, what.me),
      mSearch(what.folder),
      mMessages(
          database.prepare(std::string("SELECT ") + messageColumns + " FROM tbl_msg WHERE db_id = ?1")) {
}

PelkoMessage HtmlPages::read(long long row) {
    mMessages.bind(1, row);
    if (!mMessages.step()) {
        throw ToolError(utf8Of(mDatabase.file()) + ": the message of row " + std::to_string(row) +
                        " is not there any more; run the command again, or 'pelko check'");
    }
    PelkoMessage message = messageOf(mMessages);
    mMessages.reset();
    return message;
}

void HtmlPages::note(const PelkoMessage& message, const Page& page, ConversationSummary& summary) {
    const std::string sender = mNames.isMe(message.sender) ? "You" : mNames.of(message.sender).name;
    std::string words = messageWords(message, mNames);
    summary.first = std::min(summary.first.value_or(message.date), message.date);
    summary.last = std::max(summary.last.value_or(message.date), message.date);
    mSearch.add({message.dbID, page.number, message.date, sender, words});
    summary.lastSender = sender;
    summary.lastWords = std::move(words);
    summary.lastDate = message.date;
    ++mDone;
    if (mWhat.progress) {
        mWhat.progress(mDone);
    }
}

void HtmlPages::putHeader(const Conversation& conversation, const Page& page, TemplateDictionary& values) {
    const std::string title = titleOf(conversation);
    const std::string count = std::to_string(page.days.size());
    const bool severalPages = page.days.size() > 1;
    TemplateDictionary& head = HtmlTemplates::include(values, "HEAD", "head.tpl");
    head.SetValue("ROOT", rootOfPages);
    head.SetValue("TITLE",
                  severalPages ? title + ", page " + std::to_string(page.number) + " of " + count : title);
    HtmlTemplates::include(values, "SEARCH", "search.tpl");
    values.SetValue("NAME", title);
    values.SetValue("TARGET", lineText(peerText(conversation.peer)));
    values.SetValue("MESSAGES", counted(static_cast<long long>(conversation.rows.size()), "message"));
    if (!isKnownKind(conversation.peer.type)) {
        values.ShowSection("UNKNOWN_KIND");
    }
    if (!mWhat.range.isWhole()) {
        HtmlTemplates::showIfAny(values, "ASKED", "RANGE", mWhat.range.words());
    }
    HtmlTemplates::showIfAny(values, "PROFILE", "TEXT", profileTextOf(mDatabase, conversation.peer));
    if (severalPages) {
        TemplateDictionary& position = *values.AddSectionDictionary("POSITION");
        position.SetValue("PAGE", std::to_string(page.number));
        position.SetValue("COUNT", count);
        TemplateDictionary& above = HtmlTemplates::include(values, "PAGER_ABOVE", "pager.tpl");
        above.SetValue("LABEL", "Pages");
        putPager(page.days, page.number, above);
        putPageList(page.days, page.number, above);
        TemplateDictionary& below = HtmlTemplates::include(values, "PAGER_BELOW", "pager.tpl");
        below.SetValue("LABEL", "Pages, below");
        putPager(page.days, page.number, below);
    }
}

void HtmlPages::putMessages(const Conversation& conversation, const Page& page, ConversationSummary& summary,
                            TemplateDictionary& values) {
    MessagePlaceOnPage place;
    place.root = rootOfPages;
    place.hasMembers = hasMembers(conversation.peer);
    place.attachment = &mWhat.attachment;
    TemplateDictionary* day = nullptr;
    std::string dayShown;
    pelkoapi::PelkoChatTarget lastSender;
    std::optional<unsigned int> first;
    std::optional<unsigned int> last;
    for (std::size_t at = page.firstRow; at < page.endRow; ++at) {
        const PelkoMessage message = read(conversation.rows[at]);
        const std::string messageDay = dayOf(message.date);
        const bool newDay = day == nullptr || messageDay != dayShown;
        if (newDay) {
            day = values.AddSectionDictionary("DAY");
            day->SetValue("DATE", messageDay);
            day->SetValue("WORDS", dayWords(message.date));
            dayShown = messageDay;
        }
        place.sameSender = !newDay && message.sender == lastSender;
        lastSender = message.sender;
        putMessage(message, place, mNames, *day->AddSectionDictionary("MESSAGE"));
        first = std::min(first.value_or(message.date), message.date);
        last = std::max(last.value_or(message.date), message.date);
        note(message, page, summary);
    }
    if (page.firstRow == page.endRow) {
        values.ShowSection("NO_MESSAGES");
    }
    putDays(values, first, last);
}

ConversationSummary HtmlPages::write(const Conversation& conversation, const std::string& folder) {
    ConversationSummary summary;
    summary.folder = "chats/" + folder;
    mSearch.addConversation(titleOf(conversation), lineText(peerText(conversation.peer)), summary.folder);
    const std::filesystem::path path = mWhat.folder / "chats" / pathOf(folder);
    std::filesystem::create_directories(path);

    const std::size_t count = pageCount(conversation, mWhat.messagesPerPage);
    Page page{1, daysOfPages(mDatabase, conversation, mWhat.messagesPerPage), 0, 0};
    for (; page.number <= count; ++page.number) {
        page.firstRow = page.endRow;
        page.endRow = std::min(page.firstRow + mWhat.messagesPerPage, conversation.rows.size());
        TemplateDictionary values("conversation.tpl");
        putHeader(conversation, page, values);
        putMessages(conversation, page, summary, values);
        writeHtmlFile(path / pathOf(std::to_string(page.number) + ".html"),
                      mTemplates.expand("conversation.tpl", values));
    }
    return summary;
}

}  // namespace pelkotool
