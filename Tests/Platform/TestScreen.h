#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <xcb/xcb.h>

#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Platform/X11/VirtualDisplay.h"
#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11DisplayLayout.h"
#include "TavrinKit/Support/Guarded.h"

namespace tavrin::test {

/// Long enough for something that must not happen to have happened.
constexpr auto quiet = std::chrono::milliseconds(250);

/// Waits until the condition holds, for 20 seconds at most. @return whether it does
bool eventually(const std::function<bool()>& condition);

constexpr int screenWidth = 1101;
constexpr int screenHeight = 600;
/// The monitor on the left is lower and has odd sizes; the one on the right is the main display.
constexpr X11Rect leftMonitor{0, 150, 501, 399};
constexpr X11Rect rightMonitor{501, 0, 600, 600};

VirtualDisplay::Settings twoMonitors();

/// The one server that the tests of this program share.
const std::string& sharedDisplay();

/// A window of the root window, which isn't shown yet.
/// @param values  of the attributes in `mask`
std::uint32_t createWindow(const X11Connection& connection, const X11Rect& area, std::uint32_t mask = 0,
                           const std::uint32_t* values = nullptr);
void fillRectangle(const X11Connection& connection, std::uint32_t drawable, const X11Rect& area,
                   std::uint32_t color);
void placeWindow(const X11Connection& connection, std::uint32_t window, const X11Rect& area);

/// Gives the screen a pointer of 9 x 9, black with a white upper left part of 4 x 6, or none that can be
/// seen.
void usePointer(const X11Connection& connection, int hotSpotX, int hotSpotY, bool isVisible = true);

/// A picture in which no two neighbours are alike, whatever part of it is asked for: bgra8.
/// @param channels  those that may have a colour
PixelBuffer noise(const X11Rect& area, std::uint32_t seed = 0, std::uint32_t channels = 0xffffff);

/// A window that the server paints by itself, with noise, wherever it comes to light.
class NoiseWindow {
public:
    struct Settings {
        int depth = 24;
        bool isOverrideRedirect = false;
        std::uint32_t parent = 0; ///< 0: the root window
        std::uint32_t seed = 0;
        std::uint32_t channels = 0xffffff;
    };
    /// Shown at once.
    NoiseWindow(const X11Connection& connection, const X11Rect& area, const Settings& settings);
    NoiseWindow(const X11Connection& connection, const X11Rect& area)
        : NoiseWindow(connection, area, Settings{}) {}
    ~NoiseWindow() { destroy(); }
    NoiseWindow(const NoiseWindow&) = delete;
    NoiseWindow& operator=(const NoiseWindow&) = delete;

    [[nodiscard]] std::uint32_t id() const { return id_; }
    void place(const X11Rect& area) const { placeWindow(connection_, id_, area); }
    void raise() const;
    void map() const;
    void unmap() const;
    void destroy() const;
    void fill(const X11Rect& area, std::uint32_t color) const;

private:
    const X11Connection& connection_;
    const std::uint32_t id_;
};

/// Draws on the root window and keeps a copy of what must be seen there.
class Canvas {
public:
    explicit Canvas(const std::string& displayName, X11Rect screen = {0, 0, screenWidth, screenHeight});

    void fill(const X11Rect& area, std::uint32_t color);
    void fillNoise(const X11Rect& area, std::uint32_t seed);
    void sync() const { connection_.sync(); }

    /// What a capture of the area must look like: bgra8.
    [[nodiscard]] PixelBuffer picture(const X11Rect& area) const;
    [[nodiscard]] const X11Connection& connection() const { return connection_; }

private:
    const X11Connection connection_;
    const X11Rect screen_;
    const PixelBuffer pixels_;
};

/// Keeps what a stream delivers, of the pictures themselves only the latest.
class RecordingOutput : public ScreenStreamOutput {
public:
    explicit RecordingOutput(std::size_t picturesKept = 3) : picturesKept_(picturesKept) {}

    void didOutput(VideoSample sample) override;
    void didOutput(AudioSample) override {}
    void didWarn(std::string warning) override;
    void didStop(std::exception_ptr error) override;

    struct Delivered {
        std::vector<VideoSample> samples{};
        std::vector<std::string> warnings{};
        std::exception_ptr error{};
        bool hasStopped = false;
    };
    [[nodiscard]] Delivered delivered() const { return delivered_.copy(); }
    [[nodiscard]] std::vector<VideoSample> samples() const { return delivered().samples; }
    [[nodiscard]] std::size_t count() const { return samples().size(); }
    [[nodiscard]] VideoSample last() const { return count() == 0 ? VideoSample{} : samples().back(); }
    void forget();

    /// Waits until there are so many pictures. @return whether there are
    [[nodiscard]] bool waitForCount(std::size_t wanted) const {
        return eventually([&] { return count() >= wanted; });
    }
    /// Waits until nothing has come for a while.
    void waitForQuiet() const;
    [[nodiscard]] bool waitForStop() const {
        return eventually([&] { return delivered().hasStopped; });
    }

private:
    const std::size_t picturesKept_;
    Guarded<Delivered> delivered_;
};

using Adjust = std::function<void(ContentFilter::Display&, StreamConfiguration&)>;

/// A stream of the monitor with that name.
std::unique_ptr<ScreenStream> makeStream(const std::string& displayName, const std::string& monitor,
                                         const std::shared_ptr<ScreenStreamOutput>& output, bool showsCursor,
                                         const Adjust& adjust = {});

struct RunningStream {
    std::shared_ptr<RecordingOutput> output;
    std::unique_ptr<ScreenStream> stream;
};
/// One that has delivered its first picture.
RunningStream startStream(const std::string& displayName, const std::string& monitor,
                          bool showsCursor = false, const Adjust& adjust = {});

/// The largest difference of a sample to what a conversion of `expected` gives. Where the picture is larger
/// than what is expected, its last column or row must be repeated.
int worstDifference(const PixelBuffer& i420, const PixelBuffer& expected);

/// Changes a spot of the right monitor without pause.
class RestlessSpot {
public:
    explicit RestlessSpot(const std::string& displayName);

private:
    std::jthread painter_;
};

} // namespace tavrin::test
