#ifndef PELKO_BENCH_DATA_FILES_H
#define PELKO_BENCH_DATA_FILES_H

#include <string>

namespace pelkobench {

/// What lies in a file.
enum class Variant {
    tables,     ///< the store's tables without any index
    store,      ///< the same after five starts of the store: with all its indexes
    handTuned,  ///< the same messages in HandTuned's tables
};

/// The folder of a file, <root>/<rows>/<variant>/; the file is db.dat in it.
std::string folderOf(const std::string& root, int rows, Variant variant);
std::string fileOf(const std::string& root, int rows, Variant variant);

/// Makes the three files of a size, and sizes.json beside them, unless they are there.
void makeDataFiles(const std::string& root, int rows);

/// Copies a size's files to another root, over whatever is there.
void copyDataFiles(const std::string& from, const std::string& to, int rows);

}  // namespace pelkobench

#endif  // PELKO_BENCH_DATA_FILES_H
