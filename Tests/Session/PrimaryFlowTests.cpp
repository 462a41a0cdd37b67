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

/// A capture that has been running since second 1000 for ten seconds, of a display of 1000 by 500 points.
class Recording {
public:
    Recording() {
        const std::filesystem::path movie = folder_ / "capture.mov";
        writeFileAtomically(movie, "pictures");
        MockScreenStreamCapture::Configuration capture;
        capture.fixtureURL = movie;
        capture.startTime = 1000;
        capture.endTime = 1010;
        coordinator_ = std::make_shared<CaptureCoordinator>(
            std::make_shared<MockScreenStreamCapture>(capture), std::make_shared<InputEventRecorder>());
        options_.target = RecordingTarget::display("main");
        options_.mappingContext = CaptureCoordinateMappingContext{Rect{0, 0, 1000, 500}, 500};
    }

    [[nodiscard]] std::filesystem::path take() const { return folder_ / "take"; }
    [[nodiscard]] const CaptureOptions& options() const { return options_; }
    [[nodiscard]] const std::shared_ptr<CaptureCoordinator>& coordinator() const { return coordinator_; }

private:
    test::TemporaryFolder folder_;
    std::shared_ptr<CaptureCoordinator> coordinator_;
    CaptureOptions options_;
};

TEST(PrimaryFlow, ATakeOpensWithSavedZoomsThatTheFirstUndoTakesAway) {
    const Recording recording;
    PrimaryFlowController flow(recording.coordinator());
    flow.newRecording(recording.take(), recording.options());
    recording.coordinator()->recordMouseClick(1003, 300, 200, 0);
    recording.coordinator()->recordMouseClick(1003.5, 300, 200, 0);
    EditorSession session = flow.stopAndOpenEditor();

    const ZoomTrack track = session.edits().timeline.zoomTrack;
    ASSERT_EQ(track.segments.size(), 1U);
    EXPECT_NEAR(track.segments[0].startTime, 2.75, 1e-6);
    EXPECT_NEAR(track.segments[0].endTime, 4.5, 1e-6);
    EXPECT_EQ(track.segments[0].scale, 1.9);
    EXPECT_EQ(ProjectPackage::load(recording.take()).loadEdits(), session.edits());

    EXPECT_TRUE(session.undo());
    EXPECT_EQ(session.edits().timeline, PremiumDefaults::timelineModel());
    EXPECT_EQ(session.edits().audioRouting, AudioRoutingMetadata());
    EXPECT_FALSE(session.canUndo());
}

TEST(PrimaryFlow, StoppingWithoutARecordingFails) {
    const Recording recording;
    PrimaryFlowController flow(recording.coordinator());
    EXPECT_THROW((void)flow.stopAndOpenEditor(), CaptureCoordinatorError);
    EXPECT_FALSE(std::filesystem::exists(recording.take()));
}

TEST(SessionProjectLocator, GivesTheFirstNameThatIsFree) {
    const test::TemporaryFolder folder;
    const std::filesystem::path root = folder / "a/b";
    const Date now = currentDate();
    const std::string name = "session-" + timestampLabel(now);
    EXPECT_EQ(SessionProjectLocator::makeSessionProjectURL(root, now), root / name);
    SessionProjectLocator::ensureRootDirectoryExists(root);
    SessionProjectLocator::ensureRootDirectoryExists(root);
    EXPECT_EQ(SessionProjectLocator::makeSessionProjectURL(root, now), root / name);
    std::filesystem::create_directory(root / name);
    EXPECT_EQ(SessionProjectLocator::makeSessionProjectURL(root, now), root / (name + "-2"));
    writeFileAtomically(root / (name + "-2"), "a file");
    std::filesystem::create_symlink("nowhere", root / (name + "-3"));
    EXPECT_EQ(SessionProjectLocator::makeSessionProjectURL(root, now), root / (name + "-4"));
    EXPECT_THROW((void)SessionProjectLocator::makeSessionProjectURL(root / std::string(300, 'x'), now),
                 FileError);
    EXPECT_EQ(SessionProjectLocator::defaultRootDirectory().filename(), "TavrinProjects");
}

} // namespace
} // namespace tavrin
