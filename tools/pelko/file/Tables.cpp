#include "tools/pelko/file/Tables.h"

#include <sqlite3.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "classes/platform/Utf8Path.h"

namespace pelkotool {

using pelkoapi::utf8Of;

const std::vector<TableLayout>& expectedTables() {
    static const std::vector<TableLayout> tables = {
        {"tbl_msg",
         false,
         {{"msg_id", "bigint", 0},
          {"db_id", "integer", 1},
          {"type", "integer", 0},
          {"date", "integer", 0},
          {"text", "text", 0},
          {"media_type", "integer", 0},
          {"media_path", "text", 0},
          {"ex_media_path", "text", 0},
          {"media_url", "text", 0},
          {"media_status", "integer", 0},
          {"duration", "integer", 0},
          {"receiver_type", "integer", 0},
          {"receiver_id", "text", 0},
          {"sender_type", "integer", 0},
          {"sender_id", "text", 0},
          {"status", "integer", 0},
          {"extra_path", "text", 0}}},
        {"tbl_relationship", true, {{"username", "text", 0}, {"block_state", "integr", 0}}},
        {"tbl_user",
         false,
         {{"username", "text", 1},
          {"nickname", "text", 0},
          {"icon_url", "text", 0},
          {"icon_path", "text", 0},
          {"ex_icon_path", "text", 0},
          {"info", "text", 0},
          {"gender", "integer", 0},
          {"info_version", "integer", 0}}},
        {"tbl_room",
         false,
         {{"room_id", "integer", 1},
          {"name", "text", 0},
          {"icon_url", "text", 0},
          {"icon_path", "text", 0},
          {"icon_path_ex", "text", 0},
          {"is_top", "integer", 0},
          {"info", "text", 0},
          {"capacity", "integer", 0},
          {"online_number", "integer", 0},
          {"info_version", "integer", 0}}},
        {"tbl_group",
         false,
         {{"group_id", "bigint", 1},
          {"name", "text", 0},
          {"icon_url", "text", 0},
          {"icon_path", "text", 0},
          {"icon_path_ex", "text", 0},
          {"info", "text", 0},
          {"capacity", "integer", 0},
          {"type", "integer", 0},
          {"owner", "text", 0},
          {"info_version", "integer", 0},
          {"need_auth", "integer", 0}}},
        {"tbl_group_list", false, {{"group_id", "bigint", 1}}},
        {"tbl_session",
         false,
         {{"target_type", "integer", 1},
          {"target_id", "text", 2},
          {"last_msg_id", "bigint", 0},
          {"is_top", "integer", 0},
          {"priority", "integer", 0}}},
        {"tbl_notify",
         false,
         {{"db_id", "integer", 1},
          {"date", "integer", 0},
          {"is_read", "integer", 0},
          {"sender_type", "integer", 0},
          {"sender_id", "bigint", 0},
          {"sender_name", "text", 0},
          {"receiver_type", "integer", 0},
          {"receiver_id", "bigint", 0},
          {"receiver_name", "text", 0},
          {"from_type", "integer", 0},
          {"from_id", "bigint", 0},
          {"from_name", "text", 0},
          {"is_system", "integer", 0},
          {"response", "integer", 0},
          {"type", "integer", 0},
          {"text", "text", 0}}},
        {"tbl_last_msg_id", true, {{"key", "text", 1}, {"last_msg_id", "bigint", 0}}},
        {"tbl_msg_config",
         true,
         {{"target_type", "integer", 1}, {"target_id", "text", 2}, {"msg_config", "integer", 0}}},
    };
    return tables;
}

bool isStoreTable(const std::string& name) {
    const std::vector<TableLayout>& tables = expectedTables();
    return std::any_of(tables.begin(), tables.end(), [&](const TableLayout& table) {
        return sqlite3_stricmp(name.c_str(), table.name) == 0;
    });
}

const TableLayout& expectedTable(const std::string& name) {
    const std::vector<TableLayout>& tables = expectedTables();
    const auto found = std::find_if(tables.begin(), tables.end(),
                                    [&](const TableLayout& table) { return name == table.name; });
    if (found == tables.end()) {
        throw std::out_of_range("the store has no table " + name);
    }
    return *found;
}

void requireColumns(const Database& database, const std::vector<const char*>& tables) {
    Statement found = database.prepare("SELECT 1 FROM pragma_table_info(?1) WHERE name = ?2 COLLATE NOCASE");
    for (const char* const table : tables) {
        for (const Column& column : expectedTable(table).columns) {
            if (!found.bind(1, table).bind(2, column.name).step()) {
                throw ToolError(utf8Of(database.file()) + " has no column " + column.name + " in a table " +
                                table + "; 'pelko inspect' shows what it has");
            }
            found.reset();
        }
    }
}

void requireStoreFile(const Database& database) {
    Statement names = database.prepare("SELECT name FROM sqlite_master WHERE type = 'table'");
    while (names.step()) {
        if (isStoreTable(names.text(0))) {
            return;
        }
    }
    throw ToolError(utf8Of(database.file()) + " has none of the store's tables; name a db.dat");
}

int rowIdColumn(const TableLayout& table) {
    // A key of one column that is declared "integer" is the row id itself; one declared "bigint" is not.
    const auto key = std::find_if(table.columns.begin(), table.columns.end(), [](const Column& column) {
        return column.primaryKeyPlace == 1 && std::string(column.type) == "integer";
    });
    const bool alone = std::none_of(table.columns.begin(), table.columns.end(),
                                    [](const Column& column) { return column.primaryKeyPlace > 1; });
    return key != table.columns.end() && alone ? static_cast<int>(std::distance(table.columns.begin(), key))
                                               : -1;
}

}  // namespace pelkotool
