#include <algorithm>
#include <iterator>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/StoreTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Access = PelkoDBManagerTestAccess;
using Strings = std::vector<std::string>;

namespace {

constexpr char dump[] = "SELECT * FROM tbl_room ORDER BY room_id";
constexpr uint largest = std::numeric_limits<uint>::max();

std::string lookUp(s64 id) {
    return "SELECT * FROM tbl_room WHERE room_id = " + std::to_string(id);
}

PelkoRoom lobby() {
    PelkoRoom room(5001);
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

PelkoRoom roomOf(s64 id, const std::string& name) {
    PelkoRoom room;
    room.id = id;
    room.name = name;
    return room;
}

class RoomsTest : public StoreTest {
protected:
    bool store(PelkoRoom room, uint version = 1) { return db().insertOrUpdateRoom(&room, version); }
    void stored(const PelkoRoom& room, uint version = 1) {
        ASSERT_TRUE(store(room, version));
        forget();
    }
    /// Ids and names, as "5 five".
    static Strings told(const std::vector<PelkoRoom>& rooms) {
        Strings result;
        for (const PelkoRoom& room : rooms) {
            result.push_back(std::to_string(room.id) + " " + room.name);
        }
        return result;
    }
    static void expectLobby(const PelkoRoom& room) {
        EXPECT_EQ(room, PelkoRoom(5001));
        EXPECT_EQ(readFields(room), std::vector<bool>(8, true));
    }
    /// Which fields are lobby's, in the order in which they are read.
    static std::vector<bool> readFields(const PelkoRoom& room) {
        const PelkoRoom expected = lobby();
        return {room.name == expected.name,           room.icon.url == expected.icon.url,
                room.icon.path == expected.icon.path, room.icon.pathEx == expected.icon.pathEx,
                room.isTop == expected.isTop,         room.info == expected.info,
                room.capacity == expected.capacity,   room.onlineNumber == expected.onlineNumber};
    }
    /// Sets the fields that the store does not keep.
    static PelkoRoom withOtherFields(PelkoRoom room) {
        room.tag = 4;
        room.hasGotDetail = true;
        room.icon.tag = 4;
        room.icon.type = PelkoMediaTypeImage;
        room.icon.status = PelkoMediaStatusDownloaded;
        room.icon.duration = 4;
        return room;
    }
    static void expectSameOtherFields(const PelkoRoom& room, const PelkoRoom& expected) {
        EXPECT_EQ(room.type, expected.type);
        EXPECT_EQ(room.tag, expected.tag);
        EXPECT_EQ(room.hasGotDetail, expected.hasGotDetail);
        EXPECT_EQ(room.icon.tag, expected.icon.tag);
        EXPECT_EQ(room.icon.type, expected.icon.type);
        EXPECT_EQ(room.icon.status, expected.icon.status);
        EXPECT_EQ(room.icon.duration, expected.icon.duration);
    }
    /// Expects that the record carries the id and is otherwise as its constructor made it.
    static void expectOnlyId(const PelkoRoom& room, s64 id) {
        EXPECT_EQ(room.id, id);
        EXPECT_EQ(room.name + room.info + room.icon.url + room.icon.path + room.icon.pathEx, "");
        EXPECT_FALSE(room.isTop);
        EXPECT_EQ(room.capacity + room.onlineNumber, 0U);
        expectSameOtherFields(room, PelkoRoom());
    }
};

// ---- insertOrUpdateRoom

TEST_F(RoomsTest, NewRoomIsInserted) {
    EXPECT_TRUE(store(lobby(), 3));
    EXPECT_THAT(
        statements(),
        ElementsAre(lookUp(5001),
                    "INSERT INTO tbl_room (room_id, name, icon_url, icon_path, icon_path_ex, is_top, info, "
                    "capacity, online_number, info_version) VALUES (5001, 'Lobby', 'http://icons/1', "
                    "'icons/1.png', 'icons/1-small.png', 1, 'open to all', 200, 17, 3)"));
    EXPECT_EQ(rows(dump), (std::vector<Row>{{"5001", "Lobby", "http://icons/1", "icons/1.png",
                                             "icons/1-small.png", "1", "open to all", "200", "17", "3"}}));
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
    EXPECT_EQ(rows(dump), (std::vector<Row>{{"5001", "Lobby", "http://icons/1", "icons/1.png",
                                             "icons/1-small.png", "1", "open to all", "200", "17", "3"},
                                            {"5002", "other", "", "", "", "0", "", "0", "0", "1"}}));
    expectNothingLogged();
}

TEST_F(RoomsTest, SecondStoringReplacesTheFirstWithASmallerVersionToo) {
    stored(lobby(), 9);
    EXPECT_TRUE(store(roomOf(5001, "bare"), 2));
    EXPECT_EQ(rows(dump), (std::vector<Row>{{"5001", "bare", "", "", "", "0", "", "0", "0", "2"}}));
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
    room.capacity = largest;
    room.onlineNumber = 2147483648U;
    EXPECT_TRUE(store(room, largest - 1));
    EXPECT_EQ(rows("SELECT capacity, online_number, info_version FROM tbl_room"),
              (std::vector<Row>{{"-1", "-2147483648", "-2"}}));
    EXPECT_EQ(db().getRoomInfo(5).capacity, largest);
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

// ---- the values that are not escaped

struct UnescapedField {
    const char* name;
    std::string PelkoMedia::*of;
    const char* secondRow;  ///< what pasted there would end the row and begin another one
};

class RoomsUnescapedValues : public RoomsTest, public testing::WithParamInterface<UnescapedField> {
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
    const std::vector<Row> before = rows(dump);
    for (const std::string& text : Strings{"'", "it's", "a''b", "x'||'y", "x', 'y", "x', name = 'y",
                                           "x' WHERE 1=1 --", "/app/x'||'y", GetParam().secondRow}) {
        SCOPED_TRACE(text);
        for (const s64 id : {7, 5001}) {  // to be inserted, and to be updated
            forget();
            EXPECT_FALSE(store(roomWith(id, text)));
            expectFailureLogged("insertOrUpdateRoom", HasSubstr("unrecognized token"));
            EXPECT_THAT(statements(), ElementsAre(lookUp(id)));
            EXPECT_EQ(rows(dump), before);
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
        UnescapedField{"IconUrl", &PelkoMedia::url, "x', '', '', 0, '', 0, 0, 0), (99, 'second', 'y"},
        UnescapedField{"IconPath", &PelkoMedia::path, "x', '', 0, '', 0, 0, 0), (99, 'second', '', 'y"},
        UnescapedField{"IconPathEx", &PelkoMedia::pathEx, "x', 0, '', 0, 0, 0), (99, 'second', '', '', 'y"}),
    [](const testing::TestParamInfo<UnescapedField>& field) { return std::string(field.param.name); });

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

// ---- getRoomInfo and the row reader

TEST_F(RoomsTest, StoredRoomComesBack) {
    stored(lobby(), 3);
    expectLobby(db().getRoomInfo(5001));
    EXPECT_THAT(statements(), ElementsAre(lookUp(5001)));
    expectNothingLogged();
}

TEST_F(RoomsTest, OtherIconFieldsAndDetailFlagAreNeitherStoredNorRead) {
    stored(withOtherFields(lobby()), 3);
    expectSameOtherFields(db().getRoomInfo(5001), PelkoRoom());
}

TEST_F(RoomsTest, UnknownRoomCarriesOnlyItsId) {
    expectOnlyId(db().getRoomInfo(5001), 5001);
    EXPECT_THAT(statements(), ElementsAre(lookUp(5001)));
    expectNothingLogged();
}

TEST_F(RoomsTest, IdIsLookedUpInFullAndReturnedIn32Bits) {
    stored(roomOf(5, "small"));
    stored(roomOf(4294967301, "big"));
    EXPECT_THAT(told({db().getRoomInfo(4294967301), db().getRoomInfo(5)}), ElementsAre("5 big", "5 small"));
    expectOnlyId(db().getRoomInfo(8589934597), 5);
    expectOnlyId(db().getRoomInfo(-1), 4294967295);
    EXPECT_THAT(statements(), ElementsAre(lookUp(4294967301), lookUp(5), lookUp(8589934597), lookUp(-1)));
}

TEST_F(RoomsTest, MissingValuesAreEmptyAndZero) {
    execute("INSERT INTO tbl_room (room_id) VALUES (5)");
    expectOnlyId(db().getRoomInfo(5), 5);
    expectNothingLogged();
}

TEST_F(RoomsTest, AnyNumberButZeroPutsTheRoomOnTop) {
    execute("INSERT INTO tbl_room (room_id, is_top) VALUES (1, 0), (2, 2), (3, -1)");
    EXPECT_FALSE(db().getRoomInfo(1).isTop);
    EXPECT_TRUE(db().getRoomInfo(2).isTop);
    EXPECT_TRUE(db().getRoomInfo(3).isTop);
}

TEST_F(RoomsTest, OnlyTheFirstRowIsRead) {
    changeTables(
        "ALTER TABLE tbl_room RENAME TO keyed; CREATE TABLE tbl_room AS SELECT * FROM keyed;"
        "INSERT INTO tbl_room (room_id, name) VALUES (5, 'first'), (5, 'second')");
    EXPECT_THAT(told({db().getRoomInfo(5)}), ElementsAre("5 first"));
}

TEST_F(RoomsTest, RoomInfoKeepsWhatWasReadBeforeTheFailure) {
    stored(lobby());
    changeTables("ALTER TABLE tbl_room RENAME COLUMN capacity TO places");
    const PelkoRoom room = db().getRoomInfo(5001);
    expectFailureLogged("getRoomInfo", HasSubstr("capacity"));
    EXPECT_EQ(room.info, "open to all");
    EXPECT_EQ(room.capacity, 0U);
    EXPECT_EQ(room.onlineNumber, 0U);
}

TEST_F(RoomsTest, RowReaderFillsItsFieldsInOrderAndNoOthers) {
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
    EXPECT_THAT(rows(dump), IsEmpty());
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

// ---- getRoomList

TEST_F(RoomsTest, RoomListOfAnEmptyTableLeavesTheCallersListAsItIs) {
    std::vector<PelkoRoom> list = {roomOf(1, "held")};
    EXPECT_TRUE(db().getRoomList(list));
    EXPECT_THAT(statements(), ElementsAre("SELECT * FROM tbl_room ORDER BY rowid asc"));
    EXPECT_THAT(told(list), ElementsAre("1 held"));
    expectNothingLogged();
}

TEST_F(RoomsTest, RoomListIsAddedToTheCallersList) {
    stored(lobby());
    stored(roomOf(5002, "other"));
    std::vector<PelkoRoom> list = {roomOf(1, "held")};
    EXPECT_TRUE(db().getRoomList(list));
    EXPECT_THAT(told(list), ElementsAre("1 held", "5001 Lobby", "5002 other"));
    expectLobby(list[1]);
    expectSameOtherFields(list[1], PelkoRoom());
}

TEST_F(RoomsTest, RoomListIsInTheOrderOfRowIdsAndAnUpdateKeepsTheRoomsPlace) {
    // room_id is an integer primary key, so in files of this format it is the row id itself.
    for (const s64 id : {9, 3, 7}) {
        stored(roomOf(id, "old"));
    }
    stored(roomOf(3, "new"));
    std::vector<PelkoRoom> list;
    EXPECT_TRUE(db().getRoomList(list));
    EXPECT_THAT(told(list), ElementsAre("3 new", "7 old", "9 old"));
}

TEST_F(RoomsTest, RoomListNarrowsIds) {
    stored(roomOf(4294967301, "big"));
    stored(roomOf(-1, "negative"));
    std::vector<PelkoRoom> list;
    EXPECT_TRUE(db().getRoomList(list));
    EXPECT_THAT(told(list), ElementsAre("4294967295 negative", "5 big"));
}

TEST_F(RoomsTest, RoomListOfAThousandIsOneStatement) {
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

TEST_F(RoomsTest, RoomListKeepsTheRoomsReadBeforeAFailure) {
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

TEST_F(RoomsTest, RoomListWithoutAColumnFailsInTheFirstRow) {
    stored(lobby());
    changeTables("ALTER TABLE tbl_room RENAME COLUMN online_number TO present");
    std::vector<PelkoRoom> list;
    EXPECT_FALSE(db().getRoomList(list));
    expectFailureLogged("getRoomList", HasSubstr("online_number"));
    EXPECT_THAT(list, IsEmpty());
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

const Operation operations[] = {
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
                         testing::ValuesIn(std::begin(operations), std::end(operations) - 1), nameOf);
INSTANTIATE_TEST_SUITE_P(ButInsertOrUpdate, RoomFailures,
                         testing::ValuesIn(std::begin(operations) + 1, std::end(operations)), nameOf);

}  // namespace
