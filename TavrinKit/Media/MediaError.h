#pragma once

#include <string>

#include "TavrinKit/Support/Error.h"

namespace tavrin {

enum class MediaErrorKind {
    unreadable,       ///< no movie, truncated beyond use, or of an unknown kind
    noVideoTrack,
    decodingFailed,
    encoderRefused,   ///< the encoder is missing or takes none of these settings
    encodingFailed,
    writingFailed,    ///< the file could not be written; the sentence says why
    outOfOrder,       ///< a time that does not increase
};

/// A failure of reading or writing media.
class MediaError : public ErrorFamily<MediaErrorKind> {
public:
    using ErrorFamily::ErrorFamily;
};

} // namespace tavrin
