#include <iterator>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "tests/classes/storage/RoomsTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr char allRooms[] = "SELECT * FROM tbl_room ORDER BY room_id";
constexpr uint largestRoomVersion = std::numeric_limits<uint>::max();

// ---- insertOrUpdateRoom

TEST_F(RoomsTest, NewRoomIsInserted) {
    EXPECT_TRUE(store(lobby(), 3));
    EXPECT_THAT(
        statements(),
        ElementsAre(lookUp(5001),
                    "INSERT INTO tbl_room (room_id, name, icon_url, icon_path, icon_path_ex, is_top, info, "
                    "capacity, online_number, info_version) VALUES (5001, 'Lobby', 'http://icons/1', "
                    "'icons/1.png', 'icons/1-small.png', 1, 'open to all', 200, 17, 3)"));
    EXPECT_EQ(rows(allRooms),
              (std::vector<Row>{{"5001", "Lobby", "http://icons/1", "icons/1.png", "icons/1-small.png", "1",
                                 "open to all", "200", "17", "3"}}));
    expectNothingLogged();
}

TEST_F(RoomsTest, KnownRoomIsUpdated) {
    stored(roomOf(5001, "old"), 1);
    stored(roomOf(5002, "other"), 1);
    EXPECT_TRUE(store(lobby(), 3));
    EXPECT_THAT(statements(),
                ElementsAre(lookUp(5001),
                            "UPDATE tbl_room SET name = 'Lobby', icon_url = 'http://icons/1', icon_path = "
                            "'icons/1.png', icon_path_ex = 'icons/1-small.png', is_top = 1, info = "
                            "'open to all', capacity = 200, online_number = 17, info_version = 3 WHERE "
                            "room_id = 5001"));
    EXPECT_EQ(rows(allRooms), (std::vector<Row>{{"5001", "Lobby", "http://icons/1", "icons/1.png",
                                                 "icons/1-small.png", "1", "open to all", "200", "17", "3"},
                                                {"5002", "other", "", "", "", "0", "", "0", "0", "1"}}));
    expectNothingLogged();
}

TEST_F(RoomsTest, SecondStoringReplacesTheFirstWithASmallerVersionToo) {
    stored(lobby(), 9);
    EXPECT_TRUE(store(roomOf(5001, "bare"), 2));
    EXPECT_EQ(rows(allRooms), (std::vector<Row>{{"5001", "bare", "", "", "", "0", "", "0", "0", "2"}}));
    EXPECT_TRUE(store(roomOf(5001, "bare"), 2)) << "the same again is a change, too";
}

TEST_F(RoomsTest, NullPointerStoresNothing) {
    EXPECT_FALSE(db().insertOrUpdateRoom(nullptr, 1));
    EXPECT_THAT(statements(), IsEmpty());
    expectNothingLogged();
}

TEST_F(RoomsTest, StoringLeavesTheCallersRecordAsItIs) {
    PelkoRoom room = lobby();
    ASSERT_TRUE(db().insertOrUpdateRoom(&room, 1));
    EXPECT_EQ(room.icon.path, "/app/icons/1.png");
    EXPECT_EQ(room.icon.pathEx, "/app/icons/1-small.png");
    EXPECT_FALSE(room.hasGotDetail);
}

TEST_F(RoomsTest, NameAndInfoAreEscaped) {
    PelkoRoom room = roomOf(5, "O'Neil's ''room''");
    room.info = "'; DROP TABLE tbl_room; --";
    for (int round = 0; round < 2; ++round) {  // once inserted, once updated
        EXPECT_TRUE(store(room));
        EXPECT_EQ(rows("SELECT name, info FROM tbl_room"), (std::vector<Row>{{room.name, room.info}}));
        EXPECT_EQ(db().getRoomInfo(5).name, room.name);
        EXPECT_EQ(db().getRoomInfo(5).info, room.info);
        std::swap(room.name, room.info);
    }
    expectNothingLogged();
}

