#ifndef PELKO_TESTS_RELIABILITY_SUPPORT_STORED_ROWS_H
#define PELKO_TESTS_RELIABILITY_SUPPORT_STORED_ROWS_H

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

// What is in a database file, read past the store: through a connection of its own and the system's own
// files.

namespace pelkotest {

/// The rows of each table of the store, each as its values in SQL notation, in the order of their row ids.
using StoredRows = std::map<std::string, std::vector<std::string>>;

/// A file that is looked at again and again, as its other connections see it.
/// @throws std::runtime_error as storedRows()
class StoredFile {
public:
    explicit StoredFile(const std::string& path);

    /// Valid until the next call. They are read anew when anybody has changed anything since the last.
    const StoredRows& rows();
    /// Read from the file each time.
    std::string integrity();
    /// The statements that made its tables and indexes, in the order of their names.
    std::vector<std::string> schema();

private:
    using Connection = std::unique_ptr<sqlite3, int (*)(sqlite3*)>;
    using Statement = std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)>;

    void findTables();

    Connection mConnection;
    std::vector<std::pair<std::string, Statement>> mTables;  // each with the query for its rows, once asked
    Statement mCheck;
    Statement mVersion;
    std::vector<std::string> mRowsVersion;
    StoredRows mRows;
};

/// The rows of the file. @throws std::runtime_error when it cannot be read to its end
StoredRows storedRows(const std::string& path);

/// What "PRAGMA integrity_check" says: "ok", or the first faults.
std::string integrityOf(const std::string& path);

/// The difference of two states as text for a failure message; empty when they are equal.
std::string difference(const StoredRows& expected, const StoredRows& actual);

}  // namespace pelkotest

#endif  // PELKO_TESTS_RELIABILITY_SUPPORT_STORED_ROWS_H
