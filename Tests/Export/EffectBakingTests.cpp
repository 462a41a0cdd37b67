#include <cstdlib>
#include <map>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PlanFixtures.h"
#include "TavrinKit/Compositing/FFmpegEffectBakingRenderer.h"
#include "TavrinKit/Media/VideoReader.h"

namespace tavrin {
namespace {

using namespace test;

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
        ::setenv("TMPDIR", temporary.path().c_str(), 1);
        const EffectBakeResult baked = FFmpegEffectBakingRenderer().bake(session, preset, {});
        ::unsetenv("TMPDIR");
        const std::filesystem::path& movie = baked.mediaURL;
        EXPECT_TRUE(baked.isTemporary);
        EXPECT_EQ(movie.parent_path(), temporary.path());
        EXPECT_THAT(movie.filename().string(), testing::MatchesRegex("tavrin-baked-.*\\.mov"));
        const Json facts = probe(movie);
        std::map<std::string, Json> streams;
        for (const Json& stream : facts["streams"]) {
            streams[stream["codec_type"].get<std::string>()] = stream;
        }
        EXPECT_EQ(streams["video"]["codec_name"], mode == highQuality ? "prores" : "h264");
        EXPECT_EQ(streams["audio"]["codec_name"], mode == highQuality ? "pcm_s24le" : "aac");
        EXPECT_NEAR(std::stod(facts["format"]["duration"].get<std::string>()), 2.5, 1e-3);
        EXPECT_GT(toneLevel(MediaAsset::open(movie), 0, systemTone, 0, 2.5), 0.2);
        VideoReader reader(movie);
        int frame = 0;
        for (; const auto picture = reader.next(); ++frame) {
            EXPECT_EQ(numberIn(picture->pixels), frame < 15 ? 4 * frame : 30 + 2 * frame) << frame;
        }
        EXPECT_EQ(frame, 75);
    }
}

} // namespace
} // namespace tavrin
