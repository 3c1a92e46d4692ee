// Helper functions over an open SQLite connection: open and close, scripts,
// single values, transactions, backup, file name and error text, and the
// SQL generators for table definitions.
//
// Every function that returns int returns 0 (SQLITE_OK) or an SQLite result
// code. A null connection is refused with SQLITE_MISUSE (21); nothing here
// crashes on null arguments. Functions hold no state and no locks: a
// connection is used by one thread at a time.
#pragma once

#include "framework/yxstring.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_tabledef.h"

#include <cstdint>

struct sqlite3;

// Opens the file with the given SQLite open flags (2 = read-write without
// create, 6 = read-write with create, 1 = read-only). On failure *db is
// closed and set to null and the code returned; *error receives the message.
int YxSqlite_Open(const wchar_t* path, sqlite3** db, int flags, CYxStringW* error = nullptr);
// As YxSqlite_Open with an optional key. Keys are not supported by the
// SQLite build in use: a non-empty key fails with SQLITE_MISUSE.
int YxSqlite_OpenEncrypted(const wchar_t* path, sqlite3** db, int flags, int keyLength, const void* key,
                                   CYxStringW* error = nullptr);
// As YxSqlite_OpenEncrypted, and then waits (30 ms steps, up to 60 s) while
// another connection holds the file locked so that its schema cannot be read.
int YxSqlite_OpenEncryptedBlocking(const wchar_t* path, sqlite3** db, int flags, int keyLength,
                                           const void* key, CYxStringW* error = nullptr);
int YxSqlite_Close(sqlite3* db);

// Runs every statement of the script in order and stops at the first
// failure, returning its code. With report false nothing is written to the
// diagnostic output. Only for scripts that the library writes itself: a
// statement that carries a caller's text, or a value read from a file, runs
// through YxSqlite_ExecuteSingle. A failing script that began a transaction
// itself (the connection was in autocommit mode before it) has that
// transaction rolled back, so the connection is never left inside it; a
// transaction that was open before the script stays open for its owner.
int YxSqlite_Execute(sqlite3* db, const wchar_t* script, CYxStringW* error = nullptr, bool report = true);
// Runs exactly one statement. Text after it (other than blanks, comments and
// semicolons) makes the call fail with SQLITE_ERROR before anything runs, so
// a value spliced into the statement can never smuggle in a second one.
int YxSqlite_ExecuteSingle(sqlite3* db, const wchar_t* statement, CYxStringW* error = nullptr,
                                   bool report = true);
// As YxSqlite_Execute, but a statement that meets a busy database is retried
// every 30 ms for up to 60 s.
int YxSqlite_ExecuteBlocking(sqlite3* db, const wchar_t* script, CYxStringW* error = nullptr);

// First column of the first row of a query (exactly one statement, else
// SQLITE_ERROR). No row sets *error to SQLITE_DONE (101); a failed query sets
// it to the failure code; else 0.
std::int64_t YxSqlite_ReadOneInt64(sqlite3* db, const wchar_t* query, int* error = nullptr);
CYxStringW YxSqlite_ReadOneStringW(sqlite3* db, const wchar_t* query, int* error = nullptr);
double YxSqlite_ReadOneDouble(sqlite3* db, const wchar_t* query, int* error = nullptr);

// True when the main database has a table of that name (bound, never
// spliced). A failed look-up is false and sets *error to its code; else
// *error is 0.
bool YxSqlite_HasTable(sqlite3* db, const wchar_t* table, int* error = nullptr);

// Begins a (deferred) transaction.
int YxSqlite_StartTransaction(sqlite3* db);
// Begins a transaction on each connection that has none open; the flags tell
// which transactions were begun here. When the second begin fails, the first
// one begun here is rolled back and both flags are false.
int YxSqlite_TryTwoDatabasesTransaction(bool* began1, bool* began2, sqlite3* db1, sqlite3* db2);

// Copies the whole main database of source into target (online backup).
int YxSqlite_Backup(sqlite3* source, sqlite3* target);
// Progress callback: (context, pages copied, total pages); non-zero aborts.
typedef int (*PFYxSqliteBackupProgress)(void* context, int done, int total);
// As YxSqlite_Backup, copying pagesPerStep pages per step (<= 0: all) and
// sleeping sleepMs between steps, with progress after every step. An abort
// from the callback returns SQLITE_ABORT (4) and leaves the target as it was
// (SQLite rolls back the incomplete backup).
int YxSqlite_BackupRunning(sqlite3* source, sqlite3* target, int pagesPerStep, int sleepMs,
                                   PFYxSqliteBackupProgress progress, void* context);

// File name of the main database ("" for an in-memory or null connection).
CYxStringW YxSqlite_Filename(sqlite3* db);
// "SQLite error <code>: <message>" of the connection's last error.
CYxStringW YxSqlite_GetShowableErrorMessage(sqlite3* db);

// ---- generators. Index names are stable: idx_<table>_<column> (own plain
// index), uidx_<table>_<column> (own unique index) and
// idx_<table>_<col1>_<col2>... (composite group).

CYxStringW YxSqlite_CreateTableSqlCommand(const SYxSqliteTableDef& def);
// The same columns under another table name (indexes are not included).
CYxStringW YxSqlite_CreateTableExSqlCommand(const SYxSqliteTableDef& def, const wchar_t* tableName);
// CREATE TABLE followed by the CREATE INDEX statements of the definition.
CYxStringW YxSqlite_CreateTableWithIndexesSqlCommand(const SYxSqliteTableDef& def);
// CREATE INDEX of one column's own index ("" when the column has none).
CYxStringW YxSqlite_CreateColumnIndexSqlCommand(const wchar_t* tableName, const SYxSqliteColDef& col);
// Every index of the definition as CREATE INDEX IF NOT EXISTS: running it
// creates the missing ones and leaves the others alone.
CYxStringW YxSqlite_CheckTableIndexesSqlCommand(const SYxSqliteTableDef& def);
// DROP INDEX IF EXISTS for every index, then DROP TABLE IF EXISTS.
CYxStringW YxSqlite_DropTableAndIndexesSqlCommand(const SYxSqliteTableDef& def);
// Names of the indexes that the definition asks for, in creation order.
std::vector<CYxStringW> YxSqlite_IndexNames(const SYxSqliteTableDef& def);
// The same indexes with their columns in order and whether they are unique.
struct SYxSqliteIndexDef {
    CYxStringW name;
    std::vector<const wchar_t*> columns;
    bool bUnique = false;
};
std::vector<SYxSqliteIndexDef> YxSqlite_IndexList(const SYxSqliteTableDef& def);
// SQL type word of a column type.
const wchar_t* YxSqlite_TypeName(EYxSqliteColType type);

// The schema as an XML document: <schema version="..."> with one <table> per
// definition, its <column>s, its <unique> group and its <index> groups.
CYxStringW YxSqlite_GetAllDefsAsXml(int version, const SYxSqliteTableDef* const* defs, int count);
