#include "tests/tools/pelko/salvage/SampleFile.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <fstream>
#include <random>
#include <stdexcept>

#include "tests/tools/pelko/support/ToolTest.h"
#include "tools/pelko/file/Tables.h"
#include "tools/pelko/salvage/BTreePage.h"

namespace pelkotest {

namespace {

using pelkotool::BTreePage;
using pelkotool::Bytes;
using pelkotool::ByteView;
using pelkotool::Cell;

/// A number below 2^20 that follows from i and looks like chance.
std::string scrambled(int salt) {
    return "((i * 7919 + " + std::to_string(salt) + " * 104729) % 1048573)";
}

/// INSERT ... SELECT over i from the first to the last number.
std::string insertion(const std::string& what, long first, long last) {
    return "WITH RECURSIVE n(i) AS (SELECT " + std::to_string(first) +
           " UNION ALL SELECT i + 1 FROM n WHERE i < " + std::to_string(last) + ") INSERT INTO " + what +
           " FROM n WHERE i <= " + std::to_string(last) + ";";
}

/// The insertions of one of several rounds: tables grow side by side.
std::string insertionsOfRound(int messages, int round, int rounds) {
    struct Part {
        int each;  // one row for so many messages
        std::string what;
    };
    const std::string text =
        "'message ' || i || ' \xc3\xa4\xe2\x82\xac''' || substr(hex(zeroblob(3000)), 1, CASE WHEN i % 50 = 7 "
        "THEN 2000 + "
        "i * 37 % 4000 ELSE i % 90 END)";
    const std::vector<Part> parts = {
        {1, "tbl_msg SELECT " + scrambled(1) + " * 1000003 + i, NULL, i % 3, 1500000000 + " + scrambled(2) +
                ", " + text +
                ", i % 4, CASE WHEN i % 5 THEN NULL ELSE 'media/' || i END, '', '', i % 3, 0, CASE WHEN i % "
                "3 THEN 1 "
                "ELSE 0 END, CASE WHEN i % 3 THEN '' || (5000 + i % 7) ELSE 'user' || (i % 90) END, 0, "
                "'user' || (" +
                scrambled(3) + " % 90), CASE WHEN i % 11 THEN 2 ELSE 1 END, NULL"},
        {200, "tbl_relationship SELECT 'user' || " + scrambled(4) + ", i % 2"},
        {50, "tbl_user SELECT 'user' || " + scrambled(5) +
                 " || '_' || i, 'nick ' || i, NULL, 'icon/' || i, '', 'about ' || i, i "
                 "% 3, i"},
        {1000, "tbl_room SELECT 5000 + i, 'room ' || i, '', '', NULL, 0, 'info ' || i, 100, i, 1"},
        {500, "tbl_group SELECT " + scrambled(6) +
                  " * 2000 + i, 'group ' || i, '', '', '', 'info', 50, 0, 'user' || i, 1, 0"},
        {300, "tbl_group_list SELECT " + scrambled(7) + " * 2000 + i"},
        {300, "tbl_session SELECT i % 2, 'peer' || " + scrambled(8) + " || '_' || i, i, 0, i"},
        {50,
         "tbl_notify SELECT NULL, 1500000000 + i, i % 2, 0, i, 'sender ' || i, 0, 0, '', 2, i, 'group ' || "
         "i, 0, 0, 0, "
         "'please'"},
        {300, "tbl_last_msg_id SELECT 'stream' || " + scrambled(9) + " || '_' || i, i * 3"},
        {500, "tbl_msg_config SELECT i % 2, 'peer' || " + scrambled(10) + " || '_' || i, i % 4"},
    };
    std::string sql;
    for (const Part& part : parts) {
        const long count = std::max(messages / part.each, 5);
        sql += insertion(part.what, count * round / rounds + 1, count * (round + 1) / rounds);
    }
    return sql;
}

sqlite3* openRaw(const std::filesystem::path& file) {
    sqlite3* handle = nullptr;
    if (sqlite3_open(file.c_str(), &handle) != SQLITE_OK) {
        sqlite3_close(handle);
        throw std::runtime_error("cannot open " + file.string());
    }
    return handle;
}

std::vector<std::string> columnsOf(const std::string& table) {
    std::vector<std::string> columns = {"rowid"};
    for (const pelkotool::Column& column : pelkotool::expectedTable(table).columns) {
        columns.push_back(column.name);
    }
    return columns;
}

class PageReader {
public:
    PageReader(const std::filesystem::path& file, RowPages& result)
        : mContent(contentOf(file)), mResult(result) {
        const auto byte = [&](std::size_t i) {
            return static_cast<std::uint32_t>(static_cast<unsigned char>(mContent[i]));
        };
        mResult.pageSize = byte(16) == 0 && byte(17) == 1 ? 65536 : byte(16) << 8U | byte(17);
        mResult.pageCount = static_cast<std::uint32_t>(mContent.size() / mResult.pageSize);
    }

