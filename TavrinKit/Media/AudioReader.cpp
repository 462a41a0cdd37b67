#include "TavrinKit/Media/AudioReader.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "TavrinKit/Media/MediaFile.h"
#include "TavrinKit/Media/TrackDecoder.h"

namespace tavrin {
namespace {

/// Containers round the times of their packets, by a millisecond at the worst.
constexpr double rounding = 0.002;

/// How far a time may lie behind the track's stated end before it counts as nonsense, and what of a stated
/// end is believed. Without one, sound that starts after an hour is nonsense.
constexpr double slack = 1.0;
constexpr double longestStated = 24 * 3600;
constexpr double longestUnstated = 3600;

constexpr int silenceStep = 4096;

/// Decoders need the packets before a place to give the right sound there; Opus wants the most.
constexpr double decoderWarmUp = 0.25;

/// The frames at which input and output of a resampler coincide. One that starts at such a frame gives the
/// same sound as one that has come all the way.
struct ResamplerGrid {
    struct Start {
        std::int64_t input = 0;
        std::int64_t output = 0;
    };

    ResamplerGrid(int inputRate, int outputRate)
        : inputStep(inputRate / std::gcd(inputRate, outputRate)),
          outputStep(outputRate / std::gcd(inputRate, outputRate)), margin(outputRate / 20) {}

    /// The last of them that leaves the filter time to fill before an output frame.
    [[nodiscard]] Start startFor(std::int64_t output) const {
        const std::int64_t steps = std::max<std::int64_t>(0, output - margin) / outputStep;
        return {steps * inputStep, steps * outputStep};
    }

    std::int64_t inputStep;
    std::int64_t outputStep;
    std::int64_t margin; ///< output frames
};

int trackOf(MediaFile& file, int number) {
    file.analyse();
    const int track = number < 0 ? -1 : file.track(AVMEDIA_TYPE_AUDIO, number);
    if (track < 0) {
        throw MediaError::noAudioTrack(file.path());
    }
    return track;
}

/// Less and more than these would make buffers without measure.
void checkIsPossible(const std::filesystem::path& path, int rate, int channels) {
    if (rate < 1000 || rate > 768'000 || channels < 1 || channels > 64) {
        throw MediaError::decodingFailed(
            path, fmt::format("{} Hz and {} channels are not possible", rate, channels));
    }
}

} // namespace

struct AudioReader::Implementation {
    Implementation(const std::filesystem::path& path, int number, int rate, int channels)
        : file(path), track(trackOf(file, number)), decoder(file, track, 1), outputRate(rate),
          outputChannels(channels), end(file.end(track)) {
        checkIsPossible(path, rate, channels);
    }

    void seek(std::int64_t frame);
    [[nodiscard]] bool restart(std::int64_t position, std::optional<double> time);
    [[nodiscard]] std::vector<float> convertNext();
    [[nodiscard]] ffmpeg::Frame nextFrame();
    void beginAtGoal();
    void dropAhead(std::vector<float>& run);
    void place(ffmpeg::Frame frame);
    void prepare(const AVFrame& frame);
    [[nodiscard]] std::vector<float> convert(const AVFrame* frame, int skipped);
    [[nodiscard]] std::vector<float> convertSilence();

    MediaFile file;
    int track;
    TrackDecoder decoder;
    const int outputRate;
    const int outputChannels;
    const double end;

    std::optional<std::int64_t> goal; ///< the output frame asked for by a seek that hasn't begun yet
    ffmpeg::Frame found;              ///< by that seek, yet to be converted
    std::int64_t begin = 0;           ///< `position` at the start or after the last seek
    std::int64_t ahead = 0;           ///< output frames to drop, from there to the goal

