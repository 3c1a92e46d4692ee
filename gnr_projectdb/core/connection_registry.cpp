#include "gnr_projectdb/connection.h"

#include "framework/yxstring.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_stmtcache.h"

#include <sqlite3.h>

#include <algorithm>
#include <cassert>

namespace {
constexpr int kProgressPeriod = 10000;

int ProgressTrampoline(void* state) {
    return static_cast<CYxProjectDbConnectionState*>(state)->CallHandlerCallbacks();
}
}  // namespace

CYxSqliteStmtCache* CYxProjectDbConnectionState::Statements() {
    if (!m_statements && m_db) m_statements = std::make_shared<CYxSqliteStmtCache>(m_db);
    return m_statements.get();
}

void CYxProjectDbConnectionState::AddProgressHandler(IYxProjectDbProgressHandler* handler) {
    if (handler && std::find(m_handlers.begin(), m_handlers.end(), handler) == m_handlers.end())
        m_handlers.push_back(handler);
    if (!m_handlers.empty() && m_db) sqlite3_progress_handler(m_db, kProgressPeriod, &ProgressTrampoline, this);
}

void CYxProjectDbConnectionState::RemoveProgressHandler(IYxProjectDbProgressHandler* handler) {
    auto it = std::find(m_handlers.begin(), m_handlers.end(), handler);
    if (it != m_handlers.end()) m_handlers.erase(it);
    if (m_handlers.empty() && m_db) sqlite3_progress_handler(m_db, 0, nullptr, nullptr);
}

int CYxProjectDbConnectionState::CallHandlerCallbacks() {
    int result = 0;
    for (IYxProjectDbProgressHandler* h : m_handlers) {
        const int r = h->OnProgress();  // every handler is asked, every time
        if (result == 0 && r != 0) result = r;
    }
    return result;
}

CYxProjectDbConnectionManager::CYxProjectDbConnectionManager() { m_map.emplace(0, CYxProjectDbConnectionState()); }

CYxProjectDbConnectionManager::CYxProjectDbConnectionManager(const CYxProjectDbConnectionManager& other) {
    std::lock_guard<std::mutex> g(const_cast<std::mutex&>(other.m_lock));
    m_map = other.m_map;
    m_free = other.m_free;
}

CYxProjectDbConnectionManager& CYxProjectDbConnectionManager::operator=(const CYxProjectDbConnectionManager& other) {
    if (this == &other) return *this;
    std::scoped_lock g(m_lock, const_cast<std::mutex&>(other.m_lock));
    m_map = other.m_map;
    m_free = other.m_free;
    return *this;
}

CYxProjectDbConnectionManager& CYxProjectDbConnectionManager::GetInstance() {
    // Created on first use, which is before any connect; entry 0 is reserved
    // by the constructor.
    static CYxProjectDbConnectionManager instance;
    return instance;
}

CYxProjectDbConnection CYxProjectDbConnectionManager::GetConnection(YxProjectDbHandle handle) {
    return GetInstance().Get(handle);
}

YxProjectDbHandle CYxProjectDbConnectionManager::Add(sqlite3* db) {
    std::lock_guard<std::mutex> g(m_lock);
    YxProjectDbHandle handle;
    if (!m_free.empty()) {
        handle = m_free.front();
        m_free.pop_front();
    } else {
        handle = m_map.size();
    }
    assert(handle != 0 && m_map.find(handle) == m_map.end());
    m_map[handle] = CYxProjectDbConnectionState(db);
    return handle;
}

void CYxProjectDbConnectionManager::Delete(YxProjectDbHandle handle) {
    if (handle == 0) return;
    std::lock_guard<std::mutex> g(m_lock);
    auto it = m_map.find(handle);
    if (it == m_map.end()) return;  // never queue a number twice
    m_map.erase(it);
    m_free.push_back(handle);
}

CYxProjectDbConnection CYxProjectDbConnectionManager::Get(YxProjectDbHandle handle) {
    std::lock_guard<std::mutex> g(m_lock);
    auto it = m_map.find(handle);
    if (it == m_map.end()) return m_map[0];
    it->second.Statements();  // made on first use
    return it->second;
}

void CYxProjectDbConnectionManager::AddProgressHandler(YxProjectDbHandle handle,
                                                       IYxProjectDbProgressHandler* handler) {
    std::lock_guard<std::mutex> g(m_lock);
    auto it = m_map.find(handle);
    if (it != m_map.end() && handle != 0) it->second.AddProgressHandler(handler);
}

void CYxProjectDbConnectionManager::RemoveProgressHandler(YxProjectDbHandle handle,
                                                          IYxProjectDbProgressHandler* handler) {
    std::lock_guard<std::mutex> g(m_lock);
    auto it = m_map.find(handle);
    if (it != m_map.end() && handle != 0) it->second.RemoveProgressHandler(handler);
}

std::size_t CYxProjectDbConnectionManager::Count() {
    std::lock_guard<std::mutex> g(m_lock);
    return m_map.size() - 1;
}

void YxProjectDb_Db_Disconnect(YxProjectDbHandle handle) {
    const CYxProjectDbConnection conn = CYxProjectDbConnectionManager::GetConnection(handle);
    sqlite3* db = conn;
    if (!db) return;
    // The cached statements go first: a statement left alive would keep the
    // file open after the close.
    if (conn.Statements()) conn.Statements()->Clear();
    // sqlite3_close_v2 defers the close if a statement is still alive, so the
    // handle number is never reused for a connection that is still open.
    sqlite3_close_v2(db);
    CYxProjectDbConnectionManager::GetInstance().Delete(handle);
}

int YxProjectDb_CompareVesions(YxProjectDbHandle a, YxProjectDbHandle b) {
    if (a == 0 || b == 0) return YXPDB_E_NOCONNECTION;
    sqlite3* dbA = CYxProjectDbConnectionManager::GetConnection(a);
    sqlite3* dbB = CYxProjectDbConnectionManager::GetConnection(b);
    for (const wchar_t* name : {L"main", L"plate", L"dish"}) {
        const CYxStringW q =
            CYxStringW::Format(L"SELECT %s FROM %s WHERE %s='%s';", L"iVersion", L"vesion", L"wszName", name);
        int errA = 0, errB = 0;
        const std::int64_t va = YxSqlite_ReadOneInt64(dbA, q, &errA);
        const std::int64_t vb = YxSqlite_ReadOneInt64(dbB, q, &errB);
        // Only A's read error is tested; an error in B shows as a version of 0.
        if (errA != 0 && errA != 101) return YXPDB_E_NOCONNECTION;
        if (va == 0 || vb == 0) return YXPDB_E_NOCONNECTION;
        if (va < vb) return YXPDB_E_OLDER;
        if (va > vb) return std::wstring_view(name) == L"main" ? YXPDB_E_NEWER_MAIN : YXPDB_E_NEWER_CATALOG;
    }
    return YXPDB_OK;
}
