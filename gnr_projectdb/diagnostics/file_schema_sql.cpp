// The CREATE statements that a file holds.
#include "gnr_projectdb/diagnostics.h"

#include "gnr_projectdb/core/db_internal.h"
#include "gnr_projectdb/diagnostics/file_schema.h"

int YxProjectDb_Diag_FileSchemaSql(YxProjectDbHandle handle, CYxStringW* sql) {
    sqlite3* db = YxDb_Conn(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    if (!sql) return 0;
    return YxDiag_ReadSchemaSql(db, sql);
}
