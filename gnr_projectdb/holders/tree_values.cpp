// Numbers and shapes in the key-value trees of the holder tables.
#include "gnr_projectdb/holders/tree_values.h"

#include "gnr_projectdb/holders.h"

#include <charconv>
#include <cmath>
#include <string>

namespace yxholder {

CYxStringW NumberText(double v) {
    char buf[64];
    const auto res = std::to_chars(buf, buf + sizeof buf, v);
    return CYxStringW(std::wstring(buf, res.ptr));
}

bool ParseNumber(const CYxStringW& text, double& v) {
    std::string s;
    s.reserve(text.GetLength());
    for (wchar_t c : text.str()) {
        if (c > 0x7F) return false;
        s += static_cast<char>(c);
    }
    if (s.empty()) return false;
    double out = 0;
    const auto res = std::from_chars(s.data(), s.data() + s.size(), out);
    if (res.ec != std::errc() || res.ptr != s.data() + s.size() || !std::isfinite(out)) return false;
    v = out;
    return true;
}

void PutNumber(CYxLiteVariantW& w, const wchar_t* name, double v) { w.AddText(name, NumberText(v)); }
void PutInt(CYxLiteVariantW& w, const wchar_t* name, int v) { w.AddText(name, NumberText(v)); }

bool GetNumber(const CYxLiteVariantR& r, const wchar_t* name, double& v) {
    CYxStringW text;
    return r.GetText(name, text) == YXLV_OK && ParseNumber(text, v);
}

bool GetInt(const CYxLiteVariantR& r, const wchar_t* name, int lo, int hi, int& v) {
    double d = 0;
    if (!GetNumber(r, name, d) || d != std::floor(d) || d < lo || d > hi) return false;
    v = static_cast<int>(d);
    return true;
}

namespace {
const wchar_t* KindName(EYxHolderShapeKind k) {
    switch (k) {
    case eYxShapeRect: return L"rect";
    case eYxShapeRoundRect: return L"roundrect";
    case eYxShapeEllipse: return L"ellipse";
    case eYxShapePolygon: return L"polygon";
    }
    return L"";
}
}  // namespace

bool ValidShape(const SYxHolderShape& s) {
    auto size = [](double v) { return std::isfinite(v) && v >= 0 && v <= kMaxSize; };
    switch (s.eKind) {
    case eYxShapeRect:
    case eYxShapeEllipse:
        return size(s.dWidth) && size(s.dHeight);
    case eYxShapeRoundRect:
        return size(s.dWidth) && size(s.dHeight) && size(s.dRadius);
    case eYxShapePolygon:
        if (s.points.size() < 3 || s.points.size() > static_cast<std::size_t>(kMaxPoints)) return false;
        for (const SYxHolderPoint& p : s.points)
            if (!std::isfinite(p.x) || !std::isfinite(p.y) || std::fabs(p.x) > kMaxSize || std::fabs(p.y) > kMaxSize)
                return false;
        return true;
    }
    return false;
}

void PutShape(CYxLiteVariantW& w, const wchar_t* group, const SYxHolderShape& s) {
    w.OpenGroup(group);
    w.AddText(L"kind", KindName(s.eKind));
    if (s.eKind == eYxShapePolygon) {
        CYxStringW pts;
        for (const SYxHolderPoint& p : s.points) {
            if (!pts.IsEmpty()) pts += L' ';
            pts += NumberText(p.x);
            pts += L' ';
            pts += NumberText(p.y);
        }
        w.AddText(L"points", pts);
    } else {
        PutNumber(w, L"w", s.dWidth);
        PutNumber(w, L"h", s.dHeight);
        if (s.eKind == eYxShapeRoundRect) PutNumber(w, L"r", s.dRadius);
    }
    w.CloseGroup();
}

bool GetShape(CYxLiteVariantR& r, const wchar_t* group, SYxHolderShape& out) {
    if (r.EnterGroup(group) != YXLV_OK) return false;
    SYxHolderShape s;
    CYxStringW kind;
    bool ok = r.GetText(L"kind", kind) == YXLV_OK;
    if (ok) {
        if (kind == L"rect") s.eKind = eYxShapeRect;
        else if (kind == L"roundrect") s.eKind = eYxShapeRoundRect;
        else if (kind == L"ellipse") s.eKind = eYxShapeEllipse;
        else if (kind == L"polygon") s.eKind = eYxShapePolygon;
        else ok = false;
    }
    if (ok && s.eKind == eYxShapePolygon) {
        CYxStringW pts;
        ok = r.GetText(L"points", pts) == YXLV_OK;
        std::vector<double> values;
        const std::wstring& t = pts.str();
        for (std::size_t i = 0; ok && i < t.size();) {
            const std::size_t j = std::min(t.find(L' ', i), t.size());
            double v = 0;
            ok = ParseNumber(CYxStringW(t.substr(i, j - i)), v) && values.size() < 2u * kMaxPoints;
            values.push_back(v);
            i = j + 1;
        }
        if (ok && values.size() % 2 == 0)
            for (std::size_t i = 0; i < values.size(); i += 2) s.points.push_back({values[i], values[i + 1]});
        else ok = false;
    } else if (ok) {
        ok = GetNumber(r, L"w", s.dWidth) && GetNumber(r, L"h", s.dHeight);
        if (ok && s.eKind == eYxShapeRoundRect) ok = GetNumber(r, L"r", s.dRadius);
    }
    r.LeaveGroup();
    if (!ok || !ValidShape(s)) return false;
    out = std::move(s);
    return true;
}

void OpenRoot(CYxLiteVariantW& w) {
    w.OpenGroup(L"");
    PutInt(w, L"format", YX_HOLDER_FORMAT_VERSION);
}

bool EnterRoot(CYxLiteVariantR& r) {
    int format = 0;
    return r.Status() == YXLV_OK && r.EnterGroup(L"") == YXLV_OK &&
           GetInt(r, L"format", 1, YX_HOLDER_FORMAT_VERSION, format);
}

}  // namespace yxholder
