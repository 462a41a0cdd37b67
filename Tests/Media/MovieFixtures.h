#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

#include "Fixtures/Movies/Movies.h"
#include "TavrinKit/Media/AudioFollower.h"
#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Media/MovieWriter.h"
#include "TavrinKit/Media/VideoFollower.h"

namespace tavrin::test {

/// A tone of 1 kHz that starts at a time, interleaved, at 48 kHz.
[[nodiscard]] std::vector<float> tone(double start, double seconds, int channels);

/// Writes pictures 0, 1, 2, … at the times.
void writeNumbered(const MovieWriterSettings& settings, const std::vector<double>& times,
                   std::optional<double> endTime = {});

/// All pictures from where the reader stands: their times and what they bear.
struct Seen {
    double time = 0;
    int number = 0;
    std::int64_t index = 0;
};
[[nodiscard]] std::vector<Seen> readAll(VideoReader& reader);
[[nodiscard]] std::vector<Seen> readAll(const std::filesystem::path& path);

/// The pictures are 0, 1, 2, … in order, at these times to the microsecond.
void expectNumbered(const std::vector<Seen>& seen, const std::vector<double>& times);

/// Runs `body` in a process of its own. @return its exit code, or minus the signal that ended it
int inChild(const std::function<int()>& body);

/// The kind of the MediaError that the call throws.
[[nodiscard]] std::optional<MediaErrorKind> mediaErrorOf(const std::function<void()>& call);

} // namespace tavrin::test
