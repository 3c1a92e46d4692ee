/// \file
/// The table definitions of the jobs database, expanded from jobs_schema.inc.
///
/// `YxJobsDef_<table>` is the constant definition of one table; the list
/// functions give all 59 in creation order. Definitions are immutable and
/// may be read from any thread.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/tabledef.h"
#include "gnr_projectdb/text.h"

#include "gnr_projectdb/jobs_schema.inc"

/// The schema version of a database created from these definitions.
enum { YX_PROJECTDB_JOBS_SCHEMA_VERSION = 136, YX_PROJECTDB_JOBS_TABLE_COUNT = 59 };

#define YX_DECLARE_JOBS_DEF(t) extern GNR_API const SYxSqliteTableDef YxJobsDef_##t;
YX_JOBS_TABLE_LIST(YX_DECLARE_JOBS_DEF)
#undef YX_DECLARE_JOBS_DEF

/// The 59 definitions in creation order; *count receives 59 when given.
GNR_API const SYxSqliteTableDef* const* YxProjectDb_Schema_GetJobsTables(int* count);
/// The definition of a table by name (exact, lower case), or null.
GNR_API const SYxSqliteTableDef* YxProjectDb_Schema_FindJobsTable(const wchar_t* name);
/// The CREATE TABLE statement of a definition followed by the CREATE INDEX
/// statements of its indexes, each ending in ";\n", as a new database holds
/// them. A null definition gives "".
GNR_API CYxStringW YxProjectDb_Schema_CreateSql(const SYxSqliteTableDef* def);
