#include "TavrinKit/Media/MovieWriter.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "TavrinKit/Media/AudioEncoder.h"
#include "TavrinKit/Media/FFmpeg.h"
#include "TavrinKit/Media/MovieFile.h"
#include "TavrinKit/Media/PlainCopy.h"
#include "TavrinKit/Media/VideoEncoder.h"
#include "TavrinKit/Support/Cancellation.h"
#include "TavrinKit/Support/Log.h"

namespace tavrin {
namespace {

/// A picture that lasts longer is repeated: readers keep a duration in 31 bits of microseconds.
constexpr std::int64_t longestPicture = std::int64_t(1800) * 1'000'000;

MovieFile::Form formOf(const MovieWriterSettings& settings) {
    if (settings.crashSafe) {
        return MovieFile::Form::fragmented;
    }
    return settings.optimizeForNetworkUse ? MovieFile::Form::indexFirst : MovieFile::Form::plain;
}

void checkContainer(const MovieWriterSettings& settings) {
    const bool needsQuickTime = (settings.video && settings.video->codec == VideoCodec::proRes422) ||
                                (settings.audio && settings.audio->codec == AudioCodec::linearPCM);
    if (needsQuickTime && settings.container != MovieContainer::quickTime) {
        throw MediaError::encoderRefused("ProRes and linear PCM only go into QuickTime movies");
    }
}

ffmpeg::CodecParameters parametersOf(const AVCodecContext& context) {
    ffmpeg::CodecParameters parameters(avcodec_parameters_alloc());
    if (!parameters || avcodec_parameters_from_context(parameters.get(), &context) < 0) {
        throw std::bad_alloc();
    }
    return parameters;
}

} // namespace

struct MovieWriter::Implementation {
    explicit Implementation(const MovieWriterSettings& settings);

    void appendVideo(const PixelBuffer& picture, double time);
    void appendAudio(std::span<const float> interleaved, double time);
    void flushFragment();
    void finish(std::optional<double> endTime, const std::stop_token& stop);
    void checkIsOpen() const;

    [[nodiscard]] std::int64_t ticks(double time) const;
    [[nodiscard]] std::int64_t shortestPicture() const;
    void encodePicture(const PixelBuffer& picture, std::int64_t time);
    void bridgePause(std::int64_t time);
    void finishVideo(std::optional<double> endTime, const std::stop_token& stop);
    void takeVideo(AVPacket& packet);
    void takeAudio(AVPacket& packet);
    void writeHeldVideo(std::int64_t duration);
    void makePlain();

    const MovieWriterSettings settings;
    std::optional<VideoEncoder> video;
    std::optional<AudioEncoder> audio;
    std::optional<MovieFile> file; ///< until the movie is finished or given up
    int videoTrack = -1;
    int audioTrack = -1;

