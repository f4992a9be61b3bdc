#ifndef PELKO_SQLITE_UNTRUSTED_FILE_H
#define PELKO_SQLITE_UNTRUSTED_FILE_H

#include <string>

struct sqlite3;

// A database file may come from a damaged medium, or from somebody who wants its reader to run his code. How
// every connection to one is opened so that it takes nothing on trust.

namespace pelkoapi {

/// Makes the connection refuse what a hostile or damaged file could do with it: no triggers, views, virtual
/// tables, extensions and attached files, no lengths beyond 128 MiB, no mapped memory, damaged pages found
/// when they are read. To be called before the first statement.
/// @return SQLITE_OK, or SQLite's code where one of them could not be had
int trustNothing(sqlite3* db);

/// The file as a URI for sqlite3_open_v2() with SQLITE_OPEN_URI. @param query  as "mode=ro"
std::string fileUri(const std::string& path, const std::string& query);

}  // namespace pelkoapi

#endif  // PELKO_SQLITE_UNTRUSTED_FILE_H
