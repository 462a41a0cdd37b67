#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Media/MovieSettings.h"
#include "TavrinKit/Support/Json.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin::test {

/// A picture of one colour: Y, U and V of BT.709 limited range.
[[nodiscard]] PixelBuffer flat(PixelSize size, int y, int u, int v);

/// A picture that bears a number below 4096 in large light and dark fields, which survive scaling and
/// encoding, and what it bears.
[[nodiscard]] PixelBuffer numbered(PixelSize size, int number);
[[nodiscard]] int numberIn(const PixelBuffer& picture);

/// `count` times from 0 on.
[[nodiscard]] std::vector<double> evenTimes(int count, double rate);

/// Settings of a small movie with pictures; the tests change what they are about.
[[nodiscard]] MovieWriterSettings smallMovie(const std::filesystem::path& path);

/// The whole first audio track, interleaved.
[[nodiscard]] std::vector<float> readSound(const std::filesystem::path& path, int rate = 48000,
                                           int channels = 1);

/// When a sound first comes near its loudest between two times, seconds.
[[nodiscard]] double attackIn(const std::vector<float>& sound, int rate, double from, double to);

/// Runs a command of the ffmpeg package. @return what it printed
std::string run(const std::string& command);
/// What ffprobe says of a file: "format", "streams" and "packets".
[[nodiscard]] Json probe(const std::filesystem::path& path);

} // namespace tavrin::test
