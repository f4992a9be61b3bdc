#ifndef PELKO_SQLITE_DATABASE_KEY_H
#define PELKO_SQLITE_DATABASE_KEY_H

#include <string>

#include "classes/platform/Export.h"

struct sqlite3;

// The key of an encrypted database file, in a build whose SQLite is SQLCipher.

namespace pelkoapi {

/// @addtogroup access
/// @{

/// Sets the key with which every database is opened from now on, until another one is set; the empty one
/// clears it. Connections that are open keep theirs. Call it before PelkoDBManager::setUp(), from the thread
/// that calls the manager. With a key, a new file is encrypted, and a file that is not encrypted, or with
/// another key, does not open; nothing in it is changed.
/// In a build without SQLCipher no file opens while a key is set, so that nothing is stored unencrypted that
/// was meant not to be.
/// @param key  any bytes, at most 1 MiB. SQLCipher derives the file's key from them; 64 hexadecimal digits
///             within x'' are that key itself. Kept in memory, and overwritten there when another one is set.
PELKO_API void setDatabaseKey(const std::string& key);

/// Whether there is a key that is not empty.
PELKO_API bool isDatabaseKeySet();

/// @}
/// @cond INTERNAL

/// Gives a connection the key that is set, if one is. To be called right after it is opened, before any
/// statement. @throws CppSQLite3Exception when it cannot take the key
void useDatabaseKey(sqlite3* db);

/// What to say of a failure that a wrong key may explain; null for others, and while no key is set.
/// @param code  a result code of SQLite
const char* wrongKeyMessage(int code);

/// @endcond

}  // namespace pelkoapi

#endif  // PELKO_SQLITE_DATABASE_KEY_H
