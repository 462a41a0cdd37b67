#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinApp/Sources/CaptureSourceGeometry.h"
#include "TavrinApp/Sources/DesktopSourceCatalog.h"
#include "TavrinApp/Sources/RecordingLauncherAreaSelection.h"

namespace tavrin {
namespace {

/// A server with whatever a test puts on it.
class ListedDesktop : public ScreenCaptureBackend {
public:
    ShareableContent content;

    ShareableContent shareableContent(bool, bool) override { return content; }
    std::unique_ptr<ScreenStream> makeStream(const ContentFilter&, const StreamConfiguration&,
                                             std::shared_ptr<ScreenStreamOutput>) override {
        return nullptr;
    }
};

std::vector<CaptureSourceOption> listed(const ShareableContent& content) {
    const auto desktop = std::make_shared<ListedDesktop>();
    desktop->content = content;
    return DesktopSourceCatalog(desktop, {{"org.own"}, {77}}).loadSources();
}

std::vector<std::string> titles(const std::vector<CaptureSourceOption>& options) {
    std::vector<std::string> result;
    std::ranges::transform(options, std::back_inserter(result), &CaptureSourceOption::title);
    return result;
}

TEST(SourcesTests, windowsThatAreNobodysWorkAreNotListed) {
    struct Case {
        const char* what;
        ShareableWindow window;
        bool isListed;
    };
    const Rect large{0, 0, 300, 200};
    const std::vector<Case> cases{
        {"the least size", {1, "t", {0, 0, 80, 80}, true, 5, "app", "App"}, true},
        {"too narrow", {1, "t", {0, 0, 79.9, 200}, true, 5, "app", "App"}, false},
        {"too low", {1, "t", {0, 0, 200, 79}, true, 5, "app", "App"}, false},
        {"hidden", {1, "t", large, false, 5, "app", "App"}, false},
        {"an identifier only", {1, "", large, true, 0, "app", " "}, true},
        {"nobody's", {1, "t", large, true, 5, " ", "\t"}, false},
        {"own by its identifier", {1, "t", large, true, 5, "org.own", "App"}, false},
        {"own by its process", {1, "t", large, true, 77, "", "App"}, false},
        {"a backstop of any application", {1, " Display 1\t  Backstop", large, true, 5, "app", "App"}, false},
        {"a backdrop without a number", {1, "display backdrop", large, true, 5, "app", "App"}, false},
        {"the desktop's own surface", {1, "  Underbelly ", large, true, 5, "com.apple.x", "App"}, false},
        {"another window of the shell", {1, "Notes", large, true, 5, "com.apple.x", "App"}, true},
        {"such a title elsewhere", {1, "underbelly", large, true, 5, "app", "App"}, true},
    };
    for (const Case& each : cases) {
        ShareableContent content;
        content.windows = {each.window};
        EXPECT_EQ(listed(content).size(), each.isListed ? 1U : 0U) << each.what;
    }
}

TEST(SourcesTests, displaysComeByNumberAndThenWindowsByApplicationAndTitle) {
    ShareableContent content;
    content.mainDisplayHeight = 1000;
    content.displays = {{9, "B", {-300, -200, 300, 200}, {300, 200}, false},
                        {4, "A", {0, 0, 1600, 1000}, {1600, 1000}, true},
                        {7, "C", {0, 0, 0, 0}, {1, 0}, false}};
    const auto window = [](std::uint32_t number, const char* application, const char* title) {
        return ShareableWindow{number, title, {10, 100, 300, 200}, true, 5, "id", application};
    };
    content.windows = {window(1, "beta", "A"),  window(2, "Alpha", "b"), window(3, "", "Z"),
                       window(4, "alpha", "C"), window(5, "ALPHA", "a"), window(6, "Beta", "a")};
    const auto options = listed(content);
    EXPECT_THAT(titles(options),
                testing::ElementsAre("Display 4", "Display 7", "Display 9", "Z", "a", "b", "C", "A", "a"));
    EXPECT_EQ(options[0].captureBounds, (Rect{0, 0, 1600, 1000}));
    EXPECT_EQ(options[1].captureBounds, (Rect{0, 0, 2, 2}));
    EXPECT_EQ(options[2].captureBounds, (Rect{-300, 1000, 300, 200})); // above the main display
    EXPECT_EQ(options[2].subtitle, "300x200");
    EXPECT_EQ(options[2].target, RecordingTarget::display("9"));
    EXPECT_EQ(options[3].subtitle, "Unknown App");
    EXPECT_EQ(options[4].target, RecordingTarget::window("5"));
    EXPECT_EQ(options[4].captureBounds, (Rect{10, 700, 300, 200}));

    // A server that doesn't say how high the main display is: the one at the origin, then the first.
    content.mainDisplayHeight = 0;
    EXPECT_EQ(listed(content)[4].captureBounds->y, 700);
    content.displays.resize(1);
    EXPECT_EQ(listed(content)[2].captureBounds->y, -100);
}

TEST(SourcesTests, titlesAndBoundsAreMadeFitForTheList) {
    const std::string sixty(60, 'x');
    EXPECT_EQ(sanitizedTitle(" \t ", "Window 3"), "Window 3");
    EXPECT_EQ(sanitizedTitle(sixty + "x", ""), sixty.substr(3) + "...");
    std::string flags;
    for (int i = 0; i < 61; ++i) {
        flags += "\U0001F1E9\U0001F1EA"; // one character of two code points
    }
    EXPECT_EQ(sanitizedTitle(flags, ""), flags.substr(0, 57 * 8) + "...");

    for (const Rect& nothing : {Rect::null(), Rect::infinite(), Rect{1, 1, 5, -5}}) {
        EXPECT_EQ(CaptureSourceGeometry::logicalWindowBounds(nothing, 100.0), std::nullopt);
    }
    const Rect frame{5, 100, 30, 200};
    EXPECT_EQ(CaptureSourceGeometry::logicalWindowBounds(frame, 1000.0), (Rect{5, 700, 30, 200}));
    EXPECT_EQ(CaptureSourceGeometry::logicalWindowBounds(frame, std::nullopt), frame);
}

TEST(SourcesTests, areasAreNamedByTheirRoundedRectangle) {
    const RecordingLauncherAreaSelection area{"4", "Display 4", {100.5, 50, -60.7, 0.4}};
    EXPECT_EQ(area.stableIdentifier(), "area:4:40x50x61x0");
    EXPECT_EQ(area.subtitle(), "61 x 0");
    const RecordingLauncherAreaSelection left{"4", "", {-0.4, -2.5, 1, 1}};
    EXPECT_EQ(left.stableIdentifier(), "area:4:0x-3x1x1");
    EXPECT_EQ(decodeDocument<RecordingLauncherAreaSelection>(encodeDocument(area)), area);
}

} // namespace
} // namespace tavrin
