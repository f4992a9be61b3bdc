#include "tests/fuzz/OperationRun.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <utility>

#include "tests/fuzz/FuzzFeatures.h"
#include "tests/fuzz/FuzzFolder.h"
#include "tests/support/TestPlatform.h"

namespace pelkotest {

namespace {

using namespace pelkoapi;

/// The folder that all inputs use, with the files that they begin with.
struct StartFiles {
    FuzzFolder folder;
    std::string empty;
    std::string old;

    StartFiles() {
        PelkoDBManager* const manager = PelkoDBManager::getInstance();
        manager->setUp();
        manager->tearDown();
        empty = folder.readDatabase();
        runSql(folder.databasePath(), oldFileSql);
        old = folder.readDatabase();
    }
};

/// Past control bytes and what is no ASCII, so that a terminal shows what there is.
std::string printable(const std::string& text) {
    std::string shown;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        char hex[8];
        std::snprintf(hex, sizeof hex, "\\x%02x", byte);
        shown += c == '\n' || (byte >= 0x20 && byte < 0x7f) ? std::string(1, c) : hex;
    }
    return shown;
}

/// A log line in the short form of the model.
std::string shortForm(const std::string& line) {
    const std::string notReady = "db is not ready(";
    if (line.rfind(notReady, 0) == 0) {
        return line.substr(notReady.size(), line.find(", line:") - notReady.size()) + " not ready";
    }
    if (line == "db is not correctly closed.") {
        return "not closed";
    }
    const std::string failed = " failed, exception in (";
    const std::size_t found = line.find(failed);
    return found != std::string::npos ? line.substr(0, found) + " failed" : line;
}

std::string lines(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) {
        all += text + '\n';
    }
    return all;
}

std::string sortedLines(std::vector<std::string> texts) {
    std::sort(texts.begin(), texts.end());
    return lines(texts);
}

}  // namespace

OperationRun::OperationRun(const FuzzInput& bytes)
    : input(bytes), model({}), mManager(PelkoDBManager::getInstance()) {
    static const StartFiles start;
    const bool old = input.flag();
    start.folder.reset(old ? start.old : start.empty, "");
    model = StoreModel(old ? oldFileTables() : StoreTables());
    both("setUp", old ? "an old file" : "an empty file", [](auto& store) { return told(store.setUp()); });
}

OperationRun::~OperationRun() {
    mManager->tearDown();
    if (std::getenv("PELKO_FUZZ_ACCOUNT") != nullptr) {
        std::fputs(printable(lines(mAccount)).c_str(), stderr);
    }
}

void OperationRun::begin(const char* name, const std::string& arguments) {
    mNameBefore = std::exchange(mName, name);
    mAccount.push_back(std::string(name) + '(' + arguments + ')');
    platform().console.clear();
    platform().file.clear();
    platform().removed.clear();
    model.log.clear();
    model.removed.clear();
}

void OperationRun::compare(const std::string& stored, const std::string& expected) {
    mAccount.back() += " -> " + stored;
    if (stored != expected) {
        tellMismatch("the result", stored, expected);
    }
    std::vector<std::string> shortLines;
    for (const std::string& line : platform().file) {
        shortLines.push_back(shortForm(line));
    }
    if (shortLines != model.log) {
        tellMismatch("the log file", lines(platform().file), lines(model.log));
    }
    noteFeature(mNameBefore + ' ' + mName);
    noteFeature(mName + ' ' + stored.substr(0, 5) + lines(shortLines));
    std::vector<std::string> prefixed;
    for (const std::string& line : platform().file) {
        prefixed.push_back("[pelko]" + line);
    }
    if (platform().console != prefixed) {
        tellMismatch("the console", lines(platform().console), lines(prefixed));
    }
    // The order of several messages' files is not promised.
    if (sortedLines(platform().removed) != sortedLines(model.removed)) {
        tellMismatch("the removed files", sortedLines(platform().removed), sortedLines(model.removed));
    }
}