    std::int64_t frameCount = 0;
    std::int64_t lastTime = -1; ///< of the last picture, in the encoder's units
    std::int64_t lastDuration = 0;
    std::int64_t lastAudioDuration = 0;
    PixelBuffer lastPicture;                  ///< kept only when pictures have times of their own
    ffmpeg::Packet heldVideo;                 ///< the last picture until it is known how long it lasts
    std::vector<ffmpeg::Packet> primingAudio; ///< lies before time 0, where fragments have no place for it
};

MovieWriter::Implementation::Implementation(const MovieWriterSettings& wanted) : settings(wanted) {
    if (!settings.video && !settings.audio) {
        throw MediaError::encoderRefused("a movie needs pictures or sound");
    }
    checkContainer(settings);
    if (settings.video) {
        video.emplace(*settings.video);
    }
    if (settings.audio) {
        audio.emplace(*settings.audio);
    }
    file.emplace(settings.path, settings.container, formOf(settings));
    if (video) {
        videoTrack = file->addTrack(*parametersOf(video->context()), video->timeBase());
    }
    if (audio) {
        audioTrack = file->addTrack(*parametersOf(audio->context()), audio->context().time_base);
    }
    file->begin();
}

void MovieWriter::Implementation::checkIsOpen() const {
    if (!file) {
        throw MediaError::writingFailed(settings.path, "the movie is already complete");
    }
}

std::int64_t MovieWriter::Implementation::ticks(double time) const {
    constexpr double longestMovie = 1e9; // seconds
    return std::isfinite(time) && std::abs(time) < longestMovie
               ? std::llround(time / av_q2d(video->timeBase()))
               : -1;
}

std::int64_t MovieWriter::Implementation::shortestPicture() const {
    return settings.video->frameRate ? 1 : 1'000'000 / 60;
}

void MovieWriter::Implementation::appendVideo(const PixelBuffer& picture, double time) {
    checkIsOpen();
    if (!video || picture.isEmpty() || picture.format() != PixelFormat::i420 ||
        picture.size() != settings.video->size) {
        throw MediaError::encodingFailed(fmt::format("a picture of {} x {} does not fit this movie",
                                                     picture.size().width, picture.size().height));
    }
    const std::int64_t at = ticks(time);
    if (at <= lastTime) {
        throw MediaError::outOfOrder("picture", time);
    }
    bridgePause(at);
    encodePicture(picture, at);
}

void MovieWriter::Implementation::bridgePause(std::int64_t time) {
    while (!lastPicture.isEmpty() && time - lastTime > longestPicture) {
        encodePicture(PixelBuffer(lastPicture), lastTime + longestPicture);
    }
}

void MovieWriter::Implementation::encodePicture(const PixelBuffer& picture, std::int64_t time) {
    video->encode(picture, time, [this](AVPacket& packet) { takeVideo(packet); });
    lastTime = time;
    frameCount += 1;
    if (!settings.video->frameRate) {
        lastPicture = picture;
    }
}

void MovieWriter::Implementation::takeVideo(AVPacket& packet) {
    if (heldVideo) {
        writeHeldVideo(packet.pts - heldVideo->pts);
    }
    heldVideo = ffmpeg::makePacket();
    av_packet_move_ref(heldVideo.get(), &packet);
}

void MovieWriter::Implementation::writeHeldVideo(std::int64_t duration) {
    if (heldVideo) {
        const ffmpeg::Packet packet = std::move(heldVideo);
        packet->duration = duration;
        file->write(*packet, videoTrack);
    }
}

void MovieWriter::Implementation::appendAudio(std::span<const float> interleaved, double time) {
    checkIsOpen();
    if (!audio) {
        throw MediaError::encodingFailed("this movie has no sound track");
    }
    audio->append(interleaved, time, [this](AVPacket& packet) { takeAudio(packet); });
}

void MovieWriter::Implementation::takeAudio(AVPacket& packet) {
    if (settings.crashSafe && packet.pts < 0) {
        primingAudio.push_back(ffmpeg::makePacket());
        av_packet_move_ref(primingAudio.back().get(), &packet);
        return;
    }
    lastAudioDuration = packet.duration;
    file->write(packet, audioTrack);
}

void MovieWriter::Implementation::flushFragment() {
    checkIsOpen();
    if (settings.crashSafe) {
        // Nobody knows yet how long it lasts, and the container puts off what begins before it ends.
        constexpr std::int64_t leastDuration = 1;
        writeHeldVideo(leastDuration);
        file->flushFragment();
    }
}

void MovieWriter::Implementation::finish(std::optional<double> endTime, const std::stop_token& stop) {
    checkIsOpen();
    if (video) {
        finishVideo(endTime, stop);
    }
    if (audio) {
        audio->drain([this](AVPacket& packet) { takeAudio(packet); });
    }
    file->complete(stop);
    file.reset();
    if (settings.crashSafe) {
        makePlain();
    }
}

void MovieWriter::Implementation::finishVideo(std::optional<double> endTime, const std::stop_token& stop) {
    const std::int64_t end = endTime ? ticks(*endTime) : -1;
    if (frameCount > 0) {
        bridgePause(end);
    }
    video->drain([&](AVPacket& packet) {
        throwIfCancelled(stop);
        takeVideo(packet);
    });
    lastDuration = end > lastTime ? end - lastTime : shortestPicture();
    writeHeldVideo(lastDuration);
}

void MovieWriter::Implementation::makePlain() {
    try {
        std::vector<ffmpeg::CodecParameters> parameters;
        PlainCopy copy;
        copy.container = settings.container;
        copy.indexFirst = settings.optimizeForNetworkUse;
        copy.patience = settings.plainFilePatience;
        if (video) {
            parameters.push_back(parametersOf(video->context()));
            copy.tracks.push_back({parameters.back().get(), video->timeBase(), {}, lastDuration});
        }
        if (audio) {
            parameters.push_back(parametersOf(audio->context()));
            copy.tracks.push_back({parameters.back().get(), audio->context().time_base,
                                   std::move(primingAudio), lastAudioDuration});
        }
        copy.replace(settings.path);
    } catch (...) {
        logRecoverableFailure("TavrinKit.MovieWriter", "makePlain", std::current_exception(),
                              {{"path", settings.path.string()}});
    }
}

MovieWriter::MovieWriter(const MovieWriterSettings& settings)
    : implementation_(std::make_unique<Implementation>(settings)) {}

MovieWriter::~MovieWriter() {
    cancel();
}

void MovieWriter::appendVideo(const PixelBuffer& picture, double time) {
    implementation_->appendVideo(picture, time);
}

void MovieWriter::appendAudio(std::span<const float> interleaved, double time) {
    implementation_->appendAudio(interleaved, time);
}

void MovieWriter::flushFragment() {
    implementation_->flushFragment();
}

void MovieWriter::finish(std::optional<double> endTime, const std::stop_token& stop) {
    implementation_->finish(endTime, stop);
}

void MovieWriter::cancel() noexcept {
    implementation_->file.reset();
}

void MovieWriter::abandon() noexcept {
    if (implementation_->file && implementation_->settings.crashSafe) {
        implementation_->file->abandon();
    }
    implementation_->file.reset();
}

} // namespace tavrin
