#include "tools/pelko/export/JsonLines.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <limits>
#include <set>
#include <vector>

#include "PelkoChatTarget.h"
#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Output.h"
#include "tools/pelko/Times.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/export/JsonLinesFormat.h"
#include "tools/pelko/export/JsonText.h"
#include "tools/pelko/file/Tables.h"

namespace pelkotool {

using pelkoapi::utf8Of;

namespace {

/// What tells which conversation a row of a table concerns: SQL for the kind and the id of its peer.
struct RowConcern {
    std::string type;
    std::string id;
};

RowConcern concernOf(const std::string& table) {
    if (table == "tbl_msg") {
        return {peerTypeSql, peerIdSql};
    }
    if (table == "tbl_session" || table == "tbl_msg_config") {
        return {"target_type", "target_id"};
    }
    if (table == "tbl_room") {
        return {std::to_string(pelkoapi::PelkoChatTargetTypeRoom), "CAST(room_id AS TEXT)"};
    }
    if (table == "tbl_group" || table == "tbl_group_list") {
        return {std::to_string(pelkoapi::PelkoChatTargetTypeGroup), "CAST(group_id AS TEXT)"};
    }
    if (table == "tbl_user" || table == "tbl_relationship") {
        return {std::to_string(pelkoapi::PelkoChatTargetTypeUser), "username"};
    }
    if (table == "tbl_notify") {
        return {"from_type", "CAST(from_id AS TEXT)"};
    }
    return {"NULL", "NULL"};  // sync marks: their keys are the client's
}

/// The moment as a JSON value.
std::string momentJson(std::optional<long long> seconds) {
    constexpr long long greatest = std::numeric_limits<unsigned int>::max();
    return seconds ? '"' + isoTime(static_cast<unsigned int>(std::min(*seconds, greatest))) + '"' : "null";
}

class JsonLinesWriter {
public:
    JsonLinesWriter(const Database& database, const JsonLinesExport& what)
        : mDatabase(database),
          mWhat(what),
          mPath(what.folder / jsonLinesName),
          mFile(mPath, std::ios::binary | std::ios::trunc) {
        check();
    }

    JsonLinesWritten write() {
        writeHeader();
        for (const TableLayout& table : expectedTables()) {
            writeTable(table.name);
        }
        writeSequence();
        mLine = "{\"record\":\"end\",\"rows\":" + std::to_string(mWritten.rows) + '}';
        writeLine();
        mFile.close();
        check();
        return mWritten;
    }

private:
    void check() const {
        if (!mFile) {
            throw ToolError("cannot write " + utf8Of(mPath) + ": " + std::strerror(errno) +
                            "; make room there, or name another place");
        }
    }

    void writeLine() {
        mLine += '\n';
        mFile.write(mLine.data(), static_cast<std::streamsize>(mLine.size()));
        check();
    }

    void writeRow() {
        ++mWritten.rows;
        mWritten.tooLong += mLine.size() > longestLine ? 1 : 0;
        writeLine();
    }

    void writeHeader() {
        const Selection& selection = mWhat.selection;
        mLine = R"({"record":"export","format":)" + std::to_string(jsonLinesFormat) +
                R"(,"tool":"pelko )" PELKO_VERSION R"(","account":)";
        if (selection.me.empty()) {
            mLine += "null";
        } else {
            appendText(mLine, selection.me);
        }
        mLine += R"(,"exported_at":)" + momentJson(now()) + R"(,"only":)";
        if (selection.only) {
            const char* separator = "[";
            for (const Peer& peer : *selection.only) {
                mLine += separator;
                appendText(mLine, peerText(peer));
                separator = ",";
            }
            mLine += ']';
        } else {
            mLine += "null";
        }
        const DateRange& range = selection.range;
        mLine += R"(,"since":)" + momentJson(range.since) + R"(,"until":)" +
                 momentJson(range.before ? std::optional(*range.before - 1) : std::nullopt) + R"(,"media":)";
        appendText(mLine, mWhat.media);
        mLine += '}';
        writeLine();
    }

    /// The columns that the file's table has, which may be others than the store's.
    std::vector<std::string> columnsOf(const std::string& table) const {
        std::vector<std::string> columns;
        Statement info = mDatabase.prepare("PRAGMA table_info(" + table + ')');
        while (info.step()) {
            columns.push_back(info.text(1));
        }
        return columns;
    }

    /// One of the three names of the row id that no column has taken.
    std::string rowIdNameIn(const std::string& table, const std::vector<std::string>& columns) const {
        for (const char* const name : {"rowid", "_rowid_", "oid"}) {
            const bool isTaken = std::any_of(columns.begin(), columns.end(), [&](const std::string& column) {
                return sqlite3_stricmp(column.c_str(), name) == 0;
            });
            if (!isTaken) {
                return name;
            }
        }
        throw ToolError(utf8Of(mDatabase.file()) + ": the columns of " + table +
                        " hide its row ids; 'pelko inspect' shows them");
    }

