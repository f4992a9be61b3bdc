#include "classes/storage/SqlText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "PelkoChatTarget.h"

namespace pelkoapi {

namespace {

using namespace std::string_literals;

/// Values that, pasted as they are, end their literal early; several of them leave a statement that is valid.
const std::vector<std::string>& valuesWithAQuote() {
    static const std::vector<std::string> values = {
        "'",
        "''",
        "'''",
        "a'",
        "'a",
        "it's",
        "a''b",
        "x'||'y",
        "x' WHERE 1=1 --",
        "x' WHERE 1=1 /*",
        "x', a = 'boss",
        "x', 'boss",
        "x', 'boss', 5) --",
        "x'), ('second', 'row', '1",
        "nobody' OR '1'='1",
        "nobody' OR 1 --",
        "x'; DROP TABLE t; --",
        "x' UNION SELECT a, b, c FROM t --",
        "' -- \n",
        "\\'",
        "\"'",
        "\xE6\x97\xA5'\xE6\x97\xA5",
        "\xFF'",
        "'\0"s,
        "a'\0b"s,
        std::string(5000, 'x') + "'",
    };
    return values;
}

/// Values without a single quote before their first NUL.
const std::vector<std::string>& valuesWithoutAQuote() {
    static const std::vector<std::string> values = {
        "",
        "plain",
        "a \"b\" `c` [d]",
        "100%s %d %n",
        "\\",
        "x; DROP TABLE t; --",
        "/* no comment",
        "\xE2\x80\x99 is no single quote, nor is \xCA\xBC",
        "line\nline\ttab",
        "0single_quote_in_an_unescaped_value",
        std::string(5000, 'x'),
    };
    return values;
}

std::string withReplaced(std::string text, const std::string& placeholder, const std::string& value) {
    const std::size_t place = text.find(placeholder);
    EXPECT_NE(place, std::string::npos) << placeholder << " in " << text;
    return text.replace(place, placeholder.size(), value);
}

/// A table t(a, b, c) with one row in a database in memory.
class SqlTextTest : public testing::Test {
protected:
    void SetUp() override {
        sqlite3* connection = nullptr;
        const int opened = sqlite3_open(":memory:", &connection);
        mConnection.reset(connection);
        ASSERT_EQ(opened, SQLITE_OK);
        run("CREATE TABLE t (a TEXT, b TEXT, c INTEGER)");
        run("INSERT INTO t VALUES ('one', 'two', 3)");
    }

    void run(const std::string& statement) {
        EXPECT_EQ(sqlite3_exec(raw(), statement.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(raw()) << " in " << statement;
    }

    /// The value of the only column of the only row.
    std::string value(const std::string& query) {
        const Statement statement = prepare(query);
        EXPECT_EQ(sqlite3_step(statement.get()), SQLITE_ROW) << query;
        const unsigned char* const text = sqlite3_column_text(statement.get(), 0);
        return text == nullptr ? "NULL" : reinterpret_cast<const char*>(text);
    }

    /// The statement is refused before anything of it can run, by the tokenizer and not by chance.
    void expectRefused(const std::string& statement) {
        sqlite3_stmt* prepared = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(raw(), statement.c_str(), -1, &prepared, nullptr), SQLITE_ERROR)
            << statement;
        EXPECT_EQ(prepared, nullptr) << statement;
        EXPECT_THAT(sqlite3_errmsg(raw()), testing::HasSubstr("unrecognized token")) << statement;
        sqlite3_finalize(prepared);
    }

    void expectTableUntouched() {
        EXPECT_EQ(value("SELECT group_concat(a || '|' || b || '|' || c, ';') FROM t"), "one|two|3");
    }

private:
    using Statement = std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)>;

    sqlite3* raw() { return mConnection.get(); }

    Statement prepare(const std::string& query) {
        sqlite3_stmt* prepared = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(raw(), query.c_str(), -1, &prepared, nullptr), SQLITE_OK)
            << sqlite3_errmsg(raw()) << " in " << query;
        return {prepared, sqlite3_finalize};
    }

