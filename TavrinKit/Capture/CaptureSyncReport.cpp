#include "TavrinKit/Capture/CaptureSyncReport.h"

#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace tavrin {

CaptureSyncMode captureSyncMode(const AudioCaptureOptions& options) {
    if (options.includeSystemAudio) {
        return options.includeMicrophone ? CaptureSyncMode::screenSystemAudioMicrophone
                                         : CaptureSyncMode::screenSystemAudio;
    }
    return options.includeMicrophone ? CaptureSyncMode::screenMicrophone : CaptureSyncMode::screenOnly;
}

bool CaptureSyncValidationReport::passes() const {
    return std::none_of(issues.begin(), issues.end(), [](const CaptureSyncIssue& issue) {
        return issue.severity == CaptureSyncIssueSeverity::error;
    });
}

std::string CaptureSyncValidationReport::summary() const {
    std::string text =
        fmt::format("{} ({}): screen={:.2f}s", passes() ? "PASS" : "FAIL", nameOf(mode), screenDuration);
    if (microphoneDuration) {
        text += fmt::format(", mic={:.2f}s", *microphoneDuration);
    }
    if (cameraDuration) {
        text += fmt::format(", camera={:.2f}s", *cameraDuration);
    }
    std::vector<std::string> told;
    for (const CaptureSyncIssue& issue : issues) {
        const bool isError = issue.severity == CaptureSyncIssueSeverity::error;
        told.push_back(fmt::format("[{}] {}", isError ? "ERROR" : "WARNING", issue.message));
    }
    return fmt::format("{}. {}", text,
                       told.empty() ? "No issues." : fmt::format("{}", fmt::join(told, " | ")));
}

} // namespace tavrin
