#include "gnr_projectdb/sqlsupport/yxsqlite_stmtcache.h"

#include "gnr_projectdb/sqlsupport/yxsqlite_guard.h"

#include <sqlite3.h>

#include <cassert>

CYxSqliteStmtCache::CYxSqliteStmtCache(sqlite3* db, std::size_t capacity)
    : m_db(db), m_capacity(capacity ? capacity : 1) {}

CYxSqliteStmtCache::~CYxSqliteStmtCache() { Clear(); }

sqlite3_stmt* CYxSqliteStmtCache::Take(std::string_view key) {
    auto it = m_byKey.find(key);
    if (it == m_byKey.end() || it->second->lent) return nullptr;
    // Most recently used first: the entry moves to the front.
    m_entries.splice(m_entries.begin(), m_entries, it->second);
    it->second->lent = true;
    return it->second->stmt;
}

int CYxSqliteStmtCache::Prepare(std::string_view key, const std::string& sqlUtf8, sqlite3_stmt** stmt,
                                bool* cached) {
    *stmt = nullptr;
    *cached = false;
    if (!m_db) return SQLITE_MISUSE;
    sqlite3_stmt* s = nullptr;
    const char* tail = nullptr;
    int rc = sqlite3_prepare_v3(m_db, sqlUtf8.c_str(), static_cast<int>(sqlUtf8.size()), SQLITE_PREPARE_PERSISTENT,
                                &s, &tail);
    if (rc == SQLITE_OK && yxsqlite_detail::CheckSingleStatementTail(m_db, tail) != SQLITE_OK) rc = SQLITE_ERROR;
    if (rc != SQLITE_OK || !s) {
        sqlite3_finalize(s);
        return rc != SQLITE_OK ? rc : SQLITE_ERROR;  // an empty text is no statement
    }
    *stmt = s;
    if (m_byKey.find(key) != m_byKey.end()) return SQLITE_OK;  // lent out: this one stays the caller's
    m_entries.push_front(Entry{std::string(key), s, true});
    m_byKey.emplace(std::string_view(m_entries.front().key), m_entries.begin());
    *cached = true;
    Trim();
    return SQLITE_OK;
}

CYxSqliteStmtCache::List::iterator CYxSqliteStmtCache::Find(sqlite3_stmt* stmt) {
    // The statement handed back is nearly always the one lent last, at the
    // front; nested users sit a few places behind it.
    for (auto it = m_entries.begin(); it != m_entries.end(); ++it)
        if (it->stmt == stmt) return it;
    return m_entries.end();
}

void CYxSqliteStmtCache::Release(sqlite3_stmt* stmt, bool discard) noexcept {
    if (!stmt) return;
    auto it = Find(stmt);
    assert(it != m_entries.end() && it->lent);
    if (it == m_entries.end()) {
        sqlite3_finalize(stmt);
        return;
    }
    if (discard) {
        m_byKey.erase(std::string_view(it->key));
        m_entries.erase(it);
        sqlite3_finalize(stmt);
        return;
    }
    sqlite3_reset(stmt);
    sqlite3_clear_bindings(stmt);
    it->lent = false;
    Trim();
}

void CYxSqliteStmtCache::Trim() noexcept {
    // Least recently used first out; statements lent out stay until back.
    auto it = m_entries.end();
    while (m_entries.size() > m_capacity && it != m_entries.begin()) {
        --it;
        if (it->lent) continue;
        sqlite3_finalize(it->stmt);
        m_byKey.erase(std::string_view(it->key));
        it = m_entries.erase(it);
    }
}

void CYxSqliteStmtCache::Clear() noexcept {
    assert(LentCount() == 0);
    for (Entry& e : m_entries) sqlite3_finalize(e.stmt);
    m_byKey.clear();
    m_entries.clear();
}

std::size_t CYxSqliteStmtCache::LentCount() const {
    std::size_t n = 0;
    for (const Entry& e : m_entries) n += e.lent ? 1 : 0;
    return n;
}
