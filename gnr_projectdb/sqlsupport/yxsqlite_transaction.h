// CYxSqliteTransaction: a scoped transaction on one connection. It begins on
// construction and commits on destruction unless SetRollback() was called.
// With retry set, a begin that meets a busy database is tried again every
// `period` milliseconds until it succeeds. Used by one thread at a time.
#pragma once

#include "framework/yxexport.h"

struct sqlite3;

class GNR_API CYxSqliteTransaction {
public:
    CYxSqliteTransaction(sqlite3* db, bool retry = true, int period = 30);
    ~CYxSqliteTransaction();
    CYxSqliteTransaction(const CYxSqliteTransaction&) = delete;
    CYxSqliteTransaction& operator=(const CYxSqliteTransaction&) = delete;

    // True when the begin succeeded (false for a null connection, or a
    // connection that is in a transaction already, which is then left alone).
    bool IsActive() const { return m_active; }
    void SetCommit() { m_commit = true; }
    void SetRollback() { m_commit = false; }
    // Ends the transaction now; returns 0 or the SQLite code of the end.
    int End();

private:
    sqlite3* m_db;
    bool m_active = false;
    bool m_commit = true;
};
