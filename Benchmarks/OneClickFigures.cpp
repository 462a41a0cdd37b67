#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <thread>
#include <vector>

#include <fmt/format.h>

#include "Examples/Walkthrough/ScreenTake.h"
#include "Figures.h"
#include "Measuring/Measuring.h"
#include "Takes.h"
#include "TavrinKit/Compositing/FFmpegEffectBakingRenderer.h"
#include "TavrinKit/Export/FFmpegMP4Exporter.h"
#include "TavrinKit/Export/OneClickExporter.h"
#include "TavrinKit/Readiness/SystemCapabilityService.h"

namespace tavrin::bench {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int rounds = 3;
constexpr int cancellations = 24;

/// What an export would take without the layers above it. Both are taken from the same run: two runs differ
/// by far more than what these layers cost.
struct BareTime {
    double seconds = 0;
};

class TimedExporter : public FFmpegMP4Exporter {
public:
    explicit TimedExporter(BareTime& bare) : bare_(bare) {}

    ExportResult exportMovie(const ExportRequest& request, const ExportProgressHandler& onProgress,
                             std::stop_token stop) override {
        double reporting = 0;
        const auto start = Clock::now();
        ExportResult result = FFmpegMP4Exporter::exportMovie(
            request,
            [&](double fraction) {
                const auto reported = Clock::now();
                onProgress(fraction);
                reporting += secondsSince(reported);
            },
            std::move(stop));
        bare_.seconds += secondsSince(start) - reporting;
        return result;
    }

private:
    BareTime& bare_;
};

class TimedRenderer : public FFmpegEffectBakingRenderer {
public:
    explicit TimedRenderer(BareTime& bare) : bare_(bare) {}

    [[nodiscard]] PreparedEffectExport prepareExport(const EditorSession& session, const ExportPreset& preset,
                                                     std::stop_token stop) override {
        const auto start = Clock::now();
        PreparedEffectExport prepared =
            FFmpegEffectBakingRenderer::prepareExport(session, preset, std::move(stop));
        bare_.seconds += secondsSince(start);
        return prepared;
    }

private:
    BareTime& bare_;
};

/// Seconds from a stop request, `wait` after the start, to the end of the call.
double cancelled(const EditorSession& session, const fs::path& movie, std::chrono::duration<double> wait) {
    std::stop_source stop;
    Clock::time_point requested;
    {
        const std::jthread canceller([&] {
            std::this_thread::sleep_for(wait);
            requested = Clock::now();
            stop.request_stop();
        });
        try {
            demo::exportSession(session, measuredPreset(), movie, {}, stop.get_token());
        } catch (...) {
            if (!isCancelledExport(std::current_exception())) {
                throw;
            }
            return secondsSince(requested);
        }
    }
    return 0; // the export was over first
}

} // namespace

void exportOverhead(Takes& takes) {
    const EditorSession session = EditorSession::open(ProjectPackage::load(takes.walkthrough()));
    std::vector<double> shares;
    for (int round = 0; round < rounds; ++round) {
        BareTime bare;
        OneClickExporter exporter(
            std::make_shared<ExportReliabilityGuard>(std::make_shared<TimedExporter>(bare), 2,
                                                     ExportReliabilityGuard::ffmpegDurationValidator),
            std::make_shared<TimedRenderer>(bare),
            std::make_shared<SystemCapabilityService>(nullptr, nullptr));
        const auto start = Clock::now();
        exporter.exportMovie(session, takes.folder() / "export.mp4", measuredPreset(),
                             [](const ExportProgressUpdate&) {});
        const double whole = secondsSince(start);
        shares.push_back((whole - bare.seconds) / bare.seconds * 100);
        say(fmt::format("export.overhead, round {}: {:.1f} ms of {:.2f} s", round + 1,
                        (whole - bare.seconds) * 1000, whole));
    }
    printFigure("export.overhead", median(shares), "%");
}

void exportCancelling(Takes& takes) {
    const EditorSession session = EditorSession::open(ProjectPackage::load(takes.everything()));
    const fs::path movie = takes.folder() / "export.mp4";
    const double whole = secondsTaken([&] { demo::exportSession(session, measuredPreset(), movie, {}); });
    std::vector<double> waits;
    for (int i = 0; i < cancellations; ++i) {
        // Denser where preparation and completion are.
        const double share = double(i) / (cancellations - 1);
        const double moment = whole * share * share * (3 - 2 * share);
        waits.push_back(cancelled(session, movie, std::chrono::duration<double>(moment)) * 1000);
    }
    printFigure("export.cancelling.longest", std::ranges::max(waits), "ms");
    printFigure("export.cancelling.median", median(waits), "ms");
}

} // namespace tavrin::bench
