#pragma once

#include <cstdint>
#include <string>

#include <cairo.h>

#include "Examples/Walkthrough/DemoScene.h"

namespace tavrin::demo {

/// Draws the demo's desktop and its window with Cairo and Pango. One thread.
class DemoPainter {
public:
    /// The wallpaper with the window's shadow on it.
    /// @param window  where the window lies, screen pixels
    static void paintDesktop(cairo_t* cr, int width, int height, const Rect& window);

    /// The whole window as the scene stands, in window pixels; a clip makes it cheap. The corners outside the
    /// rounded frame are left as they are.
    void paintWindow(cairo_t* cr, const DemoScene& scene) const;

private:
    void paintTitleBar(cairo_t* cr, const DemoScene& scene) const;
    void paintToolbar(cairo_t* cr, const DemoScene& scene) const;
    void paintSearch(cairo_t* cr, const DemoScene& scene) const;
    void paintList(cairo_t* cr, const DemoScene& scene) const;
    void paintRow(cairo_t* cr, const DemoScene& scene, std::size_t task) const;
    void paintDetail(cairo_t* cr, const DemoScene& scene) const;
    void paintNotes(cairo_t* cr, const DemoScene& scene) const;
    void paintSlider(cairo_t* cr, const DemoScene& scene) const;
    void paintChart(cairo_t* cr, const DemoScene& scene) const;
    void paintToast(cairo_t* cr, const DemoScene& scene) const;
};

} // namespace tavrin::demo
