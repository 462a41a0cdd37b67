#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "CaptureFixtures.h"
#include "TavrinKit/Capture/StreamAssetWriterSink.h"
#include "TavrinKit/Support/HostClock.h"

namespace tavrin {
namespace {

using namespace std::chrono_literals;
using test::framesOf;
using test::greyPicture;
using test::TemporaryFolder;
using test::videoSample;

constexpr PixelSize size{64, 48};

class StreamAssetWriterSinkTest : public ::testing::Test {
protected:
    static void finish(StreamAssetWriterSink& sink, double endTime) {
        ASSERT_TRUE(sink.prepareForFinish());
        sink.finish(endTime);
    }
    /// So long a queue that these tests lose nothing by being fast.
    static StreamAssetWriterSink::Settings patient() {
        StreamAssetWriterSink::Settings settings;
        settings.queueDepth = 32;
        return settings;
    }

    const double start = HostClock::now();
    TemporaryFolder folder;
    std::filesystem::path movie = folder / "screen.mov";
};

TEST_F(StreamAssetWriterSinkTest, KeepsTheTrueTimesAndRunsToTheEnd) {
    StreamAssetWriterSink sink(movie, size.width, size.height, false, patient());
    const std::vector<double> times{0, 0.0171, 0.05, 0.3003};
    for (std::size_t i = 0; i < times.size(); ++i) {
        sink.appendVideo(videoSample(greyPicture(size, 40 + int(i) * 40), start + times[i]));
    }
    finish(sink, start + 0.8);
    EXPECT_EQ(sink.sessionStart(), start);
    EXPECT_EQ(sink.receivedFrames(), 4);

    const auto frames = framesOf(movie);
    ASSERT_EQ(frames.size(), 5u); // the last picture is there again at the end
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_NEAR(frames[i].time, times[i], 2e-6);
        EXPECT_NEAR(frames[i].luma, 40 + int(i) * 40, 3);
    }
    EXPECT_NEAR(frames[4].time, 0.8 - 1.0 / 60, 1e-5);
    EXPECT_NEAR(frames[4].luma, 160, 3);
    EXPECT_NEAR(probeMedia(movie).video.at(0).duration, 0.8, 1e-3);
}

TEST_F(StreamAssetWriterSinkTest, RepeatsAStillPictureAndNeverLosesARealOneToIt) {
    StreamAssetWriterSink::Settings settings;
    settings.encoder.repetitionInterval = 0.05;
    settings.encoder.repetitionLag = 0.02;
    StreamAssetWriterSink sink(movie, size.width, size.height, false, settings);
    sink.appendVideo(videoSample(greyPicture(size, 60), start));
    std::this_thread::sleep_for(400ms);
    // Taken before the last repetition's time, and arriving after it.
    sink.appendVideo(videoSample(greyPicture(size, 200), start + 0.2));
    finish(sink, HostClock::now());
    EXPECT_EQ(sink.droppedFrames(), 0);

    const auto frames = framesOf(movie);
    ASSERT_GE(frames.size(), 4u);
    for (std::size_t i = 1; i < frames.size(); ++i) {
        ASSERT_LT(frames[i - 1].time, frames[i].time);
        ASSERT_GE(frames[i].luma + 3, frames[i - 1].luma) << "the new picture stays";
    }
    EXPECT_NEAR(frames.back().luma, 200, 3);
    EXPECT_NEAR(frames[1].luma, 60, 3);
}

TEST_F(StreamAssetWriterSinkTest, DropsAndCountsWhatItCannotTake) {
    const PixelSize large{1280, 720};
    StreamAssetWriterSink sink(movie, large.width, large.height, false);
    std::vector<PixelBuffer> pictures;
    for (std::uint32_t i = 0; i < 4; ++i) {
        pictures.push_back(test::noisePicture(large, i));
    }
    constexpr int count = 200;
    for (int i = 0; i < count; ++i) {
        sink.appendVideo(videoSample(pictures[std::size_t(i) % 4], start + i / 60.0));
    }
    finish(sink, 0); // an end before the last picture adds nothing
    EXPECT_EQ(sink.receivedFrames(), count);
    EXPECT_GT(sink.droppedFrames(), 0);
    EXPECT_EQ(std::int64_t(framesOf(movie).size()), count - sink.droppedFrames());
}

TEST_F(StreamAssetWriterSinkTest, ATakeWithoutPicturesGetsOneBlackFrame) {
    StreamAssetWriterSink sink(movie, 2, 2, false);
    sink.appendVideo(videoSample({}, start));
    EXPECT_TRUE(sink.prepareForFinish());
    EXPECT_FALSE(sink.prepareForFinish());
    sink.finish(start);
    EXPECT_EQ(sink.sessionStart(), start);
    const auto frames = framesOf(movie);
    ASSERT_EQ(frames.size(), 1u);
    EXPECT_EQ(frames[0].time, 0);
    EXPECT_NEAR(frames[0].luma, 16, 2);
}

TEST_F(StreamAssetWriterSinkTest, SoundWaitsForABusyEncoderAndIsNotLostUnseen) {
    StreamAssetWriterSink sink(movie, size.width, size.height, true);
    const AudioSample piece{std::vector<float>(2 * 480), start};
    int lost = 0;
    for (int i = 0; i < 5000; ++i) {
        AudioSample next = piece;
        next.presentationTime += i / 100.0;
        const bool isKept = sink.append(std::move(next));
        lost += isKept ? 0 : 1;
        EXPECT_TRUE(isKept || i >= 600);
    }
    EXPECT_GT(lost, 0);
    finish(sink, start + 50);
}

TEST_F(StreamAssetWriterSinkTest, CancelMayMeetSamplesAndAFinish) {
    for (int round = 0; round < 8; ++round) {
        StreamAssetWriterSink sink(folder / std::to_string(round), size.width, size.height, false);
        const PixelBuffer picture = greyPicture(size, 60);
        std::atomic<int> finishes = 0;
        std::jthread stream([&] {
            for (int i = 0; i < 200; ++i) {
                sink.appendVideo(videoSample(picture, start + i / 60.0));
            }
        });
        std::jthread stop([&] {
            std::this_thread::sleep_for(round * 1ms);
            if (sink.prepareForFinish()) {
                sink.finish(start + 5);
                finishes += 1;
            }
        });
        std::this_thread::sleep_for((7 - round) * 1ms);
        sink.cancel();
        stop.join();
        stream.join();
        EXPECT_FALSE(sink.prepareForFinish());
        if (finishes == 1) {
            EXPECT_FALSE(framesOf(folder / std::to_string(round)).empty());
        }
    }
}

/// Runs in a process of its own, whose exit code it returns.
pid_t inAnotherProcess(const std::function<int()>& work) {
    const pid_t process = fork();
    if (process == 0) {
        _exit(work());
    }
    return process;
}

TEST_F(StreamAssetWriterSinkTest, AKilledProcessLeavesEvenOfAStillScreenNearlyAllItsTime) {
    const pid_t process = inAnotherProcess([&] {
        StreamAssetWriterSink sink(movie, size.width, size.height, false);
        sink.appendVideo(videoSample(greyPicture(size, 60), HostClock::now()));
        std::this_thread::sleep_for(60s);
        return 0;
    });
    while (!std::filesystem::exists(movie)) {
        std::this_thread::sleep_for(1ms);
    }
    const double begun = HostClock::now();
    std::this_thread::sleep_for(2600ms);
    const double lived = HostClock::now() - begun;
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
    EXPECT_GT(framesOf(movie).back().time, lived - 2);
}

TEST_F(StreamAssetWriterSinkTest, AFullDiskFailsTheFinishAndKeepsWhatIsThere) {
    const pid_t process = inAnotherProcess([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{600'000, 600'000};
        setrlimit(RLIMIT_FSIZE, &limit);
        StreamAssetWriterSink sink(movie, 320, 180, false);
        for (std::uint32_t i = 0; i < 90; ++i) {
            sink.appendVideo(videoSample(test::noisePicture({320, 180}, i), HostClock::now()));
            std::this_thread::sleep_for(16ms);
        }
        try {
            finish(sink, HostClock::now());
            return 0;
        } catch (const Error&) {
            return 3;
        }
    });
    int status = 0;
    waitpid(process, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 3) << "finish has thrown";
    EXPECT_FALSE(framesOf(movie).empty());
}

} // namespace
} // namespace tavrin
