#include <csignal>
#include <fstream>
#include <random>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "ExportFixtures.h"
#include "TavrinKit/Export/FFmpegMP4Exporter.h"
#include "TavrinKit/Export/MockMP4Exporter.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

using namespace fixtures;
namespace fs = std::filesystem;

void writeNoise(const fs::path& path, PixelSize size, double seconds) {
    SyntheticMovie movie;
    movie.size = size;
    movie.times = evenTimes(int(seconds * 30), 30);
    movie.endTime = seconds;
    movie.picture = [size, random = std::minstd_rand(7)](int) mutable {
        const PixelBuffer picture = flatPicture(size, {16, 128, 128});
        for (int y = 0; y < size.height; ++y) {
            std::generate_n(picture.row(0, y), size.width, [&] { return std::uint8_t(16 + random() % 200); });
        }
        return picture;
    };
    write(movie, path);
}

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
    writeShortMovie(folder.path("movie.mov"));
    const std::string whole = readFile(folder.path("movie.mov"));
    writeFileAtomically(folder.path("truncated"), whole.substr(0, whole.size() / 2));
    writeFileAtomically(folder.path("empty"), "");
    writeFileAtomically(folder.path("text"), std::string(5000, 'x'));
    fs::create_directory(folder.path("folder"));
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    MovieWriterSettings soundOnly;
    soundOnly.path = folder.path("sound.m4a");
    soundOnly.audio = AudioTrackSettings{};
    MovieWriter writer(soundOnly);
    writer.appendAudio(std::vector<float>(9600), 0);
    writer.finish();

    const std::size_t files = folder.fileCount();
    for (const char* source : {"missing", "truncated", "empty", "text", "folder", "pipe", "sound.m4a"}) {
        const auto [kind, causes] = failureOf(request(folder.path(source), folder.path("out.mp4")));
        EXPECT_EQ(kind, ExportErrorKind::exportFailed) << source;
        EXPECT_THAT(causes, testing::ContainsRegex("MediaError|FileError")) << source;
        EXPECT_EQ(folder.fileCount(), files) << source;
    }
}

TEST(ExportFailureTests, DestinationsThatCannotBeWritten) {
    const TemporaryFolder folder;
    writeShortMovie(folder.path("source.mov"));
    fs::create_directory(folder.path("folder"));
    EXPECT_EQ(failureOf(request(folder.path("source.mov"), folder.path("nowhere") / "out.mp4")).first,
              ExportErrorKind::exportFailed);
    EXPECT_THROW(FFmpegMP4Exporter().exportMovie(request(folder.path("source.mov"), folder.path("folder"))),
                 FileError);
    // The recording itself is never the old file that is removed, whatever name it is given.
    fs::create_symlink("source.mov", folder.path("alias.mov"));
    EXPECT_THROW(
        FFmpegMP4Exporter().exportMovie(request(folder.path("source.mov"), folder.path("alias.mov"))),
        FileError);
    EXPECT_GT(fs::file_size(folder.path("source.mov")), 0U);
    EXPECT_EQ(folder.fileCount(), 3U);
}

TEST(ExportFailureTests, WhatAnyStageThrowsArrivesAsTheCause) {
    const TemporaryFolder folder;
    writeShortMovie(folder.path("source.mov"));
    const std::size_t files = folder.fileCount();
    ExportRequest job = request(folder.path("source.mov"), folder.path("out.mp4"));

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
    EXPECT_EQ(folder.fileCount(), files);
}

