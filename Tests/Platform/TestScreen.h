#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <xcb/xcb.h>

#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Platform/X11/VirtualDisplay.h"
#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11DisplayLayout.h"

namespace tavrin::test {

constexpr auto patience = std::chrono::seconds(20);
/// Long enough for something that must not happen to have happened.
constexpr auto quiet = std::chrono::milliseconds(250);

constexpr int screenWidth = 1101;
constexpr int screenHeight = 600;
/// The monitor on the left is lower and has odd sizes; the one on the right is the main display.
constexpr X11Rect leftMonitor{0, 150, 501, 399};
constexpr X11Rect rightMonitor{501, 0, 600, 600};

VirtualDisplay::Settings twoMonitors();

/// The one server that the tests of this program share.
const std::string& sharedDisplay();

/// Returns when the server has done all that it was asked for.
void sync(const X11Connection& connection);

/// A window of the root window or of a parent's, which isn't shown yet.
/// @param values  of the attributes in `mask`
std::uint32_t createWindow(const X11Connection& connection, const X11Rect& area, std::uint32_t mask = 0,
                           const std::uint32_t* values = nullptr, int border = 0);
void fillRectangle(const X11Connection& connection, std::uint32_t drawable, const X11Rect& area,
                   std::uint32_t color);
void placeWindow(const X11Connection& connection, std::uint32_t window, const X11Rect& area);

/// Draws on the root window and keeps a copy of what must be seen there.
class Canvas {
public:
    explicit Canvas(const std::string& displayName, X11Rect screen = {0, 0, screenWidth, screenHeight});

    void fill(const X11Rect& area, std::uint32_t color);
    /// A picture in which no two neighbours are alike.
    void fillNoise(const X11Rect& area, std::uint32_t seed);
    void sync() const { test::sync(connection_); }

    /// What a capture of the area must look like: bgra8.
    [[nodiscard]] PixelBuffer picture(const X11Rect& area) const;
    [[nodiscard]] const X11Connection& connection() const { return connection_; }

private:
    void remember(const X11Rect& area, const std::function<std::uint32_t(int x, int y)>& color);

    X11Connection connection_;
    X11Rect screen_;
    std::uint32_t context_;
    std::vector<std::uint32_t> pixels_;
};

/// Keeps what a stream delivers, of the pictures themselves only the latest.
class RecordingOutput : public ScreenStreamOutput {
public:
    explicit RecordingOutput(std::size_t picturesKept = 3) : picturesKept_(picturesKept) {}

    void didOutput(VideoSample sample) override;
    void didOutput(AudioSample) override {}
    void didWarn(std::string warning) override;
    void didStop(std::exception_ptr error) override;

    [[nodiscard]] std::size_t count() const;
    [[nodiscard]] std::vector<VideoSample> samples() const;
    [[nodiscard]] VideoSample last() const;
    [[nodiscard]] std::exception_ptr error() const;
    [[nodiscard]] std::vector<std::string> warnings() const;
    void forget();

    /// Waits until there are so many pictures. @return whether there are
    bool waitForCount(std::size_t count);
    /// Waits until nothing has come for a while.
    void waitForQuiet();
    bool waitForStop();

private:
    const std::size_t picturesKept_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<VideoSample> samples_;
    std::vector<std::string> warnings_;
    std::exception_ptr error_;
    bool hasStopped_ = false;
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

/// Waits until the condition holds. @return whether it does
bool eventually(const std::function<bool()>& condition);

} // namespace tavrin::test
