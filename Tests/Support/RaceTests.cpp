#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "TavrinKit/Support/BoundedQueue.h"
#include "TavrinKit/Support/Cancellation.h"
#include "TavrinKit/Support/Race.h"

namespace tavrin {
namespace {

using namespace std::chrono_literals;

/// An operation that works until it is asked to stop, and then says so.
auto patientOperation(const std::shared_ptr<std::atomic<bool>>& wasStopped) {
    return [=](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            std::this_thread::sleep_for(1ms);
        }
        *wasStopped = true;
        return 1;
    };
}

TEST(RaceTests, theFirstToFinishDecidesAndALoserIsAskedToStop) {
    EXPECT_EQ(raceAgainstTimer(10s, {}, [](std::stop_token) { return 42; }), 42);
    EXPECT_TRUE(raceAgainstTimer(10s, {}, [](std::stop_token) {}).has_value());
    EXPECT_THROW((void)raceAgainstTimer(10s, {}, [](std::stop_token) -> int { throw Error("Broken."); }),
                 Error);

    const auto byTimer = std::make_shared<std::atomic<bool>>(false);
    EXPECT_EQ(raceAgainstTimer(20ms, {}, patientOperation(byTimer)), std::nullopt);

    std::stop_source source;
    const auto byCaller = std::make_shared<std::atomic<bool>>(false);
    std::jthread stopper([&] {
        std::this_thread::sleep_for(10ms);
        source.request_stop();
    });
    EXPECT_THROW((void)raceAgainstTimer(1h, source.get_token(), patientOperation(byCaller)),
                 CancellationError);
    while (!*byTimer || !*byCaller) {
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
