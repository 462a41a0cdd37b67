#pragma once

#include <filesystem>
#include <memory>
#include <stop_token>

#include "TavrinKit/Capture/CaptureCoordinator.h"
#include "TavrinKit/Session/EditorSession.h"

namespace tavrin {

/// The way from a recording to an open project.
///
/// It adds nothing to the capture coordinator's state, which puts calls in order: both operations may be
/// called from any thread, and block.
class PrimaryFlowController {
public:
    /// @param captureCoordinator  not null
    explicit PrimaryFlowController(std::shared_ptr<CaptureCoordinator> captureCoordinator);

    [[nodiscard]] const std::shared_ptr<CaptureCoordinator>& captureCoordinator() const {
        return captureCoordinator_;
    }

    /// @param projectURL  the package folder that the stop will fill
    /// @throws what CaptureCoordinator::startRecording throws
    void newRecording(const std::filesystem::path& projectURL, const CaptureOptions& options,
                      const std::stop_token& stop = {});

    /// Ends the recording, writes its package and opens it, with zooms generated from the clicks. The zooms
    /// are saved, and the first undo takes them away. A package that was finished stays on disk, whatever
    /// fails after that.
    /// @throws what CaptureCoordinator::stopRecording and EditorSession::open and save throw
    [[nodiscard]] EditorSession stopAndOpenEditor(const std::stop_token& stop = {});

private:
    std::shared_ptr<CaptureCoordinator> captureCoordinator_;
};

} // namespace tavrin
