#include "tools/pelko/export/ExportRecord.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace pelkotool;
using testing::HasSubstr;

namespace {

std::string refusalOf(const std::string& line) {
    try {
        parseRecord(line);
    } catch (const LineError& error) {
        return error.what();
    }
    return "none";
}

TEST(ParseRecord, ReadsEveryStorageClass) {
    const ExportRecord record = parseRecord(
        R"({"n":null,"i":-9223372036854775808,"r":0.1,"e":1e3,"z":-0.0,"t":"a\u0000b","b":{"blob_hex":"00fF"},)"
        R"("h":{"text_hex":"ff"},"p":{"real":"inf"},"m":{"real":"-inf"},"empty":{"blob_hex":""}})");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(*record.find("n")));
    EXPECT_EQ(*record.findOf<long long>("i"), std::numeric_limits<long long>::min());
    EXPECT_EQ(*record.findOf<double>("r"), 0.1);
    EXPECT_EQ(*record.findOf<double>("e"), 1000);
    EXPECT_TRUE(std::signbit(*record.findOf<double>("z")));
    EXPECT_EQ(*record.findOf<std::string>("t"), std::string("a\0b", 3));
    EXPECT_EQ(record.findOf<Blob>("b")->bytes, std::string("\0\xff", 2));
    EXPECT_EQ(*record.findOf<std::string>("h"), "\xff");
    EXPECT_EQ(*record.findOf<double>("p"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(*record.findOf<double>("m"), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(record.findOf<Blob>("empty")->bytes, "");
    EXPECT_EQ(record.find("other"), nullptr);
    EXPECT_EQ(record.findOf<double>("i"), nullptr);
}

TEST(ParseRecord, TellsWhatIsNoStoredValue) {
    const ExportRecord record = parseRecord(
        R"({"b":true,"l":[1,[2]],"o":{},"two":{"text_hex":"ff","x":1},"n":{"text_hex":1},"r":{"real":"nan"},)"
        R"("u":{"hex":"ff"},"d":{"text_hex":{"text_hex":"ff"}}})");
    for (const auto& [name, value] : record.fields) {
        EXPECT_TRUE(std::holds_alternative<NoValue>(value)) << name;
    }
    EXPECT_EQ(record.fields.size(), 8U);
}

TEST(ParseRecord, PassesOverWhatIsDerived) {
    EXPECT_TRUE(std::holds_alternative<NoValue>(
        *parseRecord(R"({"_":{"text_hex":"no digits","n":99999999999999999999}})").find("_")));
}

TEST(ParseRecord, RefusesWhatIsNoJson) {
    for (const char* const line : {"", " ", "x", "{", "{\"a\":1", "{\"a\":1}}", "{\"a\":1} x", "{'a':1}",
                                   "{\"a\":01}", "{\"a\":\"\xff\"}", "{\"a\":\"\\ud800\"}", "{\"a\":NaN}"}) {
        EXPECT_THAT(refusalOf(line), HasSubstr("is no JSON")) << line;
    }
    EXPECT_EQ(refusalOf(std::string("{\"a\":1}\0x", 9)), "is no JSON from byte 8 on");
}

TEST(ParseRecord, RefusesOtherJson) {
    for (const char* const line : {"1", "\"a\"", "null", "true", "[]", "[{}]", "1.5"}) {
        EXPECT_EQ(refusalOf(line), "is no JSON object") << line;
    }
}

TEST(ParseRecord, RefusesNumbersBeyond64Bits) {
    EXPECT_EQ(*parseRecord(R"({"a":9223372036854775807})").findOf<long long>("a"),
              std::numeric_limits<long long>::max());
    for (const char* const number : {"9223372036854775808", "18446744073709551616", "-9223372036854775809",
                                     "123456789012345678901234567890"}) {
        EXPECT_EQ(refusalOf(std::string("{\"abc\":") + number + '}'),
                  "holds an integer of more than 64 bits in abc");
    }
    EXPECT_EQ(refusalOf(R"({"a":1e999})"), "holds a number that is too large");
}

TEST(ParseRecord, RefusesAKeyThatComesTwice) {
    EXPECT_EQ(refusalOf(R"({"a":1,"b":2,"a":3})"), "has a twice");
    EXPECT_EQ(refusalOf(R"({"\u0000":1,"\u0000":2})"), "has \\x00 twice");
    const std::string name(1000, 'x');
    EXPECT_LT(refusalOf("{\"" + name + "\":1,\"" + name + "\":2}").size(), 100U);
}

TEST(ParseRecord, RefusesBytesThatAreNone) {
    for (const char* const digits : {"f", "fg", " f", "0x"}) {
        EXPECT_THAT(refusalOf(std::string(R"({"abc":{"text_hex":")") + digits + "\"}}"),
                    HasSubstr("a text_hex in abc"));
    }
}

TEST(ParseRecord, RefusesDepthWithoutFollowingIt) {
    const std::string lists(1'000'000, '[');
    EXPECT_EQ(refusalOf("{\"_\":" + lists), "is nested too deep");
    std::string objects = "{\"_\":";
    for (int i = 0; i < 100'000; ++i) {
        objects += "{\"a\":";
    }
    EXPECT_EQ(refusalOf(objects), "is nested too deep");
}

TEST(ParseRecord, RefusesMoreColumnsThanATableCanHave) {
    std::string line = "{";
    for (int i = 0; i < 3000; ++i) {
        line += '"' + std::to_string(i) + "\":1,";
    }
    EXPECT_THAT(refusalOf(line + "\"x\":1}"), HasSubstr("more than 2000"));
}

}  // namespace
