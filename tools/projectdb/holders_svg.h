// A holder layout as an SVG picture for projectdb holders show --svg.
//
// The picture is the holder seen from above at kYxSvgPixelsPerMm pixels per
// millimetre (width and height attributes in pixels, viewBox in
// millimetres, so holder coordinates are user coordinates): the outline
// filled light grey, the label area hatched darker, fiducial crosses, every
// element outlined and filled white - or blue when its name is among the
// marked ones - and its name in the lower part of the element. Numbers are
// written without any locale.
#pragma once

#include "gnr_projectdb/holders_layout.h"

#include <set>
#include <string>

inline constexpr double kYxSvgPixelsPerMm = 8.0;
inline constexpr const char* kYxSvgWellFill = "#ffffff";
inline constexpr const char* kYxSvgMarkedFill = "#3070d0";
inline constexpr const char* kYxSvgHolderFill = "#d0d0d0";

// Size of the picture in pixels (rounded up).
int YxTool_SvgWidth(const SYxHolderLayout& layout);
int YxTool_SvgHeight(const SYxHolderLayout& layout);
std::string YxTool_HolderSvg(const SYxHolderLayout& layout, const std::wstring& title,
                             const std::set<std::wstring>& marked);
