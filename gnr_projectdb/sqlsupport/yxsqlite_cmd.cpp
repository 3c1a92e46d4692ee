#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"

#include "framework/yxdiag.h"
#include "framework/yxutf8.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_guard.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_stmtcache.h"

#include <sqlite3.h>

#include <cassert>
#include <cstring>

void CYxSqliteCmd::StmtDeleter::operator()(sqlite3_stmt* s) const noexcept { sqlite3_finalize(s); }

CYxSqliteCmd::CYxSqliteCmd() = default;

CYxSqliteCmd::CYxSqliteCmd(sqlite3* db, const wchar_t* sql) { Prepare(db, sql); }

CYxSqliteCmd::CYxSqliteCmd(CYxSqliteStmtCache& cache, const wchar_t* sql) {
    std::string key(1, 'T');
    YxUtf8AppendWide(key, sql ? sql : L"", sql ? std::wcslen(sql) : 0);
    if (!TakeCached(cache, key)) PrepareForCache(cache, key, sql);
}

CYxSqliteCmd::~CYxSqliteCmd() { DropStmt(); }

namespace {
// Failures after which a cached statement is still good: the database was
// busy, or the values of the run were refused, or it was interrupted. Any
// other failure (a schema change that made the statement invalid, an I/O
// error) takes the statement out of the cache.
bool KeepsStatement(int step) {
    switch (step & 0xFF) {
    case 0:
    case SQLITE_ROW:
    case SQLITE_DONE:
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_CONSTRAINT:
    case SQLITE_INTERRUPT:
    case SQLITE_MISMATCH:
    case SQLITE_TOOBIG:
        return true;
    default:
        return false;
    }
}
}  // namespace

void CYxSqliteCmd::DropStmt() noexcept {
    if (m_cache) {
        m_cache->Release(m_stmt.release(), !KeepsStatement(m_lastStep));
        m_cache = nullptr;
    }
    m_stmt.reset();
}

bool CYxSqliteCmd::TakeCached(CYxSqliteStmtCache& cache, std::string_view key) {
    DropStmt();
    m_db = cache.Db();
    m_lastStep = 0;
    sqlite3_stmt* stmt = cache.Take(key);
    if (!stmt) return false;
    m_stmt.reset(stmt);
    m_cache = &cache;
    return true;
}

int CYxSqliteCmd::PrepareForCache(CYxSqliteStmtCache& cache, std::string_view key, const wchar_t* sql) {
    DropStmt();
    m_db = cache.Db();
    m_lastStep = 0;
    if (!m_db) {
        Fail(SQLITE_MISUSE, "prepare without connection");
        return SQLITE_MISUSE;
    }
    const std::string text = YxUtf8FromWide(std::wstring_view(sql ? sql : L""));
    sqlite3_stmt* stmt = nullptr;
    bool cached = false;
    const int rc = cache.Prepare(key, text, &stmt, &cached);
    if (rc != SQLITE_OK) {
        m_lastStep = rc;
        Fail(rc, text.c_str());
        return rc;
    }
    m_stmt.reset(stmt);
    if (cached) m_cache = &cache;
    return SQLITE_OK;
}

int CYxSqliteCmd::Prepare(sqlite3* db, const wchar_t* sql) {
    DropStmt();
    m_db = db;
    m_lastStep = 0;
    if (!db) {
        Fail(SQLITE_MISUSE, "prepare without connection");
        return SQLITE_MISUSE;
    }
    const std::string text = YxUtf8FromWide(std::wstring_view(sql ? sql : L""));
    sqlite3_stmt* stmt = nullptr;
    const char* tail = nullptr;
    int rc = sqlite3_prepare_v2(db, text.c_str(), static_cast<int>(text.size()), &stmt, &tail);
    // One command is one statement: text after it is refused, never ignored.
    if (rc == SQLITE_OK && yxsqlite_detail::CheckSingleStatementTail(db, tail) != SQLITE_OK) rc = SQLITE_ERROR;
    if (rc != SQLITE_OK) {
        sqlite3_finalize(stmt);
        m_lastStep = rc;
        Fail(rc, text.c_str());
        return rc;
    }
    m_stmt.reset(stmt);
    return SQLITE_OK;
}

