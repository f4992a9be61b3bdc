#ifndef PELKO_TESTS_FUZZ_FILE_DAMAGE_H
#define PELKO_TESTS_FUZZ_FILE_DAMAGE_H

#include <string>

#include "tests/fuzz/FuzzInput.h"

namespace pelkotest {

/// A database file with what a write-ahead log beside it holds; no log when that is empty.
struct DatabaseBytes {
    std::string database;
    std::string log;
};

/// Damages a sound file as the input says: bytes changed anywhere or in the head of a page, pages zeroed,
/// swapped or written anew by a log whose check sums hold, the tail cut off, the log's bytes changed, other
/// bytes as the whole file. The input is a sequence of such steps.
DatabaseBytes damaged(const std::string& sound, FuzzInput input);

}  // namespace pelkotest

#endif  // PELKO_TESTS_FUZZ_FILE_DAMAGE_H
