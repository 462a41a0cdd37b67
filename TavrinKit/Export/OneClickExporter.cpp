#include "TavrinKit/Export/OneClickExporter.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

#include <fmt/format.h>

#include "TavrinKit/Export/ExportDestination.h"
#include "TavrinKit/Export/OneClickExportError.h"
#include "TavrinKit/Support/Cancellation.h"
#include "TavrinKit/Support/Files.h"
#include "TavrinKit/Support/Log.h"
#include "TavrinKit/Support/TemporaryFile.h"

namespace tavrin {
namespace {

namespace fs = std::filesystem;

using enum ExportProgressStage;

constexpr auto service = "TavrinKit.OneClickExporter";

/// An intermediate movie of ours, or none. A removal that fails is logged, and tried again at the end.
class TemporaryMedia {
public:
    explicit TemporaryMedia(std::optional<fs::path> path) : path_(std::move(path)) {}
    ~TemporaryMedia() { cleanUp(); }
    TemporaryMedia(const TemporaryMedia&) = delete;
    TemporaryMedia& operator=(const TemporaryMedia&) = delete;

    void cleanUp() {
        if (!path_) {
            return;
        }
        try {
            removeFile(*path_);
            path_.reset();
        } catch (...) {
            logRecoverableFailure(service, "export.cleanupTemporaryBake", std::current_exception(),
                                  {{"mediaPath", path_->string()}});
        }
    }

private:
    std::optional<fs::path> path_;
};

ExportProgressStage stageOf(ExportReliabilityPhase phase) {
    switch (phase) {
    case ExportReliabilityPhase::attemptStarted:
    case ExportReliabilityPhase::exporting:
        return transcoding;
    case ExportReliabilityPhase::validating:
        return validating;
    case ExportReliabilityPhase::retrying:
        return retrying;
    case ExportReliabilityPhase::completed:
        return completed;
    }
    return transcoding;
}

} // namespace

/// One export, from the preset to the movie.
class OneClickExporter::Run {
public:
    Run(OneClickExporter& exporter, const EditorSession& session, const ExportPreset& preset,
        const ProgressHandler& onProgress, const std::stop_token& stop)
        : exporter_(exporter), session_(session), preset_(preset), progress_(onProgress), stop_(stop) {}

    ExportResult exportTo(const fs::path& destination) {
        const auto start = std::chrono::steady_clock::now();
        const std::string warnings = fitPreset();
        checkDestination(destination, filesOf(session_));
        TemporaryFile::removeStraysBeside(destination);
        TemporaryFile movie = TemporaryFile::beside(destination);
        report(preparing, 0.02, "Preparing export pipeline.");
        if (!warnings.empty()) {
            report(preparing, 0.05, warnings);
        }
        ExportResult result = makeMovie(movie.path());
        throwIfCancelled(stop_);
        movie.moveTo(destination);
        result.outputURL = destination;
        result.elapsedSeconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        reportCompletion();
        return result;
    }

private:
    /// @return the warnings in one line
    /// @throws OneClickExportError
    std::string fitPreset() {
        const ExportPresetValidationResult validation =
            exporter_.presetValidator_.validate(preset_, exporter_.capabilityService_->exportCapabilities());
        if (validation.blockedReason) {
            throw OneClickExportError::unsupportedPreset(*validation.blockedReason);
        }
        preset_ = validation.resolvedPreset;
        return fmt::format("{}", fmt::join(validation.warnings, " "));
    }

    ExportResult makeMovie(const fs::path& movie) {
        report(preparing, 0.08, "Preparing effects for export.");
        throwIfCancelled(stop_);
        PreparedEffectExport prepared = exporter_.effectBaker_->prepareExport(session_, preset_, stop_);
        TemporaryMedia temporary(prepared.temporaryMediaURL);
        if (!prepared.usesDirectComposition()) {
            return transcodePrepared(prepared, movie);
        }
        const fs::path source = prepared.sourceURL;
        try {
            return exportDirectly(std::move(prepared), movie);
        } catch (...) {
            const std::exception_ptr error = std::current_exception();
            if (isCancelledExport(error)) {
                throw;
            }
            throwIfCancelled(stop_);
            temporary.cleanUp();
            removeRejected(movie);
            logRecoverableFailure(service, "export.directCompositionFallback", error,
                                  {{"sourcePath", source.string()}});
        }
        return exportBaked(movie);
    }

    /// The effects are drawn while encoding.
    ExportResult exportDirectly(PreparedEffectExport prepared, const fs::path& movie) {
        report(preparing, 0.18, "Direct effect composition ready.");
        const ExportRequest request{.sourceURL = std::move(prepared.sourceURL),
                                    .sourceAsset = std::move(prepared.sourceAsset),
                                    .destinationURL = movie,
                                    .preset = preset_,
                                    .videoComposition = std::move(prepared.videoComposition),
                                    .audioMix = std::move(prepared.audioMix)};
        report(transcoding, 0.22, "Starting direct MP4 export.");
        return transcode(request, 0.22, 0.76);
    }

