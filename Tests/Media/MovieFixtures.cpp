#include "MovieFixtures.h"

#include <cmath>
#include <cstdio>
#include <numbers>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tavrin::test {

std::vector<float> tone(double start, double seconds, int channels) {
    std::vector<float> samples;
    const auto first = std::lround(start * 48000);
    for (long i = first; i < first + std::lround(seconds * 48000); ++i) {
        samples.insert(samples.end(), std::size_t(channels),
                       0.5F * float(std::sin(double(i) * 2 * std::numbers::pi / 48)));
    }
    return samples;
}

void writeNumbered(const MovieWriterSettings& settings, const std::vector<double>& times,
                   std::optional<double> endTime) {
    MovieWriter writer(settings);
    for (std::size_t i = 0; i < times.size(); ++i) {
        writer.appendVideo(numbered(settings.video->size, int(i)), times[i]);
    }
    writer.finish(endTime);
}

std::vector<Seen> readAll(VideoReader& reader) {
    std::vector<Seen> seen;
    while (const auto frame = reader.next()) {
        seen.push_back({frame->time, numberIn(frame->pixels), frame->index});
    }
    return seen;
}

std::vector<Seen> readAll(const std::filesystem::path& path) {
    VideoReader reader(path);
    return readAll(reader);
}

void expectNumbered(const std::vector<Seen>& seen, const std::vector<double>& times) {
    ASSERT_EQ(seen.size(), times.size());
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_NEAR(seen[i].time, times[i], 0.51e-6) << i;
        EXPECT_EQ(seen[i].number, int(i));
    }
}

int inChild(const std::function<int()>& body) {
    const pid_t child = ::fork();
    if (child == 0) {
        int code = 99;
        try {
            code = body();
        } catch (const std::exception& error) {
            std::fprintf(stderr, "child: %s\n", error.what());
        }
        ::_exit(code);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

std::optional<MediaErrorKind> mediaErrorOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const MediaError& error) {
        EXPECT_GT(std::string(error.what()).size(), 20U);
        return error.kind();
    }
    return std::nullopt;
}

} // namespace tavrin::test
