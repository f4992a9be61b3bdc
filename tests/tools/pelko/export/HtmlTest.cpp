#include "tests/tools/pelko/export/HtmlTest.h"

#include <cstdlib>
#include <ctime>
#include <utility>

#include "tools/pelko/file/Conversations.h"
#include "tools/pelko/file/Database.h"

namespace pelkotest {

using pelkotool::Database;
using pelkotool::Statement;

void HtmlTest::SetUp() {
    setenv("TZ", "UTC", 1);
    tzset();
    runWell({"send", "user:nobody", "makes the file"});
    execute("DELETE FROM tbl_msg; DELETE FROM tbl_session");
}

void HtmlTest::TearDown() {
    unsetenv("TZ");
    tzset();
}

void HtmlTest::add(const std::string& table, const Columns& columns) const {
    std::string names;
    std::string places;
    for (const auto& column : columns) {
        names += (names.empty() ? "" : ", ") + column.first;
        places += places.empty() ? "?" : ", ?";
    }
    const Database file = Database::openToWrite(database());
    Statement insert = file.prepare("INSERT INTO " + table + " (" + names + ") VALUES (" + places + ")");
    int place = 0;
    for (const auto& column : columns) {
        insert.bind(++place, column.second);
    }
    insert.run();
}

void HtmlTest::addMessage(Columns columns) const {
    columns.insert({{"sender_type", "0"},
                    {"sender_id", "alice"},
                    {"receiver_type", "0"},
                    {"receiver_id", "me"},
                    {"type", "0"},
                    {"status", "2"},
                    {"date", "1709280000"}});  // 2024-03-01 08:00
    add("tbl_msg", columns);
}

void HtmlTest::addRoomMessages(int count) const {
    execute("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
            std::to_string(count) +
            ") INSERT INTO tbl_msg (msg_id, type, date, text, receiver_type, receiver_id, sender_type, "
            "sender_id, status) SELECT 0, 0, 1709280000 + i * 60, 'message ' || i, 1, '5001', 0, 'bob', 2 "
            "FROM n");
}

void HtmlTest::write(pelkotool::HtmlExport change) const {
    const Database file = Database::openToRead(database());
    change.folder = out();
    fs::create_directories(change.folder);
    if (change.me.empty()) {
        change.me = "me";
    }
    change.conversations = pelkotool::conversationsIn(file, change.me, change.range);
    pelkotool::writeHtml(file, change);
}

std::vector<fs::path> HtmlTest::pages() const {
    std::vector<fs::path> found;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(out())) {
        if (entry.path().extension() == ".html") {
            found.push_back(entry.path());
        }
    }
    return found;
}

std::size_t countOf(const std::string& part, const std::string& whole) {
    std::size_t count = 0;
    for (std::size_t at = whole.find(part); at != std::string::npos;
         at = whole.find(part, at + part.size())) {
        ++count;
    }
    return count;
}

}  // namespace pelkotest
