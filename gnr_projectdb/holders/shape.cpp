// Shapes of holder elements and outlines: containment, bounds, distance.
#include "gnr_projectdb/holders_geometry.h"

#include <algorithm>
#include <cmath>

namespace {

double Half(double v) { return v > 0 ? v / 2 : 0; }

double SegmentDistance(double px, double py, const SYxHolderPoint& a, const SYxHolderPoint& b) {
    const double vx = b.x - a.x, vy = b.y - a.y;
    const double len2 = vx * vx + vy * vy;
    double t = len2 > 0 ? ((px - a.x) * vx + (py - a.y) * vy) / len2 : 0;
    t = std::clamp(t, 0.0, 1.0);
    return std::hypot(px - (a.x + t * vx), py - (a.y + t * vy));
}

double PolygonEdgeDistance(const std::vector<SYxHolderPoint>& pts, double x, double y) {
    double best = HUGE_VAL;
    for (std::size_t i = 0, n = pts.size(); i < n; ++i)
        best = std::min(best, SegmentDistance(x, y, pts[i], pts[(i + 1) % n]));
    return best;
}

bool PolygonContains(const std::vector<SYxHolderPoint>& pts, double x, double y) {
    if (pts.size() < 3) return false;
    bool inside = false;
    for (std::size_t i = 0, j = pts.size() - 1; i < pts.size(); j = i++) {
        const SYxHolderPoint& a = pts[i];
        const SYxHolderPoint& b = pts[j];
        if ((a.y > y) != (b.y > y) && x < (b.x - a.x) * (y - a.y) / (b.y - a.y) + a.x) inside = !inside;
    }
    return inside || PolygonEdgeDistance(pts, x, y) <= 1e-12;
}

// Distance from a point outside an ellipse with semi-axes a, b to it: a few
// steps of the parametric iteration, which converges for every point of the
// first quadrant (the ellipse is symmetric, so the point is mirrored there).
double EllipseDistance(double a, double b, double x, double y) {
    const double px = std::fabs(x), py = std::fabs(y);
    if (a <= 0 || b <= 0) {  // a degenerate ellipse is a segment
        const SYxHolderPoint p0{-a, -b}, p1{a, b};
        return SegmentDistance(px, py, p0, p1);
    }
    if (a == b) return std::max(0.0, std::hypot(px, py) - a);
    if ((px * px) / (a * a) + (py * py) / (b * b) <= 1) return 0;
    double tx = 0.70710678118654752, ty = 0.70710678118654752;
    for (int i = 0; i < 4; ++i) {
        const double ex = (a * a - b * b) * tx * tx * tx / a;
        const double ey = (b * b - a * a) * ty * ty * ty / b;
        const double rx = a * tx - ex, ry = b * ty - ey;
        const double qx = px - ex, qy = py - ey;
        const double r = std::hypot(rx, ry), q = std::hypot(qx, qy);
        if (q <= 0) break;
        tx = std::clamp((qx * r / q + ex) / a, 0.0, 1.0);
        ty = std::clamp((qy * r / q + ey) / b, 0.0, 1.0);
        const double t = std::hypot(tx, ty);
        tx /= t;
        ty /= t;
    }
    return std::hypot(px - a * tx, py - b * ty);
}

double CornerRadius(const SYxHolderShape& s) {
    return std::clamp(s.dRadius, 0.0, std::min(Half(s.dWidth), Half(s.dHeight)));
}

}  // namespace

SYxHolderShape YxHolder_RectShape(double width, double height) {
    SYxHolderShape s;
    s.eKind = eYxShapeRect;
    s.dWidth = width;
    s.dHeight = height;
    return s;
}

SYxHolderShape YxHolder_RoundRectShape(double width, double height, double radius) {
    SYxHolderShape s = YxHolder_RectShape(width, height);
    s.eKind = eYxShapeRoundRect;
    s.dRadius = radius;
    return s;
}

SYxHolderShape YxHolder_EllipseShape(double width, double height) {
    SYxHolderShape s = YxHolder_RectShape(width, height);
    s.eKind = eYxShapeEllipse;
    return s;
}

SYxHolderShape YxHolder_CircleShape(double diameter) { return YxHolder_EllipseShape(diameter, diameter); }

bool YxHolder_ShapeContains(const SYxHolderShape& s, double x, double y) {
    const double hw = Half(s.dWidth), hh = Half(s.dHeight);
    switch (s.eKind) {
    case eYxShapeRect:
        return std::fabs(x) <= hw && std::fabs(y) <= hh;
    case eYxShapeRoundRect: {
        if (!(std::fabs(x) <= hw && std::fabs(y) <= hh)) return false;
        const double r = CornerRadius(s);
        const double qx = std::max(std::fabs(x) - (hw - r), 0.0);
        const double qy = std::max(std::fabs(y) - (hh - r), 0.0);
        return qx * qx + qy * qy <= r * r;
    }
    case eYxShapeEllipse:
        if (hw <= 0 || hh <= 0) return false;
        return (x * x) / (hw * hw) + (y * y) / (hh * hh) <= 1;
    case eYxShapePolygon:
        return PolygonContains(s.points, x, y);
    }
    return false;
}

SYxHolderRect YxHolder_ShapeBounds(const SYxHolderShape& s) {
    if (s.eKind == eYxShapePolygon) {
        if (s.points.empty()) return SYxHolderRect{};
        SYxHolderRect r{s.points[0].x, s.points[0].y, s.points[0].x, s.points[0].y};
        for (const SYxHolderPoint& p : s.points) {
            r.l = std::min(r.l, p.x);
            r.t = std::min(r.t, p.y);
            r.r = std::max(r.r, p.x);
            r.b = std::max(r.b, p.y);
        }
        return r;
    }
    const double hw = Half(s.dWidth), hh = Half(s.dHeight);
    return SYxHolderRect{-hw, -hh, hw, hh};
}

double YxHolder_ShapeDistance(const SYxHolderShape& s, double x, double y) {
    const double hw = Half(s.dWidth), hh = Half(s.dHeight);
    switch (s.eKind) {
    case eYxShapeRect:
        return std::hypot(std::max(std::fabs(x) - hw, 0.0), std::max(std::fabs(y) - hh, 0.0));
    case eYxShapeRoundRect: {
        const double r = CornerRadius(s);
        const double qx = std::max(std::fabs(x) - (hw - r), 0.0);
        const double qy = std::max(std::fabs(y) - (hh - r), 0.0);
        return std::max(0.0, std::hypot(qx, qy) - r);
    }
    case eYxShapeEllipse:
        return EllipseDistance(hw, hh, x, y);
    case eYxShapePolygon:
        if (s.points.empty()) return HUGE_VAL;
        return PolygonContains(s.points, x, y) ? 0 : PolygonEdgeDistance(s.points, x, y);
    }
    return HUGE_VAL;
}
