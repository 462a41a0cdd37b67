#include "TavrinKit/Effects/AutoZoomGenerator.h"

#include "TavrinKit/Project/EventTimeline.h"
#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Project/ZoomTrack.h"

namespace tavrin {
namespace {

/// Clicks that follow each other closely, summed up. The sums have more range than a coordinate, so that
/// they can't overflow.
class ClickCluster {
public:
    explicit ClickCluster(const MouseEvent& first) : firstTime_(first.timestamp) { add(first); }

    [[nodiscard]] bool accepts(const MouseEvent& click, double window) const {
        return click.timestamp - lastTime_ <= window;
    }

    void add(const MouseEvent& click) {
        lastTime_ = click.timestamp;
        sumX_ += click.location.x;
        sumY_ += click.location.y;
        ++count_;
    }

    [[nodiscard]] ZoomSegment segment(const AutoZoomConfig& config) const {
        ZoomSegment segment;
        segment.id = UUID::make();
        segment.startTime = atLeast(firstTime_ - config.preRollSeconds, 0);
        segment.endTime = atLeast(lastTime_ + config.postRollSeconds, segment.startTime);
        segment.focus = {double(sumX_ / count_), double(sumY_ / count_)};
        segment.scale = config.targetScale;
        segment.enabled = true;
        segment.mode = ZoomMode::automatic;
        segment.transitionStyle = ZoomTransitionStyle::smooth;
        return segment;
    }

private:
    double firstTime_;
    double lastTime_ = 0;
    long double sumX_ = 0;
    long double sumY_ = 0;
    int count_ = 0;
};

} // namespace

AutoZoomConfig::AutoZoomConfig(double clusterWindow, double preRoll, double postRoll, double scale)
    : clusterWindowSeconds(atLeast(clusterWindow, 0.05)), preRollSeconds(atLeast(preRoll, 0)),
      postRollSeconds(atLeast(postRoll, 0)), targetScale(atLeast(scale, 1)) {}

std::vector<ZoomSegment> AutoZoomGenerator::generate(const EventTimeline& events,
                                                     const AutoZoomConfig& config) const {
    std::vector<ClickCluster> clusters;
    for (const MouseEvent& event : events.mouseEvents()) {
        if (event.kind != MouseEventKind::clicked) {
            continue;
        }
        if (!clusters.empty() && clusters.back().accepts(event, config.clusterWindowSeconds)) {
            clusters.back().add(event);
        } else {
            clusters.emplace_back(event);
        }
    }
    std::vector<ZoomSegment> segments;
    segments.reserve(clusters.size());
    for (const ClickCluster& cluster : clusters) {
        segments.push_back(cluster.segment(config));
    }
    return segments;
}

} // namespace tavrin
