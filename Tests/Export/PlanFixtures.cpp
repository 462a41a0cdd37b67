#include "PlanFixtures.h"

#include <cmath>
#include <complex>
#include <memory>
#include <numbers>
#include <vector>

#include "TavrinKit/Media/MovieWriter.h"

namespace tavrin::test {
namespace {

constexpr double sampleRate = 48000;

std::complex<double> oscillation(double frequency, std::size_t sample) {
    return std::polar(1.0, 2 * std::numbers::pi * frequency * double(sample) / sampleRate);
}

std::vector<float> tone(double frequency, double seconds) {
    std::vector<float> sound;
    for (std::size_t i = 0; double(i) < seconds * sampleRate; ++i) {
        sound.push_back(0.3F * float(oscillation(frequency, i).imag()));
    }
    return sound;
}

} // namespace

void writeTone(const std::filesystem::path& path, double frequency, double seconds) {
    MovieWriterSettings settings;
    settings.path = path;
    settings.audio = AudioTrackSettings{int(sampleRate), 1, 128000};
    MovieWriter writer(settings);
    writer.appendAudio(tone(frequency, seconds), 0);
    writer.finish();
}

double toneLevel(const MediaAsset& asset, int track, double frequency, double from, double to) {
    std::vector<float> sound(std::size_t(std::llround(to * sampleRate)));
    asset.openAudio(track, int(sampleRate), 1)->read(sound);
    const auto first = std::size_t(std::llround(from * sampleRate));
    std::complex<double> sum;
    for (std::size_t i = first; i < sound.size(); ++i) {
        sum += double(sound[i]) * oscillation(frequency, i);
    }
    return 2 * std::abs(sum) / double(sound.size() - first);
}

EditorSession makeTake(const TemporaryFolder& folder, const std::function<void(TimelineModel&)>& edit,
                       TakeOptions options) {
    using enum AudioTrackDescriptor::Kind;
    ProjectPackage package(folder / "package", ProjectManifest{});
    package.createDirectoriesIfNeeded();
    SyntheticMovie screen{.times = evenTimes(int(options.seconds * 60), 60), .endTime = options.seconds};
    if (options.screenSound) {
        screen.sound = tone(systemTone, options.seconds);
    }
    write(screen, package.screenURL());
    const auto addSound = [&](AudioTrackDescriptor track, double frequency) {
        package.manifest().audioTracks.push_back(track);
        writeTone(package.audioURL(track), frequency, options.seconds);
    };
    if (options.microphone) {
        addSound({microphone, "mic_audio.m4a"}, microphoneTone);
    }
    if (options.systemFile) {
        addSound({AudioTrackDescriptor::Kind::system, "system_audio.m4a"}, systemTone);
    }
    if (options.camera) {
        package.setCameraTracks({{"camera.mov", 0, 0}});
        write({.times = evenTimes(int(options.seconds * 30), 30), .endTime = options.seconds},
              folder / "package" / "camera.mov");
    }
    EditsDocument edits;
    edits.timeline.framingTrack.style.padding = 0;
    edits.timeline.framingTrack.style.cornerRadius = 0;
    edits.timeline.motionBlurStyle.intensity = 0;
    if (edit) {
        edit(edits.timeline);
    }
    return {package, std::make_shared<EventTimeline>(), edits};
}

} // namespace tavrin::test
