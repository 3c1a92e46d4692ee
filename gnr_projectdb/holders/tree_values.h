// Numbers and shapes in the key-value trees of the holder tables. Internal.
//
// Numbers are text: the shortest decimal form that reads back to the same
// double (std::to_chars), so the stored bytes never depend on a locale and
// the same layout always gives the same bytes. Readers check everything:
// a missing entry, text that is not a finite number, a count out of range or
// a malformed shape gives false.
#pragma once

#include "framework/yxlitevariant.h"
#include "gnr_projectdb/holders_geometry.h"

namespace yxholder {

CYxStringW NumberText(double v);
bool ParseNumber(const CYxStringW& text, double& v);

void PutNumber(CYxLiteVariantW& w, const wchar_t* name, double v);
void PutInt(CYxLiteVariantW& w, const wchar_t* name, int v);
bool GetNumber(const CYxLiteVariantR& r, const wchar_t* name, double& v);
// An integral number within [lo, hi].
bool GetInt(const CYxLiteVariantR& r, const wchar_t* name, int lo, int hi, int& v);

// A shape as a group of that name inside the current group.
void PutShape(CYxLiteVariantW& w, const wchar_t* group, const SYxHolderShape& s);
bool GetShape(CYxLiteVariantR& r, const wchar_t* group, SYxHolderShape& s);
bool ValidShape(const SYxHolderShape& s);

// Enters the root group and checks the format version.
bool EnterRoot(CYxLiteVariantR& r);
void OpenRoot(CYxLiteVariantW& w);

// Limits of what a stored layout may hold.
inline constexpr double kMaxSize = 10000.0;  // mm
inline constexpr int kMaxPoints = 10000;
inline constexpr int kMaxElements = 100000;

}  // namespace yxholder
