#include "tools/pelko/export/RowImport.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "tools/pelko/export/JsonLinesFormat.h"
#include "tools/pelko/file/Tables.h"

namespace pelkotool {

namespace {

/// Whether a declared type holds the word, which is in capitals.
bool declares(const std::string& type, const char* word) {
    std::string capitals = type;
    for (char& c : capitals) {
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    return capitals.find(word) != std::string::npos;
}

const char* storageClassOf(const StoredValue& value) {
    constexpr const char* names[] = {"null", "integer", "real", "text", "blob"};
    return names[value.index()];
}

/// @param value  outlives the statement's run. @return SQLite's code
int bindStored(sqlite3_stmt* statement, int parameter, const StoredValue& value) {
    return std::visit(
        [&](const auto& v) {
            using Type = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<Type, long long>) {
                return sqlite3_bind_int64(statement, parameter, v);
            } else if constexpr (std::is_same_v<Type, double>) {
                return sqlite3_bind_double(statement, parameter, v);
            } else if constexpr (std::is_same_v<Type, std::string>) {
                return sqlite3_bind_text64(statement, parameter, v.data(), v.size(), SQLITE_STATIC,
                                           SQLITE_UTF8);
            } else if constexpr (std::is_same_v<Type, Blob>) {
                return sqlite3_bind_blob64(statement, parameter, v.bytes.data(), v.bytes.size(),
                                           SQLITE_STATIC);
            } else {
                return sqlite3_bind_null(statement, parameter);
            }
        },
        value);
}

}  // namespace

RowImport::RowImport(const Database& database) : mDatabase(database) {
    for (const TableLayout& table : expectedTables()) {
        addTable(table.name);
        mInserted.emplace_back(table.name, 0);
    }
}

void RowImport::addTable(const std::string& name) {
    std::vector<Column> columns;
    std::size_t keyColumns = 0;
    std::size_t integerKey = 0;
    bool isIntegerKey = false;
    Statement info = mDatabase.prepare("PRAGMA table_info(" + name + ')');
    while (info.step()) {
        const std::string type = info.text(2);
        if (info.integer(5) > 0) {
            ++keyColumns;
            isIntegerKey = declares(type, "INTEGER") && type.size() == std::strlen("INTEGER");
            integerKey = columns.size();
        }
        columns.push_back({info.text(1), declares(type, "INT"), declares(type, "TEXT")});
    }
    const std::size_t ofRowId = keyColumns == 1 && isIntegerKey ? integerKey : columns.size();
    std::string names = "rowid";
    std::string parameters = "?1";
    std::string classes;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::string quoted = quotedName(columns[i].name);
        classes += (i == 0 ? "typeof(" : ", typeof(") + quoted + ')';
        if (i != ofRowId) {
            names += ", " + quoted;
            parameters += ", ?" + std::to_string(i + 2);
        }
    }
    mTables.emplace(
        name, Table{name, columns, ofRowId,
                    mDatabase.prepare("INSERT INTO " + name + " (" + names + ") VALUES (" + parameters + ')'),
                    mDatabase.prepare("SELECT " + classes + " FROM " + name + " WHERE rowid = ?1")});
}

void RowImport::insert(const ExportRecord& record) {
    const auto* const name = record.findOf<std::string>(key::table);
    if (name == nullptr) {
        throw LineError("names no table");
    }
    if (*name == sequenceTable) {
        setSequence(record);
        return;
    }
    const auto table = mTables.find(*name);
    if (table == mTables.end()) {
        throw LineError("is of the table " + nameInError(*name) + ", which the store does not have");
    }
    insertRow(table->second, record);
    std::find_if(mInserted.begin(), mInserted.end(), [&](const auto& count) {
        return count.first == *name;
    })->second += 1;
}

