#include "ExportFixtures.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "TavrinKit/Media/AudioReader.h"
#include "TavrinKit/Media/MovieWriter.h"

namespace tavrin::fixtures {
namespace {

constexpr int columns = 4;
constexpr int rows = 3;

void fillPlane(const PixelBuffer& picture, int plane, std::uint8_t value) {
    const PixelBuffer::Plane& p = picture.plane(plane);
    for (int y = 0; y < p.height; ++y) {
        std::memset(picture.row(plane, y), value, std::size_t(p.width));
    }
}

} // namespace

PixelBuffer flatPicture(PixelSize size, Colour colour) {
    const PixelBuffer picture = PixelBuffer::allocate(PixelFormat::i420, size);
    for (int plane = 0; plane < 3; ++plane) {
        fillPlane(picture, plane, colour[std::size_t(plane)]);
    }
    return picture;
}

PixelBuffer numberedPicture(PixelSize size, int number) {
    const PixelBuffer picture = flatPicture(size, {16, 128, 128});
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            const int bit = (y * rows / size.height) * columns + x * columns / size.width;
            picture.row(0, y)[x] = (number >> bit) & 1 ? 235 : 16;
        }
    }
    return picture;
}

int numberIn(const PixelBuffer& picture) {
    int number = 0;
    for (int bit = 0; bit < columns * rows; ++bit) {
        const int x = (2 * (bit % columns) + 1) * picture.size().width / (2 * columns);
        const int y = (2 * (bit / columns) + 1) * picture.size().height / (2 * rows);
        number |= (picture.row(0, y)[x] > 125 ? 1 : 0) << bit;
    }
    return number;
}

double meanOfMiddle(const PixelBuffer& picture, int plane) {
    const PixelBuffer::Plane& p = picture.plane(plane);
    double sum = 0;
    int count = 0;
    for (int y = p.height / 4; y < p.height * 3 / 4; ++y) {
        for (int x = p.width / 4; x < p.width * 3 / 4; ++x, ++count) {
            sum += picture.row(plane, y)[x];
        }
    }
    return sum / count;
}

void write(const SyntheticMovie& movie, const std::filesystem::path& path) {
    MovieWriterSettings settings;
    settings.path = path;
    settings.container = MovieContainer::quickTime;
    settings.video = VideoTrackSettings{};
    settings.video->size = movie.size;
    settings.video->effort = EncoderEffort::ultrafast;
    settings.video->constantQuality = 8;
    if (movie.sound) {
        settings.audio = AudioTrackSettings{48000, 1, 128000};
    }
    MovieWriter writer(settings);
    if (movie.sound) {
        writer.appendAudio(*movie.sound, 0);
    }
    for (std::size_t i = 0; i < movie.times.size(); ++i) {
        writer.appendVideo(movie.picture ? movie.picture(int(i)) : numberedPicture(movie.size, int(i)),
                           movie.times[i]);
    }
    writer.finish(movie.endTime);
}

std::vector<double> evenTimes(int count, double framesPerSecond) {
    std::vector<double> times;
    for (int i = 0; i < count; ++i) {
        times.push_back(i / framesPerSecond);
    }
    return times;
}

ExportPreset smallPreset(int width, int height, double fps) {
    ExportPreset preset =
        ExportPreset::required1080p(ExportAspectPreset::horizontal16x9, ExportSpeedQualityMode::fastPreview);
    preset.resolution = {width, height};
    preset.fps = fps;
    preset.bitrate.targetMbps = 8;
    return preset;
}

ExportRequest request(const std::filesystem::path& source, const std::filesystem::path& destination,
                      const ExportPreset& preset) {
    ExportRequest result;
    result.sourceURL = source;
    result.destinationURL = destination;
    result.preset = preset;
    return result;
}

Json probed(const std::filesystem::path& path) {
    const std::string command =
        "ffprobe -v error -show_format -show_streams -show_packets -of json '" + path.string() + "'";
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
    std::string text;
    std::array<char, 4096> chunk{};
    while (const std::size_t count = std::fread(chunk.data(), 1, chunk.size(), pipe.get())) {
        text.append(chunk.data(), count);
    }
    return parseJson(text);
}

std::vector<float> soundOf(const std::filesystem::path& path) {
    AudioReader reader(path, 0, 48000, 1);
    std::vector<float> sound;
    while (const auto chunk = reader.next()) {
        sound.insert(sound.end(), chunk->begin(), chunk->end());
    }
    return sound;
}

} // namespace tavrin::fixtures
