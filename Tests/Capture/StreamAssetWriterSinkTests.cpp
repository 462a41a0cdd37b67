#include <atomic>
#include <chrono>
#include <csignal>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
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
using test::TemporaryDirectory;
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
    TemporaryDirectory folder;
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

TEST_F(StreamAssetWriterSinkTest, DropsPicturesOfAnotherSizeAndTimesOutOfOrderCostNothing) {
    StreamAssetWriterSink sink(movie, size.width, size.height, false, patient());
    sink.appendVideo(videoSample(greyPicture(size, 60), start));
    sink.appendVideo(videoSample(greyPicture({66, 48}, 60), start + 0.1));
    sink.appendVideo(videoSample(greyPicture(size, 90), start + 0.2));
    sink.appendVideo(videoSample(greyPicture(size, 120), start + 0.2));
    sink.appendVideo(videoSample(greyPicture(size, 150), start - 1));
    ASSERT_TRUE(sink.prepareForFinish());
    sink.finish(start + 0.2);
    EXPECT_EQ(sink.droppedFrames(), 1);
    const auto frames = framesOf(movie);
    ASSERT_EQ(frames.size(), 4u);
    EXPECT_NEAR(frames[3].luma, 150, 3);
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

TEST_F(StreamAssetWriterSinkTest, SoundThatComesFirstSetsTheClock) {
    StreamAssetWriterSink sink(movie, size.width, size.height, true);
    AudioSample sound;
    sound.interleaved.assign(2 * 48000, 0.25f);
    sound.presentationTime = start;
    sink.append(sound);
    sink.appendVideo(videoSample(greyPicture(size, 60), start + 0.5));
    finish(sink, start + 1);
    EXPECT_EQ(sink.sessionStart(), start);
    EXPECT_NEAR(framesOf(movie).at(0).time, 0.5, 2e-6);
    EXPECT_NEAR(probeMedia(movie).audio.at(0).duration, 1.0, 0.05);
}

TEST_F(StreamAssetWriterSinkTest, AFolderThatIsMissingFailsAtTheEndOnly) {
    std::filesystem::path missing = folder / "none" / "screen.mov";
    StreamAssetWriterSink sink(missing, size.width, size.height, false);
    sink.appendVideo(videoSample(greyPicture(size, 60), start));
    try {
        static_cast<void>(sink.prepareForFinish());
        ADD_FAILURE();
    } catch (const StreamAssetWriterSinkError& error) {
        EXPECT_EQ(error.kind(), StreamAssetWriterSinkErrorKind::startFailed);
    }
    EXPECT_EQ(sink.droppedFrames(), 1);
}

TEST_F(StreamAssetWriterSinkTest, AMovieThatCouldBeOpenedLaterStartsThere) {
    std::filesystem::path late = folder / "late" / "screen.mov";
    StreamAssetWriterSink sink(late, size.width, size.height, false);
    sink.appendVideo(videoSample(greyPicture(size, 60), start));
    while (sink.droppedFrames() == 0) {
        std::this_thread::sleep_for(1ms);
    }
    std::filesystem::create_directory(folder / "late");
    sink.appendVideo(videoSample(greyPicture(size, 90), start + 1));
    finish(sink, start + 1);
    EXPECT_EQ(sink.sessionStart(), start + 1);
    EXPECT_EQ(framesOf(late).size(), 1u);
}

TEST_F(StreamAssetWriterSinkTest, CancelKeepsWhatWasWrittenAndEndsEverything) {
    StreamAssetWriterSink sink(movie, size.width, size.height, false, patient());
    for (int i = 0; i < 10; ++i) {
        sink.appendVideo(videoSample(greyPicture(size, 60 + i), start + i / 60.0));
    }
    test::waitForFrames(movie);
    sink.cancel();
    sink.cancel();
    EXPECT_FALSE(sink.prepareForFinish());
    sink.appendVideo(videoSample(greyPicture(size, 60), start + 2));
    EXPECT_EQ(sink.receivedFrames(), 10);
    EXPECT_FALSE(framesOf(movie).empty());
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

TEST(StreamAssetWriterSinkSize, MustBeEvenAndNotEmpty) {
    for (const PixelSize wrong : {PixelSize{0, 0}, PixelSize{64, 47}, PixelSize{63, 48}, PixelSize{-2, 2}}) {
        try {
            StreamAssetWriterSink sink("unused.mov", wrong.width, wrong.height, false);
            ADD_FAILURE() << wrong.width;
        } catch (const StreamAssetWriterSinkError& error) {
            EXPECT_EQ(error.kind(), StreamAssetWriterSinkErrorKind::videoInputRejected);
        }
    }
}

/// The recorder program, with a pipe from its standard output.
class RecorderProgram {
public:
    explicit RecorderProgram(const std::vector<std::string>& arguments) {
        int ends[2];
        if (pipe(ends) != 0) {
            throw std::runtime_error("pipe");
        }
        process_ = fork();
        if (process_ == 0) {
            dup2(ends[1], STDOUT_FILENO);
            std::vector<char*> argv{const_cast<char*>(RECORDER_PROGRAM)};
            for (const std::string& argument : arguments) {
                argv.push_back(const_cast<char*>(argument.c_str()));
            }
            argv.push_back(nullptr);
            execv(RECORDER_PROGRAM, argv.data());
            _exit(127);
        }
        close(ends[1]);
        output_ = fdopen(ends[0], "r");
    }
    ~RecorderProgram() {
        end(SIGKILL);
        fclose(output_);
    }
    RecorderProgram(const RecorderProgram&) = delete;
    RecorderProgram& operator=(const RecorderProgram&) = delete;

    std::string readLine() {
        char line[1024] = {};
        return fgets(line, sizeof line, output_) != nullptr ? line : "";
    }
    void end(int signal) {
        if (process_ > 0) {
            kill(process_, signal);
            waitpid(process_, nullptr, 0);
            process_ = -1;
        }
    }

private:
    pid_t process_ = -1;
    FILE* output_ = nullptr;
};

TEST_F(StreamAssetWriterSinkTest, AKilledProcessLeavesAMoviePlayingNearlyToItsEnd) {
    const struct {
        const char* mode;
        std::chrono::milliseconds life;
    } cases[] = {{"motion", 1270ms}, {"motion", 2130ms}, {"still", 2600ms}, {"still", 3330ms}};
    std::vector<std::unique_ptr<RecorderProgram>> recorders;
    for (const auto& [mode, life] : cases) {
        const auto file = folder / (mode + std::to_string(recorders.size()));
        recorders.push_back(std::make_unique<RecorderProgram>(std::vector<std::string>{mode, file.string()}));
    }
    for (std::size_t i = 0; i < recorders.size(); ++i) {
        const double begun = std::stod(recorders[i]->readLine()); // on the clock that all processes share
        std::this_thread::sleep_for(std::chrono::duration<double>(begun - HostClock::now()) + cases[i].life);
        const double lived = HostClock::now() - begun;
        recorders[i]->end(SIGKILL);

        const auto frames = framesOf(folder / (cases[i].mode + std::to_string(i)));
        ASSERT_FALSE(frames.empty()) << cases[i].mode;
        EXPECT_GT(frames.back().time, lived - 2) << cases[i].mode << " of " << lived;
    }
}

TEST_F(StreamAssetWriterSinkTest, AFullDiskFailsTheFinishAndKeepsWhatIsThere) {
    RecorderProgram recorder({"limited", movie.string(), "600000"});
    const std::string outcome = recorder.readLine();
    EXPECT_TRUE(outcome.starts_with("failed: ")) << outcome;
    EXPECT_FALSE(framesOf(movie).empty());
}

} // namespace
} // namespace tavrin
