#include "TavrinKit/Capture/CameraCapturing.h"

namespace tavrin {

CameraCaptureError CameraCaptureError::recordingStartFailed(const std::exception_ptr& underlying) {
    return {CameraCaptureErrorKind::recordingStartFailed,
            "Unable to start camera recording: " + sentenceOf(underlying), underlying};
}

CameraCaptureError CameraCaptureError::recordingFailed(const std::exception_ptr& underlying) {
    return {CameraCaptureErrorKind::recordingFailed, "Camera recording failed: " + sentenceOf(underlying),
            underlying};
}

CameraCaptureError CameraCaptureError::alreadyStarted() {
    return {CameraCaptureErrorKind::alreadyStarted, "Camera capture has already started."};
}

CameraCaptureError CameraCaptureError::notStarted() {
    return {CameraCaptureErrorKind::notStarted, "Camera capture has not started."};
}

CameraCaptureError CameraCaptureError::permissionDenied() {
    return {CameraCaptureErrorKind::permissionDenied, "Camera permission was denied."};
}

CameraCaptureError CameraCaptureError::deviceUnavailable() {
    return {CameraCaptureErrorKind::deviceUnavailable, "No camera device is available."};
}

CameraCaptureError CameraCaptureError::unableToAddInput() {
    return {CameraCaptureErrorKind::unableToAddInput, "Unable to add camera input to capture session."};
}

CameraCaptureError CameraCaptureError::unableToAddOutput() {
    return {CameraCaptureErrorKind::unableToAddOutput, "Unable to add camera output to capture session."};
}

CameraCaptureError CameraCaptureError::outputMissing() {
    return {CameraCaptureErrorKind::outputMissing, "Camera recording output file is missing."};
}

} // namespace tavrin
