#include "Clicks.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <iterator>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <pulse/pulseaudio.h>
#include <unistd.h>

#include "TavrinKit/Platform/Pulse/PulseConnection.h"
#include "TavrinKit/Support/HostClock.h"

namespace tavrin::test {
namespace {

constexpr int rate = 48000;
constexpr std::int64_t period = rate / 2;
constexpr std::int64_t length = rate / 200;

/// Frame of a track that clicks at each whole period but the first.
float clickTrack(std::int64_t frame) {
    const bool clicks = frame >= period && frame % period < length;
    return clicks ? 0.8F * std::sin(float(frame % period) * 0.3F + 1.5F) : 0.0F;
}

} // namespace

std::vector<double> findClicks(const std::vector<float>& mono) {
    std::vector<double> clicks;
    std::size_t quietFrom = 0;
    for (std::size_t frame = 0; frame < mono.size(); ++frame) {
        if (std::abs(mono[frame]) > 0.25F) {
            if (frame > quietFrom + std::size_t(rate / 10)) {
                clicks.push_back(double(frame) / rate);
            }
            quietFrom = frame;
        }
    }
    return clicks;
}

std::vector<double> within(const std::vector<double>& times, double from, double until) {
    std::vector<double> kept;
    std::copy_if(times.begin(), times.end(), std::back_inserter(kept),
                 [&](double time) { return time > from && time < until; });
    return kept;
}

std::vector<double> since(double start, std::vector<double> times) {
    for (double& time : times) {
        time -= start;
    }
    return times;
}

std::vector<double> distances(const std::vector<double>& from, const std::vector<double>& to) {
    std::vector<double> found;
    for (const double time : from) {
        const auto nearest = std::min_element(to.begin(), to.end(), [&](double a, double b) {
            return std::abs(a - time) < std::abs(b - time);
        });
        if (nearest != to.end() && std::abs(*nearest - time) < 0.2) {
            found.push_back(*nearest - time);
        }
    }
    return found;
}

double quantile(std::vector<double> values, double share) {
    if (values.empty()) {
        return 1000;
    }
    std::sort(values.begin(), values.end());
    return values[std::min(std::size_t(double(values.size()) * share), values.size() - 1)];
}

ClickPlayer::ClickPlayer(Settings settings)
    : settings_(std::move(settings)), thread_([this](const std::stop_token& stop) {
          try {
              play(stop);
          } catch (const Error&) { // the server has gone
          }
      }) {}

void ClickPlayer::play(const std::stop_token& stop) {
    PulseConnection connection({}, {});
    const pa_sample_spec format{PA_SAMPLE_FLOAT32NE, rate, 1};
    const std::unique_ptr<pa_proplist, void (*)(pa_proplist*)> properties(pa_proplist_new(),
                                                                          pa_proplist_free);
    pa_proplist_sets(properties.get(), PA_PROP_APPLICATION_PROCESS_ID,
                     std::to_string(settings_.processID).c_str());
    pa_proplist_sets(properties.get(), PA_PROP_APPLICATION_PROCESS_BINARY, settings_.program.c_str());
    const std::unique_ptr<pa_stream, void (*)(pa_stream*)> stream(
        pa_stream_new_with_proplist(connection.context(), "clicks", &format, nullptr, properties.get()),
        pa_stream_unref);
    constexpr auto theirs = std::uint32_t(-1);
    const pa_buffer_attr buffer{theirs, std::uint32_t(rate / 4 * sizeof(float)), theirs, theirs, theirs};
    pa_stream_connect_playback(stream.get(), settings_.sink.c_str(), &buffer,
                               pa_stream_flags_t(PA_STREAM_ADJUST_LATENCY | PA_STREAM_INTERPOLATE_TIMING |
                                                 PA_STREAM_AUTO_TIMING_UPDATE),
                               nullptr, nullptr);
    std::int64_t written = 0;
    std::int64_t nextClick = period;
    while (!stop.stop_requested()) {
        connection.runFor(std::chrono::milliseconds(5));
        const std::size_t writable = pa_stream_get_state(stream.get()) == PA_STREAM_READY
                                         ? pa_stream_writable_size(stream.get()) / sizeof(float)
                                         : 0;
        std::vector<float> sound(writable);
        for (float& sample : sound) {
            sample = clickTrack(written++);
        }
        if (!sound.empty()) {
            pa_stream_write(stream.get(), sound.data(), sound.size() * sizeof(float), nullptr, 0,
                            PA_SEEK_RELATIVE);
        }
        pa_usec_t time = 0;
        const bool isKnown = pa_stream_get_time(stream.get(), &time) == 0;
        const double place = double(time) * 1e-6 * rate;
        if (isKnown && place >= double(nextClick)) {
            const double at = HostClock::now() - (place - double(nextClick)) / rate;
            heard_.with([&](std::vector<double>& heard) { heard.push_back(at); });
            nextClick += period;
            if (settings_.onClick) {
                settings_.onClick();
            }
        }
    }
    pa_stream_disconnect(stream.get());
}

ClickingMicrophone::ClickingMicrophone(std::string pipe, double skew)
    : pipe_(std::move(pipe)), skew_(skew), thread_([this](const std::stop_token& stop) { feed(stop); }) {}

void ClickingMicrophone::feed(const std::stop_token& stop) {
    sigset_t brokenPipe;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
    const int pipe = open(pipe_.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    const double start = HostClock::now();
    const double trueRate = rate * (1 + skew_);
    std::int64_t written = 0;
    while (!stop.stop_requested()) {
        const auto due = std::int64_t((HostClock::now() - start) * trueRate);
        std::vector<std::int16_t> sound;
        for (; written < due; ++written) {
            sound.push_back(std::int16_t(clickTrack(written) * 32767));
            if (written % period == 0 && written > 0) {
                clicked_.with([&](std::vector<double>& clicked) {
                    clicked.push_back(start + double(written) / trueRate);
                });
            }
        }
        if (write(pipe, sound.data(), sound.size() * sizeof sound[0]) < 0 && errno != EAGAIN) {
            break; // the source has gone
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    close(pipe);
}

void SoundCollector::didOutput(AudioSample sample) {
    collected_.with([&](Collected& all) {
        if (all.sound.empty()) {
            all.start = all.end = sample.presentationTime;
        }
        all.isUnbroken = all.isUnbroken && std::abs(sample.presentationTime - all.end) < 1e-5;
        for (std::size_t i = 0; i < sample.interleaved.size(); i += 2) {
            all.sound.push_back(sample.interleaved[i]);
        }
        all.end = all.start + double(all.sound.size()) / rate;
    });
}

void SoundCollector::didWarn(std::string warning) {
    collected_.with([&](Collected& all) { all.warnings.push_back(std::move(warning)); });
}

std::vector<double> SoundCollector::Collected::clicks() const {
    std::vector<double> clicks = findClicks(sound);
    for (double& click : clicks) {
        click += start;
    }
    return clicks;
}

} // namespace tavrin::test
