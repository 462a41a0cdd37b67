#pragma once

#include <cairo.h>

#include "TavrinKit/Imaging/Raster.h"

namespace tavrin {

/// The Cairo side of a Raster. The context's matrix is the raster's own space between any two calls.
struct Raster::Context {
    Context(PixelSize pixelSize, YAxis axis);
    ~Context();
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    void setColor(const Color& color) { cairo_set_source_rgba(cairo, color.r, color.g, color.b, color.a); }

    PixelSize size;
    YAxis yAxis;
    cairo_surface_t* surface = nullptr;
    cairo_t* cairo = nullptr;
};

} // namespace tavrin
