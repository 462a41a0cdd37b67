#pragma once

#include <memory>
#include <string>

#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Support/DesktopEntryIndex.h"

namespace tavrin {

/// A capture of a display of an X server, an area of it or a window, through shared memory and damage events.
///
/// Runs on a thread of its own, which sleeps until something changes: a still screen costs nothing. Pictures
/// that are delivered change only where the source did. The frame rate is held on average; two pictures may
/// be half an interval apart when the source paints unevenly. Where a window has been moved to is told at
/// once, by samples without a picture. A display is never scaled; what the configured size doesn't hold is
/// cut off on the right and below. A consumer may hold four times `queueDepth` pictures; beyond that they are
/// dropped and counted, and the next one shows what the dropped ones would have.
///
/// The stream ends by itself with X11Error when the server hangs up, the display is disconnected or becomes
/// smaller than the recording, or the window is closed.
class X11ScreenStream : public ScreenStream {
public:
    /// Connects to the server and looks for the source.
    /// @param entries  by which excluded applications are known
    /// @throws X11Error
    X11ScreenStream(const std::string& displayName, const ContentFilter& filter,
                    const StreamConfiguration& configuration,
                    std::shared_ptr<const DesktopEntryIndex> entries,
                    std::shared_ptr<ScreenStreamOutput> output);
    ~X11ScreenStream() override; ///< as `removeOutput` and `stop`
    X11ScreenStream(const X11ScreenStream&) = delete;
    X11ScreenStream& operator=(const X11ScreenStream&) = delete;

    /// A stream is started once; a second start does nothing.
    void start(std::stop_token stop) override;
    /// A server that doesn't answer is waited for a second, or until a stop is requested, and then hung up
    /// on.
    void stop(std::stop_token stop) override;
    void removeOutput() override;
    [[nodiscard]] std::int64_t droppedFrames() const override;

private:
    class Worker;

    std::shared_ptr<Worker> worker_;
};

} // namespace tavrin
