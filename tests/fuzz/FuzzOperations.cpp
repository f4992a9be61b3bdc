#include "tests/fuzz/FuzzTarget.h"
#include "tests/fuzz/OperationCalls.h"

// A sequence of calls with values from the input, made of the store and of a model in plain containers.

namespace pelkotest {

const std::vector<OperationCall>& operationCalls() {
    static const std::vector<OperationCall> all = [] {
        std::vector<OperationCall> calls;
        for (const auto* const part : {&messageCalls, &contactCalls, &groupCalls, &otherCalls}) {
            calls.insert(calls.end(), part->begin(), part->end());
        }
        return calls;
    }();
    return all;
}

namespace {

// Enough for every pair of operations to meet; a longer input would only be slower.
constexpr int maxCalls = 100;

void reopen(OperationRun& run) {
    run.both("tearDown", "", [](auto& store) {
        store.tearDown();
        return std::string();
    });
    run.both("setUp", "", [](auto& store) { return told(store.setUp()); });
}

}  // namespace

}  // namespace pelkotest

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace pelkotest;
    FuzzInput input(data, size);
    // Reading everything back twice is only now and then worth its time.
    const bool readsBackTwice = input.below(8) == 7;
    input.chooseNeighbours(input.byte());
    OperationRun run(input);
    const std::vector<OperationCall>& calls = operationCalls();
    for (int i = 0; i < maxCalls && !run.input.atEnd(); ++i) {
        const std::size_t choice = run.input.byte();
        // A closed store is opened again soon.
        if (!run.model.isOpen() && choice >= 160) {
            reopen(run);
        }
        calls[choice % calls.size()](run);
    }
    if (readsBackTwice) {
        run.readBack();
    }
    reopen(run);
    run.readBack();
    return 0;
}
