#ifndef PELKO_TOOL_INSPECT_SCHEMA_DIFFERENCES_H
#define PELKO_TOOL_INSPECT_SCHEMA_DIFFERENCES_H

#include <string>
#include <vector>

#include "tools/pelko/file/Database.h"

namespace pelkotool {

/// One thing in which a file's schema is not what the store makes.
struct SchemaDifference {
    enum class Kind {
        missingTable,
        noPlainTable,  ///< a virtual table of a store's table's name
        missingColumn,
        extraColumn,
        otherType,
        otherPlace,
        missingKey,
        extraKey,
        otherKeyPlace,
        extraTable,
        view,
        trigger,
        missingIndex,
        extraIndex,
    };

    Kind kind = Kind::missingTable;
    std::string name;      ///< of the table, view, trigger or index; "table.column" of a column
    std::string expected;  ///< where there is something to expect, as a type or a place
    std::string found;
};

/// "missing column"
std::string wordsFor(SchemaDifference::Kind kind);

/// How the file's schema differs from the store's. Types compare without case, as SQLite takes them; the
/// place of a column is its place among those that the file and the store both have.
std::vector<SchemaDifference> schemaDifferences(const Database& database);

}  // namespace pelkotool

#endif  // PELKO_TOOL_INSPECT_SCHEMA_DIFFERENCES_H
