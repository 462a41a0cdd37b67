#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "ExportFixtures.h"
#include "PlanFixtures.h"
#include "TavrinKit/Compositing/FFmpegEffectBakingRenderer.h"
#include "TavrinKit/Compositing/MockEffectBakingRenderer.h"
#include "TavrinKit/Export/FFmpegMP4Exporter.h"
#include "TavrinKit/Project/PremiumDefaults.h"

namespace tavrin {
namespace {

using namespace fixtures;

/// A package with a screen movie of one second: a green picture, with a quiet sound.
EditorSession makeSession(const TemporaryFolder& folder) {
    SyntheticMovie movie;
    movie.size = {640, 360};
    movie.times = {0, 0.5};
    movie.endTime = 1;
    movie.picture = [](int) {
        return flatPicture({640, 360}, {145, 54, 34});
    };
    movie.sound = std::vector<float>(48000, 0.1F);
    const ProjectPackage package(folder.path("package"), ProjectManifest{});
    package.createDirectoriesIfNeeded();
    write(movie, package.screenURL());
    EditsDocument edits;
    edits.timeline = PremiumDefaults::timelineModel();
    return {package, std::make_shared<EventTimeline>(), edits};
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
    writeTone(session.package().screenURL(), systemTone, 1);
    EXPECT_EQ(kindOf({}), ExportErrorKind::exportFailed) << "sound alone is no screen movie";
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

} // namespace
} // namespace tavrin
