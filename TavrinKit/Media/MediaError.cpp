#include "TavrinKit/Media/MediaError.h"

#include <fmt/format.h>

#include "TavrinKit/Support/Files.h"

namespace tavrin {

MediaError MediaError::unreadable(const std::filesystem::path& path, std::string_view reason) {
    return {MediaErrorKind::unreadable,
            fmt::format("Unable to read \"{}\" as a movie: {}. Choose another file, or "
                        "record or copy this one again.",
                        path.string(), reason)};
}

MediaError MediaError::noVideoTrack(const std::filesystem::path& path) {
    return {MediaErrorKind::noVideoTrack,
            fmt::format("\"{}\" has no video track. Choose a movie with pictures.", path.string())};
}

MediaError MediaError::noAudioTrack(const std::filesystem::path& path) {
    return {MediaErrorKind::noAudioTrack,
            fmt::format("\"{}\" has no such audio track. Choose a file with sound.", path.string())};
}

MediaError MediaError::decodingFailed(const std::filesystem::path& path, std::string_view reason) {
    return {MediaErrorKind::decodingFailed,
            fmt::format("Unable to decode \"{}\": {}.", path.string(), reason)};
}

MediaError MediaError::encoderRefused(std::string_view reason) {
    return {MediaErrorKind::encoderRefused, fmt::format("The encoder cannot be started: {}.", reason)};
}

MediaError MediaError::encodingFailed(std::string_view reason) {
    return {MediaErrorKind::encodingFailed, fmt::format("The encoder failed: {}.", reason)};
}

MediaError MediaError::writingFailed(const std::filesystem::path& path, int code) {
    const FileError cause("write", path, code);
    return {MediaErrorKind::writingFailed, cause.what(), std::make_exception_ptr(cause)};
}

MediaError MediaError::writingFailed(const std::filesystem::path& path, std::string_view reason) {
    return {MediaErrorKind::writingFailed, fmt::format("Unable to write \"{}\": {}.", path.string(), reason)};
}

MediaError MediaError::outOfOrder(std::string_view what, double time) {
    return {MediaErrorKind::outOfOrder,
            fmt::format("The {} at {} s does not follow what the movie already has.", what, time)};
}

} // namespace tavrin
