#include "TavrinKit/Media/TrackNumbers.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>

#include <fcntl.h>
#include <unistd.h>

#include "TavrinKit/Media/MediaError.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

using Type = std::uint32_t;

constexpr Type typeOf(const char (&name)[5]) {
    return Type(std::uint8_t(name[0])) << 24 | Type(std::uint8_t(name[1])) << 16 |
           Type(std::uint8_t(name[2])) << 8 | Type(std::uint8_t(name[3]));
}

/// What the demuxer looks into for a track, or takes for a head in disguise.
constexpr std::array containers{typeOf("moov"), typeOf("trak"), typeOf("mdia"), typeOf("minf"),
                                typeOf("stbl"), typeOf("edts"), typeOf("udta"), typeOf("mvex"),
                                typeOf("moof"), typeOf("traf"), typeOf("tref"), typeOf("free"),
                                typeOf("hoov")};
constexpr int deepest = 10; ///< it gives up beyond

class BoxWalk {
public:
    explicit BoxWalk(const std::filesystem::path& path)
        : path_(path), descriptor_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
        if (descriptor_ < 0) {
            throw FileError("read", path, errno);
        }
    }
    ~BoxWalk() { ::close(descriptor_); }
    BoxWalk(const BoxWalk&) = delete;
    BoxWalk& operator=(const BoxWalk&) = delete;

    void check() { walk(0, ::lseek(descriptor_, 0, SEEK_END), 0); }

private:
    static constexpr std::int64_t headSize = 8;

    /// @param depth  of the box with these contents; 0: the file
    /// @return whether a track's head is among the boxes
    bool walk(std::int64_t begin, std::int64_t end, int depth) {
        bool hasHead = false;
        while (begin <= end - headSize) {
            std::int64_t size = number(begin, 4);
            const Type type = Type(number(begin + 4, 4));
            std::int64_t contents = begin + headSize;
            if (size == 1) {
                size = number(contents, 8);
                contents += 8;
            } else if (size == 0) {
                size = end - begin;
            }
            if (size < contents - begin) {
                break;
            }
            const std::int64_t next = begin + std::min(size, end - begin);
            look(type, contents, next, depth);
            hasHead = hasHead || type == typeOf("tkhd");
            begin = next;
        }
        return hasHead;
    }

    void look(Type type, std::int64_t contents, std::int64_t end, int depth) {
        if (type == typeOf("cmov")) {
            throw MediaError::unreadable(path_, "its index is compressed");
        }
        if (type == typeOf("tkhd")) {
            const bool isLong = number(contents, 1) == 1;
            checkNumber(number(contents + (isLong ? 20 : 12), 4) <= INT32_MAX);
        } else if (depth < deepest && std::ranges::find(containers, type) != containers.end()) {
            const bool hasHead = walk(contents, end, depth + 1);
            checkNumber(hasHead || type != typeOf("trak"));
        }
    }

    void checkNumber(bool isThere) const {
        if (!isThere) {
            throw MediaError::unreadable(path_, "one of its tracks has no number");
        }
    }

    /// Big-endian; behind the end of the file are zeros.
    std::int64_t number(std::int64_t position, int size) {
        const std::uint8_t* bytes = bytesAt(position, size);
        std::uint64_t value = 0;
        for (int i = 0; bytes != nullptr && i < size; ++i) {
            value = value << 8 | bytes[i];
        }
        return std::int64_t(value);
    }

    /// @return null behind the end of the file; valid until the next call
    const std::uint8_t* bytesAt(std::int64_t position, int size) {
        if (position < start_ || position + size > start_ + count_) {
            ssize_t got = -1;
            do {
                got = ::pread(descriptor_, window_.data(), window_.size(), position);
            } while (got < 0 && errno == EINTR);
            if (got < 0) {
                throw FileError("read", path_, errno);
            }
            start_ = position;
            count_ = got;
        }
        return size <= count_ - (position - start_) ? window_.data() + (position - start_) : nullptr;
    }

    const std::filesystem::path path_;
    const int descriptor_;
    std::array<std::uint8_t, 4096> window_{}; ///< what was read last
    std::int64_t start_ = 0;                  ///< where it lies in the file
    std::int64_t count_ = 0;
};

} // namespace

void checkTrackNumbers(const std::filesystem::path& path) {
    BoxWalk(path).check();
}

} // namespace tavrin
