#include "bench/Recording.h"

#include "bench/Sqlite.h"

namespace pelkobench {

Recorder::Recorder(sqlite3* db) : mDb(db) {
    check(sqlite3_trace_v2(db, SQLITE_TRACE_STMT | SQLITE_TRACE_PROFILE, &Recorder::onEvent, this), db);
}

Recorder::~Recorder() {
    sqlite3_trace_v2(mDb, 0, nullptr, nullptr);
}

int Recorder::onEvent(unsigned event, void* recorder, void* statement, void* /*detail*/) {
    auto* const vm = static_cast<sqlite3_stmt*>(statement);
    const std::string text = event == SQLITE_TRACE_STMT ? sqlite3_sql(vm) : "";
    static_cast<Recorder*>(recorder)->mEvents.push_back({vm, text});
    return 0;
}

Recording Recorder::finish() {
    sqlite3_trace_v2(mDb, 0, nullptr, nullptr);
    return nested(mEvents, 0, mEvents.size());
}

Recording Recorder::nested(const std::vector<Event>& events, std::size_t begin, std::size_t end) {
    Recording recording;
    for (std::size_t i = begin; i < end; ++i) {
        const Event& start = events[i];
        std::size_t close = i + 1;
        while (close < end && (events[close].statement != start.statement || !events[close].text.empty())) {
            ++close;
        }
        recording.push_back({start.text, nested(events, i + 1, close)});
        i = close;
    }
    return recording;
}

void replay(sqlite3* db, const Recording& recording) {
    for (const RecordedStatement& recorded : recording) {
        const StatementHandle statement = prepare(db, recorded.text.c_str());
        bool first = true;
        int code = sqlite3_step(statement.get());
        for (; code == SQLITE_ROW; code = sqlite3_step(statement.get())) {
            readValues(statement.get());
            if (first) {
                replay(db, recorded.inner);
                first = false;
            }
        }
        check(code == SQLITE_DONE ? SQLITE_OK : code, db);
    }
}

void parse(sqlite3* db, const Recording& recording) {
    for (const RecordedStatement& recorded : recording) {
        prepare(db, recorded.text.c_str());
        parse(db, recorded.inner);
    }
}

}  // namespace pelkobench
