#ifndef PELKO_STORAGE_MEDIA_COLUMNS_H
#define PELKO_STORAGE_MEDIA_COLUMNS_H

#include <string>

#include "PelkoMedia.h"
#include "classes/sqlite/CppSQLite3.h"

// What a message's attachment and the icon of a user, room or group have in common in their rows: a url and
// the paths of two files. Paths are relative to the application's data root in the file and absolute in a
// record; none of the three is escaped in a statement.

namespace pelkoapi {

/// The three as they go between quotes into a statement.
struct MediaText {
    std::string url;
    std::string path;
    std::string pathEx;
};
MediaText mediaText(const PelkoMedia& media);

/// Reads the three, in this order, from the current row. @throws CppSQLite3Exception when a column is
/// missing; what was read before is then set
void readMedia(CppSQLite3Query& query, const char* urlColumn, const char* pathColumn,
               const char* pathExColumn, PelkoMedia& media);

}  // namespace pelkoapi

#endif  // PELKO_STORAGE_MEDIA_COLUMNS_H
