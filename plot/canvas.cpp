// Pixels of the canvas and the anti-aliased strokes of the coverage mask.
// A stroke covers each pixel by how far the pixel's centre lies inside the
// stroke's edge: coverage = clamp(width/2 + 1/2 - distance, 0, 1), the area
// of a unit pixel under a straight edge to first order.
#include "plot/canvas.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ostr::plot {

Canvas::Canvas(int width, int height, Rgb background)
    : w_(width), h_(height), px_(static_cast<std::size_t>(width) * height * 3) {
    for (std::size_t i = 0; i < px_.size(); i += 3) {
        px_[i] = background.r;
        px_[i + 1] = background.g;
        px_[i + 2] = background.b;
    }
}

Rgb Canvas::at(int x, int y) const noexcept {
    if (x < 0 || y < 0 || x >= w_ || y >= h_) return {0, 0, 0};
    const std::uint8_t* p = px_.data() + (static_cast<std::size_t>(y) * w_ + x) * 3;
    return {p[0], p[1], p[2]};
}

void Canvas::set(int x, int y, Rgb c) noexcept {
    if (x < 0 || y < 0 || x >= w_ || y >= h_) return;
    std::uint8_t* p = row(y) + x * 3;
    p[0] = c.r;
    p[1] = c.g;
    p[2] = c.b;
}

void Canvas::blend(int x, int y, Rgb c, float a) noexcept {
    if (x < 0 || y < 0 || x >= w_ || y >= h_ || a <= 0) return;
    if (a >= 1) return set(x, y, c);
    std::uint8_t* p = row(y) + x * 3;
    auto mix = [a](std::uint8_t under, std::uint8_t over) {
        return static_cast<std::uint8_t>(std::lround(under + (over - under) * a));
    };
    p[0] = mix(p[0], c.r);
    p[1] = mix(p[1], c.g);
    p[2] = mix(p[2], c.b);
}

void Canvas::fill(Rect r, Rgb c) noexcept {
    r.x0 = std::max(r.x0, 0);
    r.y0 = std::max(r.y0, 0);
    r.x1 = std::min(r.x1, w_);
    r.y1 = std::min(r.y1, h_);
    for (int y = r.y0; y < r.y1; ++y)
        for (int x = r.x0; x < r.x1; ++x) set(x, y, c);
}

Mask::Mask(int width, int height, Rect clip)
    : w_(width), h_(height), clip_{std::max(clip.x0, 0), std::max(clip.y0, 0), std::min(clip.x1, width),
                                   std::min(clip.y1, height)},
      touched_{width, height, 0, 0}, cov_(static_cast<std::size_t>(width) * height, 0) {}

void Mask::cover(int x, int y, double amount) noexcept {
    if (amount <= 0) return;
    const auto v = static_cast<std::uint8_t>(std::lround(std::min(amount, 1.0) * 255));
    std::uint8_t& c = cov_[static_cast<std::size_t>(y) * w_ + x];
    if (v > c) c = v;
}

void Mask::segment(double x0, double y0, double x1, double y1, double width) noexcept {
    if (!std::isfinite(x0) || !std::isfinite(y0) || !std::isfinite(x1) || !std::isfinite(y1)) return;
    const double r = width / 2 + 0.5;
    const int bx0 = std::max(clip_.x0, static_cast<int>(std::floor(std::min(x0, x1) - r)));
    const int by0 = std::max(clip_.y0, static_cast<int>(std::floor(std::min(y0, y1) - r)));
    const int bx1 = std::min(clip_.x1, static_cast<int>(std::ceil(std::max(x0, x1) + r)) + 1);
    const int by1 = std::min(clip_.y1, static_cast<int>(std::ceil(std::max(y0, y1) + r)) + 1);
    if (bx0 >= bx1 || by0 >= by1) return;
    const double dx = x1 - x0, dy = y1 - y0, len2 = dx * dx + dy * dy;
    for (int y = by0; y < by1; ++y) {
        const double py = y + 0.5 - y0;
        for (int x = bx0; x < bx1; ++x) {
            const double px = x + 0.5 - x0;
            double t = len2 > 0 ? (px * dx + py * dy) / len2 : 0;
            t = std::clamp(t, 0.0, 1.0);
            const double ex = px - t * dx, ey = py - t * dy;
            cover(x, y, r - std::sqrt(ex * ex + ey * ey));
        }
    }
    touched_ = {std::min(touched_.x0, bx0), std::min(touched_.y0, by0), std::max(touched_.x1, bx1),
                std::max(touched_.y1, by1)};
}

void Mask::disc(double cx, double cy, double radius) noexcept { segment(cx, cy, cx, cy, 2 * radius); }

void Mask::paint(Canvas& canvas, Rgb c) noexcept {
    for (int y = touched_.y0; y < touched_.y1; ++y) {
        std::uint8_t* m = cov_.data() + static_cast<std::size_t>(y) * w_;
        for (int x = touched_.x0; x < touched_.x1; ++x) {
            if (!m[x]) continue;
            canvas.blend(x, y, c, m[x] / 255.0f);
            m[x] = 0;
        }
    }
    touched_ = {w_, h_, 0, 0};
}

Rgb hsl(double hue, double s, double l) noexcept {
    double h = std::fmod(hue / (2 * std::numbers::pi), 1.0);
    if (h < 0) h += 1;
    const double c = (1 - std::fabs(2 * l - 1)) * s;
    const double hp = h * 6, x = c * (1 - std::fabs(std::fmod(hp, 2.0) - 1)), m = l - c / 2;
    double r = 0, g = 0, b = 0;
    switch (static_cast<int>(hp) % 6) {
    case 0: r = c, g = x; break;
    case 1: r = x, g = c; break;
    case 2: g = c, b = x; break;
    case 3: g = x, b = c; break;
    case 4: r = x, b = c; break;
    default: r = c, b = x; break;
    }
    auto to8 = [m](double v) { return static_cast<std::uint8_t>(std::lround(std::clamp(v + m, 0.0, 1.0) * 255)); };
    return {to8(r), to8(g), to8(b)};
}

}  // namespace ostr::plot
