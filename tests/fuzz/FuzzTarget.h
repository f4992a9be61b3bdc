#ifndef PELKO_TESTS_FUZZ_FUZZ_TARGET_H
#define PELKO_TESTS_FUZZ_FUZZ_TARGET_H

#include <cstddef>
#include <cstdint>

/// Runs one input; a finding ends the program. Called by the fuzzer and by the replay of saved inputs.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

#endif  // PELKO_TESTS_FUZZ_FUZZ_TARGET_H
