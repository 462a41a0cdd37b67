#pragma once

#include <functional>
#include <memory>
#include <stop_token>
#include <string>

#include "TavrinKit/Export/MP4Exporting.h"
#include "TavrinKit/Support/Json.h"
#include "TavrinKit/Support/Turns.h"

namespace tavrin {

enum class ExportReliabilityPhase { attemptStarted, exporting, validating, retrying, completed };

/// How far the attempts at one movie have come.
struct ExportReliabilityProgress {
    ExportReliabilityPhase phase = ExportReliabilityPhase::attemptStarted;
    double fractionCompleted = 0; ///< 0...1 over all attempts; each has an equal slice
    int attempt = 1;              ///< from 1
    int totalAttempts = 1;
    std::string message; ///< a sentence
};

template <>
struct EnumNames<ExportReliabilityPhase> {
    using enum ExportReliabilityPhase;
    static constexpr auto names = namedCases<ExportReliabilityPhase>({
        {attemptStarted, "attemptStarted"},
        {exporting, "exporting"},
        {validating, "validating"},
        {retrying, "retrying"},
        {completed, "completed"},
    });
};

/// Repeats an export until it gives a movie that passes a check, so that a passing trouble of the media stack
/// never reaches the user.
///
/// Any thread; calls take turns, so none comes from its own progress handler.
class ExportReliabilityGuard {
public:
    /// Throws when the movie isn't one. A stop request ends it with CancellationError.
    using Validator = std::function<void(const ExportResult&, const std::stop_token& stop)>;
    using ProgressHandler = std::function<void(const ExportReliabilityProgress&)>;

    /// @param exporter    not null
    /// @param maxRetries  attempts after the first; below 0 counts as 0
    /// @param validator   not empty
    ExportReliabilityGuard(std::shared_ptr<MP4Exporting> exporter, int maxRetries, Validator validator);

    /// @param onProgress  may be empty; called on the thread that exports, or on the exporter's. Its
    ///                    fractions don't fall within an attempt. What it throws costs the attempt, or ends
    ///                    the export when no attempt is under way.
    /// @param stop        looked at before each attempt and each check, and passed on to both
    /// @throws whatever the last attempt ended with; ExportError (cancelled) or CancellationError when
    ///         cancelled, without another attempt
    ExportResult exportWithRetry(const ExportRequest& request, const ProgressHandler& onProgress = {},
                                 const std::stop_token& stop = {});

    /// The file can be opened and says that it lasts longer than 0.01 s.
    /// @throws ExportError (corruptedDuration), CancellationError
    static void ffmpegDurationValidator(const ExportResult& result, const std::stop_token& stop);

private:
    const std::shared_ptr<MP4Exporting> exporter_;
    const int totalAttempts_;
    const Validator validator_;
    Turns turns_;
};

} // namespace tavrin
