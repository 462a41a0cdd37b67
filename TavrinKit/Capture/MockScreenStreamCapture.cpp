#include "TavrinKit/Capture/MockScreenStreamCapture.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tavrin {

MockCaptureError MockCaptureError::notStarted() {
    return {MockCaptureErrorKind::notStarted, "The mock capture has not been started."};
}

MockScreenStreamCapture::MockScreenStreamCapture(Configuration configuration)
    : configuration_(std::move(configuration)), hasStarted_(false) {}

void MockScreenStreamCapture::start(const CaptureOptions& /*options*/, std::stop_token /*stop*/) {
    hasStarted_.with([](bool& hasStarted) { hasStarted = true; });
}

ScreenCaptureResult MockScreenStreamCapture::stop(std::stop_token /*stop*/) {
    if (!hasStarted_.with([](bool& hasStarted) { return std::exchange(hasStarted, false); })) {
        throw MockCaptureError::notStarted();
    }
    ScreenCaptureResult result;
    result.screenSourceURL = configuration_.fixtureURL;
    result.startedAt = std::isfinite(configuration_.startTime) ? configuration_.startTime : 0;
    result.endedAt = std::isfinite(configuration_.endTime)
                         ? std::max(result.startedAt, configuration_.endTime)
                         : result.startedAt;
    result.optionalAudio = configuration_.optionalAudio;
    result.cameraTrack = configuration_.cameraTrack;
    result.warnings = configuration_.warnings;
    result.geometrySamples = configuration_.geometrySamples;
    return result;
}

void MockScreenStreamCapture::cancelRecording(std::stop_token /*stop*/) {
    hasStarted_.with([](bool& hasStarted) { hasStarted = false; });
}

} // namespace tavrin
