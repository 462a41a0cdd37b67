#pragma once

#include <cstdint>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <stop_token>

#include "TavrinKit/Capture/CameraCapturing.h"
#include "TavrinKit/Capture/CapturePermissions.h"
#include "TavrinKit/Capture/DesktopStreamCaptureError.h"
#include "TavrinKit/Capture/MicrophoneCapturing.h"
#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Capture/ScreenStreamCapture.h"
#include "TavrinKit/Support/Guarded.h"

namespace tavrin {

struct CaptureSelection;

/// How many pictures a take got.
struct CaptureStatistics {
    std::int64_t receivedFrames = 0; ///< by the recorder
    std::int64_t droppedFrames = 0;  ///< of those, and by the stream before
};

/// Records a desktop through whichever display server stands behind the backend.
///
/// A start asks for permission, brings up microphone and camera, resolves the target, starts the stream and
/// waits until a first picture has really arrived. What the machine plays is recorded from then on, so that a
/// movie doesn't begin with sound alone. A stop takes the outputs off and completes the files. A failure on
/// the way undoes what the call had done. Temporary files lie in the output directory; those of a completed
/// or cancelled take stay there.
///
/// A stream that ends by itself in mid-take doesn't end the take: the stop then completes what there is, and
/// the result says so in its warnings. So does one whose pictures or sound could not all be written.
///
/// Any thread. Calls that arrive while another one starts or stops are refused, but for `cancelRecording`,
/// which ends that one.
class DesktopStreamCapture : public ScreenStreamCapture {
public:
    struct Services {
        std::shared_ptr<ScreenCaptureBackend> backend;
        SystemAudioStreamFactory systemAudioStreamFactory; ///< empty: the machine's sound can't be had
        std::shared_ptr<ScreenCapturePermissionProviding> permissions;        ///< null: the backend is asked
        std::shared_ptr<MicrophonePermissionProviding> microphonePermissions; ///< null: no need to ask
        std::shared_ptr<CameraPermissionProviding> cameraPermissions;         ///< null: no need to ask
        MicrophoneCaptureFactory microphoneCaptureFactory; ///< empty: there is no microphone
        CameraCaptureFactory cameraCaptureFactory;         ///< empty: there is no camera
    };

    /// @param outputDirectory  for the temporary files; created when it is missing
    DesktopStreamCapture(Services services, std::filesystem::path outputDirectory,
                         CaptureApplicationExclusionRule applicationExclusionRule =
                             CaptureApplicationExclusionRule::currentProcess());
    ~DesktopStreamCapture() override; ///< as `cancelRecording`

    /// @throws DesktopStreamCaptureError, DesktopCaptureBridgeError, FileError, Error of the platform,
    ///         CancellationError
    void start(const CaptureOptions& options, std::stop_token stop) override;

    /// @throws DesktopStreamCaptureError, CancellationError
    [[nodiscard]] ScreenCaptureResult stop(std::stop_token stop) override;

    /// Waits for what it ends: for the display, the screen movie and each device a second or two at most.
    void cancelRecording(std::stop_token stop) override;

    /// Of the running take, or else of the last one.
    [[nodiscard]] CaptureStatistics statistics() const;

private:
    struct ActiveSession;
    using Session = std::shared_ptr<ActiveSession>;

    /// A start under way: how to end it, and how to learn that it has ended.
    struct Starting {
        std::stop_source stop;
        std::shared_future<void> ended;
    };
    struct State {
        std::optional<Starting> starting;
        Session active;
        Session stopping;
        CaptureStatistics lastStatistics;
    };

    // Steps of a start, in their order.
    void startSession(ActiveSession& session, const CaptureOptions& options, const std::stop_token& stop);
    void refuseUnsupported(const CaptureOptions& options) const;
    void obtainScreenPermission(const std::stop_token& stop) const;
    void startMicrophone(ActiveSession& session, const CaptureOptions& options,
                         const std::stop_token& stop) const;
    void startCamera(ActiveSession& session, const CaptureOptions& options,
                     const std::stop_token& stop) const;
    [[nodiscard]] CaptureSelection select(const CaptureOptions& options, const std::stop_token& stop) const;
    void prepareOutput(ActiveSession& session) const;
    void makeStreams(ActiveSession& session, const CaptureSelection& selection,
                     const CaptureOptions& options) const;
    static void startStreams(ActiveSession& session, const std::stop_token& stop);
    static void awaitStreamStart(ActiveSession& session, const std::stop_token& stop);
    void cleanUpFailedStart(const Session& session) const;

    // Steps of a stop, in their order.
    void stopStreams(const Session& session, const std::stop_token& stop);
    [[nodiscard]] std::optional<std::filesystem::path> stopMicrophone(const Session& session,
                                                                      const std::stop_token& stop);
    [[nodiscard]] std::optional<CameraCaptureTrackResult> stopCamera(const Session& session,
                                                                     const std::stop_token& stop);
    void finishWriter(const Session& session, double endTime);
    [[nodiscard]] static ScreenCaptureResult result(const Session& session, double endTime);

    void endStopping(const Session& session);
    void throwIfTakenAway(const Session& session) const;
    [[nodiscard]] std::filesystem::path temporaryFile(const char* name, const char* extension) const;

    const Services services_;
    const std::filesystem::path outputDirectory_;
    const CaptureApplicationExclusionRule applicationExclusionRule_;
    Guarded<State> state_;
};

} // namespace tavrin
