#include "bench/DataFiles.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "bench/Dataset.h"
#include "bench/HandTuned.h"
#include "bench/Sqlite.h"
#include "bench/Stopwatch.h"
#include "bench/StoreSession.h"

namespace pelkobench {

namespace fs = std::filesystem;
using namespace pelkoapi;

namespace {

constexpr int starts = 5;  // each makes at most one index for a busy conversation

const char* nameOf(Variant variant) {
    switch (variant) {
        case Variant::tables:
            return "tables";
        case Variant::store:
            return "store";
        case Variant::handTuned:
            return "hand_tuned";
    }
    return "";
}

std::string idOf(const PelkoChatTarget& target) {
    return target.type == PelkoChatTargetTypeUser ? target.name : std::to_string(target.id);
}

/// Settings for filling a file in one transaction, without waiting for the medium.
void fillFast(sqlite3* db) {
    execute(db, "PRAGMA journal_mode = MEMORY; PRAGMA synchronous = OFF; PRAGMA cache_size = -200000");
}

Connection openForFilling(const std::string& folder) {
    Connection db(folder + "/db.dat", Journal::standard);
    fillFast(db);
    execute(db, "BEGIN");
    return db;
}

void fillMessages(sqlite3* db, const Dataset& data) {
    KeptStatement insert(
        db,
        "INSERT INTO tbl_msg (msg_id, type, date, text, media_type, media_path, ex_media_path, media_url, "
        "media_status, duration, receiver_type, receiver_id, sender_type, sender_id, status, extra_path) "
        "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    for (int row = 1; row <= data.rows(); ++row) {
        const PelkoMessage m = data.messageOf(row);
        insert
            .with(m.id, m.type, static_cast<long long>(m.date), m.text, m.media.type, m.media.path,
                  m.media.pathEx, m.media.url, m.media.status, static_cast<long long>(m.media.duration),
                  m.receiver.type, idOf(m.receiver), m.sender.type, idOf(m.sender), m.status, m.extraText)
            .change();
    }
}

void fillLists(sqlite3* db, const Dataset& data) {
    KeptStatement session(db, "INSERT INTO tbl_session VALUES (?, ?, 0, 0, 0)");
    for (const PelkoChatTarget& target : Dataset::sessions()) {
        session.with(target.type, idOf(target)).change();
    }
    KeptStatement update(db,
                         "UPDATE tbl_session SET last_msg_id = ? WHERE target_type = ? AND target_id = ?");
    for (int row = 1; row <= data.rows(); ++row) {
        const PelkoChatTarget target = data.conversationOf(row);
        update.with(row, target.type, idOf(target)).change();
    }

    KeptStatement group(
        db,
        "INSERT INTO tbl_group VALUES (?1, 'Group ' || ?1, 'https://files.example.org/group/' || ?1, "
        "'icon/group/' || ?1 || '.png', '', 'What group ' || ?1 || ' is about', 200, 0, ?2, 3, 1)");
    KeptStatement member(db, "INSERT INTO tbl_group_list VALUES (?)");
    for (int i = 0; i < groupCount; ++i) {
        group.with(groupId(i), userName(i)).change();
        member.with(groupId(i)).change();
    }

    KeptStatement user(
        db,
        "INSERT INTO tbl_user VALUES (?1, 'Nickname of ' || ?1, 'https://files.example.org/user/' || ?1, "
        "'icon/user/' || ?1 || '.png', '', 'Something about ' || ?1, ?2, 2)");
    KeptStatement relation(db, "INSERT INTO tbl_relationship VALUES (?, ?)");
    for (int i = 0; i < friendCount; ++i) {
        user.with(userName(i), i % 3).change();
        relation.with(userName(i), 0).change();
    }
    for (int i = 0; i < blockedCount; ++i) {
        relation.with(userName(i * 100), 1).change();
    }
}

/// The store's tables as the store makes them, without its indexes.
void makeTables(const std::string& folder) {
    { const StoreSession store(folder); }
    const Connection db(folder + "/db.dat", Journal::standard);
    execute(db, "PRAGMA journal_mode = DELETE");
    for (const std::string& index :
         texts(db, "SELECT name FROM sqlite_master WHERE type = 'index' AND sql IS NOT NULL")) {
        execute(db, "DROP INDEX " + index);
    }
    execute(db, "VACUUM");
}

void makeTablesFile(const std::string& folder, const Dataset& data) {
    makeTables(folder);
    const Connection db = openForFilling(folder);
    fillMessages(db, data);
    fillLists(db, data);
    execute(db, "COMMIT");
}

void makeHandTunedFile(const std::string& folder, const std::string& tablesFile, const Dataset& data) {
    {
        const Connection db = openForFilling(folder);
        execute(db, handTunedSchema);
        execute(db, "COMMIT; ATTACH '" + tablesFile + "' AS t; BEGIN");
        execute(db,
                "INSERT INTO conversation (kind, peer, listed, last_message) "
                "SELECT target_type, target_id, 1, last_msg_id FROM t.tbl_session");
        KeptStatement conversation(db, "INSERT OR IGNORE INTO conversation (kind, peer) VALUES (?, ?)");
        for (int row = 1; row <= data.rows(); ++row) {
            const PelkoChatTarget target = data.conversationOf(row);
            conversation.with(target.type, idOf(target)).change();
        }
        execute(db,
                "INSERT INTO user SELECT * FROM t.tbl_user;"
                "INSERT INTO friend (name) SELECT username FROM t.tbl_relationship WHERE block_state = 0;"
                "INSERT INTO blocked SELECT username FROM t.tbl_relationship WHERE block_state = 1;"
                "INSERT INTO chat_group SELECT * FROM t.tbl_group;"
                "INSERT INTO membership (group_id) SELECT group_id FROM t.tbl_group_list;"
                "COMMIT");
    }
    HandTuned handTuned(folder + "/db.dat");
    fillFast(handTuned.handle());
    handTuned.begin();
    for (int row = 1; row <= data.rows(); ++row) {
        handTuned.insert(data.messageOf(row), data.conversationOf(row));
    }
    handTuned.commit();
}

long long bytesOf(const std::string& file) {
    return static_cast<long long>(fs::file_size(fs::u8path(file)));
}

/// The size of a file that has had its indexes from its first message on, as a client fills it.
long long bytesOfGrownFile(const std::string& folder, const Dataset& data) {
    fs::create_directories(folder);
    for (int start = 0; start < starts; ++start) {
        { const StoreSession store(folder); }
        if (start == 0) {
            const Connection db = openForFilling(folder);
            fillMessages(db, data);
            fillLists(db, data);
            execute(db, "COMMIT");
        }
    }
    const long long bytes = bytesOf(folder + "/db.dat");
    fs::remove_all(folder);
    return bytes;
}

/// "name": bytes of each index of the store's file.
std::string indexSizes(const std::string& file) {
    const Connection db(file, Journal::writeAhead);
    KeptStatement sizes(db,
                        "SELECT m.name, s.pgsize FROM sqlite_master m JOIN dbstat s ON s.name = m.name "
                        "WHERE m.type = 'index' AND m.sql IS NOT NULL AND s.aggregate = 1 ORDER BY m.name");
    std::ostringstream json;
    for (const char* separator = ""; sizes.step(); separator = ", ") {
        json << separator << '"' << reinterpret_cast<const char*>(sqlite3_column_text(sizes.handle(), 0))
             << "\": " << sqlite3_column_int64(sizes.handle(), 1);
    }
    return json.str();
}

}  // namespace

std::string folderOf(const std::string& root, int rows, Variant variant) {
    return root + '/' + std::to_string(rows) + '/' + nameOf(variant);
}

std::string fileOf(const std::string& root, int rows, Variant variant) {
    return folderOf(root, rows, variant) + "/db.dat";
}

void makeDataFiles(const std::string& root, int rows) {
    const std::string home = root + '/' + std::to_string(rows);
    if (fs::exists(home + "/sizes.json")) {
        return;  // written last
    }
    fs::remove_all(home);
    for (const Variant variant : {Variant::tables, Variant::store, Variant::handTuned}) {
        fs::create_directories(folderOf(root, rows, variant));
    }
    const Dataset data(rows);
    const std::string tables = fileOf(root, rows, Variant::tables);
    const std::string store = fileOf(root, rows, Variant::store);

    makeTablesFile(folderOf(root, rows, Variant::tables), data);
    fs::copy_file(tables, store);
    const auto startStore = [&] { const StoreSession session(folderOf(root, rows, Variant::store)); };
    const double firstStartSeconds = secondsFor(startStore);
    for (int start = 1; start < starts; ++start) {
        startStore();
    }
    makeHandTunedFile(folderOf(root, rows, Variant::handTuned), tables, data);

    std::ofstream(home + "/sizes.json")
        << "{\"rows\": " << rows << ", \"tables\": " << bytesOf(tables) << ", \"store\": " << bytesOf(store)
        << ", \"grown\": " << bytesOfGrownFile(home + "/grown", data)
        << ", \"hand_tuned\": " << bytesOf(fileOf(root, rows, Variant::handTuned))
        << ", \"first_start_seconds\": " << firstStartSeconds << ", \"indexes\": {" << indexSizes(store)
        << "}}\n";
}

void copyDataFiles(const std::string& from, const std::string& to, int rows) {
    for (const Variant variant : {Variant::tables, Variant::store, Variant::handTuned}) {
        fs::create_directories(folderOf(to, rows, variant));
        for (const char* const journal : {"-journal", "-wal", "-shm"}) {
            fs::remove(fileOf(to, rows, variant) + journal);
        }
        fs::copy_file(fileOf(from, rows, variant), fileOf(to, rows, variant),
                      fs::copy_options::overwrite_existing);
    }
}

}  // namespace pelkobench
