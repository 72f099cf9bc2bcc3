#include "ui/MenuBarPixmap.h"

#include <algorithm>
#include <cmath>

namespace vigilmoth {
namespace {

constexpr double kBox = 22;  // the square the 21 × 20 figure is centred in
constexpr int kSamples = 4;  // per pixel and axis, for smooth edges
constexpr std::uint8_t kGrey = 0xBE;

struct Point {
    double x;
    double y;
};

bool inCircle(Point p, double cx, double cy, double r) {
    return (p.x - cx) * (p.x - cx) + (p.y - cy) * (p.y - cy) <= r * r;
}

bool inRect(Point p, double x, double y, double w, double h) {
    return p.x >= x && p.x <= x + w && p.y >= y && p.y <= y + h;
}

bool inRoundedRect(Point p, double x, double y, double w, double h, double r) {
    if (!inRect(p, x, y, w, h)) return false;
    const double cx = std::clamp(p.x, x + r, x + w - r);
    const double cy = std::clamp(p.y, y + r, y + h - r);
    return inCircle(p, cx, cy, r);
}

// One eye around (cx, cy), in the shape its kind has.
bool inEye(Point p, MenuBarLook::Eyes eyes, double cx, double cy) {
    const double dx = p.x - cx;
    const double dy = p.y - cy;
    switch (eyes) {
        case MenuBarLook::Eyes::open:
            return inCircle(p, cx, cy, 1.6);
        case MenuBarLook::Eyes::closed:
            return inRect(p, cx - 1.6, cy, 3.2, 1);
        case MenuBarLook::Eyes::happy: {
            // An upturned arc: the eye smiles.
            const double d = std::hypot(dx, dy - 1);
            return dy <= 1 && d >= 0.9 && d <= 1.9;
        }
        case MenuBarLook::Eyes::dead:
            return std::abs(dx) <= 1.5 && std::abs(dy) <= 1.5 &&
                   (std::abs(dx - dy) <= 0.55 || std::abs(dx + dy) <= 0.55);
    }
    return false;
}

// Whether the figure covers a point, in the 21 × 20 drawing's own coordinates.
bool covered(const MenuBarLook& look, Point p) {
    const bool head = inRoundedRect(p, 2, 4, 17, 14, 6);
    const bool inside = inRoundedRect(p, 3, 5, 15, 12, 5);
    if (head && !inside) return true;  // the outline
    const bool eye = inEye(p, look.eyes, 7.5, 10.5) || inEye(p, look.eyes, 13.5, 10.5);
    if (inside) return look.solid ? !eye : eye;
    // Antenna and ears; the head was cleared out of them, so they stop at its outline.
    return inCircle(p, 10.5, 1.5, 1.5) || inRect(p, 10, 1.5, 1, 3) ||
           inRoundedRect(p, 0, 8.5, 3, 5, 1.5) || inRoundedRect(p, 18, 8.5, 3, 5, 1.5);
}

}  // namespace

MenuBarPixmap MenuBarPixmap::draw(const MenuBarLook& look, int size) {
    MenuBarPixmap pixmap{size,
                         std::vector<std::uint8_t>(static_cast<std::size_t>(size) * size * 4)};
    const double scale = kBox / size;
    const double opacity = std::clamp(look.opacity, 0.0, 1.0);
    for (int row = 0; row < size; ++row) {
        for (int column = 0; column < size; ++column) {
            int hits = 0;
            for (int sy = 0; sy < kSamples; ++sy) {
                for (int sx = 0; sx < kSamples; ++sx) {
                    // The box's centre is the figure's centre, (10.5, 10).
                    const Point p{(column + (sx + 0.5) / kSamples) * scale - 0.5,
                                  (row + (sy + 0.5) / kSamples) * scale - 1};
                    hits += covered(look, p) ? 1 : 0;
                }
            }
            const auto at = (static_cast<std::size_t>(row) * size + column) * 4;
            pixmap.argb[at] = static_cast<std::uint8_t>(
                std::lround(255.0 * opacity * hits / (kSamples * kSamples)));
            pixmap.argb[at + 1] = pixmap.argb[at + 2] = pixmap.argb[at + 3] = kGrey;
        }
    }
    return pixmap;
}

}  // namespace vigilmoth
