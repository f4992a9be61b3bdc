#include <cstdlib>
#include <iostream>
#include <optional>
#include <set>

#include "tests/tools/pelko/salvage/SampleFile.h"
#include "tests/tools/pelko/support/ToolTest.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/file/Database.h"
#include "tools/pelko/salvage/Salvage.h"

// Files of which a single byte was changed, where one byte tells about the whole file: nearly everything
// comes back, or is told to be missing, and nothing comes back that was not there.

using namespace pelkotest;

namespace {

class DamagedByte : public ToolTest {
protected:
    void SetUp() override {
        runWell({"send", "user:bob", "hi"});
        fillStoreFile(database(), 40);
        mContent = contentOf(database());
        mOriginal = rowsIn(database());
        fs::copy_file(database(), mFile);
        const auto whole = salvage();
        ASSERT_TRUE(whole && whole->isWhole());
        mRows = whole->recovered();
        ASSERT_GT(mRows, 50);
    }

    void TearDown() override {
        std::cout << "counted: " << mCases << " changed bytes, " << mAll << " times with all rows, "
                  << mFailed << " times without any\n";
    }

    void change(std::size_t place) {
        for (const int by : {0x01, 0x20, 0xff}) {
            SCOPED_TRACE("byte " + std::to_string(place) + " changed by " + std::to_string(by));
            std::string changed = mContent;
            changed[place] = static_cast<char>(changed[place] ^ by);
            writeFile(mFile, changed);
            expectHonesty(salvage());
        }
    }

    const std::string& content() const { return mContent; }

private:
    std::optional<pelkotool::SalvageReport> salvage() {
        fs::remove(mOut);
        try {
            pelkotool::NewPath out(mOut.string());
            return pelkotool::salvage(mFile, out);
        } catch (const pelkotool::ToolError&) {
            return std::nullopt;  // which tells that nothing could be rescued
        }
    }

    void expectHonesty(const std::optional<pelkotool::SalvageReport>& report) {
        ++mCases;
        if (!report) {
            ++mFailed;
            return;
        }
        mAll += report->recovered() == mRows ? 1 : 0;
        EXPECT_TRUE(report->recovered() * 100 >= mRows * 98 || !report->isWhole()) << report->recovered();
        for (const std::string& row : rowsIn(mOut)) {
            EXPECT_EQ(mOriginal.count(row), 1U) << row;
        }
    }

    /// Each with its table, its row id and its values with their classes.
    static std::set<std::string> rowsIn(const fs::path& file) {
        const pelkotool::Database database = pelkotool::Database::openToRead(file);
        std::set<std::string> rows;
        for (const std::string& table : storeTables()) {
            pelkotool::Statement found = database.prepare("SELECT rowid, * FROM " + table);
            while (found.step()) {
                std::string row = table;
                for (int i = 0; i < found.columnCount(); ++i) {
                    row += '|' + std::to_string(sqlite3_column_type(found.handle(), i)) + ':' + found.text(i);
                }
                rows.insert(row);
            }
        }
        return rows;
    }

    fs::path mFile = folder() / "changed.dat";
    fs::path mOut = folder() / "out.dat";
    std::string mContent;
    std::set<std::string> mOriginal;
    long long mRows = 0;
    int mCases = 0;
    int mAll = 0;
    int mFailed = 0;
};

TEST_F(DamagedByte, OfTheHeaderLosesNothingUntold) {
    for (std::size_t place = 0; place < 100; ++place) {
        change(place);
    }
}

TEST_F(DamagedByte, OfTheSchemaLosesNothingUntold) {
    const char* const asked = std::getenv("PELKO_SALVAGES");
    const std::size_t step = asked != nullptr ? 3 : 67;
    const RowPages pages = rowPagesOf(database());
    for (const std::uint32_t page : pages.trees.at("sqlite_master")) {
        for (std::size_t place = page == 1 ? 100 : 0; place < 4096; place += step) {
            change((page - 1) * std::size_t{4096} + place);
        }
    }
}

}  // namespace
