#ifndef PELKO_MESSAGE_H
#define PELKO_MESSAGE_H

#include <string>

#include "PelkoChatTarget.h"
#include "PelkoMedia.h"

namespace pelkoapi {

enum PelkoMessageType : int {
    PelkoMessageTypeText = 0,
    PelkoMessageTypeImage = 1,
    PelkoMessageTypeAudio = 2,
    PelkoMessageTypeUserData = 3,
    PelkoMessageTypeJudgeService = 4
};

/// State of a message. "Unread" is exactly status 1.
enum PelkoMessageStatus : int {
    PelkoMessageStatusCreated = 0,
    PelkoMessageStatusUnread = 1,
    PelkoMessageStatusRead = 2,
    PelkoMessageStatusSending = 3,
    PelkoMessageStatusSent = 4,
    PelkoMessageStatusSendingFailed = 5
};

/// Where a message that reaches a session comes from.
enum PelkoMessageSource : int {
    PelkoMessageSourceLocal = 0,
    PelkoMessageSourceNewArrived = 1,
    PelkoMessageSourceOffline = 2,
    PelkoMessageSourceHistory = 3
};

/// One message of a conversation. A plain value. It carries two identities: `id` is the message service's,
/// `dbID` the row's in the local store.
///
/// The factories make an outgoing message in state created, without date and ids: the network layer dates
/// it, the store gives it its row id. Without an explicit sender it comes from the logged-in user.
class PelkoMessage {
public:
    PelkoMessage() = default;
    PelkoMessage(long long messageId) : id(messageId) {}
    PelkoMessage(PelkoChatTarget from, PelkoChatTarget to, PelkoMessageType messageType);

    /// An empty message (a text of no characters) between the two.
    static PelkoMessage createMessage(PelkoChatTarget sender, PelkoChatTarget receiver);

    static PelkoMessage createTextMessage(PelkoChatTarget receiver, std::string text);
    static PelkoMessage createTextMessage(PelkoChatTarget sender, PelkoChatTarget receiver, std::string text);

    /// @param path    the image file
    /// @param pathEx  the second file of the image (full size or thumbnail); may be empty
    static PelkoMessage createImageMessage(PelkoChatTarget receiver, std::string path, std::string pathEx);
    static PelkoMessage createImageMessage(PelkoChatTarget sender, PelkoChatTarget receiver, std::string path,
                                           std::string pathEx);

    /// @param path      the audio file
    /// @param duration  its length, in the unit that the client uses throughout
    static PelkoMessage createAudioMessage(PelkoChatTarget receiver, std::string path, unsigned int duration);
    static PelkoMessage createAudioMessage(PelkoChatTarget sender, PelkoChatTarget receiver, std::string path,
                                           unsigned int duration);

    /// @param path  a file of the user's own format
    static PelkoMessage createUserDataMessage(PelkoChatTarget receiver, std::string path);
    static PelkoMessage createUserDataMessage(PelkoChatTarget sender, PelkoChatTarget receiver,
                                              std::string path);

    /// Whether a message of this kind carries a `media` attachment: image, audio and user data do.
    bool hasMedia() const;

    /// Attaches extra data: `extra` becomes an extra-data attachment of that file. The store does not keep
    /// it.
    void putExtraData(std::string path);
    /// The extra attachment; one without type (0) when there is none.
    const PelkoMedia& getExtraData() const { return extra; }
    bool hasExtraData() const { return extra.type == PelkoMediaTypeExtraData; }

    /// The peer of the conversation that the message belongs to, seen from the logged-in user: the room or
    /// group it was sent to; otherwise the receiver of an own message, the sender of any other.
    const PelkoChatTarget& getTarget() const;

    /// Older than: by date, then `id`, then `dbID`, the order in which the store pages a conversation. Dates
    /// compare as the store keeps them, as signed 32-bit numbers.
    bool operator<(const PelkoMessage& other) const;
    /// Same place in that order: equal date, `id` and `dbID`.
    bool operator==(const PelkoMessage& other) const;

    long long id = 0;       ///< the message service's id (column "msg_id"); 0 until it has assigned one
    unsigned int date = 0;  ///< time of the message, seconds since 1970
    long long dbID = 0;     ///< the local row id (column "db_id"), set when the message is first stored
    std::string text;       ///< text of a text message
    std::string extraText;  ///< extra text attached to the message (column "extra_path")
    PelkoMedia media;       ///< attachment of an image, audio or user-data message
    PelkoMedia extra;       ///< extra data attached as a file; not stored
    PelkoMessageType type = PelkoMessageTypeText;
    PelkoMessageStatus status = PelkoMessageStatusCreated;
    PelkoChatTarget sender;
    PelkoChatTarget receiver;
};

}  // namespace pelkoapi

#endif  // PELKO_MESSAGE_H
