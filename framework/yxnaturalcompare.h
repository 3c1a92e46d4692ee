// Natural ("logical") comparison of texts, the role StrCmpLogicalW plays on
// the host platform: letters compare case-insensitively and every run of the
// digits 0-9 compares by its numeric value, so "A2" < "a10" and
// "Well 2" < "Well 10".
//
// Digit runs of any length are compared without converting them to numbers
// (no overflow). Runs of equal value but different leading zeros are equal
// at first; only when the texts are otherwise equal does the first such run
// decide, fewer zeros first ("1" < "01"). Texts that differ only in case
// compare equal. The order is a consistent total preorder, suitable as an
// SQLite collation and for std::sort. Pure and thread-safe.
#pragma once

#include <cstddef>

// Returns <0, 0 or >0. A null pointer is read as the empty text.
int YxNaturalCompare(const wchar_t* a, const wchar_t* b);
// The same over counted texts (no terminator needed; zeros are plain
// characters).
int YxNaturalCompareN(const wchar_t* a, std::size_t na, const wchar_t* b, std::size_t nb);
