#include "FaultyLibraries.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include <dlfcn.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace tavrin::test {
namespace {

std::atomic<std::size_t> calls = 0;
std::atomic<std::size_t> victim = 0; ///< 0: none
std::atomic<LibraryFault> kind = LibraryFault::refuse;

bool isCodec(std::string_view name) {
    return name.starts_with("avcodec_send") || name.starts_with("avcodec_receive") || name == "av_read_frame";
}

thread_local int depth = 0; ///< of the libraries' functions that this thread is in

/// A library's own calls only fail: no exception finds its way through C.
bool goesWrong(const char* name) {
    const bool isRaising = kind == LibraryFault::raise;
    if (isRaising && (depth > 0 || !isCodec(name))) {
        return false;
    }
    const bool isVictim = calls.fetch_add(1) + 1 == victim;
    if (isVictim && isRaising) {
        throw std::runtime_error(std::string("out of ") + name);
    }
    return isVictim;
}

class Inside {
public:
    Inside() { ++depth; }
    ~Inside() { --depth; }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;
};

/// The library's own function, behind the one of this program that bears its name.
template <typename Function>
Function* genuine(Function*, const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

void armLibraryFault(std::size_t at, LibraryFault fault) {
    kind = fault;
    victim = at;
    calls = 0;
}

std::size_t libraryCalls() {
    return calls;
}

} // namespace tavrin::test

// The program's functions come before those of the libraries that it is linked with.

#define TAVRIN_FAULTY(RESULT, NAME, PARAMETERS, ARGUMENTS, FAILURE)                                          \
    extern "C" RESULT NAME PARAMETERS {                                                                      \
        static auto* const real = tavrin::test::genuine(&NAME, #NAME);                                       \
        if (tavrin::test::goesWrong(#NAME)) {                                                                \
            return FAILURE;                                                                                  \
        }                                                                                                    \
        const tavrin::test::Inside inside;                                                                   \
        return real ARGUMENTS;                                                                               \
    }

constexpr int noMemory = AVERROR(ENOMEM);

TAVRIN_FAULTY(AVFrame*, av_frame_alloc, (), (), nullptr)
TAVRIN_FAULTY(AVPacket*, av_packet_alloc, (), (), nullptr)
TAVRIN_FAULTY(int, av_frame_get_buffer, (AVFrame * frame, int align), (frame, align), noMemory)
TAVRIN_FAULTY(AVCodecContext*, avcodec_alloc_context3, (const AVCodec* codec), (codec), nullptr)
TAVRIN_FAULTY(int, avcodec_open2, (AVCodecContext * context, const AVCodec* codec, AVDictionary** options),
              (context, codec, options), noMemory)
TAVRIN_FAULTY(int, avcodec_send_frame, (AVCodecContext * context, const AVFrame* frame), (context, frame),
              AVERROR_EXTERNAL)
TAVRIN_FAULTY(int, avcodec_receive_packet, (AVCodecContext * context, AVPacket* packet), (context, packet),
              AVERROR_EXTERNAL)
TAVRIN_FAULTY(int, avcodec_send_packet, (AVCodecContext * context, const AVPacket* packet), (context, packet),
              noMemory)
TAVRIN_FAULTY(int, avcodec_receive_frame, (AVCodecContext * context, AVFrame* frame), (context, frame),
              noMemory)
TAVRIN_FAULTY(int, avformat_open_input,
              (AVFormatContext * *context, const char* url, const AVInputFormat* format,
               AVDictionary** options),
              (context, url, format, options), noMemory)
TAVRIN_FAULTY(int, avformat_find_stream_info, (AVFormatContext * context, AVDictionary** options),
              (context, options), noMemory)
TAVRIN_FAULTY(int, av_read_frame, (AVFormatContext * context, AVPacket* packet), (context, packet), noMemory)
TAVRIN_FAULTY(int, avformat_alloc_output_context2,
              (AVFormatContext * *context, const AVOutputFormat* format, const char* name, const char* file),
              (context, format, name, file), noMemory)
TAVRIN_FAULTY(AVStream*, avformat_new_stream, (AVFormatContext * context, const AVCodec* codec),
              (context, codec), nullptr)
TAVRIN_FAULTY(int, avformat_write_header, (AVFormatContext * context, AVDictionary** options),
              (context, options), noMemory)
TAVRIN_FAULTY(int, av_interleaved_write_frame, (AVFormatContext * context, AVPacket* packet),
              (context, packet), noMemory)
TAVRIN_FAULTY(int, av_write_trailer, (AVFormatContext * context), (context), noMemory)
TAVRIN_FAULTY(void*, aligned_alloc, (std::size_t alignment, std::size_t size), (alignment, size), nullptr)
