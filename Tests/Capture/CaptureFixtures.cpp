#include "CaptureFixtures.h"

#include <algorithm>
#include <random>

#include "Fixtures/Movies/Movies.h"
#include "TavrinKit/Media/VideoReader.h"

namespace tavrin::test {

void Gate::open() {
    const std::lock_guard lock(mutex_);
    isOpen_ = true;
    opened_.notify_all();
}

void Gate::wait() {
    std::unique_lock lock(mutex_);
    opened_.wait(lock, [&] { return isOpen_; });
}

PixelBuffer greyPicture(PixelSize size, int luma) {
    return flat(size, luma, 128, 128);
}

PixelBuffer noisePicture(PixelSize size, std::uint32_t seed) {
    PixelBuffer picture = greyPicture(size, 128);
    std::minstd_rand random(seed + 1);
    for (int y = 0; y < size.height; ++y) {
        std::generate_n(picture.row(0, y), size.width, [&] { return std::uint8_t(16 + random() % 220); });
    }
    return picture;
}

VideoSample videoSample(PixelBuffer picture, double time) {
    VideoSample sample;
    sample.pixels = std::move(picture);
    sample.presentationTime = time;
    return sample;
}

std::vector<MovieFrame> framesOf(const std::filesystem::path& movie) {
    VideoReader reader(movie, {1}); // decoder threads mean nothing to the thread sanitizer
    std::vector<MovieFrame> frames;
    while (const auto frame = reader.next()) {
        const PixelSize size = frame->pixels.size();
        frames.push_back({frame->time, frame->pixels.row(0, size.height / 2)[size.width / 2]});
    }
    return frames;
}

} // namespace tavrin::test
