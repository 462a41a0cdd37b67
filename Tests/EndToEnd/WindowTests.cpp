#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fixtures/TemporaryFolder.h"
#include "OwnedWindow.h"
#include "PlainWindow.h"
#include "TavrinKit/Capture/CaptureCoordinator.h"
#include "TavrinKit/Capture/CaptureSelection.h"
#include "TavrinKit/Capture/CaptureSyncValidator.h"
#include "TavrinKit/Capture/DesktopStreamCapture.h"
#include "TavrinKit/Imaging/ImageRenderer.h"
#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Media/PixelConversion.h"
#include "TavrinKit/Media/VideoReader.h"
#include "TavrinKit/Platform/X11/VirtualDisplay.h"
#include "TavrinKit/Platform/X11/X11CaptureBackend.h"
#include "TavrinKit/Platform/X11/X11LiveInputEventMonitor.h"
#include "TavrinKit/Platform/X11/XTestDriver.h"

namespace tavrin::test {

namespace {

constexpr PixelSize clientBefore{401, 301};
constexpr PixelSize clientAfter{640, 250};
constexpr PixelSize surface{410, 330}; ///< the frame before, without its odd column and row
constexpr PixelSize frameAfter{650, 280};
constexpr Rect contentAfter{0, 76, 410, 176}; ///< in the surface, when scaled to fit

/// A lower, wider main monitor with a smaller one above it.
VirtualDisplay::Settings stackedMonitors() {
    VirtualDisplay::Settings settings;
    settings.size = {1024, 1288};
    settings.monitors = {{"LOWER", 0, 520, {1024, 768}, true}, {"UPPER", 100, 0, {800, 520}, false}};
    return settings;
}

void pause(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

/// A take of the desktop through everything but the user's flow, with the clicks that were really made.
class Take {
public:
    Take(const std::string& display, RecordingTarget target, std::optional<Rect> bounds,
         const std::string& folder)
        : monitor_({.displayName = display}) {
        const auto backend = std::make_shared<X11CaptureBackend>(display);
        options_.target = std::move(target);
        options_.excludeCursorFromSource = true;
        options_.applicationExclusionRule = {}; // the frames of windows are this process's own
        const ShareableContent content = backend->shareableContent(true, true);
        if (!content.windows.empty() && !bounds) {
            const Rect& frame = content.windows.front().frame;
            bounds = Rect{frame.x, content.mainDisplayHeight - frame.maxY(), frame.width, frame.height};
        }
        options_.mappingContext = CaptureCoordinateMappingContext{bounds, content.mainDisplayHeight};
        DesktopStreamCapture::Services services;
        services.backend = backend;
        capture_ =
            std::make_shared<DesktopStreamCapture>(services, folder, CaptureApplicationExclusionRule{});
        coordinator_ = std::make_unique<CaptureCoordinator>(capture_, std::make_shared<InputEventRecorder>());
        coordinator_->startRecording(std::filesystem::path(folder) / "take", options_);
        monitor_.start([this](const LiveInputEventSample& sample) {
            if (const auto* click = std::get_if<LiveInputEventKind::Clicked>(&sample.kind.value)) {
                coordinator_->recordMouseClick(sample.timestamp, sample.location.x, sample.location.y,
                                               click->button);
                ++clicks_;
            }
        });
    }

    /// Waits until so many clicks have been taken down: what they met stays until then.
    void awaitClicks(std::size_t count) const {
        for (int patience = 5000; clicks_ < count && patience > 0; --patience) {
            pause(1);
        }
    }

    [[nodiscard]] ProjectPackage finish() {
        monitor_.stop();
        ProjectPackage package = coordinator_->stopRecording({});
        const std::string verdict = CaptureSyncValidator().validate(package, options_).summary();
        EXPECT_THAT(verdict, testing::AllOf(testing::StartsWith("PASS (screenOnly)"),
                                            testing::EndsWith("No issues.")));
        return package;
    }

private:
    CaptureOptions options_;
    std::atomic<std::size_t> clicks_{0};
    std::shared_ptr<DesktopStreamCapture> capture_;
    std::unique_ptr<CaptureCoordinator> coordinator_;
    X11LiveInputEventMonitor monitor_;
};

/// Where something lies in the picture: pixels, y downward.
Vec2 inPicture(const MouseEvent& event) {
    return {event.location.x * surface.width, (1 - event.location.y) * surface.height};
}

/// The take's picture of a window of that size, but for what scaling and coding do to edges: bgra8.
PixelBuffer expectedPicture(PixelSize client, const Rect& content) {
    const PixelBuffer window = OwnedWindow::picture(client);
    const PixelBuffer result = PixelBuffer::allocate(PixelFormat::bgra8, surface);
    for (int y = 0; y < surface.height; ++y) {
        for (int x = 0; x < surface.width; ++x) {
            std::uint8_t* pixel = result.row(0, y) + std::ptrdiff_t(x) * 4;
            if (content.contains(Vec2{double(x), double(y)})) {
                const auto column = int((x - content.x) * window.size().width / content.width);
                const auto row = int((y - content.y) * window.size().height / content.height);
                std::memcpy(pixel, window.row(0, row) + std::ptrdiff_t(column) * 4, 4);
            } else {
                std::memset(pixel, 0, 4);
            }
        }
    }
    return result;
}

/// In how many places, the edges of colours and the flickering square aside, a picture differs by more than
/// coding does. @param origin  where the picture lies in the expected one
int wrongPlaces(const PixelBuffer& picture, const PixelBuffer& expected, int origin = 0) {
    constexpr int reach = 3;
    constexpr int tolerance = 16;
    const PixelBuffer exact = PixelBuffer::allocate(PixelFormat::i420, surface);
    convertBGRXToI420(expected, exact, {0, 0, surface.width, surface.height});
    const auto differs = [&](int plane, int x, int y) {
        const int shift = plane == 0 ? 0 : 1;
        const int seen = picture.row(plane, y >> shift)[x >> shift];
        const int wanted = exact.row(plane, (origin + y) >> shift)[(origin + x) >> shift];
        return std::abs(seen - wanted) > tolerance;
    };
    const auto colour = [&](int x, int y) {
        return expected.row(0, origin + y) + std::ptrdiff_t(origin + x) * 4;
    };
    int wrong = 0;
    for (int y = reach; y + reach < picture.size().height; y += 2) {
        for (int x = reach; x + reach < picture.size().width; x += 2) {
            const std::uint8_t* wanted = colour(x, y);
            const bool isFlickering = std::abs(origin + x - surface.width / 2) < 48 &&
                                      std::abs(origin + y - surface.height / 2) < 48;
            const auto isAlike = [&](int dx, int dy) {
                return std::memcmp(wanted, colour(x + dx, y + dy), 3) == 0;
            };
            if (!isFlickering && isAlike(-reach, -reach) && isAlike(reach, -reach) &&
                isAlike(-reach, reach) && isAlike(reach, reach)) {
                wrong += differs(0, x, y) || differs(1, x, y) || differs(2, x, y) ? 1 : 0;
            }
        }
    }
    return wrong;
}

constexpr std::uint32_t orange = 0xff8000; ///< as nothing but what covers the window is

bool showsTheCover(const PixelBuffer& picture) {
    int samples = 0;
    for (int y = 0; y < picture.plane(1).height; ++y) {
        for (int x = 0; x < picture.plane(1).width; ++x) {
            samples += picture.row(1, y)[x] < 60 && picture.row(2, y)[x] > 165 ? 1 : 0;
        }
    }
    return samples > 16;
}

} // namespace

TEST(Windows, ADraggedCoveredAndResizedWindowIsWholeAndClicksLandWhereTheyWereMade) {
    const TemporaryFolder folder;
    const VirtualDisplay display(stackedMonitors());
    XTestDriver hand(display.name());
    Vec2 place{300, 900};
    OwnedWindow window(display.name(), int(place.x), int(place.y), clientBefore);
    pause(300);
    Take take(display.name(), RecordingTarget::window(std::to_string(window.id())), std::nullopt,
              folder.path());

    std::vector<Vec2> expected;
    const auto click = [&](Vec2 inFrame, const Rect& content = {0, 0, surface.width, surface.height},
                           PixelSize frame = surface) {
        pause(100); // for the news of the last move to have come everywhere
        hand.moveTo(int(place.x + inFrame.x), int(place.y + inFrame.y));
        hand.click();
        expected.push_back({content.x + inFrame.x / frame.width * content.width,
                            content.y + inFrame.y / frame.height * content.height});
        take.awaitClicks(expected.size());
    };
    const auto moveTo = [&](Vec2 target) {
        place = target;
        window.moveTo(int(place.x), int(place.y));
    };

    click({10, 40});
    click({400, 320});
    const PlainWindow column(display.name(), {250, 650, 220, 500}, orange);
    column.show();
    pause(300);
    click({100, 100});
    const PlainWindow wall(display.name(), {0, 600, 1024, 600}, orange);
    wall.show();
    pause(300);
    const Vec2 start = place;
    for (int step = 1; step <= 60; ++step) { // over the middle of the lower monitor and onto the upper one
        moveTo({start.x + 2.0 * step, start.y - 14.0 * step});
        if (step % 6 == 0) {
            click({60, 12});
        } else {
            pause(8);
        }
    }
    column.hide();
    wall.hide();
    click({390, 30});
    moveTo({-200, 300}); // off the screen, and on both monitors
    click({405, 325});
    moveTo({100, 560});
    window.resize(clientAfter);
    pause(300);
    click({20, 30}, contentAfter, frameAfter);
    click({640, 270}, contentAfter, frameAfter);
    pause(500);
    const ProjectPackage package = take.finish();

    std::vector<MouseEvent> clicks = package.loadEvents().mouseEvents();
    ASSERT_EQ(clicks.size(), expected.size());
    for (std::size_t i = 0; i < clicks.size(); ++i) {
        const Vec2 offset = inPicture(clicks[i]) - expected[i];
        EXPECT_LE(std::hypot(offset.x, offset.y), 2.0)
            << "click " << i << " by " << offset.x << ", " << offset.y;
    }

    const PixelBuffer before = expectedPicture(clientBefore, {0, 0, surface.width, surface.height});
    const PixelBuffer after = expectedPicture(clientAfter, contentAfter);
    VideoReader reader(package.screenURL());
    int framesBefore = 0;
    int framesAfter = 0;
    double lastBefore = 0;
    double firstAfter = 1e9;
    std::vector<double> neither;
    while (const std::optional<DecodedFrame> frame = reader.next()) {
        EXPECT_FALSE(showsTheCover(frame->pixels)) << frame->time;
        if (wrongPlaces(frame->pixels, before) == 0) {
            lastBefore = frame->time;
            ++framesBefore;
        } else if (wrongPlaces(frame->pixels, after) == 0) {
            firstAfter = std::min(firstAfter, frame->time);
            ++framesAfter;
        } else {
            neither.push_back(frame->time);
        }
    }
    EXPECT_GT(framesBefore, 40);
    EXPECT_GT(framesAfter, 10);
    for (const double time : neither) { // Only while its owner had not yet painted it at the new size.
        EXPECT_TRUE(time > lastBefore && time < firstAfter) << time << " " << lastBefore << " " << firstAfter;
    }
    EXPECT_LT(firstAfter - lastBefore, 1.0);
}

TEST(Windows, AnAreaOverAMonitorsBorderIsThePartOnItsMonitor) {
    const TemporaryFolder folder;
    const VirtualDisplay display(stackedMonitors());
    XTestDriver hand(display.name());
    const OwnedWindow window(display.name(), 100, 400, clientBefore);
    pause(300);
    const ShareableContent content = X11CaptureBackend(display.name()).shareableContent(true, true);
    const auto upper = std::find_if(content.displays.begin(), content.displays.end(),
                                    [](const ShareableDisplay& each) { return each.name == "UPPER"; });
    ASSERT_NE(upper, content.displays.end());
    // From 110 rows above the lower monitor's upper edge, which lies at 768, to 90 rows below.
    Take take(display.name(), RecordingTarget::area(std::to_string(upper->displayID), {110, 678, 300, 200}),
              Rect{110, 768, 300, 110}, folder.path());
    hand.moveTo(200, 480);
    hand.click();
    take.awaitClicks(1);
    pause(300);
    const ProjectPackage package = take.finish();

    const std::vector<MouseEvent> clicks = package.loadEvents().mouseEvents();
    ASSERT_EQ(clicks.size(), 1U);
    EXPECT_NEAR(clicks[0].location.x * 300, 90, 1);
    EXPECT_NEAR((1 - clicks[0].location.y) * 110, 70, 1);
    const std::optional<DecodedFrame> frame = VideoReader(package.screenURL()).next();
    ASSERT_TRUE(frame);
    ASSERT_EQ(frame->pixels.size(), (PixelSize{300, 110}));
    const PixelBuffer whole = expectedPicture(clientBefore, {0, 0, surface.width, surface.height});
    EXPECT_EQ(wrongPlaces(frame->pixels, whole, 10), 0);
}

TEST(Windows, AWindowThatIsClosedEndsTheTakeAndNotItsMovie) {
    const TemporaryFolder folder;
    const VirtualDisplay display(stackedMonitors());
    OwnedWindow window(display.name(), 300, 700, clientBefore);
    pause(300);
    const auto backend = std::make_shared<X11CaptureBackend>(display.name());
    DesktopStreamCapture::Services services;
    services.backend = backend;
    DesktopStreamCapture capture(services, folder.path(), {});
    CaptureOptions options;
    options.target = RecordingTarget::window(std::to_string(window.id()));
    capture.start(options, {});
    pause(300);
    window.close();
    pause(500);
    const ScreenCaptureResult result = capture.stop({});
    ASSERT_EQ(result.warnings.size(), 1U);
    EXPECT_EQ(result.warnings.front(), "screen_stream_stopped:The recorded window \"Owned\" was closed. What "
                                       "it showed until then is kept.");
    EXPECT_EQ(probeMedia(result.screenSourceURL).video.front().naturalSize, surface);
    EXPECT_FALSE(result.geometrySamples.empty());
    EXPECT_THROW(capture.start(options, {}), DesktopStreamCaptureError);
}

} // namespace tavrin::test