void RowImport::insertRow(Table& table, const ExportRecord& record) {
    const auto* const rowId = record.findOf<long long>(key::rowId);
    if (rowId == nullptr) {
        throw LineError("has no rowid, or one that is no integer");
    }
    const std::vector<const StoredValue*> values = valuesOf(table, record);
    if (table.rowIdColumn < values.size() && values[table.rowIdColumn] != nullptr) {
        const auto* const same = std::get_if<long long>(values[table.rowIdColumn]);
        if (same == nullptr || *same != *rowId) {
            throw LineError("has another " + table.columns[table.rowIdColumn].name + " than rowid");
        }
    }
    const StoredValue null;
    table.insert.bind(1, *rowId);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const StoredValue& value = values[i] != nullptr ? *values[i] : null;
        if (i != table.rowIdColumn &&
            bindStored(table.insert.handle(), static_cast<int>(i) + 2, value) != SQLITE_OK) {
            throw LineError("has a value of " + table.columns[i].name + " that is too long for the store");
        }
    }
    run(table.insert);
    if (mayBeConverted(table, values)) {
        requireKept(table, values, *rowId);
    }
}

/// The line's values at the places of the table's columns; null for those that the line leaves out.
std::vector<const StoredValue*> RowImport::valuesOf(const Table& table, const ExportRecord& record) {
    std::vector<const StoredValue*> values(table.columns.size());
    for (const auto& [field, value] : record.fields) {
        if (field == key::table || field == key::rowId || field == key::derived) {
            continue;
        }
        const std::string name = columnOfKey(field);
        const auto column = std::find_if(table.columns.begin(), table.columns.end(),
                                         [&](const Column& known) { return known.name == name; });
        if (column == table.columns.end()) {
            throw LineError("has the column " + nameInError(name) + ", which the store's " + table.name +
                            " does not");
        }
        if (std::holds_alternative<NoValue>(value)) {
            throw LineError("has a value of " + name + " that no column can hold");
        }
        values[static_cast<std::size_t>(column - table.columns.begin())] = &value;
    }
    return values;
}

/// Whether SQLite looks at one of the values again: a number in a column of texts, a text or a real number in
/// one of integers.
bool RowImport::mayBeConverted(const Table& table, const std::vector<const StoredValue*>& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i] == nullptr || std::holds_alternative<std::monostate>(*values[i]) ||
            std::holds_alternative<Blob>(*values[i])) {
            continue;
        }
        const Column& column = table.columns[i];
        const bool isItsOwn = (column.holdsIntegers && std::holds_alternative<long long>(*values[i])) ||
                              (column.holdsTexts && std::holds_alternative<std::string>(*values[i]));
        if (!isItsOwn) {
            return true;
        }
    }
    return false;
}

void RowImport::requireKept(Table& table, const std::vector<const StoredValue*>& values, long long rowId) {
    table.classes.bind(1, rowId);
    if (!table.classes.step()) {
        throw LineError("is a row that the store did not keep");
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::string kept = table.classes.text(static_cast<int>(i));
        if (values[i] != nullptr && kept != storageClassOf(*values[i])) {
            throw LineError("has a value of the class " + std::string(storageClassOf(*values[i])) + " in " +
                            table.columns[i].name + ", of which the store would make one of the class " +
                            kept);
        }
    }
    table.classes.reset();
}

void RowImport::setSequence(const ExportRecord& record) {
    const auto* const name = record.findOf<std::string>("name");
    const auto* const last = record.findOf<long long>("seq");
    if (name == nullptr || *name != sequencedTable || last == nullptr || *last < 0) {
        throw LineError("is no sequence of " + std::string(sequencedTable));
    }
    // An account that is empty now may have given out ids before.
    Statement raise = mDatabase.prepare("UPDATE sqlite_sequence SET seq = max(seq, ?2) WHERE name = ?1");
    raise.bind(1, *name).bind(2, *last).run();
    if (sqlite3_changes(mDatabase.handle()) == 0) {
        Statement add = mDatabase.prepare("INSERT INTO sqlite_sequence (name, seq) VALUES (?1, ?2)");
        add.bind(1, *name).bind(2, *last).run();
    }
}

void RowImport::run(Statement& statement) const {
    try {
        statement.run();
    } catch (const SqliteError& error) {
        if (error.sqliteCode() == SQLITE_CONSTRAINT || error.sqliteCode() == SQLITE_TOOBIG) {
            throw LineError(std::string("is a row that the store refuses: ") +
                            sqlite3_errmsg(mDatabase.handle()));
        }
        throw;
    }
}

}  // namespace pelkotool
