#pragma once

#include <memory>
#include <vector>

#include "TavrinKit/Imaging/Kernels.h"
#include "TavrinKit/Imaging/LeafPlanes.h"

namespace tavrin::imaging {

/// A layer made ready for one basis and lattice.
struct PreparedLayer {
    Layer layer;
    std::shared_ptr<const LeafPlanes> planes; ///< for leaves made of samples
    AxisTable x;
    AxisTable y;
    AxisTable chromaX; ///< of the second and third colour, when they are sampled otherwise
    AxisTable chromaY;
};

/// A rectangle of floats that belongs to somebody else.
struct FloatBlock {
    std::array<float*, 3> color{};
    float* alpha = nullptr; ///< absent where the picture is opaque
    std::ptrdiff_t stride = 0;
};

/// Paints layers onto a block of a lattice. Each thread has one.
class TilePainter {
public:
    explicit TilePainter(const Kernels& kernels) : kernels_(&kernels) {}

    /// Opaque black, or transparent when the block has alpha.
    void clear(Basis basis, const Block& block, const FloatBlock& out) const;

    /// Composites the layer over what the block holds.
    /// @param out  its first element is the block's top left
    void paint(Basis basis, const Lattice& lattice, const PreparedLayer& layer, const Block& block,
               const FloatBlock& out);

private:
    struct Plane {
        std::vector<float> data;
        std::ptrdiff_t stride = 0;

        float* prepare(int columns, int rows);
        [[nodiscard]] float* row(int r) { return data.data() + r * stride; }
    };

    void resample(const SamplePlane& plane, const AxisTable& x, const AxisTable& y, const Block& block,
                  float* out, std::ptrdiff_t stride);
    void samplePlanes(Basis basis, const PreparedLayer& layer, const Block& block, const FloatBlock& out);
    void fillGradient(Basis basis, const PreparedLayer& layer, const Block& block);
    void fillColor(Basis basis, const Color& color, const Block& block, bool timesAlpha);
    void fillCover(const Lattice& lattice, const PreparedLayer& layer, const Block& block, double opacity);
    void multiplyByMask(const Lattice& lattice, const Layer& layer, const RoundedMask& mask,
                        const Block& block);
    void blend(Basis basis, const Block& block, const FloatBlock& out, bool hasAlpha);

    const Kernels* kernels_;
    Plane source_;
    Plane vertical_;
    Plane turned_;
    Plane turnedOut_;
    std::array<Plane, 3> color_;
    Plane alpha_;
    Plane cover_;
    std::vector<float> ramp_;
    std::vector<float> ones_;
};

} // namespace tavrin::imaging
