#include "tools/pelko/export/HtmlIndex.h"

#include <algorithm>
#include <optional>

#include "tools/pelko/Output.h"
#include "tools/pelko/Text.h"
#include "tools/pelko/Times.h"
#include "tools/pelko/export/HtmlDates.h"
#include "tools/pelko/export/HtmlNames.h"
#include "tools/pelko/export/HtmlText.h"

namespace pelkotool {

using ctemplate::TemplateDictionary;

namespace {

void putFact(TemplateDictionary& values, const char* name, const std::string& value) {
    TemplateDictionary& fact = *values.AddSectionDictionary("FACT");
    fact.SetValue("NAME", name);
    fact.SetValue("VALUE", value);
}

std::string contentWords(const HtmlExport& what, const std::vector<ConversationSummary>& summaries) {
    long long messages = 0;
    std::optional<unsigned int> first;
    std::optional<unsigned int> last;
    for (const Conversation& conversation : what.conversations) {
        messages += static_cast<long long>(conversation.rows.size());
    }
    for (const ConversationSummary& summary : summaries) {
        if (summary.first) {
            first = std::min(first.value_or(*summary.first), *summary.first);
            last = std::max(last.value_or(*summary.last), *summary.last);
        }
    }
    const std::string number = counted(messages, "message") + " in " +
                               counted(static_cast<long long>(summaries.size()), "conversation");
    return first ? number + ", from " + localTime(*first) + " to " + localTime(*last) : number;
}

std::string ownName(const HtmlExport& what) {
    return what.me.empty() ? "(unknown)" : lineText(what.me);
}

void putFacts(const HtmlExport& what, const std::vector<ConversationSummary>& summaries,
              TemplateDictionary& values) {
    const unsigned int present = now();
    putFact(values, "Account", ownName(what));
    putFact(
        values, "Asked for",
        std::string(what.onlySome ? "chosen conversations, " : "all conversations, ") + what.range.words());
    putFact(values, "Exported", contentWords(what, summaries));
    putFact(values, "Made", localTime(present) + ", all times in the time zone " + zoneOf(present));
}

/// One line that fits into a list; a phone shows less of it.
std::string inShort(const std::string& words) {
    constexpr std::size_t columns = 160;
    std::string line = words.substr(0, columns * 4);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\t'; }, ' ');
    return shortened(lineText(line), columns);
}

void putLastMessage(const ConversationSummary& summary, TemplateDictionary& entry) {
    if (!summary.lastDate) {
        entry.ShowSection("NO_MESSAGES");
        return;
    }
    TemplateDictionary& last = *entry.AddSectionDictionary("LAST");
    last.SetValue("SENDER", summary.lastSender);
    last.SetValue("WORDS", inShort(summary.lastWords));
    last.SetValue("DAY", dayOf(*summary.lastDate));
}

void putConversation(const Conversation& conversation, const ConversationSummary& summary,
                     TemplateDictionary& values) {
    TemplateDictionary& entry = *values.AddSectionDictionary("CONVERSATION");
    entry.SetValue("LINK", summary.folder + "/1.html");
    entry.SetValue("NAME", titleOf(conversation));
    entry.SetValue("TARGET", lineText(peerText(conversation.peer)));
    entry.SetValue("MESSAGES", counted(static_cast<long long>(conversation.rows.size()), "message"));
    if (conversation.pinned) {
        entry.ShowSection("PINNED");
    }
    if (!isKnownKind(conversation.peer.type)) {
        entry.ShowSection("UNKNOWN_KIND");
    }
    if (conversation.unread > 0) {
        HtmlTemplates::showIfAny(entry, "UNREAD", "NUMBER", std::to_string(conversation.unread));
    }
    putLastMessage(summary, entry);
}

}  // namespace

void writeIndex(const HtmlExport& what, const std::vector<ConversationSummary>& summaries,
                HtmlTemplates& templates) {
    TemplateDictionary values("index.tpl");
    TemplateDictionary& head = HtmlTemplates::include(values, "HEAD", "head.tpl");
    head.SetValue("ROOT", "");
    head.SetValue("TITLE", "Conversations of " + ownName(what));
    HtmlTemplates::include(values, "SEARCH", "search.tpl");
    values.SetValue("ME", ownName(what));
    putFacts(what, summaries, values);
    if (!what.range.isWhole()) {
        values.ShowSection("BADGES_COUNT_ALL");
    }
    for (std::size_t i = 0; i < summaries.size(); ++i) {
        putConversation(what.conversations[i], summaries[i], values);
    }
    if (summaries.empty()) {
        values.ShowSection("NO_CONVERSATIONS");
    }
    writeHtmlFile(what.folder / "index.html", templates.expand("index.tpl", values));
}

}  // namespace pelkotool
