#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "ExportFixtures.h"
#include "PlanFixtures.h"
#include "TavrinKit/Compositing/AudioMixing.h"
#include "TavrinKit/Compositing/EffectBakingError.h"
#include "TavrinKit/Compositing/EffectRenderPlan.h"
#include "TavrinKit/Compositing/SourceTiming.h"
#include "TavrinKit/Imaging/FrameSequence.h"
#include "TavrinKit/Imaging/ImageRenderer.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

using namespace fixtures;

EffectRenderPlan planOf(const EditorSession& session, const ExportPreset& preset = smallPreset()) {
    return makeEffectRenderPlan(session, preset, {});
}

int numberAt(AssetVideoReader& reader, double time) {
    const auto frame = reader.frame(time);
    return frame ? numberIn(frame->pixels) : -1;
}

/// How loud each of a take's tones is in a stretch of a track.
struct Tones {
    double system = 0;
    double microphone = 0;
    double extra = 0;
};

Tones tonesIn(const MediaAsset& asset, int track, double from, double to) {
    std::vector<float> sound(std::size_t(std::llround(to * 48000)));
    asset.openAudio(track, 48000, 1)->read(sound);
    sound.erase(sound.begin(), sound.begin() + std::llround(from * 48000));
    return {toneLevel(sound, systemTone), toneLevel(sound, microphoneTone), toneLevel(sound, extraTone)};
}

PixelBuffer drawn(const Image& image) {
    return ImageRenderer().render(image, {0, 0, 192, 108}, PixelFormat::i420);
}

TEST(EffectRenderPlanTests, AnUneditedTakePlaysStraightFromItsRecording) {
    const TemporaryFolder folder;
    const EditorSession session = makeTake(folder, [](TimelineModel& timeline) {
        timeline.trimRange = ClipTimeRange{0.004, 2.996};
        timeline.speedTrack.regions.push_back({.startTime = 5, .endTime = 6});
    });
    const EffectRenderPlan plan = planOf(session);
    EXPECT_EQ(plan.asset.path(), session.package().screenURL());
    EXPECT_NEAR(plan.asset.duration(), 3, 1e-5);
    EXPECT_EQ(plan.asset.audioTrackCount(), 1);
    EXPECT_FALSE(plan.videoComposition.openSource) << "nothing but the recording's own pictures is sampled";
    EXPECT_EQ(plan.videoComposition.framesPerSecond, 60);
    EXPECT_EQ(plan.videoComposition.renderSize, (PixelSize{192, 108}));
}

/// Trimmed to 0.5...2.5; the first second of that twice as fast, the next half second at half speed.
TEST(EffectRenderPlanTests, PicturesAndSoundsMeetAtTheBordersOfEveryRegion) {
    const TemporaryFolder folder;
    writeTone(folder.path("extra.m4a"), extraTone, 0.4);
    const EditorSession session = makeTake(
        folder,
        [&](TimelineModel& timeline) {
            timeline.trimRange = ClipTimeRange{0.5, 2.5};
            timeline.speedTrack.regions = {
                {.startTime = 1.5, .endTime = 2, .speed = PlaybackSpeed::x05},
                {.startTime = 0.5, .endTime = 1.5, .speed = PlaybackSpeed::x2},
            };
            timeline.extraAudioTrack.regions = {
                {.startTime = 1.5, .endTime = 9, .filePath = folder.path("extra.m4a").string(), .volume = 3},
                {.startTime = 2.6, .endTime = 2.7, .filePath = "not reached by the trim"},
            };
            timeline.audioMix.setStyle({.muted = true}, AudioTrackRole::system);
            timeline.audioMix.setStyle({.gainDB = 6, .fadeOutSeconds = 1}, AudioTrackRole::microphone);
        },
        {.microphone = true});
    const EffectRenderPlan plan = planOf(session);
    EXPECT_NEAR(plan.asset.duration(), 2, 1e-5);

    const auto pictures = plan.asset.openVideo();
    const std::vector<std::pair<double, int>> cases{
        {0, 30},         {1.0 / 60, 32},   {29.0 / 60, 88}, {0.5, 90},         {31.0 / 60, 90},
        {32.0 / 60, 91}, {89.0 / 60, 119}, {1.5, 120},      {119.0 / 60, 149},
    };
    for (const auto& [time, number] : cases) {
        EXPECT_EQ(numberAt(*pictures, time), number) << time;
    }

    ASSERT_EQ(plan.asset.audioTrackCount(), 3);
    ASSERT_TRUE(plan.audioMix);
    EXPECT_EQ(plan.audioMix->volumeAt(0, 1), 0);
    EXPECT_NEAR(plan.audioMix->volumeAt(1, 0.5), std::pow(10, 0.3), 1e-9);
    EXPECT_NEAR(plan.audioMix->volumeAt(1, 1.5), std::pow(10, 0.3) / 2, 1e-4) << "fades on the edited clock";
    EXPECT_EQ(plan.audioMix->volumeAt(2, 1.999), 2);
    EXPECT_GT(tonesIn(plan.asset, 0, 0.6, 1.9).system, 0.1);
    EXPECT_GT(tonesIn(plan.asset, 1, 0.6, 1.9).microphone, 0.1);
    EXPECT_LT(tonesIn(plan.asset, 2, 0, 0.49).extra, 0.01);
    EXPECT_GT(tonesIn(plan.asset, 2, 0.52, 0.88).extra, 0.1) << "at its own speed";
    EXPECT_LT(tonesIn(plan.asset, 2, 0.93, 2).extra, 0.01) << "as long as its file";
}

