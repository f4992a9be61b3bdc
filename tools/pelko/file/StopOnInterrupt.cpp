#include "tools/pelko/file/StopOnInterrupt.h"

#include <string>
#include <utility>

#include "classes/platform/Interrupt.h"
#include "tools/pelko/ToolError.h"

namespace pelkotool {

using pelkoapi::interrupted;

StopOnInterrupt::StopOnInterrupt(sqlite3* db, std::function<void()> onProgress)
    : mDb(db), mOnProgress(std::move(onProgress)) {
    sqlite3_progress_handler(mDb, stepsBetweenLooks, look, this);
}

StopOnInterrupt::~StopOnInterrupt() {
    sqlite3_progress_handler(mDb, 0, nullptr, nullptr);
}

int StopOnInterrupt::look(void* self) {
    const auto* const watch = static_cast<StopOnInterrupt*>(self);
    if (watch->mOnProgress) {
        watch->mOnProgress();
    }
    return interrupted() ? 1 : 0;
}

void stopIfInterrupted(const char* nothing) {
    if (interrupted()) {
        throw ToolError(std::string("stopped as asked; ") + nothing, ExitCode::interrupted);
    }
}

}  // namespace pelkotool
