// Catalog layouts against the standards, the element searches, sites and
// the serpentine order.
#include "gnr_projectdb/holders.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

const SYxHolderEntry& CatalogEntry(const wchar_t* type) {
    for (const SYxHolderEntry& e : YxHolder_Catalog())
        if (e.wszType == type) return e;
    static SYxHolderEntry none;
    ADD_FAILURE() << "no catalog entry " << CYxStringW(type).ToUtf8();
    return none;
}

int BruteFind(const SYxHolderLayout& l, double x, double y) {
    int found = -1;
    for (std::size_t i = 0; i < l.elements.size(); ++i) {
        const SYxHolderElement& e = l.elements[i];
        if (YxHolder_ShapeContains(e.shape, x - e.center.x, y - e.center.y)) {
            EXPECT_EQ(-1, found) << "elements overlap at " << x << "," << y;
            found = static_cast<int>(i);
        }
    }
    return found;
}

TEST(HolderLayout, SlasPlatesPutEveryWellWhereTheStandardSays) {
    const struct {
        const wchar_t* type;
        int rows, cols;
        double a1x, a1y, pitch;
    } standard[] = {{L"96-well plate", 8, 12, 14.38, 11.24, 9.00},
                    {L"384-well plate", 16, 24, 12.13, 8.99, 4.50},
                    {L"1536-well plate", 32, 48, 11.005, 7.865, 2.25}};
    for (const auto& s : standard) {
        const SYxHolderLayout& l = CatalogEntry(s.type).layout;
        ASSERT_EQ(static_cast<std::size_t>(s.rows * s.cols), l.elements.size());
        EXPECT_NEAR(127.76, l.dWidth, 1e-9);
        EXPECT_NEAR(85.48, l.dHeight, 1e-9);
        for (const SYxHolderElement& e : l.elements) {
            ASSERT_NEAR(s.a1x + e.iCol * s.pitch, e.center.x, 0.01);
            ASSERT_NEAR(s.a1y + e.iRow * s.pitch, e.center.y, 0.01);
        }
        // The centre of the well field is the centre of the footprint.
        const SYxHolderElement& last = l.elements.back();
        EXPECT_NEAR(l.dWidth / 2, (l.elements.front().center.x + last.center.x) / 2, 0.01);
        EXPECT_NEAR(l.dHeight / 2, (l.elements.front().center.y + last.center.y) / 2, 0.01);
    }
    EXPECT_EQ(CYxStringW(L"AF48"), CatalogEntry(L"1536-well plate").layout.elements.back().wszName);
    EXPECT_EQ(CYxStringW(L"P24"), CatalogEntry(L"384-well plate").layout.elements.back().wszName);
}

TEST(HolderLayout, EveryCatalogNameRoundTripsAndLiesInsideTheHolder) {
    for (const SYxHolderEntry& e : YxHolder_Catalog()) {
        const SYxHolderLayout& l = e.layout;
        ASSERT_FALSE(l.elements.empty()) << YxHolder_FullName(e).ToUtf8();
        for (std::size_t i = 0; i < l.elements.size(); ++i) {
            const SYxHolderElement& el = l.elements[i];
            ASSERT_EQ(static_cast<int>(i), YxHolder_ElementIndex(l, el.wszName)) << el.wszName.ToUtf8();
            if (l.iRows > 0) {
                int r = -1, c = -1;
                ASSERT_EQ(0, YxHolder_ParseElementName(el.wszName, l.iRows, l.iCols, l.iRowNaming, l.iColNaming, &r,
                                                       &c));
                EXPECT_EQ(el.iRow, r);
                EXPECT_EQ(el.iCol, c);
                EXPECT_EQ(el.wszName, YxHolder_ElementName(r, c, l.iRows, l.iCols, l.iRowNaming, l.iColNaming));
            }
            // The element lies within the outline and off the label area.
            const SYxHolderRect b = YxHolder_ShapeBounds(el.shape);
            EXPECT_GE(el.center.x + b.l, -1e-9);
            EXPECT_LE(el.center.x + b.r, l.dWidth + 1e-9);
            EXPECT_GE(el.center.y + b.t, -1e-9);
            EXPECT_LE(el.center.y + b.b, l.dHeight + 1e-9);
            EXPECT_TRUE(YxHolder_ShapeContains(l.outline, el.center.x - l.dWidth / 2, el.center.y - l.dHeight / 2));
            EXPECT_FALSE(el.center.x + b.l < l.sticker.r && l.sticker.r > l.sticker.l) << YxHolder_FullName(e).ToUtf8();
            // Its centre finds it (sector compartments: their centroid lies inside too).
            EXPECT_EQ(static_cast<int>(i), YxHolder_FindElement(l, el.center.x, el.center.y));
        }
    }
}

