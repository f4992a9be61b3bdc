#ifndef PELKO_TESTS_FUZZ_SAVED_INPUTS_H
#define PELKO_TESTS_FUZZ_SAVED_INPUTS_H

#include <cstdint>
#include <string>
#include <vector>

// The saved inputs of a fuzzer: thousands of small ones, packed into one file. Each stands there as its
// length in two bytes, the lower one first, and its bytes.

namespace pelkotest {

using SavedInput = std::vector<std::uint8_t>;

// All throw std::runtime_error when a file cannot be read or written.

std::vector<SavedInput> readPacked(const std::string& file);
/// @throws std::runtime_error also for an input of more than 65,535 bytes
void writePacked(const std::vector<SavedInput>& inputs, const std::string& file);

/// The files of a folder, in the order of their sizes and names.
std::vector<SavedInput> readFolder(const std::string& folder);
/// Writes each input to a file with its number as its name; makes the folder when it is missing.
void writeFolder(const std::vector<SavedInput>& inputs, const std::string& folder);

/// The name of an input in its folder.
std::string nameOf(std::size_t number);

}  // namespace pelkotest

#endif  // PELKO_TESTS_FUZZ_SAVED_INPUTS_H