TEST_F(RoomsTest, UnsignedNumbersAreWrittenAsSignedOnes) {
    PelkoRoom room = roomOf(5, "full");
    room.capacity = largestRoomVersion;
    room.onlineNumber = 2147483648U;
    EXPECT_TRUE(store(room, largestRoomVersion - 1));
    EXPECT_EQ(rows("SELECT capacity, online_number, info_version FROM tbl_room"),
              (std::vector<Row>{{"-1", "-2147483648", "-2"}}));
    EXPECT_EQ(db().getRoomInfo(5).capacity, largestRoomVersion);
    EXPECT_EQ(db().getRoomInfo(5).onlineNumber, 2147483648U);
}

TEST_F(RoomsTest, IdsAreWrittenInFull) {
    for (const s64 id : {s64{5}, s64{4294967301}, s64{-1}, std::numeric_limits<s64>::max()}) {
        EXPECT_TRUE(store(roomOf(id, "old")));
        EXPECT_TRUE(store(roomOf(id, "room " + std::to_string(id))));
    }
    EXPECT_EQ(rows("SELECT room_id, name FROM tbl_room ORDER BY room_id"),
              (std::vector<Row>{{"-1", "room -1"},
                                {"5", "room 5"},
                                {"4294967301", "room 4294967301"},
                                {"9223372036854775807", "room 9223372036854775807"}}));
}

TEST_F(RoomsTest, IconPathsOutsideTheDataRootStayAbsolute) {
    PelkoRoom room = lobby();
    room.icon.path = "/sdcard/1.png";
    room.icon.pathEx = "/app-old/1.png";
    EXPECT_TRUE(store(room));
    EXPECT_EQ(rows("SELECT icon_path, icon_path_ex FROM tbl_room"),
              (std::vector<Row>{{"/sdcard/1.png", "/app-old/1.png"}}));
}

TEST_F(RoomsTest, StoringIsFalseWhenNoRowChanges) {
    stored(roomOf(5, "kept"));
    changeTables(
        "CREATE TRIGGER no_insert BEFORE INSERT ON tbl_room BEGIN SELECT RAISE(IGNORE); END;"
        "CREATE TRIGGER no_update BEFORE UPDATE ON tbl_room BEGIN SELECT RAISE(IGNORE); END");
    EXPECT_FALSE(store(roomOf(5, "changed")));
    EXPECT_FALSE(store(roomOf(6, "new")));
    EXPECT_EQ(rows("SELECT room_id, name FROM tbl_room"), (std::vector<Row>{{"5", "kept"}}));
    expectNothingLogged();
}

TEST_F(RoomsTest, FailedInsertAndFailedUpdateAreLoggedAndChangeNothing) {
    stored(roomOf(5, "kept"));
    changeTables(
        "CREATE TRIGGER no_insert BEFORE INSERT ON tbl_room BEGIN SELECT RAISE(ABORT, 'no insert'); END;"
        "CREATE TRIGGER no_update BEFORE UPDATE ON tbl_room BEGIN SELECT RAISE(ABORT, 'no update'); END");
    EXPECT_FALSE(store(roomOf(5, "changed")));
    expectFailureLogged("insertOrUpdateRoom", "no update");
    forget();
    EXPECT_FALSE(store(roomOf(6, "new")));
    expectFailureLogged("insertOrUpdateRoom", "no insert");
    EXPECT_EQ(rows("SELECT room_id, name FROM tbl_room"), (std::vector<Row>{{"5", "kept"}}));
}

