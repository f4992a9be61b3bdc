#ifndef PELKO_TESTS_RELIABILITY_SUPPORT_RECORD_TEXT_H
#define PELKO_TESTS_RELIABILITY_SUPPORT_RECORD_TEXT_H

#include <string>

#include "PelkoChatTarget.h"
#include "PelkoMedia.h"
#include "PelkoMessage.h"
#include "PelkoNotify.h"
#include "classes/storage/PelkoSession.h"
#include "tests/reliability/support/TestCode.h"

// The records as text, every field that the store writes or reads, so that two of them compare as a whole and
// a failure message shows them. Fields are separated by "; ".

namespace pelkotest {

std::string recordText(const std::string& name);
std::string recordText(const pelkoapi::PelkoMedia& media);
std::string recordText(const pelkoapi::PelkoChatTarget& target);
std::string recordText(const pelkoapi::PelkoUser& user);
std::string recordText(const pelkoapi::PelkoRoom& room);
std::string recordText(const pelkoapi::PelkoGroup& group);
std::string recordText(const pelkoapi::PelkoMessage& message);
/// Without `lastMsgId` and the fields of the client's session logic.
std::string recordText(const pelkoapi::PelkoSession& session);
/// Without `agree` in a notification that was not read from a row: nothing has set it there.
std::string recordText(const pelkoapi::PelkoNotify& notify);

/// The elements, a line each.
template <typename Records>
std::string recordsText(const Records& records) {
    const TestCode here;
    std::string text;
    for (const auto& record : records) {
        text += recordText(record) + '\n';
    }
    return text;
}

}  // namespace pelkotest

#endif  // PELKO_TESTS_RELIABILITY_SUPPORT_RECORD_TEXT_H
