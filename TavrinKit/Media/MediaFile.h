#pragma once

#include <cstdint>
#include <filesystem>

#include "TavrinKit/Media/FFmpeg.h"

namespace tavrin {

/// A media file open for reading, with what distrust demands: only regular files, only formats that hold
/// pictures and sound themselves, nothing that refers to other files or to the network. One thread at a time.
class MediaFile {
public:
    /// Reads the head.
    /// @throws MediaError (unreadable); FileError when the system can't read the file
    explicit MediaFile(const std::filesystem::path& path);
    ~MediaFile();
    MediaFile(const MediaFile&) = delete;
    MediaFile& operator=(const MediaFile&) = delete;

    /// Looks into the packets for what the head does not say of the tracks.
    /// @throws MediaError (unreadable), FileError
    void analyse();

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    [[nodiscard]] int trackCount() const { return int(context_->nb_streams); }
    [[nodiscard]] AVStream& stream(int index) const { return *context_->streams[index]; }

    /// The `number`th track of a type, or -1. Pictures that are only a cover do not count.
    [[nodiscard]] int track(AVMediaType type, int number) const;

    /// Lets `read` pass over all other tracks.
    void readOnly(int index);

    /// The next packet. @return false at the end, or where what is in the file makes no sense any more
    /// @throws FileError when the system can't read the file: that is no damage to be passed over
    [[nodiscard]] bool read(AVPacket& packet);

    /// Why `read` ended: 0 for a proper end, else FFmpeg's code.
    [[nodiscard]] int failure() const { return failure_; }

    /// Goes back to the first packet.
    void rewind();

    /// Goes to the last key frame of the track at or before a time in its own units, or to the first packet.
    void seek(int index, std::int64_t time);

    /// Seconds from the start of the movie.
    [[nodiscard]] double seconds(int index, std::int64_t time) const;
    [[nodiscard]] std::int64_t units(int index, double seconds) const;

    /// Whether the head's durations are exact rather than estimates.
    [[nodiscard]] bool isExact() const;

    /// Where the track ends on the movie's clock; 0 when the head does not say.
    [[nodiscard]] double end(int index) const;

private:
    void findOrigin();
    void checkInput() const;

    std::filesystem::path path_;
    ffmpeg::InputFile input_; ///< stays when the head can't be read, and knows whether the system is at fault
    AVFormatContext* context_ = nullptr;
    int failure_ = 0;
    double origin_ = 0; ///< the container's time at which the movie starts
};

} // namespace tavrin
