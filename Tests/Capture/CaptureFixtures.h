#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Media/MovieReader.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin::test {

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

/// Waits until something of a movie that is being written can be played.
void waitForFrames(const std::filesystem::path& movie);

} // namespace tavrin::test
