#include <exception>

#include <gtest/gtest.h>

#include "TavrinKit/Capture/CameraCapturing.h"
#include "TavrinKit/Capture/CaptureCoordinator.h"
#include "TavrinKit/Capture/DesktopStreamCaptureError.h"
#include "TavrinKit/Capture/MicrophoneCapturing.h"
#include "TavrinKit/Compositing/ExportError.h"
#include "TavrinKit/Export/OneClickExportError.h"
#include "TavrinKit/Project/ProjectPackageValidationError.h"
#include "TavrinKit/Readiness/ErrorTaxonomy.h"
#include "TavrinKit/Readiness/StructuredAppError.h"
#include "TavrinKit/Support/Cancellation.h"

namespace tavrin {
namespace {

using Code = AppErrorCode;

template <typename E>
std::exception_ptr thrown(E error) {
    return std::make_exception_ptr(std::move(error));
}

TEST(ErrorTaxonomyTests, everyFamilyHasItsCodes) {
    using Desktop = DesktopStreamCaptureError;
    const auto denied = thrown(Desktop::permissionDenied());
    const auto mute = thrown(MicrophoneCaptureError::unableToStartRecording());
    const std::pair<std::exception_ptr, Code> cases[] = {
        {thrown(StructuredAppError(Code::preflightDisplayInvalid, "no mode")), Code::preflightDisplayInvalid},
        {thrown(ProjectPackageValidationError::unsupportedSchemaVersion(9, 2)),
         Code::editorUnsupportedSchema},
        {thrown(ProjectPackageValidationError::emptyFile("manifest")), Code::editorProjectInvalid},
        {thrown(CaptureCoordinatorError::alreadyRecording()), Code::captureAlreadyRecording},
        {thrown(CaptureCoordinatorError::startTimedOut(12)), Code::captureFinalizeFailed},
        {thrown(Desktop::microphonePermissionDenied()), Code::capturePermissionMicrophoneDenied},
        {thrown(Desktop::microphoneStartFailed(mute)), Code::preflightMicrophoneUnavailable},
        {thrown(Desktop::microphoneStartFailed(thrown(Desktop::microphoneStartFailed(denied)))),
         Code::capturePermissionScreenDenied},
        {thrown(Desktop::microphoneStartFailed(nullptr)), Code::unknown},
        {thrown(Desktop::captureStartFailed(denied)), Code::captureFinalizeFailed},
        {thrown(CameraCaptureError::permissionDenied()), Code::preflightPermissionDenied},
        {thrown(ExportError::exportFailed(thrown(ExportError::corruptedDuration()))),
         Code::exportWriteFailed},
        {thrown(ExportError::corruptedDuration()), Code::exportCorruptedDuration},
        {thrown(OneClickExportError::unsupportedPreset("Too large.")), Code::exportUnsupportedPreset},
        {thrown(CancellationError()), Code::unknown},
        {thrown(42), Code::unknown},
        {nullptr, Code::unknown},
    };
    for (const auto& [error, code] : cases) {
        EXPECT_EQ(nameOf(ErrorTaxonomy::classify(error)), nameOf(code)) << describe(error);
    }
}

TEST(ErrorTaxonomyTests, theTechnicalMessageOfAStructuredErrorStaysOutOfSight) {
    EXPECT_STREQ(StructuredAppError(Code::exportWriteFailed, "ENOSPC at byte 12").what(),
                 "Export failed before completion.");
}

} // namespace
} // namespace tavrin
