#include "tools/pelko/file/Tables.h"

#include <stdexcept>

#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using pelkotool::Column;
using pelkotool::expectedTable;
using pelkotool::expectedTables;
using pelkotool::rowIdColumn;
using pelkotool::TableLayout;

namespace {

/// The layouts beside a file that the store has made.
class TablesTest : public ToolTest {
protected:
    void SetUp() override { runWell({"send", "user:bob", "hi"}); }
};

TEST_F(TablesTest, AreThoseThatTheStoreMakes) {
    Rows names;
    for (const TableLayout& table : expectedTables()) {
        names.push_back({table.name});
    }
    EXPECT_EQ(names,
              rows("SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite_%' ORDER "
                   "BY rowid"));
}

TEST_F(TablesTest, HaveTheColumnsThatTheStoreMakes) {
    for (const TableLayout& table : expectedTables()) {
        Rows columns;
        for (const Column& column : table.columns) {
            columns.push_back({column.name, column.type, std::to_string(column.primaryKeyPlace)});
        }
        EXPECT_EQ(columns, rows(std::string("SELECT name, lower(type), pk FROM pragma_table_info('") +
                                table.name + "') ORDER BY cid"))
            << table.name;
    }
}

TEST_F(TablesTest, KnowTheColumnThatIsTheRowId) {
    for (const TableLayout& table : expectedTables()) {
        const std::string name = table.name;
        const int column = rowIdColumn(table);
        // A row whose row id is 7: the column that is the row id has it.
        execute("DELETE FROM " + name + "; INSERT INTO " + name + " (rowid) VALUES (7)");
        const std::vector<std::string> row = rows("SELECT * FROM " + name).front();
        for (std::size_t i = 0; i < row.size(); ++i) {
            EXPECT_EQ(row[i], static_cast<int>(i) == column ? "7" : "") << name << ", column " << i;
        }
    }
}

TEST_F(TablesTest, AreFoundByTheirNames) {
    for (const TableLayout& table : expectedTables()) {
        EXPECT_EQ(&expectedTable(table.name), &table);
    }
    for (const char* const name : {"", "tbl_ms", "tbl_msg2", "TBL_MSG", "sqlite_sequence"}) {
        EXPECT_THROW(expectedTable(name), std::out_of_range) << name;
    }
}

TEST_F(TablesTest, TellWhichMustBeExact) {
    std::vector<std::string> exact;
    for (const TableLayout& table : expectedTables()) {
        if (table.mustBeExact) {
            exact.emplace_back(table.name);
        }
    }
    EXPECT_THAT(exact, testing::ElementsAre("tbl_relationship", "tbl_last_msg_id", "tbl_msg_config"));
}

}  // namespace
