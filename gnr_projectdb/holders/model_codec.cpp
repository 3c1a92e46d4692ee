// Holder layouts in the columns of the definition tables (holders.h gives
// the stored form).
#include "gnr_projectdb/holders.h"

#include "gnr_projectdb/holders/tree_values.h"

#include <cmath>

using namespace yxholder;

namespace {

bool ValidSize(double v) { return std::isfinite(v) && v > 0 && v <= kMaxSize; }

bool ValidRect(const SYxHolderRect& r) {
    return std::isfinite(r.l) && std::isfinite(r.t) && std::isfinite(r.r) && std::isfinite(r.b) && r.l <= r.r &&
           r.t <= r.b;
}

CYxByteArray Bytes(const CYxLiteVariantW& w) {
    CYxByteArray out;
    w.GetData(out);
    return out;
}

// ---- outline (pData of plates, surroundarea of dishes and slides)

void PutOutline(CYxLiteVariantW& w, const SYxHolderLayout& l) {
    PutNumber(w, L"width", l.dWidth);
    PutNumber(w, L"height", l.dHeight);
    PutShape(w, L"outline", l.outline);
}

bool GetOutline(CYxLiteVariantR& r, SYxHolderLayout& l) {
    return GetNumber(r, L"width", l.dWidth) && GetNumber(r, L"height", l.dHeight) && ValidSize(l.dWidth) &&
           ValidSize(l.dHeight) && GetShape(r, L"outline", l.outline);
}

CYxByteArray EncodeSurround(const SYxHolderLayout& l) {
    CYxLiteVariantW w;
    OpenRoot(w);
    PutOutline(w, l);
    return Bytes(w);
}

bool DecodeSurround(const CYxByteArray& bytes, SYxHolderLayout& l) {
    CYxLiteVariantR r(bytes);
    return EnterRoot(r) && GetOutline(r, l);
}

// ---- free elements (layoutelement of dishes and slides)

CYxByteArray EncodeElements(const SYxHolderLayout& l) {
    CYxLiteVariantW w;
    OpenRoot(w);
    w.OpenGroup(L"elements");
    for (std::size_t i = 0; i < l.elements.size(); ++i) {
        const SYxHolderElement& e = l.elements[i];
        w.OpenGroup(NumberText(static_cast<double>(i)));
        w.AddText(L"name", e.wszName);
        PutInt(w, L"row", e.iRow);
        PutInt(w, L"col", e.iCol);
        PutNumber(w, L"x", e.center.x);
        PutNumber(w, L"y", e.center.y);
        PutShape(w, L"shape", e.shape);
        w.CloseGroup();
    }
    w.CloseGroup();
    return Bytes(w);
}

bool DecodeElements(const CYxByteArray& bytes, SYxHolderLayout& l) {
    CYxLiteVariantR r(bytes);
    if (!EnterRoot(r) || r.EnterGroup(L"elements") != YXLV_OK) return false;
    const int count = r.GetCount();
    if (count > kMaxElements) return false;
    std::vector<SYxHolderElement> elements;
    for (int i = 0; i < count; ++i) {
        if (r.EnterGroup(NumberText(i)) != YXLV_OK) return false;
        SYxHolderElement e;
        const bool ok = r.GetText(L"name", e.wszName) == YXLV_OK && !e.wszName.IsEmpty() &&
                        GetInt(r, L"row", 0, 1 << 20, e.iRow) && GetInt(r, L"col", 0, 1 << 20, e.iCol) &&
                        GetNumber(r, L"x", e.center.x) && GetNumber(r, L"y", e.center.y) &&
                        std::fabs(e.center.x) <= kMaxSize && std::fabs(e.center.y) <= kMaxSize &&
                        GetShape(r, L"shape", e.shape);
        r.LeaveGroup();
        if (!ok) return false;
        elements.push_back(std::move(e));
    }
    l.elements = std::move(elements);
    return true;
}

bool ValidFreeLayout(const SYxHolderLayout& l) {
    if (!ValidSize(l.dWidth) || !ValidSize(l.dHeight) || !ValidShape(l.outline) || !ValidRect(l.sticker)) return false;
    if (l.elements.size() > static_cast<std::size_t>(kMaxElements)) return false;
    for (const SYxHolderElement& e : l.elements)
        if (e.wszName.IsEmpty() || !ValidShape(e.shape) || !std::isfinite(e.center.x) || !std::isfinite(e.center.y) ||
            e.iRow < 0 || e.iCol < 0)
            return false;
    return true;
}

}  // namespace

