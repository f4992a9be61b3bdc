#ifndef PELKO_MEDIA_H
#define PELKO_MEDIA_H

#include <string>

#include "classes/platform/Export.h"

namespace pelkoapi {

/// @addtogroup records
/// @{

/// Kind of an attachment. There is no value 0: a PelkoMedia built without a type holds 0, which no stored
/// row produces on purpose.
enum PelkoMediaType : int {
    PelkoMediaTypeImage = 1,     ///< a picture
    PelkoMediaTypeAudio = 2,     ///< a sound clip
    PelkoMediaTypeUserData = 3,  ///< a file of the user's own format
    PelkoMediaTypeExtraData = 4  ///< extra data beside a message of any kind
};

/// Download state of an attachment's file.
enum PelkoMediaStatus : int {
    PelkoMediaStatusCreated = 0,        ///< nothing done yet
    PelkoMediaStatusDownloading = 1,    ///< under way; PelkoDBManager::setUp() settles what was interrupted
    PelkoMediaStatusDownloaded = 2,     ///< the file is there
    PelkoMediaStatusDownloadFailed = 3  ///< the file is not there
};

/// An attachment of a message, or the icon of a chat target. A plain value.
class PELKO_API PelkoMedia {
public:
    /// An attachment of no type (type 0); everything else as in PelkoMedia(PelkoMediaType).
    PelkoMedia() = default;

    /// An attachment of the given type: tag 0, status created, empty strings, duration 0.
    PelkoMedia(PelkoMediaType mediaType) : type(mediaType) {}

    long long tag = 0;                                     ///< the caller's tag for the attachment
    PelkoMediaType type = static_cast<PelkoMediaType>(0);  ///< kind; 0 means none was given
    PelkoMediaStatus status = PelkoMediaStatusCreated;     ///< download state of the file
    std::string url;                                       ///< where the file is on the server
    std::string path;                                      ///< the local file
    std::string pathEx;                                    ///< a second local file of the same attachment
    unsigned int duration = 0;                             ///< length of an audio clip
};

/// @}

}  // namespace pelkoapi

#endif  // PELKO_MEDIA_H
