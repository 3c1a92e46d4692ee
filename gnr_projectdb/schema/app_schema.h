// The application database's current schema (version 7): seven tables in
// creation order: version, settings, assayrecipe, definitions, measurements,
// files, results. Immutable; safe to read from any thread.
#pragma once

#include "gnr_projectdb/sqlsupport/yxsqlite_tabledef.h"

enum { YX_PROJECTDB_APP_SCHEMA_VERSION = 7, YX_PROJECTDB_APP_TABLE_COUNT = 7 };

// The seven definitions in creation order; *count receives 7 when given.
const SYxSqliteTableDef* const* YxProjectDb_Schema_GetAppTables(int* count);
const SYxSqliteTableDef* YxProjectDb_Schema_FindAppTable(const wchar_t* name);

// The definitions one by one.
extern const SYxSqliteTableDef YxAppDef_version;
extern const SYxSqliteTableDef YxAppDef_settings;
extern const SYxSqliteTableDef YxAppDef_assayrecipe;
extern const SYxSqliteTableDef YxAppDef_definitions;
extern const SYxSqliteTableDef YxAppDef_measurements;
extern const SYxSqliteTableDef YxAppDef_files;
extern const SYxSqliteTableDef YxAppDef_results;