    /// The preparation has given a finished file.
    ExportResult transcodePrepared(const PreparedEffectExport& prepared, const fs::path& movie) {
        if (prepared.temporaryMediaURL) {
            report(baking, 0.42, "Effects baked successfully.");
        } else {
            report(preparing, 0.12, "Source media is ready for export.");
        }
        const ExportRequest request =
            plainRequest(prepared.temporaryMediaURL.value_or(prepared.sourceURL), movie);
        report(transcoding, 0.45, "Starting MP4 transcoding.");
        return transcode(request, 0.45, 0.53);
    }

    /// The way that remains when the direct one has failed: the effects go into a file first.
    ExportResult exportBaked(const fs::path& movie) {
        report(retrying, 0.24, "Direct export path failed. Retrying with loss-resistant intermediate.");
        report(baking, 0.34, "Baking camera, framing, cursor, and motion blur effects.");
        const EffectBakeResult baked = exporter_.effectBaker_->bake(session_, preset_, stop_);
        TemporaryMedia temporary(baked.isTemporary ? std::optional(baked.mediaURL) : std::nullopt);
        report(baking, 0.52, "Effects baked successfully.");
        const ExportRequest request = plainRequest(baked.mediaURL, movie);
        report(transcoding, 0.56, "Starting MP4 transcoding.");
        ExportResult result = transcode(request, 0.56, 0.42);
        temporary.cleanUp();
        return result;
    }

    [[nodiscard]] ExportRequest plainRequest(const fs::path& source, const fs::path& movie) const {
        ExportRequest request;
        request.sourceURL = source;
        request.destinationURL = movie;
        request.preset = preset_;
        return request;
    }

    ExportResult transcode(const ExportRequest& request, double baseProgress, double span) {
        return exporter_.reliabilityGuard_->exportWithRetry(
            request,
            [&](const ExportReliabilityProgress& update) {
                report(stageOf(update.phase), baseProgress + update.fractionCompleted * span, update.message);
            },
            stop_);
    }

    /// A movie that has failed its check may be large; the bake to come wants its space.
    static void removeRejected(const fs::path& movie) {
        try {
            removeFile(movie);
        } catch (...) {
            logRecoverableFailure(service, "export.removeRejected", std::current_exception(),
                                  {{"path", movie.string()}});
        }
    }

    /// The movie is in its place: nobody who can't hear of it makes the export fail any more.
    void reportCompletion() noexcept {
        try {
            report(completed, 1, "Export completed.");
        } catch (...) {
            logRecoverableFailure(service, "export.reportCompletion", std::current_exception());
        }
    }

    void report(ExportProgressStage stage, double fraction, const std::string& message) {
        progress_.report({stage, fraction, message});
    }

    OneClickExporter& exporter_;
    const EditorSession& session_;
    ExportPreset preset_; ///< from `fitPreset` on what the machine can do
    ProgressForwarder progress_;
    const std::stop_token stop_;
};

OneClickExporter::OneClickExporter(std::shared_ptr<ExportReliabilityGuard> reliabilityGuard,
                                   std::shared_ptr<EffectBakingRenderer> effectBaker,
                                   std::shared_ptr<const ExportCapabilityServicing> capabilityService,
                                   ExportPresetValidator presetValidator)
    : reliabilityGuard_(std::move(reliabilityGuard)), effectBaker_(std::move(effectBaker)),
      capabilityService_(std::move(capabilityService)), presetValidator_(presetValidator) {}

ExportResult OneClickExporter::exportMovie(const EditorSession& session, const fs::path& destination,
                                           const ExportPreset& preset, const ProgressHandler& onProgress,
                                           const std::stop_token& stop) {
    const auto turn = turns_.take(stop);
    throwIfCancelled(stop);
    return Run(*this, session, preset, onProgress, stop).exportTo(destination);
}

void OneClickExporter::ProgressForwarder::report(ExportProgressUpdate update) {
    const bool isOurs = state_.with([&](State& state) {
        state.lastFraction = std::max(state.lastFraction, update.fractionCompleted);
        update.fractionCompleted = std::clamp(state.lastFraction, 0.0, 1.0);
        state.waiting.push_back(std::move(update));
        return !std::exchange(state.isDelivering, true);
    });
    if (isOurs) {
        deliver();
    }
}

void OneClickExporter::ProgressForwarder::deliver() {
    for (;;) {
        const std::vector<ExportProgressUpdate> updates = state_.with([](State& state) {
            state.isDelivering = !state.waiting.empty();
            return std::exchange(state.waiting, {});
        });
        if (updates.empty()) {
            return;
        }
        for (const ExportProgressUpdate& update : updates) {
            try {
                if (callback_) {
                    callback_(update);
                }
            } catch (...) {
                state_.with([](State& state) { state.isDelivering = false; });
                throw;
            }
        }
    }
}

} // namespace tavrin
