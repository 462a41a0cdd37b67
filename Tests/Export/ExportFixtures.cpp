#include "ExportFixtures.h"

#include "TavrinKit/Media/MovieWriter.h"

namespace tavrin::test {

void write(const SyntheticMovie& movie, const std::filesystem::path& path) {
    MovieWriterSettings settings = smallMovie(path);
    settings.container = MovieContainer::quickTime;
    settings.video->size = movie.size;
    settings.video->constantQuality = 8;
    if (movie.sound) {
        settings.audio = AudioTrackSettings{48000, 1, 128000};
    }
    MovieWriter writer(settings);
    if (movie.sound) {
        writer.appendAudio(*movie.sound, 0);
    }
    for (std::size_t i = 0; i < movie.times.size(); ++i) {
        writer.appendVideo(movie.picture ? movie.picture(int(i)) : numbered(movie.size, int(i)),
                           movie.times[i]);
    }
    writer.finish(movie.endTime);
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

} // namespace tavrin::test
