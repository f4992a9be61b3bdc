#include "tools/pelko/salvage/TableMap.h"

#include <algorithm>
#include <string_view>

#include "classes/platform/Interrupt.h"
#include "tools/pelko/file/Database.h"

namespace pelkotool {

using pelkoapi::interrupted;

namespace {

/// A connection for texts that come from the file. It runs nothing but what makes a plain table or index, and
/// the value that a column's DEFAULT stands for: a text that was made to run for ever, or to claim memory, is
/// refused, and ends there.
class SchemaTexts {
public:
    SchemaTexts() : mDatabase(Database::inMemory()) {
        constexpr int stepsBetweenLooks = 1000;
        constexpr int longest = 1'000'000;
        sqlite3* const handle = mDatabase.handle();
        sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, longest);
        sqlite3_progress_handler(handle, stepsBetweenLooks, stop, this);
        sqlite3_set_authorizer(handle, authorize, this);
    }
    SchemaTexts(const SchemaTexts&) = delete;
    SchemaTexts& operator=(const SchemaTexts&) = delete;

    /// Runs a text of the file that makes a table or index, and nothing behind it.
    /// @return whether it made one
    bool create(const std::string& sql) {
        begin(Phase::creation);
        try {
            mDatabase.prepare(sql).run();
            return true;
        } catch (const SqliteError&) {
            return false;
        }
    }

    /// The value of a column in rows that were stored before it was added.
    Value fallbackOf(const std::string& expression) {
        if (expression.empty()) {
            return {};
        }
        begin(Phase::evaluation);
        try {
            const Statement statement = valueStatement(expression);
            return evaluatedValue(statement);
        } catch (const SqliteError&) {
            return {};
        }
    }

    /// A statement of this program about what was made.
    Statement question(const std::string& sql) {
        begin(Phase::question);
        return mDatabase.prepare(sql);
    }

private:
    enum class Phase { creation, evaluation, question };

    void begin(Phase phase) {
        mPhase = phase;
        mLooks = 0;
        mSelects = 0;
    }

    Statement valueStatement(const std::string& expression) const {
        Statement statement = mDatabase.prepare("SELECT " + expression);
        statement.step();
        return statement;
    }

    static Value evaluatedValue(const Statement& statement) {
        Value value;
        switch (sqlite3_column_type(statement.handle(), 0)) {
            case SQLITE_INTEGER:
                return Value::ofInteger(statement.integer(0));
            case SQLITE_FLOAT:
                value.kind = StorageClass::real;
                value.real = sqlite3_column_double(statement.handle(), 0);
                return value;
            case SQLITE_TEXT:
                return Value::ofText(statement.text(0));
            default:
                return value;
        }
    }

    static int stop(void* self) {
        constexpr int mostLooks = 100;  // enough for the tables and indexes of any client
        return interrupted() || ++static_cast<SchemaTexts*>(self)->mLooks > mostLooks ? 1 : 0;
    }

    static int authorize(void* self, int action, const char* first, const char* /*second*/,
                         const char* /*database*/, const char* /*cause*/) {
        return static_cast<SchemaTexts*>(self)->allows(action, first != nullptr ? first : "") ? SQLITE_OK
                                                                                              : SQLITE_DENY;
    }

    bool allows(int action, std::string_view name) {
        switch (mPhase) {
            case Phase::question:
                return true;
            case Phase::evaluation:
                return action == SQLITE_SELECT && ++mSelects == 1;  // none within the value
            case Phase::creation:
                break;
        }
        switch (action) {
            case SQLITE_CREATE_TABLE:
            case SQLITE_CREATE_INDEX:
            case SQLITE_REINDEX:  // a new index is filled
            case SQLITE_READ:     // by the condition of an index, which has no rows to read
                return true;
            case SQLITE_INSERT:
            case SQLITE_UPDATE:
                return name == "sqlite_master";
            default:
                return false;
        }
    }

