// The picture a plot is drawn on: an RGB canvas of 8-bit samples, and the
// coverage mask that anti-aliased lines and points are drawn into before
// they are laid on the canvas in one colour.
#pragma once

#include <cstdint>
#include <vector>

namespace ostr::plot {

struct Rgb {
    std::uint8_t r, g, b;
};

// A rectangle of pixels, x1 and y1 exclusive.
struct Rect {
    int x0, y0, x1, y1;
};

class Canvas {
public:
    Canvas(int width, int height, Rgb background);
    int width() const noexcept { return w_; }
    int height() const noexcept { return h_; }
    std::uint8_t* row(int y) noexcept { return px_.data() + static_cast<std::size_t>(y) * w_ * 3; }
    const std::vector<std::uint8_t>& pixels() const noexcept { return px_; }
    std::vector<std::uint8_t>& pixels() noexcept { return px_; }

    Rgb at(int x, int y) const noexcept;
    void set(int x, int y, Rgb c) noexcept;  // ignored outside the canvas
    // Mixes c over the pixel with opacity a in 0..1.
    void blend(int x, int y, Rgb c, float a) noexcept;
    void fill(Rect r, Rgb c) noexcept;  // clipped to the canvas

private:
    int w_, h_;
    std::vector<std::uint8_t> px_;
};

// Coverage 0..255 per pixel. Shapes are combined by maximum, so the many
// short segments of a sampled curve, which overlap at every joint, leave
// the same soft edge as one long stroke instead of darkening where they
// meet. `touched` bounds what was drawn so that only that part is laid on.
class Mask {
public:
    Mask(int width, int height, Rect clip);
    // A stroke of the given width from (x0,y0) to (x1,y1), in pixel
    // coordinates (pixel centres at .5), cut to the clip rectangle.
    void segment(double x0, double y0, double x1, double y1, double width) noexcept;
    void disc(double cx, double cy, double radius) noexcept;
    // Lays the mask on the canvas in colour c and clears it.
    void paint(Canvas& canvas, Rgb c) noexcept;

private:
    void cover(int x, int y, double amount) noexcept;
    int w_, h_;
    Rect clip_;
    Rect touched_;
    std::vector<std::uint8_t> cov_;
};

// Hue (radians, any value), saturation and lightness in 0..1 to RGB.
Rgb hsl(double hue, double saturation, double lightness) noexcept;

}  // namespace ostr::plot
