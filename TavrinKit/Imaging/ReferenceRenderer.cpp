#include <algorithm>
#include <cmath>

#include "TavrinKit/Imaging/ImageProgram.h"
#include "TavrinKit/Imaging/ImageRenderer.h"
#include "TavrinKit/Imaging/ResampleTable.h"

namespace tavrin {

using namespace imaging;

namespace {

using Node = Image::Node;

/// Premultiplied r, g, b, a in 0...1.
using Pixel = std::array<double, 4>;

struct Drawing {
    Rect region;
    int columns;
    int rows;
    std::vector<Pixel> pixels; ///< rows downward
};

Drawing draw(const Image& image, const Rect& region);

Pixel premultiplied(const Color& c) {
    return {c.r * c.a, c.g * c.a, c.b * c.a, c.a};
}

Pixel mixed(const Pixel& a, const Pixel& b, double t) {
    Pixel result{};
    for (std::size_t k = 0; k < 4; ++k) {
        result[k] = a[k] + (b[k] - a[k]) * t;
    }
    return result;
}

/// A weighted mean of samples around (u, v), in index space; `strideX` and `strideY` are how far apart the
/// points asked for lie.
template <typename Sample>
auto filtered(double u, double v, double strideX, double strideY, int columns, int rows,
              const Sample& sample) {
    const double wx = std::max(1.0, strideX);
    const double wy = std::max(1.0, strideY);
    decltype(sample(0, 0)) sum{};
    double total = 0;
    for (int j = int(std::floor(v - 2 * wy)); j <= int(std::ceil(v + 2 * wy)); ++j) {
        for (int i = int(std::floor(u - 2 * wx)); i <= int(std::ceil(u + 2 * wx)); ++i) {
            const double weight = cubicWeight((u - i) / wx) * cubicWeight((v - j) / wy);
            const auto value = sample(std::clamp(i, 0, columns - 1), std::clamp(j, 0, rows - 1));
            for (std::size_t k = 0; k < value.size(); ++k) {
                sum[k] += weight * value[k];
            }
            total += weight;
        }
    }
    for (double& value : sum) {
        value /= total;
    }
    return sum;
}

/// One layer, pixel by pixel.
class Sampler {
public:
    explicit Sampler(const Layer& layer) : layer_(layer) {
        if (const auto* leaf = std::get_if<Realised>(&layer.leaf)) {
            realise(*leaf);
        }
    }

    [[nodiscard]] Pixel at(double x, double y) const {
        const double heldX = layer_.clamp ? std::clamp(x, layer_.clamp->minX(), layer_.clamp->maxX()) : x;
        const double heldY = layer_.clamp ? std::clamp(y, layer_.clamp->minY(), layer_.clamp->maxY()) : y;
        double seen = layer_.opacity * within(layer_.clip, x, y);
        if (layer_.clamp) {
            seen *= within(layer_.innerClip, heldX, heldY);
        }
        for (const RoundedMask& mask : layer_.masks) {
            seen *= mask.beneathClamp ? maskCoverage(mask, heldX, heldY, 1) : maskCoverage(mask, x, y, 1);
        }
        if (seen <= 0) {
            return {};
        }
        Pixel p = std::holds_alternative<Mean>(layer_.leaf)
                      ? mean(x, y)
                      : leaf(layer_.placement.leafX(heldX), layer_.placement.leafY(heldY));
        if (layer_.tint) {
            p = {layer_.tint->r * p[3], layer_.tint->g * p[3], layer_.tint->b * p[3], p[3]};
        }
        for (double& value : p) {
            value *= seen;
        }
        return p;
    }

private:
    static double within(const Rect& r, double x, double y) {
        return coverage(x, 1, r.minX(), r.maxX()) * coverage(y, 1, r.minY(), r.maxY());
    }