TEST(EffectRenderPlanTests, ATrackKeepsItsRoleWhereverItStands) {
    struct Case {
        TakeOptions take;
        std::vector<AudioTrackRole> roles;
    };
    using enum AudioTrackRole;
    const std::vector<Case> cases{
        {{.screenSound = false, .microphone = true}, {microphone}},
        {{.screenSound = false, .microphone = true, .systemFile = true},
         {microphone, AudioTrackRole::system}},
        {{.microphone = true, .systemFile = true}, {AudioTrackRole::system, microphone}},
        {{.screenSound = false}, {}},
    };
    AudioMixState mixState;
    mixState.setStyle({.gainDB = 6}, AudioTrackRole::system);
    mixState.setStyle({.gainDB = -6}, microphone);
    for (const Case& take : cases) {
        const TemporaryFolder folder;
        const EditorSession session = makeTake(
            folder, [&](TimelineModel& timeline) { timeline.audioMix = mixState; }, take.take);
        const EffectRenderPlan plan = planOf(session);
        ASSERT_EQ(plan.asset.audioTrackCount(), int(take.roles.size()));
        ASSERT_EQ(plan.audioMix.has_value(), !take.roles.empty());
        for (int track = 0; track < int(take.roles.size()); ++track) {
            const bool isSystem = take.roles[std::size_t(track)] == AudioTrackRole::system;
            const Tones tones = tonesIn(plan.asset, track, 0.5, 1);
            EXPECT_GT(isSystem ? tones.system : tones.microphone, 0.1);
            EXPECT_EQ(plan.audioMix->volumeAt(track, 1) > 1, isSystem);
        }
    }
}

TEST(EffectRenderPlanTests, SideFilesThatAreNoUseAreLeftOut) {
    using Damage = std::function<void(const std::filesystem::path&)>;
    const std::vector<Damage> damages{
        [](const auto& path) { removeFile(path); },
        [](const auto& path) { std::filesystem::resize_file(path, 0); },
        [](const auto& path) { writeFileAtomically(path, "no media at all"); },
    };
    for (const Damage& damage : damages) {
        const TemporaryFolder folder;
        writeTone(folder.path("extra.m4a"), extraTone, 0.4);
        const EditorSession session = makeTake(
            folder,
            [&](TimelineModel& timeline) {
                timeline.cameraPiPTrack.style.enabled = true;
                timeline.extraAudioTrack.regions = {
                    {.startTime = 0.5, .endTime = 1, .filePath = " " + folder.path("extra.m4a").string()}};
            },
            {.microphone = true, .camera = true});
        const ProjectPackage& package = session.package();
        {
            const EffectRenderPlan whole = planOf(session);
            EXPECT_EQ(whole.asset.audioTrackCount(), 3);
            EXPECT_TRUE(whole.videoComposition.openSource);
        }
        damage(package.audioURL(package.manifest().audioTracks.front()));
        damage(package.cameraURL(package.manifest().cameraTracks.front()));
        EXPECT_EQ(planOf(session).asset.audioTrackCount(), 2);
        EXPECT_FALSE(planOf(session).videoComposition.openSource);

        damage(folder.path("extra.m4a"));
        if (std::filesystem::exists(folder.path("extra.m4a"))) {
            EXPECT_EQ(planOf(session).asset.audioTrackCount(), 1);
            continue;
        }
        try {
            static_cast<void>(planOf(session));
            ADD_FAILURE() << "a missing sound was not told";
        } catch (const EffectBakingError& error) {
            EXPECT_STREQ(error.what(), "Extra audio overlay file is missing.");
        }
    }
}

