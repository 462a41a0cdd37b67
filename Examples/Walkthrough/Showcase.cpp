#include "Examples/Walkthrough/Showcase.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>
#include <string>
#include <utility>

#include "TavrinKit/Imaging/ImageRenderer.h"
#include "TavrinKit/Imaging/PNG.h"
#include "TavrinKit/Imaging/Raster.h"
#include "TavrinKit/Imaging/Text.h"
#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Media/MovieWriter.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin::demo::Showcase {
namespace {

namespace fs = std::filesystem;

constexpr const char* musicFileName = "music.m4a";
constexpr const char* logoFileName = "logo.png";
constexpr int sampleRate = 48000;
constexpr PixelSize cameraSize{640, 360};
constexpr int cameraRate = 30;

// The presenter

VectorPath ellipse(Vec2 center, double radiusX, double radiusY) {
    VectorPath path;
    path.ellipses.push_back({{center.x - radiusX, center.y - radiusY, 2 * radiusX, 2 * radiusY}});
    return path;
}

Image room() {
    const Rect frame{0, 0, double(cameraSize.width), double(cameraSize.height)};
    const Image wall =
        Image::linearGradient({0, 0}, {0.30, 0.25, 0.24, 1}, {640, 360}, {0.62, 0.55, 0.47, 1});
    const Image lamp = Image::radialGradient({540, 300}, 10, {1, 0.87, 0.62, 0.9}, 260, {1, 0.87, 0.62, 0});
    return lamp.over(wall).cropped(frame);
}

/// Head and shoulders at a time, drawn once and moved as a whole.
Image presenter() {
    Raster raster(cameraSize);
    const Color skin{0.87, 0.67, 0.55, 1};
    const Color hair{0.20, 0.14, 0.12, 1};
    raster.fill(ellipse({320, -40}, 190, 150), {0.16, 0.33, 0.46, 1});
    raster.fillRoundedRectangle({288, 70, 64, 80}, 26, {0.80, 0.60, 0.49, 1});
    raster.fill(ellipse({320, 212}, 84, 98), hair);
    raster.fill(ellipse({320, 196}, 70, 90), skin);
    raster.fill(ellipse({320, 268}, 66, 34), hair);
    for (const double side : {-1.0, 1.0}) {
        raster.fillCircle({320 + side * 26, 206}, 6.5, {0.16, 0.13, 0.13, 1});
    }
    raster.fill(ellipse({320, 158}, 18, 6), {0.68, 0.34, 0.33, 1});
    return raster.image();
}

void writeCamera(const fs::path& path, double duration) {
    MovieWriterSettings settings;
    settings.path = path;
    settings.container = MovieContainer::quickTime;
    settings.video.emplace();
    settings.video->size = cameraSize;
    settings.video->effort = EncoderEffort::superfast;
    settings.video->frameRate = cameraRate;
    settings.video->maximumKeyFrameInterval = cameraRate;
    MovieWriter writer(settings);

    const Image behind = room();
    const Image person = presenter();
    const Rect frame{0, 0, double(cameraSize.width), double(cameraSize.height)};
    ImageRenderer renderer;
    for (int i = 0; i < int(std::ceil(duration * cameraRate)); ++i) {
        const double time = double(i) / cameraRate;
        const Image moved = person.translated(26 * std::sin(time * 1.1), 6 * std::sin(time * 2.7));
        writer.appendVideo(renderer.render(moved.over(behind), frame, PixelFormat::i420), time);
    }
    writer.finish();
}

// Sound

void writeSound(const fs::path& path, std::span<const float> mono) {
    MovieWriterSettings settings;
    settings.path = path;
    settings.audio = AudioTrackSettings{sampleRate, 1, 160000};
    MovieWriter writer(settings);
    constexpr std::size_t piece = sampleRate;
    for (std::size_t start = 0; start < mono.size(); start += piece) {
        writer.appendAudio(mono.subspan(start, std::min(piece, mono.size() - start)),
                           double(start) / sampleRate);
    }
    writer.finish();
}

/// A tone that starts at once and dies away within a tenth of a second.
void addClap(std::vector<float>& sound, double start) {
    const auto first = std::size_t(std::max(std::llround(start * sampleRate), 0LL));
    for (std::size_t i = 0; i < sampleRate / 10 && first + i < sound.size(); ++i) {
        const double time = double(i) / sampleRate;
        sound[first + i] += float(0.8 * std::exp(-time * 40) * std::cos(2 * std::numbers::pi * 2400 * time));
    }
}

std::vector<float> heardByMicrophone(double duration, const std::vector<double>& claps) {
    std::vector<float> sound(std::size_t(std::llround(duration * sampleRate)));
    for (const double clap : claps) {
        addClap(sound, clap);
    }
    return sound;
}

/// Four soft chords, two seconds each, over and over.
std::vector<float> music(double duration) {
    constexpr double chords[4][3] = {
        {220, 261.63, 329.63}, {174.61, 220, 261.63}, {261.63, 329.63, 392}, {196, 246.94, 293.66}};
    std::vector<float> sound(std::size_t(std::llround(duration * sampleRate)));
    for (std::size_t i = 0; i < sound.size(); ++i) {
        const double time = double(i) / sampleRate;
        const double inChord = std::fmod(time, 2.0);
        const double swell = std::sin(std::numbers::pi * inChord / 2);
        for (const double pitch : chords[std::size_t(time / 2) % 4]) {
            sound[i] += float(0.1 * swell * std::sin(2 * std::numbers::pi * pitch * inChord));
        }
    }
    return sound;
}

void writeLogo(const fs::path& path) {
    Raster raster({320, 160});
    raster.fillRoundedRectangle({4, 4, 312, 152}, 36, {0.10, 0.38, 0.95, 1});
    raster.fillCircle({80, 80}, 44, {1, 1, 1, 0.95});
    raster.fillCircle({80, 80}, 22, {0.93, 0.24, 0.32, 1});
    const TextLine name("Tavrin", {56, FontWeight::bold});
    name.draw(raster, {140, 62}, {1, 1, 1, 1});
    writeFileAtomically(path, encodePNG(raster.pixels()));
}

// The edit

/// A share of the take's trimmed part.
double at(const Cuts& cuts, double share) {
    return cuts.trim.startTime + share * (cuts.trim.endTime - cuts.trim.startTime);
}

std::vector<ZoomSegment> zooms(const Cuts& cuts) {
    constexpr ZoomTransitionStyle styles[] = {ZoomTransitionStyle::gentle, ZoomTransitionStyle::smooth,
                                              ZoomTransitionStyle::snappy, ZoomTransitionStyle::smooth,
                                              ZoomTransitionStyle::gentle};
    constexpr Vec2 focuses[] = {{0.3, 0.6}, {0.7, 0.35}, {0.5, 0.5}, {0.25, 0.3}, {0.72, 0.7}};
    std::vector<ZoomSegment> segments;
    for (int i = 0; i < 5; ++i) {
        ZoomSegment& segment = segments.emplace_back();
        segment.startTime = at(cuts, 0.04 + 0.19 * i);
        segment.endTime = at(cuts, 0.18 + 0.19 * i);
        segment.focus = focuses[i];
        segment.scale = 1.4 + 0.15 * i;
        segment.transitionStyle = styles[i];
    }
    return segments;
}

AnnotationRegion annotation(AnnotationType type, const Cuts& cuts, double from, double to) {
    AnnotationRegion region;
    region.type = type;
    region.startTime = at(cuts, from);
    region.endTime = at(cuts, to);
    return region;
}

std::vector<AnnotationRegion> annotations(const Cuts& cuts) {
    constexpr const char* texts[] = {"Pick the task that matters today", "Plans change 🙂 任务 مهمة",
                                     "Saved"};
    constexpr AnnotationFigureShape shapes[] = {
        AnnotationFigureShape::arrow, AnnotationFigureShape::rectangle, AnnotationFigureShape::circle};
    std::vector<AnnotationRegion> regions;
    for (int i = 0; i < 3; ++i) {
        const double from = 0.05 + 0.3 * i;
        AnnotationRegion& text =
            regions.emplace_back(annotation(AnnotationType::text, cuts, from, from + 0.2));
        text.content = texts[i];
        text.position = {0.06, 0.78};
        text.size = {0.34, 0.12};
        text.style.fontSize = 34;
        text.zIndex = 3 * i;

        AnnotationRegion& picture =
            regions.emplace_back(annotation(AnnotationType::image, cuts, from + 0.03, from + 0.25));
        picture.imagePath = logoFileName;
        picture.position = {0.72, 0.76};
        picture.size = {0.2, 0.16};
        picture.zIndex = 3 * i + 1;

        AnnotationRegion& figure =
            regions.emplace_back(annotation(AnnotationType::figure, cuts, from + 0.06, from + 0.28));
        figure.figure = AnnotationFigureData{shapes[i], AnnotationArrowDirection::downRight};
        figure.position = {0.42, 0.3};
        figure.size = {0.2, 0.22};
        figure.zIndex = 3 * i + 2;
    }
    return regions;
}

SpeedRegion speedRegion(const ClipTimeRange& range, PlaybackSpeed speed) {
    SpeedRegion region;
    region.startTime = range.startTime;
    region.endTime = range.endTime;
    region.speed = speed;
    return region;
}

void addSideTracks(ProjectPackage& package, double duration, const std::vector<double>& claps) {
    const AudioTrackDescriptor microphone{AudioTrackDescriptor::Kind::microphone, "mic_audio.m4a"};
    const CameraTrackDescriptor camera{"camera.mov", 0, 0};
    writeSound(package.audioURL(microphone), heardByMicrophone(duration, claps));
    writeCamera(package.cameraURL(camera), duration);
    writeSound(package.rootURL() / musicFileName, music(duration));
    writeLogo(package.rootURL() / logoFileName);
    package.setAudioTracks({microphone});
    package.setCameraTracks({camera});
    package.saveManifest();
}

TimelineModel timeline(TimelineModel base, const fs::path& root, const Cuts& cuts) {
    base.trimRange = cuts.trim;
    base.speedTrack =
        SpeedTrack{{speedRegion(cuts.slow, PlaybackSpeed::x05), speedRegion(cuts.fast, PlaybackSpeed::x2),
                    speedRegion(cuts.slowest, PlaybackSpeed::x025)}}
            .normalized();
    base.zoomTrack = ZoomTrack{zooms(cuts)}.normalized();
    base.cropTrack.region = {0.03, 0.04, 0.94, 0.92};
    base.framingTrack.style.background = BackgroundStyle::wallpaper(BuiltInWallpaperStyle::aurora);
    base.cameraPiPTrack.style.enabled = true;
    base.watermarkTrack.style.enabled = true;
    base.watermarkTrack.style.anchor = WatermarkAnchor::bottomLeft;
    base.motionBlurStyle.intensity = 0.65;
    base.annotationTrack = AnnotationTrack{annotations(cuts)}.normalized();
    base.audioMix.setStyle({.gainDB = 2, .fadeInSeconds = 0.4, .fadeOutSeconds = 0.4},
                           AudioTrackRole::microphone);

    ExtraAudioRegion& music = base.extraAudioTrack.regions.emplace_back();
    music.startTime = cuts.trim.startTime;
    music.endTime = cuts.trim.endTime;
    music.filePath = root / musicFileName;
    music.volume = 0.6;
    return base;
}

} // namespace

Cuts evenCuts(double duration) {
    const auto range = [&](double from, double to) {
        return ClipTimeRange{from * duration, to * duration};
    };
    return {range(0.04, 0.96), range(0.15, 0.25), range(0.4, 0.6), range(0.75, 0.78)};
}

EditorSession apply(const fs::path& folder, const Cuts& cuts, const std::vector<double>& claps) {
    ProjectPackage package = ProjectPackage::load(folder);
    addSideTracks(package, probeMedia(package.screenURL()).duration, claps);
    EditorSession session = EditorSession::open(ProjectPackage::load(folder));
    session.mutateTimeline([&](TimelineModel& model) { model = timeline(std::move(model), folder, cuts); });
    session.save();
    return session;
}

} // namespace tavrin::demo::Showcase