void CYxSqliteCmd::CheckBind(int rc) {
    if (rc != SQLITE_OK) Fail(rc, "bind");
}

void CYxSqliteCmd::Bind(int pos) {
    if (m_stmt) CheckBind(sqlite3_bind_null(m_stmt.get(), pos));
}

void CYxSqliteCmd::BindInt32(int pos, int value) {
    if (m_stmt) CheckBind(sqlite3_bind_int(m_stmt.get(), pos, value));
}

void CYxSqliteCmd::BindInt64(int pos, std::int64_t value) {
    if (m_stmt) CheckBind(sqlite3_bind_int64(m_stmt.get(), pos, static_cast<sqlite3_int64>(value)));
}

void CYxSqliteCmd::Bind(int pos, double value) {
    if (m_stmt) CheckBind(sqlite3_bind_double(m_stmt.get(), pos, value));
}

void CYxSqliteCmd::Bind(int pos, const wchar_t* value) {
    if (!m_stmt) return;
    if (!value) {
        Bind(pos);
        return;
    }
    m_buffer.clear();
    YxUtf8AppendWide(m_buffer, value, std::wcslen(value));
    CheckBind(sqlite3_bind_text(m_stmt.get(), pos, m_buffer.data(), static_cast<int>(m_buffer.size()),
                                SQLITE_TRANSIENT));
}

void CYxSqliteCmd::Bind(int pos, const CYxStringW& value) {
    if (!m_stmt) return;
    m_buffer.clear();
    YxUtf8AppendWide(m_buffer, value.c_str(), value.GetLength());
    CheckBind(sqlite3_bind_text(m_stmt.get(), pos, m_buffer.data(), static_cast<int>(m_buffer.size()),
                                SQLITE_TRANSIENT));
}

void CYxSqliteCmd::BindUtf8(int pos, const char* text, int size) {
    if (!m_stmt) return;
    if (!text) {
        Bind(pos);
        return;
    }
    CheckBind(sqlite3_bind_text(m_stmt.get(), pos, text, size, SQLITE_TRANSIENT));
}

void CYxSqliteCmd::Bind(int pos, const void* data, int size) {
    if (!m_stmt) return;
    // A missing array is stored as an empty BLOB, never as NULL.
    static const char kEmpty = 0;
    if (!data || size <= 0) {
        CheckBind(sqlite3_bind_blob(m_stmt.get(), pos, &kEmpty, 0, SQLITE_STATIC));
        return;
    }
    CheckBind(sqlite3_bind_blob(m_stmt.get(), pos, data, size, SQLITE_TRANSIENT));
}

void CYxSqliteCmd::Bind(int pos, const CYxByteArray& value) {
    Bind(pos, value.GetData(), static_cast<int>(value.GetSize()));
}

bool CYxSqliteCmd::Next(std::int64_t* rowid) {
    if (!m_stmt) {
        if (m_result == 0) Fail(SQLITE_MISUSE, "step of an unprepared statement");
        return false;
    }
    const int rc = sqlite3_step(m_stmt.get());
    m_lastStep = rc;
    if (rc == SQLITE_ROW) return true;
    if (rc == SQLITE_DONE) {
        if (rowid) *rowid = static_cast<std::int64_t>(sqlite3_last_insert_rowid(m_db));
        return false;
    }
    Fail(rc, sqlite3_sql(m_stmt.get()));
    // A failed step must be reset before the statement can run again.
    sqlite3_reset(m_stmt.get());
    return false;
}

void CYxSqliteCmd::Column(int col, int& value) const {
    value = m_stmt ? sqlite3_column_int(m_stmt.get(), col) : 0;
}

