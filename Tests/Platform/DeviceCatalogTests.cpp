#include <cerrno>
#include <cstring>
#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/videodev2.h>
#include <sys/stat.h>
#include <unistd.h>

#include "FakeCamera.h"
#include "Fixtures/PulseServer.h"
#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Platform/Pulse/PulseError.h"
#include "TavrinKit/Platform/Pulse/PulseMicrophoneCatalog.h"
#include "TavrinKit/Platform/V4L2/V4L2CameraCatalog.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin::test {
namespace {

v4l2_capability answer(const std::string& card, std::uint32_t ofAll, std::optional<std::uint32_t> ofThisOne) {
    v4l2_capability capability{};
    std::memcpy(capability.card, card.data(), std::min(card.size(), sizeof capability.card));
    capability.capabilities = ofAll | (ofThisOne ? V4L2_CAP_DEVICE_CAPS : 0);
    capability.device_caps = ofThisOne.value_or(0);
    return capability;
}

/// Another device of the machine that answers like a camera.
void standIn(const std::string& path, const v4l2_capability& capability) {
    installDriver(path, [capability](unsigned long request, void* argument) {
        if (request != VIDIOC_QUERYCAP) {
            errno = ENOTTY;
            return -1;
        }
        *static_cast<v4l2_capability*>(argument) = capability;
        return 0;
    });
}

TEST(V4L2CameraCatalogTests, listsWhatCapturesPicturesInTheOrderOfNumbers) {
    const TemporaryFolder folder;
    const auto device = [&folder](const char* name, const char* target) {
        ASSERT_EQ(::symlink(target, (folder / name).c_str()), 0);
    };
    constexpr std::uint32_t camera = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_META_CAPTURE;
    const std::string cutName = "A name of 31 bytes and more....\xc3"; // half of a character

    standIn("/dev/null", answer("Desk Camera", camera, V4L2_CAP_VIDEO_CAPTURE));
    standIn("/dev/zero", answer("Desk Camera", camera, V4L2_CAP_META_CAPTURE));
    standIn("/dev/full", answer(cutName, V4L2_CAP_VIDEO_CAPTURE_MPLANE, std::nullopt));
    standIn("/dev/urandom", answer("Decoder", V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_VIDEO_OUTPUT, std::nullopt));
    device("video10", "/dev/null");
    device("video11", "/dev/zero");
    device("video2", "/dev/full");
    device("video3", "/dev/urandom");
    device("video4", "/dev/random"); // whose driver has no answer
    device("video5", "/dev/gone");
    device("videos", "/dev/null");
    device("video7b", "/dev/null");
    device("avideo8", "/dev/null");
    ASSERT_EQ(::mkfifo((folder / "video6").c_str(), 0600), 0);

    const auto cameras = V4L2CameraCatalog(folder.path()).devices({});
    removeDrivers();
    EXPECT_THAT(cameras,
                testing::ElementsAre(CaptureDevice{folder / "video2", cutName.substr(0, 31) + "\xef\xbf\xbd"},
                                     CaptureDevice{folder / "video10", "Desk Camera"}));
    EXPECT_TRUE(V4L2CameraCatalog(folder / "none").devices({}).empty());
    (void)V4L2CameraCatalog().devices({}); // whatever this machine has
}

TEST(PulseMicrophoneCatalogTests, everyAnswerIsFreshAndWithoutMonitors) {
    const PrivateHome home;
    const PulseMicrophoneCatalog catalog;
    EXPECT_THROW((void)catalog.devices({}), PulseError);
    {
        const PulseServer server(home);
        EXPECT_THAT(catalog.devices({}), testing::IsEmpty());
    }
    const PulseServer server(home, {"module-null-source source_name=desk description=Desk"});
    EXPECT_THAT(catalog.devices({}), testing::ElementsAre(CaptureDevice{"desk", "Desk"}));
    EXPECT_THAT(PulseMicrophoneCatalog("unix:" + home.pulseSocket()).devices({}), testing::SizeIs(1));
}

} // namespace
} // namespace tavrin::test
