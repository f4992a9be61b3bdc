#include "classes/storage/FailureConvention.h"

#include "classes/platform/Log.h"

namespace pelkoapi {

void logNotReady(const char* operation, int line) {
    if (log_error()) {
        c_ns_log("[pelko]db is not ready(%s, line:%d).", operation, line);
    }
    if (log_file()) {
        log_file("db is not ready(%s, line:%d).", operation, line);
    }
}

void logFailure(const char* operation, const char* message) {
    if (log_error()) {
        c_ns_log("[pelko]%s failed, exception in (%s).", operation, message);
    }
    if (log_file()) {
        log_file("%s failed, exception in (%s).", operation, message);
    }
}

void logNotClosed() {
    if (log_error()) {
        c_ns_log("[pelko]db is not correctly closed.");
    }
    if (log_file()) {
        log_file("db is not correctly closed.");
    }
}

}  // namespace pelkoapi
