#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinKit/Project/VideoTrackEditError.h"
#include "TavrinKit/Session/ObservableEditorSession.h"

namespace tavrin {
namespace {

using testing::ElementsAre;
using Change = EditorSessionChange;

EditorSession sessionWith(VideoTrack track = {}) {
    EditsDocument edits;
    edits.timeline.videoTrack = std::move(track);
    return EditorSession(ProjectPackage("/nowhere", ProjectManifest{}),
                         std::make_shared<const EventTimeline>(), std::move(edits));
}

void setPadding(ObservableEditorSession& session, double padding) {
    session.perform(&EditorSession::mutateTimeline,
                    [&](TimelineModel& timeline) { timeline.framingTrack.style.padding = padding; });
}

double padding(const ObservableEditorSession& session) {
    return session->edits().timeline.framingTrack.style.padding;
}

/// Notes what it is told, and does something about it.
class Listener : public EditorSessionObserver {
public:
    void editorSessionDidChange(const EditorSessionChange& change) noexcept override {
        changes.push_back(change);
        if (reaction) {
            reaction();
        }
    }

    std::vector<EditorSessionChange> changes;
    std::function<void()> reaction;
};

TEST(ObservableEditorSession, EachOperationThatChangesSomethingIsToldOnce) {
    ObservableEditorSession session(sessionWith());
    Listener listener;
    const auto observation = session.observe(listener);
    session.perform(&EditorSession::undo); // nothing yet
    setPadding(session, 7);
    setPadding(session, 7);
    setPadding(session, 8);
    session.perform(&EditorSession::setEvents, std::make_shared<const EventTimeline>());
    session.perform(&EditorSession::setInspector, InspectorState{"Cursor"});
    session.perform(&EditorSession::setPreviewPerformance, PreviewPerformanceProfile{false, true});
    session.perform(&EditorSession::undo);
    session.perform(&EditorSession::setEdits, EditsDocument());
    EXPECT_THAT(listener.changes, ElementsAre(Change{.edits = true, .history = true}, Change{.edits = true},
                                              Change{.events = true}, Change{.inspector = true},
                                              Change{.previewPerformance = true},
                                              Change{.edits = true, .history = true}, Change{.edits = true}));
    EXPECT_TRUE(session->canUndo() && session->canRedo()); // setting the edits is no step
}

TEST(ObservableEditorSession, AnOverlapIsToldAlthoughTheOperationThrows) {
    const TimelineClip apart{.timelineRange = {6, 8}, .lane = 1};
    ObservableEditorSession session(
        sessionWith({{{.timelineRange = {0, 2}}, {.timelineRange = {1, 4}}, apart}, {}}));
    Listener listener;
    const auto observation = session.observe(listener);
    EXPECT_THROW(session.perform(&EditorSession::splitVideoClip, apart.id, 7, 60), VideoTrackEditError);
    EXPECT_THAT(listener.changes, ElementsAre(Change{.edits = true}));
    EXPECT_EQ(session->edits().timeline.videoTrack.clips.size(), 4U);
    EXPECT_FALSE(session->canUndo());
}

TEST(ObservableEditorSession, WhatAnObserverChangesIsToldAfterwardsToAll) {
    ObservableEditorSession session(sessionWith());
    Listener first;
    Listener second;
    std::vector<double> seen;
    const auto one = session.observe(first);
    const auto two = session.observe(second);
    first.reaction = [&] {
        if (padding(session) < 3) {
            setPadding(session, padding(session) + 1);
            session.perform(&EditorSession::setInspector, InspectorState{"Framing"});
        }
    };
    second.reaction = [&] {
        seen.push_back(padding(session));
    };
    setPadding(session, 1);
    EXPECT_EQ(padding(session), 3);
    const std::vector<Change> expected{
        {.edits = true, .history = true}, {.edits = true}, {.inspector = true}, {.edits = true}};
    EXPECT_EQ(first.changes, expected);
    EXPECT_EQ(second.changes, expected);
    EXPECT_THAT(seen, ElementsAre(2, 3, 3, 3)); // the session shows what followed
}

TEST(ObservableEditorSession, ObserversComeAndGoWhileAChangeIsTold) {
    Listener first;
    Listener second;
    Listener late;
    auto session = std::make_unique<ObservableEditorSession>(sessionWith());
    auto one = session->observe(first);
    auto two = session->observe(second);
    ObservableEditorSession::Observation three;
    first.reaction = [&] {
        one.end();
        two.end();
        three = session->observe(late);
    };
    setPadding(*session, 1);
    EXPECT_TRUE(second.changes.empty() && late.changes.empty());
    setPadding(*session, 2);
    EXPECT_EQ(first.changes.size(), 1U);
    EXPECT_EQ(late.changes.size(), 1U);
    session.reset(); // before the observation
}

} // namespace
} // namespace tavrin
