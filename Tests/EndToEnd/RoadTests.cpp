#include <chrono>
#include <cmath>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Examples/Walkthrough/DemoApplication.h"
#include "Examples/Walkthrough/DemoLayout.h"
#include "Examples/Walkthrough/HumanPath.h"
#include "Examples/Walkthrough/Pacing.h"
#include "Examples/Walkthrough/ScreenTake.h"
#include "Fixtures/Movies/Movies.h"
#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Platform/X11/VirtualDisplay.h"
#include "TavrinKit/Platform/X11/XTestDriver.h"

namespace tavrin::test {

namespace {

namespace fs = std::filesystem;

/// Two clicks close together, some typing, a drag: what leaves each kind of event.
void workBriefly(XTestDriver& hand, Vec2 origin) {
    demo::HumanPath path(3);
    Vec2 position{900, 600};
    const auto glide = [&](Vec2 target) {
        demo::moveAlong(path.steps(position, target, 40), hand, origin, {});
        position = target;
    };
    glide(demo::DemoLayout::row(2).mid());
    hand.click();
    glide(demo::DemoLayout::field(demo::Field::notes).mid());
    hand.click();
    hand.type("Ready?");
    hand.tapKey("s", {"Control_L"});
    glide(demo::DemoLayout::sliderHandle(0.1));
    hand.press(XTestDriver::Button::left);
    glide(demo::DemoLayout::sliderHandle(0.8));
    hand.release(XTestDriver::Button::left);
    std::this_thread::sleep_for(std::chrono::milliseconds(600));
}

/// The colour box of the container itself: a player that doesn't open the stream goes by it.
bool hasColourBox(const fs::path& movie) {
    std::ifstream file(movie, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    return bytes.find(std::string("colrnclx\0\1\0\1\0\1", 14)) != std::string::npos;
}

} // namespace

TEST(Road, AShortTakeBecomesAMovieThatOtherPlayersUnderstand) {
    const TemporaryFolder folder;
    const VirtualDisplay display;
    const demo::DemoApplication application(display.name());
    XTestDriver hand(display.name());
    demo::ScreenTake take({.display = display.name(), .outputDirectory = folder.path()});
    take.start();
    workBriefly(hand, application.origin());
    take.finish();

    const demo::TakeFacts facts = take.facts();
    EXPECT_EQ(facts.clicks, 3U);
    EXPECT_EQ(facts.keys, 7U);
    EXPECT_GT(facts.moves, 20U);
    EXPECT_GT(facts.drags, 10U);
    EXPECT_GE(facts.cursorStates, 3U);
    EXPECT_GE(facts.zoomSegments, 1U);
    for (const MouseEvent& event : take.session().events().mouseEvents()) {
        EXPECT_TRUE(event.timestamp >= 0 && event.timestamp <= facts.durationSeconds);
    }

    const ExportResult result = take.exportMovie(
        ExportPreset::required1080p(ExportAspectPreset::horizontal16x9, ExportSpeedQualityMode::highQuality),
        {});
    ASSERT_EQ(result.outputURL, take.moviePath());

    const Json movie = probe(result.outputURL);
    const Json& stream = movie.at("streams").at(0);
    const std::vector<std::pair<const char*, Json>> expected{
        {"codec_name", "h264"},
        {"profile", "High"},
        {"width", 1920},
        {"height", 1080},
        {"r_frame_rate", "60/1"},
        {"avg_frame_rate", "60/1"},
        {"color_range", "tv"},
        {"color_space", "bt709"},
        {"color_transfer", "bt709"},
        {"color_primaries", "bt709"},
        {"pix_fmt", "yuv420p"},
        {"has_b_frames", 0},
    };
    for (const auto& [key, value] : expected) {
        EXPECT_EQ(stream.value(key, Json()), value) << key;
    }
    EXPECT_TRUE(hasColourBox(result.outputURL));

    const Json& packets = movie.at("packets");
    const double wanted = facts.durationSeconds * 60;
    EXPECT_EQ(packets.size(), std::size_t(std::ceil(wanted - 1e-9)));
    const auto timeOf = [&](std::size_t packet) {
        return packets.at(packet).at("pts").get<std::int64_t>();
    };
    const std::int64_t step = timeOf(1) - timeOf(0);
    EXPECT_GT(step, 0);
    for (std::size_t i = 1; i < packets.size(); ++i) {
        ASSERT_EQ(timeOf(i) - timeOf(i - 1), step) << "packet " << i;
    }

    EXPECT_EQ(folder.names().size(), 2U) << "the temporary movie has gone";
}

} // namespace tavrin::test
