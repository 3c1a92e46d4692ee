// Built-in content of a new jobs database.
//
// A database made by YxProjectDb_Db_Jobs_CreateWithUpgrades carries, beside
// the empty schema, the built-in holder catalog with its version rows, so
// that two such files compare equal with YxProjectDb_CompareVesions and hold
// the same holder types under the same uuids. The content steps:
//   step 7  the plate catalog and the "plate" version row
//   step 2  the dish catalog
//   step 4  the slide catalog and the "dish" version row (dishes and slides)
// Each step leaves a database whose catalog is current as it is. After the
// steps, the default display options are written (sortorder, sorttype,
// categories) where missing.
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/holders.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"

#include <sqlite3.h>

namespace {

int EnsureOption(sqlite3* db, const wchar_t* name, const wchar_t* type, const wchar_t* value) {
    return YxSqlite_ExecuteSingle(
        db, CYxStringW::Format(L"INSERT OR IGNORE INTO %s (%s, %s, %s) VALUES ('%s', '%s', '%s');", L"settings",
                               L"wszName", L"wszType", L"varValue", name, type, value));
}

int EnsureDefaultOptions(YxProjectDbHandle handle) {
    sqlite3* db = CYxProjectDbConnectionManager::GetConnection(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    int rc = EnsureOption(db, L"sortorder", L"int32", L"0");
    if (rc == SQLITE_OK) rc = EnsureOption(db, L"sorttype", L"int32", L"0");
    if (rc == SQLITE_OK) rc = EnsureOption(db, L"categories", L"stringw", L"");
    return rc;
}

int RunContentStep(YxProjectDbHandle handle, int step) {
    switch (step) {
    case 7: return YxProjectDb_Holder_UpdateCatalog(handle, eYxHolderPlate);
    case 2: return YxProjectDb_Holder_UpdateCatalog(handle, eYxHolderDish);
    case 4: return YxProjectDb_Holder_UpdateCatalog(handle, eYxHolderSlide);
    default: return YXPDB_E_NOTFOUND;
    }
}

}  // namespace

int YxProjectDb_Db_Jobs_CreateWithUpgrades(const wchar_t* path) {
    if (YxProjectDb_Db_Jobs_Create(path) != 0) return YXPDB_E_NOCONNECTION;
    const YxProjectDbHandle handle = YxProjectDb_Db_Jobs_Connect(path);
    if (!handle) return YXPDB_E_NOCONNECTION;
    int rc = YXPDB_OK;
    for (int step : {7, 2, 4})
        if (rc == YXPDB_OK) rc = RunContentStep(handle, step);
    if (rc == YXPDB_OK) rc = EnsureDefaultOptions(handle);
    YxProjectDb_Db_Disconnect(handle);
    return rc == YXPDB_OK ? YXPDB_OK : YXPDB_E_NOCONNECTION;
}
