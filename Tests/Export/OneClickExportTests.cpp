#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "OneClickFixtures.h"
#include "PlanFixtures.h"
#include "TavrinKit/Compositing/FFmpegEffectBakingRenderer.h"
#include "TavrinKit/Export/FFmpegMP4Exporter.h"
#include "TavrinKit/Export/MockMP4Exporter.h"
#include "TavrinKit/Export/OneClickExportError.h"
#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

using namespace test;
namespace fs = std::filesystem;
using enum ExportProgressStage;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::FieldsAre;

auto update(ExportProgressStage stage, double fraction, const std::string& message) {
    return FieldsAre(stage, DoubleNear(fraction, 1e-12), message);
}

PreparedEffectExport toCompose() {
    PreparedEffectExport prepared;
    prepared.sourceURL = "screen.mov";
    prepared.audioMix = AudioMix();
    return prepared;
}

using FilePointer = std::unique_ptr<std::FILE, decltype([](std::FILE* file) { std::fclose(file); })>;

void pass(const ExportResult&, const std::stop_token&) {}

EditorSession sessionWithoutFiles(const TemporaryFolder& folder) {
    return {ProjectPackage(folder / "package", {}), std::make_shared<EventTimeline>(), {}};
}

struct Outcome {
    std::vector<ExportProgressUpdate> told;
    ExportResult result;
    std::string failure; ///< empty when there is a movie
};

/// Exports to out.mp4 in the folder. Whoever listens fails when the movie is in its place.
Outcome exportScripted(const TemporaryFolder& folder, const std::shared_ptr<MP4Exporting>& exporter,
                       const std::shared_ptr<ScriptedRenderer>& renderer, int maxRetries,
                       const ExportReliabilityGuard::Validator& validator = pass,
                       const ExportPreset& preset = smallPreset()) {
    Outcome outcome;
    try {
        outcome.result = oneClick(exporter, renderer, maxRetries, validator)
                             .exportMovie(sessionWithoutFiles(folder), folder / "out.mp4", preset,
                                          [&](const ExportProgressUpdate& u) {
                                              outcome.told.push_back(u);
                                              if (u.message == "Export completed.") {
                                                  throw std::runtime_error("nobody listens any more");
                                              }
                                          });
    } catch (const std::exception& error) {
        outcome.failure = error.what();
    }
    return outcome;
}

TEST(OneClickExportTests, TellsOfADirectExportAndItsFallbackToTheLetter) {
    const TemporaryFolder folder;
    const fs::path bake = folder / "baked.mov";
    const fs::path destination = folder / "out.mp4";
    const auto renderer = std::make_shared<ScriptedRenderer>();
    std::size_t filesDuringBake = 0;
    renderer->onPrepare = toCompose;
    renderer->onBake = [&] {
        filesDuringBake = folder.names().size();
        writeFileAtomically(bake, "baked");
        return EffectBakeResult{bake, true};
    };
    ExportPreset preset = smallPreset();
    preset.container = ExportContainer::mov;
    preset.fps = 500;
    const Outcome outcome =
        exportScripted(folder, std::make_shared<MockMP4Exporter>(2), renderer, 1, pass, preset);
    const auto share = [](double base, double span, double fraction) {
        return base + span * fraction;
    };
    const double reached = share(0.22, 0.76, 0.99);
    EXPECT_THAT(
        outcome.told,
        ElementsAre(
            update(preparing, 0.02, "Preparing export pipeline."),
            update(preparing, 0.05,
                   "FPS clamped to 120. Container adjusted to MP4 for the current exporter."),
            update(preparing, 0.08, "Preparing effects for export."),
            update(preparing, 0.18, "Direct effect composition ready."),
            update(transcoding, 0.22, "Starting direct MP4 export."),
            update(transcoding, 0.22, "Starting export attempt 1 of 2."),
            update(transcoding, share(0.22, 0.76, 0.075), "Transcoding export attempt 1 of 2."),
            update(retrying, share(0.22, 0.76, 0.495), "Attempt 1 failed: MP4 export failed.. Retrying."),
            update(transcoding, share(0.22, 0.76, 0.5), "Starting export attempt 2 of 2."),
            update(transcoding, share(0.22, 0.76, 0.575), "Transcoding export attempt 2 of 2."),
            update(retrying, reached, "Attempt 2 failed: MP4 export failed.. Retrying."),
            update(retrying, reached,
                   "Direct export path failed. Retrying with loss-resistant intermediate."),
            update(baking, reached, "Baking camera, framing, cursor, and motion blur effects."),
            update(baking, reached, "Effects baked successfully."),
            update(transcoding, reached, "Starting MP4 transcoding."),
            update(transcoding, reached, "Starting export attempt 1 of 2."),
            update(transcoding, reached, "Transcoding export attempt 1 of 2."),
            update(transcoding, reached, "Transcoding export attempt 1 of 2."),
            update(validating, reached, "Validating exported media."),
            update(completed, 0.98, "Export validation passed."), update(completed, 1, "Export completed.")));
    EXPECT_EQ(outcome.failure, "");
    EXPECT_EQ(filesDuringBake, 0U);
    EXPECT_EQ(outcome.result.outputURL, destination);
    EXPECT_EQ(readFile(destination), "mock-mp4");
    EXPECT_EQ(folder.names().size(), 1U) << "the bake has gone";
    EXPECT_EQ(renderer->bakedPresets.at(0).fps, 120);
}

