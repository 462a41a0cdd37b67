#pragma once

#include <array>
#include <string_view>
#include <utility>

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
    static constexpr std::array<std::pair<AppErrorDomain, std::string_view>, 6> names{{
        {AppErrorDomain::capture, "capture"},
        {AppErrorDomain::preflight, "preflight"},
        {AppErrorDomain::editor, "editor"},
        {AppErrorDomain::exporting, "export"},
        {AppErrorDomain::project, "project"},
        {AppErrorDomain::unknown, "unknown"},
    }};
};

template <>
struct EnumNames<AppErrorCode> {
    static constexpr std::array<std::pair<AppErrorCode, std::string_view>, 17> names{{
        {AppErrorCode::captureNoSourceSelected, "CAP_NO_SOURCE_SELECTED"},
        {AppErrorCode::captureTargetUnavailable, "CAP_TARGET_UNAVAILABLE"},
        {AppErrorCode::capturePermissionScreenDenied, "CAP_PERMISSION_SCREEN_DENIED"},
        {AppErrorCode::capturePermissionMicrophoneDenied, "CAP_PERMISSION_MICROPHONE_DENIED"},
        {AppErrorCode::captureAlreadyRecording, "CAP_ALREADY_RECORDING"},
        {AppErrorCode::captureFinalizeFailed, "CAP_FINALIZE_FAILED"},
        {AppErrorCode::preflightDiskSpaceCritical, "PRE_DISK_SPACE_CRITICAL"},
        {AppErrorCode::preflightDisplayInvalid, "PRE_DISPLAY_INVALID"},
        {AppErrorCode::preflightMicrophoneUnavailable, "PRE_MICROPHONE_UNAVAILABLE"},
        {AppErrorCode::preflightPermissionDenied, "PRE_PERMISSION_DENIED"},
        {AppErrorCode::editorProjectInvalid, "EDIT_PROJECT_INVALID"},
        {AppErrorCode::editorUnsupportedSchema, "EDIT_UNSUPPORTED_SCHEMA"},
        {AppErrorCode::exportSessionUnavailable, "EXP_SESSION_UNAVAILABLE"},
        {AppErrorCode::exportWriteFailed, "EXP_WRITE_FAILED"},
        {AppErrorCode::exportUnsupportedPreset, "EXP_UNSUPPORTED_PRESET"},
        {AppErrorCode::exportCorruptedDuration, "EXP_CORRUPTED_DURATION"},
        {AppErrorCode::unknown, "UNKNOWN"},
    }};
};

} // namespace tavrin
