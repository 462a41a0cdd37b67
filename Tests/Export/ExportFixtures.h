#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Export/MP4Exporting.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin::fixtures {

using test::TemporaryFolder;

/// Y, U and V of BT.709 limited range.
using Colour = std::array<std::uint8_t, 3>;

[[nodiscard]] PixelBuffer flatPicture(PixelSize size, Colour colour);

/// A picture with a number of 12 bits in large black and white fields, which survive scaling and encoding.
[[nodiscard]] PixelBuffer numberedPicture(PixelSize size, int number);
[[nodiscard]] int numberIn(const PixelBuffer& picture);

/// The mean of a plane's middle.
[[nodiscard]] double meanOfMiddle(const PixelBuffer& picture, int plane);

struct SyntheticMovie {
    PixelSize size{192, 108};
    std::vector<double> times; ///< when each picture begins; its number is its index
    double endTime = 0;
    std::optional<std::vector<float>> sound{};       ///< mono, 48 kHz
    std::function<PixelBuffer(int index)> picture{}; ///< absent: numbered pictures
};

/// Writes a movie of variable rate.
void write(const SyntheticMovie& movie, const std::filesystem::path& path);

/// `count` times at an even rate.
[[nodiscard]] std::vector<double> evenTimes(int count, double framesPerSecond);

/// A small preset: H.264 at 60 frames per second with enough bits to be true to its pictures.
[[nodiscard]] ExportPreset smallPreset(int width = 192, int height = 108, double fps = 60);

[[nodiscard]] ExportRequest request(const std::filesystem::path& source,
                                    const std::filesystem::path& destination,
                                    const ExportPreset& preset = smallPreset());

/// What the ffprobe program prints of a file as JSON.
[[nodiscard]] Json probed(const std::filesystem::path& path);

/// The first audio track, mixed down to mono at 48 kHz.
[[nodiscard]] std::vector<float> soundOf(const std::filesystem::path& path);

} // namespace tavrin::fixtures
