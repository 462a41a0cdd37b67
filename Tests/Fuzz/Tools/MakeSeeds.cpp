#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "Project/FullEdits.h"
#include "TavrinKit/Export/ExportPresetStore.h"
#include "TavrinKit/Library/BrandKitStore.h"
#include "TavrinKit/Media/MovieWriter.h"
#include "TavrinKit/Project/PremiumDefaults.h"
#include "TavrinKit/Project/ProjectPackage.h"
#include "TavrinKit/Support/Files.h"

// Writes what the fuzzers start from, with the code that writes such files for users:
//     MakeSeeds FOLDER

namespace {

namespace fs = std::filesystem;
using namespace tavrin;

void makePackages(const fs::path& folder) {
    ProjectManifest manifest;
    manifest.audioTracks = {{AudioTrackDescriptor::Kind::system, "system_audio.m4a"},
                            {AudioTrackDescriptor::Kind::microphone, "mic_audio.m4a"}};
    manifest.cameraTracks = {{"camera.mov", 0.25, -3}};
    const CursorAppearance arrow{"arrow", {0x89, 'P', 'N', 'G'}, {1, 2}, {24, 32}};
    const EventTimeline events(
        {{0.5, {0.25, 0.75}, MouseEventKind::moved, {}}, {0.75, {0.5, 0.5}, MouseEventKind::clicked, 0}},
        {{.timestamp = 1, .displayText = "ä"},
         {1.25, "C", {KeyModifier::command, KeyModifier::shift}, KeyEventContentKind::special, true}},
        {{0, {0, 0}, true, arrow}, {0.5, {0.25, 0.75}, true, arrow}});
    const fs::path package = folder / "package";
    const ProjectPackage full(package, manifest);
    full.createDirectoriesIfNeeded();
    full.saveManifest();
    full.saveEvents(events);
    full.saveEdits(test::fullEdits());
    for (const char* name : {"manifest", "events", "edits"}) {
        createDirectories(folder / name);
        moveFile(package / (std::string(name) + ".json"), folder / name / "full");
        writeFileAtomically(folder / name / "nothing", "{}");
    }
    fs::remove_all(package);
}

void makeStores(const fs::path& folder) {
    ExportPresetStore presets(folder / "presets/current");
    presets.upsertCustomPreset(
        ExportPreset::required1080p(ExportAspectPreset::square1x1, ExportSpeedQualityMode::fastPreview));
    ExportPreset other;
    other.id = "other";
    other.name = "Größe";
    presets.upsertCustomPreset(other);
    writeFileAtomically(folder / "presets/legacy", encodeDocument(presets.customPresets()));
    writeFileAtomically(folder / "presets/nothing", "[{}]");

    BrandKitStore kits(folder / "brandkits/current");
    kits.savePresetFromTimeline("Kit", test::fullEdits().timeline, "");
    writeFileAtomically(folder / "brandkits/legacy", encodeDocument(kits.loadPresets()));
}

void makeMovie(const fs::path& path, VideoCodec codec, bool isCrashSafe, bool hasSound) {
    MovieWriterSettings settings;
    removeFile(path);
    settings.path = path;
    settings.container = codec == VideoCodec::proRes422 ? MovieContainer::quickTime : MovieContainer::mp4;
    settings.video.emplace();
    settings.video->size = {32, 32};
    settings.video->codec = codec;
    settings.video->profile = codec == VideoCodec::hevc ? VideoProfile::hevcMain : VideoProfile::h264High;
    settings.video->effort = EncoderEffort::ultrafast;
    settings.video->maximumKeyFrameInterval = 4;
    settings.video->lowLatency = isCrashSafe;
    settings.crashSafe = isCrashSafe;
    if (hasSound) {
        settings.audio = AudioTrackSettings{.sampleRate = 48000, .channels = 1, .bitRate = 32000};
    }
    MovieWriter writer(settings);
    const PixelBuffer picture = PixelBuffer::allocate(PixelFormat::i420, {32, 32});
    for (int plane = 0; plane < 3; ++plane) {
        for (int row = 0; row < picture.plane(plane).height; ++row) {
            std::fill_n(picture.row(plane, row), picture.plane(plane).width, std::uint8_t(128));
        }
    }
    std::vector<float> sound(4800, 0);
    for (int i = 0; i < 8; ++i) {
        std::fill_n(picture.row(0, 2 * i), 32, std::uint8_t(200));
        writer.appendVideo(picture, i * 0.1);
        if (hasSound) {
            writer.appendAudio(sound, i * 0.1);
        }
        if (isCrashSafe && i % 3 == 2) {
            writer.flushFragment();
        }
    }
    isCrashSafe ? writer.abandon() : writer.finish();
}

} // namespace

int main(int count, char** values) {
    if (count != 2) {
        std::fprintf(stderr, "Give the folder that the seeds go to.\n");
        return 2;
    }
    try {
        const fs::path folder = values[1];
        for (const char* name : {"presets", "brandkits", "media"}) {
            createDirectories(folder / name);
        }
        makePackages(folder);
        makeStores(folder);
        makeMovie(folder / "media/plain", VideoCodec::h264, false, true);
        makeMovie(folder / "media/fragments", VideoCodec::h264, true, true);
        makeMovie(folder / "media/hevc", VideoCodec::hevc, false, false);
        makeMovie(folder / "media/intermediate", VideoCodec::proRes422, false, false);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
