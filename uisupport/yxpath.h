// Path splitting. Both separators ('/' and '\') are understood.
#pragma once

#include "framework/yxstring.h"

// Splits a path into its folder (with the trailing separator) and its last
// component. A trailing separator belongs to the last component's end and is
// kept there: "a/b/c/" gives folder "a/b/" and name "c/"; callers trim it.
// A path without separator gives an empty folder and the whole path.
void YxPath_Split(const wchar_t* path, CYxStringW& folder, CYxStringW& name);
