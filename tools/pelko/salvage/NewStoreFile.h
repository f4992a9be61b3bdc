#ifndef PELKO_TOOL_SALVAGE_NEW_STORE_FILE_H
#define PELKO_TOOL_SALVAGE_NEW_STORE_FILE_H

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/pelko/file/Database.h"
#include "tools/pelko/salvage/SchemaRows.h"
#include "tools/pelko/salvage/TableMap.h"

namespace pelkotool {

/// A db.dat that the store itself has made, to be filled with rows from elsewhere.
class NewStoreFile {
public:
    /// @param folder  for the file, made here
    explicit NewStoreFile(const std::filesystem::path& folder);

    std::filesystem::path path() const { return mFolder / "db.dat"; }
    /// The tables and indexes as the store has made them.
    const std::vector<SchemaRow>& schema() const { return mSchema; }

    /// Stores the row with its id and its values as they are. @param table  its place in expectedTables()
    /// @return whether it was stored; not when there is one of that id or key
    bool insert(std::size_t table, const Row& row);

    /// The row ids of the table end there; no lower one is given out again.
    void keepSequence(const std::string& table, std::int64_t last);

    /// Makes the indexes, checks the file and closes it. @throws ToolError when it does not hold
    void finish();

private:
    void dropIndexes();

    std::filesystem::path mFolder;
    std::optional<Database> mDatabase;
    std::vector<SchemaRow> mSchema;
    std::vector<Statement> mInsertions;
    std::vector<std::string> mIndexes;  // the statements that make them
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_SALVAGE_NEW_STORE_FILE_H
