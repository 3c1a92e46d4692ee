#include "gnr_projectdb/sqlsupport/yxsqlite_transaction.h"

#include <sqlite3.h>

#include <chrono>
#include <exception>
#include <thread>

namespace {
// The savepoint of a guard nested in someone else's transaction. Nested
// guards reuse the name: SQLite resolves it to the innermost one.
constexpr const char* kSavepoint = "SAVEPOINT yx_guard;";
constexpr const char* kRelease = "RELEASE SAVEPOINT yx_guard;";
constexpr const char* kRollbackTo = "ROLLBACK TRANSACTION TO SAVEPOINT yx_guard;";

int Exec(sqlite3* db, const char* sql) { return sqlite3_exec(db, sql, nullptr, nullptr, nullptr); }

bool IsBusy(int rc) { return (rc & 0xFF) == SQLITE_BUSY || (rc & 0xFF) == SQLITE_LOCKED; }
}  // namespace

CYxSqliteTransaction::CYxSqliteTransaction(sqlite3* db, bool retry, int period) : m_db(db) {
    if (!db) {
        m_ended = true;
        return;
    }
    if (!sqlite3_get_autocommit(db)) {
        m_inside = true;
        m_savepoint = Exec(db, kSavepoint) == SQLITE_OK;
        return;
    }
    for (;;) {
        const int rc = Exec(db, "BEGIN TRANSACTION;");
        if (rc == SQLITE_OK) {
            m_active = true;
            return;
        }
        if (!retry || !IsBusy(rc)) {
            m_ended = true;
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(period > 0 ? period : 30));
    }
}

bool CYxSqliteTransaction::IsLost() const {
    return m_db && (m_active || m_inside) && sqlite3_get_autocommit(m_db);
}

int CYxSqliteTransaction::End() {
    if (m_ended) return m_commit && IsLost() ? SQLITE_ABORT : SQLITE_OK;
    m_ended = true;
    if (IsLost()) return m_commit ? SQLITE_ABORT : SQLITE_OK;
    if (m_savepoint) {
        if (!m_commit) {
            const int rc = Exec(m_db, kRollbackTo);
            const int rel = Exec(m_db, kRelease);
            return rc != SQLITE_OK ? rc : rel;
        }
        const int rc = Exec(m_db, kRelease);
        if (rc != SQLITE_OK && !sqlite3_get_autocommit(m_db)) {
            Exec(m_db, kRollbackTo);
            Exec(m_db, kRelease);
        }
        return rc;
    }
    if (!m_active) return SQLITE_OK;
    if (!m_commit) return Exec(m_db, "ROLLBACK TRANSACTION;");
    // COMMIT can meet a busy database in rollback-journal mode; it is retried
    // for a while, and if it still fails the transaction is rolled back.
    int rc = SQLITE_OK;
    for (int attempt = 0; attempt < 2000; ++attempt) {
        rc = Exec(m_db, "COMMIT TRANSACTION;");
        if (!IsBusy(rc)) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
    }
    if (rc == SQLITE_OK) return rc;
    if (!sqlite3_get_autocommit(m_db)) Exec(m_db, "ROLLBACK TRANSACTION;");
    return rc;
}

int CYxSqliteTransaction::Finish(int status) {
    if (status != 0) {
        SetRollback();
        End();
        return status;
    }
    SetCommit();
    return End();
}

CYxSqliteTransaction::~CYxSqliteTransaction() {
    if (std::uncaught_exceptions() > 0) SetRollback();
    End();
}
