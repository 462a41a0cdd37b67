#include "Examples/Walkthrough/SourceList.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "Examples/Walkthrough/Terminal.h"
#include "TavrinApp/Sources/DesktopSourceCatalog.h"
#include "TavrinKit/Support/Error.h"
#include "TavrinKit/Support/Race.h"

namespace tavrin::demo {

namespace {

using Rows = std::vector<std::pair<std::string, std::string>>;

void print(const char* title, const Rows& rows) {
    fmt::print("{}\n", title);
    printTable(rows.empty() ? Rows{{"none", ""}} : rows);
}

void printDevices(const char* title, const std::shared_ptr<CaptureDeviceCataloging>& catalog) {
    Rows rows;
    try {
        const auto devices =
            raceAgainstTimer(std::chrono::seconds(2), {},
                             [catalog](const std::stop_token& stop) { return catalog->devices(stop); });
        if (!devices) {
            throw Error("They could not be listed in time.");
        }
        for (const CaptureDevice& device : *devices) {
            rows.emplace_back(device.name, device.id);
        }
    } catch (...) {
        rows.emplace_back("none", sentenceOf(std::current_exception()));
    }
    print(title, rows);
}

} // namespace

void printSources(const DesktopPlatform& platform) {
    Rows displays;
    Rows windows;
    for (const CaptureSourceOption& source : DesktopSourceCatalog(platform.backend).loadSources()) {
        const bool isWindow = source.kind == CaptureSourceOption::Kind::window;
        (isWindow ? windows : displays).emplace_back(source.title, source.subtitle);
    }
    print("Displays", displays);
    print("Windows", windows);
    printDevices("Microphones", platform.microphones);
    printDevices("Cameras", platform.cameras);
}

} // namespace tavrin::demo
