#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "PlanFixtures.h"
#include "TavrinKit/Compositing/FFmpegEffectBakingRenderer.h"

namespace tavrin {
namespace {

using namespace fixtures;

/// Bakes into a temporary folder of this process. @return how that failed, if it did
std::optional<ExportErrorKind> bakeFailure(const EditorSession& session, const ExportPreset& preset,
                                           const std::filesystem::path& directory,
                                           std::stop_token stop = {}) {
    ::setenv("TMPDIR", directory.c_str(), 1);
    std::optional<ExportErrorKind> kind;
    try {
        const EffectBakeResult baked = FFmpegEffectBakingRenderer().bake(session, preset, std::move(stop));
        EXPECT_TRUE(baked.isTemporary);
        EXPECT_TRUE(std::filesystem::equivalent(baked.mediaURL.parent_path(), directory));
        EXPECT_EQ(baked.mediaURL.filename().string().substr(0, 13), "tavrin-baked-");
        std::filesystem::rename(baked.mediaURL, directory / "baked.mov");
    } catch (const ExportError& error) {
        kind = error.kind();
    }
    ::unsetenv("TMPDIR");
    return kind;
}

/// One second twice as fast, two as they were, at 30 frames a second.
TEST(EffectBakingTests, ABakedMovieIsExactlyTheEdit) {
    using enum ExportSpeedQualityMode;
    const TemporaryFolder folder;
    const EditorSession session = makeTake(folder, [](TimelineModel& timeline) {
        timeline.speedTrack.regions = {{.startTime = 0, .endTime = 1, .speed = PlaybackSpeed::x2}};
    });
    for (const ExportSpeedQualityMode mode : {highQuality, fastPreview}) {
        const TemporaryFolder temporary;
        ExportPreset preset = smallPreset(192, 108, 30);
        preset.mode = mode;
        EXPECT_EQ(bakeFailure(session, preset, temporary / ""), std::nullopt);
        const std::filesystem::path movie = temporary / "baked.mov";
        const Json probe = probed(movie);
        std::map<std::string, Json> streams;
        for (const Json& stream : probe["streams"]) {
            streams[stream["codec_type"].get<std::string>()] = stream;
        }
        EXPECT_EQ(streams["video"]["codec_name"], mode == highQuality ? "prores" : "h264");
        EXPECT_EQ(streams["video"]["r_frame_rate"], "30/1");
        EXPECT_EQ(streams["audio"]["codec_name"], mode == highQuality ? "pcm_s24le" : "aac");
        EXPECT_NEAR(std::stod(probe["format"]["duration"].get<std::string>()), 2.5, 1e-3);
        EXPECT_GT(toneLevel(MediaAsset::open(movie), 0, systemTone, 0, 2.5), 0.2);
        VideoReader reader(movie);
        int frame = 0;
        for (; const auto picture = reader.next(); ++frame) {
            EXPECT_EQ(numberIn(picture->pixels), frame < 15 ? 4 * frame : 30 + 2 * frame) << frame;
        }
        EXPECT_EQ(frame, 75);
    }
}

TEST(EffectBakingTests, ABakeThatEndsEarlyLeavesNoFile) {
    const TemporaryFolder folder;
    const TemporaryFolder temporary;
    const EditorSession session = makeTake(folder);
    {
        std::stop_source stop;
        const std::jthread canceller([&](const std::stop_token& ended) {
            while (temporary.names().size() == 0 && !ended.stop_requested()) {
                std::this_thread::yield();
            }
            stop.request_stop();
        });
        EXPECT_EQ(bakeFailure(session, smallPreset(1920, 1080), temporary / "", stop.get_token()),
                  ExportErrorKind::cancelled);
    }
    EXPECT_EQ(bakeFailure(session, smallPreset(191, 107), temporary / ""),
              ExportErrorKind::unableToCreateSession);
    EXPECT_EQ(temporary.names().size(), 0U);
    EXPECT_EQ(bakeFailure(session, smallPreset(), temporary / "missing"), ExportErrorKind::exportFailed);
}

TEST(EffectBakingTests, AMovieThatCannotBeOpenedAndACancelledPlan) {
    const TemporaryFolder folder;
    const EditorSession session = makeTake(folder);
    std::stop_source stopped;
    stopped.request_stop();
    const auto kindOf = [&](std::stop_token stop) {
        try {
            EXPECT_TRUE(FFmpegEffectBakingRenderer()
                            .prepareExport(session, smallPreset(), std::move(stop))
                            .usesDirectComposition());
        } catch (const ExportError& error) {
            return std::optional(error.kind());
        }
        return std::optional<ExportErrorKind>();
    };
    EXPECT_EQ(kindOf(stopped.get_token()), ExportErrorKind::cancelled);
    EXPECT_EQ(kindOf({}), std::nullopt);
    std::filesystem::resize_file(session.package().screenURL(), 100);
    EXPECT_EQ(kindOf({}), ExportErrorKind::exportFailed);
    writeTone(session.package().screenURL(), systemTone, 1);
    EXPECT_EQ(kindOf({}), ExportErrorKind::exportFailed) << "sound alone is no screen movie";
}

} // namespace
} // namespace tavrin
