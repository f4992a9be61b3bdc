#include <cstdio>
#include <cstdlib>
#include <deque>
#include <exception>
#include <filesystem>
#include <fstream>
#include <list>
#include <numeric>
#include <string>
#include <vector>

#include "bench/DataFiles.h"
#include "bench/Dataset.h"
#include "bench/StoreSession.h"

// pelko_bench_memory DATA ROWS: the resident memory of a process that has run a fixed mix of operations on a
// file of that size, as JSON. A process of its own for each size; on Linux only.

namespace {

using namespace pelkoapi;
using namespace pelkobench;

/// A line of /proc/self/status, in KiB.
long statusKib(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, name.size(), name) == 0) {
            return std::atol(line.c_str() + name.size() + 1);
        }
    }
    return 0;
}

void readPages(PelkoDBManager& manager, int rows) {
    const long long step = rows / 50;
    for (const PelkoChatTarget& target :
         {Dataset::busiestRoom(), Dataset::busiestGroup(), Dataset::busiestPeer(), Dataset::quietPeer()}) {
        for (int i = 0; i < 50; ++i) {
            std::deque<PelkoMessage> page;
            manager.getLatestMessages(target, pageSize, page);
            // From an anchor anywhere in the file: the statement takes no more than its date.
            manager.getHistoryMessages(target, step * (i + 1), pageSize, page);
        }
        for (int i = 0; i < 50; ++i) {
            manager.getUnreadCountOfTarget(target);
            manager.getTotalUnreadCount();
        }
    }
}

void receive(PelkoDBManager& manager, const Dataset& data) {
    manager.beginTransaction();
    for (int i = 0; i < 1000; ++i) {
        PelkoMessage message = data.event(i);
        manager.insertMessage(&message);
        manager.updateSessionLastMsg(message.getTarget(), message.dbID);
        manager.updateMessageStatus(message.dbID, PelkoMessageStatusRead);
    }
    manager.commiteTransaction();
}

void readLists(PelkoDBManager& manager) {
    for (int i = 0; i < 3; ++i) {
        std::list<PelkoSession> sessions;
        manager.loadSessionList(sessions);
        std::vector<PelkoGroup> groups;
        manager.getGroupList(groups);
        std::vector<PelkoUser> friends;
        manager.getFriendList(friends);
    }
}

void runMix(const std::string& folder, int rows) {
    const Dataset data(rows);
    StoreSession store(folder);
    readLists(store.manager());
    readPages(store.manager(), rows);
    receive(store.manager(), data);
    readPages(store.manager(), rows);
    store.manager().clearUnreadStatus(Dataset::busiestPeer());
    std::vector<long long> newest(100);
    std::iota(newest.begin(), newest.end(), rows - 99);
    store.manager().deleteMessages(newest);
    std::printf("\"after_kib\": %ld, ", statusKib("VmRSS:"));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: pelko_bench_memory DATA ROWS\n", stderr);
        return 2;
    }
    try {
        const std::string data = argv[1];
        const std::string work = data + "/work_memory";
        const int rows = std::atoi(argv[2]);
        copyDataFiles(data, work, rows);
        std::printf("{\"rows\": %d, \"before_kib\": %ld, ", rows, statusKib("VmRSS:"));
        runMix(folderOf(work, rows, Variant::store), rows);
        std::printf("\"peak_kib\": %ld}\n", statusKib("VmHWM:"));
        std::filesystem::remove_all(work);
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "pelko_bench_memory: %s\n", exception.what());
        return 1;
    }
    return 0;
}
