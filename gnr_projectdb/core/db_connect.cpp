// Opening database files and describing them.
#include "gnr_projectdb/core/db_internal.h"

#include "framework/yxdiag.h"
#include "framework/yxfilesystem.h"
#include "gnr_projectdb/schema.h"
#include "gnr_projectdb/schema/app_schema.h"
#include "gnr_projectdb/sqlfunctions.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_guard.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "gnr_projectdb/sys.h"

#include <sqlite3.h>

namespace {

// Keep the parents' modification times current on read-write connections.
const wchar_t kParentTriggers[] =
    L"CREATE TEMPORARY TRIGGER trg_jobdef_u_dMTime UPDATE OF dMTime ON jobdef\n"
    L"BEGIN\n"
    L"  UPDATE project SET dMTime = new.dMTime WHERE iKey = new.iProjKeyRef;\n"
    L"END;\n"
    L"CREATE TEMPORARY TRIGGER trg_jobdef_i INSERT ON jobdef\n"
    L"BEGIN\n"
    L"  UPDATE project SET dMTime = new.dMTime WHERE iKey = new.iProjKeyRef;\n"
    L"END;\n"
    L"CREATE TEMPORARY TRIGGER trg_jobdef_d DELETE ON jobdef\n"
    L"BEGIN\n"
    L"  UPDATE project SET dMTime = jdnnow() WHERE iKey = old.iProjKeyRef;\n"
    L"END;\n"
    L"CREATE TEMPORARY TRIGGER trg_jobrun_u_dMTime UPDATE OF dMTime ON jobrun\n"
    L"BEGIN\n"
    L"  UPDATE jobdef SET dMTime = new.dMTime WHERE iKey = new.iJobdefKeyRef;\n"
    L"END;\n";

CYxStringW ReadSetting(sqlite3* db, const wchar_t* name) {
    int err = 0;
    return YxSqlite_ReadOneStringW(
        db, CYxStringW::Format(L"SELECT %s FROM %s WHERE %s='%s'", L"varValue", L"settings", L"wszName", name), &err);
}

CYxStringW ReadTypedSetting(sqlite3* db, const wchar_t* name, const wchar_t* type, int* err = nullptr) {
    return YxSqlite_ReadOneStringW(db,
                                   CYxStringW::Format(L"SELECT %s FROM %s WHERE %s='%s' AND %s='%s'", L"varValue",
                                                      L"settings", L"wszName", name, L"wszType", type),
                                   err);
}

void ReadVersion(sqlite3* db, const wchar_t* table, const wchar_t* name, std::int32_t& error, std::int64_t& value) {
    int err = 0;
    value = YxSqlite_ReadOneInt64(
        db, CYxStringW::Format(L"SELECT %s FROM %s WHERE %s='%s';", L"iVersion", table, L"wszName", name), &err);
    error = err;
}

// The version table of a file: application files name it `version` from
// version 6 on and `vesion` before; jobs files always `vesion`.
const wchar_t* VersionTableOf(sqlite3* db, const SYxDbFlavour& flavour) {
    return YxSqlite_HasTable(db, flavour.wszVersionTable) ? flavour.wszVersionTable : L"vesion";
}

}  // namespace

// The jobs database carries the extras (silent version, identity, project
// folder, parent triggers); the application database none of them.
static SYxDbFlavour MakeFlavour(const wchar_t* kind, const SYxSqliteTableDef* const* (*tables)(int*),
                                const wchar_t* versionTable, std::int64_t mainVersion, bool jobsExtras) {
    SYxDbFlavour f{};
    f.wszKind = kind;
    f.ppTables = tables(&f.nTables);
    f.wszVersionTable = versionTable;
    f.iMainVersion = mainVersion;
    f.bSilentVersion = f.bIdentity = f.bProjectFolder = f.bParentTriggers = jobsExtras;
    return f;
}

const SYxDbFlavour& YxDb_JobsFlavour() {
    static const SYxDbFlavour flavour = MakeFlavour(L"jobs", &YxProjectDb_Schema_GetJobsTables, L"vesion",
                                                    YX_PROJECTDB_JOBS_SCHEMA_VERSION, true);
    return flavour;
}

