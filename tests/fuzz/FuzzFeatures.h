#ifndef PELKO_TESTS_FUZZ_FUZZ_FEATURES_H
#define PELKO_TESTS_FUZZ_FUZZ_FEATURES_H

#include <string>

namespace pelkotest {

/// Tells the fuzzer of something that this input did, beside the code that it ran: inputs that do something
/// new are kept. SQLite is not compiled for the fuzzer, so its part of the work shows only here. Nothing
/// happens in a replay.
void noteFeature(const std::string& feature);

}  // namespace pelkotest

#endif  // PELKO_TESTS_FUZZ_FUZZ_FEATURES_H
