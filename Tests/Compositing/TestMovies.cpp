#include "TestMovies.h"

#include <cstring>

#include "TestPictures.h"

namespace tavrin::test {

void writeMovie(const std::filesystem::path& path, const std::vector<double>& times, double endTime,
                const std::function<PixelBuffer(int)>& picture) {
    MovieWriterSettings settings;
    settings.path = path;
    settings.container = MovieContainer::quickTime;
    VideoTrackSettings& video = settings.video.emplace();
    video.size = picture(0).size();
    video.effort = EncoderEffort::ultrafast;
    MovieWriter writer(settings);
    for (int i = 0; i < int(times.size()); ++i) {
        writer.appendVideo(picture(i), times[std::size_t(i)]);
    }
    writer.finish(endTime);
}

PixelBuffer greyPicture(PixelSize size, int number) {
    const PixelBuffer picture = PixelBuffer::allocate(PixelFormat::i420, size);
    for (int plane = 0; plane < 3; ++plane) {
        for (int y = 0; y < picture.plane(plane).height; ++y) {
            std::memset(picture.row(plane, y), plane == 0 ? 20 + 4 * number : 128,
                        std::size_t(picture.plane(plane).width));
        }
    }
    return picture;
}

double numberIn(const Image& image) {
    const Rect middle{std::floor(image.extent().midX()), std::floor(image.extent().midY()), 1, 1};
    const double red = pixel(rendered(image, middle), 0, 0)[0];
    return (16 + red * 219 / 255 - 20) / 4;
}

std::vector<double> evenTimes(int count, double rate) {
    std::vector<double> times;
    for (int i = 0; i < count; ++i) {
        times.push_back(i / rate);
    }
    return times;
}

} // namespace tavrin::test
