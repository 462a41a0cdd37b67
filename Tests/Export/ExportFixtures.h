#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

#include "Fixtures/Movies/Movies.h"
#include "TavrinKit/Export/MP4Exporting.h"

namespace tavrin::test {

struct SyntheticMovie {
    PixelSize size{192, 108};
    std::vector<double> times; ///< when each picture begins; its number is its index
    double endTime = 0;
    std::optional<std::vector<float>> sound{};       ///< mono, 48 kHz
    std::function<PixelBuffer(int index)> picture{}; ///< absent: numbered pictures
};

/// Writes a movie of variable rate.
void write(const SyntheticMovie& movie, const std::filesystem::path& path);

/// A small preset: H.264 at 60 frames per second with enough bits to be true to its pictures.
[[nodiscard]] ExportPreset smallPreset(int width = 192, int height = 108, double fps = 60);

[[nodiscard]] ExportRequest request(const std::filesystem::path& source,
                                    const std::filesystem::path& destination,
                                    const ExportPreset& preset = smallPreset());

} // namespace tavrin::test
