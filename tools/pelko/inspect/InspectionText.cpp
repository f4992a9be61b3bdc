#include "tools/pelko/inspect/InspectionText.h"

#include <algorithm>
#include <iostream>

#include "classes/platform/Terminal.h"
#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/Table.h"
#include "tools/pelko/Times.h"

namespace pelkotool {

namespace fs = std::filesystem;

using pelkoapi::stdoutWidth;
using pelkoapi::utf8Of;

namespace {

constexpr std::size_t mostConversations = 50;
constexpr std::size_t mostOfOthers = 20;

void printHeading(const std::string& heading) {
    printLine("");
    printLine(heading);
}

/// Prints what a part holds, or why it could not be read.
template <typename Found, typename Print>
void printPart(const std::string& heading, const Part<Found>& part, Print print) {
    printHeading(heading);
    if (part.isRead()) {
        print(part.found);
    } else {
        printLine("  could not be read: " + part.failure);
    }
}

/// The first of a list, and how many are left out.
template <typename Items, typename ToLine>
void printFirst(const Items& items, ToLine toLine) {
    const std::size_t shown = std::min(items.size(), mostOfOthers);
    for (std::size_t i = 0; i < shown; ++i) {
        printLine("  " + toLine(items[i]));
    }
    if (shown < items.size()) {
        printLine("  ... and " + std::to_string(items.size() - shown) + " more; --json has all");
    }
}

std::string bytesText(std::uintmax_t size) {
    return counted(static_cast<long long>(size), "byte");
}

void printFileFacts(const Inspection& inspection) {
    const auto printSize = [](const char* name, const std::optional<std::uintmax_t>& size) {
        printField(name, size ? bytesText(*size) : std::string());
    };
    printField("file", utf8Of(inspection.account.database));
    printField("account", inspection.me.found.empty()       ? "(unknown)"
                          : inspection.account.user.empty() ? inspection.me.found + " (told by the messages)"
                                                            : inspection.me.found);
    printSize("size", inspection.sizes.database);
    printSize("-wal", inspection.sizes.log);
    printSize("-shm", inspection.sizes.index);
    printSize("-journal", inspection.sizes.journal);
    if (!inspection.settings.isRead()) {
        printLine("settings could not be read: " + inspection.settings.failure);
        return;
    }
    const FileSettings& settings = inspection.settings.found;
    printField("pages", std::to_string(settings.pages) + " of " +
                            bytesText(static_cast<std::uintmax_t>(settings.pageSize)));
    printField("free pages",
               std::to_string(settings.freePages) +
                   (settings.freePages == 0 ? ""
                                            : ", " + counted(settings.freePages * settings.pageSize, "byte") +
                                                  " that 'pelko compact' returns"));
    printField("journal mode", settings.journalMode);
    printField("encoding", settings.encoding);
    printField("user version", std::to_string(settings.userVersion));
}

void printSchema(const std::vector<SchemaDifference>& differences) {
    if (differences.empty()) {
        printLine("  as the store makes it");
        return;
    }
    Table table({{"  DIFFERENCE"}, {"NAME"}, {"EXPECTED"}, {"FOUND"}});
    for (const SchemaDifference& difference : differences) {
        table.add({"  " + wordsFor(difference.kind), difference.name, difference.expected, difference.found});
    }
    table.print(std::cout);
    const bool lacksIndex =
        std::any_of(differences.begin(), differences.end(), [](const SchemaDifference& difference) {
            return difference.kind == SchemaDifference::Kind::missingIndex;
        });
    if (lacksIndex) {
        printLine("  Missing indexes are no damage: the next opening by a client makes them.");
    }
}

void printTableRows(const std::vector<TableRows>& tables) {
    printHeading("Rows");
    Table table({{"  TABLE"}, {"ROWS", Table::Align::right}});
    for (const TableRows& rows : tables) {
        table.add({std::string("  ") + rows.table, rows.isMissing        ? "missing"
                                                   : !rows.rows.isRead() ? "?"
                                                                         : std::to_string(rows.rows.found)});
    }
    table.print(std::cout);
    for (const TableRows& rows : tables) {
        if (!rows.rows.isRead()) {
            printLine(std::string("  ") + rows.table + " could not be read: " + rows.rows.failure);
        }
    }
}

void printConversations(const std::vector<Conversation>& conversations) {
    if (conversations.empty()) {
        printLine("  none");
        return;
    }
    Table table({{"  TARGET"},
                 {"NAME"},
                 {"MESSAGES", Table::Align::right},
                 {"UNREAD", Table::Align::right},
                 {"FIRST"},
                 {"LAST"},
                 {"PIN"},
                 {"SESSION"}});
    const auto time = [](const std::optional<unsigned int>& date) {
        return date ? localTime(*date) : std::string();
    };
    const std::size_t shown = std::min(conversations.size(), mostConversations);
    for (std::size_t i = 0; i < shown; ++i) {
        const Conversation& conversation = conversations[i];
        table.add({"  " + peerText(conversation.peer), conversation.name,
                   std::to_string(conversation.messages), std::to_string(conversation.unread),
                   time(conversation.first), time(conversation.last), conversation.pinned ? "pinned" : "",
                   conversation.hasSession ? "yes" : "no"});
    }
    table.print(std::cout, stdoutWidth());
    if (shown < conversations.size()) {
        printLine("  ... and " + std::to_string(conversations.size() - shown) + " more; --json has all");
    }
}

/// A line of a number and what it counts.
void printCount(long long number, const std::string& what) {
    const std::string digits = std::to_string(number);
    printLine("  " + std::string(8 - std::min<std::size_t>(8, digits.size()), ' ') + digits + "  " + what);
}

void printUnfinished(const Unfinished& unfinished) {
    printCount(unfinished.sending, "sending: becomes failed");
    printCount(unfinished.arrived, "in transfer or failed, with a file: becomes downloaded");
    printCount(unfinished.notArrived, "in transfer, without a file: becomes failed");
    printCount(unfinished.failedBefore, "failed, without a file: stays so");
}

void printAttachments(const AttachmentFindings& attachments) {
    printCount(attachments.named, "named by messages, users, rooms and groups");
    printCount(attachments.notDownloaded, "not downloaded, as their messages say");
    printCount(static_cast<long long>(attachments.missing.size()), "missing");
    printFirst(attachments.missing,
               [](const MissingFile& file) { return file.of + ", " + file.column + ": " + file.path; });
}

void printUnnamed(const Inspection& inspection) {
    if (!inspection.folder) {
        printHeading("Files that no row names");
        printLine("  not looked for: --attachments names the folder to look through");
        return;
    }
    printPart("Files that no row names, in " + inspection.folder->string(), inspection.unnamed,
              [](const NamedFiles::Folder& folder) {
                  std::uintmax_t size = 0;
                  for (const NamedFiles::File& file : folder.unnamed) {
                      size += file.size;
                  }
                  printCount(static_cast<long long>(folder.unnamed.size()), "files, " + bytesText(size));
                  printFirst(folder.unnamed, [](const NamedFiles::File& file) {
                      return utf8Of(file.path) + ", " + bytesText(file.size);
                  });
                  printFirst(folder.unreadable,
                             [](const fs::path& path) { return utf8Of(path) + " could not be looked into"; });
              });
}

void printUnknownKinds(const std::vector<UnknownKind>& kinds) {
    if (kinds.empty()) {
        printLine("  none");
    }
    for (const UnknownKind& kind : kinds) {
        printCount(kind.rows, "by " + kind.table + '.' + kind.column);
    }
}

/// Prints a part of a heading, or why it could not be read.
template <typename Found, typename Print>
void printPiece(const std::string& name, const Part<Found>& part, Print print) {
    if (part.isRead()) {
        print(part.found);
    } else {
        printLine("  " + name + " could not be read: " + part.failure);
    }
}

void printBadges(const Inspection& inspection) {
    printHeading("What badges and lists show");
    printPiece("unread messages", inspection.unread,
               [](long long unread) { printCount(unread, "unread in all"); });
    printPiece("unread messages by conversation", inspection.conversations, [&](const auto&) {
        printCount(inspection.unreadWithoutSession(), "unread in conversations without a session");
        printCount(inspection.messagesBetweenOthers(), "messages between two others");
    });
    printPiece("last messages of sessions", inspection.lostSessions, [](const auto& sessions) {
        printCount(static_cast<long long>(sessions.size()),
                   "sessions whose last message is missing or of another conversation");
        printFirst(sessions, [](const LostSession& session) {
            return peerText(session.peer) + ": row " + std::to_string(session.lastMsgId) +
                   (session.shown ? " is of " + peerText(*session.shown) : " is not there");
        });
    });
    printPiece("service ids", inspection.duplicates, [](const auto& duplicates) {
        printCount(static_cast<long long>(duplicates.size()), "service ids stored more than once");
        printFirst(duplicates, [](const Duplicate& duplicate) {
            return "id " + std::to_string(duplicate.msgId) + ": " + counted(duplicate.rows, "row");
        });
    });
    printPiece("dates", inspection.future, [](const FutureDates& future) {
        printCount(future.messages, "messages dated in the future" +
                                        (future.latest ? ", the latest " + localTime(*future.latest) : ""));
    });
}

void printVerdict(const std::vector<Finding>& findings) {
    printLine("");
    if (findings.empty()) {
        printLine("Nothing wrong was found.");
        return;
    }
    std::string verdict;
    for (const Finding& finding : findings) {
        verdict += (verdict.empty() ? "" : "; ") + finding.what + " (" + finding.remedy + ')';
    }
    printLine(counted(static_cast<long long>(findings.size()), "thing") + " to look at: " + verdict + '.');
}

}  // namespace

void printInspection(const Inspection& inspection, const std::vector<Finding>& findings) {
    printFileFacts(inspection);
    printPart("Schema", inspection.schema, printSchema);
    printPart("Quick check", inspection.quickCheck, [](const std::vector<std::string>& problems) {
        printFirst(problems.empty() ? std::vector<std::string>{"no damage"} : problems,
                   [](const std::string& line) { return line; });
    });
    printTableRows(inspection.tables);
    printPart("Conversations", inspection.conversations, printConversations);
    printPart("States that the next opening by a client repairs", inspection.unfinished, printUnfinished);
    printPart("Attachments and icons", inspection.attachments, printAttachments);
    printUnnamed(inspection);
    printPart("Targets of unknown kinds", inspection.unknownKinds, printUnknownKinds);
    printBadges(inspection);
    printVerdict(findings);
}

}  // namespace pelkotool
