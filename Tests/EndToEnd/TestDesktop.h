#pragma once

#include <memory>
#include <string>
#include <thread>

#include "TavrinKit/Support/Geometry.h"

namespace tavrin::test {

/// A grey checkerboard on the root window and a white disk, with its hot spot in the middle, as the cursor.
class TestDesktop {
public:
    static constexpr int diskDiameter = 21;
    static constexpr std::uint8_t brightest = 130; ///< no pixel of the checkerboard is lighter, 0...255

    explicit TestDesktop(const std::string& display);
    ~TestDesktop();
    TestDesktop(const TestDesktop&) = delete;
    TestDesktop& operator=(const TestDesktop&) = delete;

    /// From now on repaints a field of the checkerboard some 30 times a second, each time in another grey.
    void startFlicker();

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
    std::jthread flicker_;
};

} // namespace tavrin::test
