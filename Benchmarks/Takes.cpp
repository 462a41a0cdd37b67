#include "Takes.h"

#include <chrono>
#include <string>
#include <thread>

#include "ChildProcess.h"
#include "Examples/Walkthrough/DemoApplication.h"
#include "Examples/Walkthrough/DemoScript.h"
#include "Examples/Walkthrough/ScreenTake.h"
#include "Examples/Walkthrough/Showcase.h"
#include "Measuring/Measuring.h"
#include "MotionPainter.h"
#include "PointerMover.h"
#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Platform/X11/VirtualDisplay.h"

namespace tavrin::bench {

namespace fs = std::filesystem;

namespace {

constexpr double fullMotionSeconds = 10;
constexpr int repeats = 6;

} // namespace

const fs::path& Takes::walkthrough() {
    if (!walkthrough_) {
        say("recording the walkthrough");
        const VirtualDisplay display;
        const demo::DemoApplication application(display.name());
        XTestDriver hand(display.name());
        demo::DemoScript script(hand, application.origin());
        script.prepare();
        demo::ScreenTake take({.display = display.name(), .outputDirectory = folder_ / "walkthrough"});
        take.start();
        script.run({});
        take.finish();
        walkthrough_ = take.packagePath();
    }
    return *walkthrough_;
}

const fs::path& Takes::fullMotion() {
    if (!fullMotion_) {
        say("recording the full-motion take");
        const VirtualDisplay display;
        const MotionPainter painter(display.name());
        const PointerMover mover(display.name(), true);
        demo::ScreenTake take({.display = display.name(), .outputDirectory = folder_ / "fullmotion"});
        take.start();
        std::this_thread::sleep_for(std::chrono::duration<double>(fullMotionSeconds));
        take.finish();
        fullMotion_ = take.packagePath();
    }
    return *fullMotion_;
}

const fs::path& Takes::longFullMotion() {
    if (!longFullMotion_) {
        const fs::path package = folder_ / "long";
        fs::copy(fullMotion(), package, fs::copy_options::recursive);
        runFFmpeg({"-stream_loop", std::to_string(repeats - 1), "-i", (fullMotion() / "screen.mov").string(),
                   "-c", "copy", (package / "screen.mov").string()});
        longFullMotion_ = package;
    }
    return *longFullMotion_;
}

const fs::path& Takes::everything() {
    if (!everything_) {
        const fs::path folder = folder_ / "everything";
        fs::copy(walkthrough(), folder, fs::copy_options::recursive);
        const double duration = probeMedia(folder / "screen.mov").duration;
        demo::Showcase::apply(folder, demo::Showcase::evenCuts(duration));
        everything_ = folder;
    }
    return *everything_;
}

const fs::path& Takes::blurred() {
    if (!blurred_) {
        const fs::path folder = folder_ / "blurred";
        fs::copy(fullMotion(), folder, fs::copy_options::recursive);
        EditorSession session = EditorSession::open(ProjectPackage::load(folder));
        session.mutateTimeline([](TimelineModel& timeline) { timeline.motionBlurStyle.intensity = 0.65; });
        session.save();
        blurred_ = folder;
    }
    return *blurred_;
}

} // namespace tavrin::bench
