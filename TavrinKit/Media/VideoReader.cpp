#include "TavrinKit/Media/VideoReader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <thread>
#include <utility>

#include "TavrinKit/Media/MediaFile.h"
#include "TavrinKit/Media/PictureNormalizer.h"
#include "TavrinKit/Media/TrackDecoder.h"
#include "TavrinKit/Media/TrackInfo.h"

namespace tavrin {
namespace {

MediaFile& analysed(MediaFile& file) {
    file.analyse();
    return file;
}

int firstVideoTrack(const MediaFile& file) {
    const int track = file.track(AVMEDIA_TYPE_VIDEO, 0);
    if (track < 0) {
        throw MediaError::noVideoTrack(file.path());
    }
    return track;
}

int threadsFor(const VideoReader::Options& options) {
    constexpr int most = 16;
    return std::clamp(options.threads > 0 ? options.threads : int(std::thread::hardware_concurrency()), 1,
                      most);
}

} // namespace

struct VideoReader::Implementation {
    Implementation(const std::filesystem::path& path, const Options& options)
        : file(path), track(firstVideoTrack(analysed(file))), info(videoTrackInfo(file, track)),
          decoder(file, track, threadsFor(options)),
          normalizer(info.naturalSize, orientationOf(file.stream(track))) {}

    [[nodiscard]] double timeOf(const AVFrame& frame) const { return file.seconds(track, frame.pts); }
    [[nodiscard]] ffmpeg::Frame nextFrame();
    void checkForLoss() const;
    void moveTo(std::optional<double> time);
    bool stopAt(double time);

    MediaFile file;
    int track;
    VideoTrackInfo info;
    TrackDecoder decoder;
    PictureNormalizer normalizer;
    std::deque<ffmpeg::Frame> found; ///< by the last seek, yet to be handed out
    bool hasGivenAny = false;
};

/// A movie that says it has pictures, of which none could be decoded, is an error rather than an empty one.
void VideoReader::Implementation::checkForLoss() const {
    if (!hasGivenAny && (decoder.hasSeenDamage() || file.failure() != 0 || info.frameCount > 0)) {
        throw MediaError::decodingFailed(file.path(),
                                         "none of its pictures is whole; it was cut off or damaged");
    }
}

ffmpeg::Frame VideoReader::Implementation::nextFrame() {
    if (found.empty()) {
        return decoder.next();
    }
    ffmpeg::Frame frame = std::move(found.front());
    found.pop_front();
    return frame;
}

void VideoReader::Implementation::moveTo(std::optional<double> time) {
    if (time) {
        file.seek(track, file.units(track, *time));
    } else {
        file.rewind();
    }
    decoder.restart();
    found.clear();
}

/// Decodes up to the picture that is on screen at a time. @return false when the first one begins later
bool VideoReader::Implementation::stopAt(double time) {
    ffmpeg::Frame shown;
    while (ffmpeg::Frame frame = decoder.next()) {
        if (timeOf(*frame) > time + timeTolerance) {
            if (shown) {
                found.push_back(std::move(shown));
            }
            found.push_back(std::move(frame));
            return timeOf(*found.front()) <= time + timeTolerance;
        }
        shown = std::move(frame);
    }
    if (shown) {
        found.push_back(std::move(shown));
    }
    return !found.empty();
}

VideoReader::VideoReader(const std::filesystem::path& path, Options options)
    : implementation_(std::make_unique<Implementation>(path, options)) {}

VideoReader::~VideoReader() = default;

const VideoTrackInfo& VideoReader::info() const {
    return implementation_->info;
}

std::optional<DecodedFrame> VideoReader::next() {
    Implementation& self = *implementation_;
    while (ffmpeg::Frame frame = self.nextFrame()) {
        DecodedFrame decoded;
        decoded.time = self.timeOf(*frame);
        decoded.index = frame->pts;
        decoded.pixels = self.normalizer.normalize(std::move(frame));
        if (!decoded.pixels.isEmpty()) {
            self.hasGivenAny = true;
            return decoded;
        }
    }
    self.checkForLoss();
    return std::nullopt;
}

void VideoReader::seek(double time) {
    Implementation& self = *implementation_;
    // Where decoding and presentation order differ, or the index is poor, the key frame found may already be
    // too late: then start earlier.
    constexpr std::array stepsBack = {0.0, 2.0, 20.0};
    if (std::isfinite(time) && time > 0) {
        for (const double step : stepsBack) {
            if (time <= step) {
                break;
            }
            self.moveTo(time - step);
            if (self.stopAt(time)) {
                return;
            }
        }
    }
    self.moveTo({});
    if (!std::isnan(time)) {
        self.stopAt(time);
    }
}

bool VideoReader::hasKeyFrameBetween(double after, double upTo) const {
    const Implementation& self = *implementation_;
    const AVIndexEntry* entry = avformat_index_get_entry_from_timestamp(
        &self.file.stream(self.track), self.file.units(self.track, upTo), AVSEEK_FLAG_BACKWARD);
    return entry != nullptr && self.file.seconds(self.track, entry->timestamp) > after;
}

} // namespace tavrin
