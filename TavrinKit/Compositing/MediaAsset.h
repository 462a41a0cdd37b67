#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <span>

#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Media/VideoReader.h"
#include "TavrinKit/Project/ClipTimeRange.h"
#include "TavrinKit/Project/TimelineTimeMapper.h"

namespace tavrin {

/// The pictures of an asset along its own clock. One thread at a time.
class AssetVideoReader {
public:
    virtual ~AssetVideoReader() = default;

    /// The picture on screen at `time`: the last one shown at or before it, or the first of all. Times that
    /// grow are read through without seeking.
    /// @param time  seconds on the asset's clock; any finite value
    /// @return with `time` moved onto the asset's clock, not before 0; nothing only when there is no picture
    /// @throws MediaError
    [[nodiscard]] virtual std::optional<DecodedFrame> frame(double time) = 0;
};

/// One audio track of an asset along the asset's clock, as interleaved float of a chosen format. One thread
/// at a time.
class AssetAudioReader {
public:
    virtual ~AssetAudioReader() = default;

    /// Fills `out` with the next frames: sound where the track has some, silence elsewhere and behind its
    /// end.
    /// @param out  a whole number of frames
    /// @throws MediaError
    virtual void read(std::span<float> out) = 0;
};

/// A timed source of pictures and sound, opened and measured but not decoded: a file, or an edit of files.
///
/// Cutting, retiming and laying sound over it each give a new asset with a clock of its own that starts at 0;
/// no media is touched. Whoever wants pixels or samples asks for a reader and speaks of the asset's own time.
/// An immutable value, cheap to copy; the readers it hands out belong to the caller. Any thread.
class MediaAsset {
public:
    /// @throws MediaError, FileError
    [[nodiscard]] static MediaAsset open(const std::filesystem::path& path);

    /// The part of it within the range, held to its duration.
    [[nodiscard]] MediaAsset trimmed(const ClipTimeRange& range) const;

    /// Every segment at its speed. Pictures are shown for longer or shorter, sound keeps its pitch.
    /// @param timeMapper  made for this asset's duration
    [[nodiscard]] MediaAsset retimed(const TimelineTimeMapper& timeMapper) const;

    /// With one more audio track behind those it has: the first of `sound`, from its start, for as long as
    /// `place` lasts. The asset doesn't grow longer by it.
    /// @param sound  has an audio track
    /// @param place  on this asset's clock
    [[nodiscard]] MediaAsset withSound(const MediaAsset& sound, const ClipTimeRange& place) const;

    /// The file whose pictures it shows.
    [[nodiscard]] const std::filesystem::path& path() const;
    [[nodiscard]] double duration() const; ///< seconds; 0 when unknown
    [[nodiscard]] bool hasVideo() const;
    /// What the file says of the pictures. @pre `hasVideo`
    [[nodiscard]] const VideoTrackInfo& videoTrack() const;
    [[nodiscard]] int audioTrackCount() const;

    /// @throws MediaError, FileError
    [[nodiscard]] std::unique_ptr<AssetVideoReader> openVideo() const;

    /// Starts at time 0.
    /// @param track  below `audioTrackCount`
    /// @throws MediaError, FileError
    [[nodiscard]] std::unique_ptr<AssetAudioReader> openAudio(int track, int sampleRate, int channels) const;

private:
    struct Contents;

    explicit MediaAsset(std::shared_ptr<const Contents> contents) : contents_(std::move(contents)) {}

    std::shared_ptr<const Contents> contents_;
};

} // namespace tavrin
