#include "tools/pelko/LogReplay.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <optional>

#include "tools/pelko/ToolError.h"

using namespace pelkotool;
using testing::AllOf;
using testing::HasSubstr;

namespace {

LogFile logOf(const std::string& channel) {
    LogFile file;
    file.channel = channel;
    return file;
}

/// The first two channel names of a series that stand for the same room.
std::pair<std::string, std::string> channelsOfOneRoom() {
    std::map<unsigned int, std::string> seen;
    for (int i = 0;; ++i) {
        const std::string channel = "channel" + std::to_string(i);
        const auto [known, isNew] = seen.emplace(roomIdOfChannel(channel), channel);
        if (!isNew) {
            return {known->second, channel};
        }
    }
}

TEST(RequireDistinctRooms, TakesAnyNumberOfLogsOfOneChannel) {
    EXPECT_NO_THROW(requireDistinctRooms({logOf("rust"), logOf("rust"), logOf("garden")}));
}

TEST(RequireDistinctRooms, RefusesTwoChannelsOfOneRoom) {
    const auto [one, other] = channelsOfOneRoom();
    try {
        requireDistinctRooms({logOf("rust"), logOf(one), logOf(other)});
        ADD_FAILURE() << "taken";
    } catch (const ToolError& error) {
        EXPECT_THAT(error.what(), AllOf(HasSubstr("'" + one + "'"), HasSubstr("'" + other + "'"),
                                        HasSubstr("room:" + std::to_string(roomIdOfChannel(one)))));
    }
}

}  // namespace
