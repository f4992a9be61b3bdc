#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class RoomsCommand : public ToolTest {
protected:
    Rows storedRooms() const {
        return rows(
            "SELECT room_id, name, icon_url, icon_path, icon_path_ex, is_top, info, capacity, online_number, "
            "info_version FROM tbl_room ORDER BY room_id");
    }

    const Arguments addWhole = {"rooms",
                                "add",
                                "5001",
                                "--name",
                                "it's a room",
                                "--info",
                                "isn't it?",
                                "--capacity",
                                "4294967295",
                                "--online",
                                "12",
                                "--top",
                                "--icon-url",
                                "https://example.org/i",
                                "--icon-path",
                                "/i/a.png",
                                "--icon-path-ex",
                                "/i/b.png",
                                "--info-version",
                                "3"};
};

TEST_F(RoomsCommand, AddStoresEveryField) {
    EXPECT_EQ(runWell(addWhole).out, "Stored room:5001.\n");
    EXPECT_EQ(storedRooms(), (Rows{{"5001", "it's a room", "https://example.org/i", "/i/a.png", "/i/b.png",
                                    "1", "isn't it?", "-1", "12", "3"}}));
}

TEST_F(RoomsCommand, AddKeepsWhatIsNotGiven) {
    runWell(addWhole);
    runWell({"rooms", "add", "room:5001", "--name", "", "--no-top"});
    EXPECT_EQ(storedRooms(), (Rows{{"5001", "", "https://example.org/i", "/i/a.png", "/i/b.png", "0",
                                    "isn't it?", "-1", "12", "3"}}));
    runWell({"rooms", "add", "5001", "--info-version", "0"});
    EXPECT_EQ(value("SELECT info_version FROM tbl_room"), "0");
}

TEST_F(RoomsCommand, AddKeepsTheFilesOfTheDataFolderRelative) {
    const std::string file = (dataDir() / "icons/a.png").string();
    runWell({"rooms", "add", "5", "--icon-path", file});
    EXPECT_EQ(value("SELECT icon_path FROM tbl_room"), "icons/a.png");
    runWell({"rooms", "add", "5", "--name", "x"});
    EXPECT_EQ(value("SELECT icon_path FROM tbl_room"), "icons/a.png");
    EXPECT_EQ(runWell({"rooms", "show", "5", "--json"}).json()["icon"]["path"], file);
}

TEST_F(RoomsCommand, ListsByIdAndShowsNames) {
    runWell({"rooms", "add", "4294967295", "--name", "last"});
    runWell({"rooms", "add", "7", "--name", "\x1b[31mred", "--top", "--capacity", "50"});
    EXPECT_EQ(runWell({"rooms"}).out,
              "ROOM             NAME         TOP  ONLINE  CAPACITY  REPLAYED TO\n"
              "room:7           \\x1B[31mred  top       0        50\n"
              "room:4294967295  last                   0         0\n");
}

TEST_F(RoomsCommand, ListsAsJson) {
    runWell(addWhole);
    EXPECT_EQ(runWell({"rooms", "--json"}).json(), json::parse(R"([{
        "target": "room:5001", "name": "it's a room", "info": "isn't it?", "top": true, "online": 12,
        "capacity": 4294967295, "icon": {"url": "https://example.org/i", "path": "/i/a.png",
        "path_ex": "/i/b.png"}, "info_version": 3, "replayed_to": null}])"));
    EXPECT_EQ(runWell({"rooms", "show", "5001", "--json"}).json(), runWell({"rooms", "--json"}).json()[0]);
}

TEST_F(RoomsCommand, ShowsARoom) {
    runWell(addWhole);
    EXPECT_EQ(runWell({"rooms", "show", "room:5001"}).out,
              "room            room:5001\n"
              "name            it's a room\n"
              "top             yes\n"
              "online          12\n"
              "capacity        4294967295\n"
              "info            isn't it?\n"
              "icon url        https://example.org/i\n"
              "icon path       /i/a.png\n"
              "icon path ex    /i/b.png\n"
              "info version    3\n");
}

TEST_F(RoomsCommand, RemoveLeavesMessagesAndSession) {
    runWell(addWhole);
    runWell({"rooms", "add", "5002"});
    runWell({"receive", "room:5001", "hi", "--from", "ann"});
    EXPECT_EQ(runWell({"rooms", "remove", "5001"}).out,
              "Removed the details of room:5001. Its messages stay.\n");
    EXPECT_EQ(rows("SELECT room_id FROM tbl_room"), (Rows{{"5002"}}));
    EXPECT_EQ(value("SELECT COUNT(*) FROM tbl_msg, tbl_session"), "1");
    EXPECT_EQ(runWell({"rooms", "remove", "5002", "--json"}).json(), (json{{"removed", "room:5002"}}));
    EXPECT_EQ(runWell({"rooms"}).out, "No rooms are stored yet.\n");
    EXPECT_EQ(runWell({"rooms", "--json"}).json(), json::array());
}

TEST_F(RoomsCommand, RefusesARoomThatIsNotStored) {
    runWell({"rooms", "add", "5"});
    for (const char* const command : {"show", "remove"}) {
        expectRefused(run({"rooms", command, "6"}), 1, AllOf(HasSubstr("room:6"), HasSubstr("pelko rooms")));
    }
}

TEST_F(RoomsCommand, RefusesWhatTheStoreCannotHold) {
    expectRefused(run({"rooms", "add", "4294967296"}), 2, HasSubstr("'4294967296' is not a number"));
    expectRefused(run({"rooms", "show", "4294967296"}), 2, HasSubstr("4294967296"));
    expectRefused(run({"rooms", "remove", "4294967297"}), 2, HasSubstr("4294967297"));
    expectRefused(run({"rooms", "add", "garden"}), 2, HasSubstr("'garden'"));
    expectRefused(run({"rooms", "add", "group:5"}), 2, HasSubstr("'group:5'"));
    for (const char* const option : {"--icon-url", "--icon-path", "--icon-path-ex"}) {
        expectRefused(run({"rooms", "add", "5", option, "a'b"}), 2,
                      AllOf(HasSubstr(option), HasSubstr("'a'b'"), HasSubstr("single quote")));
    }
    for (const char* const option : {"--capacity", "--online", "--info-version"}) {
        expectRefused(run({"rooms", "add", "5", option, "4294967296"}), 2, HasSubstr(option));
    }
    EXPECT_FALSE(fs::exists(dataDir()));
}

}  // namespace
