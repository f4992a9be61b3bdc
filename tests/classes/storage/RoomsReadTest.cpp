#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "tests/classes/storage/RoomsTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Access = PelkoDBManagerTestAccess;

namespace {

class RoomsReadTest : public RoomsTest {};

// ---- getRoomInfo and the row reader

TEST_F(RoomsReadTest, StoredRoomComesBack) {
    stored(lobby(), 3);
    expectLobby(db().getRoomInfo(5001));
    EXPECT_THAT(statements(), ElementsAre(lookUp(5001)));
    expectNothingLogged();
}

TEST_F(RoomsReadTest, OtherIconFieldsAndDetailFlagAreNeitherStoredNorRead) {
    stored(withOtherFields(lobby()), 3);
    expectSameOtherFields(db().getRoomInfo(5001), PelkoRoom());
}

TEST_F(RoomsReadTest, UnknownRoomCarriesOnlyItsId) {
    expectOnlyId(db().getRoomInfo(5001), 5001);
    EXPECT_THAT(statements(), ElementsAre(lookUp(5001)));
    expectNothingLogged();
}

TEST_F(RoomsReadTest, IdIsLookedUpInFullAndReturnedIn32Bits) {
    stored(roomOf(5, "small"));
    stored(roomOf(4294967301, "big"));
    EXPECT_THAT(told({db().getRoomInfo(4294967301), db().getRoomInfo(5)}), ElementsAre("5 big", "5 small"));
    expectOnlyId(db().getRoomInfo(8589934597), 5);
    expectOnlyId(db().getRoomInfo(-1), 4294967295);
    EXPECT_THAT(statements(), ElementsAre(lookUp(4294967301), lookUp(5), lookUp(8589934597), lookUp(-1)));
}

TEST_F(RoomsReadTest, MissingValuesAreEmptyAndZero) {
    execute("INSERT INTO tbl_room (room_id) VALUES (5)");
    expectOnlyId(db().getRoomInfo(5), 5);
    expectNothingLogged();
}

TEST_F(RoomsReadTest, AnyNumberButZeroPutsTheRoomOnTop) {
    execute("INSERT INTO tbl_room (room_id, is_top) VALUES (1, 0), (2, 2), (3, -1)");
    EXPECT_FALSE(db().getRoomInfo(1).isTop);
    EXPECT_TRUE(db().getRoomInfo(2).isTop);
    EXPECT_TRUE(db().getRoomInfo(3).isTop);
}

TEST_F(RoomsReadTest, TheFlagIsReadFromTheLow32Bits) {
    execute("INSERT INTO tbl_room (room_id, is_top) VALUES (1, 4294967296), (2, 4294967297)");
    EXPECT_FALSE(db().getRoomInfo(1).isTop);
    EXPECT_TRUE(db().getRoomInfo(2).isTop);
}

TEST_F(RoomsReadTest, OnlyTheFirstRowIsRead) {
    changeTables(
        "ALTER TABLE tbl_room RENAME TO keyed; CREATE TABLE tbl_room AS SELECT * FROM keyed;"
        "INSERT INTO tbl_room (room_id, name) VALUES (5, 'first'), (5, 'second')");
    EXPECT_THAT(told({db().getRoomInfo(5)}), ElementsAre("5 first"));
}

TEST_F(RoomsReadTest, RoomInfoKeepsWhatWasReadBeforeTheFailure) {
    stored(lobby());
    changeTables("ALTER TABLE tbl_room RENAME COLUMN capacity TO places");
    const PelkoRoom room = db().getRoomInfo(5001);
    expectFailureLogged("getRoomInfo", HasSubstr("capacity"));
    EXPECT_EQ(room.info, "open to all");
    EXPECT_EQ(room.capacity, 0U);
    EXPECT_EQ(room.onlineNumber, 0U);
}

TEST_F(RoomsReadTest, RowReaderFillsItsFieldsInOrderAndNoOthers) {
    stored(lobby());
    const Strings columns = {"name",   "icon_url", "icon_path", "icon_path_ex",
                             "is_top", "info",     "capacity",  "online_number"};
    std::string selected;
    for (std::size_t read = 1; read <= columns.size(); ++read) {
        selected += (read == 1 ? "" : ", ") + columns[read - 1];
        SCOPED_TRACE(selected);
        PelkoRoom before = withOtherFields(PelkoRoom(77));
        before.type = PelkoChatTargetTypeGroup;
        PelkoRoom room = before;
        CppSQLite3Query query =
            Access::connection(db())->execQuery(("SELECT " + selected + " FROM tbl_room").c_str());
        if (read < columns.size()) {
            EXPECT_THROW(Access::updateRoomFromQuery(db(), query, room), CppSQLite3Exception);
        } else {
            Access::updateRoomFromQuery(db(), query, room);
        }
        std::vector<bool> expected(columns.size(), false);
        std::fill_n(expected.begin(), read, true);
        EXPECT_EQ(readFields(room), expected);
        EXPECT_EQ(room.id, 77);
        expectSameOtherFields(room, before);
    }
    expectNothingLogged();
}

TEST_F(RoomsReadTest, RowReaderNeedsNoOpenManager) {
    stored(lobby());
    const std::unique_ptr<PelkoDBManager> closed = Access::make();
    CppSQLite3Query query = Access::connection(db())->execQuery("SELECT * FROM tbl_room");
    PelkoRoom room;
    Access::updateRoomFromQuery(*closed, query, room);
    EXPECT_EQ(readFields(room), std::vector<bool>(8, true));
    expectNothingLogged();
}

TEST_F(RoomsReadTest, ReadersLetGoOfTheFile) {
    stored(lobby());
    db().getRoomInfo(5001);
    db().roomExist(5001);
    std::vector<PelkoRoom> list;
    db().getRoomList(list);
    execute("DELETE FROM tbl_room");
    EXPECT_EQ(value("PRAGMA wal_checkpoint(TRUNCATE)"), "0") << "busy while a reader holds what it read";
}

// ---- getRoomList

TEST_F(RoomsReadTest, RoomListOfAnEmptyTableLeavesTheCallersListAsItIs) {
    std::vector<PelkoRoom> list = {roomOf(1, "held")};
    EXPECT_TRUE(db().getRoomList(list));
    EXPECT_THAT(statements(), ElementsAre("SELECT * FROM tbl_room ORDER BY rowid asc"));
    EXPECT_THAT(told(list), ElementsAre("1 held"));
    expectNothingLogged();
}

TEST_F(RoomsReadTest, RoomListIsAddedToTheCallersList) {
    stored(lobby());
    stored(roomOf(5002, "other"));
    std::vector<PelkoRoom> list = {roomOf(1, "held")};
    EXPECT_TRUE(db().getRoomList(list));
    EXPECT_THAT(told(list), ElementsAre("1 held", "5001 Lobby", "5002 other"));
    expectLobby(list[1]);
    expectSameOtherFields(list[1], PelkoRoom());
}

TEST_F(RoomsReadTest, RoomListIsInTheOrderOfRowIdsAndAnUpdateKeepsTheRoomsPlace) {
    // room_id is an integer primary key, so in files of this format it is the row id itself.
    for (const s64 id : {9, 3, 7}) {
        stored(roomOf(id, "old"));
    }
    stored(roomOf(3, "new"));
    std::vector<PelkoRoom> list;
    EXPECT_TRUE(db().getRoomList(list));
    EXPECT_THAT(told(list), ElementsAre("3 new", "7 old", "9 old"));
}

TEST_F(RoomsReadTest, RoomListNarrowsIds) {
    stored(roomOf(4294967301, "big"));
    stored(roomOf(-1, "negative"));
    std::vector<PelkoRoom> list;
    EXPECT_TRUE(db().getRoomList(list));
    EXPECT_THAT(told(list), ElementsAre("4294967295 negative", "5 big"));
}

TEST_F(RoomsReadTest, RoomListReadsAMissingIdAsZero) {
    changeTables(
        "ALTER TABLE tbl_room RENAME TO keyed; CREATE TABLE tbl_room AS SELECT * FROM keyed;"
        "INSERT INTO tbl_room (name) VALUES ('without an id')");
    std::vector<PelkoRoom> list;
    EXPECT_TRUE(db().getRoomList(list));
    EXPECT_THAT(told(list), ElementsAre("0 without an id"));
}

TEST_F(RoomsReadTest, RoomListOfAThousandIsOneStatement) {
    execute(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1000) "
        "INSERT INTO tbl_room (room_id, name) SELECT i, 'room ' || i FROM n");
    std::vector<PelkoRoom> list;
    EXPECT_TRUE(db().getRoomList(list));
    EXPECT_EQ(statements().size(), 1U);
    ASSERT_EQ(list.size(), 1000U);
    EXPECT_EQ(list.front().name, "room 1");
    EXPECT_EQ(list.back().name, "room 1000");
}

