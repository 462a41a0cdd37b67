#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <pulse/pulseaudio.h>

#include "TavrinKit/Media/StreamClock.h"

namespace tavrin {

class PulseConnection;

/// The sound of one source of a server, or of one application that plays, in blocks that know when they were
/// heard.
///
/// Everything happens on the thread that runs the connection. The server is never waited for.
class PulseRecordStream {
public:
    struct Origin {
        std::string source;                         ///< its name; empty with a sink input
        std::uint32_t sinkInput = PA_INVALID_INDEX; ///< what one application plays
    };
    struct Block {
        std::vector<float> interleaved;
        double time = 0; ///< host clock, of the first frame
    };

    /// Asks the server for the stream.
    /// @param connection  outlives the stream
    /// @throws PulseError when it refuses at once
    PulseRecordStream(PulseConnection& connection, Origin origin, int sampleRate, int channels);
    ~PulseRecordStream();
    PulseRecordStream(const PulseRecordStream&) = delete;
    PulseRecordStream& operator=(const PulseRecordStream&) = delete;

    [[nodiscard]] const Origin& origin() const { return origin_; }
    /// The server has made it.
    [[nodiscard]] bool isReady() const;
    /// The server refused it, or ended it: the source has gone.
    [[nodiscard]] bool hasEnded() const;

    /// Asks for the stream's timing when that is due; to be called every tenth of a second or more often.
    void keepTime();

    /// The next block, once its time is known.
    [[nodiscard]] std::optional<Block> next();

private:
    struct Release {
        void operator()(pa_stream* stream) const;
        void operator()(pa_operation* operation) const;
    };
    struct Arrived {
        std::vector<float> interleaved;
        std::int64_t frame; ///< of the first, counted from the stream's start
        bool isAfterPause;
    };

    void readArrived();
    void takeTiming();

    const Origin origin_;
    const int sampleRate_;
    const std::size_t channels_;
    std::unique_ptr<pa_stream, Release> stream_;
    std::unique_ptr<pa_operation, Release> request_; ///< of the timing; null when none is under way
    double requestedAt_ = 0;                         ///< host clock
    double nextRequest_ = 0;                         ///< host clock
    std::uint32_t dither_ = 1;

    StreamClock clock_;
    std::int64_t arrivedFrames_ = 0; ///< holes included
    double lastsUntil_ = 0;          ///< host clock: how long what has arrived takes to hear, at most
    double measuredFrame_ = -1;      ///< of the last measurement
    /// Measurements before this frame say nothing about what comes now.
    std::int64_t epochFrame_ = 0;
    std::deque<Arrived> arrived_;
};

} // namespace tavrin
