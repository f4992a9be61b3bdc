#ifndef PELKO_TOOL_INSPECT_ATTACHMENT_FINDINGS_H
#define PELKO_TOOL_INSPECT_ATTACHMENT_FINDINGS_H

#include <string>
#include <vector>

#include "tools/pelko/file/Database.h"
#include "tools/pelko/inspect/NamedFiles.h"

namespace pelkotool {

/// What was under way when the client ended. Each opening of the store sees to it.
struct Unfinished {
    long long sending = 0;       ///< become failed
    long long arrived = 0;       ///< images and audio in transfer or failed whose file is there: downloaded
    long long notArrived = 0;    ///< in transfer without a file: failed
    long long failedBefore = 0;  ///< failed without a file: stay so
};

/// A stored path of a file that is not there.
struct MissingFile {
    std::string of;  ///< "message 17", "user:ann", "room:5", "group:77"
    std::string column;
    std::string path;
};

struct AttachmentFindings {
    long long named = 0;  ///< stored paths that are not empty
    std::vector<MissingFile> missing;
    long long notDownloaded = 0;  ///< paths of images and audio whose state says that the file is not there
};

Unfinished unfinishedIn(const Database& database, NamedFiles& files);

/// The files of messages and the icons of users, rooms and groups.
AttachmentFindings attachmentsIn(const Database& database, NamedFiles& files);

}  // namespace pelkotool

#endif  // PELKO_TOOL_INSPECT_ATTACHMENT_FINDINGS_H
