#include "classes/platform/StringFormatUtil.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cwchar>
#include <stdexcept>
#include <string>

namespace pelkoapi {

namespace {

TEST(StringFormatUtilTest, FormatsAsPrintfDoes) {
    EXPECT_EQ(StringFormatUtil::string_format("UPDATE %s SET %s = %d WHERE %s = '%s'", "tbl_msg", "status",
                                              -2, "name", "it''s"),
              "UPDATE tbl_msg SET status = -2 WHERE name = 'it''s'");
    EXPECT_EQ(StringFormatUtil::string_format("%lld|%u|%05.1f|%c", LLONG_MIN, UINT_MAX, 2.25, 'x'),
              "-9223372036854775808|4294967295|002.2|x");
}

TEST(StringFormatUtilTest, EmptyFormatAndEmptyArgumentGiveTheEmptyText) {
    EXPECT_EQ(StringFormatUtil::string_format("%s", ""), "");
    const char* const empty = "";
    EXPECT_EQ(StringFormatUtil::string_format("%s%s", empty, empty), "");
}

TEST(StringFormatUtilTest, FormatWithoutArgumentsStandsAsItIs) {
    EXPECT_EQ(StringFormatUtil::string_format("BEGIN TRANSACTION;"), "BEGIN TRANSACTION;");
}

TEST(StringFormatUtilTest, EveryLengthAroundTheShortBuffer) {
    for (std::size_t length = 1015; length <= 1035; ++length) {
        const std::string text = std::string(length - 1, 'a') + 'z';
        EXPECT_EQ(StringFormatUtil::string_format("%s", text.c_str()), text) << length;
    }
}

TEST(StringFormatUtilTest, TheLengthOfTheResultCountsNotThatOfTheArguments) {
    const std::string left(512, 'l');
    const std::string right(510, 'r');
    EXPECT_EQ(StringFormatUtil::string_format("%s-%s", left.c_str(), right.c_str()), left + "-" + right);
    EXPECT_EQ(StringFormatUtil::string_format("%s--%s", left.c_str(), right.c_str()), left + "--" + right);
    EXPECT_EQ(StringFormatUtil::string_format("%s---%s", left.c_str(), right.c_str()), left + "---" + right);
    EXPECT_EQ(StringFormatUtil::string_format("%1024d", 7), std::string(1023, ' ') + "7");
}

TEST(StringFormatUtilTest, EveryArgumentIsThereInALongTextToo) {
    const std::string text(5000, 'x');
    EXPECT_EQ(StringFormatUtil::string_format("%d %s %lld %s %u", -1, text.c_str(), LLONG_MAX, "end", 7U),
              "-1 " + text + " 9223372036854775807 end 7");
}

TEST(StringFormatUtilTest, Megabytes) {
    std::string text(std::size_t{8} << 20, 'm');
    text.front() = '<';
    text.back() = '>';
    const std::string formatted = StringFormatUtil::string_format("'%s'", text.c_str());
    EXPECT_TRUE(formatted == "'" + text + "'");  // not EXPECT_EQ, which would print both
}

TEST(StringFormatUtilTest, PercentInAnArgumentIsPlainText) {
    EXPECT_EQ(StringFormatUtil::string_format("%s", "100%s %d %n %%"), "100%s %d %n %%");
    EXPECT_EQ(StringFormatUtil::string_format("%d%% of %s", 5, "%s"), "5% of %s");
}

TEST(StringFormatUtilTest, StringArgumentEndsAtItsFirstNul) {
    const std::string text("abc\0def", 7);
    EXPECT_EQ(StringFormatUtil::string_format("[%s]", text.c_str()), "[abc]");
    EXPECT_EQ(StringFormatUtil::string_format("[%s]", "\0abc"), "[]");
}

TEST(StringFormatUtilTest, NulCharacterIsPartOfTheText) {
    EXPECT_EQ(StringFormatUtil::string_format("a%cb", 0), std::string("a\0b", 3));
    EXPECT_EQ(StringFormatUtil::string_format("%2000d%cb", 1, 0),
              std::string(1999, ' ') + '1' + std::string("\0b", 2));
}

TEST(StringFormatUtilTest, BytesPassUnchanged) {
    std::string everyByte;
    for (int byte = 1; byte < 256; ++byte) {
        everyByte += static_cast<char>(byte);
    }
    EXPECT_EQ(StringFormatUtil::string_format("%s", everyByte.c_str()), everyByte);
}

TEST(StringFormatUtilTest, WhatCannotBeFormattedThrows) {
    // Half of a surrogate pair is no character in any encoding.
    EXPECT_THROW(StringFormatUtil::string_format("%lc", static_cast<std::wint_t>(0xD800)), std::length_error);
}

}  // namespace

}  // namespace pelkoapi
