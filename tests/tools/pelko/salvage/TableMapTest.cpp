#include "tools/pelko/salvage/TableMap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace pelkotool;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TableMap mapOf(const std::string& name, const std::string& sql) {
    SchemaRow row;
    row.isTable = true;
    row.name = name;
    row.table = name;
    row.root = 2;
    row.sql = sql;
    return mapTable(expectedTable(name), {row});
}

TEST(TableMapping, RunsNothingButWhatMakesATable) {
    const std::string columns = "(target_type integer, target_id text, msg_config integer)";
    EXPECT_FALSE(mapOf("tbl_msg_config", "CREATE TABLE tbl_msg_config " + columns).tooDifferent);
    for (const char* const sql : {
             "CREATE TABLE tbl_msg_config AS SELECT 1 AS target_type, 'x' AS target_id, 2 AS msg_config",
             "CREATE TABLE tbl_msg_config(target_type, target_id CHECK (length(target_id) < 9), msg_config)",
         }) {
        EXPECT_TRUE(mapOf("tbl_msg_config", sql).tooDifferent) << sql;
    }
}

TEST(TableMapping, RunsNothingBehindATable) {
    const TableMap table =
        mapOf("tbl_group_list", "CREATE TABLE tbl_group_list (group_id bigint); DROP TABLE tbl_group_list");
    EXPECT_FALSE(table.tooDifferent);
    EXPECT_EQ(table.recordColumns, 1U);
}

TEST(TableMapping, KnowsTheKeysAndCountersOfTheStore) {
    EXPECT_FALSE(mapOf("tbl_notify",
                       "CREATE TABLE tbl_notify (db_id integer primary key autoincrement, text text UNIQUE)")
                     .tooDifferent);
}

TEST(TableMapping, EvaluatesNoDefaultBeyondPlainValues) {
    const auto fallback = [](const std::string& value) {
        const TableMap table =
            mapOf("tbl_msg_config",
                  "CREATE TABLE tbl_msg_config (target_type integer, msg_config DEFAULT " + value + ")");
        EXPECT_FALSE(table.tooDifferent) << value;
        return table.fallbacks.at(2);
    };
    EXPECT_EQ(fallback("5").integer, 5);
    EXPECT_EQ(fallback("-5").integer, -5);
    EXPECT_EQ(fallback("(2 + 3)").integer, 5);
    EXPECT_EQ(fallback("1.5").real, 1.5);
    EXPECT_EQ(fallback("'none'").bytes, "none");
    EXPECT_EQ(fallback("NULL").kind, StorageClass::null);
    EXPECT_EQ(fallback("(length('abc'))").kind, StorageClass::null);
    EXPECT_EQ(fallback("(hex(zeroblob(60000000)))").kind, StorageClass::null);
    EXPECT_EQ(fallback("CURRENT_TIMESTAMP").kind, StorageClass::null);
}

TEST(TableMapping, TakesRenamedColumnsByTheirPlaces) {
    const TableMap table = mapOf("tbl_session",
                                 "CREATE TABLE tbl_session (target_type integer, targez_id text, last_msg_id "
                                 "bigint, it_top integer, priority integer)");
    EXPECT_THAT(table.places, ElementsAre(0U, 1U, 2U, 3U, 4U));
    EXPECT_THAT(table.otherColumns, IsEmpty());
    EXPECT_THAT(table.missingColumns, IsEmpty());
    ASSERT_EQ(table.takenColumns.size(), 2U);
    EXPECT_EQ(table.takenColumns[0].name, "targez_id");
    EXPECT_EQ(table.takenColumns[0].takenFor, "target_id");
}

TEST(TableMapping, TakesNoColumnWhosePlaceIsNoProof) {
    // Another number of columns, and another order.
    const TableMap more = mapOf(
        "tbl_msg_config", "CREATE TABLE tbl_msg_config (target_type integer, x text, msg_config integer, y)");
    EXPECT_THAT(more.otherColumns, ElementsAre("x", "y"));
    EXPECT_THAT(more.missingColumns, ElementsAre("target_id"));
    const TableMap moved = mapOf(
        "tbl_msg_config", "CREATE TABLE tbl_msg_config (target_type integer, msg_config integer, x text)");
    EXPECT_THAT(moved.otherColumns, ElementsAre("x"));
    EXPECT_THAT(moved.missingColumns, ElementsAre("target_id"));
    EXPECT_THAT(moved.takenColumns, IsEmpty());
}

}  // namespace
