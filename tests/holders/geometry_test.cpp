// Shapes, element names and the stage alignment.
#include "gnr_projectdb/holders.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

namespace {

// Distance to a shape by brute force: the nearest of many boundary points
// found by bisection along rays from the centre (convex shapes only).
double BruteDistance(const SYxHolderShape& s, double x, double y) {
    if (YxHolder_ShapeContains(s, x, y)) return 0;
    double best = HUGE_VAL;
    for (int i = 0; i < 20000; ++i) {
        const double a = 2 * M_PI * i / 20000;
        double lo = 0, hi = 1000;
        for (int k = 0; k < 60; ++k) {
            const double mid = (lo + hi) / 2;
            if (YxHolder_ShapeContains(s, mid * std::cos(a), mid * std::sin(a))) lo = mid;
            else hi = mid;
        }
        best = std::min(best, std::hypot(x - lo * std::cos(a), y - lo * std::sin(a)));
    }
    return best;
}

TEST(HolderShapes, ContainmentCountsTheBoundaryAndRespectsCorners) {
    const SYxHolderShape rect = YxHolder_RectShape(4, 2);
    EXPECT_TRUE(YxHolder_ShapeContains(rect, 2, 1));
    EXPECT_FALSE(YxHolder_ShapeContains(rect, 2.0001, 0));
    EXPECT_FALSE(YxHolder_ShapeContains(rect, 0, -1.0001));

    const SYxHolderShape round = YxHolder_RoundRectShape(4, 2, 0.5);
    EXPECT_TRUE(YxHolder_ShapeContains(round, 2, 0));         // straight edge
    EXPECT_FALSE(YxHolder_ShapeContains(round, 1.99, 0.99));  // cut corner
    EXPECT_TRUE(YxHolder_ShapeContains(round, 1.5 + 0.35, 0.5 + 0.35));

    const SYxHolderShape circle = YxHolder_CircleShape(2);
    EXPECT_TRUE(YxHolder_ShapeContains(circle, 1, 0));
    EXPECT_FALSE(YxHolder_ShapeContains(circle, 0.71, 0.71));
    const SYxHolderShape ellipse = YxHolder_EllipseShape(4, 2);
    EXPECT_TRUE(YxHolder_ShapeContains(ellipse, 1.9, 0.1));
    EXPECT_FALSE(YxHolder_ShapeContains(ellipse, 0.1, 1.05));

    SYxHolderShape tri;
    tri.eKind = eYxShapePolygon;
    tri.points = {{0, -2}, {2, 2}, {-2, 2}};
    EXPECT_TRUE(YxHolder_ShapeContains(tri, 0, 0));
    EXPECT_TRUE(YxHolder_ShapeContains(tri, 1, 0));  // on an edge
    EXPECT_FALSE(YxHolder_ShapeContains(tri, 1.6, -1));
    SYxHolderShape degenerate;
    degenerate.eKind = eYxShapePolygon;
    degenerate.points = {{0, 0}, {1, 1}};
    EXPECT_FALSE(YxHolder_ShapeContains(degenerate, 0.5, 0.5));
    EXPECT_TRUE(std::isinf(YxHolder_ShapeDistance(SYxHolderShape{eYxShapePolygon, 0, 0, 0, {}}, 1, 1)));
}

TEST(HolderShapes, BoundsOfEveryKind) {
    const SYxHolderRect r = YxHolder_ShapeBounds(YxHolder_EllipseShape(6, 2));
    EXPECT_DOUBLE_EQ(-3, r.l);
    EXPECT_DOUBLE_EQ(-1, r.t);
    EXPECT_DOUBLE_EQ(3, r.r);
    EXPECT_DOUBLE_EQ(1, r.b);
    SYxHolderShape poly;
    poly.eKind = eYxShapePolygon;
    poly.points = {{-1, 5}, {4, -2}, {0, 0}};
    const SYxHolderRect p = YxHolder_ShapeBounds(poly);
    EXPECT_DOUBLE_EQ(-1, p.l);
    EXPECT_DOUBLE_EQ(-2, p.t);
    EXPECT_DOUBLE_EQ(4, p.r);
    EXPECT_DOUBLE_EQ(5, p.b);
}

TEST(HolderShapes, DistanceAgreesWithBruteForce) {
    SYxHolderShape hexagon;
    hexagon.eKind = eYxShapePolygon;
    for (int i = 0; i < 6; ++i) hexagon.points.push_back({3 * std::cos(i * M_PI / 3), 3 * std::sin(i * M_PI / 3)});
    const SYxHolderShape shapes[] = {YxHolder_RectShape(4, 2), YxHolder_RoundRectShape(5, 3, 1),
                                     YxHolder_CircleShape(3), YxHolder_EllipseShape(6, 2), YxHolder_EllipseShape(1, 5),
                                     hexagon};
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> u(-6, 6);
    for (const SYxHolderShape& s : shapes)
        for (int i = 0; i < 12; ++i) {
            const double x = u(rng), y = u(rng);
            EXPECT_NEAR(BruteDistance(s, x, y), YxHolder_ShapeDistance(s, x, y), 2e-3)
                << "kind " << s.eKind << " at " << x << "," << y;
        }
    EXPECT_EQ(0, YxHolder_ShapeDistance(YxHolder_EllipseShape(6, 2), 2.9, 0));
}

TEST(HolderNames, LettersNumbersPaddingAndSeparator) {
    EXPECT_EQ(CYxStringW(L"A1"), YxHolder_ElementName(0, 0, 8, 12, eYxNamingLetters, eYxNamingNumbers));
    EXPECT_EQ(CYxStringW(L"H12"), YxHolder_ElementName(7, 11, 8, 12, eYxNamingLetters, eYxNamingNumbers));
    EXPECT_EQ(CYxStringW(L"A01"), YxHolder_ElementName(0, 0, 8, 12, eYxNamingLetters, eYxNamingNumbersPadded));
    EXPECT_EQ(CYxStringW(L"Z48"), YxHolder_ElementName(25, 47, 32, 48, eYxNamingLetters, eYxNamingNumbers));
    EXPECT_EQ(CYxStringW(L"AA1"), YxHolder_ElementName(26, 0, 32, 48, eYxNamingLetters, eYxNamingNumbers));
    EXPECT_EQ(CYxStringW(L"AF48"), YxHolder_ElementName(31, 47, 32, 48, eYxNamingLetters, eYxNamingNumbers));
    EXPECT_EQ(CYxStringW(L"BA1"), YxHolder_ElementName(52, 0, 60, 1, eYxNamingLetters, eYxNamingNumbers));
    EXPECT_EQ(CYxStringW(L"3C"), YxHolder_ElementName(2, 2, 4, 4, eYxNamingNumbers, eYxNamingLetters));
    EXPECT_EQ(CYxStringW(L"003-12"),
              YxHolder_ElementName(2, 11, 100, 12, eYxNamingNumbersPadded, eYxNamingNumbers));
    EXPECT_EQ(CYxStringW(L"B-C"), YxHolder_ElementName(1, 2, 4, 4, eYxNamingLetters, eYxNamingLetters));
    EXPECT_EQ(CYxStringW(), YxHolder_ElementName(8, 0, 8, 12, eYxNamingLetters, eYxNamingNumbers));
    EXPECT_EQ(CYxStringW(), YxHolder_ElementName(0, 0, 8, 12, 7, eYxNamingNumbers));
}

TEST(HolderNames, ParsingIsTheInverseAndRejectsEverythingElse) {
    const int namings[] = {eYxNamingLetters, eYxNamingNumbers, eYxNamingNumbersPadded};
    for (int rn : namings)
        for (int cn : namings)
            for (int r = 0; r < 40; ++r)
                for (int c = 0; c < 30; ++c) {
                    const CYxStringW name = YxHolder_ElementName(r, c, 40, 30, rn, cn);
                    int pr = -1, pc = -1;
                    ASSERT_EQ(0, YxHolder_ParseElementName(name, 40, 30, rn, cn, &pr, &pc)) << name.ToUtf8();
                    ASSERT_EQ(r, pr);
                    ASSERT_EQ(c, pc);
                }
    int r = -5, c = -5;
    EXPECT_EQ(0, YxHolder_ParseElementName(L"af07", 32, 48, eYxNamingLetters, eYxNamingNumbers, &r, &c));
    EXPECT_EQ(31, r);
    EXPECT_EQ(6, c);
    r = c = -5;
    for (const wchar_t* bad : {L"", L"A", L"1", L"A0", L"I1", L"A13", L"A1x", L"1A", L"A-1", L"AAAAAAAAAAAAAAAA1",
                               L"A99999999999999999999", L"\u00C41", L"A\u0661"})
        EXPECT_EQ(YXPDB_E_NOTFOUND, YxHolder_ParseElementName(bad, 8, 12, eYxNamingLetters, eYxNamingNumbers, &r, &c))
            << CYxStringW(bad).ToUtf8();
    EXPECT_EQ(-5, r);  // untouched on failure
    EXPECT_EQ(YXPDB_E_GENERIC, YxHolder_ParseElementName(nullptr, 8, 12, 0, 1, &r, &c));
    EXPECT_EQ(YXPDB_E_GENERIC, YxHolder_ParseElementName(L"A1", 8, 12, 0, 1, nullptr, &c));
}

TEST(HolderAlignment, StoredBytesAreSixLittleEndianDoubles) {
    SYxHolderAlignment m;
    m.a = 1.5;
    m.b = -0.25;
    m.c = 1000.125;
    m.d = 0.5;
    m.e = 2;
    m.f = -3;
    const CYxByteArray bytes = YxHolder_EncodeAlignment(m);
    ASSERT_EQ(48u, bytes.GetSize());
    // 1.5 = 0x3FF8000000000000, least significant byte first.
    const std::uint8_t first[8] = {0, 0, 0, 0, 0, 0, 0xF8, 0x3F};
    EXPECT_EQ(0, std::memcmp(bytes.GetData(), first, 8));
    const std::uint8_t last[8] = {0, 0, 0, 0, 0, 0, 0x08, 0xC0};  // -3.0
    EXPECT_EQ(0, std::memcmp(bytes.GetData() + 40, last, 8));
    SYxHolderAlignment back;
    ASSERT_EQ(0, YxHolder_DecodeAlignment(bytes, &back));
    EXPECT_EQ(m.a, back.a);
    EXPECT_EQ(m.c, back.c);
    EXPECT_EQ(m.f, back.f);
}

TEST(HolderAlignment, DamagedOrSingularMatricesAreRefused) {
    SYxHolderAlignment out;
    out.c = 42;
    EXPECT_EQ(YXPDB_E_NOTFOUND, YxHolder_DecodeAlignment(CYxByteArray(), &out));
    CYxByteArray shortBytes = YxHolder_EncodeAlignment(SYxHolderAlignment());
    shortBytes.Resize(47);
    EXPECT_EQ(YXPDB_E_HOLDER_DATA, YxHolder_DecodeAlignment(shortBytes, &out));
    SYxHolderAlignment singular;
    singular.a = 1;
    singular.b = 2;
    singular.d = 2;
    singular.e = 4;
    EXPECT_EQ(YXPDB_E_HOLDER_DATA, YxHolder_DecodeAlignment(YxHolder_EncodeAlignment(singular), &out));
    SYxHolderAlignment nan;
    nan.c = std::nan("");
    EXPECT_EQ(YXPDB_E_HOLDER_DATA, YxHolder_DecodeAlignment(YxHolder_EncodeAlignment(nan), &out));
    std::mt19937 rng(3);
    for (int i = 0; i < 2000; ++i) {
        std::vector<std::uint8_t> junk(rng() % 2 ? 48 : rng() % 100);
        for (auto& b : junk) b = static_cast<std::uint8_t>(rng());
        SYxHolderAlignment m;
        const int rc = YxHolder_DecodeAlignment(CYxByteArray(junk), &m);
        EXPECT_TRUE(rc == 0 || rc == YXPDB_E_HOLDER_DATA || (junk.empty() && rc == YXPDB_E_NOTFOUND));
    }
    EXPECT_EQ(42, out.c);
    EXPECT_EQ(YXPDB_E_HOLDER_DATA, YxHolder_InvertAlignment(singular, &out));
    EXPECT_EQ(YXPDB_E_GENERIC, YxHolder_InvertAlignment(singular, nullptr));
}

TEST(HolderAlignment, StageAndHolderCoordinatesRoundTrip) {
    const SYxHolderAlignment m = YxHolder_MakeAlignment(1.5, 1.01, 12000.5, -3400.25);
    const SYxHolderPoint s = YxHolder_HolderToStage(m, 14.38, 11.24);
    SYxHolderPoint h;
    ASSERT_EQ(0, YxHolder_StageToHolder(m, s.x, s.y, &h));
    EXPECT_NEAR(14.38, h.x, 1e-9);
    EXPECT_NEAR(11.24, h.y, 1e-9);
    // A pure offset moves the point by the offset.
    const SYxHolderPoint o = YxHolder_HolderToStage(YxHolder_MakeAlignment(0, 1, 10, 20), 1, 2);
    EXPECT_DOUBLE_EQ(11, o.x);
    EXPECT_DOUBLE_EQ(22, o.y);
    // 90 degrees turns +x (holder) to -y (stage).
    const SYxHolderPoint q = YxHolder_HolderToStage(YxHolder_MakeAlignment(90, 1, 0, 0), 1, 0);
    EXPECT_NEAR(0, q.x, 1e-12);
    EXPECT_NEAR(-1, q.y, 1e-12);
}

}  // namespace