    ffmpeg::Resampler resampler;
    ffmpeg::Frame waiting;     ///< decoded, to come after the silence
    int waitingSkip = 0;       ///< of its frames overlap what came before
    std::int64_t silence = 0;  ///< frames of silence to come, at the track's rate
    std::int64_t position = 0; ///< frames taken so far, at the track's rate
    int inputRate = 0;
    int inputFormat = -1;
    int inputChannels = 0;
    bool hasEnded = false;
};

/// Finds the decoded frame's place on the movie's time line.
void AudioReader::Implementation::place(ffmpeg::Frame frame) {
    const double time = file.seconds(track, frame->pts);
    const bool isPlausible = time <= (end > 0 ? std::min(end, longestStated) + slack : longestUnstated);
    const double rate = frame->sample_rate;
    const std::int64_t start = isPlausible ? std::llround(time * rate) : position;
    const auto tolerance = position == begin ? 0 : std::int64_t(rounding * rate);
    waitingSkip = 0;
    if (start > position + tolerance) {
        silence = start - position;
    } else if (start < position - tolerance) {
        waitingSkip = int(std::min<std::int64_t>(position - start, frame->nb_samples));
    }
    // The last packet of a codec with frames of a fixed size is longer than the sound in it.
    const std::int64_t last = std::llround(end * rate);
    if (file.isExact() && isPlausible && start < last && start + frame->nb_samples > last) {
        frame->nb_samples = int(last - start);
        waitingSkip = std::min(waitingSkip, frame->nb_samples);
    }
    waiting = std::move(frame);
}

/// Sets the resampler up for frames of this kind.
void AudioReader::Implementation::prepare(const AVFrame& frame) {
    const int channels = frame.ch_layout.nb_channels;
    if (resampler && frame.sample_rate == inputRate && frame.format == inputFormat &&
        channels == inputChannels) {
        return;
    }
    checkIsPossible(file.path(), frame.sample_rate, channels);
    if (inputRate > 0 && frame.sample_rate != inputRate) {
        position = std::int64_t(double(position) * frame.sample_rate / inputRate);
    }
    AVChannelLayout from{};
    AVChannelLayout to{};
    av_channel_layout_default(&to, outputChannels);
    if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
        av_channel_layout_default(&from, channels);
    } else {
        av_channel_layout_copy(&from, &frame.ch_layout);
    }
    SwrContext* context = nullptr;
    int code = swr_alloc_set_opts2(&context, &to, AV_SAMPLE_FMT_FLT, outputRate, &from,
                                   AVSampleFormat(frame.format), frame.sample_rate, 0, nullptr);
    resampler.reset(context);
    av_channel_layout_uninit(&from);
    av_channel_layout_uninit(&to);
    code = code < 0 ? code : swr_init(resampler.get());
    ffmpeg::checkMemory(file.path(), code);
    if (code < 0) {
        throw MediaError::decodingFailed(file.path(), ffmpeg::reason(code));
    }
    inputRate = frame.sample_rate;
    inputFormat = frame.format;
    inputChannels = channels;
}

/// @param frame  null: what is left in the resampler
std::vector<float> AudioReader::Implementation::convert(const AVFrame* frame, int skipped) {
    const int count = frame != nullptr ? frame->nb_samples - skipped : 0;
    std::vector<const std::uint8_t*> planes;
    if (frame != nullptr) {
        const auto format = AVSampleFormat(frame->format);
        const bool isPlanar = av_sample_fmt_is_planar(format) != 0;
        const int step = av_get_bytes_per_sample(format) * (isPlanar ? 1 : inputChannels);
        for (int i = 0; i < (isPlanar ? inputChannels : 1); ++i) {
            planes.push_back(frame->extended_data[i] + std::ptrdiff_t(step) * skipped);
        }
    }
    const int room = swr_get_out_samples(resampler.get(), count);
    std::vector<float> output(std::size_t(std::max(room, 0)) * std::size_t(outputChannels));
    auto* data = reinterpret_cast<std::uint8_t*>(output.data());
    const int made = room <= 0 ? 0
                               : swr_convert(resampler.get(), &data, room,
                                             frame != nullptr ? planes.data() : nullptr, count);
    if (made < 0) {
        throw MediaError::decodingFailed(file.path(), ffmpeg::reason(made));
    }
    output.resize(std::size_t(made) * std::size_t(outputChannels));
    position += count;
    return output;
}

