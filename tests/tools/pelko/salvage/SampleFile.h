#ifndef PELKO_TESTS_TOOLS_SALVAGE_SAMPLE_FILE_H
#define PELKO_TESTS_TOOLS_SALVAGE_SAMPLE_FILE_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace pelkotest {

/// Fills a db.dat that the store has made with rows in every table, as years of use leave it: rows of all
/// lengths, in no order of their keys, gaps where rows were deleted, and free pages that still hold them.
/// @param messages  of other rows there are as many as belong to so many messages
void fillStoreFile(const std::filesystem::path& file, int messages);

/// The names of the store's tables.
std::vector<std::string> storeTables();

/// Runs statements on a connection of their own.
void executeOn(const std::filesystem::path& file, const std::string& sql);

/// Where the rows of a file lie.
struct RowPages {
    using Pages = std::set<std::uint32_t>;

    std::map<std::string, std::map<std::int64_t, Pages>> rows;  ///< of each table, by row id
    std::map<std::string, Pages> trees;  ///< of each table and index, with all interior pages
    std::map<std::string, std::uint32_t> roots;
    std::uint32_t pageSize = 0;
    std::uint32_t pageCount = 0;
};

/// Finds them in a whole file.
RowPages rowPagesOf(const std::filesystem::path& file);

/// Overwrites pages of a file with bytes that follow from the seed.
void overwritePages(const std::filesystem::path& file, const std::set<std::uint32_t>& pages,
                    std::uint32_t pageSize, unsigned int seed);

/// How many rows of the table in `copy` are not the same in `original`, by row id, values, storage classes
/// and bytes.
long long foreignRows(const std::filesystem::path& copy, const std::filesystem::path& original,
                      const std::string& table);

/// That every row of every table is the same in both, and none is missing, and the sequences, too.
void expectSameRows(const std::filesystem::path& copy, const std::filesystem::path& original);

/// That the file is one that the store can go on with: whole, in its journal mode, with the tables and
/// indexes that it makes, and nothing beside it.
void expectStoreFile(const std::filesystem::path& file);

}  // namespace pelkotest

#endif  // PELKO_TESTS_TOOLS_SALVAGE_SAMPLE_FILE_H
