#include "TavrinKit/Media/PlainCopy.h"

#include <chrono>
#include <cstring>
#include <new>
#include <utility>

#include "TavrinKit/Media/MediaError.h"
#include "TavrinKit/Media/MediaFile.h"
#include "TavrinKit/Media/MovieFile.h"

namespace tavrin {
namespace {

/// Writes packets one behind the other, so that the last of a track can be told its duration.
class TrackCopy {
public:
    TrackCopy(MovieFile& target, int track) : target_(&target), track_(track) {}

    void put(ffmpeg::Packet packet) {
        flush({});
        held_ = std::move(packet);
    }
    void flush(std::optional<std::int64_t> duration) {
        if (held_) {
            held_->duration = duration.value_or(held_->duration);
            target_->write(*held_, track_);
            held_.reset();
        }
    }

private:
    MovieFile* target_;
    int track_;
    ffmpeg::Packet held_;
};

/// The encoder's parameters, with the head of the stream in the form that the container gave it: its packets
/// have that form too.
ffmpeg::CodecParameters asStored(const AVCodecParameters& encoded, const AVCodecParameters& stored) {
    ffmpeg::CodecParameters result(avcodec_parameters_alloc());
    if (!result || avcodec_parameters_copy(result.get(), &encoded) < 0) {
        throw std::bad_alloc();
    }
    av_freep(&result->extradata);
    result->extradata_size = 0;
    if (stored.extradata_size > 0) {
        const auto size = std::size_t(stored.extradata_size);
        result->extradata = static_cast<std::uint8_t*>(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE));
        if (result->extradata == nullptr) {
            throw std::bad_alloc();
        }
        std::memcpy(result->extradata, stored.extradata, size);
        result->extradata_size = stored.extradata_size;
    }
    return result;
}

} // namespace

void PlainCopy::replace(const std::filesystem::path& path) {
    const auto start = std::chrono::steady_clock::now();
    MediaFile source(path);
    MovieFile target(path, container, indexFirst ? MovieFile::Form::indexFirst : MovieFile::Form::plain);
    std::vector<TrackCopy> copies;
    if (source.trackCount() != int(tracks.size())) {
        throw MediaError::unreadable(path, "it lacks a track");
    }
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        const auto parameters = asStored(*tracks[i].parameters, *source.stream(int(i)).codecpar);
        copies.emplace_back(target, target.addTrack(*parameters, tracks[i].timeBase));
    }
    target.begin();
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        for (ffmpeg::Packet& packet : tracks[i].preamble) {
            copies[i].put(std::move(packet));
        }
        tracks[i].preamble.clear();
    }
    for (ffmpeg::Packet packet = ffmpeg::makePacket(); source.read(*packet); packet = ffmpeg::makePacket()) {
        const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
        if (patience && spent.count() > *patience) {
            throw MediaError::writingFailed(path, "there is no time to make it plain");
        }
        const auto index = std::size_t(packet->stream_index);
        av_packet_rescale_ts(packet.get(), source.stream(int(index)).time_base, tracks[index].timeBase);
        copies[index].put(std::move(packet));
    }
    if (source.failure() != 0) {
        throw MediaError::unreadable(path, ffmpeg::reason(source.failure()));
    }
    for (std::size_t i = 0; i < copies.size(); ++i) {
        copies[i].flush(tracks[i].lastDuration);
    }
    target.complete();
}

} // namespace tavrin
