#include <chrono>
#include <csignal>
#include <cstring>
#include <functional>
#include <random>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "MovieFixtures.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

using namespace test;
namespace fs = std::filesystem;

/// Everything a reader can be asked about a file. @return the pictures, or nothing after an error of its own
std::optional<std::vector<Seen>> examine(const fs::path& path) {
    try {
        const MediaInfo info = probeMedia(path);
        if (!info.audio.empty()) {
            const std::vector<float> sound = readSound(path);
            EXPECT_LT(sound.size(), 48000U * 3600 * 25);
        }
        VideoReader reader(path);
        std::vector<Seen> seen = readAll(reader);
        reader.seek(1);
        static_cast<void>(reader.next());
        return seen;
    } catch (const MediaError& error) {
        EXPECT_GT(std::strlen(error.what()), 20U);
    } catch (const FileError&) {
    }
    return std::nullopt;
}

void writeShort(const fs::path& path, bool isCrashSafe, bool isIndexFirst) {
    removeFile(path);
    MovieWriterSettings settings = smallMovie(path);
    settings.crashSafe = isCrashSafe;
    settings.optimizeForNetworkUse = isIndexFirst;
    settings.video->maximumKeyFrameInterval = 15;
    settings.video->lowLatency = true;
    settings.audio = AudioTrackSettings{48000, 1, 96000};
    MovieWriter writer(settings);
    for (int i = 0; i < 60; ++i) {
        writer.appendVideo(numbered({128, 96}, i), i / 20.0);
        writer.appendAudio(tone(i / 20.0, 0.05, 1), i / 20.0);
        if (isCrashSafe && i % 5 == 4) {
            writer.flushFragment();
        }
    }
    if (isCrashSafe) {
        writer.abandon();
    } else {
        writer.finish();
    }
}

TEST(DamagedMovies, TruncatedAnywhereTheyPlayUpToTheCut) {
    const TemporaryFolder folder;
    const fs::path cut = folder / "cut.mp4";
    for (const auto& [name, isCrashSafe, isIndexFirst] :
         {std::tuple{"plain", false, false}, {"index first", false, true}, {"fragments", true, false}}) {
        writeShort(folder / "whole.mp4", isCrashSafe, isIndexFirst);
        const std::string whole = readFile(folder / "whole.mp4");
        std::size_t mostBefore = 0;
        for (std::size_t tenth = 0; tenth <= 10; ++tenth) {
            SCOPED_TRACE(testing::Message() << name << " cut at " << tenth << " tenths");
            writeFileAtomically(cut, whole.substr(0, whole.size() * tenth / 10));
            const auto seen = examine(cut);
            if (tenth < 10 && !isCrashSafe && !isIndexFirst) {
                EXPECT_FALSE(seen) << "has no index";
            }
            if (tenth >= 2 && (isCrashSafe || isIndexFirst)) {
                ASSERT_TRUE(seen);
                EXPECT_GE(seen->size() + 8, 60 * (tenth - 1) / 10);
            }
            for (std::size_t i = 0; seen && i < seen->size(); ++i) {
                EXPECT_EQ((*seen)[i].number, int(i));
                EXPECT_NEAR((*seen)[i].time, double(i) / 20, 1e-6);
            }
            EXPECT_GE(seen ? seen->size() : 0, mostBefore);
            mostBefore = seen ? seen->size() : 0;
        }
        EXPECT_EQ(mostBefore, 60U);
    }
}

TEST(DamagedMovies, ADamagedStretchIsSkipped) {
    const TemporaryFolder folder;
    writeShort(folder / "movie.mp4", false, true);
    std::string bytes = readFile(folder / "movie.mp4");
    std::fill_n(bytes.begin() + std::ptrdiff_t(bytes.size() / 2), 300, '\xAA');
    writeFileAtomically(folder / "movie.mp4", bytes);
    const std::vector<Seen> seen = readAll(folder / "movie.mp4");
    ASSERT_GT(seen.size(), 30U);
    EXPECT_EQ(seen.front().number, 0);
    EXPECT_EQ(seen.back().number, 59);
}

TEST(DamagedMovies, WhatIsNoMovieSaysSo) {
    const TemporaryFolder folder;
    folder.write("empty", "");
    folder.write("text", std::string(5000, 'x'));
    folder.write("playlist.m3u8", "#EXTM3U\n#EXTINF:1,\n/etc/passwd\n");
    folder.write("list", "ffconcat version 1.0\nfile 'text'\n");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    for (const char* name : {"empty", "text", "playlist.m3u8", "list", "pipe", "."}) {
        const fs::path path = folder / name;
        EXPECT_EQ(mediaErrorOf([&] { VideoReader reader(path); }), MediaErrorKind::unreadable) << name;
        EXPECT_EQ(mediaErrorOf([&] { AudioReader reader(path, 0, 48000, 2); }), MediaErrorKind::unreadable)
            << name;
    }
    EXPECT_THROW(VideoReader(folder / "missing"), FileError);
}

