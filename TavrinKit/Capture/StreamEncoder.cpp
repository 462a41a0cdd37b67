#include "TavrinKit/Capture/StreamEncoder.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>
#include <span>
#include <utility>

#include "TavrinKit/Capture/StreamAssetWriterSinkError.h"
#include "TavrinKit/Support/HostClock.h"
#include "TavrinKit/Support/Log.h"

namespace tavrin {
namespace {

/// Two ticks of the movie's microsecond clock: no rounding can make two times one.
constexpr double minimumTimeStep = 2e-6;

/// Frames. Whoever asks for a picture anywhere in the take decodes half of it on the average, some 1.3 ms a
/// frame at 1080p. Key frames are large: twice as many make a take with much movement a third larger.
constexpr int keyFrameInterval = 60;

PixelBuffer blackPicture(PixelSize size) {
    constexpr int blackLuma = 16;
    constexpr int neutralChroma = 128;
    PixelBuffer picture = PixelBuffer::allocate(PixelFormat::i420, size);
    for (int index = 0; index < picture.planeCount(); ++index) {
        const PixelBuffer::Plane& plane = picture.plane(index);
        for (int y = 0; y < plane.height; ++y) {
            std::memset(picture.row(index, y), index == 0 ? blackLuma : neutralChroma,
                        std::size_t(plane.width));
        }
    }
    return picture;
}

} // namespace

StreamEncoder::StreamEncoder(Settings settings) : settings_(std::move(settings)) {}

bool StreamEncoder::append(const VideoSample& sample) {
    const bool fits = !sample.pixels.isEmpty() && sample.pixels.format() == PixelFormat::i420 &&
                      sample.pixels.size() == settings_.size;
    if (failure_ || !fits || !std::isfinite(sample.presentationTime) ||
        !startSession(sample.presentationTime)) {
        return false;
    }
    try {
        write(sample.pixels, sample.presentationTime - *sessionStart_);
        lastPicture_ = sample.pixels;
        return true;
    } catch (...) {
        fail("appendVideo");
        return false;
    }
}

void StreamEncoder::append(const AudioSample& sample) {
    if (failure_ || !std::isfinite(sample.presentationTime) || !startSession(sample.presentationTime)) {
        return;
    }
    const auto channels = std::size_t(settings_.channels);
    std::span<const float> sound(sample.interleaved);
    double time = sample.presentationTime - *sessionStart_;
    if (time < 0) { // sound from before the first picture
        const double framesBefore = std::ceil(-time * settings_.sampleRate);
        if (framesBefore >= double(sound.size() / channels)) {
            return;
        }
        sound = sound.subspan(std::size_t(framesBefore) * channels);
        time = 0;
    }
    try {
        writer_->appendAudio(sound, time);
        unflushedSince_ = unflushedSince_.value_or(HostClock::now());
    } catch (...) {
        fail("appendAudio");
    }
}

void StreamEncoder::keepUp(double now) {
    if (!writer_ || failure_) {
        return;
    }
    try {
        const double repetition = now - settings_.repetitionLag - *sessionStart_;
        const bool isStill = hasVideoFrames_ && repetition - lastMovieTime_ >= settings_.repetitionInterval;
        if (isStill) {
            repeatLastPicture(repetition);
        }
        const bool hasWaited = unflushedSince_ && now - *unflushedSince_ >= settings_.flushInterval;
        if (isStill || hasWaited) {
            writer_->flushFragment();
            unflushedSince_.reset();
        }
    } catch (...) {
        fail("keepUp");
    }
}

double StreamEncoder::secondsUntilDue(double now) const {
    constexpr double longest = 1.0;
    if (!writer_ || failure_) {
        return longest;
    }
    double due = now + longest;
    if (hasVideoFrames_) {
        due = std::min(due, *sessionStart_ + lastMovieTime_ + settings_.repetitionInterval +
                                settings_.repetitionLag);
    }
    if (unflushedSince_) {
        due = std::min(due, *unflushedSince_ + settings_.flushInterval);
    }
    return std::max(due - now, 0.0);
}

void StreamEncoder::appendFallbackFrame(double sessionStart) {
    if (failure_) {
        throw StreamAssetWriterSinkError::noVideoSamples(failure_);
    }
    if (!startSession(sessionStart)) {
        throw StreamAssetWriterSinkError::startFailed(startFailure_);
    }
    PixelBuffer black;
    try {
        black = blackPicture(settings_.size);
    } catch (const std::bad_alloc&) {
        throw StreamAssetWriterSinkError::fallbackFrameCreationFailed();
    }
    write(black, 0);
    lastPicture_ = black;
}

void StreamEncoder::finish(double endTime) {
    if (failure_) {
        abandon();
        std::rethrow_exception(failure_);
    }
    if (!writer_) {
        throw StreamAssetWriterSinkError::finishFailed();
    }
    try {
        const double end = endTime - *sessionStart_;
        if (hasVideoFrames_ && std::isfinite(end) && end - lastMovieTime_ > 2 * settings_.lastFrameDuration) {
            repeatLastPicture(end - settings_.lastFrameDuration);
        }
        writer_->finish(std::isfinite(end) ? std::optional(end) : std::nullopt);
    } catch (...) {
        fail("finish");
        abandon();
        throw;
    }
    writer_.reset();
}

void StreamEncoder::abandon() noexcept {
    if (!writer_) {
        return;
    }
    try {
        if (!failure_) {
            writer_->flushFragment();
        }
    } catch (...) {
        fail("abandon");
    }
    writer_->abandon();
    writer_.reset();
}

bool StreamEncoder::startSession(double time) noexcept {
    if (writer_) {
        return true;
    }
    try {
        writer_ = std::make_unique<MovieWriter>(writerSettings());
        sessionStart_ = time;
        return true;
    } catch (...) {
        if (!startFailure_) {
            logRecoverableFailure("TavrinKit.StreamAssetWriterSink", "startWriting",
                                  std::current_exception());
        }
        startFailure_ = std::current_exception();
        return false;
    }
}

MovieWriterSettings StreamEncoder::writerSettings() const {
    MovieWriterSettings settings;
    settings.path = settings_.outputURL;
    settings.container = MovieContainer::quickTime;
    settings.crashSafe = true;
    settings.plainFilePatience = settings_.plainFilePatience;
    VideoTrackSettings& video = settings.video.emplace();
    video.size = settings_.size;
    video.effort = EncoderEffort::ultrafast;
    video.constantQuality = settings_.constantQuality;
    video.maximumKeyFrameInterval = keyFrameInterval;
    video.lowLatency = true;
    if (settings_.includesAudio) {
        settings.audio = AudioTrackSettings{settings_.sampleRate, settings_.channels, settings_.audioBitRate};
    }
    return settings;
}

void StreamEncoder::write(const PixelBuffer& picture, double movieTime) {
    const double earliest = hasVideoFrames_ ? lastMovieTime_ + minimumTimeStep : 0;
    const double time = std::max(movieTime, earliest);
    writer_->appendVideo(picture, time);
    lastMovieTime_ = time;
    hasVideoFrames_ = true;
    unflushedSince_ = unflushedSince_.value_or(HostClock::now());
}

void StreamEncoder::repeatLastPicture(double movieTime) {
    write(lastPicture_, movieTime);
}

void StreamEncoder::fail(const char* context) noexcept {
    failure_ = std::current_exception();
    logRecoverableFailure("TavrinKit.StreamAssetWriterSink", context, failure_);
}

} // namespace tavrin
