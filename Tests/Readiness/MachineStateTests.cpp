#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "Fixtures/PulseServer.h"
#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Platform/Pulse/PulseMicrophoneCatalog.h"
#include "TavrinKit/Platform/V4L2/V4L2CameraCatalog.h"
#include "TavrinKit/Platform/X11/VirtualDisplay.h"
#include "TavrinKit/Platform/X11/X11CaptureBackend.h"
#include "TavrinKit/Readiness/DisplayTopologyValidator.h"
#include "TavrinKit/Readiness/PreflightCheckRunner.h"
#include "TavrinKit/Readiness/SystemCapabilityService.h"

namespace tavrin::test {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t KiB = 1024;

/// A file system of 1 MiB that only one process has mounted; seen through that process from outside.
class SmallDisk {
public:
    SmallDisk()
        : process_({"unshare", ::geteuid() == 0 ? "-m" : "-rm", "sh", "-c",
                    "mount -t tmpfs -o size=1m none \"$0\" && echo mounted && exec sleep 60",
                    mountPoint_.path()}) {
        isMounted_ = process_.readLine() == "mounted";
    }

    [[nodiscard]] bool isMounted() const { return isMounted_; }
    [[nodiscard]] fs::path path() const {
        return "/proc/" + std::to_string(process_.processID()) + "/root" + mountPoint_.path().string();
    }
    /// Writes until nothing more goes in.
    void fill() const {
        std::ofstream file(path() / "take.mov");
        const std::string block(4 * KiB, 'x');
        while (file << block << std::flush) {
        }
    }

private:
    TemporaryFolder mountPoint_;
    Child process_;
    bool isMounted_ = false;
};

SystemCapabilityService thisMachine() {
    return {std::make_shared<PulseMicrophoneCatalog>(), std::make_shared<V4L2CameraCatalog>()};
}

/// What the check of that name says of a recording with microphone.
std::string verdict(const std::string& id, PreflightContext context) {
    context.includeMicrophone = context.microphonePermissionGranted = true;
    const auto checks = PreflightCheckRunner::run(context).checks;
    const auto found = std::ranges::find(checks, id, &PreflightCheckResult::id);
    return std::string(nameOf(found->status)) + ": " + found->message;
}

TEST(MachineStateTests, aDiskThatFillsUp) {
    const SystemCapabilityService service = thisMachine();
    PreflightContext context;
    const SmallDisk disk;
    if (!disk.isMounted()) {
        std::cout << "No file system may be mounted here: the machine's own disk is judged instead.\n";
        const auto most = std::numeric_limits<std::int64_t>::max();
        context.diskCapacity = service.diskCapacity(fs::temp_directory_path(), most, most);
        EXPECT_EQ(verdict("disk_capacity", context),
                  "fail: Disk space is below the safe recording threshold.");
        return;
    }
    const auto said = [&](std::int64_t warning, std::int64_t failure) {
        context.diskCapacity = service.diskCapacity(disk.path() / "Projects" / "next", warning, failure);
        return verdict("disk_capacity", context);
    };
    EXPECT_EQ(said(1024 * KiB, 512 * KiB), "pass: Sufficient disk capacity is available."); // to the byte
    disk.fill();
    EXPECT_EQ(said(service.defaultDiskWarningThresholdBytes, service.defaultDiskFailureThresholdBytes),
              "fail: Disk space is below the safe recording threshold.");
    EXPECT_EQ(context.diskCapacity.availableBytes, 0);
    fs::resize_file(disk.path() / "take.mov", 512 * KiB);
    EXPECT_EQ(said(1024 * KiB, 512 * KiB), "warn: Disk space is low and long recordings may fail.");
}

TEST(MachineStateTests, aSoundServerThatComesAndGoes) {
    const PrivateHome home;
    const SystemCapabilityService service = thisMachine();
    const auto said = [&] {
        PreflightContext context;
        context.microphoneCapabilities = service.microphoneCapabilities();
        return verdict("microphone_availability", context);
    };
    constexpr const char* none = "fail: No microphone input device was detected.";
    EXPECT_EQ(said(), none);
    {
        const PulseServer onlyMonitors(home);
        EXPECT_EQ(said(), none);
    }
    {
        const PulseServer withSource(home, {"module-null-source source_name=desk"});
        EXPECT_EQ(said(), "pass: Microphone input device is available.");
    }
    fs::remove(home.pulseSocket());
    const SilentPulseServer silent(home);
    EXPECT_EQ(said(), none);
}

TEST(MachineStateTests, displaysThatArePluggedInAndOut) {
    VirtualDisplay::Settings settings;
    settings.size = {1200, 600};
    settings.monitors = {{"LEFT", 0, 0, {300, 200}, false}, {"RIGHT", 300, 0, {900, 600}, true}};
    VirtualDisplay display(settings);
    X11CaptureBackend backend(display.name());
    PreflightContext context;
    const auto said = [&] {
        context.displayValidation =
            DisplayTopologyValidator::validate(displayDescriptors(backend.shareableContent(true, true)));
        return verdict("display_topology", context);
    };
    EXPECT_EQ(said(), "warn: Display topology is usable with 1 warning(s).");
    const auto& displays = context.displayValidation.displays;
    ASSERT_EQ(displays.size(), 2U);
    EXPECT_EQ(displays[0], (DisplayDescriptor{displays[0].id, 900, 600, 1, true}));
    EXPECT_EQ(displays[1], (DisplayDescriptor{displays[1].id, 300, 200, 1, false}));

    display.setMonitors({{"LEFT", 0, 0, {600, 600}, true}, {"RIGHT", 600, 0, {600, 600}, false}});
    EXPECT_EQ(said(), "pass: Display topology validation passed.");
    EXPECT_NE(displays[0].id, displays[1].id);
}

} // namespace
} // namespace tavrin::test
