#include "TavrinKit/Compositing/MediaAsset.h"

namespace tavrin {

MediaAsset MediaAsset::open(const std::filesystem::path& path) {
    return MediaAsset(std::make_shared<const Contents>(Contents{path, probeMedia(path)}));
}

VideoFollower MediaAsset::openVideo() const {
    return VideoFollower(std::make_unique<VideoReader>(path()));
}

std::unique_ptr<AudioReader> MediaAsset::openAudio(int track, int sampleRate, int channels) const {
    return std::make_unique<AudioReader>(path(), track, sampleRate, channels);
}

} // namespace tavrin
