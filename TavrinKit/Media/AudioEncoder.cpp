#include "TavrinKit/Media/AudioEncoder.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <vector>

#include <fmt/format.h>

namespace tavrin {
namespace {

/// Sound whose time differs by less than this from where the last run ended continues it: clocks jitter,
/// and a click every few milliseconds would be worse.
constexpr double jitter = 0.010;

/// A gap beyond this is a clock gone wrong.
constexpr double longestGap = 24 * 3600;

/// The length of a packet where the codec leaves that open.
constexpr int freePacketSize = 1024;

/// What may be handed to the encoder: in range, and a number.
float tame(float sample) {
    return std::isfinite(sample) ? std::clamp(sample, -1.0F, 1.0F) : 0.0F;
}

} // namespace

AudioEncoder::AudioEncoder(const AudioTrackSettings& settings) {
    ffmpeg::quietLogging();
    const bool isPCM = settings.codec == AudioCodec::linearPCM;
    const AVCodec* codec = avcodec_find_encoder(isPCM ? AV_CODEC_ID_PCM_S24LE : AV_CODEC_ID_AAC);
    if (codec == nullptr) {
        throw MediaError::encoderRefused(
            fmt::format("this system's libavcodec comes without {}", isPCM ? "linear PCM" : "AAC"));
    }
    if (settings.sampleRate < 1000 || settings.sampleRate > 768'000) {
        throw MediaError::encoderRefused(fmt::format("{} Hz are not possible", settings.sampleRate));
    }
    if (settings.channels < 1 || settings.channels > 8) {
        throw MediaError::encoderRefused(
            fmt::format("{} channels of sound are not possible", settings.channels));
    }
    context_ = ffmpeg::makeContext(*codec);
    context_->sample_fmt = isPCM ? AV_SAMPLE_FMT_S32 : AV_SAMPLE_FMT_FLTP;
    context_->sample_rate = settings.sampleRate;
    context_->time_base = {1, std::max(1, settings.sampleRate)};
    if (!isPCM) {
        context_->bit_rate = settings.bitRate;
    }
    context_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    av_channel_layout_default(&context_->ch_layout, settings.channels);
    if (const int code = avcodec_open2(context_.get(), codec, nullptr); code < 0) {
        throw MediaError::encoderRefused(ffmpeg::reason(code));
    }
    packetSize_ = context_->frame_size > 0 ? context_->frame_size : freePacketSize;
    pending_ = ffmpeg::makeFrame();
}

void AudioEncoder::append(std::span<const float> interleaved, double time, const Deliver& deliver) {
    const double rate = context_->sample_rate;
    const auto channels = std::size_t(context_->ch_layout.nb_channels);
    const auto count = std::int64_t(interleaved.size() / channels);
    if (!std::isfinite(time) || std::abs(time - double(accepted_) / rate) > longestGap) {
        throw MediaError::outOfOrder("sound", time);
    }
    const std::int64_t start = std::llround(time * rate);
    if (count == 0) {
        return;
    }
    if (start <= lastStart_) {
        throw MediaError::outOfOrder("sound", time);
    }
    lastStart_ = start;
    const auto tolerance = std::int64_t(jitter * rate);
    if (start > accepted_ + tolerance || (accepted_ == 0 && start > 0)) {
        appendSilence(start - accepted_, deliver);
    }
    const bool overlaps = start < accepted_ - tolerance || start < 0;
    const std::int64_t skipped = overlaps ? std::min(accepted_ - start, count) : 0;
    appendFrames(
        interleaved.subspan(std::size_t(skipped) * channels, std::size_t(count - skipped) * channels),
        deliver);
}

void AudioEncoder::drain(const Deliver& deliver) {
    if (pending_->nb_samples > 0) {
        encodePending(deliver);
    }
    encodeFrame(*context_, nullptr, deliver);
}

void AudioEncoder::appendSilence(std::int64_t frames, const Deliver& deliver) {
    const std::vector<float> silence(4096 * std::size_t(context_->ch_layout.nb_channels));
    while (frames > 0) {
        const std::int64_t step = std::min<std::int64_t>(frames, 4096);
        appendFrames(
            std::span(silence).first(std::size_t(step) * std::size_t(context_->ch_layout.nb_channels)),
            deliver);
        frames -= step;
    }
}

void AudioEncoder::appendFrames(std::span<const float> interleaved, const Deliver& deliver) {
    const auto channels = std::size_t(context_->ch_layout.nb_channels);
    while (!interleaved.empty()) {
        if (pending_->buf[0] == nullptr) {
            pending_->format = context_->sample_fmt;
            pending_->sample_rate = context_->sample_rate;
            pending_->nb_samples = packetSize_;
            if (av_channel_layout_copy(&pending_->ch_layout, &context_->ch_layout) < 0 ||
                av_frame_get_buffer(pending_.get(), 0) < 0) {
                throw std::bad_alloc();
            }
            pending_->nb_samples = 0;
        }
        const auto filled = std::size_t(pending_->nb_samples);
        const std::size_t step = std::min(interleaved.size() / channels, std::size_t(packetSize_) - filled);
        fillPending(interleaved.first(step * channels));
        pending_->nb_samples += int(step);
        accepted_ += std::int64_t(step);
        interleaved = interleaved.subspan(step * channels);
        if (pending_->nb_samples == packetSize_) {
            encodePending(deliver);
        }
    }
}

/// Writes behind what is pending already, in the encoder's format.
void AudioEncoder::fillPending(std::span<const float> interleaved) {
    const auto channels = std::size_t(context_->ch_layout.nb_channels);
    const auto filled = std::size_t(pending_->nb_samples);
    if (context_->sample_fmt == AV_SAMPLE_FMT_S32) {
        // Steps of 24 bits in the upper part of 32.
        constexpr double steps = 1 << 23;
        auto* samples = reinterpret_cast<std::int32_t*>(pending_->data[0]) + filled * channels;
        for (const float sample : interleaved) {
            const double step = std::clamp(std::round(tame(sample) * steps), -steps, steps - 1);
            *samples++ = std::int32_t(step) * 256;
        }
        return;
    }
    for (std::size_t c = 0; c < channels; ++c) {
        float* plane = reinterpret_cast<float*>(pending_->extended_data[c]) + filled;
        for (std::size_t i = 0; i < interleaved.size() / channels; ++i) {
            plane[i] = tame(interleaved[i * channels + c]);
        }
    }
}

void AudioEncoder::encodePending(const Deliver& deliver) {
    pending_->pts = accepted_ - pending_->nb_samples;
    encodeFrame(*context_, pending_.get(), deliver);
    av_frame_unref(pending_.get());
}

} // namespace tavrin
