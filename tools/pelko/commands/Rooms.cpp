#include <iostream>
#include <memory>
#include <utility>
#include <vector>

#include "classes/platform/Terminal.h"
#include "tools/pelko/Arguments.h"
#include "tools/pelko/Commands.h"
#include "tools/pelko/Details.h"
#include "tools/pelko/Json.h"
#include "tools/pelko/ReplayMarks.h"
#include "tools/pelko/Store.h"
#include "tools/pelko/Table.h"
#include "tools/pelko/Target.h"
#include "tools/pelko/ToolError.h"

// pelko rooms: the details of chat rooms.

namespace pelkotool {

using pelkoapi::PelkoChatTarget;
using pelkoapi::PelkoDBManager;
using pelkoapi::PelkoRoom;
using pelkoapi::stdoutWidth;

namespace {

struct RoomOptions {
    std::string room;
    std::optional<std::string> name;
    std::optional<std::string> capacity;
    std::optional<std::string> online;
    std::optional<bool> top;
    DetailOptions details;
    bool json = false;
};

/// The record with what the tool keeps beside it.
Json wholeJson(Store& store, const PelkoRoom& room) {
    Json json = roomJson(room, storedVersion(store, room));
    const auto id = static_cast<unsigned int>(room.id);
    const long long mark = roomMark(store, id);
    json["replayed_to"] =
        mark == 0 ? Json(nullptr) : Json({{"msg_id", mark}, {"line", roomMarkText(id, mark)}});
    return json;
}

std::string replayedText(Store& store, const PelkoRoom& room) {
    const auto id = static_cast<unsigned int>(room.id);
    const long long mark = roomMark(store, id);
    return mark == 0 ? std::string() : roomMarkText(id, mark);
}

void printRoom(Store& store, const PelkoRoom& room, bool json) {
    if (json) {
        printJson(wholeJson(store, room));
        return;
    }
    printField("room", targetText(room));
    printField("name", room.name);
    printField("top", room.isTop ? "yes" : "no");
    printField("online", std::to_string(room.onlineNumber));
    printField("capacity", std::to_string(room.capacity));
    printDetails(room, storedVersion(store, room));
    printField("replayed to", replayedText(store, room));
}

PelkoRoom readRoom(Store& store, const PelkoChatTarget& target) {
    return store.run("read " + targetText(target),
                     [&](PelkoDBManager& db) { return db.getRoomInfo(target.id); });
}

void requireStored(Store& store, const PelkoChatTarget& target) {
    if (!store.run("read " + targetText(target),
                   [&](PelkoDBManager& db) { return db.roomExist(target.id); })) {
        throw ToolError("no details of " + targetText(target) + " are stored; 'pelko rooms' lists the rooms");
    }
}

void listRooms(const GlobalOptions& global, bool json) {
    Store store(accountOf(global), Store::IfMissing::refuse);
    const auto rooms = store.run("read the rooms", [](PelkoDBManager& db) {
        std::vector<PelkoRoom> list;
        db.getRoomList(list);
        return list;
    });
    Json list = Json::array();
    Table table({{"ROOM"},
                 {"NAME"},
                 {"TOP"},
                 {"ONLINE", Table::Align::right},
                 {"CAPACITY", Table::Align::right},
                 {"REPLAYED TO"}});
    for (const PelkoRoom& room : rooms) {
        if (json) {
            list.push_back(wholeJson(store, room));
        } else {
            table.add({targetText(room), room.name, room.isTop ? "top" : "",
                       std::to_string(room.onlineNumber), std::to_string(room.capacity),
                       replayedText(store, room)});
        }
    }
    if (json) {
        printJson(list);
    } else if (rooms.empty()) {
        printLine("No rooms are stored yet.");
    } else {
        table.print(std::cout, stdoutWidth());
    }
}

void showRoom(const GlobalOptions& global, const std::string& text, bool json) {
    const PelkoChatTarget target = parseRoom(text);
    Store store(accountOf(global), Store::IfMissing::refuse);
    requireStored(store, target);
    printRoom(store, readRoom(store, target), json);
}

void addRoom(const GlobalOptions& global, const RoomOptions& options) {
    const PelkoChatTarget target = parseRoom(options.room);
    requireStorable(options.details);
    const auto capacity = parseCount("--capacity", options.capacity);
    const auto online = parseCount("--online", options.online);

    Store store(accountOf(global), Store::IfMissing::create);
    PelkoRoom room = readRoom(store, target);
    room.name = options.name.value_or(room.name);
    room.capacity = capacity.value_or(room.capacity);
    room.onlineNumber = online.value_or(room.onlineNumber);
    room.isTop = options.top.value_or(room.isTop);
    applyDetails(options.details, room);
    const unsigned int version = versionToStore(options.details, storedVersion(store, target));
    const std::string doing = "store " + targetText(target);
    if (!store.run(doing, [&](PelkoDBManager& db) { return db.insertOrUpdateRoom(&room, version); })) {
        throw ToolError("cannot " + doing + ": the store changed no row");
    }
    if (options.json) {
        printRoom(store, room, true);
    } else {
        printLine("Stored " + targetText(target) + '.');
    }
}

void removeRoom(const GlobalOptions& global, const std::string& text, bool json) {
    const PelkoChatTarget target = parseRoom(text);
    Store store(accountOf(global), Store::IfMissing::refuse);
    requireStored(store, target);
    store.run("remove " + targetText(target), [&](PelkoDBManager& db) { return db.deleteRoom(target.id); });
    if (json) {
        printJson({{"removed", targetText(target)}});
    } else {
        printLine("Removed the details of " + targetText(target) + ". Its messages stay.");
    }
}

}  // namespace

void addRoomCommands(CLI::App& app, const GlobalOptions& global) {
    const char* const roomHelp = "The room's id, as in 5001 or room:5001";
    CLI::App& rooms = addFamily(app, "rooms", "List, show, add and remove the details of rooms",
                                headingPlaces, [&global](bool json) { listRooms(global, json); });

    addItemCommand(rooms, "show", "Show a room's details", "ROOM", roomHelp,
                   [&global](const std::string& room, bool json) { showRoom(global, room, json); });

    const auto options = std::make_shared<RoomOptions>();
    CLI::App& add =
        addCommand(rooms, "add", "Store a room's details; what is not given keeps what is stored");
    addPositional(add, "ROOM", options->room, roomHelp);
    addGiven(add, "--name", "NAME", options->name, "The room's name");
    addGiven(add, "--capacity", "N", options->capacity, "How many users the room takes");
    addGiven(add, "--online", "N", options->online, "How many users are in it");
    addSwitch(add, "--top,!--no-top", options->top, "Whether the room is put on top");
    addDetailOptions(add, options->details);
    addJsonFlag(add, options->json);
    add.callback([&global, options] { addRoom(global, *options); });

    addItemCommand(rooms, "remove", "Remove a room's details; its messages and its session stay", "ROOM",
                   roomHelp,
                   [&global](const std::string& room, bool json) { removeRoom(global, room, json); });
    // Last: commands made later would show it, too.
    rooms.footer("Ids of rooms are numbers of 32 bits. REPLAYED TO is how far logs have been played.");
}

}  // namespace pelkotool
