#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin::test {

/// Answers for the driver of a device: 0, or -1 with errno set.
using Driver = std::function<int(unsigned long request, void* argument)>;

/// In this program every ioctl on an open file of that path goes to the driver.
void installDriver(const std::string& path, Driver driver);
void removeDrivers();

/// A camera of the kernel, as far as libavdevice can tell: a file whose pages are the buffers, and a driver
/// that fills them at the pace of the mode that was set.
class FakeCamera {
public:
    struct Mode {
        std::uint32_t format = 0; ///< of V4L2
        PixelSize size{640, 480};
        int rate = 30;
    };
    struct Settings {
        std::vector<Mode> modes;
        std::string picture{};        ///< the bytes of each; empty: grey YUYV
        int picturesToLive = 1 << 30; ///< then the device has gone
        bool isBusy = false;
        bool isSilent = false;
    };

    explicit FakeCamera(const Settings& settings);
    ~FakeCamera() { removeDrivers(); }

    [[nodiscard]] const std::string& path() const { return path_; }
    /// When the pictures were taken that were fetched: seconds of the monotonic clock.
    [[nodiscard]] std::vector<double> times() const;

private:
    struct State;
    TemporaryFolder folder_;
    std::string path_;
    std::shared_ptr<State> state_;
};

} // namespace tavrin::test
