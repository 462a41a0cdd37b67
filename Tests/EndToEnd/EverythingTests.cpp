#include <algorithm>
#include <chrono>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Examples/Walkthrough/DemoApplication.h"
#include "Examples/Walkthrough/DemoLayout.h"
#include "Examples/Walkthrough/ScreenTake.h"
#include "Examples/Walkthrough/Showcase.h"
#include "Fixtures/Movies/Movies.h"
#include "Fixtures/TemporaryFolder.h"
#include "PlainWindow.h"
#include "TavrinKit/Media/VideoReader.h"
#include "TavrinKit/Platform/X11/VirtualDisplay.h"
#include "TavrinKit/Platform/X11/XTestDriver.h"

namespace tavrin::test {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr int claps = 11;
constexpr auto betweenClaps = 1100ms;
constexpr auto clapLength = 180ms;
constexpr double frameRate = 60;
constexpr double inStep = 0.020; ///< seconds

/// Clicks, typing and a shortcut, while the whole screen goes black for a moment every second or so.
void workAndClap(const std::string& display, Vec2 origin) {
    const PlainWindow window(display, {0, 0, 1920, 1080}, 0x000000);
    const std::jthread hands([&](const std::stop_token& stop) {
        XTestDriver hand(display);
        for (int i = 0; !stop.stop_requested(); ++i) {
            const Vec2 target = demo::DemoLayout::row(i % 5).mid() + origin;
            hand.moveTo(int(target.x) + i % 7, int(target.y));
            if (i % 25 == 10) {
                hand.click();
            }
            if (i % 50 == 30) {
                hand.type("Plan");
                hand.tapKey("s", {"Control_L"});
            }
            std::this_thread::sleep_for(40ms);
        }
    });
    const auto start = std::chrono::steady_clock::now() + 700ms;
    for (int i = 0; i < claps; ++i) {
        std::this_thread::sleep_until(start + i * betweenClaps);
        window.show();
        std::this_thread::sleep_for(clapLength);
        window.hide();
    }
    std::this_thread::sleep_for(900ms);
}

double meanLuma(const PixelBuffer& picture) {
    double sum = 0;
    int count = 0;
    for (int y = 0; y < picture.size().height; y += 8) {
        const std::uint8_t* row = picture.row(0, y);
        for (int x = 0; x < picture.size().width; x += 8) {
            sum += row[x];
            ++count;
        }
    }
    return sum / count;
}

/// When the picture of a movie turns from bright to dark: the time of each first dark frame.
std::vector<double> clapsIn(const fs::path& movie, double& frames) {
    VideoReader reader(movie);
    std::vector<std::pair<double, double>> brightness;
    while (const auto frame = reader.next()) {
        brightness.emplace_back(frame->time, meanLuma(frame->pixels));
    }
    frames = double(brightness.size());
    const auto byBrightness = [](const auto& a, const auto& b) {
        return a.second < b.second;
    };
    const auto [darkest, brightest] = std::ranges::minmax_element(brightness, byBrightness);
    const double threshold = darkest->second + 0.35 * (brightest->second - darkest->second);
    std::vector<double> times;
    for (std::size_t i = 1; i < brightness.size(); ++i) {
        if (brightness[i - 1].second > threshold && brightness[i].second <= threshold) {
            times.push_back(brightness[i].first);
        }
    }
    return times;
}

/// When the sound near a time first rises to a third of its peak there. It goes by how steep the sound is: a
/// clap is far steeper than the low music, however loud each of them is.
double onsetNear(const std::vector<float>& sound, double time, double reach) {
    constexpr double rate = 48000;
    const auto first = std::size_t(std::max((time - reach) * rate, 1.0));
    const auto last = std::min(std::size_t((time + reach) * rate), sound.size());
    const auto steepness = [&](std::size_t i) {
        return std::abs(sound[i] - sound[i - 1]);
    };
    float peak = 0;
    for (std::size_t i = first; i < last; ++i) {
        peak = std::max(peak, steepness(i));
    }
    for (std::size_t i = first; i < last; ++i) {
        if (steepness(i) >= peak / 3) {
            return double(i) / rate;
        }
    }
    return -1;
}

/// What a stretch of the recording takes in the movie; written out by hand, apart from the library's mapper.
double lengthInMovie(const demo::Showcase::Cuts& cuts, double from, double to) {
    const auto inside = [&](const ClipTimeRange& range) {
        return std::max(std::min(to, range.endTime) - std::max(from, range.startTime), 0.0);
    };
    return (to - from) + inside(cuts.slow) * (2 - 1) + inside(cuts.fast) * (0.5 - 1) +
           inside(cuts.slowest) * (4 - 1);
}

} // namespace

TEST(Everything, KeepsPictureAndSoundInStepThroughAllEditsAtOnce) {
    const TemporaryFolder folder;
    const VirtualDisplay display;
    const demo::DemoApplication application(display.name());
    demo::ScreenTake take({.display = display.name(), .outputDirectory = folder.path()});
    take.start();
    workAndClap(display.name(), application.origin());
    take.finish();

    double recordedFrames = 0;
    const std::vector<double> marks = clapsIn(take.session().package().screenURL(), recordedFrames);
    ASSERT_EQ(marks.size(), std::size_t(claps));

    // Every border of the edit lies on a mark.
    const demo::Showcase::Cuts cuts{{marks.front(), marks.back() + 0.5},
                                    {marks[2], marks[3]},
                                    {marks[5], marks[7]},
                                    {marks[8], marks[9]}};
    const EditorSession session = demo::Showcase::apply(take.packagePath(), cuts, marks);
    const fs::path movie = folder / "everything.mp4";
    demo::exportSession(
        session,
        ExportPreset::required1080p(ExportAspectPreset::horizontal16x9, ExportSpeedQualityMode::highQuality),
        movie, {});

    const double edited = lengthInMovie(cuts, cuts.trim.startTime, cuts.trim.endTime);
    double frames = 0;
    const std::vector<double> seen = clapsIn(movie, frames);
    const std::vector<float> sound = readSound(movie);
    EXPECT_NEAR(frames, edited * frameRate, 1);
    EXPECT_NEAR(double(sound.size()) / 48000, edited, 2 / frameRate);

    // The movie starts with the first mark, which therefore is no turn of the picture.
    ASSERT_EQ(seen.size(), marks.size() - 1);
    for (std::size_t i = 0; i < marks.size(); ++i) {
        const double expected = lengthInMovie(cuts, cuts.trim.startTime, marks[i]);
        const double heard = onsetNear(sound, expected, 0.15);
        EXPECT_NEAR(heard, expected, inStep) << "the sound of mark " << i;
        if (i > 0) {
            const double turned = seen[i - 1] - 0.5 / frameRate; // between this frame and the one before
            EXPECT_NEAR(turned, expected, 1 / frameRate) << "the picture of mark " << i;
            EXPECT_NEAR(heard, turned, inStep) << "mark " << i;
        }
    }
}

} // namespace tavrin::test
