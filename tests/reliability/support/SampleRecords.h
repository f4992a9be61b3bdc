#ifndef PELKO_TESTS_RELIABILITY_SUPPORT_SAMPLE_RECORDS_H
#define PELKO_TESTS_RELIABILITY_SUPPORT_SAMPLE_RECORDS_H

#include <string>

#include "PelkoChatTarget.h"
#include "PelkoMedia.h"
#include "PelkoMessage.h"
#include "PelkoNotify.h"
#include "classes/storage/PelkoTypes.h"

// Records with a value in every field that the store keeps.

namespace pelkotest {

/// Longer than the buffer in which short statements are formatted, and than what fits on a page.
std::string longText();

pelkoapi::PelkoMedia media(pelkoapi::PelkoMediaType type, pelkoapi::PelkoMediaStatus status,
                           const std::string& name);

/// A text message.
pelkoapi::PelkoMessage message(pelkoapi::s64 id, pelkoapi::uint date, pelkoapi::PelkoChatTarget from,
                               pelkoapi::PelkoChatTarget to, std::string text,
                               pelkoapi::PelkoMessageStatus status);

/// A message with an attachment of its kind.
pelkoapi::PelkoMessage mediaMessage(pelkoapi::s64 id, pelkoapi::uint date, pelkoapi::PelkoChatTarget from,
                                    pelkoapi::PelkoChatTarget to, pelkoapi::PelkoMessageType type,
                                    pelkoapi::PelkoMessageStatus status,
                                    pelkoapi::PelkoMediaStatus mediaStatus);

pelkoapi::PelkoUser profile(const std::string& name);
pelkoapi::PelkoRoom room(pelkoapi::uint id);
pelkoapi::PelkoGroup group(pelkoapi::s64 id);

/// From alice to me, about group 77.
pelkoapi::PelkoNotify notification(pelkoapi::PelkoNotifyType type, long date, bool isRead);

}  // namespace pelkotest

#endif  // PELKO_TESTS_RELIABILITY_SUPPORT_SAMPLE_RECORDS_H
