#include "TavrinKit/Export/ExportReliabilityGuard.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>

#include <fmt/format.h>

#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Support/Cancellation.h"

namespace tavrin {
namespace {

using enum ExportReliabilityPhase;

/// One attempt's slice of the progress.
class AttemptProgress {
public:
    AttemptProgress(const ExportReliabilityGuard::ProgressHandler& handler, int attempt, int total)
        : handler_(handler), attempt_(attempt), total_(total), base_((attempt - 1.0) / total),
          end_(double(attempt) / total) {}

    /// @param share  of this attempt, 0...1
    void report(ExportReliabilityPhase phase, double share, std::string message) const {
        constexpr double mostWhileWorking = 0.99;
        const bool isUnderWay = phase == validating || phase == retrying;
        const double fraction = std::min(base_ + share / total_, end_);
        send(phase, isUnderWay ? std::min(fraction, mostWhileWorking) : fraction, std::move(message));
    }

    void reportStart() const {
        report(attemptStarted, 0, fmt::format("Starting export attempt {} of {}.", attempt_, total_));
    }
    void reportExporting(double fraction) const {
        const double share = fraction > 0 ? std::min(fraction, 1.0) : 0;
        report(exporting, share, fmt::format("Transcoding export attempt {} of {}.", attempt_, total_));
    }
    void reportFailure(const std::exception_ptr& error) const {
        report(retrying, 0.99, fmt::format("Attempt {} failed: {}. Retrying.", attempt_, sentenceOf(error)));
    }
    void reportSuccess() const { send(completed, 1, "Export validation passed."); }

private:
    void send(ExportReliabilityPhase phase, double fraction, std::string message) const {
        if (handler_) {
            handler_({phase, std::clamp(fraction, 0.0, 1.0), attempt_, total_, std::move(message)});
        }
    }

    const ExportReliabilityGuard::ProgressHandler& handler_;
    const int attempt_;
    const int total_;
    const double base_;
    const double end_;
};

void checkStatedDuration(const ExportResult& result) {
    if (!std::isfinite(result.durationSeconds) || result.durationSeconds < 0) {
        throw ExportError::corruptedDuration();
    }
}

double measuredDuration(const std::filesystem::path& movie) {
    try {
        return probeMedia(movie).duration;
    } catch (...) {
        throw ExportError::corruptedDuration(std::current_exception());
    }
}

} // namespace

ExportReliabilityGuard::ExportReliabilityGuard(std::shared_ptr<MP4Exporting> exporter, int maxRetries,
                                               Validator validator)
    : exporter_(std::move(exporter)),
      totalAttempts_(std::clamp(maxRetries, 0, std::numeric_limits<int>::max() - 1) + 1),
      validator_(std::move(validator)) {}

ExportResult ExportReliabilityGuard::exportWithRetry(const ExportRequest& request,
                                                     const ProgressHandler& onProgress,
                                                     const std::stop_token& stop) {
    const auto turn = turns_.take(stop);
    for (int attempt = 1;; ++attempt) {
        throwIfCancelled(stop);
        const AttemptProgress progress(onProgress, attempt, totalAttempts_);
        progress.reportStart();
        try {
            ExportResult result = exporter_->exportMovie(
                request, [&](double fraction) { progress.reportExporting(fraction); }, stop);
            checkStatedDuration(result);
            progress.report(validating, 0.98, "Validating exported media.");
            throwIfCancelled(stop);
            validator_(result, stop);
            progress.reportSuccess();
            return result;
        } catch (...) {
            const std::exception_ptr error = std::current_exception();
            if (isCancelledExport(error)) {
                throw;
            }
            progress.reportFailure(error);
            if (attempt == totalAttempts_) {
                throw;
            }
        }
    }
}

void ExportReliabilityGuard::ffmpegDurationValidator(const ExportResult& result,
                                                     const std::stop_token& stop) {
    constexpr double tooShort = 0.01;
    throwIfCancelled(stop);
    if (!(measuredDuration(result.outputURL) > tooShort)) {
        throw ExportError::corruptedDuration();
    }
    throwIfCancelled(stop);
}

} // namespace tavrin
