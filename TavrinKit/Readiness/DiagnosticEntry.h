#pragma once

#include <string>

#include "TavrinKit/Readiness/Metadata.h"
#include "TavrinKit/Support/Date.h"
#include "TavrinKit/Support/Json.h"

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

template <>
struct EnumNames<DiagnosticLevel> {
    using enum DiagnosticLevel;
    static constexpr auto names = namedCases<DiagnosticLevel>({
        {info, "info"},
        {warning, "warning"},
        {error, "error"},
    });
};

template <>
struct EnumNames<DiagnosticCategory> {
    using enum DiagnosticCategory;
    static constexpr auto names = namedCases<DiagnosticCategory>({
        {appBootstrap, "app.bootstrap"},
        {captureStart, "capture.start"},
        {capturePause, "capture.pause"},
        {captureResume, "capture.resume"},
        {captureMarker, "capture.marker"},
        {capturePreflight, "capture.preflight"},
        {exportStart, "export.start"},
        {exportComplete, "export.complete"},
        {exportFailed, "export.failed"},
        {exportCancelled, "export.cancelled"},
        {exportCancelRequested, "export.cancel.requested"},
        {hardeningRun, "hardening.run"},
        {updaterLifecycle, "updater.lifecycle"},
        {crashReporting, "crash.reporting"},
    });
};

template <>
struct JsonRecord<DiagnosticEntry> {
    static void fields(auto& keys, auto& value) {
        keys.required("timestamp", value.timestamp);
        keys.required("level", value.level);
        keys.required("category", value.category);
        keys.required("message", value.message);
        keys.required("metadata", value.metadata);
    }
};

} // namespace tavrin
