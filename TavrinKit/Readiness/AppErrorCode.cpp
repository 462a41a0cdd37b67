#include "TavrinKit/Readiness/AppErrorCode.h"

namespace tavrin {
namespace {

struct Description {
    AppErrorDomain domain;
    std::string_view message;
    std::string_view recovery;
};

Description describe(AppErrorCode code) {
    using enum AppErrorDomain;
    switch (code) {
    case AppErrorCode::captureNoSourceSelected:
        return {capture, "Choose a capture source before recording.",
                "Refresh sources and select a display or window."};
    case AppErrorCode::captureTargetUnavailable:
        return {capture, "The selected display or window is no longer available.",
                "Refresh sources and select a display or window."};
    case AppErrorCode::capturePermissionScreenDenied:
        return {capture, "Screen recording permission is required.",
                "Grant screen recording permission in System Settings and retry."};
    case AppErrorCode::capturePermissionMicrophoneDenied:
        return {capture, "Microphone permission is required when microphone capture is enabled.",
                "Grant microphone permission or disable microphone capture."};
    case AppErrorCode::captureAlreadyRecording:
        return {capture, "A recording session is already active.",
                "Stop the active recording before starting another."};
    case AppErrorCode::captureFinalizeFailed:
        return {capture, "Recording could not be finalized.",
                "Check free disk space and the capture devices, then record again."};
    case AppErrorCode::preflightDiskSpaceCritical:
        return {preflight, "Insufficient disk space to start recording.",
                "Free disk space before starting recording."};
    case AppErrorCode::preflightDisplayInvalid:
        return {preflight, "Display setup is not valid for reliable recording.",
                "Reconnect displays and retry recording."};
    case AppErrorCode::preflightMicrophoneUnavailable:
        return {preflight, "Microphone capture is enabled, but no microphone input device is available.",
                "Connect or enable a microphone, or disable microphone capture."};
    case AppErrorCode::preflightPermissionDenied:
        return {preflight, "Required permissions were not granted.",
                "Grant the missing permission in System Settings and retry."};
    case AppErrorCode::editorProjectInvalid:
        return {editor, "The project package is invalid.",
                "Open another project, or restore this one from a backup."};
    case AppErrorCode::editorUnsupportedSchema:
        return {editor, "This project schema version is not supported.",
                "Open the project with the version of the app that saved it."};
    case AppErrorCode::exportSessionUnavailable:
        return {exporting, "Export session could not be initialized.",
                "Close other apps using media services, then retry export."};
    case AppErrorCode::exportWriteFailed:
        return {exporting, "Export failed before completion.",
                "Retry export. If this persists, save and reopen the project package."};
    case AppErrorCode::exportUnsupportedPreset:
        return {exporting, "The selected export preset is not supported on this machine.",
                "Choose another export preset and retry."};
    case AppErrorCode::exportCorruptedDuration:
        return {exporting, "The export output duration did not validate.",
                "Retry export. If it fails repeatedly, create a fresh recording session."};
    case AppErrorCode::unknown:
        break;
    }
    return {unknown, "An unexpected error occurred.",
            "Retry. If the issue persists, restart the app and reopen the project."};
}

} // namespace

AppErrorDomain domain(AppErrorCode code) {
    return describe(code).domain;
}

std::string_view userFacingMessage(AppErrorCode code) {
    return describe(code).message;
}

std::string_view recoverySuggestion(AppErrorCode code) {
    return describe(code).recovery;
}

} // namespace tavrin
