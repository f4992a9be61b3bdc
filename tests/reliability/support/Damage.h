#ifndef PELKO_TESTS_RELIABILITY_SUPPORT_DAMAGE_H
#define PELKO_TESTS_RELIABILITY_SUPPORT_DAMAGE_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

// Database files in the ways in which they come to harm.

namespace pelkotest {

using Bytes = std::string;

/// What a damage leaves intact.
enum class Promise {
    Nothing,     ///< whatever the store says is right, as long as it keeps its rules
    Sound,       ///< nothing is logged, the rows are those of some moment before
    SameResults  ///< nothing is logged, every operation does what it does over the undamaged file
};

/// A database and what belongs to it; of what is empty there is no file.
struct DamagedFile {
    std::string what;  ///< for messages
    Promise promise = Promise::Nothing;
    Bytes database;       // db.dat
    Bytes log;            // db.dat-wal
    Bytes journal;        // db.dat-journal
    Bytes indexOfTheLog;  // db.dat-shm
};

/// Puts it into the folder.
void writeFiles(const DamagedFile& file, const std::filesystem::path& folder);

Bytes readBytes(const std::filesystem::path& path);

/// The undamaged files from which the damaged ones are made.
struct Samples {
    Bytes database;    ///< of a closed store: tables, indexes, long rows in chains of pages, free pages
    Bytes underLog;    ///< of an open store, with
    Bytes log;         ///< the changes that have not yet been brought over
    Bytes foreignLog;  ///< of another database
    Bytes foreignJournal;
};

/// The samples, made by the store in a folder of its own.
Samples makeSamples();

/// A damage of a kind that goes with the number: a row of numbers goes through all kinds, over and over, each
/// time in another way. The same number gives the same damage.
DamagedFile damagedFile(const Samples& samples, std::uint32_t number);

/// The file with each field of its header set to each of some values.
std::vector<DamagedFile> damagedHeaders(const Samples& samples);

}  // namespace pelkotest

#endif  // PELKO_TESTS_RELIABILITY_SUPPORT_DAMAGE_H
