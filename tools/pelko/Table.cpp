#include "tools/pelko/Table.h"

#include <algorithm>
#include <utility>

#include "tools/pelko/Text.h"

namespace pelkotool {

namespace {

// A cell longer than this sticks out instead of pushing the columns of all other rows aside.
constexpr std::size_t widestColumn = 32;

}  // namespace

Table::Table(std::vector<Column> columns) : mColumns(std::move(columns)) {
}

void Table::add(const std::vector<std::string>& cells) {
    std::vector<std::string> row;
    row.reserve(cells.size());
    std::transform(cells.begin(), cells.end(), std::back_inserter(row), visibleText);
    mRows.push_back(std::move(row));
}

void Table::print(std::ostream& out, std::optional<std::size_t> width) const {
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < mColumns.size(); ++i) {
        std::size_t widest = displayWidth(mColumns[i].header);
        for (const auto& row : mRows) {
            widest = std::max(widest, std::min(displayWidth(row[i]), widestColumn));
        }
        widths.push_back(widest);
    }

    const auto printRow = [&](const auto& cellAt) {
        std::string line;
        for (std::size_t i = 0; i < mColumns.size(); ++i) {
            const std::string& cell = cellAt(i);
            const std::size_t taken = displayWidth(cell);
            const std::string padding(widths[i] > taken ? widths[i] - taken : 0, ' ');
            line += i == 0 ? "" : "  ";
            line += mColumns[i].align == Align::right ? padding + cell : cell + padding;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out << (width ? shortened(line, *width) : line) << '\n';
    };
    printRow([&](std::size_t i) -> const std::string& { return mColumns[i].header; });
    for (const auto& row : mRows) {
        printRow([&](std::size_t i) -> const std::string& { return row[i]; });
    }
}

}  // namespace pelkotool
