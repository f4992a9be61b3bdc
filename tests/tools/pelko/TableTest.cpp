#include "tools/pelko/Table.h"

#include <gtest/gtest.h>

#include <sstream>

using pelkotool::Table;

namespace {

std::string printed(const Table& table, std::optional<std::size_t> width = std::nullopt) {
    std::ostringstream out;
    table.print(out, width);
    return out.str();
}

TEST(Table, AlignsItsColumns) {
    Table table({{"N", Table::Align::right}, {"NAME"}, {"TEXT"}});
    table.add({"1", "ann", "hello"});
    table.add({"234", "benedict", ""});
    EXPECT_EQ(printed(table),
              "  N  NAME      TEXT\n"
              "  1  ann       hello\n"
              "234  benedict\n");
}

TEST(Table, CountsColumnsOfTheTerminalNotBytes) {
    Table table({{"NAME"}, {"TEXT"}});
    table.add({"Günther", "x"});
    table.add({"有的", "x"});
    EXPECT_EQ(printed(table),
              "NAME     TEXT\n"
              "Günther  x\n"
              "有的     x\n");
}

TEST(Table, MakesEveryCellVisible) {
    Table table({{"TEXT"}});
    table.add({"\x1b[31m\n"});
    EXPECT_EQ(printed(table), "TEXT\n\\x1B[31m\\x0A\n");
}

TEST(Table, LetsAnEndlessCellStickOut) {
    Table table({{"NAME"}, {"TEXT"}});
    table.add({std::string(1000, 'n'), "x"});
    table.add({"ann", "x"});
    EXPECT_EQ(printed(table), "NAME" + std::string(30, ' ') + "TEXT\n" + std::string(1000, 'n') + "  x\n" +
                                  "ann" + std::string(31, ' ') + "x\n");
}

TEST(Table, CutsItsLinesToAWidth) {
    Table table({{"NAME"}, {"TEXT"}});
    table.add({"ann", "a long text"});
    EXPECT_EQ(printed(table, 10), "NAME  TEXT\nann   a l…\n");
}

}  // namespace
