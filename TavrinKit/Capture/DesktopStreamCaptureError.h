#pragma once

#include <exception>
#include <string>

#include "TavrinKit/Support/Error.h"

namespace tavrin {

enum class DesktopStreamCaptureErrorKind {
    targetNotFound,
    systemAudioNotSupported,
    captureStartFailed,
    captureStopFailed,
    writerFailed,
    microphoneStartFailed,
    microphoneStopFailed,
    cameraStartFailed,
    alreadyRecording,
    notRecording,
    permissionDenied,
    microphonePermissionDenied,
    cameraPermissionDenied,
};

/// What can go wrong with a take of the desktop. Where something else failed underneath, its sentence is
/// part of this one and the error itself travels along.
class DesktopStreamCaptureError : public ErrorFamily<DesktopStreamCaptureErrorKind> {
public:
    [[nodiscard]] static DesktopStreamCaptureError targetNotFound(const std::string& targetID);
    /// The display server's streams carry no sound.
    [[nodiscard]] static DesktopStreamCaptureError systemAudioNotSupported();
    [[nodiscard]] static DesktopStreamCaptureError captureStartFailed(const std::exception_ptr& underlying);
    [[nodiscard]] static DesktopStreamCaptureError captureStopFailed(const std::exception_ptr& underlying);
    [[nodiscard]] static DesktopStreamCaptureError writerFailed(const std::exception_ptr& underlying);
    [[nodiscard]] static DesktopStreamCaptureError
    microphoneStartFailed(const std::exception_ptr& underlying);
    [[nodiscard]] static DesktopStreamCaptureError microphoneStopFailed(const std::exception_ptr& underlying);
    [[nodiscard]] static DesktopStreamCaptureError cameraStartFailed(const std::exception_ptr& underlying);
    [[nodiscard]] static DesktopStreamCaptureError alreadyRecording();
    [[nodiscard]] static DesktopStreamCaptureError notRecording();
    [[nodiscard]] static DesktopStreamCaptureError permissionDenied();
    [[nodiscard]] static DesktopStreamCaptureError microphonePermissionDenied();
    [[nodiscard]] static DesktopStreamCaptureError cameraPermissionDenied();

private:
    using ErrorFamily::ErrorFamily;
};

} // namespace tavrin
