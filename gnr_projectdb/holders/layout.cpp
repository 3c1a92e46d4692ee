// Holder layouts: building a plate's grid, crosses, and the element searches.
#include "gnr_projectdb/holders_layout.h"

#include <algorithm>
#include <cmath>

namespace {

bool IsGrid(const SYxHolderLayout& l) {
    return l.iRows > 0 && l.iCols > 0 && l.dPitchX > 0 && l.dPitchY > 0 &&
           l.elements.size() == static_cast<std::size_t>(l.iRows) * static_cast<std::size_t>(l.iCols);
}

bool Contains(const SYxHolderElement& e, double x, double y) {
    return YxHolder_ShapeContains(e.shape, x - e.center.x, y - e.center.y);
}

// The grid cell nearest to a point, clamped into the grid.
void NearestCell(const SYxHolderLayout& l, double x, double y, int& row, int& col) {
    const double c = std::nearbyint((x - l.first.x) / l.dPitchX);
    const double r = std::nearbyint((y - l.first.y) / l.dPitchY);
    col = static_cast<int>(std::clamp(c, 0.0, static_cast<double>(l.iCols - 1)));
    row = static_cast<int>(std::clamp(r, 0.0, static_cast<double>(l.iRows - 1)));
}

}  // namespace

int YxHolder_BuildGrid(SYxHolderLayout& l) {
    if (l.iRows <= 0 || l.iCols <= 0 || l.iRows > 4096 || l.iCols > 4096) return YXPDB_E_GENERIC;
    if (!(l.dPitchX > 0) || !(l.dPitchY > 0) || !std::isfinite(l.dPitchX) || !std::isfinite(l.dPitchY))
        return YXPDB_E_GENERIC;
    const SYxHolderRect b = YxHolder_ShapeBounds(l.well);
    // A well must stay within its own cell: then a point can only lie in the
    // well of the cell nearest to it, which is what the grid search relies on.
    if (b.l < -l.dPitchX / 2 || b.r > l.dPitchX / 2 || b.t < -l.dPitchY / 2 || b.b > l.dPitchY / 2)
        return YXPDB_E_GENERIC;
    std::vector<SYxHolderElement> elements;
    elements.reserve(static_cast<std::size_t>(l.iRows) * static_cast<std::size_t>(l.iCols));
    for (int r = 0; r < l.iRows; ++r)
        for (int c = 0; c < l.iCols; ++c) {
            SYxHolderElement e;
            e.wszName = YxHolder_ElementName(r, c, l.iRows, l.iCols, l.iRowNaming, l.iColNaming);
            if (e.wszName.IsEmpty()) return YXPDB_E_GENERIC;
            e.iRow = r;
            e.iCol = c;
            e.center = SYxHolderPoint{l.first.x + c * l.dPitchX, l.first.y + r * l.dPitchY};
            e.shape = l.well;
            elements.push_back(std::move(e));
        }
    l.elements = std::move(elements);
    return YXPDB_OK;
}

std::vector<SYxHolderPoint> YxHolder_CrossPoints(const SYxHolderLayout& l) {
    const SYxHolderPoint corners[4] = {
        {l.crosses.l, l.crosses.t}, {l.crosses.r, l.crosses.b}, {l.crosses.r, l.crosses.t}, {l.crosses.l, l.crosses.b}};
    const int n = std::clamp(l.iNumCrosses, 0, 4);
    return std::vector<SYxHolderPoint>(corners, corners + n);
}

int YxHolder_FindElement(const SYxHolderLayout& l, double x, double y) {
    if (IsGrid(l)) {
        const double c = std::nearbyint((x - l.first.x) / l.dPitchX);
        const double r = std::nearbyint((y - l.first.y) / l.dPitchY);
        if (!(c >= 0 && c < l.iCols && r >= 0 && r < l.iRows)) return -1;  // also rejects NaN
        const int index = static_cast<int>(r) * l.iCols + static_cast<int>(c);
        return Contains(l.elements[static_cast<std::size_t>(index)], x, y) ? index : -1;
    }
    for (std::size_t i = 0; i < l.elements.size(); ++i)
        if (Contains(l.elements[i], x, y)) return static_cast<int>(i);
    return -1;
}

int YxHolder_NearestElement(const SYxHolderLayout& l, double x, double y, double* distance) {
    if (l.elements.empty()) return -1;
    int best = -1;
    double bestDistance = HUGE_VAL;
    auto consider = [&](int i) {
        const SYxHolderElement& e = l.elements[static_cast<std::size_t>(i)];
        const double d = YxHolder_ShapeDistance(e.shape, x - e.center.x, y - e.center.y);
        if (best < 0 || d < bestDistance) {
            best = i;
            bestDistance = d;
        }
    };
    if (IsGrid(l) && std::isfinite(x) && std::isfinite(y)) {
        // Equal wells on a regular grid: the nearest well is in the nearest
        // cell or one of its neighbours.
        int row = 0, col = 0;
        NearestCell(l, x, y, row, col);
        for (int r = std::max(row - 1, 0); r <= std::min(row + 1, l.iRows - 1); ++r)
            for (int c = std::max(col - 1, 0); c <= std::min(col + 1, l.iCols - 1); ++c) consider(r * l.iCols + c);
    } else {
        for (std::size_t i = 0; i < l.elements.size(); ++i) consider(static_cast<int>(i));
    }
    if (distance) *distance = bestDistance;
    return best;
}

int YxHolder_ElementIndex(const SYxHolderLayout& l, const wchar_t* name) {
    if (!name) return -1;
    if (IsGrid(l)) {
        int r = 0, c = 0;
        if (YxHolder_ParseElementName(name, l.iRows, l.iCols, l.iRowNaming, l.iColNaming, &r, &c) != YXPDB_OK)
            return -1;
        return r * l.iCols + c;
    }
    for (std::size_t i = 0; i < l.elements.size(); ++i)
        if (l.elements[i].wszName.EqualsNoCase(name)) return static_cast<int>(i);
    return -1;
}