TEST(EffectRenderPlanTests, ACameraMovieWithoutOneWholePictureIsLeftOut) {
    const TemporaryFolder folder;
    const EditorSession session =
        makeTake(folder, [](TimelineModel& timeline) { timeline.cameraPiPTrack.style.enabled = true; },
                 {.camera = true});
    const auto path = session.package().cameraURL(session.package().manifest().cameraTracks.front());
    std::string movie = readFile(path);
    const std::size_t media = movie.find("mdat") + 4;
    std::fill(movie.begin() + std::ptrdiff_t(media), movie.begin() + std::ptrdiff_t(movie.find("moov") - 4),
              '\0');
    writeFileAtomically(path, movie);
    EXPECT_FALSE(planOf(session).videoComposition.openSource);
}

TEST(EffectRenderPlanTests, TheTimingOfASourceIsTold) {
    struct Case {
        const char* what;
        std::vector<double> times;
        double end;
        bool isVariable;
        double rate;
    };
    std::vector<double> lateGap = evenTimes(60, 60);
    for (double& time : lateGap) {
        time += time > 55.0 / 60 ? 0.25 : 0;
    }
    std::vector<double> jittered = evenTimes(60, 60);
    for (std::size_t i = 0; i < jittered.size(); ++i) {
        jittered[i] += i % 2 == 0 ? 0 : 0.0002;
    }
    const std::vector<Case> cases{
        {"even", evenTimes(90, 60), 1.5, false, 60},
        {"even at the recorder's resolution", evenTimes(120, 30), 4, false, 30},
        {"stamps that tremble", jittered, 1, false, 60},
        {"a gap at the start", {0, 1.0 / 60, 0.5, 0.5 + 1.0 / 60}, 1, true, 4},
        {"a gap behind the pictures that are looked at", lateGap, 1.25, true, 48},
        {"a last picture that stays", evenTimes(60, 60), 3, true, 20},
        {"one picture", {0}, 1, false, 1},
    };
    for (const Case& source : cases) {
        const TemporaryFolder folder;
        write({.times = source.times, .endTime = source.end}, folder.path("screen.mov"));
        const MediaAsset asset = MediaAsset::open(folder.path("screen.mov"));
        EXPECT_EQ(sourceHasVariableFrameTiming(asset), source.isVariable) << source.what;
        EXPECT_NEAR(inferredSourceFrameRate(asset, 99), source.rate, 0.6) << source.what;
    }
    const auto options = SourceTiming{12, true}.samplerOptions(5, false);
    EXPECT_DOUBLE_EQ(options.quantizer.frameStep, 1.0 / 60) << "a still screen is sampled as a moving one";
    EXPECT_DOUBLE_EQ((SourceTiming{144, true}.samplerOptions(5, false).quantizer.frameStep), 1.0 / 144);
    EXPECT_TRUE((SourceTiming{30, false}.samplerOptions(5, true).hasVariableTiming));
    EXPECT_DOUBLE_EQ((SourceTiming{30, false}.samplerOptions(5, true).quantizer.frameStep), 1.0 / 30);
}

/// One composition run by two at once: each gets the pictures of the edit, whichever way they are decoded.
TEST(EffectRenderPlanTests, EveryRunOfACompositionReadsTheSamePictures) {
    for (const bool isBlurred : {true, false}) {
        const TemporaryFolder folder;
        const EffectRenderPlan plan = planOf(makeTake(
            folder,
            [&](TimelineModel& timeline) {
                timeline.trimRange = ClipTimeRange{0.5, 2.5};
                timeline.speedTrack.regions = {{.startTime = 1, .endTime = 2, .speed = PlaybackSpeed::x05}};
                timeline.motionBlurStyle.intensity = isBlurred ? 0.65 : 0;
                timeline.cameraPiPTrack.style.enabled = true;
            },
            {.camera = true}));
        ASSERT_TRUE(plan.videoComposition.openSource);
        const auto run = [&](std::vector<int>& numbers) {
            const SourcePreparation picture = plan.videoComposition.openSource();
            for (int frame = 0; frame < 180; frame += 7) {
                const auto image = picture(frame / 60.0);
                numbers.push_back(image ? numberIn(drawn(*image)) : -1);
            }
        };
        std::vector<int> first;
        std::vector<int> second;
        {
            const std::jthread other([&] { run(second); });
            run(first);
        }
        std::vector<int> expected;
        for (int frame = 0; frame < 180; frame += 7) {
            const int beforeRegion = std::min(frame, 30);
            const int inRegion = std::clamp(frame - 30, 0, 120) / 2;
            expected.push_back(30 + beforeRegion + inRegion + std::max(frame - 150, 0));
        }
        EXPECT_EQ(first, expected) << isBlurred;
        EXPECT_EQ(second, expected) << isBlurred;
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
        const PixelBuffer picture = flatPicture({192, 108}, {16, 128, 128});
        for (int y = 34; y < 74; ++y) {
            std::fill_n(picture.row(0, y) + 76, 40, std::uint8_t(235));
        }
        return picture;
    };
    write(still, session.package().screenURL());
    const EffectRenderPlan plan = planOf(session, smallPreset(192, 108, 30));
    const SourcePreparation picture = plan.videoComposition.openSource();
    const auto lightOf = [&](double time) {
        const PixelBuffer frame = drawn(plan.videoComposition.handler({time, picture(time).value()}));
        double sum = 0;
        for (int y = 0; y < 108; ++y) {
            sum = std::accumulate(frame.row(0, y), frame.row(0, y) + 192, sum);
        }
        return sum / (192 * 108);
    };
    const double before = lightOf(44.0 / 30);
    EXPECT_GT(before, 2 * lightOf(0)) << "the camera is near";
    EXPECT_NEAR(lightOf(45.0 / 30), before, 0.5);
    EXPECT_NEAR(lightOf(46.0 / 30), before, 0.5);
}

