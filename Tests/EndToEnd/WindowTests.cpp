#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fixtures/TemporaryFolder.h"
#include "OwnedWindow.h"
#include "TavrinKit/Capture/CaptureCoordinator.h"
#include "TavrinKit/Capture/CaptureSelection.h"
#include "TavrinKit/Capture/CaptureSyncValidator.h"
#include "TavrinKit/Capture/DesktopStreamCapture.h"
#include "TavrinKit/Imaging/ImageRenderer.h"
#include "TavrinKit/Imaging/PNG.h"
#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Media/PictureScaler.h"
#include "TavrinKit/Media/PixelConversion.h"
#include "TavrinKit/Media/VideoReader.h"
#include "TavrinKit/Platform/X11/VirtualDisplay.h"
#include "TavrinKit/Platform/X11/X11CaptureBackend.h"
#include "TavrinKit/Platform/X11/X11LiveInputEventMonitor.h"
#include "TavrinKit/Platform/X11/XTestDriver.h"
#include "TavrinKit/Support/Files.h"

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

/// The take's picture of a window of that size, but for the lossy coding.
PixelBuffer expectedPicture(PixelSize client, const Rect& content) {
    const PixelBuffer colours = OwnedWindow::picture(client);
    PixelBuffer exact = PixelBuffer::allocate(PixelFormat::i420, colours.size());
    convertBGRXToI420(colours, exact, {0, 0, colours.size().width, colours.size().height});
    PixelBuffer scaled = PixelBuffer::allocate(PixelFormat::i420, {int(content.width), int(content.height)});
    const bool isCropped = recordableSize(colours.size()) == scaled.size();
    if (!isCropped) {
        PictureScaler().scale(exact, scaled);
    }
    const PixelBuffer& source = isCropped ? exact : scaled;
    PixelBuffer result = PixelBuffer::allocate(PixelFormat::i420, surface);
    for (int i = 0; i < 3; ++i) {
        const int shift = i == 0 ? 0 : 1;
        for (int y = 0; y < result.plane(i).height; ++y) {
            for (int x = 0; x < result.plane(i).width; ++x) {
                const bool isContent = content.contains(Vec2{double(x << shift), double(y << shift)});
                result.row(i, y)[x] =
                    isContent ? source.row(i, y - (int(content.y) >> shift))[x - (int(content.x) >> shift)]
                              : std::uint8_t(i == 0 ? 16 : 128);
            }
        }
    }
    return result;
}

/// How many blocks of 8 by 8 samples differ by more than coding does, the flickering square aside.
int wrongBlocks(const PixelBuffer& picture, const PixelBuffer& expected) {
    constexpr int side = 8;
    constexpr int tolerance = 14;
    int wrong = 0;
    for (int i = 0; i < 3; ++i) {
        const int shift = i == 0 ? 0 : 1;
        const PixelBuffer::Plane& plane = picture.plane(i);
        for (int top = 0; top + side <= plane.height; top += side) {
            for (int left = 0; left + side <= plane.width; left += side) {
                const Vec2 fromMiddle{((left + side / 2) << shift) - surface.width / 2.0,
                                      ((top + side / 2) << shift) - surface.height / 2.0};
                if (std::abs(fromMiddle.x) < 48 && std::abs(fromMiddle.y) < 48) {
                    continue;
                }
                int sum = 0;
                for (int y = top; y < top + side; ++y) {
                    for (int x = left; x < left + side; ++x) {
                        sum += picture.row(i, y)[x] - expected.row(i, y)[x];
                    }
                }
                wrong += std::abs(sum) > tolerance * side * side ? 1 : 0;
            }
        }
    }
    return wrong;
}

/// Orange, as nothing but the window that covers is.
bool showsTheCover(const PixelBuffer& picture) {
    int orange = 0;
    for (int y = 0; y < picture.plane(1).height; ++y) {
        for (int x = 0; x < picture.plane(1).width; ++x) {
            orange += picture.row(1, y)[x] < 60 && picture.row(2, y)[x] > 165 ? 1 : 0;
        }
    }
    return orange > 16;
}

void leaveForTheEye(const PixelBuffer& picture, const std::string& name) {
    if (const char* folder = std::getenv("TAVRIN_TEST_PICTURES")) {
        const Rect whole{0, 0, double(picture.size().width), double(picture.size().height)};
        const PixelBuffer colours = ImageRenderer().render(Image::pixels(picture), whole, PixelFormat::bgra8);
        writeFileAtomically(std::filesystem::path(folder) / (name + ".png"), encodePNG(colours));
    }
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
        pause(40); // for the news of the last move to have come everywhere
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
    window.cover(250, 650, {220, 500});
    pause(300);
    click({100, 100});
    window.cover(0, 600, {1024, 600});
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
    window.uncover();
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
        if (wrongBlocks(frame->pixels, before) == 0) {
            lastBefore = frame->time;
            ++framesBefore;
        } else if (wrongBlocks(frame->pixels, after) == 0) {
            firstAfter = std::min(firstAfter, frame->time);
            ++framesAfter;
        } else {
            neither.push_back(frame->time);
            leaveForTheEye(frame->pixels, fmt::format("window-neither-{:.3f}", frame->time));
        }
        if (framesBefore == 20 || framesAfter == 5) {
            leaveForTheEye(frame->pixels, fmt::format("window-{}-{}", framesBefore, framesAfter));
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
    leaveForTheEye(frame->pixels, "area");
    const PixelBuffer whole = expectedPicture(clientBefore, {0, 0, surface.width, surface.height});
    for (int y = 0; y < 110; ++y) {
        for (int x = 0; x < 300; ++x) {
            ASSERT_NEAR(frame->pixels.row(0, y)[x], whole.row(0, y + 10)[x + 10], 24) << x << ", " << y;
        }
    }
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
