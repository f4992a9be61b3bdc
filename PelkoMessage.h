#ifndef PELKO_MESSAGE_H
#define PELKO_MESSAGE_H

#include <string>

#include "PelkoChatTarget.h"
#include "PelkoMedia.h"
#include "classes/platform/Export.h"

namespace pelkoapi {

/// @addtogroup records
/// @{

/// Kind of a message; stored as its number.
enum PelkoMessageType : int {
    PelkoMessageTypeText = 0,         ///< text alone
    PelkoMessageTypeImage = 1,        ///< a picture, with two files
    PelkoMessageTypeAudio = 2,        ///< a sound clip
    PelkoMessageTypeUserData = 3,     ///< a file of the user's own format
    PelkoMessageTypeJudgeService = 4  ///< about rating a customer service; no attachment
};

/// State of a message. "Unread" is exactly status 1.
enum PelkoMessageStatus : int {
    PelkoMessageStatusCreated = 0,       ///< outgoing, not sent yet
    PelkoMessageStatusUnread = 1,        ///< received, not read yet
    PelkoMessageStatusRead = 2,          ///< received and read
    PelkoMessageStatusSending = 3,       ///< under way; failed once PelkoDBManager::setUp() finds it
    PelkoMessageStatusSent = 4,          ///< sent
    PelkoMessageStatusSendingFailed = 5  ///< could not be sent
};

/// Where a message that reaches a session comes from.
enum PelkoMessageSource : int {
    PelkoMessageSourceLocal = 0,       ///< made or stored here
    PelkoMessageSourceNewArrived = 1,  ///< just arrived
    PelkoMessageSourceOffline = 2,     ///< arrived while the client was away
    PelkoMessageSourceHistory = 3      ///< fetched from history
};

/// One message of a conversation. A plain value. It carries two identities: `id` is the message service's,
/// `dbID` the row's in the local store.
///
/// The factories make an outgoing message in state created, without date and ids: the network layer dates
/// it, the store gives it its row id. Without an explicit sender it comes from the logged-in user.
class PELKO_API PelkoMessage {
public:
    /// An empty text without parties.
    PelkoMessage() = default;
    /// The same with a service id.
    PelkoMessage(long long messageId) : id(messageId) {}
    /// An empty message of that kind.
    PelkoMessage(PelkoChatTarget from, PelkoChatTarget to, PelkoMessageType messageType);

    /// An empty message (a text of no characters) between the two.
    static PelkoMessage createMessage(PelkoChatTarget sender, PelkoChatTarget receiver);

    /// A text from the logged-in user.
    static PelkoMessage createTextMessage(PelkoChatTarget receiver, std::string text);
    /// A text from that sender.
    static PelkoMessage createTextMessage(PelkoChatTarget sender, PelkoChatTarget receiver, std::string text);

    /// An image from the logged-in user.
    /// @param receiver  to whom
    /// @param path      the image file
    /// @param pathEx    the second file of the image (full size or thumbnail); may be empty
    static PelkoMessage createImageMessage(PelkoChatTarget receiver, std::string path, std::string pathEx);
    /// An image from that sender.
    static PelkoMessage createImageMessage(PelkoChatTarget sender, PelkoChatTarget receiver, std::string path,
                                           std::string pathEx);

    /// A sound clip from the logged-in user.
    /// @param receiver  to whom
    /// @param path      the audio file
    /// @param duration  its length, in the unit that the client uses throughout
    static PelkoMessage createAudioMessage(PelkoChatTarget receiver, std::string path, unsigned int duration);
    /// A sound clip from that sender.
    static PelkoMessage createAudioMessage(PelkoChatTarget sender, PelkoChatTarget receiver, std::string path,
                                           unsigned int duration);

    /// A file from the logged-in user.
    /// @param receiver  to whom
    /// @param path      a file of the user's own format
    static PelkoMessage createUserDataMessage(PelkoChatTarget receiver, std::string path);
    /// A file from that sender.
    static PelkoMessage createUserDataMessage(PelkoChatTarget sender, PelkoChatTarget receiver,
                                              std::string path);

    /// Whether a message of this kind carries a `media` attachment: image, audio and user data do.
    bool hasMedia() const;

    /// Attaches extra data: `extra` becomes an extra-data attachment of that file. The store does not keep
    /// it.
    void putExtraData(std::string path);
    /// The extra attachment; one without type (0) when there is none.
    const PelkoMedia& getExtraData() const { return extra; }
    /// Whether extra data is attached.
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

    PelkoMessageType type = PelkoMessageTypeText;           ///< the kind
    PelkoMessageStatus status = PelkoMessageStatusCreated;  ///< the state
    PelkoChatTarget sender;                                 ///< who sent it
    PelkoChatTarget receiver;                               ///< to whom: a user, room, group or service
};

/// @}

}  // namespace pelkoapi

#endif  // PELKO_MESSAGE_H