const SYxDbFlavour& YxDb_AppFlavour() {
    static const SYxDbFlavour flavour = MakeFlavour(L"application", &YxProjectDb_Schema_GetAppTables, L"version",
                                                    YX_PROJECTDB_APP_SCHEMA_VERSION, false);
    return flavour;
}

YxProjectDbHandle YxDb_Connect(const SYxDbFlavour& flavour, const wchar_t* path) {
    if (!path || !*path) return 0;
    if (YxFs_IsReadOnly(path)) return 0;

    sqlite3* db = nullptr;
    CYxStringW error;
    if (YxSqlite_OpenEncryptedBlocking(path, &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_PRIVATECACHE, 0, nullptr,
                                       &error) != SQLITE_OK) {
        YxSqlite_Close(db);
        return 0;
    }
    sqlite3_busy_timeout(db, 60000);

    const bool network = YxProjectDb_Sys_IsNetworkPath(path);
    // Stored values are data: anything that is not one of SQLite's own values
    // counts as absent, and the default applies.
    CYxStringW journal = ReadSetting(db, L"journal_mode");
    CYxStringW synchronous = ReadSetting(db, L"synchronous");
    if (!journal.IsEmpty() && !YxSqlite_IsJournalModeValue(journal)) {
        YX_DIAG_WARN(L"Ignored the stored journal mode \"%s\" of %s", journal, path);
        journal.Empty();
    }
    if (!synchronous.IsEmpty() && !YxSqlite_IsSynchronousValue(synchronous)) {
        YX_DIAG_WARN(L"Ignored the stored synchronous value \"%s\" of %s", synchronous, path);
        synchronous.Empty();
    }
    // The stored journal mode is read but not applied: only the network rule
    // below changes the file's mode.
    if (journal.IsEmpty()) journal = network ? L"delete" : L"wal";
    if (synchronous.IsEmpty()) synchronous = L"normal";

    bool ok = YxDb_CommonPragmas(db) == SQLITE_OK;
    if (ok && network) {
        int err = 0;
        const CYxStringW mode = YxSqlite_ReadOneStringW(db, L"PRAGMA journal_mode;", &err);
        if (err != SQLITE_OK) ok = false;
        else if (mode.EqualsNoCase(L"wal"))
            ok = YxSqlite_ExecuteSingle(db, L"PRAGMA journal_mode=delete;", nullptr, true) == SQLITE_OK;
    }
    if (ok)
        ok = YxSqlite_ExecuteSingle(db, CYxStringW::Format(L"PRAGMA synchronous=%s;", synchronous), nullptr, true) ==
             SQLITE_OK;
    if (ok && flavour.bParentTriggers) ok = YxSqlite_Execute(db, kParentTriggers, &error, true) == SQLITE_OK;
    if (!ok) {
        YX_DIAG_WARN(L"Cannot connect to the %s database %s", flavour.wszKind, path);
        YxSqlite_Close(db);
        return 0;
    }
    int err = 0;
    YX_DIAG_INFO(L"Journal mode: %s", YxSqlite_ReadOneStringW(db, L"PRAGMA journal_mode;", &err));
    YX_DIAG_INFO(L"Synchronous: %s", YxSqlite_ReadOneStringW(db, L"PRAGMA synchronous;", &err));

    const YxProjectDbHandle handle = CYxProjectDbConnectionManager::GetInstance().Add(db);
    YxProjectDb_Db_CreateFunctions(handle);
    return handle;
}

YxProjectDbHandle YxDb_ConnectForRead(const SYxDbFlavour& flavour, const wchar_t* path) {
    if (!path || !*path) return 0;
    sqlite3* db = nullptr;
    CYxStringW error;
    if (YxSqlite_Open(path, &db, SQLITE_OPEN_READONLY, &error) != SQLITE_OK) {
        YxSqlite_Close(db);
        return 0;
    }
    if (YxDb_CommonPragmas(db) != SQLITE_OK) {
        YX_DIAG_WARN(L"Cannot read the %s database %s", flavour.wszKind, path);
        YxSqlite_Close(db);
        return 0;
    }
    const YxProjectDbHandle handle = CYxProjectDbConnectionManager::GetInstance().Add(db);
    YxProjectDb_Db_CreateFunctions(handle);
    return handle;
}

