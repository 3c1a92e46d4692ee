// Sample holders as JSON (holders_json.h).
#include "holders_json.h"

#include <QJsonArray>
#include <QString>

#include <cmath>

namespace {

QString Q(const CYxStringW& s) { return QString::fromStdWString(s.str()); }
CYxStringW W(const QString& s) { return CYxStringW(s.toStdWString()); }

const char* KindName(EYxHolderKind k) {
    return k == eYxHolderPlate ? "plate" : k == eYxHolderDish ? "dish" : "slide";
}
const char* NamingName(int n) {
    return n == eYxNamingLetters ? "letters" : n == eYxNamingNumbersPadded ? "padded" : "numbers";
}

QJsonObject Point(const SYxHolderPoint& p) { return QJsonObject{{"x", p.x}, {"y", p.y}}; }

QJsonObject Shape(const SYxHolderShape& s) {
    QJsonObject o;
    switch (s.eKind) {
    case eYxShapeRect: o["kind"] = "rect"; break;
    case eYxShapeRoundRect: o["kind"] = "roundrect"; break;
    case eYxShapeEllipse: o["kind"] = "ellipse"; break;
    case eYxShapePolygon: o["kind"] = "polygon"; break;
    }
    if (s.eKind == eYxShapePolygon) {
        QJsonArray pts;
        for (const SYxHolderPoint& p : s.points) pts.append(QJsonArray{p.x, p.y});
        o["points"] = pts;
    } else {
        o["width"] = s.dWidth;
        o["height"] = s.dHeight;
        if (s.eKind == eYxShapeRoundRect) o["radius"] = s.dRadius;
    }
    return o;
}

// ---- reading

struct SReader {
    std::string* error;
    bool ok = true;
    void Fail(const std::string& what) {
        if (ok && error) *error = what;
        ok = false;
    }
    double Number(const QJsonObject& o, const char* key) {
        const QJsonValue v = o.value(key);
        if (!v.isDouble() || !std::isfinite(v.toDouble())) {
            Fail(std::string("\"") + key + "\" must be a number");
            return 0;
        }
        return v.toDouble();
    }
    int Int(const QJsonObject& o, const char* key) {
        const double d = Number(o, key);
        if (ok && (d != std::floor(d) || std::fabs(d) > 1e6)) Fail(std::string("\"") + key + "\" must be a whole number");
        return ok ? static_cast<int>(d) : 0;
    }
    QJsonObject Object(const QJsonObject& o, const char* key) {
        if (!o.value(key).isObject()) Fail(std::string("\"") + key + "\" must be an object");
        return o.value(key).toObject();
    }
    SYxHolderPoint Point(const QJsonObject& o, const char* key) {
        const QJsonObject p = Object(o, key);
        return ok ? SYxHolderPoint{Number(p, "x"), Number(p, "y")} : SYxHolderPoint{};
    }
    int Naming(const QJsonObject& o, const char* key) {
        const QString n = o.value(key).toString();
        if (n == "letters") return eYxNamingLetters;
        if (n == "numbers") return eYxNamingNumbers;
        if (n == "padded") return eYxNamingNumbersPadded;
        Fail(std::string("\"") + key + "\" must be \"letters\", \"numbers\" or \"padded\"");
        return 0;
    }
    SYxHolderShape Shape(const QJsonObject& parent, const char* key) {
        const QJsonObject o = Object(parent, key);
        SYxHolderShape s;
        if (!ok) return s;
        const QString kind = o.value("kind").toString();
        if (kind == "polygon") {
            s.eKind = eYxShapePolygon;
            const QJsonArray pts = o.value("points").toArray();
            for (const QJsonValue& p : pts) {
                const QJsonArray xy = p.toArray();
                if (xy.size() != 2 || !xy[0].isDouble() || !xy[1].isDouble()) {
                    Fail("polygon points must be [x, y] pairs");
                    return s;
                }
                s.points.push_back({xy[0].toDouble(), xy[1].toDouble()});
            }
            return s;
        }
        if (kind == "rect") s.eKind = eYxShapeRect;
        else if (kind == "roundrect") s.eKind = eYxShapeRoundRect;
        else if (kind == "ellipse") s.eKind = eYxShapeEllipse;
        else {
            Fail("unknown shape kind \"" + kind.toStdString() + "\"");
            return s;
        }
        s.dWidth = Number(o, "width");
        s.dHeight = Number(o, "height");
        if (s.eKind == eYxShapeRoundRect) s.dRadius = Number(o, "radius");
        return s;
    }
};

}  // namespace

