#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ExportFixtures.h"
#include "TavrinKit/Export/FFmpegMP4Exporter.h"
#include "TavrinKit/Media/MovieWriter.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

using namespace test;
namespace fs = std::filesystem;

/// Runs an export that must fail. @return how, with the sentences of its causes
std::pair<ExportErrorKind, std::string> failureOf(const ExportRequest& job) {
    try {
        FFmpegMP4Exporter().exportMovie(job);
        ADD_FAILURE() << "exported " << job.destinationURL;
        return {};
    } catch (const ExportError& error) {
        return {error.kind(), describe(std::make_exception_ptr(error))};
    }
}

TEST(ExportFailureTests, SourcesAndDestinationsThatWillNotDo) {
    const TemporaryFolder folder;
    write({.times = evenTimes(20, 20), .endTime = 1}, folder / "source.mov");
    const std::string whole = readFile(folder / "source.mov");
    folder.write("truncated", std::string_view(whole).substr(0, whole.size() / 2));
    fs::create_directory(folder / "folder");
    MovieWriterSettings soundOnly = smallMovie(folder / "sound.m4a");
    soundOnly.video.reset();
    soundOnly.audio = AudioTrackSettings{};
    MovieWriter writer(soundOnly);
    writer.appendAudio(std::vector<float>(9600), 0);
    writer.finish();
    fs::create_symlink("source.mov", folder / "alias.mov");

    const std::size_t files = folder.names().size();
    for (const char* source : {"missing", "truncated", "folder", "sound.m4a"}) {
        const auto [kind, causes] = failureOf(request(folder / source, folder / "out.mp4"));
        EXPECT_EQ(kind, ExportErrorKind::exportFailed) << source;
        EXPECT_THAT(causes, testing::ContainsRegex("MediaError|FileError")) << source;
    }
    EXPECT_EQ(failureOf(request(folder / "source.mov", folder / "nowhere" / "out.mp4")).first,
              ExportErrorKind::exportFailed);
    // The recording itself is never the old file that is removed, whatever name it is given.
    for (const char* destination : {"folder", "alias.mov"}) {
        EXPECT_THROW(FFmpegMP4Exporter().exportMovie(request(folder / "source.mov", folder / destination)),
                     FileError);
    }
    EXPECT_EQ(readFile(folder / "source.mov"), whole);
    EXPECT_EQ(folder.names().size(), files);
}

TEST(ExportFailureTests, WhatAnyStageThrowsArrivesAsTheCause) {
    const TemporaryFolder folder;
    write({.times = evenTimes(20, 20), .endTime = 1}, folder / "source.mov");
    const std::size_t files = folder.names().size();
    ExportRequest job = request(folder / "source.mov", folder / "out.mp4");
    job.videoComposition = VideoComposition{{192, 108}, 60, [](const CompositionRequest& r) {
                                                if (r.time >= 0.5) {
                                                    throw std::runtime_error("the brush broke");
                                                }
                                                return r.source;
                                            }};
    writeFileAtomically(job.destinationURL, "an older movie");
    const auto [kind, causes] = failureOf(job);
    EXPECT_EQ(kind, ExportErrorKind::exportFailed);
    EXPECT_THAT(causes, testing::HasSubstr("the brush broke"));
    job.videoComposition.reset();
    job.preset.resolution = {191, 107}; // no encoder halves these
    EXPECT_EQ(failureOf(job).first, ExportErrorKind::unableToCreateSession);
    EXPECT_EQ(folder.names().size(), files);
}

} // namespace
} // namespace tavrin
