// The built-in catalog of sample holders: the figures, with their sources.
//
// Every entry has fixed uuids (the same in every database, so that two
// databases can be compared and merged entry by entry). Never change a uuid;
// an entry that is withdrawn is taken out of these tables (databases keep it,
// marked removed), a changed entry keeps its uuids and the catalog version
// (YX_HOLDER_CATALOG_VERSION) goes up.
//
// Sources. No figure below is taken from a maker's drawing, so every entry's
// company is "Generic".
//   - Footprint of SBS plates and of the slide frame: ANSI/SLAS 1-2004,
//     outside 127.76 x 85.48 mm, corner radius 3.18 mm.
//   - 96, 384 and 1536 wells: ANSI/SLAS 4-2004, centre of A1 from the left and
//     top outside edges and the pitch. Well sizes: typical inner sizes at the
//     top (96 round 6.4-6.9, 384 square 3.6-3.8, 1536 square 1.5-1.7 mm); the
//     middle of each range is used.
//   - 6, 12, 24 and 48 wells (not covered by the well-position standard): the
//     values commonly used by open acquisition software for generic plates
//     (A1 position, pitch, well diameter).
//   - Slides: ISO 8037-1 (76 x 26 mm) and the common commercial 75 x 25 mm;
//     label (frosted) area 20 mm at the left end. Chamber slides: 1, 2, 4 chambers
//     in one row and 8 chambers in 2 x 4 on 75 x 25 mm, chambers laid out
//     evenly over the area right of the label.
//   - Dishes: named by the nominal outer diameter 35, 60, 100 mm, inner
//     diameter 34.5, 53 and 87 mm; glass-bottom areas of 10, 14, 20 and 27 mm
//     diameter in the centre; 2, 3 and 4 compartments as equal sectors of the
//     35 mm dish's inner area with 1 mm walls.
//   - Four-slide frame: SBS footprint holding four 76 x 26 mm slides side by
//     side, long edge along y, 28.5 mm apart, centred on the footprint; two
//     fiducial crosses 4 mm in from opposite corners.
#include "gnr_projectdb/holders.h"

#include <cmath>

