#pragma once

#include <filesystem>
#include <string_view>

#include "TavrinKit/Support/Error.h"

namespace tavrin {

enum class MediaErrorKind {
    unreadable, ///< no movie, truncated beyond use, or of an unknown kind
    noVideoTrack,
    noAudioTrack,
    decodingFailed,
    encoderRefused, ///< the encoder is missing or takes none of these settings
    encodingFailed,
    writingFailed, ///< the file could not be written; the sentence says why
    outOfOrder,    ///< a time that does not increase, or that is none
};

/// A failure of reading or writing media.
///
/// Reasons are clauses without a full stop, as in "it has no index".
class MediaError : public ErrorFamily<MediaErrorKind> {
public:
    using ErrorFamily::ErrorFamily;

    [[nodiscard]] static MediaError unreadable(const std::filesystem::path& path, std::string_view reason);
    [[nodiscard]] static MediaError noVideoTrack(const std::filesystem::path& path);
    [[nodiscard]] static MediaError noAudioTrack(const std::filesystem::path& path);
    [[nodiscard]] static MediaError decodingFailed(const std::filesystem::path& path,
                                                   std::string_view reason);
    [[nodiscard]] static MediaError encoderRefused(std::string_view reason);
    [[nodiscard]] static MediaError encodingFailed(std::string_view reason);
    /// @param code  an errno value; the FileError that it makes is the underlying error
    [[nodiscard]] static MediaError writingFailed(const std::filesystem::path& path, int code);
    [[nodiscard]] static MediaError writingFailed(const std::filesystem::path& path, std::string_view reason);
    [[nodiscard]] static MediaError outOfOrder(std::string_view what, double time);
};

} // namespace tavrin
