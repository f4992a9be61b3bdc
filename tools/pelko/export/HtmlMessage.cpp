#include "tools/pelko/export/HtmlMessage.h"

#include "tools/pelko/MessageView.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/export/HtmlDates.h"
#include "tools/pelko/export/HtmlTemplates.h"
#include "tools/pelko/export/HtmlText.h"
#include "tools/pelko/export/PassiveFiles.h"

namespace pelkotool {

using ctemplate::TemplateDictionary;
using pelkoapi::PelkoMessage;

namespace {

const char* kindOfAttachment(const PelkoMessage& message) {
    switch (message.type) {
        case pelkoapi::PelkoMessageTypeImage:
            return "image";
        case pelkoapi::PelkoMessageTypeAudio:
            return "audio";
        default:
            return "file";
    }
}

/// Of kinds that have neither bubble nor attachment of their own.
std::string kindNote(const PelkoMessage& message) {
    switch (message.type) {
        case pelkoapi::PelkoMessageTypeText:
        case pelkoapi::PelkoMessageTypeImage:
        case pelkoapi::PelkoMessageTypeAudio:
        case pelkoapi::PelkoMessageTypeUserData:
            return {};
        case pelkoapi::PelkoMessageTypeJudgeService:
            return "rating of a customer service";
    }
    return "message of the unknown kind " + std::to_string(static_cast<int>(message.type));
}

void putParts(TemplateDictionary& values, const std::string& text) {
    for (const TextPart& part : partsOf(text)) {
        values.AddSectionDictionary("PART")
            ->AddSectionDictionary(part.isLink ? "LINK" : "PLAIN")
            ->SetValue("TEXT", part.text);
    }
}

enum class TextStyle { plain, action, extra };

void putText(TemplateDictionary& values, TextStyle style, const std::string& text) {
    if (text.empty()) {
        return;
    }
    TemplateDictionary& block = *values.AddSectionDictionary("TEXT_BLOCK");
    block.SetValue("STYLE", style == TextStyle::action  ? "action"
                            : style == TextStyle::extra ? "extra"
                                                        : "plain");
    if (style == TextStyle::extra) {
        block.ShowSection("IS_EXTRA");
    }
    putParts(block, text);
}

/// A file of the export.
struct FoundFile {
    std::string place;  ///< within the export, or absolute
    std::string link;
    std::string name;
};

void putFile(TemplateDictionary& values, const FoundFile& found) {
    TemplateDictionary& file = *values.AddSectionDictionary("FILE");
    TemplateDictionary& form =
        *file.AddSectionDictionary(isPassiveFile(fileName(found.place)) ? "LINKED" : "NAMED");
    form.SetValue("LINK", found.link);
    form.SetValue("NAME", found.name);
    form.SetValue("PLACE", lineText(found.place));
}

void putImage(TemplateDictionary& values, const FoundFile& found) {
    TemplateDictionary& image = *values.AddSectionDictionary("IMAGE");
    image.SetValue("LINK", found.link);
    image.SetValue("NAME", found.name);
    if (isPassiveFile(fileName(found.place))) {
        image.ShowSection("OPENS");
    }
}

void putAudio(TemplateDictionary& values, const FoundFile& found, const PelkoMessage& message) {
    TemplateDictionary& audio = *values.AddSectionDictionary("AUDIO");
    audio.SetValue("LINK", found.link);
    audio.SetValue("NAME", found.name);
    if (message.media.duration > 0) {
        HtmlTemplates::showIfAny(audio, "DURATION", "LENGTH", std::to_string(message.media.duration));
    }
}

/// The file itself: of an image the second one, which is the one that was downloaded, and of anything else
/// the first. The other one is linked beside it.
void putAttachment(TemplateDictionary& values, const PelkoMessage& message, const MessagePlaceOnPage& place) {
    const bool isImage = message.type == pelkoapi::PelkoMessageTypeImage;
    const bool isAudio = message.type == pelkoapi::PelkoMessageTypeAudio;
    const std::string& first = isImage ? message.media.pathEx : message.media.path;
    const std::string& second = isImage ? message.media.path : message.media.pathEx;
    bool isShown = false;
    for (const std::string& storedPath : {first, second}) {
        if (storedPath.empty()) {
            continue;
        }
        const std::string found = *place.attachment ? (*place.attachment)(storedPath) : std::string();
        if (found.empty()) {
            TemplateDictionary& missing = *values.AddSectionDictionary("MISSING");
            missing.SetValue("KIND", kindOfAttachment(message));
            missing.SetValue("NAME", lineText(storedPath));
            continue;
        }
        const FoundFile file{found, linkToFile(found, place.root), lineText(fileName(storedPath))};
        if (isImage && !isShown) {
            putImage(values, file);
        } else if (isAudio && !isShown) {
            putAudio(values, file, message);
        } else {
            putFile(values, file);
        }
        isShown = true;
    }
    const std::string url = lineText(message.media.url);
    if (!isShown && !url.empty()) {
        putParts(*values.AddSectionDictionary("URL"), url);
    }
}

/// Of the account's own messages, how far they got; of others, whether they are unread.
void putStatus(TemplateDictionary& values, const PelkoMessage& message, bool isOwn) {
    const bool isKnown = message.status >= pelkoapi::PelkoMessageStatusCreated &&
                         message.status <= pelkoapi::PelkoMessageStatusSendingFailed;
    if (!isKnown) {
        HtmlTemplates::showIfAny(values, "STATE", "WORD", "status " + statusText(message));
    } else if (isOwn && message.status != pelkoapi::PelkoMessageStatusRead) {
        const bool failed = message.status == pelkoapi::PelkoMessageStatusSendingFailed;
        HtmlTemplates::showIfAny(values, failed ? "FAILED" : "STATE", "WORD", statusText(message));
    } else if (message.status == pelkoapi::PelkoMessageStatusUnread) {
        values.ShowSection("UNREAD");
    }
}

/// A number that always is the same for a name: one of the colours of names.
unsigned int colourOf(const ShownName& name) {
    unsigned int sum = 0;
    for (const char c : name.account.empty() ? name.name : name.account) {
        sum = sum * 31 + static_cast<unsigned char>(c);
    }
    constexpr unsigned int colours = 8;  // in style.css
    return sum % colours;
}

bool hasAttachment(const PelkoMessage& message) {
    return message.hasMedia() || !message.media.path.empty() || !message.media.pathEx.empty() ||
           !message.media.url.empty();
}

std::string actionText(const PelkoMessage& message, const ShownName& sender) {
    const auto action = message.hasMedia() ? std::nullopt : actionIn(message.text);
    return action ? "* " + sender.name + blockText(*action) : std::string();
}

}  // namespace

void putMessage(const PelkoMessage& message, const MessagePlaceOnPage& place, HtmlNames& names,
                TemplateDictionary& values) {
    const bool isOwn = names.isMe(message.sender);
    const ShownName& sender = names.of(message.sender);
    values.SetValue("ROW", std::to_string(message.dbID));
    values.SetValue("DATE_AND_TIME", dayOf(message.date) + 'T' + clockOf(message.date));
    values.SetValue("TIME", clockOf(message.date));
    if (isOwn) {
        values.ShowSection("OWN");
    }
    // People who cannot see the sides hear from whom each message is.
    TemplateDictionary& senderLine = *values.AddSectionDictionary("SENDER");
    senderLine.SetValue("NAME", isOwn ? "You" : sender.name);
    senderLine.SetValue("COLOUR", std::to_string(colourOf(sender)));
    if (isOwn || !place.hasMembers || place.sameSender) {
        senderLine.ShowSection("UNSEEN");
    } else {
        HtmlTemplates::showIfAny(senderLine, "ACCOUNT", "ACCOUNT_NAME", sender.account);
    }
    if (hasAttachment(message)) {
        putAttachment(values, message, place);
    }
    const std::string action = actionText(message, sender);
    if (action.empty()) {
        putText(values, TextStyle::plain, blockText(message.text));
    } else {
        putText(values, TextStyle::action, action);
    }
    putText(values, TextStyle::extra, blockText(message.extraText));
    HtmlTemplates::showIfAny(values, "KIND_NOTE", "KIND", kindNote(message));
    putStatus(values, message, isOwn);
}

std::string messageWords(const PelkoMessage& message, HtmlNames& names) {
    std::string words = actionText(message, names.of(message.sender));
    if (words.empty()) {
        words = blockText(message.text);
    }
    const auto append = [&](const std::string& more) {
        words += (words.empty() || more.empty() ? "" : "\n") + more;
    };
    if (hasAttachment(message)) {
        const pelkoapi::PelkoMedia& media = message.media;
        const std::string& stored = !media.path.empty() ? media.path : media.pathEx;
        append('[' + std::string(kindOfAttachment(message)) + "] " +
               lineText(stored.empty() ? media.url : fileName(stored)));
    }
    append(blockText(message.extraText));
    append(kindNote(message));
    return words;
}

}  // namespace pelkotool
