#include "TavrinKit/Media/LiveVideoReader.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <mutex>
#include <utility>

#include <fmt/format.h>

extern "C" {
#include <libavdevice/avdevice.h>
}

#include "TavrinKit/Media/FFmpeg.h"
#include "TavrinKit/Media/PictureNormalizer.h"
#include "TavrinKit/Support/Cancellation.h"
#include "TavrinKit/Support/HostClock.h"

namespace tavrin {
namespace {

using namespace std::chrono_literals;

/// How often a device is asked that has nothing yet.
constexpr auto askingInterval = 2ms;

/// A time stamp further than this from the present is of another clock.
constexpr double mostSecondsFromNow = 5;

struct CloseInput {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
using Input = std::unique_ptr<AVFormatContext, CloseInput>;

void registerDevices() {
    static std::once_flag once;
    std::call_once(once, avdevice_register_all);
}

LiveVideoError openError(const std::string& source, int code) {
    switch (code) {
    case AVERROR(EBUSY):
        return LiveVideoError::busy(source);
    case AVERROR(EACCES):
    case AVERROR(EPERM):
        return LiveVideoError::notPermitted(source);
    case AVERROR(ENOENT):
    case AVERROR(ENODEV):
    case AVERROR(ENXIO):
        return LiveVideoError::unusable(source, "it is not there any more");
    default:
        return LiveVideoError::unusable(source, ffmpeg::reason(code));
    }
}

Input openInput(const LiveVideoReader::Settings& settings) {
    const AVInputFormat* kind = av_find_input_format(settings.device.c_str());
    if (kind == nullptr) {
        throw LiveVideoError::unusable(
            settings.source, fmt::format("this system's libavdevice comes without {}", settings.device));
    }
    AVFormatContext* context = avformat_alloc_context();
    if (context == nullptr) {
        throw std::bad_alloc();
    }
    // A device that falls silent must not hold the thread; and a buffer of a device is a whole picture with
    // its time, which a parser could only delay and guess at.
    context->flags |= AVFMT_FLAG_NONBLOCK | AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN;
    ffmpeg::Options options;
    for (const auto& [name, value] : settings.options) {
        options.set(name.c_str(), value);
    }
    if (const int code = avformat_open_input(&context, settings.source.c_str(), kind, options.get());
        code < 0) {
        throw openError(settings.source, code);
    }
    return Input(context);
}

int videoTrack(const AVFormatContext& input, const std::string& source) {
    for (unsigned i = 0; i < input.nb_streams; ++i) {
        if (input.streams[i]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
            return int(i);
        }
    }
    throw LiveVideoError::unusable(source, "it delivers no pictures");
}

ffmpeg::CodecContext openDecoder(const AVStream& stream, const std::string& source) {
    const AVCodec* codec = avcodec_find_decoder(stream.codecpar->codec_id);
    if (codec == nullptr) {
        throw LiveVideoError::unusable(source, fmt::format("this system has no decoder for {}",
                                                           avcodec_get_name(stream.codecpar->codec_id)));
    }
    ffmpeg::CodecContext context = ffmpeg::makeContext(*codec, stream);
    context->thread_count = 1; // more would hold pictures back
    context->flags |= AV_CODEC_FLAG_LOW_DELAY;
    if (const int code = avcodec_open2(context.get(), codec, nullptr); code < 0) {
        throw LiveVideoError::unusable(source, ffmpeg::reason(code));
    }
    return context;
}

PixelSize evenSize(const AVCodecParameters& parameters, const std::string& source) {
    const PixelSize size{parameters.width / 2 * 2, parameters.height / 2 * 2};
    if (!ffmpeg::isReasonable(size)) {
        throw LiveVideoError::unusable(
            source, fmt::format("its pictures measure {} x {} pixels", parameters.width, parameters.height));
    }
    return size;
}

} // namespace

struct LiveVideoReader::Implementation {
    explicit Implementation(Settings wanted)
        : settings(std::move(wanted)), input(openInput(settings)), track(videoTrack(*input, settings.source)),
          decoder(openDecoder(*input->streams[track], settings.source)),
          size(evenSize(*input->streams[track]->codecpar, settings.source)), normalizer(size, {}),
          packet(ffmpeg::makePacket()), frame(ffmpeg::makeFrame()) {}

    enum class Reading { picture, nothingYet, end };
    [[nodiscard]] Reading read();
    [[nodiscard]] bool receive();
    [[nodiscard]] double timeOf(const AVFrame& picture);
    [[nodiscard]] LiveFrame take();
    void pause(const std::stop_token& stop) const;