    std::unique_ptr<sqlite3, int (*)(sqlite3*)> mConnection{nullptr, sqlite3_close};
};

TEST_F(SqlTextTest, AValueWithoutAQuoteStandsAsItIs) {
    for (const std::string& text : valuesWithoutAQuote()) {
        EXPECT_EQ(unescapedText(text), text);
        EXPECT_EQ(value("SELECT '" + unescapedText(text) + "'"), text);
    }
}

TEST_F(SqlTextTest, AValueEndsAtItsFirstNul) {
    EXPECT_EQ(unescapedText("ab\0cd"s), "ab");
    EXPECT_EQ(unescapedText("\0cd"s), "");
    EXPECT_EQ(unescapedText("ab\0' OR 1 --"s), "ab") << "what stands behind the end does not count";
}

TEST_F(SqlTextTest, ARefusedValueIsReplacedWhole) {
    const std::string refused = unescapedText("'");
    for (const std::string& text : valuesWithAQuote()) {
        EXPECT_EQ(unescapedText(text), refused) << text;
    }
}

TEST_F(SqlTextTest, AValueWithAQuoteFailsEveryStatementAtEveryPlace) {
    const std::vector<std::string> templates = {
        "INSERT INTO t (a, b, c) VALUES ('$', 'two', 3)",
        "INSERT INTO t (b, a, c) VALUES ('two', '$', 3)",
        "INSERT INTO t (c, b, a) VALUES (3, 'two', '$')",
        "INSERT OR REPLACE INTO t VALUES ('$', '', 0)",
        "UPDATE t SET a = '$', b = 'two', c = 3",
        "UPDATE t SET a = 'one', b = '$', c = 3 WHERE c = 3",
        "UPDATE t SET c = 3, b = '$'",
        "UPDATE t SET a = 'x' WHERE b = '$'",
        "UPDATE t SET a = 'x' WHERE b = '$' AND c = 3",
        "SELECT * FROM t WHERE a = '$'",
        "SELECT * FROM t WHERE a = '$' AND b = 'two' ORDER BY c",
        "SELECT * FROM t WHERE (a = '$' OR b = 'two')",
        "SELECT COUNT(*) AS count FROM t WHERE c = 3 AND a = '$'",
        "SELECT '$' FROM t",
        "SELECT * FROM t WHERE a LIKE '%$%'",
        "SELECT * FROM t WHERE a='$'AND b='$'",
        "DELETE FROM t WHERE a = '$'",
        "DELETE FROM t WHERE a = '$' AND c = 3",
        "DELETE FROM t WHERE c = 3 OR a = '$'",
    };
    for (const std::string& statement : templates) {
        for (const std::string& text : valuesWithAQuote()) {
            expectRefused(withReplaced(statement, "$", unescapedText(text)));
        }
    }
    expectTableUntouched();
}

TEST_F(SqlTextTest, AnotherValueCannotRescueTheStatement) {
    const std::string statement = "INSERT INTO t (a, b, c) VALUES ('$', '#', 3)";
    std::vector<std::string> others = valuesWithAQuote();
    others.insert(others.end(), valuesWithoutAQuote().begin(), valuesWithoutAQuote().end());
    for (const std::string& other : others) {
        const std::string text = unescapedText(other);
        expectRefused(withReplaced(withReplaced(statement, "#", text), "$", unescapedText("it's")));
        expectRefused(withReplaced(withReplaced(statement, "#", unescapedText("it's")), "$", text));
    }
    expectTableUntouched();
}

TEST_F(SqlTextTest, AQuotedLiteralBesideItDoesNotRescueTheStatement) {
    const std::string refused = unescapedText("it's");
    expectRefused("INSERT INTO t (a, b, c) VALUES ('it''s', '" + refused + "', 3)");
    expectRefused("INSERT INTO t (a, b, c) VALUES ('" + refused + "', 'it''s', 3)");
    expectRefused("INSERT INTO t (a, b, c) VALUES ('''', '" + refused + "', 3)");
    expectTableUntouched();
}

TEST_F(SqlTextTest, TheErrorSaysWhatWasWrong) {
    EXPECT_THAT(unescapedText("it's"), testing::HasSubstr("single_quote_in_an_unescaped_value"));
    EXPECT_THAT(unquotedNumber("x"), testing::HasSubstr("not_a_number_where_one_must_stand"));
}

TEST_F(SqlTextTest, ADecimalNumberStandsAsItIs) {
    for (const char* const number : {"0", "5", "-5", "+5", "-0", "007", "4294967295", "9223372036854775807",
                                     "-9223372036854775808", "99999999999999999999999999999999"}) {
        EXPECT_EQ(unquotedNumber(number), number);
        run("INSERT INTO t (a, c) VALUES ('number', " + unquotedNumber(number) + ")");
    }
    EXPECT_EQ(value("SELECT COUNT(*) FROM t WHERE a = 'number'"), "10");
    EXPECT_EQ(unquotedNumber("12\0, 13"s), "12");
}

TEST_F(SqlTextTest, AnythingButADecimalNumberFailsEveryStatement) {
    const std::vector<std::string> values = {
        "",     "-",      "+",        "--5",  "+-5",        "-+5",    "5-",          "5+5",     " 5",
        "5 ",   "- 5",    "5;",       "5 --", "5/*",        "5, 6",   "5)",          "(5)",     "0), (1, 5",
        "1e3",  "1E3",    "0x10",     "5.0",  ".5",         "5.",     "1_000",       "null",    "NULL",
        "true", "c",      "a5",       "5a",   "(SELECT 1)", "'5'",    "\"c\"",       "x'00'",   "?",
        ":a",   "\0005"s, "\xD9\xA1", "5\n",  "5 OR 1=1",   "SELECT", "-(SELECT 1)", "abs(-5)", "'",
    };
    for (const std::string& text : values) {
        const std::string number = unquotedNumber(text);
        expectRefused("INSERT INTO t (c, a) VALUES (" + number + ", 'x')");
        expectRefused("INSERT INTO t (a, c) VALUES ('x', " + number + ")");
        expectRefused("INSERT INTO t (a, c) VALUES ('x'," + number + ")");
        expectRefused("UPDATE t SET c = " + number + ", a = 'x' WHERE b = 'two'");
        expectRefused("SELECT * FROM t WHERE c = " + number);
        expectRefused("SELECT * FROM t WHERE c=" + number + " AND a = 'one'");
        expectRefused("DELETE FROM t WHERE c IN (" + number + ")");
    }
    expectTableUntouched();
}

TEST_F(SqlTextTest, ListsNumbersForIn) {
    using Limits = std::numeric_limits<long long>;
    EXPECT_EQ(numberList(std::vector<long long>{}), "()");
    EXPECT_EQ(numberList(std::vector<long long>{7}), "(7)");
    EXPECT_EQ(numberList(std::vector<long long>{7, 9, 12}), "(7, 9, 12)");
    EXPECT_EQ(numberList(std::vector<long long>{9, 7, 9}), "(9, 7, 9)") << "order and repetitions stay";
    EXPECT_EQ(numberList(std::vector<long long>{Limits::min(), 0, Limits::max()}),
              "(-9223372036854775808, 0, 9223372036854775807)");
    EXPECT_EQ(numberList(std::vector<unsigned int>{4294967295U}), "(4294967295)");
    EXPECT_EQ(numberList(std::vector<PelkoChatTargetType>{PelkoChatTargetTypeUser,
                                                          PelkoChatTargetTypeCustomerService}),
              "(0, 3)");
}

TEST_F(SqlTextTest, AListSelectsItsNumbersAndNoOthers) {
    run("INSERT INTO t (c) VALUES (4), (5), (6)");
    EXPECT_EQ(value("SELECT SUM(c) FROM t WHERE c IN " + numberList(std::vector<int>{3, 5, 70})), "8");
    EXPECT_EQ(value("SELECT COUNT(*) FROM t WHERE c IN " + numberList(std::vector<int>{})), "0");
}

}  // namespace

}  // namespace pelkoapi