std::vector<float> AudioReader::Implementation::convertSilence() {
    const ffmpeg::Frame frame = ffmpeg::makeFrame();
    frame->format = inputFormat;
    frame->nb_samples = int(std::min<std::int64_t>(silence, silenceStep));
    if (av_channel_layout_copy(&frame->ch_layout, &waiting->ch_layout) < 0 ||
        av_frame_get_buffer(frame.get(), 0) < 0) {
        throw std::bad_alloc();
    }
    av_samples_set_silence(frame->extended_data, 0, frame->nb_samples, inputChannels,
                           AVSampleFormat(inputFormat));
    silence -= frame->nb_samples;
    return convert(frame.get(), 0);
}

std::vector<float> AudioReader::Implementation::convertNext() {
    if (!waiting) {
        ffmpeg::Frame frame = nextFrame();
        if (!frame) {
            hasEnded = true;
            return resampler ? convert(nullptr, 0) : std::vector<float>();
        }
        if (frame->sample_rate <= 0 || frame->nb_samples <= 0 || frame->ch_layout.nb_channels <= 0) {
            return {};
        }
        prepare(*frame);
        beginAtGoal();
        place(std::move(frame));
    }
    if (silence > 0) {
        return convertSilence();
    }
    const ffmpeg::Frame frame = std::move(waiting);
    return waitingSkip < frame->nb_samples ? convert(frame.get(), waitingSkip) : std::vector<float>();
}

ffmpeg::Frame AudioReader::Implementation::nextFrame() {
    return found ? std::move(found) : decoder.next();
}

void AudioReader::Implementation::seek(std::int64_t frame) {
    goal = std::max<std::int64_t>(frame, 0);
    if (end > 0 && double(*goal) / outputRate > end + slack) {
        hasEnded = true;
        return;
    }
    const int rate = std::max(1, file.stream(track).codecpar->sample_rate);
    const std::int64_t first = ResamplerGrid(rate, outputRate).startFor(*goal).input;
    const double time = double(first) / rate;
    // Where the index is poor, the packet found may already be too late: then start earlier.
    for (const double back : {decoderWarmUp, 2.0, 20.0}) {
        if (time > back && restart(first, time - back)) {
            return;
        }
    }
    static_cast<void>(restart(first, {}));
}

/// Moves the file to a time, or to its start. @return false when it stands behind the input frame then
bool AudioReader::Implementation::restart(std::int64_t first, std::optional<double> time) {
    if (time) {
        file.seek(track, file.units(track, *time));
    } else {
        file.rewind();
    }
    decoder.restart();
    resampler.reset();
    waiting.reset();
    inputRate = 0;
    silence = 0;
    hasEnded = false;
    found = decoder.next();
    return found && file.seconds(track, found->pts) * found->sample_rate <= double(first);
}

/// Once the rate of the decoded sound is known: where the resampler starts.
void AudioReader::Implementation::beginAtGoal() {
    if (goal) {
        const ResamplerGrid::Start start = ResamplerGrid(inputRate, outputRate).startFor(*goal);
        position = start.input;
        begin = start.input;
        ahead = *goal - start.output;
        goal.reset();
    }
}

/// Takes away what was only made to set the resampler going.
void AudioReader::Implementation::dropAhead(std::vector<float>& run) {
    const auto frames = std::int64_t(run.size()) / outputChannels;
    const std::int64_t dropped = std::min(ahead, frames);
    run.erase(run.begin(), run.begin() + dropped * outputChannels);
    ahead -= dropped;
}

AudioReader::AudioReader(const std::filesystem::path& path, int track, int sampleRate, int channels)
    : implementation_(std::make_unique<Implementation>(path, track, sampleRate, channels)) {}

AudioReader::~AudioReader() = default;

std::optional<std::vector<float>> AudioReader::next() {
    while (!implementation_->hasEnded) {
        std::vector<float> run = implementation_->convertNext();
        implementation_->dropAhead(run);
        if (!run.empty()) {
            return run;
        }
    }
    return std::nullopt;
}

void AudioReader::seek(std::int64_t frame) {
    implementation_->seek(frame);
}

} // namespace tavrin
