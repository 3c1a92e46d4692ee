// The typed commands: SQL text built from a table definition.
#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"

#include "framework/yxutf8.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_stmtcache.h"

#include <sqlite3.h>

#include <cassert>
#include <chrono>
#include <thread>

namespace {

std::vector<int> ColumnIndexes(const SYxSqliteTableDef& def, const std::vector<const wchar_t*>* columns,
                               bool skipKey) {
    std::vector<int> idx;
    if (columns) {
        for (const wchar_t* c : *columns) idx.push_back(YxSqliteTableDef_FindColumn(def, c));
    } else {
        for (int i = 0; i < def.nCols; ++i)
            if (!(skipKey && def.pCols[i].eRole == eYxColPrimaryKey)) idx.push_back(i);
    }
    return idx;
}

const wchar_t* KeyName(const SYxSqliteTableDef& def) {
    for (int i = 0; i < def.nCols; ++i)
        if (def.pCols[i].eRole == eYxColPrimaryKey) return def.pCols[i].wszName;
    return L"iKey";
}

CYxStringW NormalizedClause(const wchar_t* clause) {
    CYxStringW c(clause);
    c.Trim();
    return c;
}

// "t.iKey=?": the condition of every statement by key.
CYxStringW KeyCondition(const SYxSqliteTableDef& def) {
    return CYxStringW::Format(L"%s.%s=?", def.wszName, KeyName(def));
}

// "t.c1=? AND t.c2=? ...".
CYxStringW ColumnsCondition(const SYxSqliteTableDef& def, const std::vector<const wchar_t*>& columns) {
    CYxStringW where;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (i) where += L" AND ";
        where.AppendFormat(L"%s.%s=?", def.wszName, columns[i]);
    }
    return where;
}

}  // namespace

std::string yxsqlite_detail::StmtKey(char kind, const SYxSqliteTableDef& def, const wchar_t* clause,
                                     const std::vector<const wchar_t*>* columns) {
    // The definition is known by its address: the cached commands are built
    // over the schema's constants only.
    std::string key(1, kind);
    const SYxSqliteTableDef* p = &def;
    key.append(reinterpret_cast<const char*>(&p), sizeof p);
    if (clause && *clause) {
        const CYxStringW c = NormalizedClause(clause);
        key += '\x1f';
        YxUtf8AppendWide(key, c.c_str(), c.GetLength());
    }
    if (columns)
        for (const wchar_t* c : *columns) {
            key += '\x1e';
            if (c) YxUtf8AppendWide(key, c, std::wcslen(c));
        }
    return key;
}

// ---------------------------------------------------------------- select

CYxStringW CYxSqliteSelect::BuildSql(const SYxSqliteTableDef& def, const std::vector<const wchar_t*>* columns,
                                     const wchar_t* where, const wchar_t* tail, bool distinct) {
    CYxStringW sql(distinct ? L"SELECT DISTINCT " : L"SELECT ");
    if (columns) {
        for (std::size_t i = 0; i < columns->size(); ++i) {
            if (i) sql += L", ";
            sql += (*columns)[i];
        }
    } else {
        for (int i = 0; i < def.nCols; ++i) {
            if (i) sql += L", ";
            sql.AppendFormat(L"%s.%s", def.wszName, def.pCols[i].wszName);
        }
    }
    sql.AppendFormat(L" FROM %s", def.wszName);
    if (where && *where) sql.AppendFormat(L" WHERE %s", where);
    if (tail && *tail) sql.AppendFormat(L" %s", tail);
    return sql;
}

CYxSqliteSelect::CYxSqliteSelect(sqlite3* db, const SYxSqliteTableDef& def) : m_def(def) {
    Prepare(db, BuildSql(def, nullptr, nullptr, nullptr, false));
}

CYxSqliteSelect::CYxSqliteSelect(sqlite3* db, const SYxSqliteTableDef& def, std::int64_t key) : m_def(def) {
    Prepare(db, BuildSql(def, nullptr, KeyCondition(def), nullptr, false));
    BindInt64(1, key);
}

