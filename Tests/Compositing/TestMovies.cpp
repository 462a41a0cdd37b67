#include "TestMovies.h"

#include <cstring>

#include "TavrinKit/Media/MovieWriter.h"
#include "TavrinKit/Support/UUID.h"
#include "TestPictures.h"

namespace tavrin::test {

MediaAsset movieOf(const std::function<PixelBuffer(int)>& picture, const TemporaryFolder& folder,
                   const std::vector<double>& times, double endTime, const std::vector<float>& sound) {
    MovieWriterSettings settings;
    settings.path = folder / (UUID::make().string() + ".mov");
    settings.container = MovieContainer::quickTime;
    if (!times.empty()) {
        VideoTrackSettings& video = settings.video.emplace();
        video.size = picture(0).size();
        video.effort = EncoderEffort::ultrafast;
        video.constantQuality = 4;
    }
    if (!sound.empty()) {
        settings.audio = AudioTrackSettings{48000, 1, 0, AudioCodec::linearPCM};
    }
    MovieWriter writer(settings);
    for (int i = 0; i < int(times.size()); ++i) {
        writer.appendVideo(picture(i), times[std::size_t(i)]);
    }
    if (!sound.empty()) {
        writer.appendAudio(sound, 0);
    }
    writer.finish(endTime);
    return MediaAsset::open(settings.path);
}

PixelBuffer greyPicture(int number, PixelSize size) {
    const PixelBuffer picture = PixelBuffer::allocate(PixelFormat::i420, size);
    for (int plane = 0; plane < 3; ++plane) {
        for (int y = 0; y < picture.plane(plane).height; ++y) {
            std::memset(picture.row(plane, y), plane == 0 ? 20 + 2 * number : 128,
                        std::size_t(picture.plane(plane).width));
        }
    }
    return picture;
}

MediaAsset greyMovie(const TemporaryFolder& folder, const std::vector<double>& times, double endTime,
                     const std::vector<float>& sound) {
    return movieOf([](int i) { return greyPicture(i); }, folder, times, endTime, sound);
}

double numberIn(const Image& image) {
    const double red = pixel(image, image.extent().midX(), image.extent().midY())[0];
    return (16 + red * 219 / 255 - 20) / 2;
}

std::vector<double> evenTimes(int count, double rate) {
    std::vector<double> times;
    for (int i = 0; i < count; ++i) {
        times.push_back(i / rate);
    }
    return times;
}

} // namespace tavrin::test