/// Whatever goes wrong, an older movie stays, nothing else does, and the sentence is that of the last
/// failure.
TEST(OneClickExportTests, AFailureLeavesTheFolderAsItWas) {
    const TemporaryFolder folder;
    const fs::path destination = folder / "out.mp4";
    writeFileAtomically(destination, "an older movie");
    const auto baked = [&] {
        writeFileAtomically(folder / "baked.mov", "baked");
        return EffectBakeResult{folder / "baked.mov", true};
    };
    const auto cannotBake = []() -> EffectBakeResult {
        throw std::runtime_error("no room to bake");
    };
    const auto reject = [](const ExportResult&, const std::stop_token&) {
        throw std::runtime_error("rejected");
    };
    const auto notNow = []() -> PreparedEffectExport {
        throw ExportError::cancelled();
    };
    struct Case {
        std::string sentence;
        std::function<PreparedEffectExport()> prepare;
        std::function<EffectBakeResult()> bake;
        int failures;
        ExportReliabilityGuard::Validator validator;
    };
    const std::vector<Case> cases{
        {"no room to bake", toCompose, cannotBake, 9, pass},
        {"MP4 export failed.", toCompose, baked, 9, pass},
        {"rejected", toCompose, baked, 0, reject},
        {"MP4 export cancelled.", notNow, baked, 0, pass},
    };
    for (const Case& c : cases) {
        const auto renderer = std::make_shared<ScriptedRenderer>();
        renderer->onPrepare = c.prepare;
        renderer->onBake = c.bake;
        const Outcome outcome =
            exportScripted(folder, std::make_shared<MockMP4Exporter>(c.failures), renderer, 1, c.validator);
        EXPECT_EQ(outcome.failure, c.sentence);
        EXPECT_TRUE(std::ranges::is_sorted(outcome.told, {}, &ExportProgressUpdate::fractionCompleted));
        EXPECT_LT(outcome.told.back().fractionCompleted, 1);
        EXPECT_EQ(readFile(destination), "an older movie");
        EXPECT_EQ(folder.names().size(), 1U) << c.sentence;
    }
}

TEST(OneClickExportTests, PresetsAndDestinationsThatWillNotDoAreRefusedBeforeAnyWork) {
    const TemporaryFolder folder;
    const EditorSession session = makeTake(folder, [](TimelineModel& timeline) {
        timeline.framingTrack.style.background.content = BackgroundStyle::Image{"../background.png"};
        timeline.watermarkTrack.style.imagePath = "../watermark.png";
        timeline.annotationTrack.regions.emplace_back().imagePath = " ../annotation.png";
    });
    for (const char* picture : {"background.png", "watermark.png", "annotation.png"}) {
        writeFileAtomically(folder / picture, "a picture");
    }
    fs::create_directory(folder / "folder");
    fs::create_symlink("package/screen.mov", folder / "alias.mov");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    const std::size_t files = folder.names().size();
    const auto renderer = std::make_shared<ScriptedRenderer>();
    renderer->onPrepare = []() -> PreparedEffectExport {
        ADD_FAILURE() << "work has begun";
        return {};
    };
    const auto refusal = [&](const fs::path& destination, const ExportPreset& preset = smallPreset()) {
        try {
            oneClick(std::make_shared<MockMP4Exporter>(), renderer, 0, pass, false)
                .exportMovie(session, destination, preset);
        } catch (const OneClickExportError& error) {
            return std::string(error.what());
        } catch (const FileError& error) {
            return std::string(error.what());
        }
        return std::string("exported");
    };
    const std::vector<std::pair<std::string, const char*>> cases{
        {"folder", "Choose another name."},
        {"alias.mov", "Choose another name."},
        {"background.png", "Choose another name."},
        {"watermark.png", "Choose another name."},
        {"annotation.png", "Choose another name."},
        {"pipe", "Unable to replace"},
        {"missing/out.mp4", "Check that the folder still exists."},
        {std::string(300, 'x'), "Choose another name."},
    };
    for (const auto& [name, sentence] : cases) {
        EXPECT_THAT(refusal(folder / name), testing::HasSubstr(sentence)) << name;
    }
    ExportPreset preset = smallPreset(3840, 2160);
    preset.compatibility.allowResolutionFallback = false;
    EXPECT_EQ(refusal(folder / "missing/out.mp4", preset), "4K export is not supported on this machine.");
    EXPECT_EQ(folder.names().size(), files);
}