CYxSqliteSelect::CYxSqliteSelect(CYxSqliteStmtCache& cache, const SYxSqliteTableDef& def, std::int64_t key)
    : m_def(def) {
    PrepareCached(cache, yxsqlite_detail::StmtKey('S', def, nullptr, nullptr),
                  [&] { return BuildSql(def, nullptr, KeyCondition(def), nullptr, false); });
    BindInt64(1, key);
}

CYxSqliteSelect::CYxSqliteSelect(CYxSqliteStmtCache& cache, const SYxSqliteTableDef& def, EYxSqliteSelectBy,
                                 const std::vector<const wchar_t*>& columns, const wchar_t* tail)
    : m_def(def) {
    std::string key = yxsqlite_detail::StmtKey('C', def, tail, &columns);
    PrepareCached(cache, key, [&] { return BuildSql(def, nullptr, ColumnsCondition(def, columns), tail, false); });
}

CYxSqliteSelect::CYxSqliteSelect(sqlite3* db, const SYxSqliteTableDef& def, const wchar_t* where) : m_def(def) {
    Prepare(db, BuildSql(def, nullptr, where, nullptr, false));
}

CYxSqliteSelect::CYxSqliteSelect(sqlite3* db, const SYxSqliteTableDef& def, const wchar_t* where,
                                 const wchar_t* tail, bool distinct)
    : m_def(def) {
    Prepare(db, BuildSql(def, nullptr, where, tail, distinct));
}

CYxSqliteSelect::CYxSqliteSelect(sqlite3* db, const SYxSqliteTableDef& def,
                                 const std::vector<const wchar_t*>& columns, const wchar_t* where,
                                 const wchar_t* tail)
    : m_def(def) {
    Prepare(db, BuildSql(def, &columns, where, tail, false));
}

// ---------------------------------------------------------------- insert

CYxStringW CYxSqliteInsert::BuildSql(const SYxSqliteTableDef& def, const std::vector<const wchar_t*>* columns,
                                     const wchar_t* clause) {
    const CYxStringW c = NormalizedClause(clause);
    CYxStringW sql(L"INSERT ");
    if (!c.IsEmpty()) sql.AppendFormat(L"%s ", c);
    sql.AppendFormat(L"INTO %s (", def.wszName);
    const std::vector<int> idx = ColumnIndexes(def, columns, true);
    for (std::size_t i = 0; i < idx.size(); ++i) {
        if (i) sql += L", ";
        sql += columns ? (*columns)[i] : def.pCols[idx[i]].wszName;
    }
    sql += L") VALUES (";
    for (std::size_t i = 0; i < idx.size(); ++i) sql += i ? L", ?" : L"?";
    sql += L")";
    return sql;
}

CYxSqliteInsert::CYxSqliteInsert(sqlite3* db, const SYxSqliteTableDef& def, const wchar_t* clause)
    : m_colIndex(ColumnIndexes(def, nullptr, true)) {
    Prepare(db, BuildSql(def, nullptr, clause));
}

CYxSqliteInsert::CYxSqliteInsert(sqlite3* db, const SYxSqliteTableDef& def,
                                 const std::vector<const wchar_t*>& columns, const wchar_t* clause)
    : m_colIndex(ColumnIndexes(def, &columns, true)) {
    Prepare(db, BuildSql(def, &columns, clause));
}

CYxSqliteInsert::CYxSqliteInsert(CYxSqliteStmtCache& cache, const SYxSqliteTableDef& def, const wchar_t* clause)
    : m_colIndex(ColumnIndexes(def, nullptr, true)) {
    PrepareCached(cache, yxsqlite_detail::StmtKey('I', def, clause, nullptr),
                  [&] { return BuildSql(def, nullptr, clause); });
}

CYxSqliteInsert::CYxSqliteInsert(CYxSqliteStmtCache& cache, const SYxSqliteTableDef& def,
                                 const std::vector<const wchar_t*>& columns, const wchar_t* clause)
    : m_colIndex(ColumnIndexes(def, &columns, true)) {
    PrepareCached(cache, yxsqlite_detail::StmtKey('I', def, clause, &columns),
                  [&] { return BuildSql(def, &columns, clause); });
}

