#include "TavrinKit/Compositing/MediaAsset.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "TavrinKit/Compositing/MediaStretch.h"
#include "TavrinKit/Compositing/StretchedAudioReader.h"
#include "TavrinKit/Compositing/StretchedVideoReader.h"
#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {

/// Every track is a file and those parts of it that are played.
struct MediaAsset::Contents {
    struct Sound {
        std::filesystem::path path;
        int track = 0; ///< among the file's audio tracks
        MediaStretches stretches;
    };

    std::filesystem::path path;
    double duration = 0;
    std::optional<VideoTrackInfo> video;
    MediaStretches pictures; ///< never empty
    std::vector<Sound> sounds;

    /// Without any stretch of its tracks.
    [[nodiscard]] Contents emptied(double newDuration) const;
    /// Adds what `other`, of the same tracks, plays in a window of its clock.
    void append(const Contents& other, const ClipTimeRange& window, double start, double speed);
};

MediaAsset::Contents MediaAsset::Contents::emptied(double newDuration) const {
    Contents result = *this;
    result.duration = newDuration;
    result.pictures.clear();
    for (Sound& sound : result.sounds) {
        sound.stretches.clear();
    }
    return result;
}

void MediaAsset::Contents::append(const Contents& other, const ClipTimeRange& window, double start,
                                  double speed) {
    appendPieces(pictures, other.pictures, window, start, speed);
    for (std::size_t i = 0; i < sounds.size(); ++i) {
        appendPieces(sounds[i].stretches, other.sounds[i].stretches, window, start, speed);
    }
}

namespace {

/// The picture at a time, for as long as anybody looks.
MediaStretches stillAt(const MediaStretches& pictures, double time) {
    const MediaStretch& stretch = stretchAt(pictures, time);
    const double source =
        std::clamp(stretch.sourceTime(time), stretch.source.startTime, stretch.source.endTime);
    return {{{source, source}, {0, 0}, 1}};
}

} // namespace

MediaAsset MediaAsset::open(const std::filesystem::path& path) {
    const MediaInfo info = probeMedia(path);
    const double duration = atLeast(finiteOr(info.duration, 0), 0);
    const MediaStretch whole{{0, duration}, {0, duration}, 1};
    Contents contents{path, duration, {}, {whole}, {}};
    if (!info.video.empty()) {
        contents.video = info.video.front();
    }
    for (int track = 0; track < int(info.audio.size()); ++track) {
        contents.sounds.push_back({path, track, {whole}});
    }
    return MediaAsset(std::make_shared<const Contents>(std::move(contents)));
}

MediaAsset MediaAsset::trimmed(const ClipTimeRange& range) const {
    const double start = clampedTo(range.startTime, 0, duration());
    const double end = std::isnan(range.endTime) ? start : clampedTo(range.endTime, start, duration());
    Contents contents = contents_->emptied(end - start);
    contents.append(*contents_, {start, end}, 0, 1);
    if (contents.pictures.empty()) {
        contents.pictures = stillAt(contents_->pictures, start);
    }
    return MediaAsset(std::make_shared<const Contents>(std::move(contents)));
}

MediaAsset MediaAsset::retimed(const TimelineTimeMapper& timeMapper) const {
    Contents contents = contents_->emptied(timeMapper.editedDuration());
    for (const TimelineTimeMapper::Segment& segment : timeMapper.segments()) {
        contents.append(*contents_, segment.sourceRange, segment.editedRange.startTime, segment.speed);
    }
    if (contents.pictures.empty()) {
        contents.pictures = stillAt(contents_->pictures, 0);
    }
    return MediaAsset(std::make_shared<const Contents>(std::move(contents)));
}

MediaAsset MediaAsset::withSound(const MediaAsset& sound, const ClipTimeRange& place) const {
    Contents contents = *contents_;
    if (!sound.contents_->sounds.empty()) {
        const double start = clampedTo(place.startTime, 0, duration());
        const double end = std::isnan(place.endTime) ? start : clampedTo(place.endTime, start, duration());
        const Contents::Sound& source = sound.contents_->sounds.front();
        Contents::Sound& added = contents.sounds.emplace_back(Contents::Sound{source.path, source.track, {}});
        appendPieces(added.stretches, source.stretches, {0, end - start}, start, 1);
    }
    return MediaAsset(std::make_shared<const Contents>(std::move(contents)));
}

const std::filesystem::path& MediaAsset::path() const {
    return contents_->path;
}

double MediaAsset::duration() const {
    return contents_->duration;
}

bool MediaAsset::hasVideo() const {
    return contents_->video.has_value();
}

const VideoTrackInfo& MediaAsset::videoTrack() const {
    return contents_->video.value();
}

int MediaAsset::audioTrackCount() const {
    return int(contents_->sounds.size());
}

std::unique_ptr<AssetVideoReader> MediaAsset::openVideo() const {
    return std::make_unique<StretchedVideoReader>(VideoFollower(std::make_unique<VideoReader>(path())),
                                                  contents_->pictures);
}

std::unique_ptr<AssetAudioReader> MediaAsset::openAudio(int track, int sampleRate, int channels) const {
    if (track < 0 || track >= audioTrackCount()) {
        throw MediaError::noAudioTrack(path());
    }
    const Contents::Sound& sound = contents_->sounds[std::size_t(track)];
    return std::make_unique<StretchedAudioReader>(
        AudioFollower(sound.path, sound.track, sampleRate, channels), sound.stretches, sampleRate, channels);
}

} // namespace tavrin
