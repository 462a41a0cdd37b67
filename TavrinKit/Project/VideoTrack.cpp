#include "TavrinKit/Project/VideoTrack.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <tuple>
#include <vector>

#include "TavrinKit/Project/TavrinConstants.h"
#include "TavrinKit/Project/TrackOrder.h"
#include "TavrinKit/Project/VideoTrackEditError.h"

namespace tavrin {
namespace {

/// The length of a frame in seconds, which is also that of the shortest piece.
double frameStep(double fps) {
    return std::isfinite(fps) ? 1 / std::max(fps, 1.0) : 1 / TavrinConstants::defaultFPS;
}

/// The time of the nearest frame, of two equally near ones the even one. A time beyond all frames stays.
double snapped(double time, double fps) {
    if (!std::isfinite(time) || time < 0) {
        return 0;
    }
    const double step = frameStep(fps);
    const double frame = std::nearbyint(time / step);
    return std::isfinite(frame) ? step * frame : time;
}

TimelineClip& clipNamed(VideoTrack& track, const UUID& clipID) {
    TimelineClip* clip = findByID(track.clips, clipID);
    return clip != nullptr ? *clip : throw VideoTrackEditError::clipNotFound();
}

TakeGroup& groupNamed(VideoTrack& track, const UUID& groupID) {
    TakeGroup* group = findByID(track.takeGroups, groupID);
    return group != nullptr ? *group : throw VideoTrackEditError::takeGroupNotFound();
}

ClipTake& takeNamed(TakeGroup& group, const UUID& takeID) {
    ClipTake* take = findByID(group.takes, takeID);
    return take != nullptr ? *take : throw VideoTrackEditError::takeNotFound();
}

ClipTimeRange rangeFrom(double start, double duration) {
    return ClipTimeRange{start, start + duration}.normalized();
}

/// Ends every edit of clips.
void settle(VideoTrack& track) {
    track.normalizeClipOrder();
    track.assertNoOverlap();
}

} // namespace

TimelineClip TimelineClip::normalized() const {
    TimelineClip result = *this;
    result.lane = std::max<std::int64_t>(lane, 0);
    return result;
}

VideoTrack VideoTrack::normalized() const {
    VideoTrack result = *this;
    result.normalizeClipOrder();
    return result;
}

void VideoTrack::normalizeClipOrder() {
    sortBy(clips, [](const TimelineClip& clip) {
        return std::tuple(clip.lane, placeOf(clip.timelineRange.startTime), clip.id);
    });
}

void VideoTrack::assertNoOverlap() const {
    constexpr double tolerance = 0.0001;
    std::vector<std::reference_wrapper<const TimelineClip>> ordered(clips.begin(), clips.end());
    sortBy(ordered, [](const TimelineClip& clip) {
        return std::tuple(clip.lane, placeOf(clip.timelineRange.startTime));
    });
    const auto overlap =
        std::ranges::adjacent_find(ordered, [](const TimelineClip& a, const TimelineClip& b) {
            return a.lane == b.lane && b.timelineRange.startTime + tolerance < a.timelineRange.endTime;
        });
    if (overlap != ordered.end()) {
        throw VideoTrackEditError::overlapDetected(overlap->get().lane);
    }
}

void VideoTrack::splitClip(const UUID& clipID, double time, double fps) {
    TimelineClip& left = clipNamed(*this, clipID);
    const double at = snapped(time, fps);
    const double shortest = frameStep(fps);
    const ClipTimeRange whole = left.timelineRange;
    if (!(at > whole.startTime + shortest && at < whole.endTime - shortest)) {
        throw VideoTrackEditError::splitTimeOutOfRange();
    }
    left.timelineRange = ClipTimeRange{whole.startTime, at}.normalized();
    left.sourceRange = rangeFrom(left.sourceRange.startTime, at - whole.startTime);
    TimelineClip right = left;
    right.id = UUID::make();
    right.timelineRange = ClipTimeRange{at, whole.endTime}.normalized();
    right.sourceRange = rangeFrom(left.sourceRange.endTime, whole.endTime - at);
    clips.push_back(std::move(right));
    settle(*this);
}

void VideoTrack::trimClipIn(const UUID& clipID, double time, double fps) {
    TimelineClip& clip = clipNamed(*this, clipID);
    const ClipTimeRange old = clip.timelineRange;
    const double start = std::min(std::max(snapped(time, fps), old.startTime), old.endTime - frameStep(fps));
    clip.timelineRange = ClipTimeRange{start, old.endTime}.normalized();
    clip.sourceRange =
        ClipTimeRange{clip.sourceRange.startTime + (start - old.startTime), clip.sourceRange.endTime}
            .normalized();
    settle(*this);
}

void VideoTrack::trimClipOut(const UUID& clipID, double time, double fps) {
    TimelineClip& clip = clipNamed(*this, clipID);
    const ClipTimeRange old = clip.timelineRange;
    const double end = std::max(std::min(snapped(time, fps), old.endTime), old.startTime + frameStep(fps));
    clip.timelineRange = ClipTimeRange{old.startTime, end}.normalized();
    clip.sourceRange =
        ClipTimeRange{clip.sourceRange.startTime, clip.sourceRange.endTime - (old.endTime - end)}
            .normalized();
    settle(*this);
}

void VideoTrack::rippleDelete(const UUID& clipID, double fps) {
    const ClipTimeRange removed = clipNamed(*this, clipID).timelineRange;
    clips.erase(std::ranges::find(clips, clipID, &TimelineClip::id));
    const double gap = snapped(removed.duration(), fps);
    for (TimelineClip& clip : clips) {
        ClipTimeRange& range = clip.timelineRange;
        if (range.startTime >= removed.endTime) {
            range = ClipTimeRange{snapped(range.startTime - gap, fps), snapped(range.endTime - gap, fps)}
                        .normalized();
        }
    }
    std::erase_if(takeGroups, [&](const TakeGroup& group) { return group.clipID == clipID; });
    settle(*this);
}

void VideoTrack::previewTake(const UUID& groupID, const UUID& takeID) {
    TakeGroup& group = groupNamed(*this, groupID);
    group.previewTakeID = takeNamed(group, takeID).id;
}

void VideoTrack::revertPreviewTake(const UUID& groupID) {
    groupNamed(*this, groupID).previewTakeID.reset();
}

void VideoTrack::commitPreviewTake(const UUID& groupID) {
    TakeGroup& group = groupNamed(*this, groupID);
    if (!group.previewTakeID) {
        return;
    }
    const ClipTake& take = takeNamed(group, *group.previewTakeID);
    TimelineClip& clip = clipNamed(*this, group.clipID);
    clip.sourceID = take.sourceID;
    clip.sourceRange = rangeFrom(take.sourceRange.startTime, clip.duration());
    clip.takeGroupID = group.id;
    group.committedTakeID = take.id;
    group.previewTakeID.reset();
    settle(*this);
}

} // namespace tavrin