void CYxSqliteCmd::Column(int col, std::int64_t& value) const {
    value = m_stmt ? static_cast<std::int64_t>(sqlite3_column_int64(m_stmt.get(), col)) : 0;
}

void CYxSqliteCmd::Column(int col, std::int64_t& value, std::int64_t nullValue) const {
    if (IsNull(col)) value = nullValue;
    else Column(col, value);
}

void CYxSqliteCmd::Column(int col, double& value) const {
    value = m_stmt ? sqlite3_column_double(m_stmt.get(), col) : 0.0;
}

void CYxSqliteCmd::Column(int col, double& value, double nullValue) const {
    if (IsNull(col)) value = nullValue;
    else Column(col, value);
}

void CYxSqliteCmd::Column(int col, CYxStringW& value) const {
    if (!m_stmt) {
        value.Empty();
        return;
    }
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(m_stmt.get(), col));
    const int n = sqlite3_column_bytes(m_stmt.get(), col);
    value = CYxStringW(YxWideFromUtf8(text, text ? static_cast<std::size_t>(n) : 0));
}

void CYxSqliteCmd::Column(int col, CYxByteArray& value) const {
    if (!m_stmt) {
        value.Clear();
        return;
    }
    const void* data = sqlite3_column_blob(m_stmt.get(), col);
    const int n = sqlite3_column_bytes(m_stmt.get(), col);
    value.SetData(data, data ? static_cast<std::size_t>(n) : 0);
}

void CYxSqliteCmd::Column(int col, bool& value) const {
    value = m_stmt && sqlite3_column_int64(m_stmt.get(), col) != 0;
}

bool CYxSqliteCmd::IsNull(int col) const {
    return !m_stmt || sqlite3_column_type(m_stmt.get(), col) == SQLITE_NULL;
}

int CYxSqliteCmd::ColumnCount() const { return m_stmt ? sqlite3_column_count(m_stmt.get()) : 0; }

CYxStringW CYxSqliteCmd::ColumnName(int col) const {
    const char* name = m_stmt ? sqlite3_column_name(m_stmt.get(), col) : nullptr;
    return name ? CYxStringW::FromUtf8(name) : CYxStringW();
}

const char* CYxSqliteCmd::ColumnUtf8(int col) const {
    return m_stmt ? reinterpret_cast<const char*>(sqlite3_column_text(m_stmt.get(), col)) : nullptr;
}

void CYxSqliteCmd::Reset() {
    if (m_stmt) sqlite3_reset(m_stmt.get());
}

void CYxSqliteCmd::ClearBindings() {
    if (m_stmt) sqlite3_clear_bindings(m_stmt.get());
}

int CYxSqliteCmd::Result(int* extended) const {
    if (extended) *extended = m_resultExtended;
    return m_result;
}

bool CYxSqliteCmd::IsBusy() const {
    const int primary = m_lastStep & 0xFF;
    return primary == SQLITE_BUSY || primary == SQLITE_LOCKED;
}

int CYxSqliteCmd::Changes() const { return m_db ? sqlite3_changes(m_db) : 0; }

void CYxSqliteCmd::Fail(int rc, const char* what) {
    const int primary = rc & 0xFF;
    if (m_ignoreBusy && (primary == SQLITE_BUSY || primary == SQLITE_LOCKED)) return;
    if (m_ignoreConstraint && primary == SQLITE_CONSTRAINT) return;
    if (m_result == 0) {
        m_result = primary;
        m_resultExtended = m_db ? sqlite3_extended_errcode(m_db) : rc;
    }
    OnError(rc, what);
}

void CYxSqliteCmd::OnError(int rc, const char* what) {
    const char* msg = m_db ? sqlite3_errmsg(m_db) : sqlite3_errstr(rc);
    YX_DIAG_WARN(L"SQLite error %d (%s) in: %s", rc, CYxStringW::FromUtf8(msg ? msg : ""),
                 CYxStringW::FromUtf8(what ? what : ""));
}
