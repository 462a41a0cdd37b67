#include <cmath>
#include <limits>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "TavrinKit/Capture/CaptureSelection.h"
#include "TavrinKit/Capture/DesktopStreamCaptureError.h"

namespace tavrin::test {
namespace {

/// A main display of 1000 by 800 points; above its right part one of 600 by 400 points at twice the pixels.
ShareableContent desktop() {
    ShareableContent content;
    content.displays = {{41, "main", {0, 0, 1000, 800}, {1000, 800}, true},
                        {7, "above", {400, -400, 600, 400}, {1200, 800}, false}};
    content.windows = {{123, "odd", {10, 20, 301, 1}, true, 0, "", ""},
                       {9, "dot", {0, 0, 0.5, 0.5}, true, 0, "", ""}};
    content.mainDisplayHeight = 800;
    return content;
}

/// What a selection comes to, as "width x height at x,y" or "not found: id".
std::string selected(const RecordingTarget& target, std::optional<double> mainDisplayHeight = 800) {
    CaptureOptions options;
    options.target = target;
    options.mappingContext = CaptureCoordinateMappingContext{std::nullopt, mainDisplayHeight};
    try {
        const CaptureSelection selection = captureSelection(options, {}, desktop());
        EXPECT_EQ(streamConfiguration(selection, options).scalesToFit,
                  target.isWindow() || selection.sourceRect.has_value());
        std::string text = std::to_string(selection.width) + "x" + std::to_string(selection.height);
        if (const auto& rect = selection.sourceRect) {
            text += " of " + std::to_string(int(rect->width)) + "x" + std::to_string(int(rect->height)) +
                    " at " + std::to_string(int(rect->x)) + "," + std::to_string(int(rect->y));
        }
        return text;
    } catch (const DesktopStreamCaptureError& error) {
        return error.what();
    }
}

TEST(CaptureSelectionTests, findsSourcesAndTheirSizes) {
    const auto notFound = [](const std::string& target) {
        return "Unable to find capture target: " + target + ".";
    };
    const struct {
        RecordingTarget target;
        std::string expected;
    } cases[] = {
        {RecordingTarget::window("123"), "300x2"},
        {RecordingTarget::window("+00123"), "300x2"},
        {RecordingTarget::window("9"), "2x2"},
        {RecordingTarget::window("0x7b"), notFound("0x7b")},
        {RecordingTarget::window("4294967419"), notFound("4294967419")}, // 2^32 more
        {RecordingTarget::display("7"), "1200x800"},
        {RecordingTarget::area("41", {100, 200, 301, 100}), "300x100 of 301x100 at 100,500"},
        {RecordingTarget::area("main", {400, 300, -300, -100}), "300x100 of 300x100 at 100,500"},
        {RecordingTarget::area("7", {410, 1100, 50, 60}), "100x120 of 50x60 at 10,40"},
        {RecordingTarget::area("7", {350, 700, 200, 200}), "300x200 of 150x100 at 0,300"}, // over two borders
        {RecordingTarget::area("41", {998.5, 799, 50, 50}), notFound("41")}, // 1.5 by 1 are left
        {RecordingTarget::area("41", {998, 798, 50, 50}), "2x2 of 2x2 at 998,0"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(selected(row.target), row.expected);
    }
    const RecordingTarget turned = RecordingTarget::area("7", {410, -100, 50, 60});
    for (const auto height : {std::optional<double>(), std::optional(0.0), std::optional(std::nan(""))}) {
        EXPECT_EQ(selected(turned, height), "100x120 of 50x60 at 10,40");
    }
    EXPECT_EQ(resolvedWindowCapturePixelSize({0, 0, 10.2, 5}, 1.5, {}), (PixelSize{16, 8}));
    EXPECT_EQ(
        resolvedWindowCapturePixelSize({0, 0, 10, 1}, std::numeric_limits<double>::infinity(), {0, 0, 7, 7}),
        (PixelSize{7, 7}));
}

TEST(CaptureSelectionTests, leavesOutWhatEitherRuleNames) {
    ShareableContent content = desktop();
    content.applications = {{"org.keep", "keep", 100}, {"org.own", "own", 200}, {"", "third", 300}};
    CaptureOptions options;
    options.target = RecordingTarget::display("41");
    options.applicationExclusionRule = {{}, {300}};
    const CaptureSelection selection = captureSelection(options, {{"org.own"}, {}}, content);
    const auto& display = std::get<ContentFilter::Display>(selection.filter.content);
    ASSERT_EQ(display.excludedApplications.size(), 2U);
    EXPECT_EQ(display.excludedApplications[0].name, "own");
    EXPECT_EQ(display.excludedApplications[1].name, "third");
}

} // namespace
} // namespace tavrin::test
