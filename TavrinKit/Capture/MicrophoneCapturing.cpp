#include "TavrinKit/Capture/MicrophoneCapturing.h"

namespace tavrin {

MicrophoneCaptureError MicrophoneCaptureError::alreadyStarted() {
    return {MicrophoneCaptureErrorKind::alreadyStarted, "Microphone capture has already started."};
}

MicrophoneCaptureError MicrophoneCaptureError::notStarted() {
    return {MicrophoneCaptureErrorKind::notStarted, "Microphone capture has not started."};
}

MicrophoneCaptureError MicrophoneCaptureError::unableToStartRecording() {
    return {MicrophoneCaptureErrorKind::unableToStartRecording, "Unable to start microphone recording."};
}

MicrophoneCaptureError MicrophoneCaptureError::outputMissing() {
    return {MicrophoneCaptureErrorKind::outputMissing, "Microphone recording output file is missing."};
}

} // namespace tavrin
