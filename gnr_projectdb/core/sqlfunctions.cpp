// Registers the library's SQL functions and collation on a connection.
#include "gnr_projectdb/sqlfunctions.h"

#include "gnr_projectdb/connection.h"
#include "sqlfunctions_internal.h"

int YxProjectDb_Db_CreateFunctionsOn(sqlite3* db) {
    if (!db) return YXPDB_E_NOCONNECTION;
    YxSqlFn_RegisterScalars(db);
    YxSqlFn_RegisterCountAggregates(db);
    YxSqlFn_RegisterSpreadAggregates(db);
    YxSqlFn_RegisterOrderAggregates(db);
    YxSqlFn_RegisterCollation(db);
    return YXPDB_OK;
}

int YxProjectDb_Db_CreateFunctions(YxProjectDbHandle handle) {
    sqlite3* db = CYxProjectDbConnectionManager::GetConnection(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    return YxProjectDb_Db_CreateFunctionsOn(db);
}
