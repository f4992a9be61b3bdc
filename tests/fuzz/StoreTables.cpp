#include "tests/fuzz/StoreTables.h"

#include <cstdlib>

#include "tests/support/TestPlatform.h"

namespace pelkotest {

namespace {

using namespace pelkoapi;

std::string relativePath(const std::string& path) {
    const std::string root = platform().appRoot + "/";
    return path.rfind(root, 0) == 0 ? path.substr(root.size()) : path;
}

}  // namespace

const char* const oldFileSql =
    "INSERT INTO tbl_msg (msg_id, db_id, type, date, text, media_type, media_path, ex_media_path, media_url, "
    "media_status, duration, receiver_type, receiver_id, sender_type, sender_id, status, extra_path) VALUES "
    "(100, 1, 1, 50, '', 1, 'b/c.amr', 'a.jpg', 'u', 1, 0, 0, 'me', 0, 'alice', 1, ''),"
    "(0, 2, 2, 50, '', 2, 'a.jpg', 'b/c.amr', 'u', 3, 9, 1, '7', 0, 'me', 3, ''),"
    "(77, 4294967295, 0, -5, 'late', 0, '', '', '', 1, 0, 2, '77', 0, 'bob', 3, 'extra');"
    "INSERT INTO sqlite_sequence (name, seq) VALUES ('tbl_notify', 2147483645);"
    "INSERT INTO tbl_last_msg_id (key, last_msg_id) VALUES ('bob', 0), ('alice', -3);";

StoreTables oldFileTables() {
    StoreTables tables;
    MessageRow image;
    image.id = 100;
    image.dbID = 1;
    image.type = 1;
    image.date = 50;
    image.mediaType = 1;
    image.media = {"u", "b/c.amr", "a.jpg"};
    image.mediaStatus = 1;
    image.receiver = {0, "me"};
    image.sender = {0, "alice"};
    image.status = 1;
    tables.messages[1] = image;

    MessageRow audio;
    audio.dbID = 2;
    audio.type = 2;
    audio.date = 50;
    audio.mediaType = 2;
    audio.media = {"u", "a.jpg", "b/c.amr"};
    audio.mediaStatus = 3;
    audio.duration = 9;
    audio.receiver = {1, "7"};
    audio.sender = {0, "me"};
    audio.status = 3;
    tables.messages[2] = audio;

    MessageRow late;
    late.id = 77;
    late.dbID = 4294967295;
    late.date = -5;
    late.text = "late";
    late.mediaStatus = 1;
    late.receiver = {2, "77"};
    late.sender = {0, "bob"};
    late.status = 3;
    late.extra = "extra";
    tables.messages[late.dbID] = late;

    tables.lastNotification = 2147483645;
    tables.lastMsgIds = {{"bob", 0}, {"alice", -3}};
    return tables;
}

std::string stored(const std::string& value) {
    return value.substr(0, value.find('\0'));
}

bool breaks(const std::string& value) {
    return stored(value).find('\'') != std::string::npos;
}

bool breaks(const PelkoMedia& media) {
    return breaks(media.url) || breaks(relativePath(media.path)) || breaks(relativePath(media.pathEx));
}

PartyRow stored(const PelkoChatTarget& target) {
    switch (static_cast<int>(target.type)) {
        case 0:
            return {target.type, stored(target.name)};
        case 1:
        case 2:
        case 3:
            return {target.type, std::to_string(target.id)};
        default:
            return {target.type, ""};
    }
}

MediaRow stored(const PelkoMedia& media) {
    return {stored(media.url), stored(relativePath(media.path)), stored(relativePath(media.pathEx))};
}

PelkoChatTarget target(const PartyRow& row) {
    PelkoChatTarget target;
    if (row.type < 0 || row.type > 3) {
        return target;
    }
    target.type = static_cast<PelkoChatTargetType>(row.type);
    if (row.type == PelkoChatTargetTypeUser) {
        target.name = row.id;
        return target;
    }
    target.id = std::atoll(row.id.c_str());
    if (row.type != PelkoChatTargetTypeGroup) {
        target.id = static_cast<unsigned>(target.id);
    }
    return target;
}

std::string fullPath(const std::string& path) {
    return path.empty() || path.front() == '/' ? path : platform().appRoot + "/" + path;
}

void read(const MediaRow& row, PelkoMedia& media) {
    media.url = row.url;
    media.path = fullPath(row.path);
    media.pathEx = fullPath(row.pathEx);
}

}  // namespace pelkotest