    Database mDatabase;
    Phase mPhase = Phase::question;
    int mLooks = 0;
    int mSelects = 0;
};

bool textBeginsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

/// A column of the table as the file has it.
struct FileColumn {
    std::string name;
    std::string fallback;
    std::string type;
    bool isKey = false;
};

/// Those that stand in records, in their order there.
std::vector<FileColumn> columnsInRecords(SchemaTexts& texts, const TableLayout& layout) {
    std::vector<FileColumn> all;
    // Not the ones that are computed when they are read.
    Statement columns =
        texts.question("SELECT name, dflt_value, type, pk FROM pragma_table_xinfo(?) WHERE hidden <> 2");
    columns.bind(1, layout.name);
    while (columns.step()) {
        all.push_back({columns.text(0), columns.text(1), columns.text(2), columns.integer(3) == 1});
    }
    return all;
}

bool isSame(const std::string& a, const char* b) {
    return sqlite3_stricmp(a.c_str(), b) == 0;
}

std::optional<std::size_t> expectedColumn(const TableLayout& layout, const std::string& name) {
    const auto found = std::find_if(layout.columns.begin(), layout.columns.end(),
                                    [&](const Column& column) { return isSame(name, column.name); });
    return found != layout.columns.end()
               ? std::optional(static_cast<std::size_t>(found - layout.columns.begin()))
               : std::nullopt;
}

/// Takes columns of unknown names for the expected ones at their places, where none stands elsewhere and no
/// other is missing: a name was damaged, or changed.
void takeByPlace(const std::vector<FileColumn>& columns, TableMap& table) {
    const auto& expected = table.layout->columns;
    if (columns.size() != expected.size()) {
        return;
    }
    const bool anyName =
        std::any_of(table.places.begin(), table.places.end(), [](const auto& place) { return !!place; });
    std::vector<TakenColumn> taken;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const bool isKnown = expectedColumn(*table.layout, columns[i].name).has_value();
        if (isKnown == !table.places[i]) {
            return;
        }
        if (!isKnown) {
            if (!anyName && !isSame(columns[i].type, expected[i].type)) {
                return;
            }
            taken.push_back({columns[i].name, expected[i].name});
        }
    }
    for (std::size_t i = 0; i < columns.size(); ++i) {
        table.places[i] = table.places[i] ? table.places[i] : i;
    }
    table.takenColumns = std::move(taken);
}

/// @return whether the store's rows can be told from the table's
bool mapColumns(SchemaTexts& texts, TableMap& table) {
    const std::vector<FileColumn> columns = columnsInRecords(texts, *table.layout);
    table.recordColumns = columns.size();
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (const auto place = expectedColumn(*table.layout, columns[i].name)) {
            table.places[*place] = i;
        }
    }
    takeByPlace(columns, table);
    std::vector<bool> used(columns.size());
    bool hasAny = false;
    for (std::size_t i = 0; i < table.places.size(); ++i) {
        if (!table.places[i]) {
            table.missingColumns.emplace_back(table.layout->columns[i].name);
            continue;
        }
        const FileColumn& column = columns[*table.places[i]];
        used[*table.places[i]] = true;
        hasAny = true;
        table.fallbacks[i] = texts.fallbackOf(column.fallback);
        if (static_cast<int>(i) == rowIdColumn(*table.layout) &&
            !(isSame(column.type, "integer") && column.isKey)) {
            return false;
        }
    }
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (!used[i]) {
            table.otherColumns.push_back(columns[i].name);
        }
    }
    return hasAny;
}

/// The columns of an index; empty when it has one that is none of the store's, or an expression.
std::vector<std::size_t> columnsOfIndex(SchemaTexts& texts, const TableMap& table, const std::string& index) {
    std::vector<std::size_t> columns;
    Statement entries = texts.question("SELECT name, cid FROM pragma_index_xinfo(?) WHERE key = 1");
    entries.bind(1, index);
    while (entries.step()) {
        const auto found = expectedColumn(*table.layout, entries.text(0));
        if (entries.integer(1) < 0 || !found) {
            return {};
        }
        columns.push_back(*found);
    }
    return columns;
}

