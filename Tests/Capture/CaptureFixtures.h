#pragma once

#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin::test {

/// Hangs whoever comes until it is opened.
class Gate {
public:
    void open();
    void wait();

private:
    std::mutex mutex_;
    std::condition_variable opened_;
    bool isOpen_ = false;
};

/// What a call fails with.
template <typename Failure>
Failure failureOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const Failure& failure) {
        return failure;
    }
    throw std::logic_error("no failure");
}

/// A plain grey picture of this luma.
[[nodiscard]] PixelBuffer greyPicture(PixelSize size, int luma);

/// A picture that no encoder can make small.
[[nodiscard]] PixelBuffer noisePicture(PixelSize size, std::uint32_t seed);

[[nodiscard]] VideoSample videoSample(PixelBuffer picture, double time);

struct MovieFrame {
    double time = 0;
    int luma = 0; ///< of the pixel in the middle
};

/// All frames of a movie, decoded.
[[nodiscard]] std::vector<MovieFrame> framesOf(const std::filesystem::path& movie);

} // namespace tavrin::test
