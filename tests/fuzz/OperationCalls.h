#ifndef PELKO_TESTS_FUZZ_OPERATION_CALLS_H
#define PELKO_TESTS_FUZZ_OPERATION_CALLS_H

#include <vector>

#include "tests/fuzz/OperationRun.h"

namespace pelkotest {

/// Takes the arguments of an operation from the input and calls it.
using OperationCall = void (*)(OperationRun& run);

/// Every public operation, and what else can happen around the store. A saved input means the calls by their
/// places in this list, so new ones go to its end.
const std::vector<OperationCall>& operationCalls();

// Its parts.
extern const std::vector<OperationCall> messageCalls;
extern const std::vector<OperationCall> contactCalls;
extern const std::vector<OperationCall> groupCalls;
extern const std::vector<OperationCall> otherCalls;

}  // namespace pelkotest

#endif  // PELKO_TESTS_FUZZ_OPERATION_CALLS_H
