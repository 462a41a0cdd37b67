#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "Figures.h"
#include "Measuring/Measuring.h"
#include "Takes.h"
#include "TavrinKit/Compositing/TemporalFrameSampler.h"
#include "TavrinKit/Project/ProjectPackage.h"
#include "TavrinKit/Support/Error.h"

namespace tavrin::bench {

namespace {

constexpr int randomSamples = 60;
constexpr int neighbouringSamples = 240;

/// The median time of one sample, in milliseconds.
double medianCost(const TemporalFrameSampler& sampler, const std::vector<double>& times) {
    std::vector<double> costs;
    for (const double time : times) {
        const double seconds = secondsTaken([&] {
            if (!sampler.sample(time)) {
                throw Error("A picture of the take can't be read.");
            }
        });
        costs.push_back(1000 * seconds);
    }
    return median(costs);
}

std::vector<double> randomTimes(double duration) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> anyTime(0, duration);
    std::vector<double> times(randomSamples);
    std::ranges::generate(times, [&] { return anyTime(random); });
    return times;
}

void measure(const std::string& name, const std::filesystem::path& package) {
    const MediaAsset asset = MediaAsset::open(ProjectPackage::load(package).screenURL());
    const auto quantizer = TemporalFrameQuantizer::make(asset.duration(), 60);
    const TemporalFrameSampler::Options options{quantizer, true};
    std::vector<double> inOrder;
    for (int i = 0; i < neighbouringSamples; ++i) {
        inOrder.push_back(i * quantizer.frameStep);
    }
    printFigure(name + ".random_access",
                medianCost(TemporalFrameSampler(asset, options), randomTimes(asset.duration())), "ms");
    printFigure(name + ".neighbouring", medianCost(TemporalFrameSampler(asset, options), inOrder), "ms");
}

} // namespace

void sampleTakes(Takes& takes) {
    measure("sampler", takes.walkthrough());
    measure("sampler.fullmotion", takes.fullMotion());
}

} // namespace tavrin::bench
