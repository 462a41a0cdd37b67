#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OneClickFixtures.h"
#include "PlanFixtures.h"
#include "TavrinKit/Export/MockMP4Exporter.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

using namespace fixtures;
using enum ExportReliabilityPhase;
using testing::ElementsAre;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

ExportReliabilityGuard::Validator passing() {
    return [](const ExportResult&, const std::stop_token&) {
    };
}

/// @return all that the guard tells, and how it ends
std::pair<std::vector<ExportReliabilityProgress>, std::string>
run(std::shared_ptr<MP4Exporting> exporter, int retries,
    ExportReliabilityGuard::Validator validator = passing(), std::stop_token stop = {}) {
    const TemporaryFolder folder;
    ExportReliabilityGuard guard(std::move(exporter), retries, std::move(validator));
    std::vector<ExportReliabilityProgress> told;
    try {
        guard.exportWithRetry(
            request("nowhere", folder / "out.mp4"),
            [&](const ExportReliabilityProgress& progress) { told.push_back(progress); }, stop);
    } catch (const std::exception& error) {
        return {told, error.what()};
    }
    return {told, ""};
}

TEST(ExportReliabilityGuardTests, EveryWayToFailCostsAnAttempt) {
    const auto giving = [](double duration) {
        return [duration](const ExportRequest&, const ExportProgressHandler& report) {
            for (const double wild : {-3.0, nan, 7.0}) {
                report(wild);
            }
            return ExportResult{"out.mp4", duration};
        };
    };
    const auto failing = [](const ExportRequest&, const ExportProgressHandler&) -> ExportResult {
        throw std::runtime_error("no luck");
    };
    const auto exporter = std::make_shared<ScriptedExporter>(
        std::vector<ScriptedExporter::Step>{failing, giving(nan), giving(-1), giving(0)});
    int checks = 0;
    const auto [told, ending] = run(exporter, 4, [&](const ExportResult&, const std::stop_token&) {
        if (++checks == 1) {
            throw std::runtime_error("torn");
        }
    });
    EXPECT_EQ(ending, "");
    EXPECT_EQ(exporter->requests.size(), 5U);
    EXPECT_EQ(checks, 2) << "a duration of 0 is for the validator to judge, a senseless one isn't";
    std::vector<std::string> reasons;
    for (const ExportReliabilityProgress& progress : told) {
        EXPECT_GE(progress.fractionCompleted, (progress.attempt - 1) / 5.0);
        EXPECT_LE(progress.fractionCompleted, progress.phase == completed ? 1.0 : progress.attempt / 5.0);
        if (progress.phase == retrying) {
            reasons.push_back(progress.message);
        }
    }
    const std::string corrupted = ExportError::corruptedDuration().what();
    EXPECT_THAT(reasons, ElementsAre("Attempt 1 failed: no luck. Retrying.",
                                     "Attempt 2 failed: " + corrupted + ". Retrying.",
                                     "Attempt 3 failed: " + corrupted + ". Retrying.",
                                     "Attempt 4 failed: torn. Retrying."));
}

TEST(ExportReliabilityGuardTests, GivesUpAfterTheLastAttemptAndNeverRepeatsACancelledOne) {
    for (const int retries : {0, -7}) {
        const auto [told, ending] = run(std::make_shared<MockMP4Exporter>(1), retries);
        EXPECT_EQ(ending, "MP4 export failed.");
        EXPECT_EQ(told.back().phase, retrying) << "though no retry follows";
        EXPECT_EQ(told.back().totalAttempts, 1);
    }
    std::stop_source stop;
    const auto cancelling = [&](const std::exception_ptr& error, bool asIfByItself) {
        return std::make_shared<ScriptedExporter>(std::vector<ScriptedExporter::Step>{
            [&stop, error, asIfByItself](const ExportRequest&, const ExportProgressHandler&) -> ExportResult {
                if (!asIfByItself) {
                    stop.request_stop();
                }
                std::rethrow_exception(error);
            }});
    };
    const auto cancelled = std::make_exception_ptr(ExportError::cancelled());
    const auto waited = std::make_exception_ptr(CancellationError());
    const auto failed = std::make_exception_ptr(std::runtime_error("pulled the plug"));
    for (const auto& [error, asIfByItself, sentence] :
         {std::tuple(cancelled, true, "MP4 export cancelled."),
          std::tuple(waited, true, "The operation was cancelled."),
          std::tuple(failed, false, "The operation was cancelled.")}) {
        stop = {};
        const auto exporter = cancelling(error, asIfByItself);
        EXPECT_EQ(run(exporter, 2, passing(), stop.get_token()).second, sentence);
        EXPECT_EQ(exporter->requests.size(), 1U);
    }
}

TEST(ExportReliabilityGuardTests, TheDurationValidatorWantsMoreThanAHundredthOfASecond) {
    const TemporaryFolder folder;
    const std::vector<std::tuple<std::string, double, bool>> cases{{"short.mov", 0.01, false},
                                                                   {"longer.mov", 0.02, true},
                                                                   {"missing.mov", 0, false},
                                                                   {"text.mov", -1, false}};
    for (const auto& [name, duration, passes] : cases) {
        if (duration > 0) {
            write({.size = {64, 36}, .times = {0}, .endTime = duration}, folder / name);
        } else if (duration < 0) {
            writeFileAtomically(folder / name, "a movie, truly");
        }
        const ExportResult result{folder / name};
        if (passes) {
            EXPECT_NO_THROW(ExportReliabilityGuard::ffmpegDurationValidator(result, {}));
        } else {
            EXPECT_THROW(ExportReliabilityGuard::ffmpegDurationValidator(result, {}), ExportError) << name;
        }
    }
}

} // namespace
} // namespace tavrin
