#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <gtest/gtest.h>

#include "Examples/Walkthrough/ScreenTake.h"
#include "OwnedWindow.h"

namespace {

/// The recorder that the tests kill: says when it records and goes on until its end.
int recordUntilKilled(const char* display, const char* folder) {
    try {
        tavrin::demo::ScreenTake take({.display = display, .outputDirectory = folder});
        take.start();
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        std::printf("recording %lld\n", static_cast<long long>(std::chrono::nanoseconds(now).count()));
        std::fflush(stdout);
        std::this_thread::sleep_for(std::chrono::minutes(2));
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}

} // namespace

int main(int count, char** arguments) {
    if (count == 4 && std::strcmp(arguments[1], "--record") == 0) {
        return recordUntilKilled(arguments[2], arguments[3]);
    }
    if (count == 5 && std::strcmp(arguments[1], "--own-window") == 0) {
        return tavrin::test::ownWindow(arguments[2], {std::atoi(arguments[3]), std::atoi(arguments[4])});
    }
    testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
