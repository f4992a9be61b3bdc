#include "tools/pelko/ReplayMarks.h"

#include <gtest/gtest.h>

#include <set>

#include "tools/pelko/ChatLog.h"

using namespace pelkotool;

namespace {

long long fingerprintOf(const std::vector<std::string>& lines) {
    Fingerprint fingerprint;
    for (const std::string& line : lines) {
        fingerprint.add(line);
    }
    return fingerprint.value();
}

TEST(Fingerprint, TellsLinesApart) {
    const std::vector<std::vector<std::string>> logs = {{},        {""},   {"", ""},   {"a"},      {"a", ""},
                                                        {"", "a"}, {"ab"}, {"a", "b"}, {"b", "a"}, {"\xff"}};
    std::set<long long> fingerprints;
    for (const auto& lines : logs) {
        fingerprints.insert(fingerprintOf(lines));
        EXPECT_EQ(fingerprintOf(lines), fingerprintOf(lines));
    }
    EXPECT_EQ(fingerprints.size(), logs.size());
}

TEST(Fingerprint, IsWhatASyncMarkCanHold) {
    for (int i = 0; i < 10'000; ++i) {
        ASSERT_GT(fingerprintOf({std::to_string(i)}), 0);
    }
}

TEST(RoomMarkText, TellsThePlace) {
    EXPECT_EQ(roomMarkText(7, messageIdOfLine(7, 17680, 14)), "2018-05-29 line 14");
    EXPECT_EQ(roomMarkText(8, messageIdOfLine(7, 17680, 14)),
              "message " + std::to_string(messageIdOfLine(7, 17680, 14)));
    EXPECT_EQ(roomMarkText(8, 5), "message 5");
}

}  // namespace
