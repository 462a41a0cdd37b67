#pragma once

#include <cstdint>
#include <filesystem>
#include <stop_token>
#include <vector>

#include "TavrinKit/Media/FFmpeg.h"
#include "TavrinKit/Media/MovieSettings.h"

namespace tavrin {

/// A movie file that takes encoded packets: the container around the encoders' output.
///
/// A plain file grows under a hidden name beside its path and takes its place when it is complete, so that
/// no half movie ever bears the name, and is locked (flock) meanwhile; a fragmented one stands at its path
/// from the start. One thread at a time.
class MovieFile {
public:
    enum class Form { plain, indexFirst, fragmented };

    /// Creates the file. A fragmented one takes no other's place.
    /// @throws FileError
    MovieFile(const std::filesystem::path& path, MovieContainer container, Form form);
    ~MovieFile(); ///< removes the file unless `complete` or `abandon` was called
    MovieFile(const MovieFile&) = delete;
    MovieFile& operator=(const MovieFile&) = delete;

    /// @param timeBase  what the packets' times are counted in
    /// @return the track's index
    int addTrack(const AVCodecParameters& parameters, AVRational timeBase);

    /// Writes the head. All tracks have been added.
    /// @throws MediaError
    void begin();

    /// Takes the packet's contents. Tracks are interleaved by time.
    /// @throws MediaError
    void write(AVPacket& packet, int track);

    /// Everything written so far leaves this process as a fragment that can be played.
    /// @throws MediaError
    void flushFragment();

    /// Writes the index, flushes to the disk and gives a plain file its name.
    /// @param stop  a request ends the writing; a flush that is under way then goes on by itself
    /// @throws MediaError, FileError, CancellationError
    void complete(const std::stop_token& stop = {});

    /// Closes the file and leaves it as it is.
    void abandon() noexcept;

private:
    MovieFile(const std::filesystem::path& path, Form form);

    void create();
    void openContainer(MovieContainer container);
    static int writeBytes(void* self, std::uint8_t* bytes, int count);
    static std::int64_t seek(void* self, std::int64_t offset, int whence);
    void check(int code);
    void close() noexcept;
    [[nodiscard]] bool isHidden() const { return file_ != path_; }

    const std::filesystem::path path_;
    const Form form_;
    std::filesystem::path file_; ///< what is open: `path_`, or its hidden stand-in
    int descriptor_ = -1;
    int error_ = 0; ///< errno of the first write or seek that failed
    std::int64_t unflushed_ = 0;
    std::stop_token stop_; ///< ends `complete`
    AVFormatContext* context_ = nullptr;
    AVIOContext* io_ = nullptr;
    std::vector<AVRational> timeBases_;
    bool isOwned_ = false; ///< the file goes with this object
};

} // namespace tavrin
