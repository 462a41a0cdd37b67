#include "TavrinKit/Platform/Pulse/PulseRecordStream.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "TavrinKit/Platform/Pulse/PulseConnection.h"
#include "TavrinKit/Platform/Pulse/PulseError.h"
#include "TavrinKit/Support/HostClock.h"

namespace tavrin {
namespace {

/// Also the bound of what the server's counting is late by, twice over.
constexpr double fragmentSeconds = 0.02;
constexpr double timingInterval = 0.1; ///< seconds, and up to half of that more
constexpr double firstTimingInterval = 0.02;
/// Seconds for which there is no sound to hear any more, after which its time is measured anew.
constexpr double pauseSeconds = 0.25;
/// Seconds that a device may deliver in one go.
constexpr double longestBurst = 2;
/// Sound whose time doesn't become known is given up beyond this.
constexpr std::size_t mostArrived = 1500; // blocks: a minute

} // namespace

void PulseRecordStream::Release::operator()(pa_stream* stream) const {
    pa_stream_set_state_callback(stream, nullptr, nullptr);
    pa_stream_set_read_callback(stream, nullptr, nullptr);
    pa_stream_disconnect(stream);
    pa_stream_unref(stream);
}

void PulseRecordStream::Release::operator()(pa_operation* operation) const {
    pa_operation_cancel(operation);
    pa_operation_unref(operation);
}

PulseRecordStream::PulseRecordStream(PulseConnection& connection, Origin origin, int sampleRate, int channels)
    : origin_(std::move(origin)), sampleRate_(sampleRate), channels_(std::size_t(channels)),
      clock_(sampleRate) {
    constexpr const char* request = "opening a recording";
    const pa_sample_spec format{PA_SAMPLE_FLOAT32NE, std::uint32_t(sampleRate), std::uint8_t(channels)};
    stream_.reset(pa_stream_new(connection.context(), "Screen recording", &format, nullptr));
    if (!stream_) {
        throw PulseError::requestFailed(request, connection.lastReason());
    }
    pa_stream_set_read_callback(
        stream_.get(),
        [](pa_stream*, std::size_t, void* self) { static_cast<PulseRecordStream*>(self)->readArrived(); },
        this);
    if (origin_.sinkInput != PA_INVALID_INDEX) {
        pa_stream_set_monitor_stream(stream_.get(), origin_.sinkInput);
    }
    constexpr auto theirChoice = std::uint32_t(-1);
    pa_buffer_attr buffer{theirChoice, theirChoice, theirChoice, theirChoice, theirChoice};
    buffer.fragsize = std::uint32_t(fragmentSeconds * sampleRate) * std::uint32_t(pa_frame_size(&format));
    // A stream that the server moved elsewhere would be another one without a word: rather let it end.
    const auto flags = pa_stream_flags_t(PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE);
    const char* source = origin_.source.empty() ? nullptr : origin_.source.c_str();
    if (pa_stream_connect_record(stream_.get(), source, &buffer, flags) < 0) {
        throw PulseError::requestFailed(request, connection.lastReason());
    }
}

PulseRecordStream::~PulseRecordStream() = default;

bool PulseRecordStream::isReady() const {
    return pa_stream_get_state(stream_.get()) == PA_STREAM_READY;
}

bool PulseRecordStream::hasEnded() const {
    return !PA_STREAM_IS_GOOD(pa_stream_get_state(stream_.get()));
}

void PulseRecordStream::keepTime() {
    if (request_ && pa_operation_get_state(request_.get()) != PA_OPERATION_RUNNING) {
        request_.reset();
    }
    const double now = HostClock::now();
    if (!isReady() || request_ || now < nextRequest_) {
        return;
    }
    requestedAt_ = now;
    request_.reset(pa_stream_update_timing_info(
        stream_.get(),
        [](pa_stream*, int success, void* self) {
            if (success != 0) {
                static_cast<PulseRecordStream*>(self)->takeTiming();
            }
        },
        this));
    // Uneven steps: even ones might meet a device that delivers in blocks always at the same point of a
    // block.
    dither_ = dither_ * 1664525U + 1013904223U;
    const double interval = clock_.isSettled() ? timingInterval : firstTimingInterval;
    nextRequest_ = now + interval * (1 + 0.5 * double(dither_ >> 16U) / 65536);
}

/// Places the frame that is heard just now: the server says how many it has sent, and what is still on its
/// way from the device, or what a loudspeaker has still to play.
void PulseRecordStream::takeTiming() {
    const pa_timing_info* timing = pa_stream_get_timing_info(stream_.get());
    if (timing == nullptr || timing->write_index_corrupt != 0) {
        return;
    }
    const double now = HostClock::now();
    const double sent = double(timing->write_index) / double(channels_ * sizeof(float));
    if (sent <= measuredFrame_ || sent <= double(epochFrame_)) {
        return; // nothing moves
    }
    measuredFrame_ = sent;
    // A loudspeaker that is late to ask for more reports a delay below 0.
    const double delay = (double(timing->source_usec) - double(std::int64_t(timing->sink_usec))) * 1e-6;
    constexpr double implausible = 10;
    if (std::abs(delay) < implausible) {
        clock_.measure(sent + delay * sampleRate_, (requestedAt_ + now) / 2, (now - requestedAt_) / 2);
    }
}

void PulseRecordStream::readArrived() {
    const void* data = nullptr;
    std::size_t size = 0;
    while (pa_stream_peek(stream_.get(), &data, &size) == 0 && size > 0) {
        const std::size_t count = size / sizeof(float);
        const double now = HostClock::now();
        const bool isAfterPause = now > lastsUntil_ + pauseSeconds;
        const double duration = double(count / channels_) / sampleRate_;
        lastsUntil_ = std::min(std::max(lastsUntil_, now) + duration, now + longestBurst);
        if (data != nullptr && arrived_.size() < mostArrived) {
            const auto* samples = static_cast<const float*>(data);
            arrived_.push_back({{samples, samples + count}, arrivedFrames_, isAfterPause});
        }
        if (isAfterPause) {
            epochFrame_ = arrivedFrames_;
            nextRequest_ = 0;
        }
        arrivedFrames_ += std::int64_t(count / channels_); // a hole has a length too
        pa_stream_drop(stream_.get());
    }
}

std::optional<PulseRecordStream::Block> PulseRecordStream::next() {
    if (arrived_.empty()) {
        return std::nullopt;
    }
    if (arrived_.front().isAfterPause) {
        clock_.forgetTime();
        arrived_.front().isAfterPause = false;
    }
    if (!clock_.isSettled()) {
        return std::nullopt;
    }
    Arrived arrived = std::move(arrived_.front());
    arrived_.pop_front();
    return Block{std::move(arrived.interleaved), clock_.timeOf(double(arrived.frame))};
}

} // namespace tavrin
