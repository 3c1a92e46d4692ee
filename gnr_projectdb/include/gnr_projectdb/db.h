/// \file
/// File-level operations: creating, opening and describing database files,
/// transactions, savepoints and stored options.
///
/// Connect operations return a handle, 0 on any failure (and then leave no
/// connection open). Status operations return 0, a negative library code
/// (status.h) or an SQLite code. An unknown handle is never an error by
/// itself: it yields -9, 0, false or an empty value as documented.
///
/// Threads: any thread may open and close handles; one handle is used by one
/// thread at a time.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/text.h"
#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/status.h"

#include <cstdint>

struct sqlite3;

/// Description of a database file, filled by ..._GetInfo.
struct SYxProjectDbFileInfo {
    CYxStringW wszFileName;
    CYxStringW wszJournalMode;         ///< answer of "PRAGMA journal_mode;"
    CYxStringW wszStoredJournalMode;   ///< settings row journal_mode
    CYxStringW wszStoredSynchronous;   ///< settings row synchronous
    bool bNetworkDrive = false;
    bool bReadOnly = false;            ///< read-only attribute, or the test write failed
    bool bDamaged = false;             ///< the test write failed with SQLITE_CORRUPT (11)
    std::int32_t iOpenResult = 0;      ///< status of the open
    std::int32_t iFolderFormat = 0;    ///< settings row folderformat
    std::int32_t iMainReadError = 0;
    std::int64_t iMainVersion = 0;
    std::int32_t iPlateReadError = 0;
    std::int64_t iPlateVersion = 0;
    std::int32_t iSilentReadError = 0;
    std::int64_t iSilentVersion = 0;
};

/// The folderformat written into new databases: run folders are named
/// "<run name>\<creation time>" relative to their project folder.
enum { YX_PROJECTDB_FOLDERFORMAT_CURRENT = 1 };

// ---- jobs database files

/// Creates a new jobs database with the full schema (main 136, silent 1), its
/// settings and identity, and the "<name> Projects" folder beside it.
/// -1 for an empty path; an SQLite code when the file cannot be made (the
/// transaction is rolled back); 0 on success.
GNR_API int YxProjectDb_Db_Jobs_Create(const wchar_t* path);
/// Creates, connects, adds the built-in content (the "plate" and "dish"
/// catalog version rows and the default display options), disconnects.
/// 0, or -9 when any of it fails (an existing file is left as it was).
GNR_API int YxProjectDb_Db_Jobs_CreateWithUpgrades(const wchar_t* path);
/// Opens for reading and writing: 0 for an empty path, a read-only file, or a
/// failed open. Never upgrades.
GNR_API YxProjectDbHandle YxProjectDb_Db_Jobs_Connect(const wchar_t* path);
/// Opens read-only; 0 on failure.
GNR_API YxProjectDbHandle YxProjectDb_Db_Jobs_ConnectForRead(const wchar_t* path);
/// Describes a file without keeping it open. info may be null. -1 for an empty
/// path or a main version of 137 or more (all fields filled); -9 when the
/// file's attributes cannot be read; -10 when read-only or not writable
/// (damaged files included); the open status when the open fails; else 0.
GNR_API int YxProjectDb_Db_Jobs_GetInfo(const wchar_t* path, SYxProjectDbFileInfo* info);

// ---- application database files (same steps on the application schema)

GNR_API int YxProjectDb_Db_Vasq_Create(const wchar_t* path);
GNR_API YxProjectDbHandle YxProjectDb_Db_Vasq_Connect(const wchar_t* path);
GNR_API YxProjectDbHandle YxProjectDb_Db_Vasq_ConnectForRead(const wchar_t* path);
GNR_API int YxProjectDb_Db_Vasq_GetInfo(const wchar_t* path, SYxProjectDbFileInfo* info);

// ---- questions on an open database

