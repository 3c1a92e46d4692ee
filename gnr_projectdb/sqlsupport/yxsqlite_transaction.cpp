#include "gnr_projectdb/sqlsupport/yxsqlite_transaction.h"

#include <sqlite3.h>

#include <chrono>
#include <thread>

CYxSqliteTransaction::CYxSqliteTransaction(sqlite3* db, bool retry, int period) : m_db(db) {
    if (!db || !sqlite3_get_autocommit(db)) return;
    for (;;) {
        const int rc = sqlite3_exec(db, "BEGIN TRANSACTION;", nullptr, nullptr, nullptr);
        if (rc == SQLITE_OK) {
            m_active = true;
            return;
        }
        if (!retry || ((rc & 0xFF) != SQLITE_BUSY && (rc & 0xFF) != SQLITE_LOCKED)) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(period > 0 ? period : 30));
    }
}

int CYxSqliteTransaction::End() {
    if (!m_active) return SQLITE_OK;
    m_active = false;
    if (sqlite3_get_autocommit(m_db)) return SQLITE_OK;  // ended by a statement already
    if (m_commit) {
        int rc = SQLITE_OK;
        for (int attempt = 0; attempt < 2000; ++attempt) {
            rc = sqlite3_exec(m_db, "COMMIT TRANSACTION;", nullptr, nullptr, nullptr);
            if ((rc & 0xFF) != SQLITE_BUSY) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
        }
        if (rc == SQLITE_OK) return rc;
        sqlite3_exec(m_db, "ROLLBACK TRANSACTION;", nullptr, nullptr, nullptr);
        return rc;
    }
    return sqlite3_exec(m_db, "ROLLBACK TRANSACTION;", nullptr, nullptr, nullptr);
}

CYxSqliteTransaction::~CYxSqliteTransaction() { End(); }
