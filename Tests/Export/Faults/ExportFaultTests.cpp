#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "../OneClickFixtures.h"
#include "../PlanFixtures.h"
#include "FaultyLibraries.h"
#include "Fixtures/FaultDriver.h"
#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Compositing/FFmpegEffectBakingRenderer.h"
#include "TavrinKit/Export/FFmpegMP4Exporter.h"
#include "TavrinKit/Media/VideoReader.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

namespace fs = std::filesystem;

using namespace test;

constexpr auto older = "an older movie";
constexpr int frames = 9; // every second picture of the take

/// Every n-th fault is met. The suite takes a share of them; TAVRIN_EVERY_FAULT=1 in the environment is for
/// all.
std::size_t step(std::size_t inTheSuite) {
    return std::getenv("TAVRIN_EVERY_FAULT") != nullptr ? 1 : inTheSuite;
}

/// A small take that is exported over an older movie, again and again.
class ExportFaultTests : public testing::Test {
protected:
    ExportFaultTests() {
        fs::create_directories(output_);
        fs::create_directories(temporary_);
        ::setenv("TMPDIR", temporary_.c_str(), 1);
        prepare();
        takeFiles_ = contentsOf(folder_ / "package");
    }
    ~ExportFaultTests() override { ::unsetenv("TMPDIR"); }

    static std::map<std::string, std::string> contentsOf(const fs::path& folder) {
        std::map<std::string, std::string> contents;
        for (const auto& entry : fs::directory_iterator(folder)) {
            contents[entry.path().filename().string()] = readFile(entry.path());
        }
        return contents;
    }

    void prepare() const {
        for (const fs::path& folder : {output_, temporary_}) {
            for (const auto& entry : fs::directory_iterator(folder)) {
                fs::remove(entry.path());
            }
        }
        writeFileAtomically(destination_, older);
    }

    /// Exports in this process. @return "exported", or how it failed; "fell" when the progress did
    [[nodiscard]] std::string exportMovie(int failures) const {
        OneClickExporter exporter = oneClick(std::make_shared<TiredExporter>(failures),
                                             std::make_shared<FFmpegEffectBakingRenderer>(), 1);
        double last = 0;
        bool hasFallen = false;
        std::string outcome = "exported";
        try {
            exporter.exportMovie(session_, destination_, smallPreset(64, 36, 30),
                                 [&](const ExportProgressUpdate& update) {
                                     hasFallen = hasFallen || update.fractionCompleted < last;
                                     last = update.fractionCompleted;
                                 });
            hasFallen = hasFallen || last != 1;
        } catch (...) {
            outcome = "failed: " + describe(std::current_exception());
            hasFallen = hasFallen || last == 1;
        }
        return hasFallen ? "fell" : outcome;
    }

    /// Looks at what a process has left that was to end with the outcome; with none, one that was killed.
    void check(const std::optional<std::string>& outcome) {
        const bool isExported = outcome == "exported";
        if (outcome) {
            EXPECT_TRUE(isExported || outcome->starts_with("failed: ")) << *outcome;
            EXPECT_EQ(std::distance(fs::directory_iterator(output_), {}), 1);
            EXPECT_TRUE(fs::is_empty(temporary_));
        }
        const std::string movie = readFile(destination_);
        if (isExported || (!outcome && movie != older)) {
            EXPECT_TRUE(isWhole(movie)) << movie.size() << " bytes";
        } else {
            EXPECT_EQ(movie, older);
        }
        EXPECT_EQ(contentsOf(folder_ / "package"), takeFiles_);
    }

