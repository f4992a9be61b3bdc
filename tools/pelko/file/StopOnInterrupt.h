#ifndef PELKO_TOOL_FILE_STOP_ON_INTERRUPT_H
#define PELKO_TOOL_FILE_STOP_ON_INTERRUPT_H

#include <sqlite3.h>

#include <functional>

namespace pelkotool {

/// While it lives, a request to stop (see Interrupt.h) ends the statement that a connection is running, which
/// then fails with SQLITE_INTERRUPT.
class StopOnInterrupt {
public:
    /// Of SQLite's machine, between two looks: some thousand looks a second.
    static constexpr int stepsBetweenLooks = 10'000;

    /// @param onProgress  called now and then while a statement runs
    explicit StopOnInterrupt(sqlite3* db, std::function<void()> onProgress = {});
    ~StopOnInterrupt();
    StopOnInterrupt(const StopOnInterrupt&) = delete;
    StopOnInterrupt& operator=(const StopOnInterrupt&) = delete;

private:
    static int look(void* self);

    sqlite3* mDb;
    std::function<void()> mOnProgress;
};

/// @throws ToolError, the one that ends a command that was asked to stop, when there was such a request
/// @param nothing  what is left as it was, as in "nothing was written"
void stopIfInterrupted(const char* nothing);

}  // namespace pelkotool

#endif  // PELKO_TOOL_FILE_STOP_ON_INTERRUPT_H
