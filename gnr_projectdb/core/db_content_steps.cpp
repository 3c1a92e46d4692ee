// Built-in content of a new jobs database.
//
// A database made by YxProjectDb_Db_Jobs_CreateWithUpgrades carries, beside
// the empty schema, the version rows of the built-in holder catalogs and the
// default display options, so that two such files compare equal with
// YxProjectDb_CompareVesions and show the same defaults:
//   step 7  the "plate" catalog version row
//   step 2  the "dish" catalog version row
//   step 4  the default display options (sortorder, sorttype, categories)
// Each step is idempotent: a row already present is left as it is.
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"

#include <sqlite3.h>

namespace {

enum { kCatalogVersion = 1 };

int EnsureVersionRow(sqlite3* db, const wchar_t* name) {
    return YxSqlite_ExecuteSingle(
        db, CYxStringW::Format(L"INSERT INTO %s (%s, %s) SELECT '%s', %d WHERE NOT EXISTS "
                               L"(SELECT 1 FROM %s WHERE %s='%s');",
                               L"vesion", L"wszName", L"iVersion", name, static_cast<int>(kCatalogVersion), L"vesion",
                               L"wszName", name));
}

int EnsureOption(sqlite3* db, const wchar_t* name, const wchar_t* type, const wchar_t* value) {
    return YxSqlite_ExecuteSingle(
        db, CYxStringW::Format(L"INSERT OR IGNORE INTO %s (%s, %s, %s) VALUES ('%s', '%s', '%s');", L"settings",
                               L"wszName", L"wszType", L"varValue", name, type, value));
}

int RunContentStep(YxProjectDbHandle handle, int step) {
    sqlite3* db = CYxProjectDbConnectionManager::GetConnection(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    int rc = SQLITE_OK;
    switch (step) {
    case 7:
        rc = EnsureVersionRow(db, L"plate");
        break;
    case 2:
        rc = EnsureVersionRow(db, L"dish");
        break;
    case 4:
        rc = EnsureOption(db, L"sortorder", L"int32", L"0");
        if (rc == SQLITE_OK) rc = EnsureOption(db, L"sorttype", L"int32", L"0");
        if (rc == SQLITE_OK) rc = EnsureOption(db, L"categories", L"stringw", L"");
        break;
    default:
        return YXPDB_E_NOTFOUND;
    }
    return rc == SQLITE_OK ? YXPDB_OK : YXPDB_E_NOCONNECTION;
}

}  // namespace

int YxProjectDb_Db_Jobs_CreateWithUpgrades(const wchar_t* path) {
    if (YxProjectDb_Db_Jobs_Create(path) != 0) return YXPDB_E_NOCONNECTION;
    const YxProjectDbHandle handle = YxProjectDb_Db_Jobs_Connect(path);
    if (!handle) return YXPDB_E_NOCONNECTION;
    int rc = YXPDB_OK;
    for (int step : {7, 2, 4})
        if (rc == YXPDB_OK) rc = RunContentStep(handle, step);
    YxProjectDb_Db_Disconnect(handle);
    return rc == YXPDB_OK ? YXPDB_OK : YXPDB_E_NOCONNECTION;
}
