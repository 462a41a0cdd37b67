#pragma once

#include <map>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "TavrinKit/Media/LiveVideoError.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

/// A picture as it was taken.
struct LiveFrame {
    PixelBuffer pixels; ///< i420, BT.709 limited range, not written again
    double time = 0;    ///< host clock
};

/// Pictures of a device, as they are taken.
///
/// Times are the device's own, where it stamps its pictures with the system's monotonic clock, and else those
/// of the arrival. Pictures that can't be decoded are passed over. YCbCr that doesn't name its matrix counts
/// as BT.601, which cameras deliver whatever their size. One thread at a time.
class LiveVideoReader {
public:
    struct Settings {
        std::string device;                         ///< the kind, in FFmpeg's words, as in "video4linux2"
        std::string source;                         ///< which one, as in "/dev/video0"
        std::map<std::string, std::string> options; ///< of the kind
        /// The source has no clock of its own and delivers as fast as it can: its pictures are handed out at
        /// the pace of their times.
        bool isPaced = false;
        double patience = 5; ///< seconds without a picture until the device counts as silent
    };

    /// Opens the device. May hang when its driver does.
    /// @throws LiveVideoError, CancellationError
    explicit LiveVideoReader(Settings settings, const std::stop_token& stop = {});
    ~LiveVideoReader();
    LiveVideoReader(const LiveVideoReader&) = delete;
    LiveVideoReader& operator=(const LiveVideoReader&) = delete;

    /// Of every picture: even on both axes; an odd device loses a row or a column.
    [[nodiscard]] PixelSize size() const;

    /// Waits for the next picture. @return nothing when the source has come to its end
    /// @throws LiveVideoError (silent, disconnected), CancellationError
    [[nodiscard]] std::optional<LiveFrame> next(const std::stop_token& stop = {});

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace tavrin
