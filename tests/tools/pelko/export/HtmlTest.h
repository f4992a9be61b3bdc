#ifndef PELKO_TESTS_TOOLS_EXPORT_HTML_TEST_H
#define PELKO_TESTS_TOOLS_EXPORT_HTML_TEST_H

#include <map>
#include <string>
#include <vector>

#include "tests/tools/pelko/support/ToolTest.h"
#include "tools/pelko/export/HtmlExport.h"

namespace pelkotest {

/// Pages of a store that the test has filled. Times are those of UTC.
class HtmlTest : public ToolTest {
protected:
    void SetUp() override;
    void TearDown() override;

    /// Columns of a row that differ from those of an empty text of nobody; texts are bound, so they may hold
    /// anything.
    using Columns = std::map<std::string, std::string>;

    /// Adds a row; all values are bound as texts, which the columns of numbers turn into numbers.
    void add(const std::string& table, const Columns& columns) const;
    /// Adds a message that the account has received from alice, but for these columns.
    void addMessage(Columns columns) const;
    /// Adds so many messages of bob to room 5001, a minute apart, with texts "message 1" and so on.
    void addRoomMessages(int count) const;

    /// Writes the pages of everything that is stored. @param change  of what is asked for
    void write(pelkotool::HtmlExport change = {}) const;

    fs::path out() const { return folder() / "pages"; }
    std::string page(const std::string& file) const { return contentOf(out() / file); }
    /// Of the conversation with alice.
    std::string alicePage() const { return page("chats/user-alice/1.html"); }
    std::string roomPage(int number = 1) const {
        return page("chats/room-5001/" + std::to_string(number) + ".html");
    }
    /// All pages of the export.
    std::vector<fs::path> pages() const;
};

/// How often a text occurs in another one.
std::size_t countOf(const std::string& part, const std::string& whole);

}  // namespace pelkotest

#endif  // PELKO_TESTS_TOOLS_EXPORT_HTML_TEST_H
