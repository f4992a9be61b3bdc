#ifndef PELKO_TOOL_TABLE_H
#define PELKO_TOOL_TABLE_H

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace pelkotool {

/// Rows in aligned columns for people. Every cell may hold chat text: it is made visible on the way in.
class Table {
public:
    enum class Align { left, right };
    struct Column {
        std::string header;
        Align align = Align::left;
    };

    explicit Table(std::vector<Column> columns);

    /// @param cells  one for each column, raw
    void add(const std::vector<std::string>& cells);

    /// @param width  lines are cut to so many columns; none: they are as long as they are
    void print(std::ostream& out, std::optional<std::size_t> width = std::nullopt) const;

private:
    std::vector<Column> mColumns;
    std::vector<std::vector<std::string>> mRows;
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_TABLE_H
