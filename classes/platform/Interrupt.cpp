#include "classes/platform/Interrupt.h"

#include <csignal>
#include <ctime>

namespace pelkoapi {

namespace {

volatile std::sig_atomic_t stopRequested = 0;
volatile std::sig_atomic_t secondOfRequest = 0;

extern "C" void requestStop(int signal) {
    const auto second = static_cast<std::sig_atomic_t>(std::time(nullptr) % 100'000);
    if (stopRequested == 0) {
        stopRequested = 1;
        secondOfRequest = second;
    }
    // What runs the tool may pass one request on to it twice, as timeout does.
    const bool isTheSame = second - secondOfRequest == 0 || second - secondOfRequest == 1;
    std::signal(signal, isTheSame ? requestStop : SIG_DFL);
    if (!isTheSame) {
        std::raise(signal);
    }
}

}  // namespace

void catchInterrupts() {
    std::signal(SIGINT, requestStop);
    std::signal(SIGTERM, requestStop);
}

bool interrupted() {
    return stopRequested != 0;
}

}  // namespace pelkoapi
