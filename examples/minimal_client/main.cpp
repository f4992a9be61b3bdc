// The smallest useful client: opens an account's store, stores a few messages, and shows what is in it.

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <string>
#include <vector>

#include "PelkoMessage.h"
#include "classes/platform/DefaultPlatform.h"
#include "classes/platform/LoginContext.h"
#include "classes/storage/PelkoDBManager.h"

using namespace pelkoapi;

namespace {

/// A message as the network layer hands it over: dated, and with the service's id.
PelkoMessage received(long long id, unsigned int date, const char* text) {
    PelkoMessage message = PelkoMessage::createTextMessage(PelkoUser("alice"), PelkoUser("me"), text);
    message.id = id;
    message.date = date;
    message.status = PelkoMessageStatusUnread;
    return message;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER   (the account's data goes there; it is made if missing)\n",
                     argc > 0 ? argv[0] : "minimal_client");
        return EXIT_FAILURE;
    }
    const std::string root = argv[1];
    setAppDataRoot(root);
    setUserDataRoot(root + "/users/me");
    LoginContext::getInstance()->setUserName("me");

    PelkoDBManager* const store = PelkoDBManager::getInstance();
    if (!store->setUp()) {
        std::fprintf(stderr, "%s/users/me/db.dat cannot be opened, for the reason above.\n", root.c_str());
        return EXIT_FAILURE;
    }

    // Known service ids are recognised: a second run stores nothing twice.
    std::vector<PelkoMessage> messages = {received(1001, 1700000000, "are you there?"),
                                          received(1002, 1700000060, "it's me, alice"),
                                          received(1003, 1700000120, "call me when you're back")};
    const bool stored = store->saveMessageList(messages) == messages.size();

    const PelkoUser alice("alice");
    std::deque<PelkoMessage> page;
    const bool shown = store->getLatestMessages(alice, 20, page);
    for (const PelkoMessage& message : page) {
        std::printf("%s: %s\n", message.sender.name.c_str(), message.text.c_str());
    }
    std::printf("unread: %u\n", store->getUnreadCountOfTarget(alice));
    store->tearDown();

    if (!stored || !shown) {
        std::fprintf(stderr, "Not everything could be stored and read, for the reason above.\n");
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