void mapIndexes(SchemaTexts& texts, TableMap& table, const std::vector<SchemaRow>& schema) {
    Statement list = texts.question("SELECT name FROM pragma_index_list(?) WHERE partial = 0");
    list.bind(1, table.layout->name);
    while (list.step()) {
        const std::string name = list.text(0);
        const auto row = std::find_if(schema.begin(), schema.end(), [&](const SchemaRow& one) {
            return !one.isTable && sqlite3_stricmp(one.name.c_str(), name.c_str()) == 0;
        });
        IndexMap index;
        index.name = name;
        index.columns = columnsOfIndex(texts, table, name);
        if (row != schema.end() && !index.columns.empty()) {
            index.root = row->root;
            index.certain = row->certain;
            table.indexes.push_back(index);
        }
    }
}

bool isTextColumn(const Column& column) {
    return std::string_view(column.type) == "text";
}

}  // namespace

std::optional<Row> TableMap::rowOf(std::int64_t rowId, const Record& record) const {
    if (record.empty() || record.size() > recordColumns) {
        return std::nullopt;
    }
    Row row;
    row.id = rowId;
    const int idColumn = rowIdColumn(*layout);
    for (std::size_t i = 0; i < layout->columns.size(); ++i) {
        if (static_cast<int>(i) == idColumn) {
            row.values.push_back(Value::ofInteger(rowId));  // its place in the record holds NULL
        } else if (!places[i]) {
            row.values.emplace_back();
        } else {
            row.values.push_back(*places[i] < record.size() ? record[*places[i]] : fallbacks[i]);
        }
    }
    return row;
}

TableMap mapTable(const TableLayout& layout, const std::vector<SchemaRow>& schema) {
    TableMap table;
    table.layout = &layout;
    table.places.resize(layout.columns.size());
    table.fallbacks.resize(layout.columns.size());
    const auto row = std::find_if(schema.begin(), schema.end(), [&](const SchemaRow& one) {
        return one.isTable && one.name == layout.name;
    });
    if (row == schema.end()) {
        return table;
    }
    SchemaTexts texts;
    // Only what makes a table: the text comes from the file.
    if (!textBeginsWith(row->sql, "CREATE TABLE ") || !texts.create(row->sql) || !mapColumns(texts, table)) {
        table.tooDifferent = true;
        return table;
    }
    for (const SchemaRow& index : schema) {
        if (!index.isTable && index.table == layout.name &&
            (textBeginsWith(index.sql, "CREATE INDEX ") ||
             textBeginsWith(index.sql, "CREATE UNIQUE INDEX "))) {
            texts.create(index.sql);
        }
    }
    mapIndexes(texts, table, schema);
    table.root = row->root;
    table.certain = row->certain;
    return table;
}

Fit fitOf(const Column& column, const Value& value) {
    switch (value.kind) {
        case StorageClass::null:
            return Fit::usual;
        case StorageClass::integer:
            return isTextColumn(column) ? Fit::impossible : Fit::usual;
        case StorageClass::real:
            return isTextColumn(column) ? Fit::impossible : Fit::odd;
        case StorageClass::text:
            return isTextColumn(column) ? Fit::usual : Fit::odd;
        case StorageClass::blob:
            break;
    }
    return Fit::odd;
}

Fit fitOf(const TableLayout& layout, const Record& values) {
    Fit worst = Fit::usual;
    for (std::size_t i = 0; i < layout.columns.size() && i < values.size(); ++i) {
        worst = std::min(worst, fitOf(layout.columns[i], values[i]));
    }
    return worst;
}

}  // namespace pelkotool