    /// All pictures in their order, and both tones from start to end.
    bool isWhole(const std::string& movie) {
        if (known_.contains(movie)) {
            return true;
        }
        std::vector<int> numbers;
        VideoReader reader(destination_, {.threads = 1});
        while (const auto picture = reader.next()) {
            numbers.push_back(numberIn(picture->pixels));
        }
        std::vector<int> expected;
        for (int i = 0; i < frames; ++i) {
            expected.push_back(2 * i);
        }
        const MediaAsset asset = MediaAsset::open(destination_);
        bool isGood = numbers == expected && asset.audioTrackCount() == 1;
        for (const double tone : {systemTone, microphoneTone}) {
            isGood = isGood && toneLevel(asset, 0, tone, 0, 0.15) > 0.2 &&
                     toneLevel(asset, 0, tone, 0.15, 0.3) > 0.2;
        }
        if (isGood) {
            known_.insert(movie);
        }
        return isGood;
    }

    const TemporaryFolder folder_;
    const fs::path output_ = folder_ / "output";
    const fs::path temporary_ = folder_ / "temporary";
    const fs::path destination_ = output_ / "out.mp4";
    const EditorSession session_ = makeTake(folder_, {}, {.microphone = true, .seconds = 0.3});
    std::map<std::string, std::string> takeFiles_;
    std::set<std::string> known_; ///< movies that were looked at and found whole
};

TEST_F(ExportFaultTests, NoSystemCallThatGoesWrongMakesABrokenMovieALostOneOrLitter) {
    const FaultPlan plans[] = {
        {.kind = FaultKind::kill},
        {.kind = FaultKind::fail, .error = EIO},
        {.kind = FaultKind::fail, .error = EACCES},
        {.calls = readCall | writeCall | flushCall, .error = EIO, .isLasting = true},
        {.calls = spaceTakingCalls, .error = ENOSPC, .isLasting = true},
        {.calls = spaceTakingCalls, .error = ENOSPC},
    };
    std::size_t faults = 0;
    for (const int failures : {0, 2}) { // of the exporter: the second time the effects are baked
        std::size_t number = 0;
        for (FaultPlan plan : plans) {
            plan.below = folder_ / "";
            plan.limit = std::chrono::seconds(30);
            const std::size_t every = step(failures == 0 ? 16 : 48);
            for (plan.at = 1 + number++ % every;; plan.at += every) {
                prepare();
                const FaultedRun run = runWithFault(plan, [&] { return exportMovie(failures); });
                SCOPED_TRACE(testing::Message()
                             << "fault " << number << " at " << plan.at << ", " << run.victim << ": "
                             << run.result.value_or(run.escaped.value_or("killed")));
                EXPECT_FALSE(run.isHanging);
                EXPECT_EQ(run.escaped, std::nullopt);
                EXPECT_EQ(run.result.has_value(), !run.wasMet() || plan.kind != FaultKind::kill);
                check(run.result);
                if (!run.wasMet()) {
                    EXPECT_EQ(run.result, "exported");
                    break;
                }
                ++faults;
            }
        }
    }
    RecordProperty("faults", int(faults));
    EXPECT_GT(faults, 60U);
}

TEST_F(ExportFaultTests, NorDoesACodecThatBreaksDownOrMemoryThatRunsOut) {
    std::size_t faults = 0;
    for (const int failures : {0, 2}) {
        for (const LibraryFault fault : {LibraryFault::refuse, LibraryFault::raise}) {
            const std::size_t every = step(failures == 0 ? 16 : 48);
            for (std::size_t at = 1 + std::size_t(failures);; at += every) {
                prepare();
                const FaultedRun run =
                    runWithFault({.below = folder_ / "nothing", .limit = std::chrono::seconds(30)}, [&] {
                        armLibraryFault(at, fault);
                        const std::string outcome = exportMovie(failures);
                        return (libraryCalls() < at ? "-" : "+") + outcome;
                    });
                SCOPED_TRACE(testing::Message() << int(fault) << " at " << at << ": "
                                                << run.result.value_or(run.escaped.value_or("no result"))
                                                << " signal " << run.signal);
                EXPECT_FALSE(run.isHanging);
                ASSERT_TRUE(run.result);
                check(run.result->substr(1));
                if (run.result->front() == '-') {
                    break;
                }
                ++faults;
            }
        }
    }
    RecordProperty("faults", int(faults));
    EXPECT_GT(faults, 60U);
}

} // namespace
} // namespace tavrin
