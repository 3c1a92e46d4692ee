// Creating database files.
#include "gnr_projectdb/core/db_internal.h"

#include "framework/yxdiag.h"
#include "framework/yxfilesystem.h"
#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "gnr_projectdb/sys.h"
#include "uisupport/yxpath.h"

#include <sqlite3.h>

int YxDb_CommonPragmas(sqlite3* db) {
    int rc = SQLITE_OK;
    for (const wchar_t* pragma :
         {L"PRAGMA legacy_file_format=0;", L"PRAGMA recursive_triggers=1;", L"PRAGMA foreign_keys=1;"})
        if (rc == SQLITE_OK) rc = YxSqlite_ExecuteSingle(db, pragma, nullptr, true);
    return rc;
}

const wchar_t* YxDb_DefaultJournalMode(const wchar_t* path) {
    return YxProjectDb_Sys_IsNetworkPath(path) ? L"delete" : L"wal";
}

namespace {
// True when the path names a folder or a file that holds anything (or a
// write-ahead log that does): a database may be there, and creating must not
// touch it - not even its journal mode.
bool HoldsSomething(const wchar_t* path) {
    if (YxFs_IsDirectory(path)) return true;
    if (YX_GetFileSizeFromName(path) > 0) return true;
    const CYxStringW wal = CYxStringW(path) + L"-wal";
    return YX_GetFileSizeFromName(wal) > 0;
}
}  // namespace

int YxDb_Create(const SYxDbFlavour& flavour, const wchar_t* path) {
    if (!path || !*path) return YXPDB_E_GENERIC;
    if (HoldsSomething(path)) {
        YX_DIAG_WARN(L"Cannot create %s: the file exists and is not empty", path);
        return SQLITE_ERROR;
    }

    if (flavour.bProjectFolder) {
        CYxStringW folder, name;
        YxPath_Split(YxFs_Native(path), folder, name);
        const CYxStringW projects = folder + YxProjectDb_Db_ProjectFolderName(path);
        if (YxFs_CreateDirectories(projects) != 0)
            YX_DIAG_WARN(L"Cannot create the project folder %s", projects);
    }

    const CYxStringW journal = YxDb_DefaultJournalMode(path);
    const wchar_t* synchronous = L"normal";

    sqlite3* db = nullptr;
    CYxStringW error;
    int rc = YxSqlite_Open(path, &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, &error);
    if (rc != SQLITE_OK) {
        YX_DIAG_WARN(L"Cannot create %s: %s", path, error);
        return rc;
    }

    CYxStringW setup;
    setup += L"PRAGMA legacy_file_format=0;PRAGMA recursive_triggers=1;PRAGMA foreign_keys=1;";
    setup += L"PRAGMA page_size=4096;";
    setup.AppendFormat(L"PRAGMA journal_mode=%s;", journal);
    setup.AppendFormat(L"PRAGMA synchronous=%s;", synchronous);
    setup += L"BEGIN TRANSACTION;";
    rc = YxSqlite_Execute(db, setup, &error, true);
    if (rc != SQLITE_OK) {
        YxSqlite_Close(db);
        return rc;
    }

    CYxStringW script;
    for (int i = 0; i < flavour.nTables; ++i) script += YxSqlite_CreateTableWithIndexesSqlCommand(*flavour.ppTables[i]);
    rc = YxSqlite_Execute(db, script, &error, true);

    if (rc == SQLITE_OK) {
        CYxStringW rows;
        rows.AppendFormat(L"INSERT INTO %s (%s, %s) VALUES ('%s', %I64d);", flavour.wszVersionTable, L"wszName",
                          L"iVersion", L"main", flavour.iMainVersion);
        if (flavour.bSilentVersion)
            rows.AppendFormat(L"INSERT INTO %s (%s, %s) VALUES ('%s', %d);", flavour.wszVersionTable, L"wszName",
                              L"iVersion", L"silent", 1);
        rows.AppendFormat(L"INSERT INTO %s (%s, %s, %s) VALUES ('%s', '%s', '%s');", L"settings", L"wszName",
                          L"wszType", L"varValue", L"journal_mode", L"stringw", journal);
        rows.AppendFormat(L"INSERT INTO %s (%s, %s, %s) VALUES ('%s', '%s', '%s');", L"settings", L"wszName",
                          L"wszType", L"varValue", L"synchronous", L"stringw", synchronous);
        rows.AppendFormat(L"INSERT INTO %s (%s, %s, %s) VALUES ('%s', '%s', %d);", L"settings", L"wszName",
                          L"wszType", L"varValue", L"folderformat", L"int32",
                          static_cast<int>(YX_PROJECTDB_FOLDERFORMAT_CURRENT));
        if (flavour.bIdentity)
            rows.AppendFormat(L"INSERT INTO dbinfo(wszName,wszUuid) VALUES('dbuuid','%s');",
                              YxProjectDb_Sys_UuidAsText());
        rc = YxSqlite_Execute(db, rows, &error, true);
    }
    if (rc != SQLITE_OK) {
        YX_DIAG_WARN(L"Creating the %s database %s failed: %s", flavour.wszKind, path, error);
        YxSqlite_Execute(db, L"ROLLBACK TRANSACTION;", nullptr, false);
        YxSqlite_Close(db);
        return rc;
    }
    rc = YxSqlite_Execute(db, L"COMMIT TRANSACTION;", &error, true);
    YxSqlite_Close(db);
    return rc;
}

int YxProjectDb_Db_Jobs_Create(const wchar_t* path) { return YxDb_Create(YxDb_JobsFlavour(), path); }

int YxProjectDb_Db_Vasq_Create(const wchar_t* path) { return YxDb_Create(YxDb_AppFlavour(), path); }
