#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "../Project/WildEdits.h"
#include "PlanFixtures.h"
#include "TavrinKit/Compositing/EffectBakingError.h"
#include "TavrinKit/Compositing/EffectRenderPlan.h"
#include "TavrinKit/Imaging/ImageRenderer.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

using namespace test;

EffectRenderPlan planOf(const EditorSession& session, double fps = 60) {
    return makeEffectRenderPlan(session, smallPreset(192, 108, fps), {});
}

[[nodiscard]] PixelBuffer drawn(const Image& image) {
    return ImageRenderer().render(image, {0, 0, 192, 108}, PixelFormat::i420);
}

/// Trimmed to 0.5...2.5; the first second of that twice as fast, the next half second at half speed.
TEST(EffectRenderPlanTests, PicturesAndSoundsMeetAtTheBordersOfEveryRegion) {
    const TemporaryFolder folder;
    writeTone(folder / "extra.m4a", extraTone, 0.4);
    const EditorSession session = makeTake(
        folder,
        [&](TimelineModel& timeline) {
            timeline.trimRange = ClipTimeRange{0.5, 2.5};
            timeline.speedTrack.regions = {
                {.startTime = 1.5, .endTime = 2, .speed = PlaybackSpeed::x05},
                {.startTime = 0.5, .endTime = 1.5, .speed = PlaybackSpeed::x2},
            };
            timeline.extraAudioTrack.regions = {
                {.startTime = 1.5, .endTime = 9, .filePath = (folder / "extra.m4a").string(), .volume = 3},
                {.startTime = 2.6, .endTime = 2.7, .filePath = "not reached by the trim"},
            };
            timeline.audioMix.setStyle({.gainDB = 6, .fadeOutSeconds = 1}, AudioTrackRole::microphone);
        },
        {.microphone = true});
    const EffectRenderPlan plan = planOf(session);
    EXPECT_NEAR(plan.asset.duration(), 2, 1e-5);
    const auto pictures = plan.asset.openVideo();
    const std::vector<std::pair<double, int>> cases{
        {0, 30}, {1, 32}, {29, 88}, {30, 90}, {31, 90}, {32, 91}, {89, 119}, {90, 120}, {119, 149},
    };
    for (const auto& [frame, number] : cases) {
        EXPECT_EQ(numberIn(pictures->frame(frame / 60.0).value().pixels), number) << frame;
    }
    ASSERT_EQ(plan.asset.audioTrackCount(), 3);
    EXPECT_GT(toneLevel(plan.asset, 0, systemTone, 0.6, 1.9), 0.1);
    EXPECT_GT(toneLevel(plan.asset, 1, microphoneTone, 0.6, 1.9), 0.1);
    EXPECT_LT(toneLevel(plan.asset, 2, extraTone, 0, 0.49), 0.01);
    EXPECT_GT(toneLevel(plan.asset, 2, extraTone, 0.52, 0.88), 0.1) << "at its own speed";
    EXPECT_LT(toneLevel(plan.asset, 2, extraTone, 0.93, 2), 0.01) << "as long as its file";
    ASSERT_TRUE(plan.audioMix);
    EXPECT_NEAR(plan.audioMix->volumeAt(1, 1.5), std::pow(10, 0.3) / 2, 1e-4) << "fades on the edited clock";
    EXPECT_EQ(plan.audioMix->volumeAt(2, 1.999), 2);
}

TEST(EffectRenderPlanTests, ATrackKeepsItsRoleWhereverItStands) {
    using enum AudioTrackRole;
    const std::vector<std::pair<TakeOptions, std::vector<AudioTrackRole>>> cases{
        {{.screenSound = false, .microphone = true, .systemFile = true},
         {microphone, AudioTrackRole::system}},
        {{.screenSound = false}, {}},
    };
    for (const auto& [options, roles] : cases) {
        const TemporaryFolder folder;
        const EffectRenderPlan plan = planOf(makeTake(
            folder, [](TimelineModel& t) { t.audioMix.setStyle({.gainDB = 6}, microphone); }, options));
        ASSERT_EQ(plan.asset.audioTrackCount(), int(roles.size()));
        ASSERT_EQ(plan.audioMix.has_value(), !roles.empty());
        for (int track = 0; track < int(roles.size()); ++track) {
            const bool isMicrophone = roles[std::size_t(track)] == microphone;
            const double tone = isMicrophone ? microphoneTone : systemTone;
            EXPECT_GT(toneLevel(plan.asset, track, tone, 0.5, 1), 0.1);
            EXPECT_EQ(plan.audioMix->volumeAt(track, 1) > 1, isMicrophone);
        }
    }
}

TEST(EffectRenderPlanTests, SideFilesThatAreNoUseAreLeftOut) {
    const TemporaryFolder folder;
    const std::filesystem::path extra = folder / "extra.m4a";
    writeTone(extra, extraTone, 0.4);
    const EditorSession session =
        makeTake(folder,
                 [&](TimelineModel& timeline) {
                     timeline.cameraPiPTrack.style.enabled = true;
                     timeline.extraAudioTrack.regions = {
                         {.startTime = 0.5, .endTime = 1, .filePath = " " + extra.string()}};
                 },
                 {.microphone = true, .camera = true});
    EXPECT_EQ(planOf(session).asset.audioTrackCount(), 3);
    EXPECT_TRUE(planOf(session).videoComposition.openSource);
    removeFile(folder / "package" / "mic_audio.m4a");
    writeFileAtomically(folder / "package" / "camera.mov", "no media at all");
    EXPECT_EQ(planOf(session).asset.audioTrackCount(), 2);
    EXPECT_FALSE(planOf(session).videoComposition.openSource);
    std::filesystem::resize_file(extra, 0);
    EXPECT_EQ(planOf(session).asset.audioTrackCount(), 1);
    removeFile(extra);
    EXPECT_THROW(static_cast<void>(planOf(session)), EffectBakingError);
}

