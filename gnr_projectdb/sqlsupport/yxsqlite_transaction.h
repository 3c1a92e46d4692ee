// CYxSqliteTransaction: a scoped transaction on one connection.
//
// On a connection in autocommit mode it begins a transaction of its own
// (IsActive); with retry set, a begin that meets a busy database is tried
// again every `period` milliseconds until it succeeds. Inside a transaction
// that someone else opened it sets a savepoint instead (IsSavepoint), so that
// the work done under the guard can still be undone on its own without
// touching the enclosing work.
//
// Ending. Finish(status) is the rule for every operation that writes under
// the guard: status 0 commits (or releases the savepoint), anything else
// rolls back; a transaction that SQLite rolled back by itself (an interrupted
// statement, a full disk, an I/O error) is never reported as committed. The
// destructor ends a guard that was not ended yet as SetCommit/SetRollback
// chose (commit by default), but always rolls back while an exception passes.
//
// Used by one thread at a time, together with its connection. Destruction
// never throws.
#pragma once

struct sqlite3;

class CYxSqliteTransaction {
public:
    CYxSqliteTransaction(sqlite3* db, bool retry = true, int period = 30);
    ~CYxSqliteTransaction();
    CYxSqliteTransaction(const CYxSqliteTransaction&) = delete;
    CYxSqliteTransaction& operator=(const CYxSqliteTransaction&) = delete;

    // True when the guard began a transaction of its own (false for a null
    // connection, or one that is in a transaction already).
    bool IsActive() const { return m_active; }
    // True when the guard set a savepoint inside someone else's transaction.
    bool IsSavepoint() const { return m_savepoint; }
    void SetCommit() { m_commit = true; }
    void SetRollback() { m_commit = false; }

    // True when the transaction the guard began, or the one it found open,
    // no longer exists: SQLite rolled it back after a failed statement.
    bool IsLost() const;

    // Ends the guard now as chosen. Returns 0 after a commit or a requested
    // rollback; SQLITE_ABORT (4) when a commit was asked for but the
    // transaction is lost; otherwise the SQLite code of the failed end (a
    // failed commit is rolled back). A guard that holds nothing returns 0,
    // or SQLITE_ABORT when the enclosing transaction is lost.
    int End();

    // Commits when status is 0, rolls back otherwise. Returns status when it
    // is non-zero, else End()'s result.
    int Finish(int status);

private:
    sqlite3* m_db;
    bool m_active = false;     // began a transaction of its own
    bool m_savepoint = false;  // set a savepoint in an enclosing transaction
    bool m_inside = false;     // found a transaction open on construction
    bool m_ended = false;
    bool m_commit = true;
};
