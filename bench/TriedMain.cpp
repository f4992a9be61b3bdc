#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/DataFiles.h"
#include "bench/Dataset.h"
#include "bench/Recording.h"
#include "bench/Sqlite.h"
#include "bench/Stopwatch.h"
#include "bench/StoreSession.h"

// pelko_bench_tried DATA ROWS: what pages of one-to-one conversations cost with other sets of indexes, as
// JSON. Each set is made in a transaction that is rolled back.

namespace {

using namespace pelkobench;

struct IndexSet {
    const char* name;
    bool withOwnIndex;  // keep the index that belongs to the busiest conversation alone
    const char* changes;
};

constexpr IndexSet indexSets[] = {
    {"as it is", true, ""},
    {"without the busy conversation's own index", false, ""},
    {"instead, all messages by receiver_type, sender_type, date, msg_id", false,
     "CREATE INDEX tried ON tbl_msg (receiver_type, sender_type, date, msg_id)"},
    {"the same, and the pair of users' messages only (a partial index)", true,
     "DROP INDEX idx_msg_pair; CREATE INDEX tried ON tbl_msg (receiver_id, sender_id) "
     "WHERE receiver_type = 0 OR receiver_type = 3"},
    {"instead, the pair continued by date, msg_id", false,
     "DROP INDEX idx_msg_pair; CREATE INDEX tried ON tbl_msg (receiver_id, sender_id, date, msg_id)"},
    {"instead, the pair continued by all other columns", false,
     "DROP INDEX idx_msg_pair; CREATE INDEX tried ON tbl_msg (receiver_id, sender_id, date, msg_id, type, "
     "text, media_type, media_path, ex_media_path, media_url, media_status, duration, receiver_type, "
     "sender_type, status, extra_path)"},
};

Recording recordPage(const std::string& folder, const pelkoapi::PelkoChatTarget& target) {
    StoreSession store(folder);
    Recorder recorder(store.handle());
    std::deque<pelkoapi::PelkoMessage> page;
    store.manager().getLatestMessages(target, pageSize, page);
    return recorder.finish();
}

/// The median of several runs, in microseconds of processor time.
double microseconds(sqlite3* db, const Recording& recording) {
    replay(db, recording);
    std::vector<double> times(7);
    for (double& time : times) {
        time = 1e6 * processorSecondsFor([&] { replay(db, recording); });
    }
    std::nth_element(times.begin(), times.begin() + 3, times.end());
    return times[3];
}

void dropOwnIndexes(sqlite3* db) {
    for (const std::string& index :
         texts(db, "SELECT name FROM sqlite_master WHERE type = 'index' AND name GLOB 'idx_msg_with_*'")) {
        execute(db, "DROP INDEX " + index);
    }
}

void tryAll(const std::string& folder, int rows) {
    const Recording quiet = recordPage(folder, Dataset::quietPeer());
    const Recording busiest = recordPage(folder, Dataset::busiestPeer());
    const Recording room = recordPage(folder, Dataset::busiestRoom());
    const Connection db(folder + "/db.dat", Journal::writeAhead);
    const auto usedPages = [&] {
        return number(db, "PRAGMA page_count") - number(db, "PRAGMA freelist_count");
    };
    const auto pageBytes = number(db, "PRAGMA page_size");
    const auto before = usedPages();

    std::printf("{\"rows\": %d, \"file_bytes\": %lld, \"sets\": [", rows, before * pageBytes);
    const char* separator = "";
    for (const IndexSet& set : indexSets) {
        execute(db, "BEGIN");
        if (!set.withOwnIndex) {
            dropOwnIndexes(db);
        }
        execute(db, set.changes);
        std::printf(
            "%s\n{\"name\": \"%s\", \"quiet_us\": %.1f, \"busiest_us\": %.1f, \"room_us\": %.1f, "
            "\"added_bytes\": %lld}",
            separator, set.name, microseconds(db, quiet), microseconds(db, busiest), microseconds(db, room),
            (usedPages() - before) * pageBytes);
        execute(db, "ROLLBACK");
        separator = ",";
    }
    std::printf("\n]}\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: pelko_bench_tried DATA ROWS\n", stderr);
        return 2;
    }
    try {
        const std::string data = argv[1];
        const std::string work = data + "/work_tried";
        const int rows = std::atoi(argv[2]);
        copyDataFiles(data, work, rows);
        tryAll(folderOf(work, rows, Variant::store), rows);
        std::filesystem::remove_all(work);
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "pelko_bench_tried: %s\n", exception.what());
        return 1;
    }
    return 0;
}
