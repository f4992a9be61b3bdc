// A client as it stands outside of this project: it stores messages, finds them again after a restart, and
// catches what the library throws. It exits with 0 when all of that held, otherwise it says what did not.

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <string>

#include "PelkoMessage.h"
#include "classes/platform/DefaultPlatform.h"
#include "classes/platform/LoginContext.h"
#include "classes/sqlite/CppSQLite3.h"
#include "classes/storage/PelkoDBManager.h"

namespace {

bool expect(bool held, const char* what) {
    if (!held) {
        std::fprintf(stderr, "expected: %s\n", what);
    }
    return held;
}

bool throwsWithinATransaction(pelkoapi::PelkoDBManager& store) {
    store.beginTransaction();
    try {
        store.beginTransaction();
    } catch (const pelkoapi::CppSQLite3Exception& error) {
        store.commiteTransaction();
        return std::string(error.errorMessage()) == "cannot start a transaction within a transaction";
    }
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace pelkoapi;
    if (argc != 2) {
        std::fprintf(stderr, "usage: client FOLDER\n");
        return EXIT_FAILURE;
    }
    setAppDataRoot(argv[1]);
    setUserDataRoot(std::string(argv[1]) + "/me");
    LoginContext::getInstance()->setUserName("me");

    PelkoDBManager* const store = PelkoDBManager::getInstance();
    const PelkoUser alice("alice");
    PelkoMessage hello = PelkoMessage::createTextMessage(alice, "it's me");
    bool held = expect(store->setUp(), "the store opens");
    held = expect(store->insertMessage(&hello) && hello.dbID == 1, "a message is stored") && held;
    held = expect(throwsWithinATransaction(*store), "an error of SQLite is caught by its type") && held;
    store->tearDown();

    held = expect(store->setUp(), "the store opens again") && held;
    std::deque<PelkoMessage> page;
    held = expect(store->getLatestMessages(alice, 20, page), "the conversation is read") && held;
    held = expect(page.size() == 1 && page.front().text == "it's me", "it holds the message") && held;
    store->tearDown();
    return held ? EXIT_SUCCESS : EXIT_FAILURE;
}
