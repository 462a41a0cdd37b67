#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OneClickFixtures.h"
#include "PlanFixtures.h"
#include "TavrinKit/Export/MockMP4Exporter.h"

namespace tavrin {
namespace {

using namespace test;
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
    const auto [told, ending] = run(std::make_shared<MockMP4Exporter>(1), -7);
    EXPECT_EQ(ending, "MP4 export failed.");
    EXPECT_EQ(told.back().phase, retrying) << "though no retry follows";
    EXPECT_EQ(told.back().totalAttempts, 1);
    std::stop_source stop;
    const std::tuple<std::exception_ptr, bool, const char*> cases[] = {
        {std::make_exception_ptr(ExportError::cancelled()), false, "MP4 export cancelled."},
        {std::make_exception_ptr(CancellationError()), false, "The operation was cancelled."},
        {std::make_exception_ptr(std::runtime_error("torn")), true, "The operation was cancelled."},
    };
    for (const auto& [error, isStopped, sentence] : cases) {
        const auto exporter = std::make_shared<ScriptedExporter>(std::vector<ScriptedExporter::Step>{
            [&](const ExportRequest&, const ExportProgressHandler&) -> ExportResult {
                if (isStopped) {
                    stop.request_stop();
                }
                std::rethrow_exception(error);
            }});
        EXPECT_EQ(run(exporter, 2, passing(), stop.get_token()).second, sentence);
        EXPECT_EQ(exporter->requests.size(), 1U);
    }
}

TEST(ExportReliabilityGuardTests, TheDurationValidatorWantsMoreThanAHundredthOfASecond) {
    const TemporaryFolder folder;
    write({.size = {64, 36}, .times = {0}, .endTime = 0.01}, folder / "short.mov");
    write({.size = {64, 36}, .times = {0}, .endTime = 0.02}, folder / "longer.mov");
    const auto validate = [&](const char* name) {
        ExportReliabilityGuard::ffmpegDurationValidator({folder / name}, {});
    };
    EXPECT_NO_THROW(validate("longer.mov"));
    EXPECT_THROW(validate("short.mov"), ExportError);
    EXPECT_THROW(validate("missing.mov"), ExportError);
}

} // namespace
} // namespace tavrin
