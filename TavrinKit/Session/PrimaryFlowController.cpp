#include "TavrinKit/Session/PrimaryFlowController.h"

#include <utility>

#include "TavrinKit/Project/PremiumDefaults.h"

namespace tavrin {
namespace {

EditsDocument initialEdits() {
    EditsDocument edits;
    edits.timeline = PremiumDefaults::timelineModel();
    edits.audioRouting.preferredRoles = {AudioTrackRole::microphone, AudioTrackRole::system};
    edits.audioRouting.normalizeBeforeMix = false;
    edits.exportSettings.selectedAspect.reset();
    return edits;
}

} // namespace

PrimaryFlowController::PrimaryFlowController(std::shared_ptr<CaptureCoordinator> captureCoordinator)
    : captureCoordinator_(std::move(captureCoordinator)) {}

void PrimaryFlowController::newRecording(const std::filesystem::path& projectURL,
                                         const CaptureOptions& options, const std::stop_token& stop) {
    captureCoordinator_->startRecording(projectURL, options, stop);
}

EditorSession PrimaryFlowController::stopAndOpenEditor(const std::stop_token& stop) {
    ProjectPackage package = captureCoordinator_->stopRecording(initialEdits(), stop);
    EditorSession session = EditorSession::open(std::move(package));
    session.applyAutoZoom(AutoZoomGenerator(), AutoZoomConfig::standard(),
                          AutoZoomApplyStrategy::mergeNonDestructive);
    session.save();
    return session;
}

} // namespace tavrin
