#include "tools/pelko/salvage/Record.h"

#include <gtest/gtest.h>

using namespace pelkotool;

namespace {

std::optional<Record> parse(const Bytes& bytes) {
    return parseRecord(ByteView(bytes));
}

TEST(ByteViewVarint, ReadsOneToNineBytes) {
    const std::pair<Bytes, std::int64_t> cases[] = {
        {{0x00}, 0},
        {{0x7f}, 127},
        {{0x81, 0x00}, 128},
        {{0xff, 0x7f}, 16383},
        {{0x81, 0x80, 0x00}, 16384},
        {{0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}, -1},
        {{0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x05}, 5},
        {{0xc0, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00}, INT64_MIN},
    };
    for (const auto& [bytes, value] : cases) {
        const auto varint = ByteView(bytes).varint(0);
        ASSERT_TRUE(varint);
        EXPECT_EQ(varint->value, value);
        EXPECT_EQ(varint->size, bytes.size());
    }
}

TEST(ByteViewVarint, EndsWithTheBytes) {
    EXPECT_FALSE(ByteView(Bytes{}).varint(0));
    EXPECT_FALSE(ByteView(Bytes{0x81, 0x82}).varint(0));
    EXPECT_FALSE(ByteView(Bytes{0x01}).varint(1));
    EXPECT_FALSE(ByteView(Bytes{0x01}).varint(SIZE_MAX));
}

TEST(ByteView, NeverReadsBeyondItsEnd) {
    const Bytes bytes = {1, 2, 3, 4};
    const ByteView view(bytes);
    EXPECT_EQ(view.u32(0), 0x01020304U);
    EXPECT_EQ(view.u16(2), 0x0304U);
    EXPECT_THROW(view.u8(4), std::out_of_range);
    EXPECT_THROW(view.u16(3), std::out_of_range);
    EXPECT_THROW(view.u32(1), std::out_of_range);
    EXPECT_THROW(view.part(2, 3), std::out_of_range);
    EXPECT_THROW(view.part(SIZE_MAX, 2), std::out_of_range);
    EXPECT_FALSE(view.holds(2, SIZE_MAX));
    EXPECT_FALSE(view.holds(0, (std::uint64_t{1} << 32U) + 1));
}

TEST(ParseRecord, ReadsEveryClass) {
    const auto record =
        parse({12,   0,    1,    2,    3,    4,    8,    9,    7,    15,   16,   13,  // a header of 12 bytes
               0xff, 0x01, 0x02, 0x80, 0x00, 0x00, 0x7f, 0xff, 0xff, 0xfe, 0x3f, 0xf8,
               0,    0,    0,    0,    0,    0,    'a',  0x00, 0xff});
    ASSERT_TRUE(record);
    ASSERT_EQ(record->size(), 11U);
    EXPECT_EQ((*record)[0].kind, StorageClass::null);
    const std::int64_t integers[] = {-1, 258, -8388608, 2147483646, 0, 1};
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ((*record)[i + 1].kind, StorageClass::integer);
        EXPECT_EQ((*record)[i + 1].integer, integers[i]);
    }
    EXPECT_EQ((*record)[7].kind, StorageClass::real);
    EXPECT_EQ((*record)[7].real, 1.5);
    EXPECT_EQ((*record)[8].kind, StorageClass::text);
    EXPECT_EQ((*record)[8].bytes, "a");
    EXPECT_EQ((*record)[9].kind, StorageClass::blob);
    EXPECT_EQ((*record)[9].bytes, std::string("\0\xff", 2));
    EXPECT_EQ((*record)[10].kind, StorageClass::text);
    EXPECT_EQ((*record)[10].bytes, "");
}

TEST(ParseRecord, ReadsLongIntegers) {
    const auto record = parse({3, 5, 6, 0xff, 0xff, 0xff, 0xff, 0xff, 0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0});
    ASSERT_TRUE(record);
    EXPECT_EQ((*record)[0].integer, -2);
    EXPECT_EQ((*record)[1].integer, INT64_MIN);
}

TEST(ParseRecord, TakesNothingThatDoesNotAddUp) {
    EXPECT_TRUE(parse({2, 1, 5}));
    EXPECT_TRUE(parse({1}));            // no columns
    EXPECT_FALSE(parse({}));            // no header
    EXPECT_FALSE(parse({0}));           // shorter than its own length
    EXPECT_FALSE(parse({3, 1, 5}));     // a header that goes on into the body, and no value
    EXPECT_FALSE(parse({9, 1, 5}));     // beyond the end
    EXPECT_FALSE(parse({2, 1}));        // no body
    EXPECT_FALSE(parse({2, 1, 5, 6}));  // a byte left over
    EXPECT_FALSE(parse({2, 10, 5}));    // reserved types
    EXPECT_FALSE(parse({2, 11, 5}));
    EXPECT_FALSE(parse({2, 0x81, 0x0d, 5}));  // a type that reaches out of the header
    EXPECT_FALSE(parse({10, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}));  // a negative type
    EXPECT_FALSE(parse({6, 0xa0, 0x80, 0x80, 0x80, 0x0e, 5}));  // of 2^32 + 1 bytes, however long a size is
    EXPECT_FALSE(parse({10, 0xbf, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}));  // of 2^61 bytes
}

TEST(Fingerprint, TellsValuesAndClassesApart) {
    const auto of = [](const Value& value) { return fingerprint({value}); };
    Value blob = Value::ofText("1");
    blob.kind = StorageClass::blob;
    EXPECT_EQ(of(Value::ofText("1")), of(Value::ofText("1")));
    EXPECT_NE(of(Value::ofText("1")), of(Value::ofInteger(1)));
    EXPECT_NE(of(Value::ofText("1")), of(blob));
    EXPECT_NE(of(Value()), of(Value::ofText("")));
    EXPECT_NE(fingerprint({Value::ofText("ab"), Value::ofText("c")}),
              fingerprint({Value::ofText("a"), Value::ofText("bc")}));
}

}  // namespace
