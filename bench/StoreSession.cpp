#include "bench/StoreSession.h"

#include <memory>
#include <stdexcept>

#include "bench/Dataset.h"
#include "classes/platform/DefaultPlatform.h"
#include "classes/platform/LoginContext.h"

namespace pelkobench {

namespace {

/// What SQLite tells of the connections that it opens.
struct OpenedConnections {
    sqlite3* last = nullptr;
    bool record = false;
    std::unique_ptr<Recorder> recorder;
};

OpenedConnections& opened() {
    static OpenedConnections instance;
    return instance;
}

int onOpen(sqlite3* db, char** /*error*/, const sqlite3_api_routines* /*api*/) {
    opened().last = db;
    if (opened().record) {
        opened().recorder = std::make_unique<Recorder>(db);
    }
    return SQLITE_OK;
}

void setUp() {
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(onOpen));
    if (!pelkoapi::PelkoDBManager::getInstance()->setUp()) {
        throw std::runtime_error("setUp failed");
    }
}

}  // namespace

void useFolder(const std::string& folder) {
    pelkoapi::setAppDataRoot(folder);
    pelkoapi::setUserDataRoot(folder);
    pelkoapi::LoginContext::getInstance()->setUserName(loggedInUser);
}

StoreSession::StoreSession(const std::string& folder) {
    useFolder(folder);
    setUp();
    mHandle = opened().last;
}

StoreSession::~StoreSession() {
    manager().tearDown();
}

Recording recordSetUp(const std::string& folder) {
    useFolder(folder);
    opened().record = true;
    setUp();
    opened().record = false;
    Recording recording = opened().recorder->finish();
    opened().recorder.reset();
    pelkoapi::PelkoDBManager::getInstance()->tearDown();
    return recording;
}

}  // namespace pelkobench
