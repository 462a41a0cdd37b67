#include "TavrinKit/Media/MovieFile.h"

#include <cerrno>
#include <chrono>
#include <memory>
#include <new>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

extern "C" {
#include <libavutil/opt.h>
}

#include "TavrinKit/Media/MediaError.h"
#include "TavrinKit/Support/Cancellation.h"
#include "TavrinKit/Support/Files.h"
#include "TavrinKit/Support/Race.h"

namespace tavrin {
namespace {

namespace fs = std::filesystem;

constexpr int bufferSize = 1 << 18;
constexpr std::int64_t writebackStep = 1 << 23;

/// A device or a pipe is written to as it stands; only a regular file can be replaced by a rename.
bool canBeReplaced(const fs::path& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode);
}

/// What the container calls the codec; 0: its usual name. That of ProRes tells its profile.
std::uint32_t tagOf(const AVCodecParameters& parameters) {
    switch (parameters.codec_id) {
    case AV_CODEC_ID_HEVC:
        return MKTAG('h', 'v', 'c', '1');
    case AV_CODEC_ID_PRORES:
        return parameters.codec_tag;
    default:
        return 0;
    }
}

/// A disk may take seconds for that. Whoever doesn't want the file any more needn't wait.
/// @return an errno value, or 0
/// @throws CancellationError
int flushToDisk(int descriptor, const std::stop_token& stop) {
    if (!stop.stop_possible()) {
        return ::fsync(descriptor) != 0 ? errno : 0;
    }
    const int copy = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (copy < 0) {
        return errno;
    }
    const std::shared_ptr<const int> file(new int(copy), [](const int* owned) {
        ::close(*owned);
        delete owned;
    });
    constexpr auto forever = std::chrono::hours(24);
    const auto reason = raceAgainstTimer(
        forever, stop, [file](const std::stop_token&) { return ::fsync(*file) != 0 ? errno : 0; });
    return reason.value_or(ETIMEDOUT);
}

} // namespace

MovieFile::MovieFile(const fs::path& path, Form form)
    : path_(path), form_(form),
      file_(form == Form::fragmented || !canBeReplaced(path) ? path : hiddenPathBeside(path)) {}

/// From the first constructor's end on the destructor tidies up, whatever fails here.
MovieFile::MovieFile(const fs::path& path, MovieContainer container, Form form) : MovieFile(path, form) {
    ffmpeg::quietLogging();
    create();
    openContainer(container);
}

void MovieFile::create() {
    if (std::error_code unknown; fs::is_directory(path_, unknown)) {
        throw FileError("write", path_, EISDIR);
    }
    const bool isNew = isHidden() || canBeReplaced(path_);
    descriptor_ = ::open(file_.c_str(), O_RDWR | O_CLOEXEC | (isNew ? O_CREAT | O_EXCL : O_TRUNC), 0644);
    if (descriptor_ < 0) {
        throw FileError("write", path_, errno);
    }
    isOwned_ = isNew;
    ::flock(descriptor_, LOCK_EX | LOCK_NB); // whoever tidies the folder sees that it is in use
}

void MovieFile::openContainer(MovieContainer container) {
    const char* format = container == MovieContainer::quickTime ? "mov" : "mp4";
    const std::string url = "file:" + file_.string();
    auto* buffer = static_cast<unsigned char*>(av_malloc(bufferSize));
    io_ = buffer == nullptr ? nullptr
                            : avio_alloc_context(buffer, bufferSize, 1, this, nullptr, &writeBytes, &seek);
    if (io_ == nullptr) {
        av_free(buffer);
        throw std::bad_alloc();
    }
    if (avformat_alloc_output_context2(&context_, nullptr, format, url.c_str()) < 0) {
        throw std::bad_alloc();
    }
    context_->pb = io_;
    context_->flags |= AVFMT_FLAG_CUSTOM_IO;
    context_->flush_packets = 0;
}

MovieFile::~MovieFile() {
    close();
    if (isOwned_) {
        ::unlink(file_.c_str());
    }
}

int MovieFile::addTrack(const AVCodecParameters& parameters, AVRational timeBase) {
    AVStream* stream = avformat_new_stream(context_, nullptr);
    if (stream == nullptr || avcodec_parameters_copy(stream->codecpar, &parameters) < 0) {
        throw std::bad_alloc();
    }
    stream->codecpar->codec_tag = tagOf(parameters);
    stream->time_base = timeBase;
    if (parameters.codec_type == AVMEDIA_TYPE_VIDEO) {
        stream->sample_aspect_ratio = parameters.sample_aspect_ratio;
        if (timeBase.den < 100'000) {
            stream->avg_frame_rate = av_inv_q(timeBase);
        }
    }
    timeBases_.push_back(timeBase);
    return stream->index;
}

