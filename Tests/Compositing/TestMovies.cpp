#include "TestMovies.h"

#include "TavrinKit/Media/MovieWriter.h"
#include "TavrinKit/Support/UUID.h"
#include "TestPictures.h"

namespace tavrin::test {

MediaAsset movieOf(const std::function<PixelBuffer(int)>& picture, const TemporaryFolder& folder,
                   const std::vector<double>& times, double endTime, const std::vector<float>& sound) {
    MovieWriterSettings settings = smallMovie(folder / (UUID::make().string() + ".mov"));
    if (times.empty()) {
        settings.video.reset();
    } else {
        settings.video->size = picture(0).size();
        settings.video->constantQuality = 4;
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

PixelBuffer greyPicture(int number) {
    return flat({64, 48}, 20 + 2 * number, 128, 128);
}

MediaAsset greyMovie(const TemporaryFolder& folder, const std::vector<double>& times, double endTime,
                     const std::vector<float>& sound) {
    return movieOf([](int i) { return greyPicture(i); }, folder, times, endTime, sound);
}

double numberIn(const Image& image) {
    const double red = pixel(image, image.extent().midX(), image.extent().midY())[0];
    return (16 + red * 219 / 255 - 20) / 2;
}

} // namespace tavrin::test
