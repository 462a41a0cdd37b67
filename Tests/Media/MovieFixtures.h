#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Media/AudioFollower.h"
#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Media/VideoFollower.h"
#include "TavrinKit/Media/MovieWriter.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin::fixtures {

using test::TemporaryFolder;

/// A picture that bears a number below 4096 in large light and dark fields, and what it bears.
[[nodiscard]] PixelBuffer numbered(PixelSize size, int number);
[[nodiscard]] int numberIn(const PixelBuffer& picture);

[[nodiscard]] PixelBuffer flat(PixelSize size, int y, int u, int v);

/// A tone of 1 kHz that starts at a time, interleaved, at 48 kHz.
[[nodiscard]] std::vector<float> tone(double start, double seconds, int channels);

/// Settings of a small movie with pictures; the tests change what they are about.
[[nodiscard]] MovieWriterSettings smallMovie(const std::filesystem::path& path);

/// Writes pictures 0, 1, 2, … at the times.
void writeNumbered(const MovieWriterSettings& settings, const std::vector<double>& times,
                   std::optional<double> endTime = {});

[[nodiscard]] std::vector<double> evenTimes(int count, double rate);

/// All pictures from where the reader stands: their times and what they bear.
struct Seen {
    double time = 0;
    int number = 0;
    std::int64_t index = 0;
};
[[nodiscard]] std::vector<Seen> readAll(VideoReader& reader);

[[nodiscard]] std::vector<float> readSound(const std::filesystem::path& path, int rate, int channels);

/// Runs a command of the ffmpeg package. @return what it printed
std::string run(const std::string& command);
[[nodiscard]] Json probe(const std::filesystem::path& path);

/// Runs `body` in a process of its own. @return its exit code, or minus the signal that ended it
int inChild(const std::function<int()>& body);

/// The kind of the MediaError that the call throws.
[[nodiscard]] std::optional<MediaErrorKind> mediaErrorOf(const std::function<void()>& call);

} // namespace tavrin::fixtures
