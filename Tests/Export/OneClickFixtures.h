#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "ExportFixtures.h"
#include "TavrinKit/Export/FFmpegMP4Exporter.h"
#include "TavrinKit/Export/OneClickExporter.h"

namespace tavrin::test {

/// A machine that can do all or nothing.
class FixedCapability : public ExportCapabilityServicing {
public:
    explicit FixedCapability(bool all = true) : all_(all) {}
    [[nodiscard]] ExportCapabilitySnapshot exportCapabilities() const override {
        return {.gate = {all_}, .codecs = {{ExportCodec::hevc, "main", all_}}};
    }

private:
    bool all_;
};

/// Does in its n-th attempt what the n-th step says; the last step is for all that follow.
class ScriptedExporter : public MP4Exporting {
public:
    using Step = std::function<ExportResult(const ExportRequest&, const ExportProgressHandler&)>;
    explicit ScriptedExporter(std::vector<Step> steps) : steps_(std::move(steps)) {}

    using MP4Exporting::exportMovie;
    ExportResult exportMovie(const ExportRequest& request, const ExportProgressHandler& onProgress,
                             std::stop_token) override {
        requests.push_back(request);
        return steps_[std::min(requests.size(), steps_.size()) - 1](request, onProgress);
    }

    std::vector<ExportRequest> requests;

private:
    std::vector<Step> steps_;
};

/// Breaks down at the end of its first attempts for a reason of its own, so that the effects are baked.
class TiredExporter : public FFmpegMP4Exporter {
public:
    explicit TiredExporter(int failures) : failures_(failures) {}

    using MP4Exporting::exportMovie;
    ExportResult exportMovie(const ExportRequest& request, const ExportProgressHandler& onProgress,
                             std::stop_token stop) override {
        ExportResult result = FFmpegMP4Exporter::exportMovie(request, onProgress, std::move(stop));
        if (failures_-- > 0) {
            throw ExportError::exportFailed();
        }
        return result;
    }

private:
    int failures_;
};

/// Answers with what it is told to.
class ScriptedRenderer : public EffectBakingRenderer {
public:
    std::function<PreparedEffectExport()> onPrepare;
    std::function<EffectBakeResult()> onBake = [] {
        return EffectBakeResult{};
    };

    [[nodiscard]] EffectBakeResult bake(const EditorSession&, const ExportPreset& preset,
                                        std::stop_token) override {
        bakedPresets.push_back(preset);
        return onBake();
    }
    [[nodiscard]] PreparedEffectExport prepareExport(const EditorSession&, const ExportPreset&,
                                                     std::stop_token) override {
        return onPrepare();
    }

    std::vector<ExportPreset> bakedPresets;
};

/// Up to `maxRetries` + 1 attempts, checked by what FFmpeg says unless by `validator`.
[[nodiscard]] inline OneClickExporter
oneClick(std::shared_ptr<MP4Exporting> exporter, std::shared_ptr<EffectBakingRenderer> renderer,
         int maxRetries = 2,
         ExportReliabilityGuard::Validator validator = ExportReliabilityGuard::ffmpegDurationValidator,
         bool isCapable = true) {
    return {std::make_shared<ExportReliabilityGuard>(std::move(exporter), maxRetries, std::move(validator)),
            std::move(renderer), std::make_shared<FixedCapability>(isCapable)};
}

} // namespace tavrin::test