    [[nodiscard]] Pixel leaf(double x, double y) const {
        if (const auto* solid = std::get_if<Node::Solid>(&layer_.leaf)) {
            return premultiplied(solid->color);
        }
        if (const auto* g = std::get_if<Node::LinearGradient>(&layer_.leaf)) {
            const Vec2 d = g->p1 - g->p0;
            const double t =
                ((x - g->p0.x) * d.x + (y - g->p0.y) * d.y) / std::max(d.x * d.x + d.y * d.y, 1e-12);
            return mixed(premultiplied(g->c0), premultiplied(g->c1), std::clamp(t, 0.0, 1.0));
        }
        if (const auto* g = std::get_if<Node::RadialGradient>(&layer_.leaf)) {
            const double distance = std::hypot(x - g->center.x, y - g->center.y);
            const double t = (distance - g->radius0) / std::max(g->radius1 - g->radius0, 1e-6);
            return mixed(premultiplied(g->c0), premultiplied(g->c1), std::clamp(t, 0.0, 1.0));
        }
        const double strideX = std::abs(1 / layer_.placement.scaleX);
        const double strideY = std::abs(1 / layer_.placement.scaleY);
        if (const auto* pixels = std::get_if<Node::Pixels>(&layer_.leaf)) {
            return pixels->buffer.format() == PixelFormat::i420
                       ? movie(pixels->buffer, x, y, strideX, strideY)
                       : bitmap(pixels->buffer, x, y, strideX, strideY);
        }
        const Rect& r = drawing_.region;
        return filtered(
            x - r.minX() - 0.5, r.maxY() - y - 0.5, strideX, strideY, drawing_.columns, drawing_.rows,
            [&](int i, int j) {
                return drawing_.pixels[std::size_t(j) * std::size_t(drawing_.columns) + std::size_t(i)];
            });
    }

    /// The terms at a point, each held by its own clamp.
    [[nodiscard]] Pixel mean(double x, double y) const {
        Pixel sum{};
        for (const Mean::Term& term : std::get<Mean>(layer_.leaf).terms) {
            const double heldX = term.clamp ? std::clamp(x, term.clamp->minX(), term.clamp->maxX()) : x;
            const double heldY = term.clamp ? std::clamp(y, term.clamp->minY(), term.clamp->maxY()) : y;
            const Placement& p = term.placement;
            const Pixel shown = movie(term.pixels.buffer, p.leafX(heldX), p.leafY(heldY),
                                      std::abs(1 / p.scaleX), std::abs(1 / p.scaleY));
            for (std::size_t k = 0; k < 4; ++k) {
                sum[k] += term.weight * shown[k];
            }
        }
        return sum;
    }

    static Pixel bitmap(const PixelBuffer& buffer, double x, double y, double strideX, double strideY) {
        const PixelSize size = buffer.size();
        return filtered(x - 0.5, size.height - y - 0.5, strideX, strideY, size.width, size.height,
                        [&](int i, int j) {
                            const std::uint8_t* p = buffer.row(0, j) + std::ptrdiff_t(i) * 4;
                            return Pixel{p[2] / 255.0, p[1] / 255.0, p[0] / 255.0, p[3] / 255.0};
                        });
    }

    static Pixel movie(const PixelBuffer& buffer, double x, double y, double strideX, double strideY) {
        const double down = buffer.size().height - y;
        const auto plane = [&](int index, double u, double v, double sx, double sy) {
            const PixelBuffer::Plane& p = buffer.plane(index);
            return filtered(u, v, sx, sy, p.width, p.height, [&](int i, int j) {
                return std::array<double, 1>{double(buffer.row(index, j)[i])};
            })[0];
        };
        const double luma = (plane(0, x - 0.5, down - 0.5, strideX, strideY) - 16) / 219;
        const double cb = (plane(1, (x - 0.5) / 2, (down - 1) / 2, strideX / 2, strideY / 2) - 128) / 224;
        const double cr = (plane(2, (x - 0.5) / 2, (down - 1) / 2, strideX / 2, strideY / 2) - 128) / 224;
        return {std::clamp(luma + 1.5748 * cr, 0.0, 1.0),
                std::clamp(luma - 0.187324 * cb - 0.468124 * cr, 0.0, 1.0),
                std::clamp(luma + 1.8556 * cb, 0.0, 1.0), 1};
    }

