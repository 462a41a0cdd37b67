#include <memory>
#include <optional>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinKit/Project/VideoTrackEditError.h"
#include "TavrinKit/Session/ObservableEditorSession.h"

namespace tavrin {
namespace {

using testing::ElementsAre;
using Change = EditorSessionChange;

ObservableEditorSession sessionWith(VideoTrack track = {}) {
    EditsDocument edits;
    edits.timeline.videoTrack = std::move(track);
    return ObservableEditorSession(EditorSession(ProjectPackage("/nowhere", ProjectManifest{}),
                                                 std::make_shared<const EventTimeline>(), std::move(edits)));
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
    ObservableEditorSession session = sessionWith();
    Listener listener;
    const auto observation = session.observe(listener);
    const struct {
        std::function<void()> operation;
        std::optional<Change> change;
    } cases[] = {
        {[&] { session.perform(&EditorSession::undo); }, {}},
        {[&] { setPadding(session, 7); }, Change{.edits = true, .history = true}},
        {[&] { setPadding(session, 7); }, {}},
        {[&] { setPadding(session, 8); }, Change{.edits = true}},
        {[&] { session.perform(&EditorSession::setEvents, std::make_shared<const EventTimeline>()); },
         Change{.events = true}},
        {[&] { session.perform(&EditorSession::setInspector, InspectorState{"Cursor"}); },
         Change{.inspector = true}},
        {[&] { session.perform(&EditorSession::setInspector, InspectorState{"Cursor"}); }, {}},
        {[&] {
             session.perform(&EditorSession::setPreviewPerformance, PreviewPerformanceProfile{false, true});
         },
         Change{.previewPerformance = true}},
        {[&] { session.perform(&EditorSession::undo); }, Change{.edits = true, .history = true}},
        {[&] { session.perform(&EditorSession::setEdits, EditsDocument()); }, Change{.edits = true}},
    };
    for (const auto& [operation, change] : cases) {
        listener.changes.clear();
        operation();
        EXPECT_EQ(listener.changes, change ? std::vector{*change} : std::vector<Change>())
            << &change - &cases[0].change;
    }
    EXPECT_TRUE(session->canUndo() && session->canRedo()); // setting the edits is no step
    EXPECT_EQ(session.snapshot().edits(), EditsDocument());
}

TEST(ObservableEditorSession, AnOverlapIsToldAlthoughTheOperationThrows) {
    const TimelineClip first{.timelineRange = {0, 2}};
    ObservableEditorSession session =
        sessionWith({{first, {.timelineRange = {1, 4}}, {.timelineRange = {6, 8}, .lane = 1}}, {}});
    Listener listener;
    const auto observation = session.observe(listener);
    const VideoTrack before = session->edits().timeline.videoTrack;
    EXPECT_THROW(session.perform(&EditorSession::splitVideoClip, UUID(), 1, 60), VideoTrackEditError);
    EXPECT_TRUE(listener.changes.empty());
    EXPECT_THROW(session.perform(&EditorSession::splitVideoClip, before.clips[2].id, 7, 60),
                 VideoTrackEditError);
    EXPECT_THAT(listener.changes, ElementsAre(Change{.edits = true}));
    EXPECT_EQ(session->edits().timeline.videoTrack.clips.size(), 4U);
    EXPECT_FALSE(session->canUndo());
    EXPECT_THROW(session.perform(&EditorSession::mutateTimeline,
                                 [](TimelineModel&) { throw VideoTrackEditError::takeNotFound(); }),
                 VideoTrackEditError);
    session.perform(&EditorSession::rippleDeleteVideoClip, first.id, 60);
    EXPECT_TRUE(session->canUndo());
}

TEST(ObservableEditorSession, WhatAnObserverChangesIsToldAfterwardsToAll) {
    ObservableEditorSession session = sessionWith();
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
    ObservableEditorSession::Observation one;
    ObservableEditorSession::Observation two;
    ObservableEditorSession::Observation three;
    {
        ObservableEditorSession session = sessionWith();
        one = session.observe(first);
        two = session.observe(second);
        first.reaction = [&] {
            one.end();
            two.end();
            three = session.observe(late);
        };
        setPadding(session, 1);
        EXPECT_EQ(first.changes.size(), 1U);
        EXPECT_TRUE(second.changes.empty());
        EXPECT_TRUE(late.changes.empty());
        two = session.observe(second);
        one = std::move(two);
        setPadding(session, 2);
        EXPECT_EQ(first.changes.size(), 1U);
        EXPECT_EQ(second.changes.size(), 1U);
        EXPECT_EQ(late.changes.size(), 1U);
    }
    one.end(); // the session has gone before
}

} // namespace
} // namespace tavrin
