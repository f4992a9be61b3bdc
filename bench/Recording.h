#ifndef PELKO_BENCH_RECORDING_H
#define PELKO_BENCH_RECORDING_H

#include <sqlite3.h>

#include <string>
#include <vector>

// The statements of an operation as the manager builds and runs them, taken from SQLite itself, so that the
// competitors run the same text.

namespace pelkobench {

/// A statement's text, and the statements that ran between its first row and its end.
struct RecordedStatement {
    std::string text;
    std::vector<RecordedStatement> inner;
};
using Recording = std::vector<RecordedStatement>;

/// Records what runs on a connection between its construction and finish().
class Recorder {
public:
    explicit Recorder(sqlite3* db);
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /// Stops recording. @return the statements in the order in which they began
    Recording finish();

private:
    struct Event {
        sqlite3_stmt* statement;
        std::string text;  // empty at the statement's end
    };
    static int onEvent(unsigned event, void* recorder, void* statement, void* detail);
    static Recording nested(const std::vector<Event>& events, std::size_t begin, std::size_t end);

    sqlite3* mDb;
    std::vector<Event> mEvents;
};

/// Prepares each statement, runs it to its end, reads all values and releases it; inner statements run while
/// the outer one stands on its first row, as they do in the manager.
void replay(sqlite3* db, const Recording& recording);

/// Prepares each statement and releases it without running it.
void parse(sqlite3* db, const Recording& recording);

}  // namespace pelkobench

#endif  // PELKO_BENCH_RECORDING_H
