#include "tools/pelko/inspect/InspectionJson.h"

#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Times.h"

namespace pelkotool {

using pelkoapi::utf8Of;

namespace {

template <typename Value>
Json unlessMissing(const std::optional<Value>& value) {
    return value ? Json(*value) : Json(nullptr);
}

Json timeUnlessMissing(const std::optional<unsigned int>& time) {
    return time ? Json(isoTime(*time)) : Json(nullptr);
}

Json unlessEmpty(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

/// The JSON of what was found, or null for a part that could not be read.
template <typename Found, typename ToJson>
Json partJson(const Part<Found>& part, ToJson toJson) {
    return part.isRead() ? toJson(part.found) : Json(nullptr);
}

/// A list, each item by a function.
template <typename Items, typename ToJson>
Json listJson(const Items& items, ToJson toJson) {
    Json list = Json::array();
    for (const auto& item : items) {
        list.push_back(toJson(item));
    }
    return list;
}

Json fileSizesJson(const FileSizes& sizes) {
    return {{"file", unlessMissing(sizes.database)},
            {"wal", unlessMissing(sizes.log)},
            {"shm", unlessMissing(sizes.index)},
            {"journal", unlessMissing(sizes.journal)}};
}

Json settingsJson(const FileSettings& settings) {
    return {{"page_size", settings.pageSize},       {"pages", settings.pages},
            {"free_pages", settings.freePages},     {"free_bytes", settings.freePages * settings.pageSize},
            {"journal_mode", settings.journalMode}, {"encoding", settings.encoding},
            {"user_version", settings.userVersion}};
}

Json differenceJson(const SchemaDifference& difference) {
    return {{"difference", wordsFor(difference.kind)},
            {"name", difference.name},
            {"expected", unlessEmpty(difference.expected)},
            {"found", unlessEmpty(difference.found)}};
}

Json rowsJson(const std::vector<TableRows>& tables) {
    Json rows = Json::object();
    for (const TableRows& table : tables) {
        rows[table.table] = table.isMissing || !table.rows.isRead() ? Json(nullptr) : Json(table.rows.found);
    }
    return rows;
}

Json conversationJson(const Conversation& conversation) {
    return {{"target", peerText(conversation.peer)},
            {"name", unlessEmpty(conversation.name)},
            {"messages", conversation.messages},
            {"unread", conversation.unread},
            {"first", timeUnlessMissing(conversation.first)},
            {"last", timeUnlessMissing(conversation.last)},
            {"pinned", conversation.pinned},
            {"priority", conversation.priority},
            {"session", conversation.hasSession}};
}

Json unfinishedJson(const Unfinished& unfinished) {
    return {{"sending", unfinished.sending},
            {"transfers_with_file", unfinished.arrived},
            {"transfers_without_file", unfinished.notArrived},
            {"failed_before", unfinished.failedBefore}};
}

Json attachmentsJson(const AttachmentFindings& attachments) {
    return {{"named", attachments.named},
            {"not_downloaded", attachments.notDownloaded},
            {"missing", listJson(attachments.missing, [](const MissingFile& file) {
                 return Json{{"of", file.of}, {"column", file.column}, {"path", file.path}};
             })}};
}

Json unnamedJson(const Inspection& inspection) {
    if (!inspection.folder || !inspection.unnamed.isRead()) {
        return nullptr;
    }
    const NamedFiles::Folder& folder = inspection.unnamed.found;
    return {
        {"folder", inspection.folder->string()},
        {"files", listJson(folder.unnamed,
                           [](const NamedFiles::File& file) {
                               return Json{{"path", utf8Of(file.path)}, {"size", file.size}};
                           })},
        {"unreadable_folders", listJson(folder.unreadable, [](const auto& path) { return utf8Of(path); })}};
}

Json lostSessionJson(const LostSession& session) {
    return {{"target", peerText(session.peer)},
            {"last_msg_id", session.lastMsgId},
            {"message_of", session.shown ? Json(peerText(*session.shown)) : Json(nullptr)}};
}

Json duplicateJson(const Duplicate& duplicate) {
    return {{"msg_id", duplicate.msgId}, {"rows", duplicate.rows}};
}

Json badgeJson(const Inspection& inspection) {
    const auto number = [](long long value) { return Json(value); };
    return {
        {"unread", partJson(inspection.unread, number)},
        {"unread_without_session",
         partJson(inspection.conversations,
                  [&](const auto&) { return Json(inspection.unreadWithoutSession()); })},
        {"between_others", partJson(inspection.conversations,
                                    [&](const auto&) { return Json(inspection.messagesBetweenOthers()); })},
        {"sessions_without_last_message",
         partJson(inspection.lostSessions, [](const auto& all) { return listJson(all, lostSessionJson); })},
        {"stored_twice",
         partJson(inspection.duplicates, [](const auto& all) { return listJson(all, duplicateJson); })},
        {"dated_in_the_future", partJson(inspection.future, [](const FutureDates& future) {
             return Json{{"messages", future.messages}, {"latest", timeUnlessMissing(future.latest)}};
         })}};
}

}  // namespace

Json inspectionJson(const Inspection& inspection, const std::vector<Finding>& findings) {
    const auto same = [](const auto& item) { return Json(item); };
    return {
        {"file", utf8Of(inspection.account.database)},
        {"account", partJson(inspection.me, unlessEmpty)},
        {"sizes", fileSizesJson(inspection.sizes)},
        {"settings", partJson(inspection.settings, settingsJson)},
        {"schema",
         partJson(inspection.schema, [](const auto& all) { return listJson(all, differenceJson); })},
        {"quick_check",
         partJson(inspection.quickCheck, [&](const auto& all) { return listJson(all, same); })},
        {"rows", rowsJson(inspection.tables)},
        {"conversations",
         partJson(inspection.conversations, [](const auto& all) { return listJson(all, conversationJson); })},
        {"unfinished", partJson(inspection.unfinished, unfinishedJson)},
        {"attachments", partJson(inspection.attachments, attachmentsJson)},
        {"files_without_row", unnamedJson(inspection)},
        {"unknown_kinds",
         partJson(inspection.unknownKinds,
                  [](const auto& all) {
                      return listJson(all, [](const UnknownKind& kind) {
                          return Json{{"table", kind.table}, {"column", kind.column}, {"rows", kind.rows}};
                      });
                  })},
        {"badge", badgeJson(inspection)},
        {"not_read", listJson(inspection.failures(),
                              [](const auto& failure) {
                                  return Json{{"part", failure.first}, {"reason", failure.second}};
                              })},
        {"findings", listJson(findings, [](const Finding& finding) {
             return Json{{"what", finding.what}, {"remedy", finding.remedy}};
         })}};
}

}  // namespace pelkotool