namespace {

const wchar_t kGeneric[] = L"Generic";
const double kSbsWidth = 127.76, kSbsHeight = 85.48, kSbsCorner = 3.18;
const double kPi = 3.14159265358979323846;

struct SPlateData {
    const wchar_t* uuid;
    const wchar_t* configUuid;
    const wchar_t* type;
    const wchar_t* model;
    int rows, cols;
    double firstX, firstY, pitch;
    bool round;
    double wellSize;  // diameter or side
};

const SPlateData kPlates[] = {
    {L"7a07d2d009f84858b26a219a09fe9896", L"6638862876cd4f878e6a20d3a184ba56", L"6-well plate", L"SBS round wells",
     2, 3, 24.76, 23.16, 39.12, true, 34.80},
    {L"9f3165e8fffc411b8d28d4d7f3e2a6fb", L"c3fd27c6f7f6432da5bea758c5b44b01", L"12-well plate", L"SBS round wells",
     3, 4, 24.94, 16.79, 26.01, true, 22.11},
    {L"cd732acc63364b228ad1575448278c9c", L"d2329527f55148efbcae82588db2bcaa", L"24-well plate", L"SBS round wells",
     4, 6, 17.05, 13.67, 19.30, true, 15.54},
    {L"a491311862c24f5699d85c344d387048", L"ef10c6f3958c47d1bbee496de625dc4f", L"48-well plate", L"SBS round wells",
     6, 8, 18.38, 10.24, 13.00, true, 11.37},
    {L"db6ef6f4d0ce4734b74414dbe7450a2f", L"09e9d2738dff4fff8886fa88f1a56801", L"96-well plate", L"SBS round wells",
     8, 12, 14.38, 11.24, 9.00, true, 6.65},
    {L"a6e13bccbd4d4390aff6226822057f2c", L"97d77e41a8b04ecf977b301c0e7c0d5c", L"384-well plate", L"SBS square wells",
     16, 24, 12.13, 8.99, 4.50, false, 3.70},
    {L"f1ada1386a17446bafbc517b6f884165", L"f2c922be1d23455d98bac6cce75d66f8", L"1536-well plate",
     L"SBS square wells", 32, 48, 11.005, 7.865, 2.25, false, 1.60},
};

struct SDishData {
    const wchar_t* uuid;
    const wchar_t* configUuid;
    const wchar_t* type;
    const wchar_t* model;
    double outer;
    double area;       // diameter of the one central element (inner or glass area)
    int compartments;  // > 0: sectors of the inner area instead
};

const SDishData kDishes[] = {
    {L"2679c003efe74bccaf5b194df0df6448", L"a82b70da36dd4de4b93dca94a5f00319", L"35 mm dish", L"plain", 35, 34.5, 0},
    {L"cd9ec2f8e21b4990894201369e529b3e", L"a283c27247164355b3c63af7c845dd4f", L"35 mm dish",
     L"glass bottom 10 mm", 35, 10, 0},
    {L"2745cb44522d4214b10ab2f8d2cd8297", L"4638896656e34d26bdf2d4b653e9d78b", L"35 mm dish",
     L"glass bottom 14 mm", 35, 14, 0},
    {L"63e50e9154264216837c14cf8c02ad17", L"8e41bf8b7d104eb98de8eddb30ae4195", L"35 mm dish",
     L"glass bottom 20 mm", 35, 20, 0},
    {L"73ded347f52e432f86320d0385448e7f", L"0c983cd453e649c588a2073a5dbe5036", L"35 mm dish",
     L"glass bottom 27 mm", 35, 27, 0},
    {L"2ca19e905bbe471f83347559fe62faa4", L"18a0877db639481cb08d01b7c6d290a5", L"35 mm dish",
     L"2 compartments", 35, 34.5, 2},
    {L"fd7f67c872a547cca6838deabd420bb9", L"da445ec66a9a40c69e8652ad3646c829", L"35 mm dish",
     L"3 compartments", 35, 34.5, 3},
    {L"5a4843fd7b524d548785918aadd70657", L"7d584ae418274179b35a8d2b7a3cf7c4", L"35 mm dish",
     L"4 compartments", 35, 34.5, 4},
    {L"0179910ed04f41a084259d00c4b17c98", L"d3714e68bbfc4a7e9e68d3a505358e24", L"60 mm dish", L"plain", 60, 53, 0},
    {L"0c321ee4dd44438089bf6717f5ab4a9f", L"b53209bb7ce745d5aafe889c63ae1ec7", L"60 mm dish",
     L"glass bottom 27 mm", 60, 27, 0},
    {L"a07b032ad6b14dbaa30d06cfbf2827e3", L"1ad4297750514a68a96c31f024bc4347", L"100 mm dish", L"plain", 100, 87, 0},
};

struct SChamber {
    double x, y, w, h;
    const wchar_t* name;
    int row, col;
};

struct SSlideData {
    const wchar_t* uuid;
    const wchar_t* type;
    const wchar_t* model;
    double width, height;
    double label;    // label area at the left end (mm), 0 for none
    bool chambered;  // chambers with rounded corners; otherwise the free area of the slide
    std::vector<SChamber> chambers;
};

const double kSlideCorner = 1.0;  // chamber corner radius

const wchar_t kSlide75[] = L"315b7250b6ae4644a63548d29ddd1c96";
const wchar_t kSlide76[] = L"82d724feb20346a7a95286ce43b4940a";
const wchar_t kSlideFrame[] = L"73ffd0f8bf574840b801340989b68969";

std::vector<SSlideData> SlideData() {
    return {
        {kSlide75, L"Slide 75 x 25 mm", L"plain", 75, 25, 20, false, {{47.5, 12.5, 55, 25, L"1", 0, 0}}},
        {kSlide76, L"Slide 76 x 26 mm", L"ISO 8037-1 plain", 76, 26, 20, false, {{48, 13, 56, 26, L"1", 0, 0}}},
        {L"21e1e0fe07cf40fda49ccd730a351ece", L"Chamber slide 75 x 25 mm", L"1 chamber", 75, 25, 20, true,
         {{47.5, 12.5, 50, 20, L"1", 0, 0}}},
        {L"befc7f5682a6429ab3ef7b2b78ba7861", L"Chamber slide 75 x 25 mm", L"2 chambers", 75, 25, 20, true,
         {{34.5, 12.5, 24, 20, L"1", 0, 0}, {60.5, 12.5, 24, 20, L"2", 0, 1}}},
        {L"52ea468c6d48455b86b5b6a5d5b3a6f8", L"Chamber slide 75 x 25 mm", L"4 chambers", 75, 25, 20, true,
         {{28, 12.5, 11.5, 20, L"1", 0, 0},
          {41, 12.5, 11.5, 20, L"2", 0, 1},
          {54, 12.5, 11.5, 20, L"3", 0, 2},
          {67, 12.5, 11.5, 20, L"4", 0, 3}}},
        {L"e83a69547d1447faa29304ac7ed2133f", L"Chamber slide 75 x 25 mm", L"8 chambers", 75, 25, 20, true,
         {{28, 7.25, 11.5, 9.5, L"A1", 0, 0},
          {41, 7.25, 11.5, 9.5, L"A2", 0, 1},
          {54, 7.25, 11.5, 9.5, L"A3", 0, 2},
          {67, 7.25, 11.5, 9.5, L"A4", 0, 3},
          {28, 17.75, 11.5, 9.5, L"B1", 1, 0},
          {41, 17.75, 11.5, 9.5, L"B2", 1, 1},
          {54, 17.75, 11.5, 9.5, L"B3", 1, 2},
          {67, 17.75, 11.5, 9.5, L"B4", 1, 3}}},
    };
}

SYxHolderEntry Entry(EYxHolderKind kind, const wchar_t* uuid, const wchar_t* configUuid, const wchar_t* type,
                     const wchar_t* model) {
    SYxHolderEntry e;
    e.eKind = kind;
    e.wszUuid = uuid;
    e.wszConfigUuid = configUuid ? configUuid : L"";
    e.wszCompany = kGeneric;
    e.wszType = type;
    e.wszModel = model;
    e.layout.eKind = kind;
    return e;
}

SYxHolderEntry Plate(const SPlateData& d) {
    SYxHolderEntry e = Entry(eYxHolderPlate, d.uuid, d.configUuid, d.type, d.model);
    SYxHolderLayout& l = e.layout;
    l.dWidth = kSbsWidth;
    l.dHeight = kSbsHeight;
    l.outline = YxHolder_RoundRectShape(kSbsWidth, kSbsHeight, kSbsCorner);
    l.iRows = d.rows;
    l.iCols = d.cols;
    l.iRowNaming = eYxNamingLetters;
    l.iColNaming = eYxNamingNumbers;
    l.first = SYxHolderPoint{d.firstX, d.firstY};
    l.dPitchX = l.dPitchY = d.pitch;
    l.well = d.round ? YxHolder_CircleShape(d.wellSize) : YxHolder_RectShape(d.wellSize, d.wellSize);
    YxHolder_BuildGrid(l);
    return e;
}

// Sector k of n of a disc of radius r around (0, 0), walls of width `wall`
// between sectors; sector 0 starts at the left and they go clockwise (as
// seen from above, y down). Returns the polygon relative to its own centre
// (the centroid of its points) and that centre.
SYxHolderElement Sector(int k, int n, double r, double wall, double cx, double cy) {
    const double span = 2 * kPi / n;
    const double a0 = kPi + k * span, a1 = a0 + span;
    const double half = wall / 2;
    const double apex = half / std::sin(span / 2);  // apex moved along the bisector
    const double da = std::asin(half / r);
    const double mid = (a0 + a1) / 2;
    std::vector<SYxHolderPoint> pts;
    pts.push_back({apex * std::cos(mid), apex * std::sin(mid)});
    const int arc = 24;
    for (int i = 0; i <= arc; ++i) {
        const double a = a0 + da + (a1 - a0 - 2 * da) * i / arc;
        pts.push_back({r * std::cos(a), r * std::sin(a)});
    }
    double mx = 0, my = 0;
    for (const SYxHolderPoint& p : pts) {
        mx += p.x;
        my += p.y;
    }
    mx /= static_cast<double>(pts.size());
    my /= static_cast<double>(pts.size());
    SYxHolderElement e;
    e.wszName = CYxStringW::Format(L"%d", k + 1);
    e.iRow = 0;
    e.iCol = k;
    e.center = SYxHolderPoint{cx + mx, cy + my};
    e.shape.eKind = eYxShapePolygon;
    for (SYxHolderPoint& p : pts) e.shape.points.push_back({p.x - mx, p.y - my});
    return e;
}

SYxHolderEntry Dish(const SDishData& d) {
    SYxHolderEntry e = Entry(eYxHolderDish, d.uuid, d.configUuid, d.type, d.model);
    SYxHolderLayout& l = e.layout;
    l.dWidth = l.dHeight = d.outer;
    l.outline = YxHolder_CircleShape(d.outer);
    const double c = d.outer / 2;
    if (d.compartments > 0) {
        for (int k = 0; k < d.compartments; ++k) l.elements.push_back(Sector(k, d.compartments, d.area / 2, 1.0, c, c));
    } else {
        SYxHolderElement el;
        el.wszName = L"1";
        el.center = SYxHolderPoint{c, c};
        el.shape = YxHolder_CircleShape(d.area);
        l.elements.push_back(el);
    }
    return e;
}

SYxHolderEntry Slide(const SSlideData& d) {
    SYxHolderEntry e = Entry(eYxHolderSlide, d.uuid, nullptr, d.type, d.model);
    SYxHolderLayout& l = e.layout;
    l.dWidth = d.width;
    l.dHeight = d.height;
    l.outline = YxHolder_RectShape(d.width, d.height);
    if (d.label > 0) l.sticker = SYxHolderRect{0, 0, d.label, d.height};
    for (const SChamber& c : d.chambers) {
        SYxHolderElement el;
        el.wszName = c.name;
        el.iRow = c.row;
        el.iCol = c.col;
        el.center = SYxHolderPoint{c.x, c.y};
        el.shape = d.chambered ? YxHolder_RoundRectShape(c.w, c.h, kSlideCorner) : YxHolder_RectShape(c.w, c.h);
        l.elements.push_back(el);
    }
    return e;
}

SYxHolderEntry SlideFrame() {
    SYxHolderEntry e = Entry(eYxHolderSlide, kSlideFrame, nullptr, L"Slide frame SBS", L"4 slides");
    e.wszSlideUuid = kSlide76;
    SYxHolderLayout& l = e.layout;
    l.dWidth = kSbsWidth;
    l.dHeight = kSbsHeight;
    l.outline = YxHolder_RoundRectShape(kSbsWidth, kSbsHeight, kSbsCorner);
    for (int k = 0; k < 4; ++k) {
        SYxHolderElement el;
        el.wszName = CYxStringW::Format(L"%d", k + 1);
        el.iCol = k;
        el.center = SYxHolderPoint{kSbsWidth / 2 + (k - 1.5) * 28.5, kSbsHeight / 2};
        el.shape = YxHolder_RectShape(26, 76);
        l.elements.push_back(el);
    }
    l.iNumCrosses = 2;
    l.crosses = SYxHolderRect{4, 4, kSbsWidth - 4, kSbsHeight - 4};
    return e;
}

std::vector<SYxHolderEntry> Build() {
    std::vector<SYxHolderEntry> all;
    for (const SPlateData& d : kPlates) all.push_back(Plate(d));
    for (const SDishData& d : kDishes) all.push_back(Dish(d));
    for (const SSlideData& d : SlideData()) all.push_back(Slide(d));
    all.push_back(SlideFrame());
    return all;
}

}  // namespace

const std::vector<SYxHolderEntry>& YxHolder_Catalog() {
    static const std::vector<SYxHolderEntry> catalog = Build();
    return catalog;
}
