#include <chrono>
#include <fstream>
#include <functional>
#include <limits>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Readiness/SystemCapabilityService.h"
#include "TavrinKit/Support/Cancellation.h"

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
        {6, 8 * GiB, 8, false, true},  {6, 8 * GiB - 1, 7, false, false},  {5, 64 * GiB, 64, false, false},
        {1, GiB / 2, 1, false, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(SystemCapabilityService::exportCapabilities(c.cores, c.memory),
                  (ExportCapabilitySnapshot{c.cores,
                                            c.expectedGB,
                                            {c.supports4K},
                                            {{ExportCodec::h264, "high", true, true},
                                             {ExportCodec::hevc, "main", c.hevc, c.hevc}}}));
    }
    EXPECT_EQ(SystemCapabilityService::exportCapabilities(0, 0).cpuCoreCount, 1);
}

TEST(CapabilityTests, memoryIsWhatIsBuiltInAndNotWhatTheKernelLeaves) {
    std::ifstream information("/proc/meminfo");
    std::string label;
    std::uint64_t usableKiB = 0;
    information >> label >> usableKiB;
    ASSERT_EQ(label, "MemTotal:");
    const double usable = double(usableKiB) / (1 << 20);
    const int said = SystemCapabilityService({}, {}).exportCapabilities().memoryGB;
    EXPECT_GE(said + 1, usable);
    EXPECT_LE(said, usable * 1.25 + 1);
}

TEST(CapabilityTests, aDiskIsJudgedAgainstThresholdsInTheirRanges) {
    using enum DiskCapacityStatus;
    struct {
        std::optional<std::int64_t> available;
        std::int64_t warning, failure;
        DiskCapacityCheck expected;
    } const cases[] = {
        {10, 20, 10, {10, 20, 10, warn}}, // equal is not below
        {20, 20, 10, {20, 20, 10, pass}}, {9, 20, 10, {9, 20, 10, fail}},
        {5, 10, 20, {5, 10, 10, fail}},   {0, -1, 20, {0, 0, 0, pass}},
        {0, 20, -5, {0, 20, 0, warn}},    {std::nullopt, 20, 10, {std::nullopt, 20, 10, unknown}},
    };
    for (const auto& c : cases) {
        const auto check = DiskCapacityCheck::judge(c.available, c.warning, c.failure);
        EXPECT_EQ(check, c.expected) << encodeDocument(check);
        EXPECT_EQ(decodeDocument<DiskCapacityCheck>(encodeDocument(check)), check);
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
    EXPECT_TRUE(service.diskCapacity("no-such-folder/project").availableBytes);
    EXPECT_EQ(service.diskCapacity("/proc/self").status, DiskCapacityStatus::unknown); // has no size

    for (const auto& unreadable : {std::string(), (folder / std::string(300, 'x')).string()}) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(service.diskCapacity(unreadable), (DiskCapacityCheck{std::nullopt, 5LL << 30, 2LL << 30}));
        EXPECT_THAT(testing::internal::GetCapturedStderr(),
                    testing::MatchesRegex("\\[TavrinKit.SystemCapabilityService\\] "
                                          "diskCapacity.resourceValues error=.* rootPath=" +
                                          unreadable + " stack=.*\n"));
    }
}

using Devices = std::vector<CaptureDevice>;

class ScriptedDevices : public CaptureDeviceCataloging {
public:
    using Answer = std::function<Devices(const std::stop_token&)>;
    explicit ScriptedDevices(Answer answer) : answer_(std::move(answer)) {}
    [[nodiscard]] Devices devices(std::stop_token stop) const override { return answer_(stop); }

private:
    Answer answer_;
};

Devices list(const std::stop_token&) {
    return {{"2", "Webcam"}, {"1", "Builtin"}, {"3", "Webcam"}};
}

Devices fail(const std::stop_token&) {
    throw Error("No server.");
}

/// Like a driver that doesn't even notice a stop, for as long as it is asked to.
Devices hang(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return {{"late", "Late"}};
}

TEST(CapabilityTests, devicesThatCannotBeListedCountAsNone) {
    const auto listed = std::make_shared<ScriptedDevices>(list);
    const SystemCapabilityService sound(listed, listed);
    EXPECT_EQ(sound.microphoneCapabilities(),
              (MicrophoneCapabilitySnapshot{true, 3, {"Builtin", "Webcam", "Webcam"}}));
    EXPECT_EQ(sound.cameraCapabilities(),
              (CameraCapabilitySnapshot{true, 3, {"Builtin", "Webcam", "Webcam"}}));

    testing::internal::CaptureStderr();
    const SystemCapabilityService broken(std::make_shared<ScriptedDevices>(fail),
                                         std::make_shared<ScriptedDevices>(hang));
    EXPECT_EQ(broken.microphoneCapabilities(), MicrophoneCapabilitySnapshot());
    EXPECT_EQ(broken.cameraCapabilities(), CameraCapabilitySnapshot());
    EXPECT_EQ(SystemCapabilityService({}, {}).cameraCapabilities(), CameraCapabilitySnapshot());
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::AllOf(testing::HasSubstr("microphoneCapabilities.devices error=tavrin::Error: No"),
                               testing::HasSubstr("cameraCapabilities.devices error=tavrin::Error: There")));
}

} // namespace
} // namespace tavrin
