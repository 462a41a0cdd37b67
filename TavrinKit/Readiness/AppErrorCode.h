#pragma once

#include <string_view>

#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// Which part of the program a failure belongs to.
enum class AppErrorDomain { capture, preflight, editor, exporting, project, unknown };

/// Every failure that the program tells apart. The raw strings (see `nameOf`) are stable: logs and the ids of
/// lifecycle errors are made of them.
enum class AppErrorCode {
    captureNoSourceSelected,
    captureTargetUnavailable,
    capturePermissionScreenDenied,
    capturePermissionMicrophoneDenied,
    captureAlreadyRecording,
    captureFinalizeFailed,
    preflightDiskSpaceCritical,
    preflightDisplayInvalid,
    preflightMicrophoneUnavailable,
    preflightPermissionDenied,
    editorProjectInvalid,
    editorUnsupportedSchema,
    exportSessionUnavailable,
    exportWriteFailed,
    exportUnsupportedPreset,
    exportCorruptedDuration,
    unknown,
};

[[nodiscard]] AppErrorDomain domain(AppErrorCode code);

/// What the user is told.
[[nodiscard]] std::string_view userFacingMessage(AppErrorCode code);

/// What the user can do next: one sentence, to be shown under the message.
[[nodiscard]] std::string_view recoverySuggestion(AppErrorCode code);

template <>
struct EnumNames<AppErrorDomain> {
    using enum AppErrorDomain;
    static constexpr auto names = namedCases<AppErrorDomain>({
        {capture, "capture"},
        {preflight, "preflight"},
        {editor, "editor"},
        {exporting, "export"},
        {project, "project"},
        {unknown, "unknown"},
    });
};

template <>
struct EnumNames<AppErrorCode> {
    using enum AppErrorCode;
    static constexpr auto names = namedCases<AppErrorCode>({
        {captureNoSourceSelected, "CAP_NO_SOURCE_SELECTED"},
        {captureTargetUnavailable, "CAP_TARGET_UNAVAILABLE"},
        {capturePermissionScreenDenied, "CAP_PERMISSION_SCREEN_DENIED"},
        {capturePermissionMicrophoneDenied, "CAP_PERMISSION_MICROPHONE_DENIED"},
        {captureAlreadyRecording, "CAP_ALREADY_RECORDING"},
        {captureFinalizeFailed, "CAP_FINALIZE_FAILED"},
        {preflightDiskSpaceCritical, "PRE_DISK_SPACE_CRITICAL"},
        {preflightDisplayInvalid, "PRE_DISPLAY_INVALID"},
        {preflightMicrophoneUnavailable, "PRE_MICROPHONE_UNAVAILABLE"},
        {preflightPermissionDenied, "PRE_PERMISSION_DENIED"},
        {editorProjectInvalid, "EDIT_PROJECT_INVALID"},
        {editorUnsupportedSchema, "EDIT_UNSUPPORTED_SCHEMA"},
        {exportSessionUnavailable, "EXP_SESSION_UNAVAILABLE"},
        {exportWriteFailed, "EXP_WRITE_FAILED"},
        {exportUnsupportedPreset, "EXP_UNSUPPORTED_PRESET"},
        {exportCorruptedDuration, "EXP_CORRUPTED_DURATION"},
        {unknown, "UNKNOWN"},
    });
};

} // namespace tavrin
