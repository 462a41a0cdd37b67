#include "CaptureFixtures.h"

#include <algorithm>
#include <cstring>
#include <random>

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
    PixelBuffer picture = PixelBuffer::allocate(PixelFormat::i420, size);
    for (int index = 0; index < picture.planeCount(); ++index) {
        for (int y = 0; y < picture.plane(index).height; ++y) {
            std::memset(picture.row(index, y), index == 0 ? luma : 128,
                        std::size_t(picture.plane(index).width));
        }
    }
    return picture;
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
