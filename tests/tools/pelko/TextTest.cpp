#include "tools/pelko/Text.h"

#include <gtest/gtest.h>

#include <cstdio>

using namespace pelkotool;

namespace {

TEST(VisibleText, LeavesReadableTextAlone) {
    for (const char* const text : {"", "it's 100% \"fine\" \\ `ok`", "Günther ¡buenos días! 有的 🙏 –", "é"}) {
        EXPECT_EQ(visibleText(text), text);
    }
}

TEST(VisibleText, ShowsEveryControlByte) {
    for (unsigned int byte = 0; byte < 256; ++byte) {
        const bool control =
            byte < 0x20 || byte == 0x7F || byte >= 0x80;  // alone, from 0x80 on no UTF-8 either
        char shown[8];
        std::snprintf(shown, sizeof shown, "\\x%02X", byte);
        const std::string text(1, static_cast<char>(byte));
        EXPECT_EQ(visibleText("a" + text + "b"), "a" + (control ? std::string(shown) : text) + "b");
    }
}

TEST(VisibleText, ShowsC1ControlsInUtf8) {
    EXPECT_EQ(visibleText("\xc2\x80"), "\\u0080");
    EXPECT_EQ(visibleText("\xc2\x9b"
                          "31m"),
              "\\u009B31m");
    EXPECT_EQ(visibleText("\xc2\x9f"), "\\u009F");
    EXPECT_EQ(visibleText("\xc2\xa0"), "\xc2\xa0");
}

TEST(VisibleText, ShowsCharactersThatOverrideTheReadingDirection) {
    EXPECT_EQ(visibleText("\u202A\u202B\u202C\u202D\u202E"), "\\u202A\\u202B\\u202C\\u202D\\u202E");
    EXPECT_EQ(visibleText("\u2066\u2067\u2068\u2069"), "\\u2066\\u2067\\u2068\\u2069");
    EXPECT_EQ(visibleText("\u2029\u202F\u2065\u206A"), "\u2029\u202F\u2065\u206A");
}

TEST(VisibleText, ShowsBytesThatAreNoUtf8) {
    EXPECT_EQ(visibleText("caf\xe9"), "caf\\xE9");
    EXPECT_EQ(visibleText("caf\xe9 au lait"), "caf\\xE9 au lait");
    EXPECT_EQ(visibleText("\xc0\xaf"), "\\xC0\\xAF");                    // "/" in two bytes
    EXPECT_EQ(visibleText("\xe0\x80\x9b"), "\\xE0\\x80\\x9B");           // a C1 control in three
    EXPECT_EQ(visibleText("\xed\xa0\x80"), "\\xED\\xA0\\x80");           // half a surrogate pair
    EXPECT_EQ(visibleText("\xf4\x90\x80\x80"), "\\xF4\\x90\\x80\\x80");  // beyond the last character
    EXPECT_EQ(visibleText("\xe6\x9c"), "\\xE6\\x9C");                    // cut off
    EXPECT_EQ(visibleText("\xe6\x9c\x1b"), "\\xE6\\x9C\\x1B");
}

TEST(DisplayWidth, CountsColumns) {
    EXPECT_EQ(displayWidth(""), 0U);
    EXPECT_EQ(displayWidth("abc"), 3U);
    EXPECT_EQ(displayWidth("Günther"), 7U);
    EXPECT_EQ(displayWidth("有的"), 4U);
    EXPECT_EQ(displayWidth("e\u0301"), 1U);
}

TEST(Shortened, CutsAtWholeCharacters) {
    EXPECT_EQ(shortened("abc", 3), "abc");
    EXPECT_EQ(shortened("abcd", 3), "ab…");
    EXPECT_EQ(shortened("有的有", 5), "有的…");
    EXPECT_EQ(shortened("有的有", 4), "有…");
    EXPECT_EQ(shortened("Günther", 3), "Gü…");
    EXPECT_EQ(shortened("abc", 1), "…");
    EXPECT_EQ(shortened("abc", 0), "");
}

TEST(IsUtf8, TellsTextFromOtherBytes) {
    for (const char* const text : {"", "plain\n\x1b", "Günther 有的 🙏", "\xf4\x8f\xbf\xbf"}) {
        EXPECT_TRUE(isUtf8(text)) << text;
    }
    EXPECT_TRUE(isUtf8(std::string_view("a\0b", 3)));
    for (const char* const text :
         {"\x80", "caf\xe9", "\xc0\x80", "\xe2\x82", "\xed\xa0\x80", "\xf4\x90\x80\x80", "ok\xff"}) {
        EXPECT_FALSE(isUtf8(text)) << visibleText(text);
    }
}

}  // namespace
