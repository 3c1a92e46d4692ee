/// \file
/// Layout geometry of sample holders (well plates, dishes, slides): shapes,
/// elements, element names, stage alignment, sites inside an element and the
/// order in which a stage visits elements.
///
/// Units and axes: millimetres, seen from above, origin at the top-left outer
/// corner of the holder, x to the right (columns), y down (rows). A shape is
/// described around its own centre (0, 0); an element places a shape at a
/// centre in holder coordinates.
///
/// Statuses: 0 on success; YXPDB_E_GENERIC (-1) for an invalid argument (null
/// pointer, non-positive count or spacing); YXPDB_E_NOTFOUND (-13) for a name
/// that names no element; YXPDB_E_HOLDER_DATA (-70) for bytes that are not a
/// valid alignment matrix. Out-arguments are left untouched on failure.
/// Nothing throws.
///
/// Threads: every function works on the values passed in and keeps no state;
/// any thread may call any function.
#pragma once

#include "gnr_projectdb/bytes.h"
#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/status.h"

#include <cstdint>
#include <vector>

enum EYxHolderShapeKind {
    eYxShapeRect = 1,       ///< dWidth x dHeight
    eYxShapeRoundRect = 2,  ///< dWidth x dHeight with corners of dRadius
    eYxShapeEllipse = 3,    ///< axes dWidth and dHeight; a circle when they are equal
    eYxShapePolygon = 4,    ///< points, relative to the centre, in order (either winding)
};

struct SYxHolderPoint {
    double x = 0;
    double y = 0;
};

/// A rectangle by its edges: left, top, right, bottom (l <= r, t <= b).
struct SYxHolderRect {
    double l = 0;
    double t = 0;
    double r = 0;
    double b = 0;
};

/// A shape around its centre (0, 0).
struct SYxHolderShape {
    EYxHolderShapeKind eKind = eYxShapeRect;
    double dWidth = 0;
    double dHeight = 0;
    double dRadius = 0;                  ///< round rectangle corners only
    std::vector<SYxHolderPoint> points;  ///< polygon only
};

GNR_API SYxHolderShape YxHolder_RectShape(double width, double height);
GNR_API SYxHolderShape YxHolder_RoundRectShape(double width, double height, double radius);
GNR_API SYxHolderShape YxHolder_EllipseShape(double width, double height);
GNR_API SYxHolderShape YxHolder_CircleShape(double diameter);

/// Whether the point (relative to the shape's centre) lies inside the shape;
/// the boundary counts as inside. A polygon uses the even-odd rule.
GNR_API bool YxHolder_ShapeContains(const SYxHolderShape& shape, double x, double y);
/// The bounding rectangle of the shape, relative to its centre.
GNR_API SYxHolderRect YxHolder_ShapeBounds(const SYxHolderShape& shape);
/// Distance from the point (relative to the centre) to the shape: 0 inside,
/// otherwise the distance to the nearest point of the boundary.
GNR_API double YxHolder_ShapeDistance(const SYxHolderShape& shape, double x, double y);

// ---- element names

/// How rows or columns are named.
enum EYxHolderNaming {
    eYxNamingLetters = 0,        ///< A ... Z, AA ... AZ, BA ... (1536 wells: rows A ... AF)
    eYxNamingNumbers = 1,        ///< 1, 2, ...
    eYxNamingNumbersPadded = 2,  ///< zero-padded to the width of the largest number: 01 ... 12
};

/// The name of the element at (row, col), both counted from 0: the row's name
/// followed by the column's (A1, A01, AF48). When both parts are named the same
/// way a "-" separates them (1-1, A-A). Empty for an index outside the counts
/// or an unknown naming.
GNR_API CYxStringW YxHolder_ElementName(int row, int col, int rows, int cols, int rowNaming, int colNaming);
/// The (row, col) of a name, the inverse of YxHolder_ElementName. Letters may
/// be lower case; numbers may carry leading zeros whatever the padding.
/// Returns 0, -1 (null argument) or -13 (not a name of an element within the
/// counts); *row and *col are set only on success.
GNR_API int YxHolder_ParseElementName(const wchar_t* name, int rows, int cols, int rowNaming, int colNaming,
                                      int* row, int* col);

// ---- stage alignment

/// A 2x3 affine transform from holder coordinates to stage coordinates:
///   stage x = a * x + b * y + c
///   stage y = d * x + e * y + f
/// Stored in pAlignmentMatrix (plateinfo, slideinfo) as 48 bytes: the six
/// values a, b, c, d, e, f in this order, each an IEEE-754 double in
/// little-endian byte order. The default is the identity.
struct SYxHolderAlignment {
    double a = 1, b = 0, c = 0;
    double d = 0, e = 1, f = 0;
};

/// Rotation by `degrees` (counter-clockwise as seen with y up, i.e. turning
/// +x towards -y on the holder), uniform scale, then the offset.
GNR_API SYxHolderAlignment YxHolder_MakeAlignment(double degrees, double scale, double offsetX, double offsetY);
GNR_API SYxHolderPoint YxHolder_HolderToStage(const SYxHolderAlignment& m, double x, double y);
/// The inverse transform into *inverse. -1 for a null pointer, -70 when the
/// transform cannot be inverted (determinant near 0) or holds a non-finite value.
GNR_API int YxHolder_InvertAlignment(const SYxHolderAlignment& m, SYxHolderAlignment* inverse);
/// Stage to holder coordinates: inverts and applies (-1, -70 as above).
GNR_API int YxHolder_StageToHolder(const SYxHolderAlignment& m, double sx, double sy, SYxHolderPoint* holder);
/// The 48 bytes of pAlignmentMatrix.
GNR_API CYxByteArray YxHolder_EncodeAlignment(const SYxHolderAlignment& m);
/// Decodes pAlignmentMatrix: 0; -13 for an empty blob (no alignment stored);
/// -70 for any other length, a non-finite value or a transform that cannot
/// be inverted. *m is set only on success.
GNR_API int YxHolder_DecodeAlignment(const CYxByteArray& bytes, SYxHolderAlignment* m);
