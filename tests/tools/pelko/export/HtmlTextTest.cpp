#include "tools/pelko/export/HtmlText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace pelkotest {

using pelkotool::blockText;
using pelkotool::fileName;
using pelkotool::lineText;
using pelkotool::linkToFile;
using pelkotool::partsOf;
using testing::ElementsAre;

namespace {

/// The links of a text, in brackets within it.
std::string marked(const std::string& text) {
    std::string result;
    for (const pelkotool::TextPart& part : partsOf(text)) {
        result += part.isLink ? "[" + part.text + "]" : part.text;
    }
    return result;
}

}  // namespace

TEST(HtmlTextTest, TextsKeepTheirLinesAndLetters) {
    EXPECT_EQ(blockText("one\ntwo\r\n\tthree – ❄ 🙏"), "one\ntwo\n\tthree – ❄ 🙏");
    EXPECT_EQ(blockText(""), "");
}

TEST(HtmlTextTest, BytesThatAreNoUtf8BecomeReplacementCharacters) {
    EXPECT_EQ(blockText("caf\xE9"), "caf\uFFFD");
    EXPECT_EQ(blockText("\xC0\xBC\xED\xA0\x80\xF5"), "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(lineText("\xE2\x82"), "\uFFFD\uFFFD");
}

TEST(HtmlTextTest, ControlCharactersBecomeVisible) {
    EXPECT_EQ(blockText(std::string("a\0b\x1B[31m\rc\x7F\xC2\x85", 13)), "a\\x00b\\x1B[31m\\x0Dc\\x7F\\x85");
    EXPECT_EQ(lineText("a\nb\tc\r\n"), "a\\x0Ab\\x09c\\x0D\\x0A");
}

TEST(HtmlTextTest, NamesCannotTurnTheReadingDirection) {
    EXPECT_EQ(lineText("a\u202Eb\u2066c\u2069"), "a\\u202Eb\\u2066c\\u2069");
    EXPECT_EQ(lineText("a\u2028b\u2029"), "a\\u2028b\\u2029");
    EXPECT_EQ(lineText("שלום"), "שלום");
    EXPECT_EQ(blockText("a\u202Eb"), "a\u202Eb");
}

TEST(HtmlTextTest, OnlyHttpAndHttpsAreLinks) {
    EXPECT_EQ(marked("see http://a.example and https://b.example/x?y=1&z=2#f"),
              "see [http://a.example] and [https://b.example/x?y=1&z=2#f]");
    EXPECT_EQ(marked("HTTP://A.EXAMPLE"), "[HTTP://A.EXAMPLE]");
    for (const char* const text :
         {"javascript:alert(1)", "javascript://http", "data:text/html,x", "file:///etc/passwd",
          "ftp://a.example", "//a.example", "www.a.example", "xhttp://a.example", "http:/a.example",
          "http://", "https:// a", "http://.", "http://\"x\"", "://", "mailto:a@b.example", ""}) {
        EXPECT_EQ(marked(text), text);
    }
}

TEST(HtmlTextTest, LinksEndWhereTheSentenceGoesOn) {
    EXPECT_EQ(marked("(http://a.example/b_(c)), or http://d.example."),
              "([http://a.example/b_(c)]), or [http://d.example].");
    EXPECT_EQ(marked("[http://a.example]!"), "[[http://a.example]]!");
    EXPECT_EQ(marked("<http://a.example>\"http://b.example\""), "<[http://a.example]>\"[http://b.example]\"");
    EXPECT_EQ(marked("http://a.example\nx"), "[http://a.example]\nx");
    EXPECT_EQ(marked("http://a.example\u202Ex"), "[http://a.example]\u202Ex");
    EXPECT_EQ(marked("http://a.example/\uFFFDx"), "[http://a.example/]\uFFFDx");
    EXPECT_EQ(marked("http://[::1]/x"), "[http://[::1]/x]");
    EXPECT_EQ(marked("http://bücher.example/ä"), "[http://bücher.example/ä]");
}

TEST(HtmlTextTest, PartsAreTheWholeText) {
    const std::string text = "http://a.example,http://b.example ://http://:// x http://c.example";
    std::string joined;
    for (const pelkotool::TextPart& part : partsOf(text)) {
        joined += part.text;
    }
    EXPECT_EQ(joined, text);
}

TEST(HtmlTextTest, LongHostileTextsAreCutInOneGo) {
    // Each of these would take hours if its length were squared.
    constexpr std::size_t length = 2'000'000;
    EXPECT_EQ(partsOf("http://a" + std::string(length, ')')).size(), 2U);
    std::string repeated;
    for (std::size_t i = 0; i < length / 8; ++i) {
        repeated += "http://.";
    }
    EXPECT_EQ(partsOf(repeated).size(), 1U);
}

TEST(HtmlTextTest, PathsBecomeLinksWithinTheExport) {
    EXPECT_EQ(linkToFile("media/3-photo.jpg", "../../"), "../../media/3-photo.jpg");
    EXPECT_EQ(linkToFile("media/a b?c#d%20e&\"<'\xE9:f.jpg", ""),
              "media/a%20b%3Fc%23d%2520e%26%22%3C%27%E9%3Af.jpg");
    EXPECT_EQ(linkToFile("javascript:alert(1)", "../../"), "../../javascript%3Aalert%281%29");
}

TEST(HtmlTextTest, AbsolutePathsStayOnThisMachine) {
    EXPECT_EQ(linkToFile("/home/me/photo.jpg", "../../"), "/home/me/photo.jpg");
    EXPECT_EQ(linkToFile("//server/photo.jpg", "../../"), "/server/photo.jpg");
    EXPECT_EQ(linkToFile("///server/a//b", "../../"), "/server/a//b");
    EXPECT_EQ(linkToFile("/\\server", "../../"), "/%5Cserver");
}

TEST(HtmlTextTest, FilesAreNamedByTheLastPartOfTheirPath) {
    EXPECT_EQ(fileName("users/me/photo.jpg"), "photo.jpg");
    EXPECT_EQ(fileName("photo.jpg"), "photo.jpg");
    EXPECT_EQ(fileName("users/me/"), "users/me/");
    EXPECT_EQ(fileName(""), "");
}

}  // namespace pelkotest