int YxHolder_PlateToRow(const SYxHolderLayout& layout, SYxProjectDbRow_wellplateconfiguration& row) {
    SYxHolderLayout check = layout;
    if (!ValidSize(layout.dWidth) || !ValidSize(layout.dHeight) || !ValidShape(layout.outline) ||
        !ValidShape(layout.well) || YxHolder_BuildGrid(check) != YXPDB_OK)
        return YXPDB_E_GENERIC;
    CYxLiteVariantW w;
    OpenRoot(w);
    PutOutline(w, layout);
    PutNumber(w, L"firstx", layout.first.x);
    PutNumber(w, L"firsty", layout.first.y);
    PutNumber(w, L"pitchx", layout.dPitchX);
    PutNumber(w, L"pitchy", layout.dPitchY);
    PutShape(w, L"well", layout.well);
    row.iRowCount = layout.iRows;
    row.iColCount = layout.iCols;
    row.iRowNaming = layout.iRowNaming;
    row.iColNaming = layout.iColNaming;
    row.pData = Bytes(w);
    return YXPDB_OK;
}

int YxHolder_PlateFromRow(const SYxProjectDbRow_wellplateconfiguration& row, SYxHolderLayout& layout) {
    SYxHolderLayout l;
    l.eKind = eYxHolderPlate;
    l.iRows = row.iRowCount;
    l.iCols = row.iColCount;
    l.iRowNaming = row.iRowNaming;
    l.iColNaming = row.iColNaming;
    CYxLiteVariantR r(row.pData);
    if (!EnterRoot(r) || !GetOutline(r, l) || !GetNumber(r, L"firstx", l.first.x) ||
        !GetNumber(r, L"firsty", l.first.y) || !GetNumber(r, L"pitchx", l.dPitchX) ||
        !GetNumber(r, L"pitchy", l.dPitchY) || !GetShape(r, L"well", l.well))
        return YXPDB_E_HOLDER_DATA;
    if (YxHolder_BuildGrid(l) != YXPDB_OK) return YXPDB_E_HOLDER_DATA;
    layout = std::move(l);
    return YXPDB_OK;
}

int YxHolder_DishToRow(const SYxHolderLayout& layout, SYxProjectDbRow_dishconfiguration& row) {
    if (!ValidFreeLayout(layout)) return YXPDB_E_GENERIC;
    row.stickerL = layout.sticker.l;
    row.stickerT = layout.sticker.t;
    row.stickerR = layout.sticker.r;
    row.stickerB = layout.sticker.b;
    row.layoutelement = EncodeElements(layout);
    row.surroundarea = EncodeSurround(layout);
    return YXPDB_OK;
}

int YxHolder_DishFromRow(const SYxProjectDbRow_dishconfiguration& row, SYxHolderLayout& layout) {
    SYxHolderLayout l;
    l.eKind = eYxHolderDish;
    l.sticker = SYxHolderRect{row.stickerL, row.stickerT, row.stickerR, row.stickerB};
    if (!ValidRect(l.sticker) || !DecodeSurround(row.surroundarea, l) || !DecodeElements(row.layoutelement, l))
        return YXPDB_E_HOLDER_DATA;
    layout = std::move(l);
    return YXPDB_OK;
}

int YxHolder_SlideToRow(const SYxHolderLayout& layout, SYxProjectDbRow_slidedef& row) {
    if (!ValidFreeLayout(layout) || !ValidRect(layout.crosses) || layout.iNumCrosses < 0 || layout.iNumCrosses > 4)
        return YXPDB_E_GENERIC;
    row.stickerL = layout.sticker.l;
    row.stickerT = layout.sticker.t;
    row.stickerR = layout.sticker.r;
    row.stickerB = layout.sticker.b;
    row.layoutelement = EncodeElements(layout);
    row.surroundarea = EncodeSurround(layout);
    row.iNumCrosses = layout.iNumCrosses;
    row.crossesL = layout.crosses.l;
    row.crossesT = layout.crosses.t;
    row.crossesR = layout.crosses.r;
    row.crossesB = layout.crosses.b;
    return YXPDB_OK;
}

int YxHolder_SlideFromRow(const SYxProjectDbRow_slidedef& row, SYxHolderLayout& layout) {
    SYxHolderLayout l;
    l.eKind = eYxHolderSlide;
    l.sticker = SYxHolderRect{row.stickerL, row.stickerT, row.stickerR, row.stickerB};
    l.iNumCrosses = row.iNumCrosses;
    l.crosses = SYxHolderRect{row.crossesL, row.crossesT, row.crossesR, row.crossesB};
    if (!ValidRect(l.sticker) || !ValidRect(l.crosses) || l.iNumCrosses < 0 || l.iNumCrosses > 4 ||
        !DecodeSurround(row.surroundarea, l) || !DecodeElements(row.layoutelement, l))
        return YXPDB_E_HOLDER_DATA;
    layout = std::move(l);
    return YXPDB_OK;
}

CYxStringW YxHolder_FullName(const SYxHolderEntry& e) {
    CYxStringW name;
    for (const CYxStringW* part : {&e.wszCompany, &e.wszType, &e.wszModel}) {
        if (part->IsEmpty()) continue;
        if (!name.IsEmpty()) name += L' ';
        name += *part;
    }
    return name;
}