int YxDb_GetInfo(const SYxDbFlavour& flavour, const wchar_t* path, SYxProjectDbFileInfo* infoOut) {
    SYxProjectDbFileInfo local;
    SYxProjectDbFileInfo& info = infoOut ? *infoOut : local;
    if (!path || !*path) return YXPDB_E_GENERIC;
    if (!YxFs_Exists(path)) return YXPDB_E_NOCONNECTION;
    info.wszFileName = path;
    if (YxFs_IsReadOnly(path)) {
        info.bReadOnly = true;
        return YXPDB_E_READONLY;
    }

    sqlite3* db = nullptr;
    CYxStringW error;
    info.iOpenResult = YxSqlite_Open(path, &db, SQLITE_OPEN_READWRITE, &error);
    if (info.iOpenResult != SQLITE_OK) {
        YxSqlite_Close(db);
        return info.iOpenResult;
    }
    // Another process writing at the same moment must not make the file look
    // read-only.
    sqlite3_busy_timeout(db, 5000);

    const wchar_t* versionTable = VersionTableOf(db, flavour);
    const CYxStringW probe =
        CYxStringW::Format(L"UPDATE %s SET %s=(SELECT %s FROM %s WHERE %s='%s') WHERE %s='%s'", versionTable,
                           L"iVersion", L"iVersion", versionTable, L"wszName", L"main", L"wszName", L"main");
    const int rc = YxSqlite_Execute(db, probe, &error, false);
    if (rc != SQLITE_OK) {
        // Corruption (11) and "not a database" (26) both mean the content is
        // damaged; any other failure means the file cannot be written.
        if (rc == SQLITE_CORRUPT || rc == SQLITE_NOTADB) info.bDamaged = true;
        else info.bReadOnly = true;
        YxSqlite_Close(db);
        return YXPDB_E_READONLY;
    }

    int err = 0;
    info.bNetworkDrive = YxProjectDb_Sys_IsNetworkPath(path);
    info.wszJournalMode = YxSqlite_ReadOneStringW(db, L"PRAGMA journal_mode;", &err);
    info.wszStoredJournalMode = ReadTypedSetting(db, L"journal_mode", L"stringw");
    info.wszStoredSynchronous = ReadTypedSetting(db, L"synchronous", L"stringw");
    const CYxStringW folderFormat = ReadTypedSetting(db, L"folderformat", L"int32");
    info.iFolderFormat = static_cast<std::int32_t>(std::wcstol(folderFormat.c_str(), nullptr, 10));
    ReadVersion(db, versionTable, L"main", info.iMainReadError, info.iMainVersion);
    ReadVersion(db, versionTable, L"plate", info.iPlateReadError, info.iPlateVersion);
    ReadVersion(db, versionTable, L"silent", info.iSilentReadError, info.iSilentVersion);
    YxSqlite_Close(db);

    const std::int64_t newest = flavour.iMainVersion;
    return info.iMainVersion > newest ? YXPDB_E_GENERIC : YXPDB_OK;
}

YxProjectDbHandle YxProjectDb_Db_Jobs_Connect(const wchar_t* path) { return YxDb_Connect(YxDb_JobsFlavour(), path); }

YxProjectDbHandle YxProjectDb_Db_Jobs_ConnectForRead(const wchar_t* path) {
    return YxDb_ConnectForRead(YxDb_JobsFlavour(), path);
}

int YxProjectDb_Db_Jobs_GetInfo(const wchar_t* path, SYxProjectDbFileInfo* info) {
    return YxDb_GetInfo(YxDb_JobsFlavour(), path, info);
}

YxProjectDbHandle YxProjectDb_Db_Vasq_Connect(const wchar_t* path) { return YxDb_Connect(YxDb_AppFlavour(), path); }

YxProjectDbHandle YxProjectDb_Db_Vasq_ConnectForRead(const wchar_t* path) {
    return YxDb_ConnectForRead(YxDb_AppFlavour(), path);
}

int YxProjectDb_Db_Vasq_GetInfo(const wchar_t* path, SYxProjectDbFileInfo* info) {
    return YxDb_GetInfo(YxDb_AppFlavour(), path, info);
}