int CYxSqliteInsert::ColumnIndexOfPos(int pos) const {
    return pos >= 1 && static_cast<std::size_t>(pos) <= m_colIndex.size() ? m_colIndex[pos - 1] : -1;
}

std::int64_t CYxSqliteInsert::Execute() {
    std::int64_t key = 0;
    if (!IsPrepared()) {
        Next();
        return 0;
    }
    Next(&key);
    const bool ok = LastStep() == SQLITE_DONE && sqlite3_changes(m_db) > 0;
    Reset();
    return ok ? key : 0;
}

// ---------------------------------------------------------------- insert in a transaction

CYxSqliteInsertTransacted::CYxSqliteInsertTransacted(sqlite3* db, const SYxSqliteTableDef& def,
                                                     const wchar_t* clause)
    : CYxSqliteInsert(db, def, clause) {
    Begin();
}

CYxSqliteInsertTransacted::CYxSqliteInsertTransacted(sqlite3* db, const SYxSqliteTableDef& def,
                                                     const std::vector<const wchar_t*>& columns,
                                                     const wchar_t* clause)
    : CYxSqliteInsert(db, def, columns, clause) {
    Begin();
}

void CYxSqliteInsertTransacted::Begin() {
    if (!m_db || !sqlite3_get_autocommit(m_db)) return;
    m_owner = sqlite3_exec(m_db, "BEGIN TRANSACTION;", nullptr, nullptr, nullptr) == SQLITE_OK;
}

int CYxSqliteInsertTransacted::Finish() {
    if (m_finished || !m_owner) {
        m_finished = true;
        return 0;
    }
    m_finished = true;
    Reset();  // a statement in progress would keep the transaction busy
    if (sqlite3_get_autocommit(m_db)) {
        // SQLite rolled the transaction back after a failed statement: none
        // of the rows of this pass remain, and that is no success.
        Fail(SQLITE_ABORT, "transaction rolled back by SQLite");
        return SQLITE_ABORT;
    }
    if (IsBusy()) {
        sqlite3_exec(m_db, "ROLLBACK TRANSACTION;", nullptr, nullptr, nullptr);
        return SQLITE_BUSY;
    }
    // COMMIT can meet a busy database in rollback-journal mode; it is retried
    // for a while, and if it still fails the pass is rolled back as a whole.
    int rc = SQLITE_OK;
    for (int attempt = 0; attempt < 2000; ++attempt) {
        rc = sqlite3_exec(m_db, "COMMIT TRANSACTION;", nullptr, nullptr, nullptr);
        if ((rc & 0xFF) != SQLITE_BUSY) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
    }
    if (rc != SQLITE_OK) {
        Fail(rc, "COMMIT TRANSACTION;");
        if (!sqlite3_get_autocommit(m_db)) sqlite3_exec(m_db, "ROLLBACK TRANSACTION;", nullptr, nullptr, nullptr);
    }
    return rc;
}

CYxSqliteInsertTransacted::~CYxSqliteInsertTransacted() { Finish(); }

// ---------------------------------------------------------------- update

CYxStringW CYxSqliteUpdate::BuildSql(const SYxSqliteTableDef& def, const std::vector<const wchar_t*>* columns) {
    CYxStringW sql = CYxStringW::Format(L"UPDATE %s SET ", def.wszName);
    const std::vector<int> idx = ColumnIndexes(def, columns, !columns);
    for (std::size_t i = 0; i < idx.size(); ++i) {
        if (i) sql += L", ";
        sql.AppendFormat(L"%s=?", columns ? (*columns)[i] : def.pCols[idx[i]].wszName);
    }
    sql.AppendFormat(L" WHERE %s=?", KeyName(def));
    return sql;
}

CYxSqliteUpdate::CYxSqliteUpdate(sqlite3* db, const SYxSqliteTableDef& def)
    : m_colIndex(ColumnIndexes(def, nullptr, true)) {
    Prepare(db, BuildSql(def, nullptr));
}

