#include "tools/pelko/export/JsonText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "tests/support/TemporaryFolder.h"
#include "tools/pelko/export/JsonLinesFormat.h"

using namespace pelkotool;

namespace {

std::string jsonOf(std::string_view text) {
    std::string json;
    appendText(json, text);
    return json;
}

class JsonOfValue : public testing::Test {
protected:
    std::string valueOf(const std::string& sql) const {
        Statement row = mDatabase.prepare("SELECT " + sql);
        EXPECT_TRUE(row.step());
        std::string json;
        appendValue(json, row, 0);
        return json;
    }

    const pelkotest::TemporaryFolder mFolder;
    const Database mDatabase = Database::create(mFolder.path() / "db.dat");
};

TEST(JsonOfText, IsAStringForUtf8) {
    EXPECT_EQ(jsonOf(""), "\"\"");
    EXPECT_EQ(jsonOf("it's \"x\" \\ \n \xf0\x9f\x98\x80"), "\"it's \\\"x\\\" \\\\ \\n \xf0\x9f\x98\x80\"");
    EXPECT_EQ(jsonOf(std::string_view("a\0b", 3)), "\"a\\u0000b\"");
    EXPECT_EQ(jsonOf("\x01\x1b"), "\"\\u0001\\u001b\"");
}

TEST(JsonOfText, IsBytesForWhatIsNoUtf8) {
    EXPECT_EQ(jsonOf("\xff"), R"({"text_hex":"ff"})");
    EXPECT_EQ(jsonOf("a\xc3"), R"({"text_hex":"61c3"})") << "cut short";
    EXPECT_EQ(jsonOf("\xed\xa0\x80"), R"({"text_hex":"eda080"})") << "a surrogate";
    EXPECT_EQ(jsonOf("\xc0\xaf"), R"({"text_hex":"c0af"})") << "overlong";
    EXPECT_EQ(jsonOf("\xf4\x90\x80\x80"), R"({"text_hex":"f4908080"})") << "beyond the last character";
}

TEST_F(JsonOfValue, TellsStorageClassesApart) {
    EXPECT_EQ(valueOf("NULL"), "null");
    EXPECT_EQ(valueOf("5"), "5");
    EXPECT_EQ(valueOf("-9223372036854775808"), "-9223372036854775808");
    EXPECT_EQ(valueOf("5.0"), "5.0");
    EXPECT_EQ(valueOf("'5'"), "\"5\"");
    EXPECT_EQ(valueOf("x'35'"), R"({"blob_hex":"35"})");
    EXPECT_EQ(valueOf("x''"), R"({"blob_hex":""})");
    EXPECT_EQ(valueOf("''"), "\"\"");
    EXPECT_EQ(valueOf("9e999"), R"({"real":"inf"})");
    EXPECT_EQ(valueOf("-9e999"), R"({"real":"-inf"})");
}

TEST_F(JsonOfValue, WritesRealNumbersThatReadBackTheSame) {
    for (const double number : {0.1, 1.0 / 3, 1e300, 5e-324, -1.7976931348623157e308, 9007199254740993.0,
                                123456789012345680.0, -0.0, 2.5e-8}) {
        Statement row = mDatabase.prepare("SELECT ?1");
        sqlite3_bind_double(row.handle(), 1, number);
        ASSERT_TRUE(row.step());
        std::string json;
        appendValue(json, row, 0);
        EXPECT_NE(json.find_first_of(".e"), std::string::npos) << json;
        const auto read = nlohmann::json::parse(json).get<double>();
        EXPECT_EQ(read, number) << json;
        EXPECT_EQ(std::signbit(read), std::signbit(number)) << json;
    }
}

TEST_F(JsonOfValue, IsUtf8WhateverTheFileIs) {
    mDatabase.execute("PRAGMA encoding = 'UTF-16le'; CREATE TABLE t (x); INSERT INTO t VALUES ('\xc3\xbc')");
    EXPECT_EQ(valueOf("x FROM t"), "\"\xc3\xbc\"");
}

TEST(DecodeHex, ReadsPairsOfDigits) {
    std::string bytes = "old";
    EXPECT_TRUE(decodeHex("00fFa9", bytes));
    EXPECT_EQ(bytes, std::string("\0\xff\xa9", 3));
    EXPECT_TRUE(decodeHex("", bytes));
    EXPECT_EQ(bytes, "");
    for (const char* const digits : {"f", "0g", "g0", "0 ", "-1"}) {
        EXPECT_FALSE(decodeHex(digits, bytes)) << digits;
    }
}

TEST(KeyOfColumn, IsTheNameUnlessItMeansSomethingElse) {
    EXPECT_EQ(keyOfColumn("text"), "text");
    for (const char* const name : {"rowid", "table", "_", "record", "column:x", "column:", "text", ""}) {
        EXPECT_EQ(columnOfKey(keyOfColumn(name)), name);
    }
    EXPECT_EQ(keyOfColumn("rowid"), "column:rowid");
}

}  // namespace
