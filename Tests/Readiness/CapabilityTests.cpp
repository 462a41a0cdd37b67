#include <fstream>
#include <limits>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Readiness/SystemCapabilityService.h"

namespace tavrin {
namespace {

constexpr std::uint64_t GiB = std::uint64_t(1) << 30;
constexpr auto most = std::numeric_limits<std::int64_t>::max();

TEST(CapabilityTests, whatIsOfferedFollowsFromCoresAndMemory) {
    struct {
        int cores;
        std::uint64_t memory;
        int expectedGB;
        bool supports4K, hevc;
    } const cases[] = {
        {8, 16 * GiB, 16, true, true}, {8, 16 * GiB - 1, 15, false, true}, {7, 64 * GiB, 64, false, true},
        {6, 8 * GiB, 8, false, true},  {6, 8 * GiB - 1, 7, false, false},  {5, GiB / 2, 1, false, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(SystemCapabilityService::exportCapabilities(c.cores, c.memory),
                  (ExportCapabilitySnapshot{c.cores,
                                            c.expectedGB,
                                            {c.supports4K},
                                            {{ExportCodec::h264, "high", true, true},
                                             {ExportCodec::hevc, "main", c.hevc, c.hevc}}}));
    }
    Json json;
    encode(json, ExportCodecCapability{ExportCodec::hevc, "main", true, false});
    EXPECT_EQ(json, parseJson(R"({"codec":"hevc","profile":"main","supported":true,)"
                              R"("hardwareAccelerated":false})"));
}

TEST(CapabilityTests, aDiskIsJudgedAgainstThresholdsInTheirRanges) {
    using enum DiskCapacityStatus;
    struct {
        std::optional<std::int64_t> available;
        std::int64_t warning, failure;
        DiskCapacityCheck expected;
    } const cases[] = {
        {10, 20, 10, {10, 20, 10, warn}}, // equal is not below
        {20, 20, 10, {20, 20, 10, pass}}, {9, 20, 10, {9, 20, 10, fail}}, {5, 10, 20, {5, 10, 10, fail}},
        {0, -1, 20, {0, 0, 0, pass}},     {0, 20, -5, {0, 20, 0, warn}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(DiskCapacityCheck::judge(c.available, c.warning, c.failure), c.expected);
    }
}

TEST(CapabilityTests, aDiskIsFoundThroughTheNearestParentThatExists) {
    const SystemCapabilityService service({}, {});
    const test::TemporaryFolder folder;
    std::ofstream(folder / "file") << "text";
    for (const std::string path : {"", "/", "/not/yet/there/", "/file", "/file/below"}) {
        const auto check = service.diskCapacity(folder.path().string() + path, most, most);
        EXPECT_GT(check.availableBytes.value_or(0), 0) << path;
        EXPECT_EQ(check.status, DiskCapacityStatus::fail) << path;
    }
    EXPECT_EQ(service.diskCapacity("/proc/self").status, DiskCapacityStatus::unknown); // has no size

    const std::string unreadable(300, 'x');
    testing::internal::CaptureStderr();
    EXPECT_EQ(service.diskCapacity(unreadable), (DiskCapacityCheck{std::nullopt, 5LL << 30, 2LL << 30}));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("diskCapacity.resourceValues error="));
}

class ScriptedDevices : public CaptureDeviceCataloging {
public:
    [[nodiscard]] std::vector<CaptureDevice> devices(std::stop_token) const override {
        if (isBroken) {
            throw Error("No server.");
        }
        return {{"2", "Webcam"}, {"1", "Builtin"}, {"3", "Webcam"}};
    }
    bool isBroken = false;
};

TEST(CapabilityTests, devicesAreSortedAndThoseThatCannotBeListedCountAsNone) {
    const auto devices = std::make_shared<ScriptedDevices>();
    const SystemCapabilityService service(devices, {});
    EXPECT_EQ(service.microphoneCapabilities(),
              (MicrophoneCapabilitySnapshot{true, 3, {"Builtin", "Webcam", "Webcam"}}));
    EXPECT_EQ(service.cameraCapabilities(), CameraCapabilitySnapshot());
    devices->isBroken = true;
    EXPECT_EQ(service.microphoneCapabilities(), MicrophoneCapabilitySnapshot());
}

} // namespace
} // namespace tavrin
