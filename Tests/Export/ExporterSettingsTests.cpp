#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "ExportFixtures.h"
#include "TavrinKit/Export/FFmpegMP4Exporter.h"

namespace tavrin {
namespace {

using fixtures::smallPreset;

TEST(ExporterSettingsTests, BitRates) {
    struct Case {
        int width, height;
        double fps;
        ExportCodec codec;
        ExportSpeedQualityMode mode;
        double mbps;
    };
    using enum ExportCodec;
    using enum ExportSpeedQualityMode;
    const std::vector<Case> cases{
        {1920, 1080, 60, h264, highQuality, 18.04032},
        {1920, 1080, 10, h264, highQuality, 16}, // counts as 24; the floor
        {3840, 2160, 60, h264, highQuality, 72.16128},
        {3840, 2160, 240, h264, highQuality, 80},       // the ceiling
        {3840, 2160, 24, h264, highQuality, 32},        // the floor from 4K on
        {3840, 2158, 24, h264, highQuality, 28.837724}, // and just below it
        {3840, 2160, 120, hevc, highQuality, 60},
        {1280, 720, 30, h264, fastPreview, 6},
        {3840, 2160, 60, hevc, fastPreview, 32.348160},
    };
    for (const Case& c : cases) {
        ExportPreset preset = smallPreset(c.width, c.height, c.fps);
        preset.codec = c.codec;
        preset.mode = c.mode;
        preset.bitrate = {ExportBitrateStrategy::automatic, 5, 1, 9};
        EXPECT_NEAR(FFmpegMP4Exporter::heuristicBitRateMbps(preset), c.mbps, 1e-3) << c.width << " " << c.fps;
        EXPECT_EQ(FFmpegMP4Exporter::resolvedAverageBitRate(preset),
                  std::llround(FFmpegMP4Exporter::heuristicBitRateMbps(preset) * 1e6));
        preset.bitrate.strategy = ExportBitrateStrategy::constantMbps;
        EXPECT_EQ(FFmpegMP4Exporter::resolvedAverageBitRate(preset), 5'000'000);
        preset.bitrate.targetMbps.reset();
        EXPECT_NEAR(double(FFmpegMP4Exporter::resolvedAverageBitRate(preset)), c.mbps * 1e6, 1e3);
    }
}

TEST(ExporterSettingsTests, WhenACompositionIsNeeded) {
    struct Case {
        Size2D source, target;
        bool needed;
    };
    const std::vector<Case> cases{
        {{1920, 1080}, {1920, 1080}, false},
        {{1920, 1080}, {1921, 1080}, false},
        {{1920, 1080}, {1922, 1080}, true},
        {{1920, 1080}, {1920, 1081.5}, true},
        {{100, 100}, {101, 100}, true}, // one pixel, but another aspect
        {{0, 1080}, {0, 1080}, true},
        {{1920, 1080}, {1920, -1080}, true},
        {{std::nan(""), 1080}, {1920, 1080}, true},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(FFmpegMP4Exporter::requiresVideoComposition(c.source, c.target), c.needed)
            << c.source.width << "x" << c.source.height << " " << c.target.width << "x" << c.target.height;
    }
}

TEST(ExporterSettingsTests, KeyFramesAreTwoSecondsApartAndRatesAreWhole) {
    const std::vector<std::tuple<double, int, int>> cases{{60, 60, 120}, {29.97, 30, 60}, {59.76, 60, 120},
                                                          {1, 1, 2},     {0.2, 1, 1},     {23.7, 24, 47}};
    for (const auto& [fps, rate, interval] : cases) {
        const VideoTrackSettings settings = FFmpegMP4Exporter::videoOutputSettings(smallPreset(64, 64, fps));
        EXPECT_EQ(settings.frameRate, rate) << fps;
        EXPECT_EQ(settings.maximumKeyFrameInterval, interval) << fps;
    }
}

} // namespace
} // namespace tavrin
