#include "Examples/Walkthrough/CommandLine.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string_view>
#include <utility>

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

/// Four numbers with commas between, the last two positive.
Rect parseArea(std::string_view text) {
    std::array<double, 4> values{};
    std::string_view rest = text;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const bool isLast = i + 1 == values.size();
        const auto comma = rest.find(',');
        const std::string_view number = rest.substr(0, comma);
        const auto [end, failure] = std::from_chars(number.data(), number.data() + number.size(), values[i]);
        if (failure != std::errc() || end != number.data() + number.size() || !std::isfinite(values[i]) ||
            isLast != (comma == std::string_view::npos)) {
            throw Error(fmt::format("--area needs four numbers, as in 100,200,1280,720, not \"{}\".", text));
        }
        rest.remove_prefix(isLast ? rest.size() : comma + 1);
    }
    const auto [x, y, width, height] = values;
    if (width <= 0 || height <= 0) {
        throw Error(fmt::format("--area needs a width and a height above 0, not \"{}\".", text));
    }
    return {x, y, width, height};
}

/// An option without a value that switches something on; null for any other.
bool* switchNamed(std::string_view name, CommandLine& commandLine) {
    const std::array<std::pair<std::string_view, bool*>, 7> switches{{
        {"--help", &commandLine.help},
        {"-h", &commandLine.help},
        {"--showcase", &commandLine.showcase},
        {"--sound", &commandLine.sound},
        {"--microphone", &commandLine.microphone},
        {"--camera", &commandLine.camera},
        {"--list", &commandLine.list},
    }};
    for (const auto& [known, value] : switches) {
        if (known == name) {
            return value;
        }
    }
    return nullptr;
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
        if (bool* const switched = attached ? nullptr : switchNamed(name, result)) {
            *switched = true;
        } else if (name == "--window") {
            result.window = value();
            if (result.window->empty()) {
                throw Error("--window needs a title.");
            }
        } else if (name == "--area") {
            result.area = parseArea(value());
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
    if (result.window && result.area) {
        throw Error("--window and --area can't go together: record one or the other.");
    }
    return result;
}

} // namespace tavrin::demo
