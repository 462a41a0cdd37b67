#pragma once

#include <filesystem>

namespace tavrin {

/// What a take's validation needs to know of a media file.
struct CaptureMediaInfo {
    double duration = 0; ///< seconds
    bool hasVideoTrack = false;
    bool hasAudioTrack = false;

    friend bool operator==(const CaptureMediaInfo&, const CaptureMediaInfo&) = default;
};

/// Looks into media files. Any thread.
class CaptureMediaProbing {
public:
    virtual ~CaptureMediaProbing() = default;

    /// @throws Error of the implementation
    [[nodiscard]] virtual CaptureMediaInfo mediaInfo(const std::filesystem::path& path) = 0;
};

/// Asks the files themselves.
class FFmpegCaptureMediaProbe : public CaptureMediaProbing {
public:
    /// @throws MediaError, FileError
    [[nodiscard]] CaptureMediaInfo mediaInfo(const std::filesystem::path& path) override;
};

} // namespace tavrin
