// Sites inside an element (centred grid, square spiral) and the serpentine
// order of elements.
#include "gnr_projectdb/holders_layout.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

bool ValidElement(const SYxHolderLayout& l, int element) {
    return element >= 0 && static_cast<std::size_t>(element) < l.elements.size();
}

// Whether the field (w x h around the point, relative to the centre) lies in
// the shape: its centre and its four corners (enough for convex shapes).
bool FieldInside(const SYxHolderShape& s, double x, double y, double w, double h) {
    if (!YxHolder_ShapeContains(s, x, y)) return false;
    if (w <= 0 && h <= 0) return true;
    const double hw = w / 2, hh = h / 2;
    return YxHolder_ShapeContains(s, x - hw, y - hh) && YxHolder_ShapeContains(s, x + hw, y - hh) &&
           YxHolder_ShapeContains(s, x + hw, y + hh) && YxHolder_ShapeContains(s, x - hw, y + hh);
}

}  // namespace

int YxHolder_SitesGrid(const SYxHolderLayout& l, int element, double spacingX, double spacingY, double fieldW,
                       double fieldH, std::vector<SYxHolderPoint>& sites) {
    if (!ValidElement(l, element) || !(spacingX > 0) || !(spacingY > 0) || !(fieldW >= 0) || !(fieldH >= 0))
        return YXPDB_E_GENERIC;
    const SYxHolderElement& e = l.elements[static_cast<std::size_t>(element)];
    const SYxHolderRect b = YxHolder_ShapeBounds(e.shape);
    // As many points across as fit into the bounds, placed symmetrically
    // about the element's centre.
    auto across = [](double lo, double hi, double spacing) {
        return static_cast<int>(std::min(std::floor((hi - lo) / spacing), 100000.0)) + 1;
    };
    const int nx = across(b.l, b.r, spacingX);
    const int ny = across(b.t, b.b, spacingY);
    std::vector<SYxHolderPoint> found;
    bool backwards = false;
    for (int j = 0; j < ny; ++j) {
        const double y = (j - (ny - 1) / 2.0) * spacingY;
        std::vector<SYxHolderPoint> row;
        for (int i = 0; i < nx; ++i) {
            const double x = (i - (nx - 1) / 2.0) * spacingX;
            if (FieldInside(e.shape, x, y, fieldW, fieldH)) row.push_back({e.center.x + x, e.center.y + y});
        }
        if (row.empty()) continue;
        if (backwards) std::reverse(row.begin(), row.end());
        backwards = !backwards;
        found.insert(found.end(), row.begin(), row.end());
    }
    sites.insert(sites.end(), found.begin(), found.end());
    return YXPDB_OK;
}

int YxHolder_SitesSpiral(const SYxHolderLayout& l, int element, double spacing, int count,
                         std::vector<SYxHolderPoint>& sites) {
    if (!ValidElement(l, element) || !(spacing > 0) || count < 0) return YXPDB_E_GENERIC;
    const SYxHolderElement& e = l.elements[static_cast<std::size_t>(element)];
    std::vector<SYxHolderPoint> found;
    auto take = [&](int i, int j) {
        const double x = i * spacing, y = j * spacing;
        if ((int)found.size() < count && YxHolder_ShapeContains(e.shape, x, y))
            found.push_back({e.center.x + x, e.center.y + y});
    };
    take(0, 0);
    const SYxHolderRect b = YxHolder_ShapeBounds(e.shape);
    const double reach = std::max(std::max(-b.l, b.r), std::max(-b.t, b.b));
    const int maxRing = static_cast<int>(std::min(std::ceil(reach / spacing), 100000.0));
    for (int k = 1; k <= maxRing && static_cast<int>(found.size()) < count; ++k) {
        // Ring k: starts right of the previous ring's last point, runs down,
        // left along the bottom, up the left side and right along the top.
        for (int j = -k + 1; j <= k; ++j) take(k, j);
        for (int i = k - 1; i >= -k; --i) take(i, k);
        for (int j = k - 1; j >= -k; --j) take(-k, j);
        for (int i = -k + 1; i <= k; ++i) take(i, -k);
    }
    sites.insert(sites.end(), found.begin(), found.end());
    return YXPDB_OK;
}

std::vector<int> YxHolder_SerpentineOrder(const SYxHolderLayout& l, bool byColumns) {
    std::vector<int> order(l.elements.size());
    std::iota(order.begin(), order.end(), 0);
    auto major = [&](int i) { return byColumns ? l.elements[(std::size_t)i].iCol : l.elements[(std::size_t)i].iRow; };
    auto minor = [&](int i) { return byColumns ? l.elements[(std::size_t)i].iRow : l.elements[(std::size_t)i].iCol; };
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
        if (major(a) != major(b)) return major(a) < major(b);
        // Even lines forwards, odd lines backwards.
        return (major(a) % 2 == 0) ? minor(a) < minor(b) : minor(a) > minor(b);
    });
    return order;
}
