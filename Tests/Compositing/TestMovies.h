#pragma once

#include <filesystem>
#include <functional>
#include <vector>

#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Media/MovieWriter.h"

namespace tavrin::test {

/// Writes an H.264 movie whose pictures begin at the times.
void writeMovie(const std::filesystem::path& path, const std::vector<double>& times, double endTime,
                const std::function<PixelBuffer(int)>& picture);

/// Pictures of one grey each, which tells their number: 0...50. Exact to less than half a number after
/// encoding.
[[nodiscard]] PixelBuffer greyPicture(PixelSize size, int number);
/// The number that an image's middle bears; a mean of pictures bears the mean.
[[nodiscard]] double numberIn(const Image& image);

[[nodiscard]] std::vector<double> evenTimes(int count, double rate);

} // namespace tavrin::test
