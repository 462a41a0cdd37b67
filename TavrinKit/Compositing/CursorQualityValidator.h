#pragma once

#include <vector>

#include "TavrinKit/Project/CursorGlyph.h"

namespace tavrin {

/// How crisp the edges of one glyph come out at one size.
struct CursorSharpnessSample {
    CursorGlyphKind glyph = CursorGlyphKind::arrow;
    double scale = 1;           ///< 1 draws a unit of the glyph over 3.8 pixels
    double edgeEnergy = 0;      ///< mean gradient along the edges, in brightness 0...1 over two pixels
    double transitionRatio = 1; ///< share of the edge pixels that are neither black nor white

    friend bool operator==(const CursorSharpnessSample&, const CursorSharpnessSample&) = default;
};

struct CursorSharpnessReport {
    std::vector<CursorSharpnessSample> samples;

    /// The worst of the samples, 0 without any.
    [[nodiscard]] double minimumEdgeEnergy() const;
    /// The worst of the samples, 1 without any.
    [[nodiscard]] double maximumTransitionRatio() const;
};

/// Measures whether the vector glyphs of the cursor stay crisp over a range of sizes, by drawing them.
///
/// Any thread.
struct CursorQualityValidator {
    /// One sample for each scale from `minScale` on in steps of `step`, `maxScale` included. Empty when the
    /// range is, or when `step` is not positive.
    [[nodiscard]] static CursorSharpnessReport analyzeSharpness(CursorGlyphKind glyph, double minScale,
                                                                double maxScale, double step);
    [[nodiscard]] static CursorSharpnessReport analyzeDefaultArrowSharpness(double minScale, double maxScale,
                                                                            double step);

    /// Whether the glyph is crisp at every quarter step of the range, and there is one.
    [[nodiscard]] static bool validateGlyphSharpness(CursorGlyphKind glyph, double minScale, double maxScale);
    [[nodiscard]] static bool validateDefaultArrowSharpness(double minScale, double maxScale);
};

} // namespace tavrin
