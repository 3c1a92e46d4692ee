/// \file
/// Holder layouts: the outline of a holder, its elements (wells, chambers,
/// compartments, slide positions), the label (sticker) area, the fiducial
/// crosses, and the searches on them: which element holds a point, the
/// nearest element, sites inside an element and the serpentine order.
///
/// Units and axes as in holders_geometry.h (millimetres, origin top-left,
/// y down). A layout of a well plate is a regular grid: element i is
/// (row i / cols, column i % cols), its centre first + (col * pitchX,
/// row * pitchY), every well the same shape. Other holders list their elements
/// freely.
///
/// Statuses as in holders_geometry.h. Threads: no state; layouts are plain
/// values.
#pragma once

#include "gnr_projectdb/holders_geometry.h"

enum EYxHolderKind {
    eYxHolderPlate = 1,  ///< wellplateconfiguration + wellplatename
    eYxHolderDish = 2,   ///< dishconfiguration + dishname
    eYxHolderSlide = 3,  ///< slidedef (also frames that carry several slides)
};

struct SYxHolderElement {
    CYxStringW wszName;
    int iRow = 0;  ///< from 0; for free layouts the place in the naming scheme
    int iCol = 0;
    SYxHolderPoint center;  ///< holder coordinates
    SYxHolderShape shape;
};

struct SYxHolderLayout {
    EYxHolderKind eKind = eYxHolderPlate;
    /// Outline: the holder's bounding box is 0..dWidth x 0..dHeight and the
    /// outline shape is centred in it.
    double dWidth = 0;
    double dHeight = 0;
    SYxHolderShape outline;
    /// Grid of a well plate (iRows and iCols 0 for free layouts).
    int iRows = 0;
    int iCols = 0;
    int iRowNaming = eYxNamingLetters;
    int iColNaming = eYxNamingNumbers;
    SYxHolderPoint first;  ///< centre of the first element (A1)
    double dPitchX = 0;
    double dPitchY = 0;
    SYxHolderShape well;   ///< shape of every element of the grid
    /// The elements; for a grid, row by row (filled by YxHolder_BuildGrid).
    std::vector<SYxHolderElement> elements;
    /// Label area (stickerL/T/R/B); all 0: none.
    SYxHolderRect sticker;
    /// Fiducial crosses (iNumCrosses, crossesL/T/R/B): up to four crosses at
    /// the corners of this rectangle, in the order top-left, bottom-right,
    /// top-right, bottom-left (two crosses lie on a diagonal).
    int iNumCrosses = 0;
    SYxHolderRect crosses;
};

/// Fills elements of a grid layout from iRows, iCols, the naming, first,
/// pitch and well shape. -1 when a count is not positive or above 4096
/// rows/columns, a pitch is not positive, or a well is larger than its pitch
/// (neighbouring wells would overlap, and the grid search needs them apart).
GNR_API int YxHolder_BuildGrid(SYxHolderLayout& layout);

/// The centres of the fiducial crosses (iNumCrosses of them, at most 4).
GNR_API std::vector<SYxHolderPoint> YxHolder_CrossPoints(const SYxHolderLayout& layout);

/// Index of the element that holds the point (holder coordinates), or -1.
/// A grid layout computes the one candidate cell from the pitch (no scan);
/// free layouts test each element. Boundaries count as inside.
GNR_API int YxHolder_FindElement(const SYxHolderLayout& layout, double x, double y);
/// Index of the element nearest to the point by distance to its shape (0 for
/// a point inside), or -1 for a layout without elements; *distance receives
/// that distance when given.
GNR_API int YxHolder_NearestElement(const SYxHolderLayout& layout, double x, double y, double* distance = nullptr);
/// Index of the element with that name (as YxHolder_ParseElementName reads it
/// for grids; exact, case-insensitive for free layouts), or -1.
GNR_API int YxHolder_ElementIndex(const SYxHolderLayout& layout, const wchar_t* name);

/// Sites inside an element, in holder coordinates.
///
/// Grid: points spaced spacingX x spacingY, the grid centred on the element's
/// centre, keeping those whose field of view (fieldW x fieldH around the
/// point; 0 x 0 for the point alone) lies inside the element's shape; rows top
/// to bottom, each row in serpentine order (left to right, then right to
/// left). -1 for a bad index, non-positive spacing or a negative field.
GNR_API int YxHolder_SitesGrid(const SYxHolderLayout& layout, int element, double spacingX, double spacingY,
                               double fieldW, double fieldH, std::vector<SYxHolderPoint>& sites);
/// Spiral: the centre first, then ring after ring of a square spiral with the
/// given spacing (right, down, left, up), keeping the points inside the shape,
/// until `count` sites are found or a ring lies wholly outside the element.
/// -1 for a bad index, non-positive spacing or a negative count.
GNR_API int YxHolder_SitesSpiral(const SYxHolderLayout& layout, int element, double spacing, int count,
                                 std::vector<SYxHolderPoint>& sites);
/// Indexes of the elements in the order a stage visits them: rows top to
/// bottom, the first row left to right, the next right to left, and so on
/// (byColumns: columns left to right, alternating down and up). Elements are
/// placed by iRow and iCol; ties keep their order.
GNR_API std::vector<int> YxHolder_SerpentineOrder(const SYxHolderLayout& layout, bool byColumns = false);
