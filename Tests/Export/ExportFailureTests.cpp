#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "ExportFixtures.h"
#include "TavrinKit/Export/FFmpegMP4Exporter.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

using namespace fixtures;
namespace fs = std::filesystem;

void writeShortMovie(const fs::path& path) {
    SyntheticMovie movie;
    movie.times = evenTimes(20, 20);
    movie.endTime = 1;
    write(movie, path);
}

/// Runs an export that must fail. @return how, with the sentences of its causes
std::pair<ExportErrorKind, std::string> failureOf(const ExportRequest& job,
                                                  const ExportProgressHandler& onProgress = {}) {
    try {
        FFmpegMP4Exporter().exportMovie(job, onProgress, {});
        ADD_FAILURE() << "exported " << job.destinationURL;
        return {};
    } catch (const ExportError& error) {
        return {error.kind(), describe(std::make_exception_ptr(error))};
    }
}

TEST(ExportFailureTests, SourcesThatAreNoMovies) {
    const TemporaryFolder folder;
    writeShortMovie(folder / "movie.mov");
    const std::string whole = readFile(folder / "movie.mov");
    writeFileAtomically(folder / "truncated", whole.substr(0, whole.size() / 2));
    writeFileAtomically(folder / "empty", "");
    writeFileAtomically(folder / "text", std::string(5000, 'x'));
    fs::create_directory(folder / "folder");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    MovieWriterSettings soundOnly;
    soundOnly.path = folder / "sound.m4a";
    soundOnly.audio = AudioTrackSettings{};
    MovieWriter writer(soundOnly);
    writer.appendAudio(std::vector<float>(9600), 0);
    writer.finish();

    const std::size_t files = folder.names().size();
    for (const char* source : {"missing", "truncated", "empty", "text", "folder", "pipe", "sound.m4a"}) {
        const auto [kind, causes] = failureOf(request(folder / source, folder / "out.mp4"));
        EXPECT_EQ(kind, ExportErrorKind::exportFailed) << source;
        EXPECT_THAT(causes, testing::ContainsRegex("MediaError|FileError")) << source;
        EXPECT_EQ(folder.names().size(), files) << source;
    }
}

TEST(ExportFailureTests, DestinationsThatCannotBeWritten) {
    const TemporaryFolder folder;
    writeShortMovie(folder / "source.mov");
    fs::create_directory(folder / "folder");
    EXPECT_EQ(failureOf(request(folder / "source.mov", folder / "nowhere" / "out.mp4")).first,
              ExportErrorKind::exportFailed);
    EXPECT_THROW(FFmpegMP4Exporter().exportMovie(request(folder / "source.mov", folder / "folder")),
                 FileError);
    // The recording itself is never the old file that is removed, whatever name it is given.
    fs::create_symlink("source.mov", folder / "alias.mov");
    EXPECT_THROW(FFmpegMP4Exporter().exportMovie(request(folder / "source.mov", folder / "alias.mov")),
                 FileError);
    EXPECT_GT(fs::file_size(folder / "source.mov"), 0U);
    EXPECT_EQ(folder.names().size(), 3U);
}

TEST(ExportFailureTests, WhatAnyStageThrowsArrivesAsTheCause) {
    const TemporaryFolder folder;
    writeShortMovie(folder / "source.mov");
    const std::size_t files = folder.names().size();
    ExportRequest job = request(folder / "source.mov", folder / "out.mp4");

    EXPECT_THAT(failureOf(job,
                          [](double fraction) {
                              if (fraction > 0.4) {
                                  throw std::runtime_error("the terminal has gone");
                              }
                          })
                    .second,
                testing::HasSubstr("the terminal has gone"));
    for (const double from : {0.0, 0.5}) {
        job.videoComposition = VideoComposition{{192, 108}, 60, [from](const CompositionRequest& r) {
                                                    if (r.time >= from) {
                                                        throw std::runtime_error("the brush broke");
                                                    }
                                                    return r.source;
                                                }};
        writeFileAtomically(job.destinationURL, "an older movie");
        const auto [kind, causes] = failureOf(job);
        EXPECT_EQ(kind, ExportErrorKind::exportFailed);
        EXPECT_THAT(causes, testing::HasSubstr("the brush broke"));
    }
    job.videoComposition.reset();
    job.preset.resolution = {191, 107}; // no encoder halves these
    EXPECT_EQ(failureOf(job).first, ExportErrorKind::unableToCreateSession);
    EXPECT_EQ(folder.names().size(), files);
}

} // namespace
} // namespace tavrin
