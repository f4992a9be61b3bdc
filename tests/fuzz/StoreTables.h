#ifndef PELKO_TESTS_FUZZ_STORE_TABLES_H
#define PELKO_TESTS_FUZZ_STORE_TABLES_H

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "PelkoChatTarget.h"

// The tables of the store as plain rows, and the rules by which a value of a record becomes a stored one.

namespace pelkotest {

/// A chat target as it is stored.
struct PartyRow {
    int type = 0;
    std::string id;
};

/// An attachment or icon as it is stored.
struct MediaRow {
    std::string url;
    std::string path;
    std::string pathEx;
};

struct MessageRow {
    long long id = 0;
    long long dbID = 0;
    int type = 0;
    int date = 0;
    std::string text;
    int mediaType = 0;
    MediaRow media;
    int mediaStatus = 0;
    int duration = 0;
    PartyRow receiver;
    PartyRow sender;
    int status = 0;
    std::string extra;
};

struct RelationRow {
    std::string name;
    int relation = 0;
};

struct UserRow {
    std::string nickname;
    MediaRow icon;
    std::string info;
    int gender = 0;
    int version = 0;
};

struct RoomRow {
    std::string name;
    MediaRow icon;
    bool isTop = false;
    std::string info;
    int capacity = 0;
    int onlineNumber = 0;
    int version = 0;
};

struct GroupRow {
    std::string name;
    MediaRow icon;
    std::string info;
    int capacity = 0;
    int type = 0;
    std::string owner;
    int version = 0;
    bool needAuth = false;
};

struct SessionRow {
    PartyRow target;
    long long lastMsgId = 0;
    long long isTop = 0;
    int priority = 0;
};

struct NotifyPartyRow {
    int type = 0;
    long long id = 0;
    std::string name;
};

struct NotifyRow {
    long long date = 0;
    bool isRead = false;
    NotifyPartyRow sender;
    NotifyPartyRow receiver;
    NotifyPartyRow from;
    bool isSystem = false;
    bool response = false;
    int type = 0;
    std::string text;
};

struct StoreTables {
    std::map<long long, MessageRow> messages;  // by row id
    std::vector<RelationRow> relations;        // in the order of adding, as all vectors here
    std::map<std::string, UserRow> users;
    std::map<long long, RoomRow> rooms;
    std::map<long long, GroupRow> groups;
    std::vector<long long> groupList;
    std::vector<SessionRow> sessions;
    std::map<long long, NotifyRow> notifications;
    long long lastNotification = 0;  // the largest row id ever given out
    std::map<std::string, long long> lastMsgIds;
    std::map<std::pair<int, std::string>, int> settings;
};

/// What a file may hold that was written by somebody else or is very old: row ids beyond 32 bits, marks that
/// are no ids, and what was under way when its client ended.
StoreTables oldFileTables();
/// The statements that put the same into an empty file.
extern const char* const oldFileSql;

/// A string as it enters a statement: up to its first NUL byte.
std::string stored(const std::string& value);

/// Whether a value that is not escaped makes its statement fail: it has a single quote.
bool breaks(const std::string& value);
/// The same of an attachment's or icon's texts, which all are not escaped.
bool breaks(const pelkoapi::PelkoMedia& media);

PartyRow stored(const pelkoapi::PelkoChatTarget& target);
MediaRow stored(const pelkoapi::PelkoMedia& media);

/// The target of a stored pair: a bare one of that kind, or none for an unknown kind.
pelkoapi::PelkoChatTarget target(const PartyRow& row);
/// Sets url and paths of the record, as full paths.
void read(const MediaRow& row, pelkoapi::PelkoMedia& media);
std::string fullPath(const std::string& path);

}  // namespace pelkotest

#endif  // PELKO_TESTS_FUZZ_STORE_TABLES_H
