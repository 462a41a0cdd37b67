#include <string>

#include <gtest/gtest.h>

#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Capture/MockScreenStreamCapture.h"
#include "TavrinKit/Project/PremiumDefaults.h"
#include "TavrinKit/Session/PrimaryFlowController.h"
#include "TavrinKit/Session/SessionProjectLocator.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

/// The capture runs from second 1000 on for ten seconds, on a display of 1000 by 500 points.
TEST(PrimaryFlow, ATakeOpensWithSavedZoomsThatTheFirstUndoTakesAway) {
    const test::TemporaryFolder folder;
    const std::filesystem::path take = folder / "take";
    MockScreenStreamCapture::Configuration capture;
    capture.fixtureURL = folder.write("capture.mov", "pictures");
    capture.startTime = 1000;
    capture.endTime = 1010;
    const auto coordinator = std::make_shared<CaptureCoordinator>(
        std::make_shared<MockScreenStreamCapture>(capture), std::make_shared<InputEventRecorder>());
    CaptureOptions options;
    options.target = RecordingTarget::display("main");
    options.mappingContext = CaptureCoordinateMappingContext{Rect{0, 0, 1000, 500}, 500};
    PrimaryFlowController flow(coordinator);
    EXPECT_THROW((void)flow.stopAndOpenEditor(), CaptureCoordinatorError);
    EXPECT_FALSE(std::filesystem::exists(take));
    flow.newRecording(take, options);
    coordinator->recordMouseClick(1003, 300, 200, 0);
    coordinator->recordMouseClick(1003.5, 300, 200, 0);
    EditorSession session = flow.stopAndOpenEditor();

    const ZoomTrack track = session.edits().timeline.zoomTrack;
    ASSERT_EQ(track.segments.size(), 1U);
    EXPECT_NEAR(track.segments[0].startTime, 2.75, 1e-6);
    EXPECT_NEAR(track.segments[0].endTime, 4.5, 1e-6);
    EXPECT_EQ(track.segments[0].scale, 1.9);
    EXPECT_EQ(ProjectPackage::load(take).loadEdits(), session.edits());

    EXPECT_TRUE(session.undo());
    EXPECT_EQ(session.edits().timeline, PremiumDefaults::timelineModel());
    EXPECT_FALSE(session.canUndo());
}

TEST(SessionProjectLocator, GivesTheFirstNameThatIsFree) {
    const test::TemporaryFolder folder;
    const std::filesystem::path root = folder / "a/b";
    const Date now = currentDate();
    const std::string name = "session-" + timestampLabel(now);
    EXPECT_EQ(SessionProjectLocator::makeSessionProjectURL(root, now), root / name);
    SessionProjectLocator::ensureRootDirectoryExists(root);
    std::filesystem::create_directory(root / name);
    EXPECT_EQ(SessionProjectLocator::makeSessionProjectURL(root, now), root / (name + "-2"));
    std::filesystem::create_symlink("nowhere", root / (name + "-2"));
    EXPECT_EQ(SessionProjectLocator::makeSessionProjectURL(root, now), root / (name + "-3"));
    EXPECT_THROW((void)SessionProjectLocator::makeSessionProjectURL(root / std::string(300, 'x'), now),
                 FileError);
}

} // namespace
} // namespace tavrin