    void writeTable(const std::string& table) {
        const std::vector<std::string> columns = columnsOf(table);
        if (columns.empty()) {
            return;  // a file that an older client has made
        }
        const bool isMessages = table == "tbl_msg";
        const RowConcern concern = concernOf(table);
        std::string sql = "SELECT " + rowIdNameIn(table, columns);
        for (const std::string& column : columns) {
            sql += ", " + quotedName(column);
        }
        // Behind the columns, so that looking at them converts no value that is still to be written.
        sql += ", " + concern.type + ", " + concern.id;
        if (isMessages) {
            sql += ", date, sender_type, sender_id, media_path, ex_media_path";
        }
        if (table == "tbl_notify") {
            sql += ", date";
        }
        Statement row = mDatabase.prepare(sql + " FROM " + table + " ORDER BY 1");
        if (isMessages) {
            row.bind(1, mWhat.selection.me);
        }
        const std::vector<std::string> heads = headsOf(columns);
        const int behind = static_cast<int>(columns.size()) + 1;
        for (std::size_t read = 0; row.step();) {
            const Peer peer{row.integer(behind), row.text(behind + 1)};
            if (isMessages ? takesMessage(row, peer, behind + 2) : takesRow(table, peer)) {
                mLine = R"({"table":")" + table + R"(","rowid":)" + std::to_string(row.integer(0));
                for (std::size_t i = 0; i < heads.size(); ++i) {
                    mLine += heads[i];
                    appendValue(mLine, row, static_cast<int>(i) + 1);
                }
                appendDerived(table, row, peer, behind + 2);
                mLine += '}';
                writeRow();
            }
            if (isMessages) {
                mWhat.progress(++read);
            }
        }
    }

    /// What stands before each value: ,"name":
    static std::vector<std::string> headsOf(const std::vector<std::string>& columns) {
        std::vector<std::string> heads;
        std::transform(
            columns.begin(), columns.end(), std::back_inserter(heads), [](const std::string& column) {
                return ',' + Json(keyOfColumn(column)).dump(-1, ' ', false, Json::error_handler_t::replace) +
                       ':';
            });
        return heads;
    }

    /// @param behind  the column of the date; the sender's kind and name stand behind it
    bool takesMessage(const Statement& row, const Peer& peer, int behind) {
        if (!mWhat.selection.takes(peer, static_cast<unsigned int>(row.integer(behind)))) {
            return false;
        }
        if (mWhat.selection.only && row.integer(behind + 1) == pelkoapi::PelkoChatTargetTypeUser) {
            mSenders.insert(row.text(behind + 2));
        }
        return true;
    }

    bool takesRow(const std::string& table, const Peer& peer) const {
        // Profiles serve to read the messages; whom the account has blocked does not.
        return mWhat.selection.isChosen(peer) || (table == "tbl_user" && mSenders.count(peer.id) > 0);
    }

    /// What readers of the file would have to know the store for.
    void appendDerived(const std::string& table, const Statement& row, const Peer& peer, int behind) {
        Json derived = Json::object();
        if (table == "tbl_msg" || table == "tbl_session" || table == "tbl_msg_config") {
            derived["conversation"] = peerText(peer);
        }
        if (table == "tbl_msg" || table == "tbl_notify") {
            const bool isDated = sqlite3_column_type(row.handle(), behind) == SQLITE_INTEGER;
            derived["time"] =
                isDated ? Json(isoTime(static_cast<unsigned int>(row.integer(behind)))) : Json(nullptr);
        }
        if (table == "tbl_msg") {
            const auto name = [&](const char* field, int column) {
                if (const std::string place = mWhat.attachment(row.text(column)); !place.empty()) {
                    derived[field] = place;
                }
            };
            name("attachment", behind + 3);
            name("ex_attachment", behind + 4);
        }
        if (!derived.empty()) {
            mLine += R"(,"_":)" + derived.dump(-1, ' ', false, Json::error_handler_t::replace);
        }
    }

    void writeSequence() {
        Statement table = mDatabase.prepare("SELECT 1 FROM sqlite_master WHERE name = ?1");
        if (!table.bind(1, sequenceTable).step()) {
            return;
        }
        Statement row = mDatabase.prepare(
            "SELECT max(seq) FROM sqlite_sequence WHERE name = ?1 AND typeof(seq) = 'integer'");
        if (row.bind(1, sequencedTable).step() && !row.isNull(0)) {
            mLine = R"({"table":"sqlite_sequence","name":"tbl_notify","seq":)" +
                    std::to_string(row.integer(0)) + '}';
            writeRow();
        }
    }

    const Database& mDatabase;
    const JsonLinesExport& mWhat;
    const std::filesystem::path mPath;
    std::ofstream mFile;
    std::string mLine;
    std::set<std::string> mSenders;  // of the messages that were written, where only some are asked for
    JsonLinesWritten mWritten;
};

}  // namespace

JsonLinesWritten writeJsonLines(const Database& database, const JsonLinesExport& what) {
    return JsonLinesWriter(database, what).write();
}

}  // namespace pelkotool
