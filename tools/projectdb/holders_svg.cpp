// A holder layout as an SVG picture (holders_svg.h).
#include "holders_svg.h"

#include "gnr_projectdb/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace {

// A number with at most three decimals, no trailing zeros, '.' as the point.
std::string Num(double v) {
    char buf[64];
    const auto res = std::to_chars(buf, buf + sizeof buf, v, std::chars_format::fixed, 3);
    std::string s(buf, res.ptr);
    while (s.find('.') != std::string::npos && (s.back() == '0' || s.back() == '.')) {
        const bool dot = s.back() == '.';
        s.pop_back();
        if (dot) break;
    }
    return s == "-0" ? "0" : s;
}

std::string Escape(const std::wstring& text) {
    std::string out;
    for (char c : CYxStringW(text).ToUtf8()) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        default: out += c;
        }
    }
    return out;
}

// The shape at (cx, cy) as one SVG element with the given attributes.
std::string ShapeSvg(const SYxHolderShape& s, double cx, double cy, const std::string& attrs) {
    switch (s.eKind) {
    case eYxShapeEllipse:
        return "<ellipse cx=\"" + Num(cx) + "\" cy=\"" + Num(cy) + "\" rx=\"" + Num(s.dWidth / 2) + "\" ry=\"" +
               Num(s.dHeight / 2) + "\" " + attrs + "/>";
    case eYxShapeRect:
    case eYxShapeRoundRect: {
        std::string r;
        if (s.eKind == eYxShapeRoundRect) r = " rx=\"" + Num(s.dRadius) + "\"";
        return "<rect x=\"" + Num(cx - s.dWidth / 2) + "\" y=\"" + Num(cy - s.dHeight / 2) + "\" width=\"" +
               Num(s.dWidth) + "\" height=\"" + Num(s.dHeight) + "\"" + r + " " + attrs + "/>";
    }
    case eYxShapePolygon: {
        std::string pts;
        for (const SYxHolderPoint& p : s.points) pts += Num(cx + p.x) + "," + Num(cy + p.y) + " ";
        if (!pts.empty()) pts.pop_back();
        return "<polygon points=\"" + pts + "\" " + attrs + "/>";
    }
    }
    return std::string();
}

}  // namespace

int YxTool_SvgWidth(const SYxHolderLayout& l) { return static_cast<int>(std::ceil(l.dWidth * kYxSvgPixelsPerMm)); }
int YxTool_SvgHeight(const SYxHolderLayout& l) { return static_cast<int>(std::ceil(l.dHeight * kYxSvgPixelsPerMm)); }

std::string YxTool_HolderSvg(const SYxHolderLayout& l, const std::wstring& title, const std::set<std::wstring>& marked) {
    const int w = YxTool_SvgWidth(l), h = YxTool_SvgHeight(l);
    // The viewBox keeps the pixel size exact: it spans the rounded-up pixels.
    std::string svg = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    svg += "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + std::to_string(w) + "\" height=\"" +
           std::to_string(h) + "\" viewBox=\"0 0 " + Num(w / kYxSvgPixelsPerMm) + " " + Num(h / kYxSvgPixelsPerMm) +
           "\">\n";
    svg += "<title>" + Escape(title) + "</title>\n";
    svg += ShapeSvg(l.outline, l.dWidth / 2, l.dHeight / 2,
                    std::string("fill=\"") + kYxSvgHolderFill + "\" stroke=\"#404040\" stroke-width=\"0.3\"") + "\n";
    if (l.sticker.r > l.sticker.l && l.sticker.b > l.sticker.t)
        svg += "<rect x=\"" + Num(l.sticker.l) + "\" y=\"" + Num(l.sticker.t) + "\" width=\"" +
               Num(l.sticker.r - l.sticker.l) + "\" height=\"" + Num(l.sticker.b - l.sticker.t) +
               "\" fill=\"#a0a0a0\"/>\n";
    for (const SYxHolderPoint& p : YxHolder_CrossPoints(l))
        svg += "<path d=\"M" + Num(p.x - 1.5) + " " + Num(p.y) + "h3M" + Num(p.x) + " " + Num(p.y - 1.5) +
               "v3\" stroke=\"#c00000\" stroke-width=\"0.25\"/>\n";
    for (const SYxHolderElement& e : l.elements) {
        const bool mark = marked.count(e.wszName.str()) > 0;
        const SYxHolderRect b = YxHolder_ShapeBounds(e.shape);
        const double ew = b.r - b.l, eh = b.b - b.t;
        const double stroke = std::clamp(std::min(ew, eh) * 0.04, 0.02, 0.25);
        svg += ShapeSvg(e.shape, e.center.x, e.center.y,
                        std::string("fill=\"") + (mark ? kYxSvgMarkedFill : kYxSvgWellFill) +
                            "\" stroke=\"#202020\" stroke-width=\"" + Num(stroke) + "\"") + "\n";
        // The name sits in the lower part of the element, clear of its centre.
        const double size = std::min(std::min(ew, eh) * 0.28, 3.0);
        svg += "<text x=\"" + Num(e.center.x) + "\" y=\"" + Num(e.center.y + b.b * 0.8) + "\" font-size=\"" +
               Num(size) + "\" font-family=\"sans-serif\" text-anchor=\"middle\" fill=\"" +
               (mark ? "#ffffff" : "#202020") + "\">" + Escape(e.wszName.str()) + "</text>\n";
    }
    svg += "</svg>\n";
    return svg;
}