TEST_F(RoomsReadTest, RoomListKeepsTheRoomsReadBeforeAFailure) {
    for (const s64 id : {1, 2, 3, 4}) {
        stored(roomOf(id, "room"));
    }
    // A computed column that fails in the third row alone. Room 2 is read by then, but a room is added only
    // once the step to the next row has been made.
    changeTables(
        "UPDATE tbl_room SET info_version = -9223372036854775808 WHERE room_id = 3;"
        "ALTER TABLE tbl_room ADD COLUMN broken AS (abs(info_version))");
    std::vector<PelkoRoom> list = {roomOf(9, "held")};
    EXPECT_FALSE(db().getRoomList(list));
    expectFailureLogged("getRoomList", "integer overflow");
    EXPECT_THAT(told(list), ElementsAre("9 held", "1 room"));
}

TEST_F(RoomsReadTest, RoomListWithoutAColumnFailsInTheFirstRow) {
    stored(lobby());
    changeTables("ALTER TABLE tbl_room RENAME COLUMN online_number TO present");
    std::vector<PelkoRoom> list;
    EXPECT_FALSE(db().getRoomList(list));
    expectFailureLogged("getRoomList", HasSubstr("online_number"));
    EXPECT_THAT(list, IsEmpty());
}

}  // namespace
