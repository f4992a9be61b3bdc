#include "tools/pelko/inspect/Inspection.h"

#include <algorithm>
#include <system_error>

#include "tools/pelko/file/AccountFile.h"
#include "tools/pelko/file/Tables.h"
#include "tools/pelko/inspect/SqliteCheck.h"

namespace pelkotool {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t mostCheckLines = 20;

/// Reads a part; what SQLite says against it becomes its failure.
template <typename Found, typename Read>
void readPart(const Database& database, Part<Found>& part, Read read) {
    try {
        part.found = read();
    } catch (const SqliteError&) {
        // The reason alone: which file it is, and the remedy, stand once for all parts.
        part.failure = sqlite3_errmsg(database.handle());
    }
}

/// The same for a part that needs the account's name.
template <typename Found, typename Read>
void readWithName(const Database& database, const Part<std::string>& me, Part<Found>& part, Read read) {
    part.failure = me.failure;
    if (me.isRead()) {
        readPart(database, part, [&] { return read(me.found); });
    }
}

std::optional<std::uintmax_t> sizeUnlessMissing(const fs::path& file) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(file, error);
    return error ? std::nullopt : std::optional(size);
}

FileSizes sizesOf(const fs::path& file) {
    return {sizeUnlessMissing(file), sizeUnlessMissing(besideDatabase(file, "-wal")),
            sizeUnlessMissing(besideDatabase(file, "-shm")),
            sizeUnlessMissing(besideDatabase(file, "-journal"))};
}

std::string firstText(const Database& database, const std::string& sql) {
    Statement statement = database.prepare(sql);
    return statement.step() ? statement.text(0) : std::string();
}

FileSettings settingsOf(const Database& database) {
    FileSettings settings;
    settings.pageSize = database.number("PRAGMA page_size");
    settings.pages = database.number("PRAGMA page_count");
    settings.freePages = database.number("PRAGMA freelist_count");
    settings.journalMode = isInLogMode(database.file()) ? "wal" : firstText(database, "PRAGMA journal_mode");
    settings.encoding = firstText(database, "PRAGMA encoding");
    settings.userVersion = database.number("PRAGMA user_version");
    return settings;
}

std::vector<std::string> quickCheck(const Database& database) {
    std::vector<std::string> problems;
    runSqliteCheck(database, "PRAGMA quick_check(" + std::to_string(mostCheckLines) + ")", mostCheckLines,
                   problems);
    return problems;
}

std::vector<TableRows> countRows(const Database& database) {
    std::vector<TableRows> tables;
    for (const TableLayout& table : expectedTables()) {
        TableRows& counted = tables.emplace_back();
        counted.table = table.name;
        Statement found =
            database.prepare("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = ?1 COLLATE NOCASE");
        counted.isMissing = !found.bind(1, std::string_view(table.name)).step();
        if (!counted.isMissing) {
            // The table itself: an index may be whole where it is not.
            readPart(database, counted.rows, [&] {
                return database.number(std::string("SELECT count(*) FROM ") + table.name + " NOT INDEXED");
            });
        }
    }
    return tables;
}

void readFile(const fs::path& file, NamedFiles& files, Inspection& inspection) {
    const Database database = Database::openToRead(file);
    // Everything from one state of the file, whatever a client writes meanwhile; closing it ends that.
    database.execute("BEGIN");
    // Without its list of tables nothing can be read of a file: that is one failure, not one of each part.
    database.number("SELECT count(*) FROM sqlite_master");
    readPart(database, inspection.me, [&] { return ownNameIn(database, inspection.account); });
    readPart(database, inspection.settings, [&] { return settingsOf(database); });
    readPart(database, inspection.schema, [&] { return schemaDifferences(database); });
    readPart(database, inspection.quickCheck, [&] { return quickCheck(database); });
    inspection.tables = countRows(database);
    readWithName(database, inspection.me, inspection.conversations,
                 [&](const std::string& me) { return conversationsIn(database, me); });
    readPart(database, inspection.unfinished, [&] { return unfinishedIn(database, files); });
    readPart(database, inspection.attachments, [&] { return attachmentsIn(database, files); });
    readPart(database, inspection.unknownKinds, [&] { return unknownKindsIn(database); });
    readPart(database, inspection.unread,
             [&] { return database.number("SELECT count(*) FROM tbl_msg WHERE status = 1"); });
    readWithName(database, inspection.me, inspection.lostSessions, [&](const std::string& me) {
        return lostSessionsIn(database, me, inspection.conversations.found);
    });
    readPart(database, inspection.duplicates, [&] { return duplicatesIn(database); });
    readPart(database, inspection.future, [&] { return futureDatesIn(database); });
    database.requireUnchanged();
}

}  // namespace

long long Inspection::unreadWithoutSession() const {
    long long sum = 0;
    for (const Conversation& conversation : conversations.found) {
        const bool isOther = conversation.hasSession || conversation.peer.type == betweenOthers;
        sum += isOther ? 0 : conversation.unread;
    }
    return sum;
}

long long Inspection::messagesBetweenOthers() const {
    const auto found = std::find_if(
        conversations.found.begin(), conversations.found.end(),
        [](const Conversation& conversation) { return conversation.peer.type == betweenOthers; });
    return found != conversations.found.end() ? found->messages : 0;
}

std::vector<std::pair<std::string, std::string>> Inspection::failures() const {
    std::vector<std::pair<std::string, std::string>> all;
    const auto add = [&](const std::string& name, const auto& part) {
        if (!part.isRead()) {
            all.emplace_back(name, part.failure);
        }
    };
    add("the account's name", me);
    add("the settings of the file", settings);
    add("the schema", schema);
    add("the quick check", quickCheck);
    for (const TableRows& table : tables) {
        add(std::string("the rows of ") + table.table, table.rows);
    }
    add("the conversations", conversations);
    add("the unfinished states", unfinished);
    add("the attachments", attachments);
    add("the files that no row names", unnamed);
    add("the kinds of targets", unknownKinds);
    add("the unread messages", unread);
    add("the last messages of the sessions", lostSessions);
    add("the service ids", duplicates);
    add("the dates", future);
    return all;
}

Inspection inspectFile(const Account& account, const std::optional<fs::path>& folder) {
    Inspection inspection;
    inspection.account = account;
    inspection.sizes = sizesOf(account.database);
    NamedFiles files(account);
    readFile(account.database, files, inspection);
    inspection.folder = folder;
    if (folder && inspection.attachments.isRead()) {
        inspection.unnamed.found = files.unnamedBelow(*folder);
    } else if (folder) {
        inspection.unnamed.failure = "the rows that name files could not all be read";
    }
    return inspection;
}

}  // namespace pelkotool
