#pragma once

#include <optional>
#include <string>
#include <vector>

#include "TavrinKit/Capture/CaptureTypes.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// Which sound a take was asked for.
enum class CaptureSyncMode { screenOnly, screenSystemAudio, screenMicrophone, screenSystemAudioMicrophone };

template <>
struct EnumNames<CaptureSyncMode> {
    using enum CaptureSyncMode;
    static constexpr auto names = namedCases<CaptureSyncMode>({
        {screenOnly, "screenOnly"},
        {screenSystemAudio, "screenSystemAudio"},
        {screenMicrophone, "screenMicrophone"},
        {screenSystemAudioMicrophone, "screenSystemAudioMicrophone"},
    });
};

[[nodiscard]] CaptureSyncMode captureSyncMode(const AudioCaptureOptions& options);

enum class CaptureSyncIssueSeverity {
    warning, ///< to be told to the user
    error,   ///< the take can't be trusted
};

struct CaptureSyncIssue {
    CaptureSyncIssueSeverity severity = CaptureSyncIssueSeverity::error;
    std::string message; ///< a sentence

    friend bool operator==(const CaptureSyncIssue&, const CaptureSyncIssue&) = default;
};

/// What was found of one take. Durations are seconds and never negative.
struct CaptureSyncValidationReport {
    CaptureSyncMode mode = CaptureSyncMode::screenOnly;
    double screenDuration = 0; ///< 0 also when it could not be found out
    std::optional<double> microphoneDuration;
    std::optional<double> cameraDuration;
    std::vector<CaptureSyncIssue> issues; ///< in the order in which they were found

    /// Warnings alone pass.
    [[nodiscard]] bool passes() const;

    /// All of it in one line.
    [[nodiscard]] std::string summary() const;
};

} // namespace tavrin
