#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "TavrinKit/Support/BoundedQueue.h"
#include "TavrinKit/Support/Cancellation.h"
#include "TavrinKit/Support/Race.h"

namespace tavrin {
namespace {

using namespace std::chrono_literals;

TEST(RaceTests, theOperationWins) {
    const auto result = raceAgainstTimer(10s, {}, [](std::stop_token) { return 42; });
    EXPECT_EQ(result, 42);
    const auto nothing = raceAgainstTimer(10s, {}, [](std::stop_token) {});
    EXPECT_TRUE(nothing.has_value());
}

TEST(RaceTests, itsErrorReachesTheCaller) {
    EXPECT_THROW((void)raceAgainstTimer(10s, {}, [](std::stop_token) -> int { throw Error("Broken."); }),
                 Error);
}

TEST(RaceTests, theTimerWinsAndTheLateResultIsDropped) {
    auto stopped = std::make_shared<std::atomic<bool>>(false);
    auto ended = std::make_shared<std::atomic<bool>>(false);
    const auto result = raceAgainstTimer(20ms, {}, [=](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            std::this_thread::sleep_for(1ms);
        }
        *stopped = true;
        *ended = true;
        return 1;
    });
    EXPECT_FALSE(result.has_value());
    while (!*ended) {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_TRUE(*stopped);
}

TEST(RaceTests, aStopOfTheCallerEndsTheWaitAndReachesTheOperation) {
    std::stop_source source;
    auto reached = std::make_shared<std::atomic<bool>>(false);
    std::thread stopper([&] {
        std::this_thread::sleep_for(10ms);
        source.request_stop();
    });
    EXPECT_THROW((void)raceAgainstTimer(1h, source.get_token(),
                                        [=](const std::stop_token& stop) {
                                            while (!stop.stop_requested()) {
                                                std::this_thread::sleep_for(1ms);
                                            }
                                            *reached = true;
                                        }),
                 CancellationError);
    stopper.join();
    while (!*reached) {
        std::this_thread::sleep_for(1ms);
    }
}

TEST(BoundedQueueTests, refusesWhenFullDrainsWhenClosed) {
    BoundedQueue<int> queue(2);
    EXPECT_TRUE(queue.tryPush(1));
    EXPECT_TRUE(queue.push(2));
    EXPECT_FALSE(queue.tryPush(3));
    queue.close();
    EXPECT_FALSE(queue.push(4));
    EXPECT_EQ(queue.pop(), 1);
    EXPECT_EQ(queue.pop(), 2);
    EXPECT_EQ(queue.pop(), std::nullopt);
}

TEST(BoundedQueueTests, aStopWakesBothSides) {
    BoundedQueue<int> queue(1);
    std::stop_source source;
    std::thread stopper([&] {
        std::this_thread::sleep_for(10ms);
        source.request_stop();
    });
    EXPECT_EQ(queue.pop(source.get_token()), std::nullopt);
    EXPECT_TRUE(queue.push(1));
    EXPECT_FALSE(queue.push(2, source.get_token()));
    stopper.join();
}

TEST(CancellationTests, aSleepEndsAtOnce) {
    std::stop_source source;
    source.request_stop();
    EXPECT_THROW(sleepFor(1h, source.get_token()), CancellationError);
    EXPECT_NO_THROW(sleepFor(1ms, {}));
}

} // namespace
} // namespace tavrin