TEST(HolderLayout, RandomStagePointsFindTheSameElementAsBruteForce) {
    std::mt19937_64 rng(20261123);
    std::uniform_real_distribution<double> angle(-2, 2), scale(0.98, 1.02), offset(-50000, 50000);
    const struct {
        const wchar_t* type;
        int points;
    } runs[] = {{L"96-well plate", 1000000}, {L"1536-well plate", 100000}, {L"35 mm dish", 20000}};
    for (const auto& run : runs) {
        const SYxHolderLayout& l = CatalogEntry(run.type).layout;
        const SYxHolderAlignment m = YxHolder_MakeAlignment(angle(rng), scale(rng), offset(rng), offset(rng));
        SYxHolderAlignment inv;
        ASSERT_EQ(0, YxHolder_InvertAlignment(m, &inv));
        std::uniform_real_distribution<double> ux(-5, l.dWidth + 5), uy(-5, l.dHeight + 5);
        int hits = 0;
        for (int i = 0; i < run.points; ++i) {
            const double hx = ux(rng), hy = uy(rng);
            const SYxHolderPoint s = YxHolder_HolderToStage(m, hx, hy);
            const SYxHolderPoint h = YxHolder_HolderToStage(inv, s.x, s.y);
            ASSERT_NEAR(hx, h.x, 1e-6);
            ASSERT_NEAR(hy, h.y, 1e-6);
            const int found = YxHolder_FindElement(l, h.x, h.y);
            ASSERT_EQ(BruteFind(l, h.x, h.y), found) << "at " << h.x << "," << h.y;
            hits += found >= 0;
        }
        EXPECT_GT(hits, run.points / 5);  // the points do hit wells, not only the spaces
        EXPECT_LT(hits, run.points);
    }
}

TEST(HolderLayout, PointsBetweenWellsFindNoneButHaveANearestWell) {
    for (const wchar_t* type : {L"96-well plate", L"384-well plate", L"1536-well plate", L"6-well plate"}) {
        const SYxHolderLayout& l = CatalogEntry(type).layout;
        for (int r = 0; r + 1 < l.iRows; ++r)
            for (int c = 0; c + 1 < l.iCols; ++c) {
                const double x = l.first.x + (c + 0.5) * l.dPitchX, y = l.first.y + (r + 0.5) * l.dPitchY;
                ASSERT_EQ(-1, YxHolder_FindElement(l, x, y));
                double d = -1;
                const int near = YxHolder_NearestElement(l, x, y, &d);
                ASSERT_GE(near, 0);
                EXPECT_GT(d, 0);
                const SYxHolderElement& e = l.elements[static_cast<std::size_t>(near)];
                EXPECT_TRUE(e.iRow == r || e.iRow == r + 1);
                EXPECT_TRUE(e.iCol == c || e.iCol == c + 1);
            }
        EXPECT_EQ(-1, YxHolder_FindElement(l, -1, -1));
        EXPECT_EQ(-1, YxHolder_FindElement(l, std::nan(""), 10));
    }
    // Outside the grid the nearest well is on the border; inside one it is itself.
    const SYxHolderLayout& p96 = CatalogEntry(L"96-well plate").layout;
    double d = -1;
    EXPECT_EQ(11, YxHolder_NearestElement(p96, 200, -50, &d));  // A12
    EXPECT_GT(d, 50);
    EXPECT_EQ(13, YxHolder_NearestElement(p96, 23.5, 20.0, &d));  // B2
    EXPECT_EQ(0, d);
    SYxHolderLayout empty;
    EXPECT_EQ(-1, YxHolder_NearestElement(empty, 0, 0));
}

TEST(HolderLayout, GridBuildRefusesOverlappingOrEmptyGrids) {
    SYxHolderLayout l;
    l.iRows = 2;
    l.iCols = 2;
    l.first = {5, 5};
    l.dPitchX = l.dPitchY = 3;
    l.well = YxHolder_CircleShape(3.5);
    EXPECT_EQ(YXPDB_E_GENERIC, YxHolder_BuildGrid(l));
    l.well = YxHolder_CircleShape(3);
    EXPECT_EQ(0, YxHolder_BuildGrid(l));
    EXPECT_EQ(4u, l.elements.size());
    l.iRows = 0;
    EXPECT_EQ(YXPDB_E_GENERIC, YxHolder_BuildGrid(l));
    l.iRows = 2;
    l.dPitchX = std::nan("");
    EXPECT_EQ(YXPDB_E_GENERIC, YxHolder_BuildGrid(l));
}