/// Writes pictures, each one flushed and then counted in a pipe, until it is killed.
int recordForever(const MovieWriterSettings& settings, int counter) {
    MovieWriter writer(settings);
    for (int i = 0;; ++i) {
        const double time = 0.25 + i * 0.01;
        writer.appendVideo(numbered(settings.video->size, i), time);
        writer.appendAudio(tone(time, 0.01, 1), time);
        if (i % 10 == 9) {
            writer.flushFragment();
            const char done = 1;
            if (::write(counter, &done, 1) != 1) {
                return 1;
            }
        }
    }
}

TEST(CrashSafeMovies, PlayUpToTheLastFragmentAfterAKill) {
    std::mt19937 random(std::random_device{}());
    for (int round = 0; round < 6; ++round) {
        const TemporaryFolder folder;
        MovieWriterSettings settings = smallMovie(folder / "movie.mov");
        settings.crashSafe = true;
        settings.video->lowLatency = true;
        settings.audio = AudioTrackSettings{48000, 1, 96000};
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            ::_exit(recordForever(settings, ends[1]));
        }
        ::close(ends[1]);
        const int wanted = 1 + int(random() % 8);
        std::size_t flushed = 0;
        char done = 0;
        while (flushed < std::size_t(10 * wanted) && ::read(ends[0], &done, 1) == 1) {
            flushed += 10;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000)); // to any moment
        ::kill(child, SIGKILL);
        while (::read(ends[0], &done, 1) == 1) {
            flushed += 10;
        }
        ::close(ends[0]);
        int status = 0;
        ::waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status));

        const auto seen = examine(settings.path);
        ASSERT_TRUE(seen);
        EXPECT_GE(seen->size(), flushed);
        for (std::size_t i = 0; i < seen->size(); ++i) {
            EXPECT_EQ((*seen)[i].number, int(i));
            EXPECT_NEAR((*seen)[i].time, 0.25 + double(i) * 0.01, 1e-6);
        }
        EXPECT_GE(probeMedia(settings.path).duration, 0.25 + double(flushed) * 0.01 - 1e-6);
    }
}

TEST(FullDisks, AreToldInTheSystemsWords) {
    for (const bool isCrashSafe : {false, true}) {
        const TemporaryFolder folder;
        MovieWriterSettings settings = smallMovie(folder / "movie.mov");
        settings.crashSafe = isCrashSafe;
        settings.video->lowLatency = true;
        const auto body = [&] {
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit{200'000, 200'000};
            ::setrlimit(RLIMIT_FSIZE, &limit);
            MovieWriter writer(settings);
            std::minstd_rand random(8);
            try {
                for (int i = 0; i < 200; ++i) {
                    const PixelBuffer noise = flat({128, 96}, 0, 128, 128);
                    std::generate_n(noise.row(0, 0), noise.plane(0).stride * 96, std::ref(random));
                    writer.appendVideo(noise, i * 0.05);
                    writer.flushFragment();
                }
            } catch (const MediaError& error) {
                const bool isTold = error.kind() == MediaErrorKind::writingFailed &&
                                    std::string(error.what()).find("File too large") != std::string::npos;
                writer.abandon();
                return isTold ? 0 : 1;
            }
            return 2;
        };
        EXPECT_EQ(inChild(body), 0);
        EXPECT_EQ(folder.names().size(), isCrashSafe ? 1U : 0U);
        if (isCrashSafe) {
            EXPECT_GT(readAll(settings.path).size(), 10U);
        }
    }
}

TEST(CrashSafeMovies, StayInFragmentsWhenTheyCannotBeMadePlain) {
    const TemporaryFolder folder;
    MovieWriterSettings settings = smallMovie(folder / "movie.mov");
    settings.crashSafe = true;
    const auto body = [&] {
        MovieWriter writer(settings);
        for (int i = 0; i < 30; ++i) {
            writer.appendVideo(numbered({128, 96}, i), i / 10.0);
        }
        static_cast<void>(std::freopen("/dev/null", "w", stderr)); // the failure is logged
        fs::permissions(settings.path.parent_path(), fs::perms(0555));
        if (::geteuid() == 0 && ::seteuid(65534) != 0) {
            return 1;
        }
        writer.finish(3.0);
        return 0;
    };
    EXPECT_EQ(inChild(body), 0);
    fs::permissions(settings.path.parent_path(), fs::perms(0755));
    EXPECT_EQ(folder.names().size(), 1U);
    EXPECT_NE(readFile(settings.path).find("moof"), std::string::npos);
    expectNumbered(readAll(settings.path), evenTimes(30, 10));
    EXPECT_NEAR(probeMedia(settings.path).duration, 3.0, 1e-3);
}

} // namespace
} // namespace tavrin
