#pragma once

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Support/Guarded.h"

namespace tavrin::test {

/// Where clicks begin, seconds from the first frame.
/// @param mono  at 48 kHz
[[nodiscard]] std::vector<double> findClicks(const std::vector<float>& mono);

/// The times that lie between the two.
[[nodiscard]] std::vector<double> within(const std::vector<double>& times, double from, double until);
/// The times as seconds from `start`.
[[nodiscard]] std::vector<double> since(double start, std::vector<double> times);

/// Of each time how far the nearest one of the others is, those without one within 0.2 s left out.
[[nodiscard]] std::vector<double> distances(const std::vector<double>& from, const std::vector<double>& to);

/// The value below which that share of the others lies; 1000 when there are none.
[[nodiscard]] double quantile(std::vector<double> values, double share);

/// An application that plays a click every half second.
class ClickPlayer {
public:
    struct Settings {
        std::string sink;
        int processID = 5000;               ///< which it says it has
        std::string program = "player";     ///< which it says it is
        std::function<void()> onClick = {}; ///< called when a click is heard
    };
    /// Plays until the object or its server goes.
    explicit ClickPlayer(Settings settings);

    /// Host clock times at which clicks were heard.
    [[nodiscard]] std::vector<double> heard() const { return heard_.copy(); }

private:
    void play(const std::stop_token& stop);

    const Settings settings_;
    Guarded<std::vector<double>> heard_;
    std::jthread thread_;
};

/// A microphone before which something clicks every half second: what feeds a module-pipe-source.
class ClickingMicrophone {
public:
    /// @param skew  by how much the device is too fast, as in 200e-6
    explicit ClickingMicrophone(std::string pipe, double skew = 0);

    [[nodiscard]] std::vector<double> clicked() const { return clicked_.copy(); }

private:
    void feed(const std::stop_token& stop);

    const std::string pipe_;
    const double skew_;
    Guarded<std::vector<double>> clicked_;
    std::jthread thread_;
};

/// Keeps the first channel of the sound that a stream delivers.
class SoundCollector : public ScreenStreamOutput {
public:
    void didOutput(VideoSample) override {}
    void didOutput(AudioSample sample) override;
    void didWarn(std::string warning) override;
    void didStop(std::exception_ptr) override {}

    struct Collected {
        double start = 0; ///< host clock
        double end = 0;
        std::vector<float> sound;
        bool isUnbroken = true;
        std::vector<std::string> warnings;

        /// Host clock times.
        [[nodiscard]] std::vector<double> clicks() const;
    };
    [[nodiscard]] Collected collected() const { return collected_.copy(); }

private:
    Guarded<Collected> collected_;
};

} // namespace tavrin::test
