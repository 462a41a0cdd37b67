#include <exception>
#include <string>
#include <unordered_set>

#include <gmock/gmock.h>
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
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

using Code = AppErrorCode;

template <typename E>
std::exception_ptr thrown(E error) {
    return std::make_exception_ptr(std::move(error));
}

TEST(ErrorTaxonomyTests, everyFamilyHasItsCodes) {
    using Desktop = DesktopStreamCaptureError;
    const auto unknown = thrown(std::runtime_error("Anything."));
    const auto denied = thrown(Desktop::permissionDenied());
    const auto mute = thrown(MicrophoneCaptureError::unableToStartRecording());
    const std::pair<std::exception_ptr, Code> cases[] = {
        {thrown(StructuredAppError(Code::preflightDisplayInvalid, "no mode")), Code::preflightDisplayInvalid},
        {thrown(ProjectPackageValidationError::unsupportedSchemaVersion(9, 2)),
         Code::editorUnsupportedSchema},
        {thrown(ProjectPackageValidationError::emptyFile("manifest")), Code::editorProjectInvalid},
        {thrown(CaptureCoordinatorError::alreadyRecording()), Code::captureAlreadyRecording},
        {thrown(CaptureCoordinatorError::startTimedOut(12)), Code::captureFinalizeFailed},
        {thrown(Desktop::targetNotFound("display-1")), Code::captureTargetUnavailable},
        {thrown(Desktop::alreadyRecording()), Code::captureAlreadyRecording},
        {denied, Code::capturePermissionScreenDenied},
        {thrown(Desktop::microphonePermissionDenied()), Code::capturePermissionMicrophoneDenied},
        {thrown(Desktop::cameraPermissionDenied()), Code::preflightPermissionDenied},
        {thrown(Desktop::microphoneStartFailed(mute)), Code::preflightMicrophoneUnavailable},
        {thrown(Desktop::microphoneStartFailed(thrown(Desktop::microphoneStartFailed(denied)))),
         Code::capturePermissionScreenDenied},
        {thrown(Desktop::microphoneStartFailed(unknown)), Code::unknown},
        {thrown(Desktop::microphoneStartFailed(nullptr)), Code::unknown},
        {thrown(Desktop::captureStartFailed(denied)), Code::captureFinalizeFailed},
        {thrown(CameraCaptureError::permissionDenied()), Code::preflightPermissionDenied},
        {thrown(CameraCaptureError::deviceUnavailable()), Code::captureFinalizeFailed},
        {mute, Code::preflightMicrophoneUnavailable},
        {thrown(MicrophoneCaptureError::outputMissing()), Code::captureFinalizeFailed},
        {thrown(ExportError::unableToCreateSession()), Code::exportSessionUnavailable},
        {thrown(ExportError::exportFailed(thrown(ExportError::corruptedDuration()))),
         Code::exportWriteFailed},
        {thrown(ExportError::cancelled()), Code::exportWriteFailed},
        {thrown(ExportError::corruptedDuration()), Code::exportCorruptedDuration},
        {thrown(OneClickExportError::unsupportedPreset("Too large.")), Code::exportUnsupportedPreset},
        {thrown(CancellationError()), Code::unknown},
        {thrown(FileError("write", "/a", 28)), Code::unknown},
        {thrown(42), Code::unknown},
        {nullptr, Code::unknown},
    };
    for (const auto& [error, code] : cases) {
        EXPECT_EQ(nameOf(ErrorTaxonomy::classify(error)), nameOf(code)) << describe(error);
    }
}

TEST(ErrorTaxonomyTests, everyCodeSaysWhereItBelongsAndWhatToDoNext) {
    std::unordered_set<std::string_view> names;
    for (const auto& [code, name] : EnumNames<Code>::names) {
        EXPECT_TRUE(names.insert(name).second) << name;
        const std::string area(nameOf(domain(code)));
        EXPECT_TRUE(name.starts_with(area == "unknown"     ? "UNKNOWN"
                                     : area == "preflight" ? "PRE_"
                                     : area == "capture"   ? "CAP_"
                                     : area == "editor"    ? "EDIT_"
                                                           : "EXP_"))
            << name << " in " << area;
        for (const std::string_view sentence : {userFacingMessage(code), recoverySuggestion(code)}) {
            EXPECT_THAT(std::string(sentence), testing::MatchesRegex("[A-Z].*[a-z]\\.")) << name;
        }
    }
}

TEST(ErrorTaxonomyTests, theTechnicalMessageOfAStructuredErrorStaysOutOfSight) {
    const StructuredAppError error(Code::exportWriteFailed, "ENOSPC at byte 12", {{"output", "a.mp4"}});
    EXPECT_STREQ(error.what(), "Export failed before completion.");
    const std::unordered_set<StructuredAppError> distinct{
        error,
        error,
        {Code::exportWriteFailed, "ENOSPC at byte 12", {{"output", "b.mp4"}}},
        {Code::exportWriteFailed, "EIO", {{"output", "a.mp4"}}},
        {Code::unknown, "EIO"}};
    EXPECT_EQ(distinct.size(), 4U);
}

} // namespace
} // namespace tavrin
