#include "tests/fuzz/StoreModel.h"

#include <stdexcept>

#include "tests/support/TestPlatform.h"

// The lifecycle, and how every operation fails.

namespace pelkotest {

using namespace pelkoapi;

bool StoreModel::ready(const char* operation) {
    if (!mIsOpen) {
        log.push_back(std::string(operation) + " not ready");
    }
    return mIsOpen;
}

bool StoreModel::failed(const char* operation) {
    log.push_back(std::string(operation) + " failed");
    return false;
}

bool StoreModel::changed(std::size_t rows) {
    mLastChanges = rows;
    return rows > 0;
}

bool StoreModel::refused(const char* operation) {
    mLastChanges = 0;
    return failed(operation);
}

bool StoreModel::setUp() {
    if (mIsOpen) {
        log.emplace_back("not closed");
        tearDown();
    }
    if (platform().createFileResult < 0) {
        return failed("setUp");
    }
    mIsOpen = true;
    mLastChanges = 0;
    repairInterrupted();
    return true;
}

void StoreModel::tearDown() {
    if (mBeforeTransaction) {
        mTables = std::move(*mBeforeTransaction);
        mBeforeTransaction.reset();
    }
    mIsOpen = false;
}

void StoreModel::repairInterrupted() {
    for (auto& [dbID, row] : mTables.messages) {
        const bool transfer =
            (row.type == 1 || row.type == 2) && (row.mediaStatus == 1 || row.mediaStatus == 3);
        if (transfer) {
            const std::string& path = row.type == 2 ? row.media.path : row.media.pathEx;
            row.mediaStatus = platform().existing.count(fullPath(path)) != 0 ? 2 : 3;
            mLastChanges = 1;
        }
        if (row.status == 3) {
            row.status = 5;
            mLastChanges = 1;
        }
    }
}

bool StoreModel::beginTransaction() {
    if (!ready("beginTransaction")) {
        return false;
    }
    if (mBeforeTransaction) {
        throw std::logic_error("within a transaction");
    }
    mBeforeTransaction = mTables;
    return mLastChanges != 0;
}

bool StoreModel::commiteTransaction() {
    if (!ready("commiteTransaction")) {
        return false;
    }
    if (!mBeforeTransaction) {
        throw std::logic_error("no transaction");
    }
    mBeforeTransaction.reset();
    return mLastChanges != 0;
}

std::string StoreModel::transStringQuote(const std::string& text) const {
    std::string quoted;
    for (const char c : text) {
        quoted += c == '\'' ? std::string("''") : std::string(1, c);
    }
    return quoted;
}

namespace {

std::optional<std::size_t> rowCount(const StoreTables& tables, const std::string& table) {
    const std::map<std::string, std::size_t> counts = {{"tbl_msg", tables.messages.size()},
                                                       {"tbl_relationship", tables.relations.size()},
                                                       {"tbl_user", tables.users.size()},
                                                       {"tbl_room", tables.rooms.size()},
                                                       {"tbl_group", tables.groups.size()},
                                                       {"tbl_group_list", tables.groupList.size()},
                                                       {"tbl_session", tables.sessions.size()},
                                                       {"tbl_notify", tables.notifications.size()},
                                                       {"tbl_last_msg_id", tables.lastMsgIds.size()},
                                                       {"tbl_msg_config", tables.settings.size()}};
    const auto found = counts.find(table);
    return found != counts.end() ? std::optional(found->second) : std::nullopt;
}

/// The rows that meet the condition, of which the model knows two; every other one is no valid SQL.
std::optional<std::size_t> matching(const StoreTables& tables, const std::string& table,
                                    const std::string& condition) {
    if (condition == "1 = 1") {
        return rowCount(tables, table);
    }
    return condition == "1 = 0" && rowCount(tables, table) ? std::optional<std::size_t>(0) : std::nullopt;
}

}  // namespace

bool StoreModel::checkIfRecordExist(const char* table, const char* condition) {
    const auto count = matching(mTables, table, condition);
    return mIsOpen && count ? *count > 0 : failed("checkIfRecordExist");
}

int StoreModel::queryCount(const char* table, const char* condition) {
    const auto count = matching(mTables, table, condition);
    if (!mIsOpen || !count) {
        failed("queryCount");
        return 0;
    }
    return static_cast<int>(*count);
}

}  // namespace pelkotest