/// Replaces fractions anywhere in a document by what no editor would write. A speed is one of a few names.
class Vandal {
public:
    explicit Vandal(unsigned seed) : random_(seed) {}

    void damage(Json& json) {
        for (auto& item : json.items()) {
            Json& value = item.value();
            if (value.is_structured()) {
                damage(value);
            } else if (value.is_number_float() && item.key() != "speed" && random_() % 4 == 0) {
                value = numbers_[random_() % numbers_.size()];
            }
        }
    }

private:
    std::minstd_rand random_;
    std::vector<double> numbers_{std::numeric_limits<double>::quiet_NaN(),
                                 std::numeric_limits<double>::infinity(),
                                 -std::numeric_limits<double>::infinity(),
                                 -1e300,
                                 1e300,
                                 5e-324,
                                 -1,
                                 0,
                                 0.5,
                                 1,
                                 2,
                                 1e6};
};

TEST(EffectRenderPlanTests, WhateverNumbersADocumentHoldsThereIsAMovie) {
    const TemporaryFolder folder;
    writeTone(folder.path("extra.m4a"), extraTone, 0.4);
    EditorSession session = makeTake(
        folder,
        [&](TimelineModel& timeline) {
            timeline.trimRange = ClipTimeRange{0.5, 2.5};
            timeline.speedTrack.regions = {{.startTime = 0.6, .endTime = 1}, {.startTime = 1, .endTime = 2}};
            timeline.zoomTrack.segments = {
                {.startTime = 0.5, .endTime = 1.5, .focus = {0.2, 0.8}, .scale = 1.8},
                {.startTime = 1, .endTime = 2, .focus = {30, 40}, .scale = 3}};
            timeline.cameraPiPTrack.style.enabled = true;
            timeline.watermarkTrack.style.enabled = true;
            timeline.motionBlurStyle.intensity = 0.5;
            timeline.framingTrack.style.padding = 10;
            for (const auto type : {AnnotationType::text, AnnotationType::image, AnnotationType::figure}) {
                timeline.annotationTrack.regions.push_back(
                    {.startTime = 0, .endTime = 3, .type = type, .content = "word"});
            }
            timeline.extraAudioTrack.regions = {
                {.startTime = 0.7, .endTime = 1, .filePath = folder.path("extra.m4a").string()}};
            timeline.audioMix.setStyle({}, AudioTrackRole::system);
        },
        {.camera = true});
    Json sound;
    encode(sound, session.edits().timeline);
    for (unsigned seed = 1; seed <= 40; ++seed) {
        Json damaged = sound;
        Vandal(seed).damage(damaged);
        SCOPED_TRACE(seed);
        session.mutateTimeline([&](TimelineModel& timeline) { decode(damaged, timeline); });
        const EffectRenderPlan plan = planOf(session);
        ASSERT_TRUE(std::isfinite(plan.asset.duration()));
        const SourcePreparation picture =
            plan.videoComposition.openSource ? plan.videoComposition.openSource() : SourcePreparation();
        const auto pictures = plan.asset.openVideo();
        FrameSequence sequence;
        for (const double share : {0.0, 0.4, 1.0}) {
            const double time = share * plan.asset.duration();
            const auto source =
                picture ? picture(time) : sequence.image(pictures->frame(time).value().pixels);
            ASSERT_TRUE(source);
            const Image frame = plan.videoComposition.handler({time, *source});
            EXPECT_EQ(frame.extent(), (Rect{0, 0, 192, 108}));
            static_cast<void>(drawn(frame));
        }
    }
}

} // namespace
} // namespace tavrin
