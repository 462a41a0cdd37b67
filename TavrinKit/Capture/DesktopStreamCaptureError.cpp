#include "TavrinKit/Capture/DesktopStreamCaptureError.h"

namespace tavrin {

DesktopStreamCaptureError DesktopStreamCaptureError::targetNotFound(const std::string& targetID) {
    return {DesktopStreamCaptureErrorKind::targetNotFound,
            "Unable to find capture target: " + targetID + "."};
}

DesktopStreamCaptureError DesktopStreamCaptureError::systemAudioNotSupported() {
    return {DesktopStreamCaptureErrorKind::systemAudioNotSupported,
            "Recording system audio is not supported here."};
}

DesktopStreamCaptureError
DesktopStreamCaptureError::captureStartFailed(const std::exception_ptr& underlying) {
    return {DesktopStreamCaptureErrorKind::captureStartFailed,
            "Unable to start screen capture: " + sentenceOf(underlying), underlying};
}

DesktopStreamCaptureError DesktopStreamCaptureError::captureStopFailed(const std::exception_ptr& underlying) {
    return {DesktopStreamCaptureErrorKind::captureStopFailed,
            "Unable to stop screen capture: " + sentenceOf(underlying), underlying};
}

DesktopStreamCaptureError DesktopStreamCaptureError::writerFailed(const std::exception_ptr& underlying) {
    return {DesktopStreamCaptureErrorKind::writerFailed,
            "Failed to finalize captured media: " + sentenceOf(underlying), underlying};
}

DesktopStreamCaptureError
DesktopStreamCaptureError::microphoneStartFailed(const std::exception_ptr& underlying) {
    return {DesktopStreamCaptureErrorKind::microphoneStartFailed,
            "Unable to start microphone capture: " + sentenceOf(underlying), underlying};
}

DesktopStreamCaptureError
DesktopStreamCaptureError::microphoneStopFailed(const std::exception_ptr& underlying) {
    return {DesktopStreamCaptureErrorKind::microphoneStopFailed,
            "Unable to stop microphone capture: " + sentenceOf(underlying), underlying};
}

DesktopStreamCaptureError DesktopStreamCaptureError::cameraStartFailed(const std::exception_ptr& underlying) {
    return {DesktopStreamCaptureErrorKind::cameraStartFailed,
            "Unable to start camera capture: " + sentenceOf(underlying), underlying};
}

DesktopStreamCaptureError DesktopStreamCaptureError::alreadyRecording() {
    return {DesktopStreamCaptureErrorKind::alreadyRecording, "A desktop capture session is already running."};
}

DesktopStreamCaptureError DesktopStreamCaptureError::notRecording() {
    return {DesktopStreamCaptureErrorKind::notRecording, "No desktop capture session is currently running."};
}

DesktopStreamCaptureError DesktopStreamCaptureError::permissionDenied() {
    return {DesktopStreamCaptureErrorKind::permissionDenied, "Screen recording permission was denied."};
}

DesktopStreamCaptureError DesktopStreamCaptureError::microphonePermissionDenied() {
    return {DesktopStreamCaptureErrorKind::microphonePermissionDenied, "Microphone permission was denied."};
}

DesktopStreamCaptureError DesktopStreamCaptureError::cameraPermissionDenied() {
    return {DesktopStreamCaptureErrorKind::cameraPermissionDenied, "Camera permission was denied."};
}

} // namespace tavrin
