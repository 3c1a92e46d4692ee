// Filling a key map (keymap.h) from a query of the library's own: for the
// record families and the merge, which pair old and new keys by a join.
// Internal header: not installed, not exported.
#pragma once

#include "framework/yxstring.h"
#include "gnr_projectdb/status.h"

namespace yxrec {

// Runs "INSERT OR REPLACE INTO <map> (iKey, iValue) <select>" as one
// statement. The select is the library's text (two columns: old key, new
// key); a caller's value in it must be bound, so it takes none here. The map
// name is checked (-13 for anything else than a key map name), -9 without
// connection, else the statement's status.
int KeyMapFillFromSelect(YxProjectDbHandle handle, const wchar_t* name, const wchar_t* select);

}  // namespace yxrec
