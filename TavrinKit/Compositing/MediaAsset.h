#pragma once

#include <filesystem>
#include <memory>

#include "TavrinKit/Media/MovieReader.h"

namespace tavrin {

/// A timed source of pictures and sound, opened and measured but not decoded.
///
/// Whoever wants pixels or samples asks the asset for a reader and speaks of the asset's own time, which
/// starts at 0. An immutable value, cheap to copy; the readers it hands out belong to the caller. Any thread.
class MediaAsset {
public:
    /// @throws MediaError, FileError
    [[nodiscard]] static MediaAsset open(const std::filesystem::path& path);

    [[nodiscard]] const std::filesystem::path& path() const { return contents_->path; }
    [[nodiscard]] const MediaInfo& info() const { return contents_->info; }
    [[nodiscard]] double duration() const { return contents_->info.duration; } ///< seconds; 0 when unknown
    [[nodiscard]] bool hasVideo() const { return !contents_->info.video.empty(); }
    [[nodiscard]] int audioTrackCount() const { return int(contents_->info.audio.size()); }

    /// @throws MediaError, FileError
    [[nodiscard]] VideoFollower openVideo() const;

    /// @param track  below `audioTrackCount`
    /// @throws MediaError, FileError
    [[nodiscard]] std::unique_ptr<AudioReader> openAudio(int track, int sampleRate, int channels) const;

private:
    struct Contents {
        std::filesystem::path path;
        MediaInfo info;
    };

    explicit MediaAsset(std::shared_ptr<const Contents> contents) : contents_(std::move(contents)) {}

    std::shared_ptr<const Contents> contents_;
};

} // namespace tavrin