    void readTree(const std::string& name, bool isTable, std::uint32_t number) {
        mResult.trees[name].insert(number);
        const BTreePage page = pelkotool::parsePage(pageAt(number), number,
                                                    {mResult.pageSize, mResult.pageCount, mContent.size()});
        if (!page.sound) {
            throw std::runtime_error("page " + std::to_string(number) + " is not sound");
        }
        for (const Cell& cell : page.cells) {
            if (cell.child != 0) {
                readTree(name, isTable, cell.child);
            } else if (isTable) {
                mResult.rows[name][cell.rowId] = pagesOf(number, cell);
            }
        }
        if (page.rightChild != 0) {
            readTree(name, isTable, page.rightChild);
        }
    }

private:
    ByteView pageAt(std::uint32_t number) const {
        return {reinterpret_cast<const std::uint8_t*>(mContent.data()) +
                    std::size_t{number - 1} * mResult.pageSize,
                mResult.pageSize};
    }

    RowPages::Pages pagesOf(std::uint32_t number, const Cell& cell) const {
        RowPages::Pages pages = {number};
        for (std::uint32_t next = cell.overflow; next != 0; next = pageAt(next).u32(0)) {
            pages.insert(next);
        }
        return pages;
    }

    std::string mContent;
    RowPages& mResult;
};

}  // namespace

void executeOn(const std::filesystem::path& file, const std::string& sql) {
    sqlite3* const handle = openRaw(file);
    char* message = nullptr;
    const int result = sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, &message);
    const std::string reason = message != nullptr ? message : "";
    sqlite3_free(message);
    sqlite3_close(handle);
    if (result != SQLITE_OK) {
        throw std::runtime_error(reason + ": " + sql.substr(0, 200));
    }
}

void fillStoreFile(const std::filesystem::path& file, int messages) {
    constexpr int rounds = 5;
    std::string sql = "PRAGMA secure_delete = 0; PRAGMA synchronous = OFF; BEGIN;";
    for (int round = 0; round < rounds; ++round) {
        sql += insertionsOfRound(messages, round, rounds);
    }
    // Whole pages become free, and single rows go.
    const std::string third = std::to_string(messages / 3);
    const std::string more = std::to_string(messages / 3 + messages / 20);
    executeOn(file, sql + "COMMIT; PRAGMA wal_checkpoint(TRUNCATE)");
    // On its own: pages that were never written hold nothing when they are free.
    executeOn(file, "PRAGMA secure_delete = 0; BEGIN; DELETE FROM tbl_msg WHERE db_id BETWEEN " + third +
                        " AND " + more +
                        " OR db_id % 37 = 0; DELETE FROM tbl_notify WHERE db_id % 9 = 0 OR db_id > (SELECT "
                        "MAX(db_id) - 3 FROM "
                        "tbl_notify); DELETE FROM tbl_relationship WHERE rowid % 5 = 0; COMMIT");
}

std::vector<std::string> storeTables() {
    std::vector<std::string> names;
    for (const pelkotool::TableLayout& table : pelkotool::expectedTables()) {
        names.push_back(table.name);
    }
    return names;
}

