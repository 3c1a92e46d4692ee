// The CREATE statements of a table definition, for callers outside the library.
#include "gnr_projectdb/schema.h"

#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"

CYxStringW YxProjectDb_Schema_CreateSql(const SYxSqliteTableDef* def) {
    if (!def) return CYxStringW();
    return YxSqlite_CreateTableWithIndexesSqlCommand(*def);
}
