#include "tools/pelko/file/MessageRow.h"

#include <cstdlib>

namespace pelkotool {

using pelkoapi::PelkoChatTarget;
using pelkoapi::PelkoChatTargetType;
using pelkoapi::PelkoMessage;

const char* const placeColumns = "date, msg_id, db_id";

const char* const messageColumns =
    "msg_id, db_id, type, date, text, media_type, media_path, ex_media_path, media_url, media_status, "
    "duration, "
    "receiver_type, receiver_id, sender_type, sender_id, status, extra_path";

namespace {

/// Kinds that nobody knows keep their number.
template <typename Kind>
Kind kindOf(const Statement& row, int column) {
    return static_cast<Kind>(static_cast<int>(row.integer(column)));
}

PelkoChatTarget targetOf(const Statement& row, int typeColumn, int idColumn) {
    const auto type = kindOf<PelkoChatTargetType>(row, typeColumn);
    const std::string id = row.text(idColumn);
    if (type == pelkoapi::PelkoChatTargetTypeUser) {
        return PelkoChatTarget(id);
    }
    return {std::strtoll(id.c_str(), nullptr, 10), type};
}

}  // namespace

PelkoMessage messageOf(const Statement& row) {
    PelkoMessage message(row.integer(0));
    message.dbID = row.integer(1);
    message.type = kindOf<pelkoapi::PelkoMessageType>(row, 2);
    message.date = static_cast<unsigned int>(row.integer(3));
    message.text = row.text(4);
    message.media.type = kindOf<pelkoapi::PelkoMediaType>(row, 5);
    message.media.path = row.text(6);
    message.media.pathEx = row.text(7);
    message.media.url = row.text(8);
    message.media.status = kindOf<pelkoapi::PelkoMediaStatus>(row, 9);
    message.media.duration = static_cast<unsigned int>(row.integer(10));
    message.receiver = targetOf(row, 11, 12);
    message.sender = targetOf(row, 13, 14);
    message.status = kindOf<pelkoapi::PelkoMessageStatus>(row, 15);
    message.extraText = row.text(16);
    return message;
}

MessagePlace placeOf(const Statement& row) {
    return {row.integer(0), row.integer(1), row.integer(2)};
}

}  // namespace pelkotool
