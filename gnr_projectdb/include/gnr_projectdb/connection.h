/// \file
/// The connection registry: maps database handles (small integers) to open
/// SQLite connections, their per-connection progress handlers and their
/// caches of prepared statements.
///
/// Handle 0 is reserved and never issued. Released handle numbers are reused,
/// the one released longest ago first; otherwise handles count up 1, 2, 3...
///
/// Thread safety: every member except GetInstance takes the registry's one
/// mutex for its whole run, so handles may be opened, looked up and closed from
/// any thread. The lock does not cover the use of a connection: a handle must
/// not be used by two threads at once, nor disconnected while in use. The
/// statement cache of a connection is used only by the thread that uses its
/// handle, and needs no lock of its own.
/// Progress handlers are read by SQLite's callback without the lock: add them
/// before and remove them after the statements they watch, on the same thread.
#pragma once

#include "gnr_projectdb/export.h"
#include "gnr_projectdb/status.h"

#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

struct sqlite3;
class CYxSqliteStmtCache;

/// Supplied by callers that watch long statements (for example to cancel them).
class GNR_API IYxProjectDbProgressHandler {
public:
    virtual ~IYxProjectDbProgressHandler() = default;
    /// Called during long statements; 0 lets the statement continue, non-zero
    /// asks for it to be interrupted.
    virtual int OnProgress() = 0;
};

/// A non-owning value wrapper of one SQLite connection pointer, and, for a
/// connection resolved from a handle, of its statement cache.
class GNR_API CYxProjectDbConnection {
public:
    CYxProjectDbConnection() = default;
    CYxProjectDbConnection(sqlite3* db) : m_db(db) {}
    CYxProjectDbConnection(sqlite3* db, CYxSqliteStmtCache* statements) : m_db(db), m_statements(statements) {}
    operator sqlite3*() const { return m_db; }
    sqlite3* Get() const { return m_db; }
    bool IsNull() const { return m_db == nullptr; }
    /// The statement cache of the connection; null for the null connection
    /// and for a connection that was not resolved from a handle.
    CYxSqliteStmtCache* Statements() const { return m_statements; }

private:
    sqlite3* m_db = nullptr;
    CYxSqliteStmtCache* m_statements = nullptr;
};

/// What the registry keeps per handle: the connection, its handlers and its
/// statement cache (made on first use; copies of a state share it).
class GNR_API CYxProjectDbConnectionState {
public:
    CYxProjectDbConnectionState() = default;
    explicit CYxProjectDbConnectionState(sqlite3* db) : m_db(db) {}
    operator CYxProjectDbConnection() const { return CYxProjectDbConnection(m_db, m_statements.get()); }

    /// The statement cache, made on first use; null for the null connection.
    CYxSqliteStmtCache* Statements();

    /// Null is ignored and a handler is never added twice. Installs SQLite's
    /// progress callback (every 10000 instructions) while any handler is set.
    void AddProgressHandler(IYxProjectDbProgressHandler* handler);
    /// Removes the handler; with none left, removes SQLite's progress callback.
    void RemoveProgressHandler(IYxProjectDbProgressHandler* handler);
    /// Asks every handler in order; the first non-zero answer (0 when none).
    int CallHandlerCallbacks();
    std::size_t HandlerCount() const { return m_handlers.size(); }

private:
    sqlite3* m_db = nullptr;
    std::vector<IYxProjectDbProgressHandler*> m_handlers;
    std::shared_ptr<CYxSqliteStmtCache> m_statements;
};

class GNR_API CYxProjectDbConnectionManager {
public:
    static CYxProjectDbConnectionManager& GetInstance();
    /// Get() on the single instance: the lookup every handle-taking operation
    /// performs first. An unknown handle yields the null connection.
    static CYxProjectDbConnection GetConnection(YxProjectDbHandle handle);

    /// Issues a handle for an open connection.
    YxProjectDbHandle Add(sqlite3* db);
    /// Forgets a handle (0 is ignored) and queues its number for reuse. The
    /// connection is not closed here.
    void Delete(YxProjectDbHandle handle);
    CYxProjectDbConnection Get(YxProjectDbHandle handle);
    /// Unknown handles: nothing happens.
    void AddProgressHandler(YxProjectDbHandle handle, IYxProjectDbProgressHandler* handler);
    void RemoveProgressHandler(YxProjectDbHandle handle, IYxProjectDbProgressHandler* handler);
    /// Number of live handles (entry 0 not counted).
    std::size_t Count();

    CYxProjectDbConnectionManager(const CYxProjectDbConnectionManager& other);
    CYxProjectDbConnectionManager& operator=(const CYxProjectDbConnectionManager& other);

private:
    CYxProjectDbConnectionManager();

    std::mutex m_lock;
    std::map<YxProjectDbHandle, CYxProjectDbConnectionState> m_map;
    std::deque<YxProjectDbHandle> m_free;
};

/// Finalizes the cached statements of the handle's connection, closes the
/// connection and then releases the handle for reuse. An unknown handle:
/// nothing happens.
GNR_API void YxProjectDb_Db_Disconnect(YxProjectDbHandle handle);

/// Compares the "main", "plate" and "dish" versions of two databases, in this
/// order. Returns 0 when all are equal; -9 for a zero handle, a failed read in
/// A or a version of 0; -38 when A is older in a name; -19 when A is newer in
/// "main", -57 when newer in "plate" or "dish".
GNR_API int YxProjectDb_CompareVesions(YxProjectDbHandle a, YxProjectDbHandle b);
