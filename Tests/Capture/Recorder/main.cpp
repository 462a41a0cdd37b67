// Writes a movie through the sink until something ends it: the process that the tests kill, or whose disk
// they take away.
//
//   still FILE     one picture, then nothing changes
//   motion FILE    a new picture sixty times a second
//   limited FILE   the same into a file that can't grow beyond 600 kB; exits with 3 when the finish throws

#include <chrono>
#include <csignal>
#include <cstdint>
#include <exception>
#include <string>
#include <thread>

#include <sys/resource.h>

#include "TavrinKit/Capture/StreamAssetWriterSink.h"
#include "TavrinKit/Support/HostClock.h"

using namespace tavrin;

namespace {

constexpr PixelSize size{320, 180};

VideoSample noise(std::uint32_t seed) {
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

} // namespace

int main(int argc, char** argv) {
    const std::string mode = argc == 3 ? argv[1] : "";
    if (mode == "limited") {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{600'000, 600'000};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    StreamAssetWriterSink sink(argv[2], size.width, size.height, false);
    const std::uint32_t frames = mode == "limited" ? 90 : 3600; // ends by itself after a minute
    for (std::uint32_t i = 0; i < frames; ++i) {
        if (mode != "still" || i == 0) {
            sink.appendVideo(noise(i));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(16));
    }
    try {
        if (sink.prepareForFinish()) {
            sink.finish(HostClock::now());
        }
        return 0;
    } catch (const std::exception&) {
        return 3;
    }
}