void OperationRun::tellMismatch(const char* what, const std::string& stored,
                                const std::string& expected) const {
    std::string text = "The calls of this input:\n" + lines(mAccount);
    text += std::string("In the last one ") + what + " differs.\n";
    text += "Store:\n" + stored + "\nModel:\n" + expected + "\n";
    std::fputs(printable(text).c_str(), stderr);
    std::fflush(stderr);
    std::abort();
}

void OperationRun::readBack() {
    for (const char* const table :
         {"tbl_msg", "tbl_relationship", "tbl_user", "tbl_room", "tbl_group", "tbl_group_list", "tbl_session",
          "tbl_notify", "tbl_last_msg_id", "tbl_msg_config"}) {
        both("queryCount", table, [&](auto& store) { return told(store.queryCount(table, "1 = 1")); });
    }
    readMessagesBack();
    readContactsBack();
    readOthersBack();
}

void OperationRun::readMessagesBack() {
    std::set<std::string> pagesRead;
    for (const auto& [dbID, row] : model.tables().messages) {
        const s64 id = dbID;
        both("getMessage", told(id), [&](auto& store) { return told(store.getMessage(id)); });
        for (const PelkoChatTarget& peer : {target(row.sender), target(row.receiver)}) {
            const std::string name = told(peer);
            both("getHistoryMessages", name + ", " + told(id), [&](auto& store) {
                std::deque<PelkoMessage> page;
                const bool result = store.getHistoryMessages(peer, id, 2, page);
                return told(result) + '\n' + recordsText(page);
            });
            if (!pagesRead.insert(name).second) {
                continue;
            }
            both("getLatestMessages", name, [&](auto& store) {
                std::deque<PelkoMessage> page;
                const bool result = store.getLatestMessages(peer, 1000, page);
                return told(result) + '\n' + recordsText(page);
            });
        }
    }
    both("getTotalUnreadCount", "", [](auto& store) { return told(store.getTotalUnreadCount()); });
    both("loadSessionList", "", [](auto& store) {
        std::list<PelkoSession> sessions;
        const bool result = store.loadSessionList(sessions);
        return told(result) + '\n' + recordsText(sessions);
    });
}

void OperationRun::readContactsBack() {
    both("getFriendList", "", [](auto& store) {
        std::vector<PelkoUser> users;
        const bool result = store.getFriendList(users);
        return told(result) + '\n' + recordsText(users);
    });
    both("getBlockList", "", [](auto& store) {
        std::vector<PelkoUser> users;
        const bool result = store.getBlockList(users);
        return told(result) + '\n' + recordsText(users);
    });
    for (const auto& entry : model.tables().users) {
        both("getUserInfo", entry.first, [&](auto& store) { return told(store.getUserInfo(entry.first)); });
        both("getTargetInfoVersion", entry.first,
             [&](auto& store) { return told(store.getTargetInfoVersion(PelkoUser(entry.first))); });
    }
    both("getRoomList", "", [](auto& store) {
        std::vector<PelkoRoom> rooms;
        const bool result = store.getRoomList(rooms);
        return told(result) + '\n' + recordsText(rooms);
    });
    both("getGroupList", "", [](auto& store) {
        std::vector<PelkoGroup> groups;
        const bool result = store.getGroupList(groups);
        return told(result) + '\n' + recordsText(groups);
    });
    for (const auto& entry : model.tables().groups) {
        const s64 id = entry.first;
        both("getGroupInfo", told(id), [&](auto& store) { return told(store.getGroupInfo(id)); });
    }
}

void OperationRun::readOthersBack() {
    both("loadNotifyList", "", [](auto& store) {
        std::vector<PelkoNotify> notifications;
        const bool result = store.loadNotifyList(notifications);
        return told(result) + '\n' + recordsText(notifications);
    });
    for (const auto& entry : model.tables().lastMsgIds) {
        both("getLastMsgID", entry.first, [&](auto& store) { return told(store.getLastMsgID(entry.first)); });
    }
    for (const auto& entry : model.tables().settings) {
        const PelkoChatTarget peer = target({entry.first.first, entry.first.second});
        both("getMsgConfig", told(peer), [&](auto& store) { return told(store.getMsgConfig(peer)); });
    }
}

}  // namespace pelkotest