void MovieFile::begin() {
    ffmpeg::Options options;
    // Edit lists count in this; it divides evenly into the usual frame rates and samples of sound.
    options.set("movie_timescale", "48000");
    if (form_ == Form::fragmented) {
        // The head is written before any packet, so no edit list can say where a track starts: its fragments
        // do.
        context_->avoid_negative_ts = AVFMT_AVOID_NEG_TS_DISABLED;
        options.set("movflags", "frag_custom+empty_moov+default_base_moof+frag_discont")
            .set("use_editlist", "0");
    } else if (form_ == Form::indexFirst) {
        options.set("movflags", "faststart");
    }
    check(avformat_write_header(context_, options.get()));
    if (form_ == Form::fragmented) {
        avio_flush(io_);
        check(0);
    }
}

void MovieFile::write(AVPacket& packet, int track) {
    const auto index = std::size_t(track);
    packet.stream_index = track;
    packet.pos = -1;
    av_packet_rescale_ts(&packet, timeBases_[index], context_->streams[track]->time_base);
    check(av_interleaved_write_frame(context_, &packet));
}

void MovieFile::flushFragment() {
    check(av_interleaved_write_frame(context_, nullptr)); // what waits for its turn
    check(av_write_frame(context_, nullptr));             // the fragment
    avio_flush(io_);
    check(0);
    // The next fragment starts where its first packet says, not where the last one's durations ended.
    check(av_opt_set(context_->priv_data, "movflags", "+frag_discont", 0));
}

void MovieFile::complete(const std::stop_token& stop) {
    stop_ = stop;
    const int code = av_write_trailer(context_);
    avio_flush(io_);
    throwIfCancelled(stop);
    check(code);
    if (canBeReplaced(file_)) {
        if (const int reason = flushToDisk(descriptor_, stop); reason != 0) {
            throw MediaError::writingFailed(path_, reason);
        }
    }
    close();
    if (isHidden()) {
        moveFile(file_, path_);
    }
    isOwned_ = false;
}

void MovieFile::abandon() noexcept {
    close();
    isOwned_ = false;
}

void MovieFile::check(int code) {
    if (error_ != 0) {
        throw MediaError::writingFailed(path_, error_);
    }
    if (code < 0) {
        throw MediaError::writingFailed(path_, ffmpeg::reason(code));
    }
}

void MovieFile::close() noexcept {
    avformat_free_context(std::exchange(context_, nullptr));
    if (io_ != nullptr) {
        av_freep(&io_->buffer);
        avio_context_free(&io_);
    }
    if (descriptor_ >= 0) {
        ::close(std::exchange(descriptor_, -1));
    }
}

int MovieFile::writeBytes(void* self, std::uint8_t* bytes, int count) {
    auto& file = *static_cast<MovieFile*>(self);
    if (file.stop_.stop_requested()) {
        return AVERROR_EXIT;
    }
    for (int written = 0; written < count;) {
        const ssize_t step = ::write(file.descriptor_, bytes + written, std::size_t(count - written));
        if (step < 0 && errno == EINTR) {
            continue;
        }
        if (step < 0) {
            file.error_ = file.error_ != 0 ? file.error_ : errno;
            return AVERROR(errno);
        }
        written += int(step);
    }
    // The disk starts early on what the flush at the end would otherwise have to wait for.
    file.unflushed_ += count;
    if (file.unflushed_ >= writebackStep) {
        file.unflushed_ = 0;
        ::sync_file_range(file.descriptor_, 0, 0, SYNC_FILE_RANGE_WRITE);
    }
    return count;
}

std::int64_t MovieFile::seek(void* self, std::int64_t offset, int whence) {
    auto& file = *static_cast<MovieFile*>(self);
    struct stat status {};
    const std::int64_t position = whence != AVSEEK_SIZE
                                      ? ::lseek(file.descriptor_, offset, whence & ~AVSEEK_FORCE)
                                  : ::fstat(file.descriptor_, &status) == 0 ? std::int64_t(status.st_size)
                                                                            : -1;
    if (position >= 0) {
        return position;
    }
    // The muxer doesn't look whether it got where it goes back to fill in a size.
    file.error_ = file.error_ != 0 ? file.error_ : errno;
    return AVERROR(errno);
}

} // namespace tavrin
