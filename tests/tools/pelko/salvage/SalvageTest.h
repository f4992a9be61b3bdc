#ifndef PELKO_TESTS_TOOLS_SALVAGE_SALVAGE_TEST_H
#define PELKO_TESTS_TOOLS_SALVAGE_SALVAGE_TEST_H

#include <set>
#include <string>

#include "tests/tools/pelko/salvage/SampleFile.h"
#include "tests/tools/pelko/support/ToolTest.h"

namespace pelkotest {

/// Runs of pelko salvage on whole and on damaged copies of the account's file.
class SalvageTest : public ToolTest {
protected:
    /// The account's file with rows in every table.
    void fill(int messages = 600) const {
        runWell({"send", "user:bob", "hi"});
        fillStoreFile(database(), messages);
    }

    nlohmann::json salvage(const fs::path& file) const {
        fs::remove(mOut);
        const ToolRun run = runWell({"salvage", mOut.string(), "--file", file.string(), "--json"});
        return run.exitCode == 0 ? run.json() : nlohmann::json();
    }

    static nlohmann::json tableOf(const nlohmann::json& report, const std::string& name) {
        for (const nlohmann::json& table : report["tables"]) {
            if (table["table"] == name) {
                return table;
            }
        }
        ADD_FAILURE() << "no table " << name;
        return {};
    }

    /// A copy of the file with some pages overwritten.
    fs::path damaged(const std::set<std::uint32_t>& pages, std::uint32_t pageSize = 4096) const {
        const fs::path copy = folder() / "damaged.dat";
        fs::copy_file(database(), copy, fs::copy_options::overwrite_existing);
        overwritePages(copy, pages, pageSize, 1);
        return copy;
    }

    static bool holds(const fs::path& file, const std::string& text) {
        return contentOf(file).find(text) != std::string::npos;
    }

    void expectOnlyOriginalRows(const fs::path& original) const {
        for (const std::string& table : storeTables()) {
            EXPECT_EQ(foreignRows(mOut, original, table), 0) << table;
        }
    }

    /// That a failed run has left nothing at the place of OUT, nor beside it.
    void expectNothingMade() const {
        for (const auto& entry : fs::directory_iterator(folder())) {
            EXPECT_THAT(entry.path().filename().string(), testing::Not(testing::StartsWith("out.dat")));
        }
    }

    void expectFails(const fs::path& file, const testing::Matcher<std::string>& line) const {
        expectRefused(run({"salvage", mOut.string(), "--file", file.string()}), 1, line);
        expectNothingMade();
    }

    const fs::path& out() const { return mOut; }

private:
    fs::path mOut = folder() / "out.dat";
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_TOOLS_SALVAGE_SALVAGE_TEST_H