TEST(HolderSites, CentredGridKeepsTheFieldInsideInSerpentineOrder) {
    const SYxHolderLayout& l = CatalogEntry(L"96-well plate").layout;  // wells of 6.65 mm
    std::vector<SYxHolderPoint> sites;
    ASSERT_EQ(0, YxHolder_SitesGrid(l, 13, 1.0, 1.0, 0.5, 0.5, sites));
    ASSERT_FALSE(sites.empty());
    const SYxHolderElement& b2 = l.elements[13];
    double sx = 0, sy = 0;
    for (const SYxHolderPoint& p : sites) {
        sx += p.x;
        sy += p.y;
        for (double fx : {-0.25, 0.25})
            for (double fy : {-0.25, 0.25})
                EXPECT_TRUE(YxHolder_ShapeContains(b2.shape, p.x + fx - b2.center.x, p.y + fy - b2.center.y));
    }
    // Symmetric about the centre.
    EXPECT_NEAR(b2.center.x, sx / static_cast<double>(sites.size()), 1e-9);
    EXPECT_NEAR(b2.center.y, sy / static_cast<double>(sites.size()), 1e-9);
    // Rows alternate direction: consecutive sites never jump back across the row.
    for (std::size_t i = 1; i < sites.size(); ++i)
        if (sites[i].y == sites[i - 1].y) EXPECT_NEAR(1.0, std::fabs(sites[i].x - sites[i - 1].x), 1e-9);
        else EXPECT_NEAR(sites[i].x, sites[i - 1].x, 3.0);
    std::vector<SYxHolderPoint> none;
    EXPECT_EQ(YXPDB_E_GENERIC, YxHolder_SitesGrid(l, 96, 1, 1, 0, 0, none));
    EXPECT_EQ(YXPDB_E_GENERIC, YxHolder_SitesGrid(l, 0, 0, 1, 0, 0, none));
    EXPECT_TRUE(none.empty());
}

TEST(HolderSites, SpiralStartsAtTheCentreAndWindsOutwards) {
    const SYxHolderLayout& l = CatalogEntry(L"6-well plate").layout;
    std::vector<SYxHolderPoint> sites;
    ASSERT_EQ(0, YxHolder_SitesSpiral(l, 0, 2.0, 25, sites));
    ASSERT_EQ(25u, sites.size());
    const SYxHolderPoint c = l.elements[0].center;
    EXPECT_DOUBLE_EQ(c.x, sites[0].x);
    EXPECT_DOUBLE_EQ(c.y, sites[0].y);
    for (std::size_t i = 1; i < sites.size(); ++i) {
        // Each step moves to a neighbour on the square lattice.
        EXPECT_NEAR(2.0, std::hypot(sites[i].x - sites[i - 1].x, sites[i].y - sites[i - 1].y), 1e-9) << i;
        // Rings grow: points 1..8 on ring 1, 9..24 on ring 2.
        const double ring = std::max(std::fabs(sites[i].x - c.x), std::fabs(sites[i].y - c.y)) / 2;
        EXPECT_DOUBLE_EQ(i <= 8 ? 1.0 : 2.0, ring) << i;
    }
    // A small element runs out of room before the count.
    std::vector<SYxHolderPoint> few;
    const SYxHolderLayout& p1536 = CatalogEntry(L"1536-well plate").layout;
    ASSERT_EQ(0, YxHolder_SitesSpiral(p1536, 0, 0.5, 1000, few));
    EXPECT_EQ(9u, few.size());  // 1.6 mm square: the centre and one ring
}

TEST(HolderSites, SerpentineOrderAlternatesRowsOrColumns) {
    const SYxHolderLayout& l = CatalogEntry(L"24-well plate").layout;  // 4 x 6
    const std::vector<int> rows = YxHolder_SerpentineOrder(l);
    ASSERT_EQ(24u, rows.size());
    EXPECT_EQ((std::vector<int>{0, 1, 2, 3, 4, 5, 11, 10, 9, 8, 7, 6, 12}),
              std::vector<int>(rows.begin(), rows.begin() + 13));
    const std::vector<int> cols = YxHolder_SerpentineOrder(l, true);
    EXPECT_EQ((std::vector<int>{0, 6, 12, 18, 19, 13, 7, 1, 2}), std::vector<int>(cols.begin(), cols.begin() + 9));
}

}  // namespace
