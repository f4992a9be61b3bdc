#ifndef PELKO_TESTS_CLASSES_STORAGE_ROOMS_TEST_H
#define PELKO_TESTS_CLASSES_STORAGE_ROOMS_TEST_H

#include <string>
#include <vector>

#include "tests/support/StoreTest.h"

namespace pelkotest {

using Strings = std::vector<std::string>;

inline pelkoapi::PelkoRoom lobby() {
    pelkoapi::PelkoRoom room(5001);
    room.name = "Lobby";
    room.info = "open to all";
    room.icon.url = "http://icons/1";
    room.icon.path = "/app/icons/1.png";
    room.icon.pathEx = "/app/icons/1-small.png";
    room.isTop = true;
    room.capacity = 200;
    room.onlineNumber = 17;
    return room;
}

inline pelkoapi::PelkoRoom roomOf(pelkoapi::s64 id, const std::string& name) {
    pelkoapi::PelkoRoom room;
    room.id = id;
    room.name = name;
    return room;
}

class RoomsTest : public StoreTest {
protected:
    static std::string lookUp(pelkoapi::s64 id) {
        return "SELECT * FROM tbl_room WHERE room_id = " + std::to_string(id);
    }
    bool store(pelkoapi::PelkoRoom room, pelkoapi::uint version = 1) {
        return db().insertOrUpdateRoom(&room, version);
    }
    void stored(const pelkoapi::PelkoRoom& room, pelkoapi::uint version = 1) {
        ASSERT_TRUE(store(room, version));
        forget();
    }
    /// Ids and names, as "5 five".
    static Strings told(const std::vector<pelkoapi::PelkoRoom>& rooms) {
        Strings result;
        for (const pelkoapi::PelkoRoom& room : rooms) {
            result.push_back(std::to_string(room.id) + " " + room.name);
        }
        return result;
    }
    static void expectLobby(const pelkoapi::PelkoRoom& room) {
        EXPECT_EQ(room, pelkoapi::PelkoRoom(5001));
        EXPECT_EQ(readFields(room), std::vector<bool>(8, true));
    }
    /// Which fields are lobby's, in the order in which they are read.
    static std::vector<bool> readFields(const pelkoapi::PelkoRoom& room) {
        const pelkoapi::PelkoRoom expected = lobby();
        return {room.name == expected.name,           room.icon.url == expected.icon.url,
                room.icon.path == expected.icon.path, room.icon.pathEx == expected.icon.pathEx,
                room.isTop == expected.isTop,         room.info == expected.info,
                room.capacity == expected.capacity,   room.onlineNumber == expected.onlineNumber};
    }
    /// Sets the fields that the store does not keep.
    static pelkoapi::PelkoRoom withOtherFields(pelkoapi::PelkoRoom room) {
        room.tag = 4;
        room.hasGotDetail = true;
        room.icon.tag = 4;
        room.icon.type = pelkoapi::PelkoMediaTypeImage;
        room.icon.status = pelkoapi::PelkoMediaStatusDownloaded;
        room.icon.duration = 4;
        return room;
    }
    static void expectSameOtherFields(const pelkoapi::PelkoRoom& room, const pelkoapi::PelkoRoom& expected) {
        EXPECT_EQ(room.type, expected.type);
        EXPECT_EQ(room.tag, expected.tag);
        EXPECT_EQ(room.hasGotDetail, expected.hasGotDetail);
        EXPECT_EQ(room.icon.tag, expected.icon.tag);
        EXPECT_EQ(room.icon.type, expected.icon.type);
        EXPECT_EQ(room.icon.status, expected.icon.status);
        EXPECT_EQ(room.icon.duration, expected.icon.duration);
    }
    /// Expects that the record carries the id and is otherwise as its constructor made it.
    static void expectOnlyId(const pelkoapi::PelkoRoom& room, pelkoapi::s64 id) {
        EXPECT_EQ(room.id, id);
        EXPECT_EQ(room.name + room.info + room.icon.url + room.icon.path + room.icon.pathEx, "");
        EXPECT_FALSE(room.isTop);
        EXPECT_EQ(room.capacity + room.onlineNumber, 0U);
        expectSameOtherFields(room, pelkoapi::PelkoRoom());
    }
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_CLASSES_STORAGE_ROOMS_TEST_H
