// Writes a movie through the sink until something ends it: the process that the tests kill, or whose disk
// they take away.
//
//   still FILE        one picture, then nothing changes
//   motion FILE       a new picture sixty times a second
//   limited FILE N    noise into a file that can't grow beyond N bytes; prints what the finish came to

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <exception>
#include <iostream>
#include <string>
#include <thread>

#include <sys/resource.h>

#include "TavrinKit/Capture/StreamAssetWriterSink.h"
#include "TavrinKit/Support/HostClock.h"

namespace {

using namespace tavrin;
using namespace std::chrono_literals;

constexpr PixelSize size{320, 180};

VideoSample picture(std::uint32_t seed) {
    VideoSample sample;
    sample.pixels = PixelBuffer::allocate(PixelFormat::i420, size);
    for (int plane = 0; plane < 3; ++plane) {
        for (int y = 0; y < sample.pixels.plane(plane).height; ++y) {
            for (int x = 0; x < sample.pixels.plane(plane).width; ++x) {
                seed = seed * 1664525 + 1013904223;
                sample.pixels.row(plane, y)[x] = std::uint8_t(16 + (seed >> 24) % 200);
            }
        }
    }
    sample.presentationTime = HostClock::now();
    return sample;
}

void limitFileSize(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
}

int recordUntilTheDiskIsFull(StreamAssetWriterSink& sink) {
    for (std::uint32_t i = 0; i < 90; ++i) {
        sink.appendVideo(picture(i));
        std::this_thread::sleep_for(16ms);
    }
    try {
        if (sink.prepareForFinish()) {
            sink.finish(HostClock::now());
        }
        std::cout << "finished" << std::endl;
    } catch (const std::exception& error) {
        std::cout << "failed: " << error.what() << std::endl;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        return 2;
    }
    const std::string mode = argv[1];
    if (mode == "limited") {
        limitFileSize(std::stoul(argv[3]));
    }
    StreamAssetWriterSink sink(argv[2], size.width, size.height, false);
    if (mode == "limited") {
        return recordUntilTheDiskIsFull(sink);
    }
    std::cout << std::fixed << HostClock::now() << std::endl;
    for (std::uint32_t i = 0; i < 60 * 60; ++i) { // ends by itself after a minute
        if (mode == "motion" || i == 0) {
            sink.appendVideo(picture(i));
        }
        std::this_thread::sleep_for(16ms);
    }
    return 0;
}