CYxSqliteUpdate::CYxSqliteUpdate(sqlite3* db, const SYxSqliteTableDef& def,
                                 const std::vector<const wchar_t*>& columns)
    : m_colIndex(ColumnIndexes(def, &columns, false)) {
    Prepare(db, BuildSql(def, &columns));
}

CYxSqliteUpdate::CYxSqliteUpdate(CYxSqliteStmtCache& cache, const SYxSqliteTableDef& def)
    : m_colIndex(ColumnIndexes(def, nullptr, true)) {
    PrepareCached(cache, yxsqlite_detail::StmtKey('U', def, nullptr, nullptr), [&] { return BuildSql(def, nullptr); });
}

CYxSqliteUpdate::CYxSqliteUpdate(CYxSqliteStmtCache& cache, const SYxSqliteTableDef& def,
                                 const std::vector<const wchar_t*>& columns)
    : m_colIndex(ColumnIndexes(def, &columns, false)) {
    PrepareCached(cache, yxsqlite_detail::StmtKey('U', def, nullptr, &columns),
                  [&] { return BuildSql(def, &columns); });
}

int CYxSqliteUpdate::ColumnIndexOfPos(int pos) const {
    return pos >= 1 && static_cast<std::size_t>(pos) <= m_colIndex.size() ? m_colIndex[pos - 1] : -1;
}

bool CYxSqliteUpdate::Execute() {
    Next();
    const bool ok = LastStep() == SQLITE_DONE;
    Reset();
    return ok;
}

// ---------------------------------------------------------------- delete

CYxStringW CYxSqliteDelete::BuildSql(const SYxSqliteTableDef& def, const std::vector<const wchar_t*>* columns) {
    if (!columns) return CYxStringW::Format(L"DELETE FROM %s WHERE %s=?", def.wszName, KeyName(def));
    CYxStringW sql = CYxStringW::Format(L"DELETE FROM %s WHERE ", def.wszName);
    for (std::size_t i = 0; i < columns->size(); ++i) {
        if (i) sql += L" AND ";
        sql.AppendFormat(L"%s=?", (*columns)[i]);
    }
    return sql;
}

CYxSqliteDelete::CYxSqliteDelete(sqlite3* db, const SYxSqliteTableDef& def) { Prepare(db, BuildSql(def, nullptr)); }

CYxSqliteDelete::CYxSqliteDelete(sqlite3* db, const SYxSqliteTableDef& def,
                                 const std::vector<const wchar_t*>& columns) {
    Prepare(db, BuildSql(def, &columns));
}

CYxSqliteDelete::CYxSqliteDelete(CYxSqliteStmtCache& cache, const SYxSqliteTableDef& def) {
    PrepareCached(cache, yxsqlite_detail::StmtKey('D', def, nullptr, nullptr), [&] { return BuildSql(def, nullptr); });
}

CYxSqliteDelete::CYxSqliteDelete(CYxSqliteStmtCache& cache, const SYxSqliteTableDef& def,
                                 const std::vector<const wchar_t*>& columns) {
    PrepareCached(cache, yxsqlite_detail::StmtKey('D', def, nullptr, &columns),
                  [&] { return BuildSql(def, &columns); });
}

bool CYxSqliteDelete::Execute() {
    Next();
    const bool ok = LastStep() == SQLITE_DONE;
    Reset();
    return ok;
}

// ---------------------------------------------------------------- definitions

int YxSqliteTableDef_FindColumn(const SYxSqliteTableDef& def, const wchar_t* column) {
    if (!column) return -1;
    for (int i = 0; i < def.nCols; ++i)
        if (std::wcscmp(def.pCols[i].wszName, column) == 0) return i;
    return -1;
}

CYxSqliteNullValueVector YxSqliteNullValueVector_Create(const SYxSqliteTableDef& def) {
    CYxSqliteNullValueVector v(static_cast<std::size_t>(def.nCols));
    for (int i = 0; i < def.nCols; ++i)
        if (def.pCols[i].eRole == eYxColReference) v[static_cast<std::size_t>(i)] = SYxSqliteNullValue(0);
    return v;
}
