#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "TavrinKit/Capture/ScreenStreamCapture.h"
#include "TavrinKit/Support/Error.h"
#include "TavrinKit/Support/Guarded.h"

namespace tavrin {

enum class MockCaptureErrorKind { notStarted };

class MockCaptureError : public ErrorFamily<MockCaptureErrorKind> {
public:
    using ErrorFamily::ErrorFamily;

    [[nodiscard]] static MockCaptureError notStarted();
};

/// A capture that records nothing and hands back what it was configured with, so that the whole road of a
/// take can be run without a screen. Any thread.
class MockScreenStreamCapture : public ScreenStreamCapture {
public:
    struct Configuration {
        std::filesystem::path fixtureURL; ///< a movie that exists
        double startTime = 0;             ///< host clock; what is not finite counts as 0
        double endTime = 0;               ///< host clock; never before the start in the result
        std::map<AudioTrackDescriptor::Kind, std::filesystem::path> optionalAudio;
        std::optional<CameraCaptureTrackResult> cameraTrack;
        std::vector<std::string> warnings;
        std::vector<CaptureGeometrySample> geometrySamples;
    };

    explicit MockScreenStreamCapture(Configuration configuration);

    /// Starting twice is no error.
    void start(const CaptureOptions& options, std::stop_token stop) override;
    /// @throws MockCaptureError
    [[nodiscard]] ScreenCaptureResult stop(std::stop_token stop) override;
    void cancelRecording(std::stop_token stop) override;

private:
    const Configuration configuration_;
    Guarded<bool> hasStarted_;
};

} // namespace tavrin
