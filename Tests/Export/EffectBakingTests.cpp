#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ExportFixtures.h"
#include "TavrinKit/Compositing/EffectBakingError.h"
#include "TavrinKit/Compositing/EffectRenderPlan.h"
#include "TavrinKit/Compositing/FFmpegEffectBakingRenderer.h"
#include "TavrinKit/Compositing/MockEffectBakingRenderer.h"
#include "TavrinKit/Export/FFmpegMP4Exporter.h"
#include "TavrinKit/Project/PremiumDefaults.h"

namespace tavrin {
namespace {

using namespace fixtures;

/// A package with a screen movie of one second: a green picture, with a quiet sound.
EditorSession makeSession(const TemporaryFolder& folder,
                          const std::function<void(TimelineModel&)>& edit = {}) {
    SyntheticMovie movie;
    movie.size = {640, 360};
    movie.times = {0, 0.5};
    movie.endTime = 1;
    movie.picture = [](int) {
        return flatPicture({640, 360}, {145, 54, 34});
    };
    movie.sound = std::vector<float>(48000, 0.1F);
    ProjectManifest manifest;
    manifest.cameraTracks = {{"camera.mov", 0, 0}};
    const ProjectPackage package(folder.path("package"), manifest);
    package.createDirectoriesIfNeeded();
    write(movie, package.screenURL());
    EditsDocument edits;
    edits.timeline = PremiumDefaults::timelineModel();
    if (edit) {
        edit(edits.timeline);
    }
    return {package, std::make_shared<EventTimeline>(), edits};
}

TEST(EffectBakingTests, EditsThatWouldBeMissingAreRefused) {
    const std::vector<std::pair<std::string, std::function<void(TimelineModel&)>>> cases{
        {"Trims can't be exported yet.",
         [](TimelineModel& t) {
             t.trimRange = ClipTimeRange{0.1, 1};
         }},
        {"Trims can't be exported yet.",
         [](TimelineModel& t) {
             t.trimRange = ClipTimeRange{0, 0.9};
         }},
        {"Speed changes can't be exported yet.",
         [](TimelineModel& t) {
             t.speedTrack.regions.emplace_back().endTime = 1;
         }},
        {"Extra sound tracks can't be exported yet.",
         [](TimelineModel& t) {
             t.extraAudioTrack.regions.emplace_back();
         }},
        {"Camera pictures can't be exported yet.",
         [](TimelineModel& t) {
             t.cameraPiPTrack.style.enabled = true;
         }},
        {"Annotations can't be exported yet.",
         [](TimelineModel& t) {
             t.annotationTrack.regions.emplace_back();
         }},
        {"Watermarks can't be exported yet.",
         [](TimelineModel& t) {
             t.watermarkTrack.style.enabled = true;
         }},
        {"",
         [](TimelineModel& t) {
             t.trimRange = ClipTimeRange{0.004, 0.996};
         }},
        {"",
         [](TimelineModel& t) {
             t.trimRange = ClipTimeRange{0, 5};
         }},
    };
    for (const auto& [sentence, edit] : cases) {
        const TemporaryFolder folder;
        std::string told;
        try {
            const auto prepared =
                FFmpegEffectBakingRenderer().prepareExport(makeSession(folder, edit), smallPreset(), {});
            EXPECT_TRUE(prepared.usesDirectComposition());
        } catch (const EffectBakingError& error) {
            told = error.what();
        }
        EXPECT_EQ(told, sentence);
    }
}

TEST(EffectBakingTests, AFreshTakeIsExportedWithItsFraming) {
    const TemporaryFolder folder;
    const ExportPreset preset = smallPreset(640, 360);
    PreparedEffectExport prepared =
        FFmpegEffectBakingRenderer().prepareExport(makeSession(folder), preset, {});
    EXPECT_EQ(prepared.sourceURL, folder.path("package") / "screen.mov");
    EXPECT_EQ(prepared.temporaryMediaURL, std::nullopt);
    ASSERT_TRUE(prepared.audioMix);

    ExportRequest job = request(prepared.sourceURL, folder.path("out.mp4"), preset);
    job.sourceAsset = prepared.sourceAsset;
    job.videoComposition = prepared.videoComposition;
    job.audioMix = prepared.audioMix;
    EXPECT_EQ(FFmpegMP4Exporter().exportMovie(job).frameCount, 60);

    VideoReader reader(folder.path("out.mp4"));
    const auto picture = reader.next();
    ASSERT_TRUE(picture);
    EXPECT_NEAR(meanOfMiddle(picture->pixels, 0), 145, 3);
    EXPECT_NEAR(meanOfMiddle(picture->pixels, 1), 54, 3);
    EXPECT_LT(picture->pixels.row(0, 3)[3], 80) << "the corner belongs to the dark background";
    EXPECT_EQ(soundOf(folder.path("out.mp4")).size() / 4800, 10U);
}

TEST(EffectBakingTests, AMovieThatCannotBeOpenedAndACancelledPlan) {
    const TemporaryFolder folder;
    const EditorSession session = makeSession(folder);
    std::stop_source stopped;
    stopped.request_stop();
    const auto kindOf = [&](std::stop_token stop) {
        try {
            static_cast<void>(
                FFmpegEffectBakingRenderer().prepareExport(session, smallPreset(), std::move(stop)));
        } catch (const ExportError& error) {
            return std::optional(error.kind());
        }
        return std::optional<ExportErrorKind>();
    };
    EXPECT_EQ(kindOf(stopped.get_token()), ExportErrorKind::cancelled);
    EXPECT_EQ(kindOf({}), std::nullopt);
    std::filesystem::resize_file(session.package().screenURL(), 100);
    EXPECT_EQ(kindOf({}), ExportErrorKind::exportFailed);
    EXPECT_THROW(static_cast<void>(FFmpegEffectBakingRenderer().bake(session, smallPreset(), {})),
                 EffectBakingError);
}

TEST(EffectBakingTests, APreparationThatIsABakeIsNotDirect) {
    const TemporaryFolder folder;
    MockEffectBakingRenderer renderer;
    PreparedEffectExport prepared = renderer.prepareExport(makeSession(folder), smallPreset(), {});
    EXPECT_FALSE(prepared.usesDirectComposition());
    EXPECT_EQ(prepared.temporaryMediaURL, std::nullopt) << "the mock's file is not the caller's to remove";
    EXPECT_EQ(renderer.snapshot().bakeCalls, 1);
    prepared.audioMix = AudioMix();
    EXPECT_TRUE(prepared.usesDirectComposition());
    prepared.temporaryMediaURL = "baked.mov";
    EXPECT_FALSE(prepared.usesDirectComposition());
}

TEST(EffectBakingTests, TrackVolumesFollowRolesAndFades) {
    AudioMixState state;
    state.setStyle({0, true, 1, 1, NoiseReductionLevel::off}, AudioTrackRole::system);
    state.setStyle({6, false, 2, 30, NoiseReductionLevel::high}, AudioTrackRole::microphone);
    state.trackStyles[AudioTrackRole::camera] = {30, false, 0, 0, NoiseReductionLevel::low};
    const std::vector<double> volumes = resolvedTrackVolumes(4, state);
    ASSERT_EQ(volumes.size(), 4U);
    EXPECT_EQ(volumes[0], 0);
    EXPECT_NEAR(volumes[1], 1.51356, 1e-5);
    EXPECT_EQ(volumes[2], 4);
    EXPECT_EQ(volumes[3], 4);
    EXPECT_EQ(resolvedTrackVolumes(1, {}), std::vector<double>{1});

    const AudioMix mix = makeAudioMix(2, state, 8);
    const double full = volumes[1];
    const std::vector<std::tuple<int, double, double>> cases{
        {0, 0.5, 0},      {0, 4, 0}, {0, 7.9, 0}, // a muted role never rises
        {1, 0, full},                             // a fade-out of 30 seconds is the whole movie
        {1, 4, full / 2}, {1, 8, 0}, {1, 9, 0},   {2, 4, 1}, {-1, 4, 1},
    };
    for (const auto& [track, time, volume] : cases) {
        EXPECT_NEAR(mix.volumeAt(track, time), volume, 1e-9) << track << " " << time;
    }
    state.setStyle({0, false, 2, 3, NoiseReductionLevel::off}, AudioTrackRole::microphone);
    const AudioTrackMix faded = makeAudioMix(2, state, 8).tracks[1];
    for (const auto& [time, volume] :
         std::vector<std::pair<double, double>>{{0, 0}, {0.5, 0.25}, {2, 1}, {4.9, 1}, {6.5, 0.5}, {8, 0}}) {
        EXPECT_NEAR(faded.volumeAt(time), volume, 1e-9) << time;
    }
}

} // namespace
} // namespace tavrin
