#include "Examples/Walkthrough/CommandLine.h"

#include <charconv>
#include <cmath>
#include <string_view>

#include <fmt/format.h>

#include "TavrinKit/Support/Error.h"

namespace tavrin::demo {

namespace {

double parseSeconds(std::string_view text) {
    double seconds = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (failure != std::errc() || end != text.data() + text.size() || !std::isfinite(seconds) ||
        seconds < 1) {
        throw Error(fmt::format("--seconds needs a number of at least 1, not \"{}\".", text));
    }
    return seconds;
}

} // namespace

CommandLine CommandLine::parse(int count, const char* const* arguments) {
    CommandLine result;
    for (int i = 1; i < count; ++i) {
        std::string_view name = arguments[i];
        std::optional<std::string_view> attached;
        if (const auto equals = name.find('='); name.starts_with("--") && equals != std::string_view::npos) {
            attached = name.substr(equals + 1);
            name = name.substr(0, equals);
        }
        const auto value = [&]() -> std::string_view {
            if (attached) {
                return *attached;
            }
            if (i + 1 >= count) {
                throw Error(fmt::format("{} needs a value.", name));
            }
            return arguments[++i];
        };
        if (name == "--help" || name == "-h") {
            result.help = true;
        } else if (name == "--showcase") {
            result.showcase = true;
        } else if (name == "--seconds") {
            result.seconds = parseSeconds(value());
        } else if (name == "--output") {
            result.outputDirectory = std::filesystem::path(value());
            if (result.outputDirectory->empty()) {
                throw Error("--output needs a folder.");
            }
        } else {
            throw Error(fmt::format("Unknown argument \"{}\"; --help tells what there is.", arguments[i]));
        }
    }
    return result;
}

} // namespace tavrin::demo