    const Settings settings;
    const Input input;
    const int track;
    const ffmpeg::CodecContext decoder;
    const PixelSize size;
    PictureNormalizer normalizer;
    const ffmpeg::Packet packet;
    ffmpeg::Frame frame;
    double latest = 0;              ///< host clock: of the last picture, or of the opening
    std::optional<double> timeZero; ///< host clock time of time 0, for a source without a clock
};

/// Brings the next picture into `frame`.
LiveVideoReader::Implementation::Reading LiveVideoReader::Implementation::read() {
    if (receive()) {
        return Reading::picture;
    }
    const int code = av_read_frame(input.get(), packet.get());
    if (code == AVERROR(EAGAIN)) {
        return Reading::nothingYet;
    }
    if (code == AVERROR_EOF) {
        return Reading::end;
    }
    if (code < 0) {
        throw LiveVideoError::disconnected(settings.source);
    }
    if (packet->stream_index == track) {
        static_cast<void>(avcodec_send_packet(decoder.get(), packet.get())); // damage is passed over
    }
    av_packet_unref(packet.get());
    return receive() ? Reading::picture : Reading::nothingYet;
}

bool LiveVideoReader::Implementation::receive() {
    return avcodec_receive_frame(decoder.get(), frame.get()) >= 0;
}

double LiveVideoReader::Implementation::timeOf(const AVFrame& picture) {
    const double now = HostClock::now();
    if (picture.best_effort_timestamp == AV_NOPTS_VALUE) {
        return now;
    }
    const AVRational unit = input->streams[track]->time_base;
    if (settings.isPaced) {
        const double time = double(picture.best_effort_timestamp) * av_q2d(unit);
        timeZero = timeZero.value_or(now - time);
        return *timeZero + time;
    }
    const double time =
        HostClock::fromMonotonic(av_rescale_q(picture.best_effort_timestamp, unit, {1, 1'000'000'000}));
    return std::abs(now - time) < mostSecondsFromNow ? std::min(time, now) : now;
}

LiveFrame LiveVideoReader::Implementation::take() {
    ffmpeg::Frame picture = std::exchange(frame, ffmpeg::makeFrame());
    LiveFrame taken;
    taken.time = timeOf(*picture);
    if (picture->colorspace == AVCOL_SPC_UNSPECIFIED) {
        picture->colorspace = AVCOL_SPC_SMPTE170M;
    }
    taken.pixels = normalizer.normalize(std::move(picture));
    return taken;
}

/// Until it makes sense to ask again: a device that delivers evenly isn't asked in between.
void LiveVideoReader::Implementation::pause(const std::stop_token& stop) const {
    const AVRational rate = input->streams[track]->avg_frame_rate;
    const double interval = rate.num > 0 && rate.den > 0 ? 1 / av_q2d(rate) : 0;
    const double untilDue = latest + 0.8 * std::min(interval, 0.1) - HostClock::now();
    sleepFor(std::max<std::chrono::nanoseconds>(
                 askingInterval, std::chrono::nanoseconds(std::llround(std::max(untilDue, 0.0) * 1e9))),
             stop);
}

LiveVideoReader::LiveVideoReader(Settings settings, const std::stop_token& stop) {
    ffmpeg::quietLogging();
    registerDevices();
    throwIfCancelled(stop);
    implementation_ = std::make_unique<Implementation>(std::move(settings));
    implementation_->latest = HostClock::now();
}

LiveVideoReader::~LiveVideoReader() = default;

PixelSize LiveVideoReader::size() const {
    return implementation_->size;
}

std::optional<LiveFrame> LiveVideoReader::next(const std::stop_token& stop) {
    Implementation& self = *implementation_;
    const double asked = HostClock::now();
    for (;;) {
        throwIfCancelled(stop);
        switch (self.read()) {
        case Implementation::Reading::end:
            return std::nullopt;
        case Implementation::Reading::nothingYet:
            if (HostClock::now() - std::max(self.latest, asked) > self.settings.patience) {
                throw LiveVideoError::silent(self.settings.source, self.settings.patience);
            }
            self.pause(stop);
            break;
        case Implementation::Reading::picture: {
            LiveFrame frame = self.take();
            if (frame.pixels.isEmpty()) {
                break;
            }
            if (const double early = frame.time - HostClock::now(); early > 0) {
                sleepFor(std::chrono::nanoseconds(std::llround(early * 1e9)), stop);
            }
            self.latest = HostClock::now();
            return frame;
        }
        }
    }
}

} // namespace tavrin