QJsonObject YxTool_HolderToJson(const SYxHolderEntry& e) {
    const SYxHolderLayout& l = e.layout;
    QJsonObject o;
    o["uuid"] = Q(e.wszUuid);
    o["kind"] = KindName(e.eKind);
    o["name"] = Q(YxHolder_FullName(e));
    o["company"] = Q(e.wszCompany);
    o["type"] = Q(e.wszType);
    o["model"] = Q(e.wszModel);
    o["userImported"] = e.iUserImported != 0;
    o["removed"] = e.iRemoved != 0;
    o["width"] = l.dWidth;
    o["height"] = l.dHeight;
    o["outline"] = Shape(l.outline);
    if (l.sticker.r > l.sticker.l || l.sticker.b > l.sticker.t)
        o["sticker"] = QJsonObject{{"l", l.sticker.l}, {"t", l.sticker.t}, {"r", l.sticker.r}, {"b", l.sticker.b}};
    QJsonArray crosses;
    for (const SYxHolderPoint& p : YxHolder_CrossPoints(l)) crosses.append(Point(p));
    if (!crosses.isEmpty()) o["crosses"] = crosses;
    if (!e.wszSlideUuid.IsEmpty()) o["slideUuid"] = Q(e.wszSlideUuid);
    if (e.eKind == eYxHolderPlate) {
        o["grid"] = QJsonObject{{"rows", l.iRows},
                                {"cols", l.iCols},
                                {"rowNaming", NamingName(l.iRowNaming)},
                                {"colNaming", NamingName(l.iColNaming)},
                                {"first", Point(l.first)},
                                {"pitch", QJsonObject{{"x", l.dPitchX}, {"y", l.dPitchY}}},
                                {"well", Shape(l.well)}};
    }
    QJsonArray elements;
    for (const SYxHolderElement& el : l.elements)
        elements.append(QJsonObject{{"name", Q(el.wszName)},
                                    {"row", el.iRow},
                                    {"col", el.iCol},
                                    {"center", Point(el.center)},
                                    {"shape", Shape(el.shape)}});
    o["elements"] = elements;
    return o;
}

bool YxTool_HolderFromJson(const QJsonObject& o, SYxHolderEntry& entry, std::string* error) {
    SReader r{error};
    SYxHolderEntry e;
    const QString kind = o.value("kind").toString();
    if (kind == "plate") e.eKind = eYxHolderPlate;
    else if (kind == "dish") e.eKind = eYxHolderDish;
    else if (kind == "slide") e.eKind = eYxHolderSlide;
    else r.Fail("\"kind\" must be \"plate\", \"dish\" or \"slide\"");
    e.wszUuid = W(o.value("uuid").toString());
    e.wszCompany = W(o.value("company").toString());
    e.wszType = W(o.value("type").toString());
    e.wszModel = W(o.value("model").toString());
    e.wszSlideUuid = W(o.value("slideUuid").toString());
    SYxHolderLayout& l = e.layout;
    l.eKind = e.eKind;
    l.dWidth = r.Number(o, "width");
    l.dHeight = r.Number(o, "height");
    l.outline = r.Shape(o, "outline");
    if (r.ok && o.contains("sticker")) {
        const QJsonObject s = r.Object(o, "sticker");
        if (r.ok) l.sticker = SYxHolderRect{r.Number(s, "l"), r.Number(s, "t"), r.Number(s, "r"), r.Number(s, "b")};
    }
    if (r.ok && o.contains("crosses")) {
        const QJsonArray c = o.value("crosses").toArray();
        if (c.size() > 4) r.Fail("at most 4 crosses");
        std::vector<SYxHolderPoint> pts;
        for (const QJsonValue& v : c) pts.push_back(r.Point(QJsonObject{{"p", v}}, "p"));
        l.iNumCrosses = static_cast<int>(pts.size());
        // Crosses lie on the corners of one rectangle: top-left, bottom-right, ...
        if (!pts.empty()) l.crosses = SYxHolderRect{pts[0].x, pts[0].y, pts[0].x, pts[0].y};
        if (pts.size() > 1) {
            l.crosses.r = pts[1].x;
            l.crosses.b = pts[1].y;
        }
    }
    if (r.ok && e.eKind == eYxHolderPlate) {
        const QJsonObject g = r.Object(o, "grid");
        if (r.ok) {
            l.iRows = r.Int(g, "rows");
            l.iCols = r.Int(g, "cols");
            l.iRowNaming = r.Naming(g, "rowNaming");
            l.iColNaming = r.Naming(g, "colNaming");
            l.first = r.Point(g, "first");
            const SYxHolderPoint pitch = r.Point(g, "pitch");
            l.dPitchX = pitch.x;
            l.dPitchY = pitch.y;
            l.well = r.Shape(g, "well");
            if (r.ok && YxHolder_BuildGrid(l) != 0) r.Fail("the grid is not valid (counts, pitch, or wells wider than their pitch)");
        }
    } else if (r.ok) {
        for (const QJsonValue& v : o.value("elements").toArray()) {
            const QJsonObject eo = v.toObject();
            SYxHolderElement el;
            el.wszName = W(eo.value("name").toString());
            if (el.wszName.IsEmpty()) r.Fail("every element needs a \"name\"");
            el.iRow = eo.contains("row") ? r.Int(eo, "row") : 0;
            el.iCol = eo.contains("col") ? r.Int(eo, "col") : 0;
            el.center = r.Point(eo, "center");
            el.shape = r.Shape(eo, "shape");
            if (!r.ok) break;
            l.elements.push_back(std::move(el));
        }
        if (r.ok && l.elements.empty()) r.Fail("\"elements\" must list at least one element");
    }
    if (!r.ok) return false;
    entry = std::move(e);
    return true;
}
