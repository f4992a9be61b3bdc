#ifndef PELKO_TOOL_INSPECT_INSPECTION_H
#define PELKO_TOOL_INSPECT_INSPECTION_H

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/pelko/Account.h"
#include "tools/pelko/file/Conversations.h"
#include "tools/pelko/file/Database.h"
#include "tools/pelko/inspect/AttachmentFindings.h"
#include "tools/pelko/inspect/NamedFiles.h"
#include "tools/pelko/inspect/Oddities.h"
#include "tools/pelko/inspect/SchemaDifferences.h"

// Everything that 'pelko inspect' tells about a file, read in one go and without a change.

namespace pelkotool {

/// A part of what is looked at. Each is read by itself, so that damage in one does not hide the others.
template <typename Found>
struct Part {
    Found found{};
    std::string failure;  ///< why it could not be read; `found` is as it was at first then

    bool isRead() const { return failure.empty(); }
};

/// In bytes; nothing for a file that is not there.
struct FileSizes {
    std::optional<std::uintmax_t> database;
    std::optional<std::uintmax_t> log;      ///< -wal
    std::optional<std::uintmax_t> index;    ///< -shm
    std::optional<std::uintmax_t> journal;  ///< -journal
};

struct FileSettings {
    long long pageSize = 0;
    long long pages = 0;
    long long freePages = 0;
    std::string journalMode;
    std::string encoding;
    long long userVersion = 0;
};

struct TableRows {
    const char* table = "";
    bool isMissing = false;
    Part<long long> rows;
};

struct Inspection {
    Account account;
    Part<std::string> me;  ///< the account's name; empty when nothing tells it

    FileSizes sizes;
    Part<FileSettings> settings;
    Part<std::vector<SchemaDifference>> schema;
    Part<std::vector<std::string>> quickCheck;  ///< SQLite's lines about damage, at most 20
    std::vector<TableRows> tables;
    Part<std::vector<Conversation>> conversations;
    Part<Unfinished> unfinished;
    Part<AttachmentFindings> attachments;
    std::optional<std::filesystem::path> folder;  ///< the one that was looked through for files; none without
    Part<NamedFiles::Folder> unnamed;
    Part<std::vector<UnknownKind>> unknownKinds;
    Part<long long> unread;
    Part<std::vector<LostSession>> lostSessions;
    Part<std::vector<Duplicate>> duplicates;
    Part<FutureDates> future;

    /// Unread messages in conversations that no session shows.
    long long unreadWithoutSession() const;
    /// Messages that no conversation shows, since the account is no party of them.
    long long messagesBetweenOthers() const;
    /// The parts that could not be read, and why, as "the conversations" and "no such table: tbl_msg".
    std::vector<std::pair<std::string, std::string>> failures() const;
};

/// @param folder  where to look for files that no row names
/// @throws ToolError when the file cannot be read at all, or was changed meanwhile without its locks
Inspection inspectFile(const Account& account, const std::optional<std::filesystem::path>& folder);

}  // namespace pelkotool

#endif  // PELKO_TOOL_INSPECT_INSPECTION_H
