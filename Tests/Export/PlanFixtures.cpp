#include "PlanFixtures.h"

#include <cmath>
#include <complex>
#include <memory>
#include <numbers>
#include <utility>
#include <vector>

#include "TavrinKit/Media/MovieWriter.h"

namespace tavrin::fixtures {
namespace {

std::vector<float> tone(double frequency, double seconds) {
    std::vector<float> sound(std::size_t(std::llround(seconds * 48000)));
    for (std::size_t i = 0; i < sound.size(); ++i) {
        sound[i] = 0.3F * float(std::sin(2 * std::numbers::pi * frequency * double(i) / 48000));
    }
    return sound;
}

} // namespace

void writeTone(const std::filesystem::path& path, double frequency, double seconds) {
    MovieWriterSettings settings;
    settings.path = path;
    settings.audio = AudioTrackSettings{48000, 1, 128000};
    MovieWriter writer(settings);
    writer.appendAudio(tone(frequency, seconds), 0);
    writer.finish();
}

double toneLevel(std::span<const float> sound, double frequency) {
    std::complex<double> sum;
    for (std::size_t i = 0; i < sound.size(); ++i) {
        sum += double(sound[i]) * std::polar(1.0, 2 * std::numbers::pi * frequency * double(i) / 48000);
    }
    return 2 * std::abs(sum) / double(sound.size());
}

EditorSession makeTake(const TemporaryFolder& folder, const std::function<void(TimelineModel&)>& edit,
                       TakeOptions options) {
    ProjectManifest manifest;
    if (options.microphone) {
        manifest.audioTracks.push_back({AudioTrackDescriptor::Kind::microphone, "mic_audio.m4a"});
    }
    if (options.systemFile) {
        manifest.audioTracks.push_back({AudioTrackDescriptor::Kind::system, "system_audio.m4a"});
    }
    if (options.camera) {
        manifest.cameraTracks.push_back({"camera.mov", 0, 0});
    }
    const ProjectPackage package(folder.path("package"), manifest);
    package.createDirectoriesIfNeeded();
    SyntheticMovie screen{.times = evenTimes(180, 60), .endTime = 3};
    if (options.screenSound) {
        screen.sound = tone(systemTone, 3);
    }
    write(screen, package.screenURL());
    for (const AudioTrackDescriptor& track : manifest.audioTracks) {
        const bool isSystem = track.kind == AudioTrackDescriptor::Kind::system;
        writeTone(package.audioURL(track), isSystem ? systemTone : microphoneTone, 3);
    }
    for (const CameraTrackDescriptor& track : manifest.cameraTracks) {
        write({.times = evenTimes(90, 30), .endTime = 3}, package.cameraURL(track));
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

} // namespace tavrin::fixtures
