#ifndef PELKO_TESTS_TOOLS_SUPPORT_INSPECT_COMMAND_H
#define PELKO_TESTS_TOOLS_SUPPORT_INSPECT_COMMAND_H

#include <fstream>
#include <map>

#include "tests/tools/pelko/support/ToolTest.h"

namespace pelkotest {

/// 'pelko inspect' on the store of a test.
class InspectCommand : public ToolTest {
protected:
    using json = nlohmann::json;

    json inspect(const Arguments& more = {}) const {
        Arguments all = {"inspect", "--json"};
        all.insert(all.end(), more.begin(), more.end());
        return runWell(all).json();
    }

    /// What is to be looked at.
    std::vector<std::string> findings() const {
        std::vector<std::string> all;
        const json found = inspect();
        for (const json& finding : found["findings"]) {
            EXPECT_NE(finding["remedy"], "");
            all.push_back(finding["what"]);
        }
        return all;
    }

    /// Each as "missing column tbl_msg.text, what is expected, what is found".
    std::vector<std::string> differences() const {
        std::vector<std::string> all;
        const json found = inspect();
        for (const json& difference : found["schema"]) {
            all.push_back(difference["difference"].get<std::string>() + ' ' +
                          difference["name"].get<std::string>() + ' ' + difference["expected"].dump() + ' ' +
                          difference["found"].dump());
        }
        return all;
    }

    /// A message to user bob, with these further columns.
    void insert(const std::string& columns, const std::string& values) const {
        execute("INSERT INTO tbl_msg (date, sender_type, sender_id, receiver_type, receiver_id, " + columns +
                ") VALUES (100, 0, 'bob', 0, 'me', " + values + ")");
    }

    /// Overwrites the first page of a table.
    void damage(const std::string& table) const {
        const long long page =
            std::stoll(value("SELECT rootpage FROM sqlite_master WHERE name = '" + table + "'"));
        std::fstream file(database(), std::ios::in | std::ios::out | std::ios::binary);
        file.seekp((page - 1) * 4096);
        file << std::string(4096, '\xa5');
    }

    /// Each file below the data folder with its content.
    std::map<std::string, std::string> files() const {
        std::map<std::string, std::string> all;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(dataDir())) {
            all[entry.path().string()] = entry.is_regular_file() ? contentOf(entry.path()) : "";
        }
        return all;
    }

    std::string media(const std::string& name) const { return "users/me/media/" + name; }
    void makeMedia(const std::string& name) const { writeFile(dataDir() / media(name), "12345"); }
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_TOOLS_SUPPORT_INSPECT_COMMAND_H
