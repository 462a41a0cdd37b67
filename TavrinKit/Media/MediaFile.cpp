#include "TavrinKit/Media/MediaFile.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <sys/stat.h>

#include "TavrinKit/Media/MediaError.h"
#include "TavrinKit/Media/TrackNumbers.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

/// Formats that hold their media themselves. Playlists and the like are not among them.
constexpr const char* formats = "mov,matroska,avi,mpegts,mpeg,flv,ogg,wav,w64,aiff,caf,flac,mp3,aac,ac3,asf";

bool isMov(const AVFormatContext& context) {
    return std::string_view(context.iformat->name).find("mov") != std::string_view::npos;
}

void checkIsRegularFile(const std::filesystem::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        throw FileError("read", path, errno);
    }
    if (!S_ISREG(status.st_mode)) {
        throw MediaError::unreadable(path,
                                     S_ISDIR(status.st_mode) ? "it is a folder" : "it is no ordinary file");
    }
    if (status.st_size == 0) {
        throw MediaError::unreadable(path, "it is empty");
    }
}

ffmpeg::InputFile openInput(const std::string& url, const std::filesystem::path& path) {
    AVIOContext* input = nullptr;
    if (const int code = avio_open(&input, url.c_str(), AVIO_FLAG_READ); code < 0) {
        throw FileError("read", path, AVUNERROR(code));
    }
    return ffmpeg::InputFile(input);
}

std::string_view explain(int code) {
    switch (code) {
    case AVERROR_INVALIDDATA:
    case AVERROR_EOF:
        return "it is no movie of a known kind, or its end is missing";
    default:
        return {};
    }
}

} // namespace

MediaFile::MediaFile(const std::filesystem::path& path) : path_(path) {
    ffmpeg::quietLogging();
    checkIsRegularFile(path);
    checkTrackNumbers(path);
    const std::string url = "file:" + path.string();
    input_ = openInput(url, path);
    context_ = avformat_alloc_context();
    if (context_ == nullptr) {
        throw std::bad_alloc();
    }
    context_->pb = input_.get();
    context_->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_DISCARD_CORRUPT;
    ffmpeg::Options options;
    options.set("format_whitelist", formats).set("protocol_whitelist", "file");
    const int code = avformat_open_input(&context_, url.c_str(), nullptr, options.get());
    try {
        checkInput();
        ffmpeg::checkMemory(path, code);
        if (code < 0) {
            const std::string_view known = explain(code);
            throw MediaError::unreadable(path, known.empty() ? ffmpeg::reason(code) : std::string(known));
        }
    } catch (...) {
        avformat_close_input(&context_);
        throw;
    }
    findOrigin();
}

MediaFile::~MediaFile() {
    avformat_close_input(&context_);
}

void MediaFile::analyse() {
    std::vector<AVDictionary*> limits(context_->nb_streams, nullptr);
    for (AVDictionary*& limit : limits) {
        av_dict_set_int(&limit, "max_pixels", ffmpeg::mostPixels, 0);
    }
    const int code = avformat_find_stream_info(context_, limits.data());
    for (AVDictionary*& limit : limits) {
        av_dict_free(&limit);
    }
    checkInput();
    ffmpeg::checkMemory(path_, code);
    if (code < 0) {
        throw MediaError::unreadable(path_, ffmpeg::reason(code));
    }
    if (context_->nb_streams == 0) {
        throw MediaError::unreadable(path_, "it holds neither pictures nor sound");
    }
    findOrigin();
}

/// Times in a MOV or MP4 count from the movie's start, whatever its tracks begin with. What lies before time
/// 0 in other files primes a decoder.
void MediaFile::findOrigin() {
    if (!isMov(*context_) && context_->start_time != AV_NOPTS_VALUE) {
        origin_ = std::max(0.0, double(context_->start_time) / AV_TIME_BASE);
    }
}

/// The demuxers take a read that failed for the end of the file.
void MediaFile::checkInput() const {
    const int error = input_->error;
    if (error < 0 && error != AVERROR_EOF) {
        throw FileError("read", path_, AVUNERROR(error));
    }
}

int MediaFile::track(AVMediaType type, int number) const {
    for (int i = 0; i < trackCount(); ++i) {
        const bool isCover = (stream(i).disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
        if (stream(i).codecpar->codec_type == type && !isCover && number-- == 0) {
            return i;
        }
    }
    return -1;
}

void MediaFile::readOnly(int index) {
    for (int i = 0; i < trackCount(); ++i) {
        stream(i).discard = i == index ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
}

bool MediaFile::read(AVPacket& packet) {
    const int code = av_read_frame(context_, &packet);
    checkInput();
    ffmpeg::checkMemory(path_, code);
    if (code < 0) {
        failure_ = code == AVERROR_EOF ? input_->error : code;
    }
    return code >= 0;
}

void MediaFile::rewind() {
    failure_ = 0;
    if (avformat_seek_file(context_, -1, INT64_MIN, INT64_MIN, INT64_MAX, 0) < 0) {
        av_seek_frame(context_, -1, 0, AVSEEK_FLAG_BYTE);
    }
}

void MediaFile::seek(int index, std::int64_t time) {
    failure_ = 0;
    if (av_seek_frame(context_, index, time, AVSEEK_FLAG_BACKWARD) < 0) {
        rewind();
    }
}

double MediaFile::seconds(int index, std::int64_t time) const {
    return double(time) * av_q2d(stream(index).time_base) - origin_;
}

std::int64_t MediaFile::units(int index, double seconds) const {
    constexpr double most = 4e18;
    return std::llround(std::clamp((seconds + origin_) / av_q2d(stream(index).time_base), -most, most));
}

bool MediaFile::isExact() const {
    return isMov(*context_);
}

double MediaFile::end(int index) const {
    const AVStream& track = stream(index);
    if (track.duration == AV_NOPTS_VALUE || track.duration <= 0) {
        return 0;
    }
    const bool hasStart = track.start_time != AV_NOPTS_VALUE && track.start_time != 0;
    const double start = hasStart ? seconds(index, track.start_time) : 0;
    return std::max(0.0, start + double(track.duration) * av_q2d(track.time_base));
}

} // namespace tavrin