TEST(ExportFailureTests, CancellingAtAnyMomentLeavesNothing) {
    const TemporaryFolder folder;
    SyntheticMovie movie;
    movie.times = evenTimes(60, 30);
    movie.endTime = 2;
    movie.sound = std::vector<float>(96000, 0.1F);
    write(movie, folder.path("source.mov"));
    const ExportRequest job =
        request(folder.path("source.mov"), folder.path("out.mp4"), smallPreset(160, 120));
    const auto start = std::chrono::steady_clock::now();
    FFmpegMP4Exporter exporter;
    exporter.exportMovie(job);
    const auto whole =
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);

    std::mt19937 random(1);
    std::uniform_int_distribution<long> moment(0, whole.count());
    int cancelled = 0;
    for (int round = 0; round < 24; ++round) {
        std::stop_source stop;
        const auto wait = std::chrono::microseconds(round == 0 ? 0 : moment(random));
        std::jthread canceller([&] {
            std::this_thread::sleep_for(wait);
            stop.request_stop();
        });
        if (round == 0) {
            canceller.join();
        }
        try {
            exporter.exportMovie(job, stop.get_token());
            EXPECT_TRUE(fs::exists(job.destinationURL));
            removeFile(job.destinationURL);
        } catch (const ExportError& error) {
            EXPECT_EQ(error.kind(), ExportErrorKind::cancelled) << describe(std::make_exception_ptr(error));
            cancelled += 1;
        }
        EXPECT_EQ(folder.fileCount(), 1U);
    }
    EXPECT_GT(cancelled, 4);
}

TEST(ExportFailureTests, OneExporterMakesOneMovieAtATime) {
    const TemporaryFolder folder;
    writeShortMovie(folder.path("source.mov"));
    FFmpegMP4Exporter exporter;
    std::atomic<int> inside = 0;
    std::atomic<int> most = 0;
    std::stop_source impatient;
    const auto run = [&](const char* name, bool waitsInVain) {
        ExportRequest job = request(folder.path("source.mov"), folder.path(name));
        job.videoComposition = VideoComposition{{192, 108}, 60, [&](const CompositionRequest& r) {
                                                    most = std::max(most.load(), ++inside);
                                                    std::this_thread::yield();
                                                    --inside;
                                                    return r.source;
                                                }};
        if (waitsInVain) {
            EXPECT_THROW(exporter.exportMovie(job, impatient.get_token()), ExportError);
        } else {
            exporter.exportMovie(job, [&](double) { impatient.request_stop(); }, {});
        }
    };
    {
        std::jthread first([&] { run("a.mp4", false); });
        std::jthread second([&] { run("b.mp4", false); });
        while (!impatient.stop_requested()) {
            std::this_thread::yield();
        }
        run("c.mp4", true);
    }
    EXPECT_EQ(most, 1);
    EXPECT_EQ(folder.fileCount(), 3U);
}

/// While it lives no file of this process grows beyond a size: what a full disk looks like.
class FullDisk {
public:
    explicit FullDisk(rlim_t size) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &limit_);
        const rlimit small{size, limit_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &small);
    }
    ~FullDisk() {
        ::setrlimit(RLIMIT_FSIZE, &limit_);
        std::signal(SIGXFSZ, handler_);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit limit_{};
    void (*handler_)(int);
};

TEST(ExportFailureTests, AFullDiskIsToldAndLeavesNothing) {
    const TemporaryFolder folder;
    writeNoise(folder.path("source.mov"), {320, 240}, 2);
    const FullDisk disk(300'000);
    const auto [kind, causes] =
        failureOf(request(folder.path("source.mov"), folder.path("out.mp4"), smallPreset(320, 240)));
    EXPECT_EQ(kind, ExportErrorKind::exportFailed);
    EXPECT_THAT(causes, testing::ContainsRegex("MediaError|FileError"));
    EXPECT_EQ(folder.fileCount(), 1U);
}

TEST(MockMP4ExporterTests, FailsAsOftenAsToldAndThenReplacesTheFile) {
    const TemporaryFolder folder;
    MockMP4Exporter exporter(2);
    std::vector<double> fractions;
    const ExportRequest job = request("nowhere", folder.path("out.mp4"));
    writeFileAtomically(job.destinationURL, "an older movie");
    const auto attempt = [&] {
        return exporter.exportMovie(job, [&](double f) { fractions.push_back(f); }, {});
    };
    EXPECT_THROW(attempt(), ExportError);
    EXPECT_THROW(attempt(), ExportError);
    EXPECT_GT(attempt().durationSeconds, 0);
    EXPECT_EQ(readFile(job.destinationURL), "mock-mp4");
    EXPECT_EQ(exporter.attemptCounter(), 3);
    EXPECT_THAT(fractions, testing::ElementsAre(0.15, 0.15, 0.15, 1.0));
}

} // namespace
} // namespace tavrin