RowPages rowPagesOf(const std::filesystem::path& file) {
    RowPages result;
    PageReader reader(file, result);
    for (const auto& row : rowsOf(file, "SELECT name, type = 'table', rootpage FROM sqlite_master")) {
        const auto root = static_cast<std::uint32_t>(std::stoul(row[2]));
        result.roots[row[0]] = root;
        reader.readTree(row[0], row[1] == "1", root);
    }
    reader.readTree("sqlite_master", true, 1);
    for (const std::string& table : storeTables()) {  // nothing was overlooked
        EXPECT_EQ(std::to_string(result.rows[table].size()),
                  rowsOf(file, "SELECT COUNT(*) FROM " + table).front().front());
    }
    return result;
}

void overwritePages(const std::filesystem::path& file, const std::set<std::uint32_t>& pages,
                    std::uint32_t pageSize, unsigned int seed) {
    std::mt19937 random(seed);
    std::fstream stream(file, std::ios::binary | std::ios::in | std::ios::out);
    for (const std::uint32_t page : pages) {
        std::string bytes(pageSize, '\0');
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random() & 0xffU); });
        stream.seekp(static_cast<std::streamoff>(page - 1) * pageSize);
        stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    if (!stream.flush()) {
        throw std::runtime_error("cannot damage " + file.string());
    }
}

long long foreignRows(const std::filesystem::path& copy, const std::filesystem::path& original,
                      const std::string& table) {
    std::string same = "1";
    for (const std::string& column : columnsOf(table)) {
        // As blobs, so that no collation and no affinity makes different bytes equal.
        same += " AND CAST(a." + column + " AS BLOB) IS CAST(b." + column + " AS BLOB) AND typeof(a." +
                column + ") = typeof(b." + column + ")";
    }
    const std::string quoted = "'" + original.string() + "'";
    sqlite3* const handle = openRaw(copy);
    sqlite3_exec(handle, ("ATTACH " + quoted + " AS original").c_str(), nullptr, nullptr, nullptr);
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(handle,
                       ("SELECT COUNT(*) FROM main." + table + " AS a LEFT JOIN original." + table +
                        " AS b ON a.rowid = b.rowid WHERE NOT (" + same + ")")
                           .c_str(),
                       -1, &statement, nullptr);
    const long long count = sqlite3_step(statement) == SQLITE_ROW ? sqlite3_column_int64(statement, 0) : -1;
    sqlite3_finalize(statement);
    sqlite3_close(handle);
    return count;
}

void expectSameRows(const std::filesystem::path& copy, const std::filesystem::path& original) {
    for (const std::string& table : storeTables()) {
        EXPECT_EQ(foreignRows(copy, original, table), 0) << table;
        EXPECT_EQ(foreignRows(original, copy, table), 0) << table;
    }
    const std::string sequences = "SELECT name, seq FROM sqlite_sequence";
    EXPECT_EQ(rowsOf(copy, sequences), rowsOf(original, sequences));
}

void expectStoreFile(const std::filesystem::path& file) {
    for (const char* const suffix : {"-wal", "-shm", "-journal"}) {
        EXPECT_FALSE(fs::exists(file.string() + suffix)) << suffix;
    }
    EXPECT_EQ(rowsOf(file, "PRAGMA integrity_check"), (Rows{{"ok"}}));
    EXPECT_EQ(rowsOf(file, "PRAGMA journal_mode"), (Rows{{"wal"}}));
    const Rows indexes = rowsOf(file, "SELECT name FROM sqlite_master WHERE name GLOB 'idx_*' ORDER BY name");
    EXPECT_EQ(indexes, (Rows{{"idx_msg_msg_id"},
                             {"idx_msg_pair"},
                             {"idx_msg_room"},
                             {"idx_msg_sending"},
                             {"idx_msg_transfer"},
                             {"idx_msg_unread"},
                             {"idx_relationship_name"}}));
}

}  // namespace pelkotest