/// One composition run by two at once: each gets the edit's pictures, whichever way they are decoded.
TEST(EffectRenderPlanTests, EveryRunOfACompositionReadsTheSamePictures) {
    for (const double blur : {0.65, 0.0}) {
        const TemporaryFolder folder;
        const EffectRenderPlan plan = planOf(makeTake(
            folder,
            [&](TimelineModel& timeline) {
                timeline.trimRange = ClipTimeRange{0.5, 2.5};
                timeline.speedTrack.regions = {{.startTime = 1, .endTime = 2, .speed = PlaybackSpeed::x05}};
                timeline.motionBlurStyle.intensity = blur;
                timeline.cameraPiPTrack.style.enabled = true;
            },
            {.camera = true}));
        const auto run = [&] {
            const SourcePreparation picture = plan.videoComposition.openSource();
            for (int frame = 0; frame < 180; frame += 7) {
                const int expected =
                    30 + std::min(frame, 30) + std::clamp(frame - 30, 0, 120) / 2 + std::max(frame - 150, 0);
                EXPECT_EQ(numberIn(drawn(picture(frame / 60.0).value())), expected) << blur << " " << frame;
            }
        };
        const std::jthread other(run);
        run();
    }
}

/// The screen stands still for a second, in which the camera has come nearer; then a picture like the last
/// one is recorded. Samples of the old picture mustn't show it from where the camera was when it came.
TEST(EffectRenderPlanTests, APictureThatStoodLongLeavesNoGhostOfAnEarlierZoom) {
    const TemporaryFolder folder;
    const EditorSession session = makeTake(folder, [](TimelineModel& timeline) {
        timeline.motionBlurStyle.intensity = 0.65;
        timeline.zoomTrack.segments = {{.startTime = 0.3, .endTime = 2.5, .focus = {0.5, 0.5}, .scale = 2}};
    });
    SyntheticMovie still{.times = {0, 1.0 / 60, 1.5, 1.5 + 1.0 / 60}, .endTime = 3};
    still.picture = [](int) {
        const PixelBuffer picture = flat({192, 108}, 16, 128, 128);
        for (int y = 34; y < 74; ++y) {
            std::fill_n(picture.row(0, y) + 76, 40, std::uint8_t(235));
        }
        return picture;
    };
    write(still, session.package().screenURL());
    const EffectRenderPlan plan = planOf(session, 30);
    const SourcePreparation picture = plan.videoComposition.openSource();
    const auto lightAt = [&](int number) {
        const double time = number / 30.0;
        const PixelBuffer frame = drawn(plan.videoComposition.handler({time, picture(time).value()}));
        double sum = 0;
        for (int y = 0; y < 108; ++y) {
            sum = std::accumulate(frame.row(0, y), frame.row(0, y) + 192, sum);
        }
        return sum / (192 * 108);
    };
    const double before = lightAt(44);
    EXPECT_GT(before, 2 * lightAt(0)) << "the camera is near";
    EXPECT_NEAR(lightAt(45), before, 0.5);
    EXPECT_NEAR(lightAt(46), before, 0.5);
}

TEST(EffectRenderPlanTests, WhateverNumbersADocumentHoldsThereIsAMovie) {
    const TemporaryFolder folder;
    writeTone(folder / "extra.m4a", extraTone, 0.4);
    EditorSession session = makeTake(folder, [&](TimelineModel& timeline) {
        timeline.trimRange = ClipTimeRange{0.5, 2.5};
        timeline.speedTrack.regions = {{.startTime = 0.6, .endTime = 1}, {.startTime = 1, .endTime = 2}};
        timeline.zoomTrack.segments = {{.startTime = 0.5, .endTime = 1.5, .scale = 1.8}};
        timeline.motionBlurStyle.intensity = 0.5;
        timeline.annotationTrack.regions = {{.startTime = 0, .endTime = 3, .content = "word"}};
        timeline.extraAudioTrack.regions = {
            {.startTime = 0.7, .endTime = 1, .filePath = (folder / "extra.m4a").string()}};
        timeline.audioMix.setStyle({}, AudioTrackRole::system);
    });
    Json sound;
    encode(sound, session.edits().timeline);
    std::mt19937 random(5);
    for (int round = 0; round < 60; ++round) {
        Json damaged = sound;
        makeWild(damaged, random, 4);
        session.mutateTimeline([&](TimelineModel& timeline) { decode(damaged, timeline); });
        const EffectRenderPlan plan = planOf(session);
        ASSERT_TRUE(plan.asset.duration() > 0 && plan.asset.duration() <= 12) << damaged;
        for (const double time : {0.0, plan.asset.duration()}) {
            const Image frame = plan.videoComposition.handler(
                {time, Image::pixels(plan.asset.openVideo()->frame(time).value().pixels)});
            EXPECT_EQ(frame.extent(), (Rect{0, 0, 192, 108})) << damaged;
        }
    }
}

} // namespace
} // namespace tavrin
