// Transactions, savepoints and the scoped transaction guard.
#include "framework/yxdiag.h"
#include "gnr_projectdb/core/db_internal.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_guard.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"

#include <sqlite3.h>

#include <chrono>
#include <thread>

namespace {

int Run(sqlite3* db, const CYxStringW& sql) {
    return YxSqlite_ExecuteSingle(db, sql, nullptr, true) == SQLITE_OK ? YXPDB_OK : YXPDB_E_NOCONNECTION;
}

// A savepoint statement; the name is spliced bare, so it must be a plain
// identifier. A refused name runs nothing and fails as the statement would.
int RunSavepoint(sqlite3* db, const wchar_t* format, const wchar_t* name) {
    if (YxSqlite_CheckIdentifier(name) != SQLITE_OK) return YXPDB_E_NOCONNECTION;
    return Run(db, CYxStringW::Format(format, name));
}
}  // namespace

int YxProjectDb_Db_TransactionBegin(YxProjectDbHandle handle) {
    sqlite3* db = YxDb_Conn(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    // Waits as long as another connection holds the database. A failure that
    // waiting cannot cure (a transaction already open on this connection)
    // is reported instead of retried for ever.
    for (;;) {
        CYxStringW error;
        const int rc = YxSqlite_ExecuteSingle(db, L"BEGIN EXCLUSIVE TRANSACTION;", &error, false);
        if (rc == SQLITE_OK) return YXPDB_OK;
        if (rc != SQLITE_BUSY && rc != SQLITE_LOCKED) {
            YX_DIAG_WARN(L"Cannot begin a transaction: %s", error);
            return YXPDB_E_NOCONNECTION;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
    }
}

int YxProjectDb_Db_TransactionCommit(YxProjectDbHandle handle) {
    sqlite3* db = YxDb_Conn(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    return Run(db, L"COMMIT TRANSACTION;");
}

int YxProjectDb_Db_TransactionRollback(YxProjectDbHandle handle) {
    sqlite3* db = YxDb_Conn(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    return Run(db, L"ROLLBACK TRANSACTION;");
}

int YxProjectDb_Db_SavepointSet(YxProjectDbHandle handle, const wchar_t* name) {
    sqlite3* db = YxDb_Conn(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    return RunSavepoint(db, L"SAVEPOINT %s;", name);
}

int YxProjectDb_Db_SavepointRelease(YxProjectDbHandle handle, const wchar_t* name) {
    sqlite3* db = YxDb_Conn(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    return RunSavepoint(db, L"RELEASE SAVEPOINT %s;", name);
}

int YxProjectDb_Db_SavepointRollback(YxProjectDbHandle handle, const wchar_t* name) {
    // No connection test here: the SQL layer refuses a null connection.
    return RunSavepoint(YxDb_Conn(handle), L"ROLLBACK TRANSACTION TO SAVEPOINT %s;", name);
}

CYxProjectDb_Db_TransactionHolder::CYxProjectDb_Db_TransactionHolder(YxProjectDbHandle handle)
    : m_handle(handle), m_began(!YxProjectDb_Db_IsInTransaction(handle)) {
    if (m_began) YxProjectDb_Db_TransactionBegin(m_handle);
}

CYxProjectDb_Db_TransactionHolder::~CYxProjectDb_Db_TransactionHolder() {
    if (m_began) YxProjectDb_Db_TransactionCommit(m_handle);
}
