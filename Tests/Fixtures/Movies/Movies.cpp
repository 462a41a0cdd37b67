#include "Fixtures/Movies/Movies.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>

#include "TavrinKit/Media/AudioReader.h"

namespace tavrin::test {
namespace {

constexpr int columns = 4;
constexpr int rows = 3;

} // namespace

PixelBuffer flat(PixelSize size, int y, int u, int v) {
    PixelBuffer picture = PixelBuffer::allocate(PixelFormat::i420, size);
    const std::array values = {y, u, v};
    for (int p = 0; p < 3; ++p) {
        for (int row = 0; row < picture.plane(p).height; ++row) {
            std::fill_n(picture.row(p, row), picture.plane(p).width, std::uint8_t(values[std::size_t(p)]));
        }
    }
    return picture;
}

PixelBuffer numbered(PixelSize size, int number) {
    PixelBuffer picture = flat(size, 40, 128, 128);
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            const int bit = y * rows / size.height * columns + x * columns / size.width;
            picture.row(0, y)[x] = (number >> bit & 1) != 0 ? 210 : 40;
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

std::vector<double> evenTimes(int count, double rate) {
    std::vector<double> times;
    for (int i = 0; i < count; ++i) {
        times.push_back(i / rate);
    }
    return times;
}

MovieWriterSettings smallMovie(const std::filesystem::path& path) {
    MovieWriterSettings settings;
    settings.path = path;
    settings.container = path.extension() == ".mov" ? MovieContainer::quickTime : MovieContainer::mp4;
    settings.video.emplace();
    settings.video->size = {128, 96};
    settings.video->effort = EncoderEffort::ultrafast;
    return settings;
}

std::vector<float> readSound(const std::filesystem::path& path, int rate, int channels) {
    AudioReader reader(path, 0, rate, channels);
    std::vector<float> sound;
    while (const auto run = reader.next()) {
        sound.insert(sound.end(), run->begin(), run->end());
    }
    return sound;
}

double attackIn(const std::vector<float>& sound, int rate, double from, double to) {
    const auto at = [&](double time) {
        return sound.begin() +
               std::clamp<std::int64_t>(std::llround(time * rate), 0, std::int64_t(sound.size()));
    };
    float loudest = 0;
    std::for_each(at(from), at(to), [&](float sample) { loudest = std::max(loudest, std::abs(sample)); });
    const auto attack =
        std::find_if(at(from), at(to), [&](float sample) { return std::abs(sample) >= 0.4F * loudest; });
    return double(attack - sound.begin()) / rate;
}

std::string run(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
    std::string text;
    std::array<char, 4096> chunk{};
    while (const std::size_t count = std::fread(chunk.data(), 1, chunk.size(), pipe.get())) {
        text.append(chunk.data(), count);
    }
    return text;
}

Json probe(const std::filesystem::path& path) {
    return parseJson(
        run("ffprobe -v error -show_format -show_streams -show_packets -of json '" + path.string() + "'"));
}

} // namespace tavrin::test
