// The jobs schema as an XML document.
#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "gnr_projectdb/sys.h"

#include <cassert>

CYxStringW YxProjectDb_Sys_ExportSchemaAsXml() {
    int count = 0;
    const SYxSqliteTableDef* const* defs = YxProjectDb_Schema_GetJobsTables(&count);
    assert(count == YX_PROJECTDB_JOBS_TABLE_COUNT);
    return YxSqlite_GetAllDefsAsXml(YX_PROJECTDB_JOBS_SCHEMA_VERSION, defs, count);
}
