#ifndef PELKO_TOOL_FILE_MESSAGE_ROW_H
#define PELKO_TOOL_FILE_MESSAGE_ROW_H

#include <tuple>

#include "PelkoMessage.h"
#include "tools/pelko/file/Database.h"

namespace pelkotool {

/// The columns that messageOf() reads, to stand behind SELECT. First in the result.
extern const char* const messageColumns;

/// The message of the statement's row, as the store would read it, but for the paths, which stay as stored.
pelkoapi::PelkoMessage messageOf(const Statement& row);

/// A message's place in its conversation. Dates as the store keeps and orders them: as signed numbers.
struct MessagePlace {
    long long date = 0;
    long long msgId = 0;
    long long row = 0;

    bool operator<(const MessagePlace& other) const {
        return std::tie(date, msgId, row) < std::tie(other.date, other.msgId, other.row);
    }
};

/// The columns that placeOf() reads. First in the result.
extern const char* const placeColumns;

MessagePlace placeOf(const Statement& row);

}  // namespace pelkotool

#endif  // PELKO_TOOL_FILE_MESSAGE_ROW_H
