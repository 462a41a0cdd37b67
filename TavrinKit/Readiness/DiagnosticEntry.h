#pragma once

#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "TavrinKit/Readiness/Metadata.h"
#include "TavrinKit/Support/Date.h"

namespace tavrin {

enum class DiagnosticLevel { info, warning, error };

/// What an entry is about.
enum class DiagnosticCategory {
    appBootstrap,
    captureStart,
    capturePause,
    captureResume,
    captureMarker,
    capturePreflight,
    exportStart,
    exportComplete,
    exportFailed,
    exportCancelled,
    exportCancelRequested,
    hardeningRun,
    updaterLifecycle,
    crashReporting,
};

/// Keys of metadata that several flows write.
namespace DiagnosticsMetadataKey {

inline constexpr const char* errorCode = "errorCode";
inline constexpr const char* status = "status";
inline constexpr const char* checkID = "checkID";
inline constexpr const char* remediation = "remediation";
inline constexpr const char* lifecycleState = "lifecycleState";
inline constexpr const char* includeSystemAudio = "includeSystemAudio";
inline constexpr const char* includeMicrophone = "includeMicrophone";
inline constexpr const char* project = "project";
inline constexpr const char* target = "target";
inline constexpr const char* availableBytes = "availableBytes";

} // namespace DiagnosticsMetadataKey

/// Something that the recorder did.
struct DiagnosticEntry {
    Date timestamp = currentDate(); ///< when the entry was made
    DiagnosticLevel level = DiagnosticLevel::info;
    std::string category; ///< the name of a DiagnosticCategory, or free text
    std::string message;
    Metadata metadata;

    friend bool operator==(const DiagnosticEntry&, const DiagnosticEntry&) = default;
};

void encode(Json& json, const DiagnosticEntry& value);
void decode(const Json& json, DiagnosticEntry& value);

template <>
struct EnumNames<DiagnosticLevel> {
    static constexpr std::array<std::pair<DiagnosticLevel, std::string_view>, 3> names{{
        {DiagnosticLevel::info, "info"},
        {DiagnosticLevel::warning, "warning"},
        {DiagnosticLevel::error, "error"},
    }};
};

template <>
struct EnumNames<DiagnosticCategory> {
    static constexpr std::array<std::pair<DiagnosticCategory, std::string_view>, 14> names{{
        {DiagnosticCategory::appBootstrap, "app.bootstrap"},
        {DiagnosticCategory::captureStart, "capture.start"},
        {DiagnosticCategory::capturePause, "capture.pause"},
        {DiagnosticCategory::captureResume, "capture.resume"},
        {DiagnosticCategory::captureMarker, "capture.marker"},
        {DiagnosticCategory::capturePreflight, "capture.preflight"},
        {DiagnosticCategory::exportStart, "export.start"},
        {DiagnosticCategory::exportComplete, "export.complete"},
        {DiagnosticCategory::exportFailed, "export.failed"},
        {DiagnosticCategory::exportCancelled, "export.cancelled"},
        {DiagnosticCategory::exportCancelRequested, "export.cancel.requested"},
        {DiagnosticCategory::hardeningRun, "hardening.run"},
        {DiagnosticCategory::updaterLifecycle, "updater.lifecycle"},
        {DiagnosticCategory::crashReporting, "crash.reporting"},
    }};
};

} // namespace tavrin