/// Copies the open database into another open SQLite connection. -9 without
/// connection; else the backup's SQLite status.
GNR_API int YxProjectDb_Db_Backup(YxProjectDbHandle handle, sqlite3* target);
/// File name of the main database; "" for an unknown handle.
GNR_API CYxStringW YxProjectDb_Db_Filename(YxProjectDbHandle handle);
/// Folder of the database file, with a trailing '/'; "" for an unknown handle.
GNR_API CYxStringW YxProjectDb_Db_Folder(YxProjectDbHandle handle);
/// Root folder of the project files: "<folder>/<file name without extension>
/// Projects/"; "" for an unknown handle.
GNR_API CYxStringW YxProjectDb_Db_ProjectRootFolder(YxProjectDbHandle handle);
/// The project root folder's name for a database path: "<file name without
/// extension> Projects".
GNR_API CYxStringW YxProjectDb_Db_ProjectFolderName(const wchar_t* path);
/// Size of the database file in bytes; 0 for an unknown handle.
GNR_API std::uint64_t YxProjectDb_Db_GetSize(YxProjectDbHandle handle);
/// Whether the table exists; false for an unknown handle.
GNR_API bool YxProjectDb_Db_HasTable(YxProjectDbHandle handle, const wchar_t* table);
/// 0 when a test write succeeds; -9 without connection or when it fails.
GNR_API int YxProjectDb_Db_IsWriteable(YxProjectDbHandle handle);
/// True inside a transaction; false for an unknown handle.
GNR_API bool YxProjectDb_Db_IsInTransaction(YxProjectDbHandle handle);

// ---- transactions and savepoints

/// "BEGIN EXCLUSIVE TRANSACTION;", retried every 30 ms until it succeeds. 0, or
/// -9 without connection.
GNR_API int YxProjectDb_Db_TransactionBegin(YxProjectDbHandle handle);
/// 0, or -9 when it fails or without connection.
GNR_API int YxProjectDb_Db_TransactionCommit(YxProjectDbHandle handle);
GNR_API int YxProjectDb_Db_TransactionRollback(YxProjectDbHandle handle);
/// "SAVEPOINT <name>;", "RELEASE SAVEPOINT <name>;", "ROLLBACK TRANSACTION TO
/// SAVEPOINT <name>;". 0, or -9 when it fails or without connection. The name
/// must be a plain identifier (ASCII letter or "_", then letters, digits, "_"):
/// any other name fails with -9 and runs nothing.
GNR_API int YxProjectDb_Db_SavepointSet(YxProjectDbHandle handle, const wchar_t* name);
GNR_API int YxProjectDb_Db_SavepointRelease(YxProjectDbHandle handle, const wchar_t* name);
GNR_API int YxProjectDb_Db_SavepointRollback(YxProjectDbHandle handle, const wchar_t* name);

/// Scoped guard: begins a transaction only when none is open, and then commits
/// it when it ends. It never rolls back: code that must discard its work
/// rolls back explicitly before the guard ends.
class GNR_API CYxProjectDb_Db_TransactionHolder {
public:
    explicit CYxProjectDb_Db_TransactionHolder(YxProjectDbHandle handle);
    ~CYxProjectDb_Db_TransactionHolder();
    CYxProjectDb_Db_TransactionHolder(const CYxProjectDb_Db_TransactionHolder&) = delete;
    CYxProjectDb_Db_TransactionHolder& operator=(const CYxProjectDb_Db_TransactionHolder&) = delete;
    bool OwnsTransaction() const { return m_began; }

private:
    YxProjectDbHandle m_handle;
    bool m_began;
};

// ---- options (rows of the settings table)

/// 0 for a missing row or connection.
GNR_API int YxProjectDb_Db_GetOptInt32(YxProjectDbHandle handle, const wchar_t* name);
/// "" for a missing row or connection.
GNR_API CYxStringW YxProjectDb_Db_GetOptStr(YxProjectDbHandle handle, const wchar_t* name);
/// Names: folderformat, sortorder, customtype, customid, sorttype (any case);
/// -13 for another name, -9 without connection, else 0 (the write's own
/// outcome is not reported).
GNR_API int YxProjectDb_Db_SetOptInt32(YxProjectDbHandle handle, const wchar_t* name, int value);
/// -9 without connection; journal_mode and synchronous are applied first (the
/// pragma's failure is returned); categories "Default" is stored as "". 0.
GNR_API int YxProjectDb_Db_SetOptStr(YxProjectDbHandle handle, const wchar_t* name, const wchar_t* value);
