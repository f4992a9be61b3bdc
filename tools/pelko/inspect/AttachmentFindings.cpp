#include "tools/pelko/inspect/AttachmentFindings.h"

#include "PelkoMessage.h"

namespace pelkotool {

namespace {

/// Whether the file is the one by which the store tells how a transfer ended.
bool tellsTransfer(long long type, const std::string& column) {
    return (type == pelkoapi::PelkoMessageTypeAudio && column == "media_path") ||
           (type == pelkoapi::PelkoMessageTypeImage && column == "ex_media_path");
}

void addAttachments(const Database& database, NamedFiles& files, AttachmentFindings& attachments) {
    const char* const columns[] = {"media_path", "ex_media_path"};
    Statement rows = database.prepare(
        "SELECT db_id, type, media_status, media_path, ex_media_path FROM tbl_msg WHERE media_path <> '' OR "
        "ex_media_path <> ''");
    while (rows.step()) {
        const bool cannotBeThere = rows.integer(2) == pelkoapi::PelkoMediaStatusDownloading ||
                                   rows.integer(2) == pelkoapi::PelkoMediaStatusDownloadFailed;
        for (int i = 0; i < 2; ++i) {
            const std::string path = rows.text(3 + i);
            if (path.empty()) {
                continue;
            }
            ++attachments.named;
            if (files.isThere(path)) {
                continue;
            }
            if (cannotBeThere && tellsTransfer(rows.integer(1), columns[i])) {
                ++attachments.notDownloaded;
            } else {
                attachments.missing.push_back(
                    {"message " + std::to_string(rows.integer(0)), columns[i], path});
            }
        }
    }
}

void addIcons(const Database& database, NamedFiles& files, AttachmentFindings& attachments) {
    struct Icons {
        const char* table;
        const char* key;
        const char* prefix;
        const char* columns[2];
    };
    const Icons all[] = {{"tbl_user", "username", "user:", {"icon_path", "ex_icon_path"}},
                         {"tbl_room", "room_id", "room:", {"icon_path", "icon_path_ex"}},
                         {"tbl_group", "group_id", "group:", {"icon_path", "icon_path_ex"}}};
    for (const Icons& icons : all) {
        Statement rows = database.prepare(std::string("SELECT ") + icons.key + ", " + icons.columns[0] +
                                          ", " + icons.columns[1] + " FROM " + icons.table + " NOT INDEXED");
        while (rows.step()) {
            for (int i = 0; i < 2; ++i) {
                const std::string path = rows.text(1 + i);
                attachments.named += path.empty() ? 0 : 1;
                if (!path.empty() && !files.isThere(path)) {
                    attachments.missing.push_back({icons.prefix + rows.text(0), icons.columns[i], path});
                }
            }
        }
    }
}

}  // namespace

Unfinished unfinishedIn(const Database& database, NamedFiles& files) {
    Unfinished unfinished;
    unfinished.sending = database.number("SELECT count(*) FROM tbl_msg WHERE status = 3");
    Statement rows = database.prepare(
        "SELECT type, media_status, media_path, ex_media_path FROM tbl_msg WHERE media_status IN (1, 3) AND "
        "type IN (2, 1)");
    while (rows.step()) {
        const bool isAudio = rows.integer(0) == pelkoapi::PelkoMessageTypeAudio;
        const bool isThere = files.isThere(rows.text(isAudio ? 2 : 3));
        const bool inTransfer = rows.integer(1) == pelkoapi::PelkoMediaStatusDownloading;
        ++(isThere ? unfinished.arrived : inTransfer ? unfinished.notArrived : unfinished.failedBefore);
    }
    return unfinished;
}

AttachmentFindings attachmentsIn(const Database& database, NamedFiles& files) {
    AttachmentFindings attachments;
    addAttachments(database, files, attachments);
    addIcons(database, files, attachments);
    return attachments;
}

}  // namespace pelkotool
