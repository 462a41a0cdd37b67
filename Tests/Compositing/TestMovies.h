#pragma once

#include <functional>
#include <vector>

#include "Fixtures/Movies/Movies.h"
#include "TavrinKit/Compositing/MediaAsset.h"
#include "TavrinKit/Imaging/Image.h"

namespace tavrin::test {

/// A new H.264 movie, whose pictures begin at the times; without times it has sound alone. The sound has one
/// channel at 48 kHz.
MediaAsset movieOf(const std::function<PixelBuffer(int)>& picture, const TemporaryFolder& folder,
                   const std::vector<double>& times, double endTime, const std::vector<float>& sound = {});

/// Pictures of one grey each, which tells their number: 0...100.
[[nodiscard]] PixelBuffer greyPicture(int number);
MediaAsset greyMovie(const TemporaryFolder& folder, const std::vector<double>& times, double endTime,
                     const std::vector<float>& sound = {});
/// The number that a picture's middle bears; a mean of pictures bears the mean.
[[nodiscard]] double numberIn(const Image& image);

} // namespace tavrin::test
