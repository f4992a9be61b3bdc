#include "tools/pelko/Interrupt.h"

#include <csignal>

namespace pelkotool {

namespace {

volatile std::sig_atomic_t stopRequested = 0;

extern "C" void requestStop(int signal) {
    stopRequested = 1;
    std::signal(signal, SIG_DFL);
}

}  // namespace

void catchInterrupts() {
    std::signal(SIGINT, requestStop);
    std::signal(SIGTERM, requestStop);
}

bool interrupted() {
    return stopRequested != 0;
}

}  // namespace pelkotool