TEST(OneClickExportTests, WhatKilledExportsLeftGoesAndNothingElse) {
    struct File {
        std::string name;
        int minutes; ///< since it was written
        bool isInUse;
        bool stays;
    };
    const std::string id = "0b0e1bcd-37a8-4c0a-9b0e-6f6e6b0a2f11";
    const std::vector<File> files{
        {hiddenPathBeside("a.mp4").string(), 60, false, false},
        {hiddenPathBeside("b.mp4").string(), 60, true, true},
        {hiddenPathBeside("c.mp4").string(), 1, false, true},
        {".notes.tmp", 60, false, true},
        {"." + id + ".tmp", 60, false, true},
        {"d." + id + ".tmp", 60, false, true},
    };
    const TemporaryFolder folder;
    std::vector<FilePointer> open;
    for (const File& file : files) {
        open.emplace_back(std::fopen((folder / file.name).c_str(), "w"));
        ASSERT_EQ(file.isInUse ? ::flock(::fileno(open.back().get()), LOCK_EX) : 0, 0);
        fs::last_write_time(folder / file.name,
                            fs::file_time_type::clock::now() - std::chrono::minutes(file.minutes));
    }
    const auto renderer = std::make_shared<ScriptedRenderer>();
    renderer->onPrepare = toCompose;
    oneClick(std::make_shared<MockMP4Exporter>(), renderer, 0, pass)
        .exportMovie(sessionWithoutFiles(folder), folder / "out.mp4", smallPreset());
    for (const File& file : files) {
        EXPECT_EQ(fs::exists(folder / file.name), file.stays) << file.name;
    }
}

TEST(OneClickExportTests, FractionsNeverFallThoughManyThreadsReport) {
    std::vector<double> heard;
    OneClickExporter::ProgressForwarder* self = nullptr;
    OneClickExporter::ProgressForwarder forwarder([&](const ExportProgressUpdate& u) {
        heard.push_back(u.fractionCompleted); // one call at a time
        if (heard.size() == 10) {
            self->report({transcoding, 0.5, ""}); // from inside a call
        }
    });
    self = &forwarder;
    constexpr int threads = 4;
    constexpr int reports = 2000;
    {
        std::vector<std::jthread> reporters;
        for (int t = 0; t < threads; ++t) {
            reporters.emplace_back([&, t] {
                for (int i = 0; i < reports; ++i) {
                    forwarder.report({transcoding, double(i + t) / reports, ""});
                }
            });
        }
    }
    EXPECT_EQ(heard.size(), std::size_t(threads * reports + 1));
    EXPECT_TRUE(std::is_sorted(heard.begin(), heard.end()));
    EXPECT_EQ(heard.back(), 1);
}

TEST(OneClickExportTests, CancellingAtAnyMomentLeavesTheFolderAsItWas) {
    const TemporaryFolder folder;
    const TemporaryFolder temporary;
    const EditorSession session = makeTake(folder, {}, {.microphone = true});
    const fs::path destination = folder / "out.mp4";
    const auto endsCancelled = [&](bool isBaked, const std::stop_source& stop,
                                   const OneClickExporter::ProgressHandler& onProgress) {
        writeFileAtomically(destination, "an older movie");
        const auto renderer = std::make_shared<FFmpegEffectBakingRenderer>();
        OneClickExporter exporter = oneClick(std::make_shared<TiredExporter>(isBaked ? 1 : 0), renderer, 0);
        bool isCancelled = false;
        try {
            exporter.exportMovie(session, destination, smallPreset(160, 120), onProgress, stop.get_token());
            EXPECT_GT(probeMedia(destination).duration, 2.9);
        } catch (...) {
            isCancelled = isCancelledExport(std::current_exception());
            EXPECT_TRUE(isCancelled) << describe(std::current_exception());
            EXPECT_EQ(readFile(destination), "an older movie");
        }
        EXPECT_EQ(folder.names().size(), 2U);
        EXPECT_EQ(temporary.names().size(), 0U);
        return isCancelled;
    };
    ::setenv("TMPDIR", (temporary / "").c_str(), 1);
    std::mt19937 random(7);
    for (const bool isBaked : {false, true}) {
        int updates = 0;
        EXPECT_FALSE(endsCancelled(isBaked, {}, [&](const ExportProgressUpdate&) { ++updates; }));
        ASSERT_GT(updates, 150) << "one a frame";
        // Any but the last update, which tells of the movie in its place.
        std::uniform_int_distribution moment(1, updates - 1);
        for (int round = 0; round < 10; ++round) {
            std::stop_source stop;
            int left = moment(random);
            EXPECT_TRUE(endsCancelled(isBaked, stop, [&](const ExportProgressUpdate&) {
                if (--left == 0) {
                    stop.request_stop();
                }
            }));
        }
    }
    // A bake doesn't report: cancelled as soon as there is something of it.
    std::stop_source stop;
    std::jthread watch;
    EXPECT_TRUE(endsCancelled(true, stop, [&](const ExportProgressUpdate& u) {
        watch = {}; // a bake that was over first is cancelled, too
        if (u.stage == baking) {
            watch = std::jthread([&](const std::stop_token& isOver) {
                while (!isOver.stop_requested() && temporary.names().empty()) {
                    std::this_thread::yield();
                }
                stop.request_stop();
            });
        }
    }));
    ::unsetenv("TMPDIR");
}

} // namespace
} // namespace tavrin
