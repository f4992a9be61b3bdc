#include "tools/pelko/salvage/NewStoreFile.h"

#include <system_error>

#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Store.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/file/StopOnInterrupt.h"

namespace pelkotool {

namespace fs = std::filesystem;

using pelkoapi::utf8Of;

namespace {

void makeByStore(const fs::path& folder) {
    std::error_code error;
    if (!fs::create_directory(folder, error)) {
        throw ToolError("cannot make the folder " + utf8Of(folder) + " to work in: " + error.message());
    }
    // Without a user's name: the store makes some indexes for the conversations of its user.
    const Store store({"", folder, folder, folder / "db.dat"}, Store::IfMissing::create);
}

/// The row id takes the place of the column that is the same.
Statement prepareRowInsertion(const Database& database, const TableLayout& table) {
    std::string columns = "rowid";
    std::string places = "?";
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        if (static_cast<int>(i) != rowIdColumn(table)) {
            columns += std::string(", ") + table.columns[i].name;
            places += ", ?";
        }
    }
    return database.prepare(std::string("INSERT OR IGNORE INTO ") + table.name + " (" + columns +
                            ") VALUES (" + places + ")");
}

int bindStoredValue(sqlite3_stmt* statement, int place, const Value& value) {
    switch (value.kind) {
        case StorageClass::integer:
            return sqlite3_bind_int64(statement, place, value.integer);
        case StorageClass::real:
            return sqlite3_bind_double(statement, place, value.real);
        case StorageClass::text:
            return sqlite3_bind_text64(statement, place, value.bytes.c_str(), value.bytes.size(),
                                       SQLITE_STATIC, SQLITE_UTF8);
        case StorageClass::blob:
            return sqlite3_bind_blob64(statement, place, value.bytes.c_str(), value.bytes.size(),
                                       SQLITE_STATIC);
        case StorageClass::null:
            break;
    }
    return sqlite3_bind_null(statement, place);
}

}  // namespace

NewStoreFile::NewStoreFile(const fs::path& folder) : mFolder(folder) {
    makeByStore(folder);
    mDatabase = Database::openToWrite(path());
    const Database& file = *mDatabase;
    // Nobody else has the file, and it is thrown away unless all goes well: nothing need survive a crash
    // before finish(). The store's own mode would write each row twice.
    file.execute("PRAGMA journal_mode = MEMORY; PRAGMA synchronous = OFF; BEGIN");
    mSchema = schemaOf(file);
    dropIndexes();
    for (const TableLayout& table : expectedTables()) {
        mInsertions.push_back(prepareRowInsertion(file, table));
    }
}

void NewStoreFile::dropIndexes() {
    // Made when all rows are there, they take less time and are packed closer.
    std::vector<std::string> names;
    Statement found = mDatabase->prepare(
        "SELECT name, sql FROM sqlite_master WHERE type = 'index' AND sql IS NOT NULL ORDER BY rowid");
    while (found.step()) {
        names.push_back(found.text(0));
        mIndexes.push_back(found.text(1));
    }
    found.reset();
    for (const std::string& name : names) {
        mDatabase->execute("DROP INDEX " + name);
    }
}

bool NewStoreFile::insert(std::size_t table, const Row& row) {
    const TableLayout& layout = expectedTables().at(table);
    Statement& insertion = mInsertions.at(table);
    insertion.bind(1, row.id);
    int place = 2;
    for (std::size_t i = 0; i < row.values.size(); ++i) {
        if (static_cast<int>(i) != rowIdColumn(layout)) {
            // A value that cannot be bound is one that the file cannot hold.
            if (bindStoredValue(insertion.handle(), place++, row.values[i]) != SQLITE_OK) {
                return false;
            }
        }
    }
    insertion.run();
    return sqlite3_changes(mDatabase->handle()) > 0;
}

void NewStoreFile::keepSequence(const std::string& table, std::int64_t last) {
    Statement known = mDatabase->prepare("SELECT seq FROM sqlite_sequence WHERE name = ?");
    known.bind(1, table);
    if (!known.step()) {
        mDatabase->prepare("INSERT INTO sqlite_sequence (name, seq) VALUES (?, ?)")
            .bind(1, table)
            .bind(2, last)
            .run();
    } else if (known.integer(0) < last) {
        known.reset();
        mDatabase->prepare("UPDATE sqlite_sequence SET seq = ?2 WHERE name = ?1")
            .bind(1, table)
            .bind(2, last)
            .run();
    }
}

void NewStoreFile::finish() {
    const StopOnInterrupt stop(mDatabase->handle());
    mInsertions.clear();
    for (const std::string& statement : mIndexes) {
        mDatabase->execute(statement);
    }
    mDatabase->execute("COMMIT");
    if (Statement check = mDatabase->prepare("PRAGMA quick_check(1)");
        !check.step() || check.text(0) != "ok") {
        throw ToolError("what was written to " + utf8Of(path()) +
                        " does not read back as it should; check the disk, and try another one");
    }
    // From here on it is to last: changing the mode back writes what is still on its way to the disk.
    mDatabase->execute("PRAGMA synchronous = EXTRA; PRAGMA journal_mode = WAL");
    mDatabase.reset();
}

}  // namespace pelkotool
