// The application database's tables as they were at versions 1 to 6. The
// upgrade steps create their tables from these definitions, never from the
// current schema (app_schema.h), so that every step keeps producing the
// schema of its own target version.
//
// History:
//   1  vesion, settings, assayrecipe (first form: name, module, data),
//      reciperun, file (name and size only), and the result model that the
//      conversion to version 6 reads: datatable, datacolumn, datavalue,
//      result, resultdef
//   2  assayrecipe in its current form; analysis and analysisrun replace
//      reciperun; file gains bits per component, planes and calibration
//   3  analysis gains uuid, description and flags; analysisrun gains its
//      image file name, description, flags and modification time
//   4  analysis gains channels and calibration; analysisrun gains its batch
//      number (the column is spelled iBtachNumber)
//   5  a side version: analysis gains wszGroup. It is left only by going
//      down to 4; no step leads to it
//   6  the file, definition, measurement and result model with JSON
//      metadata (files, definitions, measurements, results); the version
//      table is called `version` from here on. The conversion leaves the
//      old tables file, datacolumn, datavalue and resultdef in place.
//   7  results gain wszUuid (the current schema, app_schema.h)
#pragma once

#include "gnr_projectdb/sqlsupport/yxsqlite_tabledef.h"

enum { YX_APP_FROZEN_FIRST = 1, YX_APP_FROZEN_LAST = 6 };

// Every table of the version, in creation order; null for versions outside
// 1 to 6.
const SYxSqliteTableDef* const* YxProjectDb_AppFrozen_GetTables(int version, int* count);
// One table of the version by name, or null.
const SYxSqliteTableDef* YxProjectDb_AppFrozen_FindTable(int version, const wchar_t* name);
