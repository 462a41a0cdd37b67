#include "TavrinKit/Compositing/PlannedMedia.h"

#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

#include "TavrinKit/Compositing/EffectBakingError.h"
#include "TavrinKit/Compositing/EffectBakingLog.h"
#include "TavrinKit/Compositing/ExportError.h"
#include "TavrinKit/Media/MediaError.h"

namespace tavrin {
namespace {

namespace fs = std::filesystem;

MediaAsset openScreenMovie(const fs::path& path) {
    try {
        MediaAsset asset = MediaAsset::open(path);
        if (!asset.hasVideo()) {
            throw MediaError::noVideoTrack(path);
        }
        return asset;
    } catch (...) {
        throw ExportError::exportFailed(std::current_exception());
    }
}

/// Finds out now rather than amid an export that nothing here can decode it.
/// @throws MediaError, FileError
void checkPlays(const MediaAsset& sound) {
    std::array<float, 1> first{};
    sound.openAudio(0, 48000, 1)->read(first);
}

/// Nothing for a file without sound that can be played; that is logged under the context.
/// @throws FileError when the system can't read it
std::optional<MediaAsset> openSound(const fs::path& path, std::string_view context) {
    try {
        MediaAsset sound = MediaAsset::open(path);
        if (sound.audioTrackCount() == 0) {
            throw MediaError::noAudioTrack(path);
        }
        checkPlays(sound);
        return sound;
    } catch (...) {
        logUselessFile(context, path);
        return std::nullopt;
    }
}

AudioTrackRole roleOf(AudioTrackDescriptor::Kind kind) {
    return kind == AudioTrackDescriptor::Kind::system ? AudioTrackRole::system : AudioTrackRole::microphone;
}

bool hasRole(const PlannedMedia& media, AudioTrackRole role) {
    return std::ranges::find(media.audioTracks, role, &PlannedAudioTrack::role) != media.audioTracks.end();
}

fs::path existingSoundFile(const ExtraAudioRegion& region, const fs::path& packageRoot) {
    const fs::path path = packageRoot / fs::path(region.filePath);
    std::error_code failure;
    if (region.filePath.empty() || !fs::exists(path, failure)) {
        const auto error = EffectBakingError::extraAudioMissing();
        logEffectBakingRecoverableFailure("makeEditedComposition.extraAudioMissing",
                                          std::make_exception_ptr(error), {{"path", region.filePath}});
        throw error;
    }
    return path;
}

void addExtraAudio(PlannedMedia& media, const TimelineTimeMapper& timeMapper, const ExtraAudioRegion& region,
                   const fs::path& packageRoot) {
    constexpr double shortest = 0.001;
    const fs::path path = existingSoundFile(region, packageRoot);
    const double start = timeMapper.editedTime(region.startTime);
    const double end = timeMapper.editedTime(region.endTime);
    if (!(end - start > shortest)) {
        return;
    }
    const auto sound = openSound(path, "makeEditedComposition.loadExtraAudio");
    if (!sound) {
        return;
    }
    const double length = std::min(end - start, sound->duration());
    if (length > shortest) {
        media.asset = media.asset.withSound(*sound, {start, start + length});
        media.audioTracks.push_back({.extraAudioVolume = region.volume});
    }
}

} // namespace

PlannedMedia openRecording(const ProjectPackage& package) {
    PlannedMedia media{openScreenMovie(package.screenURL())};
    for (int track = 0; track < media.asset.audioTrackCount(); ++track) {
        media.audioTracks.push_back({roleOfScreenTrack(track)});
    }
    for (const AudioTrackDescriptor& file : package.manifest().audioTracks) {
        const AudioTrackRole role = roleOf(file.kind);
        if (hasRole(media, role)) {
            continue;
        }
        if (const auto sound = openSound(package.audioURL(file), "openRecording.loadSoundFile")) {
            media.asset = media.asset.withSound(*sound, {0, media.asset.duration()});
            media.audioTracks.push_back({role});
        }
    }
    return media;
}

PlannedMedia makeTrimmedComposition(PlannedMedia media, const ClipTimeRange& trimRange) {
    media.asset = media.asset.trimmed(trimRange);
    return media;
}

PlannedMedia makeEditedComposition(PlannedMedia media, const TimelineTimeMapper& timeMapper,
                                   const ExtraAudioTrack& extraAudio, const fs::path& packageRoot) {
    if (isRetimed(timeMapper)) {
        media.asset = media.asset.retimed(timeMapper);
    }
    for (const ExtraAudioRegion& region : extraAudio.regions) {
        addExtraAudio(media, timeMapper, region.normalized(), packageRoot);
    }
    return media;
}

bool isRetimed(const TimelineTimeMapper& timeMapper) {
    return std::ranges::any_of(timeMapper.segments(), [](const auto& segment) { return segment.speed != 1; });
}

} // namespace tavrin