TEST_F(RoomsTest, StoringWithoutTheTableFailsInTheLookUpAndInTheInsertion) {
    changeTables("DROP TABLE tbl_room");
    EXPECT_FALSE(store(lobby()));
    EXPECT_THAT(platform().file,
                ElementsAre("checkIfRecordExist failed, exception in (no such table: tbl_room).",
                            "insertOrUpdateRoom failed, exception in (no such table: tbl_room)."));
    EXPECT_THAT(platform().console,
                ElementsAre("[pelko]" + platform().file[0], "[pelko]" + platform().file[1]));
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(RoomsTest, FailedLookUpIsFollowedByAnInsertion) {
    stored(roomOf(5, "kept"));
    // A computed column, which fails in this row alone and so fails the look-up, but not an insertion.
    changeTables(
        "UPDATE tbl_room SET info_version = -9223372036854775808;"
        "ALTER TABLE tbl_room ADD COLUMN broken AS (abs(info_version))");
    EXPECT_FALSE(store(roomOf(5, "changed")));
    expectLogged({"checkIfRecordExist failed, exception in (integer overflow).",
                  "insertOrUpdateRoom failed, exception in (UNIQUE constraint failed: tbl_room.room_id)."});
    EXPECT_EQ(rows("SELECT room_id, name FROM tbl_room"), (std::vector<Row>{{"5", "kept"}}));
}

// ---- the values that are not escaped

struct UnescapedRoomField {
    const char* name;
    std::string PelkoMedia::*of;
    const char* secondRow;  ///< what pasted there would end the row and begin another one
};

class RoomsUnescapedValues : public RoomsTest, public testing::WithParamInterface<UnescapedRoomField> {
protected:
    static PelkoRoom roomWith(s64 id, const std::string& text) {
        PelkoRoom room = roomOf(id, "changed");
        room.icon.*GetParam().of = text;
        return room;
    }
};

TEST_P(RoomsUnescapedValues, AnyQuoteFailsAndChangesNothing) {
    stored(lobby(), 3);
    stored(roomOf(6, "other"), 4);
    const std::vector<Row> before = rows(allRooms);
    for (const std::string& text : Strings{"'", "it's", "a''b", "x'||'y", "x', 'y", "x', name = 'y",
                                           "x' WHERE 1=1 --", "/app/x'||'y", GetParam().secondRow}) {
        SCOPED_TRACE(text);
        for (const s64 id : {7, 5001}) {  // to be inserted, and to be updated
            forget();
            EXPECT_FALSE(store(roomWith(id, text)));
            expectFailureLogged("insertOrUpdateRoom", HasSubstr("unrecognized token"));
            EXPECT_THAT(statements(), ElementsAre(lookUp(id)));
            EXPECT_EQ(rows(allRooms), before);
        }
    }
}

TEST_P(RoomsUnescapedValues, AnythingElseIsKeptByteForByte) {
    for (const std::string& text :
         Strings{"%s%n%d 100%", "a;b; DROP TABLE tbl_room;", "back\\slash", "-- no comment", "/* nor this */",
                 "\"double\" `back` [square]", "caf\xc3\xa9 \xf0\x9f\x90\xb1", "\xff\xfe no UTF-8",
                 "line\nfeed\ttab", " "}) {
        SCOPED_TRACE(text);
        for (int round = 0; round < 2; ++round) {  // once inserted, once updated
            EXPECT_TRUE(store(roomWith(7, text)));
            EXPECT_EQ(rows("SELECT icon_url || icon_path || icon_path_ex FROM tbl_room"),
                      (std::vector<Row>{{text}}));
        }
        EXPECT_TRUE(db().deleteRoom(7));
    }
    expectNothingLogged();
}

INSTANTIATE_TEST_SUITE_P(
    Fields, RoomsUnescapedValues,
    testing::Values(
        UnescapedRoomField{"IconUrl", &PelkoMedia::url, "x', '', '', 0, '', 0, 0, 0), (99, 'second', 'y"},
        UnescapedRoomField{"IconPath", &PelkoMedia::path, "x', '', 0, '', 0, 0, 0), (99, 'second', '', 'y"},
        UnescapedRoomField{"IconPathEx", &PelkoMedia::pathEx,
                           "x', 0, '', 0, 0, 0), (99, 'second', '', '', 'y"}),
    [](const testing::TestParamInfo<UnescapedRoomField>& field) { return std::string(field.param.name); });

// ---- roomExist

TEST_F(RoomsTest, RoomExistsByItsFullId) {
    stored(roomOf(4294967301, "big"));
    EXPECT_TRUE(db().roomExist(4294967301));
    EXPECT_FALSE(db().roomExist(5));
    EXPECT_THAT(statements(), ElementsAre(lookUp(4294967301), lookUp(5)));
    expectNothingLogged();
}

TEST_F(RoomsTest, RoomExistOnAClosedStoreFailsInTheLookUp) {
    stored(lobby());
    close();
    EXPECT_FALSE(db().roomExist(5001));
    expectFailureLogged("checkIfRecordExist");
    EXPECT_THAT(statements(), IsEmpty());
}

// ---- deleteRoom and clearRoomList

TEST_F(RoomsTest, DeleteRoomDeletesThatRoom) {
    stored(roomOf(5, "small"));
    stored(roomOf(4294967301, "big"));
    EXPECT_TRUE(db().deleteRoom(4294967301));
    EXPECT_THAT(statements(), ElementsAre("DELETE FROM tbl_room WHERE room_id = 4294967301"));
    EXPECT_EQ(rows("SELECT name FROM tbl_room"), (std::vector<Row>{{"small"}}));
    expectNothingLogged();
}

TEST_F(RoomsTest, DeleteRoomOfAnUnknownIdIsFalse) {
    stored(roomOf(5, "small"));
    forget();
    EXPECT_FALSE(db().deleteRoom(6));
    EXPECT_THAT(statements(), ElementsAre("DELETE FROM tbl_room WHERE room_id = 6"));
    EXPECT_EQ(value("SELECT count(*) FROM tbl_room"), "1");
    expectNothingLogged();
}

TEST_F(RoomsTest, ClearRoomListDeletesEveryRoomAndNothingElse) {
    stored(roomOf(5, "a"));
    stored(roomOf(6, "b"));
    execute(
        "INSERT INTO tbl_group (group_id) VALUES (5); INSERT INTO tbl_session (target_type, target_id) "
        "VALUES (1, '5'); INSERT INTO tbl_msg (receiver_type, receiver_id) VALUES (1, '5')");
    EXPECT_TRUE(db().clearRoomList());
    EXPECT_THAT(statements(), ElementsAre("DELETE FROM tbl_room"));
    EXPECT_THAT(rows(allRooms), IsEmpty());
    EXPECT_EQ(value("SELECT (SELECT count(*) FROM tbl_group) || (SELECT count(*) FROM tbl_session) || "
                    "(SELECT count(*) FROM tbl_msg)"),
              "111");
    expectNothingLogged();
}

TEST_F(RoomsTest, ClearRoomListWithoutRoomsIsFalse) {
    EXPECT_FALSE(db().clearRoomList());
    EXPECT_THAT(statements(), ElementsAre("DELETE FROM tbl_room"));
    expectNothingLogged();
}

// ---- not ready and SQL failure

class RoomOperations : public OperationTest {};
class RoomFailures : public OperationTest {};

TEST_P(RoomOperations, LogOnceWhenClosed) {
    expectNotReadyWhenClosed();
}

TEST_P(RoomOperations, LogOnceWithAClosedConnection) {
    expectNotReadyWithClosedConnection();
}

TEST_P(RoomFailures, WithoutTheTable) {
    expectFailureWithout("tbl_room");
}

const Operation roomOperations[] = {
    {"insertOrUpdateRoom", "insertOrUpdateRoom",
     [](PelkoDBManager& db) {
         PelkoRoom room = lobby();
         EXPECT_FALSE(db.insertOrUpdateRoom(&room, 1));
     }},
    {"getRoomInfo", "getRoomInfo",
     [](PelkoDBManager& db) {
         const PelkoRoom room = db.getRoomInfo(4294967301);
         EXPECT_EQ(room, PelkoRoom(5));
         EXPECT_EQ(room.name, "");
     }},
    {"deleteRoom", "deleteRoom", [](PelkoDBManager& db) { EXPECT_FALSE(db.deleteRoom(5)); }},
    {"getRoomList", "getRoomList",
     [](PelkoDBManager& db) {
         std::vector<PelkoRoom> list(2);
         EXPECT_FALSE(db.getRoomList(list));
         EXPECT_EQ(list.size(), 2U);
     }},
    {"clearRoomList", "clearRoomList", [](PelkoDBManager& db) { EXPECT_FALSE(db.clearRoomList()); }},
    {"roomExist", "checkIfRecordExist", [](PelkoDBManager& db) { EXPECT_FALSE(db.roomExist(5001)); }}};

// roomExist makes no readiness check, and insertOrUpdateRoom fails twice without the table; both have tests
// of their own.
INSTANTIATE_TEST_SUITE_P(ButRoomExist, RoomOperations,
                         testing::ValuesIn(std::begin(roomOperations), std::end(roomOperations) - 1), nameOf);
INSTANTIATE_TEST_SUITE_P(ButInsertOrUpdate, RoomFailures,
                         testing::ValuesIn(std::begin(roomOperations) + 1, std::end(roomOperations)), nameOf);

}  // namespace
