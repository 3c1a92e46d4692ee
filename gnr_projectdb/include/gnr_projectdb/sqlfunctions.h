/// \file
/// SQL functions and the collation registered on every connection of the
/// library: uuid(), jdnnow(), printjdn(), the bitwise helpers, the counting,
/// summing, spread and order aggregates, and wcs_collation.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/status.h"

struct sqlite3;

/// Registers everything on the connection of the handle. Returns 0, or -9
/// when the handle names no connection.
GNR_API int YxProjectDb_Db_CreateFunctions(YxProjectDbHandle handle);
/// The same on a raw connection (used before a handle exists and by tests).
GNR_API int YxProjectDb_Db_CreateFunctionsOn(sqlite3* db);
