#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <variant>
#include <vector>

#include "TavrinKit/Capture/CaptureTypes.h"
#include "TavrinKit/Support/Geometry.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

// What is asked of a display server. One folder under Platform/ answers for each kind of server; all the
// logic of recording lies above these values and interfaces and includes no platform header.

/// A display that can be recorded.
struct ShareableDisplay {
    std::uint32_t displayID = 0;
    std::string name; ///< the connector's name, as in "HDMI-1"
    Rect frame;       ///< global points, y downward, origin at the top left of the main display
    PixelSize pixels; ///< what a recording of the whole display measures
    bool isMain = false;
};

/// A window that can be recorded.
struct ShareableWindow {
    std::uint32_t windowID = 0;
    std::string title;
    /// With its decorations, without the shadow that some applications draw around themselves. Global points,
    /// y downward, origin at the top left of the main display.
    Rect frame;
    bool isOnScreen = true;       ///< shown, be it under others; not minimised
    std::int32_t processID = 0;   ///< 0 when unknown
    std::string bundleIdentifier; ///< of the owning application; empty when unknown
    std::string applicationName;  ///< as the user knows the application; empty when unknown
};

/// A running application that owns windows.
struct ShareableApplication {
    std::string bundleIdentifier;
    std::string name;
    std::int32_t processID = 0;
};

/// A snapshot of what a server has to offer.
struct ShareableContent {
    std::vector<ShareableDisplay> displays; ///< the server's order
    std::vector<ShareableWindow> windows;   ///< from the bottom of the stack to its top
    std::vector<ShareableApplication> applications;
    double mainDisplayHeight = 0; ///< points; what turns y over
};

/// What a stream shows.
struct ContentFilter {
    struct Display {
        std::uint32_t displayID;
        std::vector<ShareableApplication> excludedApplications;
        /// Leaves out, besides those, what comes to have windows only while the stream runs.
        CaptureApplicationExclusionRule exclusionRule;
    };
    struct Window {
        std::uint32_t windowID;
    };
    std::variant<Display, Window> content;

    /// Where the content lies; for a window its `frame`.
    Rect contentRect;
    double pointPixelScale = 1;
};

/// How a stream delivers what its filter shows.
///
/// With `scalesToFit` a source of another size than the picture is scaled evenly until it fits, centred on
/// black; `VideoSample::contentRect` says where it lies. Without, pictures show the source pixel for pixel
/// from its top left corner: what is larger than the picture is cut, what is smaller leaves black at the
/// right and below.
struct StreamConfiguration {
    int width = 0; ///< pixels of each delivered picture, even
    int height = 0;
    /// Pictures that wait for the output at most. The output may keep the newest one beyond that for as long
    /// as nothing changes.
    int queueDepth = 4;
    double minimumFrameInterval = 1.0 / 60; ///< seconds
    bool showsCursor = true;
    bool capturesAudio = false; ///< a stream of what the machine plays runs beside the pictures
    int sampleRate = 48000;
    int channelCount = 2;
    CaptureApplicationExclusionRule audioExclusion; ///< whose sound to leave out
    bool scalesToFit = false;
    std::optional<Rect> sourceRect; ///< points, relative to the display, y downward; absent: all of it
};

enum class FrameStatus { complete, idle, blank, suspended, started, stopped };

/// One picture of a stream, or the news that there is none.
struct VideoSample {
    PixelBuffer pixels;          ///< i420; empty for a sample without a picture. Not written again.
    double presentationTime = 0; ///< host clock: when the picture was taken
    FrameStatus status = FrameStatus::complete;
    std::optional<Rect> screenRect;  ///< where the source lay, global points, y upward
    std::optional<Rect> contentRect; ///< where the content lies in the surface, points
    std::optional<double> scaleFactor;
};

/// A run of sound.
struct AudioSample {
    std::vector<float> interleaved; ///< -1...1, as many channels as the configuration says
    double presentationTime = 0;    ///< host clock time of the first frame
};

/// Takes what a stream delivers. Pictures and sound may come from two threads, each from one at a time; must
/// not block.
class ScreenStreamOutput {
public:
    virtual ~ScreenStreamOutput() = default;
    virtual void didOutput(VideoSample sample) = 0;
    virtual void didOutput(AudioSample sample) = 0;
    /// Something went wrong that the stream gets over by itself, as in "window_minimized" or
    /// "system_audio_device_changed:Speakers": a name, and behind a colon what else is to be known.
    virtual void didWarn(std::string warning) = 0;
    /// The stream ended by itself: the display has gone, the server hung up. Nothing follows.
    virtual void didStop(std::exception_ptr error) = 0;
};

/// Something that delivers samples to a `ScreenStreamOutput` while it runs. All calls from any thread.
class CaptureStream {
public:
    virtual ~CaptureStream() = default;

    /// Returns once the capture runs; samples may arrive before that.
    /// @throws Error of the platform, CancellationError
    virtual void start(std::stop_token stop) = 0;

    /// Ends the capture. Harmless when it is not running.
    /// @throws Error of the platform, CancellationError
    virtual void stop(std::stop_token stop) = 0;

    /// Takes the output off. When this returns no call of the output is in flight and none will follow.
    virtual void removeOutput() = 0;
};

/// A running capture of one source's pictures.
///
/// A picture is delivered when something changed, at most one every `minimumFrameInterval`, with the time
/// at which it was taken; the first one as soon as the stream runs, and no other sample before it.
class ScreenStream : public CaptureStream {
public:
    /// Pictures that could not be delivered in time, since the start.
    [[nodiscard]] virtual std::int64_t droppedFrames() const = 0;
};

/// Makes a stream of what the machine plays.
///
/// What it delivers is without gaps from the first sample to its stop: a run of sound, of a tenth of a
/// second, begins where the one before it ended, to the frame, on the host clock. Where nothing plays, or the
/// server doesn't answer, there is silence. A start fails when there is no sound server; what happens to it
/// later is only a warning.
///
/// @param configuration  sample rate, channels and exclusion count
/// @param output         kept until `removeOutput`
using SystemAudioStreamFactory = std::function<std::unique_ptr<CaptureStream>(
    const StreamConfiguration& configuration, std::shared_ptr<ScreenStreamOutput> output)>;

/// One display server, seen from the recorder.
class ScreenCaptureBackend {
public:
    virtual ~ScreenCaptureBackend() = default;

    /// Whether the server is known to show this process the screen. No means that only trying can tell.
    [[nodiscard]] virtual bool preflightAccess() { return false; }

    /// Asks the user for access where the server has a way to ask. @return the answer
    [[nodiscard]] virtual bool requestAccess() { return false; }

    /// May hang when the server does: callers race it against a timer.
    /// @throws Error of the platform
    [[nodiscard]] virtual ShareableContent shareableContent(bool excludingDesktopWindows,
                                                            bool onScreenWindowsOnly) = 0;

    /// @param output  kept by the stream until `removeOutput` or its own end
    /// @throws Error of the platform when the source has gone
    [[nodiscard]] virtual std::unique_ptr<ScreenStream>
    makeStream(const ContentFilter& filter, const StreamConfiguration& configuration,
               std::shared_ptr<ScreenStreamOutput> output) = 0;
};

} // namespace tavrin