    void realise(const Realised& leaf) {
        const Node::Operation& operation = leaf.image.node()->operation;
        if (const auto* gaussian = std::get_if<Node::Blur>(&operation)) {
            blur(*gaussian, leaf.region);
        } else if (const auto* matrix = std::get_if<Node::Matrix>(&operation)) {
            drawing_ = draw(matrix->image, leaf.region);
            for (Pixel& p : drawing_.pixels) {
                p = mapped(matrix->matrix, p);
            }
        } else if (const auto* mean = std::get_if<Node::Mean>(&operation)) {
            drawing_ = draw(Image(), leaf.region);
            for (const WeightedImage& term : mean->terms) {
                const Drawing other = draw(term.image, leaf.region);
                for (std::size_t i = 0; i < drawing_.pixels.size(); ++i) {
                    for (std::size_t k = 0; k < 4; ++k) {
                        drawing_.pixels[i][k] += term.weight * other.pixels[i][k];
                    }
                }
            }
        } else if (const auto* blend = std::get_if<Node::Mask>(&operation)) {
            drawing_ = draw(blend->image, leaf.region);
            const Drawing background = draw(blend->background, leaf.region);
            const Drawing mask = draw(blend->mask, leaf.region);
            for (std::size_t i = 0; i < drawing_.pixels.size(); ++i) {
                drawing_.pixels[i] = mixed(background.pixels[i], drawing_.pixels[i], mask.pixels[i][3]);
            }
        } else {
            drawing_ = draw(leaf.image, leaf.region);
        }
    }

    static Pixel mapped(const ColorMatrix& m, const Pixel& p) {
        const auto dot = [&](const std::array<double, 4>& row) {
            return row[0] * p[0] + row[1] * p[1] + row[2] * p[2] + row[3] * p[3];
        };
        const double alpha = std::clamp(dot(m.a), 0.0, 1.0);
        const auto color = [&](const std::array<double, 4>& row, double bias) {
            return std::clamp(dot(row) + bias * alpha, 0.0, alpha);
        };
        return {color(m.r, m.bias[0]), color(m.g, m.bias[1]), color(m.b, m.bias[2]), alpha};
    }

    void blur(const Node::Blur& node, const Rect& region) {
        const int reach = int(std::ceil(3 * node.radius));
        const Drawing sharp = draw(node.image, region.inset(-reach, -reach));
        std::vector<double> kernel;
        double total = 0;
        for (int k = -reach; k <= reach; ++k) {
            kernel.push_back(std::exp(-0.5 * k * k / (node.radius * node.radius)));
            total += kernel.back();
        }
        const int width = int(region.width);
        const int height = int(region.height);
        std::vector<Pixel> across(std::size_t(width) * std::size_t(sharp.rows));
        for (int y = 0; y < sharp.rows; ++y) {
            for (int x = 0; x < width; ++x) {
                for (std::size_t k = 0; k < kernel.size(); ++k) {
                    const Pixel& p =
                        sharp.pixels[std::size_t(y) * std::size_t(sharp.columns) + std::size_t(x) + k];
                    for (std::size_t c = 0; c < 4; ++c) {
                        across[std::size_t(y) * std::size_t(width) + std::size_t(x)][c] +=
                            p[c] * kernel[k] / total;
                    }
                }
            }
        }
        drawing_ = {region, width, height, std::vector<Pixel>(std::size_t(width) * std::size_t(height))};
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                for (std::size_t k = 0; k < kernel.size(); ++k) {
                    const Pixel& p = across[(std::size_t(y) + k) * std::size_t(width) + std::size_t(x)];
                    for (std::size_t c = 0; c < 4; ++c) {
                        drawing_.pixels[std::size_t(y) * std::size_t(width) + std::size_t(x)][c] +=
                            p[c] * kernel[k] / total;
                    }
                }
            }
        }
    }

    const Layer& layer_;
    Drawing drawing_{};
};

Drawing draw(const Image& image, const Rect& region) {
    Drawing drawing{region, int(std::ceil(region.width)), int(std::ceil(region.height)), {}};
    drawing.pixels.resize(std::size_t(drawing.columns) * std::size_t(drawing.rows));
    for (const Layer& layer : flatten(image, region)) {
        const Sampler sampler(layer);
        for (int row = 0; row < drawing.rows; ++row) {
            for (int column = 0; column < drawing.columns; ++column) {
                Pixel& below =
                    drawing.pixels[std::size_t(row) * std::size_t(drawing.columns) + std::size_t(column)];
                const Pixel p =
                    sampler.at(region.minX() + column + 0.5, region.minY() + drawing.rows - row - 0.5);
                for (std::size_t k = 0; k < 4; ++k) {
                    below[k] = p[k] + below[k] * (1 - p[3]);
                }
            }
        }
    }
    return drawing;
}

} // namespace

std::vector<std::array<float, 4>> renderReference(const Image& image, const Rect& rect) {
    std::vector<std::array<float, 4>> result;
    for (const Pixel& p : draw(image, rect).pixels) {
        result.push_back({float(p[0]), float(p[1]), float(p[2]), float(p[3])});
    }
    return result;
}

} // namespace tavrin
