#include <cmath>
#include <filesystem>

#include <sys/mman.h>
#include <unistd.h>

#include "FuzzTargets.h"
#include "TavrinKit/Media/AudioReader.h"
#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Media/VideoReader.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin::fuzz {

namespace {

constexpr int picturesAsked = 6;
constexpr int soundsAsked = 12;

/// A file in memory that can be opened by its path.
class MemoryFile {
public:
    explicit MemoryFile(std::string_view contents) : fd_(::memfd_create("input", MFD_CLOEXEC)) {
        if (::write(fd_, contents.data(), contents.size()) != ssize_t(contents.size())) {
            throw std::runtime_error("no memory for the input");
        }
    }
    ~MemoryFile() { ::close(fd_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    [[nodiscard]] std::filesystem::path path() const { return "/proc/self/fd/" + std::to_string(fd_); }

private:
    int fd_;
};

bool isDuration(double seconds) {
    return std::isfinite(seconds) && seconds >= 0;
}

void watch(VideoReader& reader) {
    double last = -1e300;
    for (int i = 0; i < picturesAsked; ++i) {
        const std::optional<DecodedFrame> frame = reader.next();
        if (!frame) {
            return;
        }
        require(std::isfinite(frame->time) && frame->time >= last, "pictures come in order");
        require(frame->pixels.size().width > 0 && frame->pixels.size().height > 0, "a picture has a size");
        last = frame->time;
    }
}

template <typename Body>
void unlessRefused(Body body) {
    try {
        body();
    } catch (const MediaError&) {
    } catch (const FileError&) {
    }
}

} // namespace

void fuzzMedia(std::string_view input) {
    const MemoryFile file(input);
    unlessRefused([&] {
        const MediaInfo info = probeMedia(file.path());
        require(isDuration(info.duration), "a duration is finite");
        for (const VideoTrackInfo& track : info.video) {
            require(isDuration(track.duration) && track.duration <= info.duration &&
                        std::isfinite(track.nominalFrameRate) && track.nominalFrameRate >= 0 &&
                        track.frameCount >= 0,
                    "what is said of a track is plausible");
        }
        for (const AudioTrackInfo& track : info.audio) {
            require(isDuration(track.duration) && track.duration <= info.duration, "a duration is finite");
        }
    });
    unlessRefused([&] {
        VideoReader reader(file.path(), {.threads = 1});
        watch(reader);
        reader.seek(0.05);
        watch(reader);
    });
    unlessRefused([&] {
        AudioReader reader(file.path(), 0, 48000, 2);
        for (int i = 0; i < soundsAsked; ++i) {
            const std::optional<std::vector<float>> sound = reader.next();
            if (!sound) {
                break;
            }
            require(sound->size() % 2 == 0, "sound comes in whole frames");
        }
    });
}

} // namespace tavrin::fuzz
