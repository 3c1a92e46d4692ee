// Internal helpers shared by the file-level operations of the jobs and the
// application database.
#pragma once

#include "framework/yxstring.h"
#include "gnr_projectdb/db.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_tabledef.h"

struct sqlite3;

// What differs between the two database flavours.
struct SYxDbFlavour {
    const wchar_t* wszKind;                    // "jobs" or "application", for diagnostics
    const SYxSqliteTableDef* const* ppTables;  // creation order
    int nTables;
    const wchar_t* wszVersionTable;            // table of the version rows
    std::int64_t iMainVersion;                 // written at creation
    bool bSilentVersion;                       // creation writes ("silent", 1)
    bool bIdentity;                            // creation writes the dbinfo identity row
    bool bProjectFolder;                       // creation makes "<name> Projects" beside the file
    bool bParentTriggers;                      // read-write connections get the dMTime triggers
};

const SYxDbFlavour& YxDb_JobsFlavour();
const SYxDbFlavour& YxDb_AppFlavour();

int YxDb_Create(const SYxDbFlavour& flavour, const wchar_t* path);
YxProjectDbHandle YxDb_Connect(const SYxDbFlavour& flavour, const wchar_t* path);
YxProjectDbHandle YxDb_ConnectForRead(const SYxDbFlavour& flavour, const wchar_t* path);
int YxDb_GetInfo(const SYxDbFlavour& flavour, const wchar_t* path, SYxProjectDbFileInfo* info);

// The connection of a handle, or null.
inline sqlite3* YxDb_Conn(YxProjectDbHandle handle) { return CYxProjectDbConnectionManager::GetConnection(handle); }

// Issues the three pragmas that every connection runs first.
int YxDb_CommonPragmas(sqlite3* db);
// The journal mode a new or reconnected file gets when none is stored.
const wchar_t* YxDb_DefaultJournalMode(const wchar_t* path);
