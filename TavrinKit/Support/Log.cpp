#include "TavrinKit/Support/Log.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <execinfo.h>
#include <fmt/format.h>

#include "TavrinKit/Support/Error.h"

namespace tavrin {
namespace {

std::string callStack() {
    constexpr int skipped = 2; // this function and the one that logs
    constexpr int lines = 8;
    std::array<void*, skipped + lines> frames{};
    const int count = backtrace(frames.data(), int(frames.size()));
    const std::unique_ptr<char*, decltype(&std::free)> symbols(backtrace_symbols(frames.data(), count),
                                                               &std::free);
    std::string text;
    for (int i = skipped; symbols && i < count; ++i) {
        text += (text.empty() ? "" : " | ") + std::string(symbols.get()[i]);
    }
    return text;
}

} // namespace

void logRecoverableFailure(std::string_view service, std::string_view context,
                           const std::exception_ptr& error, LogMetadata metadata) {
    metadata["error"] = describe(error);
    metadata["stack"] = callStack();
    std::string line = fmt::format("[{}] {}", service, context);
    for (const auto& [key, value] : metadata) {
        line += fmt::format(" {}={}", key, value);
    }
    std::ranges::replace(line, '\n', ' '); // of names and sentences from outside
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace tavrin
