// Holder layouts in the table columns: round trips, stable bytes, and
// damaged bytes.
#include "framework/yxlitevariant.h"
#include "gnr_projectdb/holders.h"

#include <gtest/gtest.h>

#include <random>

namespace {

void ExpectSameLayout(const SYxHolderLayout& a, const SYxHolderLayout& b) {
    EXPECT_EQ(a.dWidth, b.dWidth);
    EXPECT_EQ(a.dHeight, b.dHeight);
    EXPECT_EQ(a.outline.eKind, b.outline.eKind);
    EXPECT_EQ(a.outline.dRadius, b.outline.dRadius);
    EXPECT_EQ(a.sticker.r, b.sticker.r);
    EXPECT_EQ(a.iNumCrosses, b.iNumCrosses);
    EXPECT_EQ(a.crosses.b, b.crosses.b);
    ASSERT_EQ(a.elements.size(), b.elements.size());
    for (std::size_t i = 0; i < a.elements.size(); ++i) {
        const SYxHolderElement& x = a.elements[i];
        const SYxHolderElement& y = b.elements[i];
        ASSERT_EQ(x.wszName, y.wszName);
        ASSERT_EQ(x.iRow, y.iRow);
        ASSERT_EQ(x.iCol, y.iCol);
        ASSERT_EQ(x.center.x, y.center.x);  // exact: numbers are stored in their shortest exact form
        ASSERT_EQ(x.center.y, y.center.y);
        ASSERT_EQ(x.shape.eKind, y.shape.eKind);
        ASSERT_EQ(x.shape.dWidth, y.shape.dWidth);
        ASSERT_EQ(x.shape.points.size(), y.shape.points.size());
        for (std::size_t k = 0; k < x.shape.points.size(); ++k) {
            ASSERT_EQ(x.shape.points[k].x, y.shape.points[k].x);
            ASSERT_EQ(x.shape.points[k].y, y.shape.points[k].y);
        }
    }
}

// Encodes a catalog entry into its table row(s) and decodes it again.
int RoundTrip(const SYxHolderEntry& e, SYxHolderLayout& out, std::vector<CYxByteArray>* blobs = nullptr) {
    if (e.eKind == eYxHolderPlate) {
        SYxProjectDbRow_wellplateconfiguration row;
        if (int rc = YxHolder_PlateToRow(e.layout, row)) return rc;
        if (blobs) blobs->push_back(row.pData);
        return YxHolder_PlateFromRow(row, out);
    }
    if (e.eKind == eYxHolderDish) {
        SYxProjectDbRow_dishconfiguration row;
        if (int rc = YxHolder_DishToRow(e.layout, row)) return rc;
        if (blobs) {
            blobs->push_back(row.layoutelement);
            blobs->push_back(row.surroundarea);
        }
        return YxHolder_DishFromRow(row, out);
    }
    SYxProjectDbRow_slidedef row;
    if (int rc = YxHolder_SlideToRow(e.layout, row)) return rc;
    if (blobs) {
        blobs->push_back(row.layoutelement);
        blobs->push_back(row.surroundarea);
    }
    return YxHolder_SlideFromRow(row, out);
}

TEST(HolderCodec, EveryCatalogEntryRoundTripsExactly) {
    int kinds[4] = {};
    for (const SYxHolderEntry& e : YxHolder_Catalog()) {
        SYxHolderLayout back;
        ASSERT_EQ(0, RoundTrip(e, back)) << YxHolder_FullName(e).ToUtf8();
        ExpectSameLayout(e.layout, back);
        ++kinds[e.eKind];
    }
    EXPECT_GE(kinds[eYxHolderPlate], 7);
    EXPECT_GE(kinds[eYxHolderDish], 8);
    EXPECT_GE(kinds[eYxHolderSlide], 7);
}

TEST(HolderCodec, StoredFormCarriesTheFormatVersionAndLocaleFreeNumbers) {
    const SYxHolderEntry& p96 = YxHolder_Catalog()[4];
    ASSERT_EQ(CYxStringW(L"96-well plate"), p96.wszType);
    SYxProjectDbRow_wellplateconfiguration row;
    ASSERT_EQ(0, YxHolder_PlateToRow(p96.layout, row));
    EXPECT_EQ(8, row.iRowCount);
    EXPECT_EQ(12, row.iColCount);
    EXPECT_EQ(eYxNamingLetters, row.iRowNaming);
    EXPECT_EQ(eYxNamingNumbers, row.iColNaming);
    CYxLiteVariantR r(row.pData);
    ASSERT_EQ(0, r.EnterGroup(L""));
    CYxStringW text;
    ASSERT_EQ(0, r.GetText(L"format", text));
    EXPECT_EQ(CYxStringW(L"1"), text);
    ASSERT_EQ(0, r.GetText(L"firstx", text));
    EXPECT_EQ(CYxStringW(L"14.38"), text);
    ASSERT_EQ(0, r.GetText(L"width", text));
    EXPECT_EQ(CYxStringW(L"127.76"), text);
    // The same layout always gives the same bytes.
    SYxProjectDbRow_wellplateconfiguration again;
    ASSERT_EQ(0, YxHolder_PlateToRow(p96.layout, again));
    EXPECT_EQ(row.pData, again.pData);
}

TEST(HolderCodec, UnknownFormatVersionsAndBadValuesAreRefused) {
    const SYxHolderEntry& p96 = YxHolder_Catalog()[4];
    SYxProjectDbRow_wellplateconfiguration row;
    ASSERT_EQ(0, YxHolder_PlateToRow(p96.layout, row));
    auto withEntry = [&](const wchar_t* name, const wchar_t* value) {
        CYxLiteVariantW w;
        w.Load(row.pData);
        w.OpenGroup(L"");
        w.AddText(name, value);
        SYxProjectDbRow_wellplateconfiguration changed = row;
        w.GetData(changed.pData);
        SYxHolderLayout out;
        return YxHolder_PlateFromRow(changed, out);
    };
    EXPECT_EQ(0, withEntry(L"firstx", L"14.38"));
    EXPECT_EQ(YXPDB_E_HOLDER_DATA, withEntry(L"format", L"2"));
    EXPECT_EQ(YXPDB_E_HOLDER_DATA, withEntry(L"firstx", L"14,38"));
    EXPECT_EQ(YXPDB_E_HOLDER_DATA, withEntry(L"pitchx", L"inf"));
    EXPECT_EQ(YXPDB_E_HOLDER_DATA, withEntry(L"pitchx", L"nan"));
    EXPECT_EQ(YXPDB_E_HOLDER_DATA, withEntry(L"pitchx", L"-9"));
    EXPECT_EQ(YXPDB_E_HOLDER_DATA, withEntry(L"pitchx", L"5"));  // wells of 6.65 mm would overlap
    EXPECT_EQ(YXPDB_E_HOLDER_DATA, withEntry(L"width", L"1e300"));
    SYxHolderLayout out;
    SYxProjectDbRow_wellplateconfiguration tooMany = row;
    tooMany.iRowCount = 100000;
    EXPECT_EQ(YXPDB_E_HOLDER_DATA, YxHolder_PlateFromRow(tooMany, out));
    tooMany.iRowCount = -1;
    EXPECT_EQ(YXPDB_E_HOLDER_DATA, YxHolder_PlateFromRow(tooMany, out));
    EXPECT_TRUE(out.elements.empty());  // untouched
}

TEST(HolderCodec, DamagedBytesNeverCrashAndNeverDecodeHalfway) {
    std::vector<CYxByteArray> blobs;
    std::vector<const SYxHolderEntry*> owners;
    for (const SYxHolderEntry& e : YxHolder_Catalog()) {
        SYxHolderLayout back;
        const std::size_t before = blobs.size();
        ASSERT_EQ(0, RoundTrip(e, back, &blobs));
        for (std::size_t i = before; i < blobs.size(); ++i) owners.push_back(&e);
    }
    std::mt19937 rng(11);
    int refused = 0, total = 0;
    for (std::size_t b = 0; b < blobs.size(); ++b) {
        for (int trial = 0; trial < 60; ++trial) {
            std::vector<std::uint8_t> bytes = blobs[b].bytes();
            switch (trial % 3) {
            case 0: bytes.resize(rng() % bytes.size()); break;                       // truncated
            case 1: bytes[rng() % bytes.size()] ^= static_cast<std::uint8_t>(1u << (rng() % 8)); break;  // bit flip
            case 2: for (auto& x : bytes) x = static_cast<std::uint8_t>(rng()); break;                     // noise
            }
            const SYxHolderEntry& e = *owners[b];
            SYxHolderLayout out;
            out.dWidth = -7;
            int rc = 0;
            if (e.eKind == eYxHolderPlate) {
                SYxProjectDbRow_wellplateconfiguration row;
                YxHolder_PlateToRow(e.layout, row);
                row.pData = CYxByteArray(bytes);
                rc = YxHolder_PlateFromRow(row, out);
            } else {
                SYxProjectDbRow_slidedef row;
                YxHolder_SlideToRow(e.layout, row);
                // Which of the two blobs this is: the first of each pair is layoutelement.
                const bool isElements = b == 0 || owners[b - 1] != owners[b];
                (isElements ? row.layoutelement : row.surroundarea) = CYxByteArray(bytes);
                rc = YxHolder_SlideFromRow(row, out);
            }
            ++total;
            if (rc != 0) {
                ASSERT_EQ(YXPDB_E_HOLDER_DATA, rc);
                ASSERT_EQ(-7, out.dWidth);  // the caller's layout is untouched
                ++refused;
            }
        }
    }
    EXPECT_GT(refused, total / 2);
}

TEST(HolderCodec, InvalidLayoutsAreNotWritten) {
    SYxHolderLayout l = YxHolder_Catalog()[4].layout;
    l.dPitchX = 1;  // wells overlap
    SYxProjectDbRow_wellplateconfiguration row;
    EXPECT_EQ(YXPDB_E_GENERIC, YxHolder_PlateToRow(l, row));
    EXPECT_TRUE(row.pData.IsEmpty());
    SYxHolderLayout free = YxHolder_Catalog().back().layout;
    free.elements[0].wszName.Empty();
    SYxProjectDbRow_slidedef slide;
    EXPECT_EQ(YXPDB_E_GENERIC, YxHolder_SlideToRow(free, slide));
    free = YxHolder_Catalog().back().layout;
    free.iNumCrosses = 5;
    EXPECT_EQ(YXPDB_E_GENERIC, YxHolder_SlideToRow(free, slide));
}

}  // namespace
