#include "TavrinKit/Readiness/ErrorTaxonomy.h"

#include "TavrinKit/Capture/CameraCapturing.h"
#include "TavrinKit/Capture/CaptureCoordinator.h"
#include "TavrinKit/Capture/DesktopStreamCaptureError.h"
#include "TavrinKit/Capture/MicrophoneCapturing.h"
#include "TavrinKit/Compositing/ExportError.h"
#include "TavrinKit/Export/OneClickExportError.h"
#include "TavrinKit/Project/ProjectPackageValidationError.h"
#include "TavrinKit/Readiness/StructuredAppError.h"

namespace tavrin {
namespace {

AppErrorCode codeOf(const ProjectPackageValidationError& error) {
    return error.kind() == ProjectPackageValidationErrorKind::unsupportedSchemaVersion
               ? AppErrorCode::editorUnsupportedSchema
               : AppErrorCode::editorProjectInvalid;
}

AppErrorCode codeOf(const CaptureCoordinatorError& error) {
    return error.kind() == CaptureCoordinatorErrorKind::alreadyRecording
               ? AppErrorCode::captureAlreadyRecording
               : AppErrorCode::captureFinalizeFailed;
}

AppErrorCode codeOf(const DesktopStreamCaptureError& error) {
    using enum DesktopStreamCaptureErrorKind;
    switch (error.kind()) {
    case targetNotFound:
        return AppErrorCode::captureTargetUnavailable;
    case alreadyRecording:
        return AppErrorCode::captureAlreadyRecording;
    case permissionDenied:
        return AppErrorCode::capturePermissionScreenDenied;
    case microphonePermissionDenied:
        return AppErrorCode::capturePermissionMicrophoneDenied;
    case cameraPermissionDenied:
        return AppErrorCode::preflightPermissionDenied;
    case microphoneStartFailed:
        return ErrorTaxonomy::classify(error.underlying());
    case systemAudioNotSupported:
    case captureStartFailed:
    case captureStopFailed:
    case writerFailed:
    case microphoneStopFailed:
    case cameraStartFailed:
    case notRecording:
        break;
    }
    return AppErrorCode::captureFinalizeFailed;
}

AppErrorCode codeOf(const CameraCaptureError& error) {
    return error.kind() == CameraCaptureErrorKind::permissionDenied ? AppErrorCode::preflightPermissionDenied
                                                                    : AppErrorCode::captureFinalizeFailed;
}

AppErrorCode codeOf(const MicrophoneCaptureError& error) {
    return error.kind() == MicrophoneCaptureErrorKind::unableToStartRecording
               ? AppErrorCode::preflightMicrophoneUnavailable
               : AppErrorCode::captureFinalizeFailed;
}

AppErrorCode codeOf(const ExportError& error) {
    switch (error.kind()) {
    case ExportErrorKind::unableToCreateSession:
        return AppErrorCode::exportSessionUnavailable;
    case ExportErrorKind::corruptedDuration:
        return AppErrorCode::exportCorruptedDuration;
    case ExportErrorKind::exportFailed:
    case ExportErrorKind::cancelled:
        break;
    }
    return AppErrorCode::exportWriteFailed;
}

AppErrorCode codeOf(const OneClickExportError& error) {
    switch (error.kind()) {
    case OneClickExportErrorKind::unsupportedPreset:
        break;
    }
    return AppErrorCode::exportUnsupportedPreset;
}

} // namespace

AppErrorCode ErrorTaxonomy::classify(const std::exception_ptr& error) noexcept {
    if (!error) {
        return AppErrorCode::unknown;
    }
    try {
        std::rethrow_exception(error);
    } catch (const StructuredAppError& structured) {
        return structured.code();
    } catch (const ProjectPackageValidationError& project) {
        return codeOf(project);
    } catch (const CaptureCoordinatorError& coordinator) {
        return codeOf(coordinator);
    } catch (const DesktopStreamCaptureError& capture) {
        return codeOf(capture);
    } catch (const CameraCaptureError& camera) {
        return codeOf(camera);
    } catch (const MicrophoneCaptureError& microphone) {
        return codeOf(microphone);
    } catch (const ExportError& movie) {
        return codeOf(movie);
    } catch (const OneClickExportError& oneClick) {
        return codeOf(oneClick);
    } catch (...) {
        return AppErrorCode::unknown;
    }
}

} // namespace tavrin
