#include "gnr_projectdb/merge/merge_session.h"

#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"

#include <sqlite3.h>

#include <algorithm>

namespace yxmerge {
namespace {

const wchar_t kSrc[] = L"gnr_merge_src";
// Rows per copy statement when the keys are dense; bounds the work between
// two progress reports and cancel checks.
const std::int64_t kChunk = 20000;

std::wstring MapName(const STable& t) { return L"temp.gnr_map_" + t.name; }
std::wstring IncName(const STable& t) { return L"temp.gnr_inc_" + t.name; }
std::wstring Src(const STable& t) { return std::wstring(kSrc) + L"." + t.name; }
const wchar_t* Col(const STable& t, int c) { return t.pDef->pCols[c].wszName; }

// Rows of programs travel with their program wherever it goes.
bool IsComposition(const STable& t, const SRef& r) {
    return r.bOwner && (t.name == L"jobtask" || t.name == L"jobpropdef" || t.name == L"jobpropenumvalue");
}

}  // namespace

// Watches the long statements of the merge on the target connection: asks
// for an interrupt once cancelled and passes progress on every tenth call.
class CYxMergeWatch : public IYxProjectDbProgressHandler {
public:
    explicit CYxMergeWatch(CYxMergeSession& s) : m_s(s) {}
    int OnProgress() override {
        if (m_s.Cancelled()) return 1;
        if (++m_calls % 10 == 0) return m_s.Report(nullptr);
        return 0;
    }

private:
    CYxMergeSession& m_s;
    unsigned m_calls = 0;
};

CYxMergeSession::CYxMergeSession(const SYxProjectDbMerge_DuplicateOptions& options, sqlite3* target)
    : m_opt(options), m_db(target), m_hasMap(Plan().size(), false), m_hasInc(Plan().size(), false),
      m_seeded(Plan().size(), false), m_emptyTarget(Plan().size(), false),
      m_start(std::chrono::steady_clock::now()) {}

CYxMergeSession::~CYxMergeSession() {
    Rollback();
    if (m_attached && sqlite3_get_autocommit(m_db)) {
        sqlite3_exec(m_db, "DETACH DATABASE gnr_merge_src", nullptr, nullptr, nullptr);
    }
}

int CYxMergeSession::Exec(const std::wstring& sql) { return YxSqlite_ExecuteSingle(m_db, sql.c_str()); }

int CYxMergeSession::Begin(const std::wstring& sourcePath) {
    if (!sqlite3_get_autocommit(m_db)) return SQLITE_ERROR;  // the caller's transaction is open
    {
        CYxSqliteCmd attach(m_db, (L"ATTACH DATABASE ? AS " + std::wstring(kSrc)).c_str());
        attach.Bind(1, sourcePath.c_str());
        attach.Next();
        if (int rc = attach.Result()) return rc;
    }
    m_attached = true;
    if (int rc = Exec(L"BEGIN IMMEDIATE")) return rc;
    m_inTransaction = true;
    // References among the copied rows are complete only at the end.
    if (int rc = Exec(L"PRAGMA defer_foreign_keys=ON")) return rc;
    return 0;
}

int CYxMergeSession::Commit() {
    // The work tables go before the commit so that nothing of the merge stays.
    for (std::size_t i = 0; i < Plan().size(); ++i) {
        if (m_hasMap[i]) Exec(L"DROP TABLE IF EXISTS " + MapName(Plan()[i]));
        if (m_hasInc[i]) Exec(L"DROP TABLE IF EXISTS " + IncName(Plan()[i]));
    }
    int rc = Exec(L"COMMIT");
    if (rc != 0) {
        Rollback();
        return rc;
    }
    m_inTransaction = false;
    return 0;
}

void CYxMergeSession::Rollback() {
    // SQLite may have rolled back by itself (interrupt, full disk, I/O error).
    if (m_inTransaction && !sqlite3_get_autocommit(m_db)) {
        sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
    }
    m_inTransaction = false;
}

bool CYxMergeSession::Cancelled() const {
    return m_cancelled || (m_opt.pCancel && m_opt.pCancel->load());
}

int CYxMergeSession::Report(const wchar_t* table) {
    if (table) m_table = table;
    if (Cancelled()) return 1;
    if (!m_opt.pProgress) return 0;
    SYxProjectDbMergeProgress p;
    p.wszTable = m_table.c_str();
    p.iRowsDone = m_done;
    p.iRowsTotal = m_total;
    p.dSecondsElapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    if (m_done > 0 && p.dSecondsElapsed > 0 && m_total >= m_done)
        p.dSecondsLeft = p.dSecondsElapsed * static_cast<double>(m_total - m_done) / static_cast<double>(m_done);
    if (m_opt.pProgress->OnMergeProgress(p) != 0) m_cancelled = true;
    return m_cancelled ? 1 : 0;
}

int CYxMergeSession::EnsureMap(int table) {
    if (m_hasMap[table]) return 0;
    int rc = Exec(L"CREATE TEMP TABLE IF NOT EXISTS gnr_map_" + Plan()[table].name +
                  L" (old INTEGER PRIMARY KEY, new INTEGER, copied INTEGER NOT NULL)");
    if (rc == 0) m_hasMap[table] = true;
    return rc;
}

int CYxMergeSession::EnsureInc(int table) {
    if (m_hasInc[table]) return 0;
    int rc = Exec(L"CREATE TEMP TABLE IF NOT EXISTS gnr_inc_" + Plan()[table].name + L" (k INTEGER PRIMARY KEY)");
    if (rc == 0) m_hasInc[table] = true;
    return rc;
}

int CYxMergeSession::SeedMap(int table, std::int64_t oldKey, std::int64_t newKey) {
    if (int rc = EnsureMap(table)) return rc;
    CYxSqliteCmd cmd(m_db, (L"INSERT OR REPLACE INTO " + MapName(Plan()[table]) + L"(old, new, copied) VALUES (?, ?, 0)").c_str());
    cmd.Bind(1, oldKey);
    cmd.Bind(2, newKey);
    cmd.Next();
    m_seeded[table] = true;
    return cmd.Result();
}

int CYxMergeSession::SeedMap(int table, const std::vector<SYxProjectDbMap_oldToNew>& pairs) {
    for (const auto& p : pairs)
        if (int rc = SeedMap(table, p.iOldKey, p.iNewKey)) return rc;
    return 0;
}

void CYxMergeSession::FixColumn(int table, int col, std::int64_t value) { m_fixed.push_back({table, col, value}); }

// ---------------------------------------------------------------- scope

int CYxMergeSession::AddRoots(int table, const wchar_t* column, const CYxStringW& value, std::int64_t* added) {
    m_scoped = true;
    const STable& t = Plan()[table];
    if (YxSqliteTableDef_FindColumn(*t.pDef, column) < 0) return SQLITE_ERROR;
    if (int rc = EnsureInc(table)) return rc;
    CYxSqliteCmd cmd(m_db, (L"INSERT OR IGNORE INTO " + IncName(t) + L"(k) SELECT iKey FROM " + Src(t) + L" WHERE " +
                            column + L" = ?").c_str());
    cmd.Bind(1, value);
    cmd.Next();
    if (added) *added = cmd.Changes();
    return cmd.Result();
}

int CYxMergeSession::AddRootsByKey(int table, const wchar_t* column, std::int64_t key) {
    m_scoped = true;
    const STable& t = Plan()[table];
    if (column && *column && YxSqliteTableDef_FindColumn(*t.pDef, column) < 0) return SQLITE_ERROR;
    if (int rc = EnsureInc(table)) return rc;
    std::wstring sql = L"INSERT OR IGNORE INTO " + IncName(t) + L"(k) SELECT iKey FROM " + Src(t);
    if (column && *column) sql += L" WHERE " + std::wstring(column) + L" = ?";
    CYxSqliteCmd cmd(m_db, sql.c_str());
    if (column && *column) cmd.Bind(1, key);
    cmd.Next();
    return cmd.Result();
}

int CYxMergeSession::Closure(bool downward) {
    const auto& plan = Plan();
    for (;;) {
        int changes = 0;
        for (std::size_t i = 0; i < plan.size(); ++i) {
            const STable& t = plan[i];
            if (m_seeded[i]) continue;
            for (const SRef& r : t.refs) {
                const STable& p = plan[r.iTarget];
                if (m_seeded[r.iTarget]) continue;
                const bool down = (downward && r.bOwner) || IsComposition(t, r);
                if (down && m_hasInc[r.iTarget]) {
                    if (int rc = EnsureInc(static_cast<int>(i))) return rc;
                    CYxSqliteCmd cmd(m_db, (L"INSERT OR IGNORE INTO " + IncName(t) + L"(k) SELECT s.iKey FROM " + Src(t) +
                                            L" s WHERE s." + Col(t, r.iCol) + L" IN (SELECT k FROM " + IncName(p) + L")")
                                               .c_str());
                    cmd.Next();
                    if (int rc = cmd.Result()) return rc;
                    changes += cmd.Changes();
                }
                if (!downward && m_hasInc[i]) {
                    if (int rc = EnsureInc(r.iTarget)) return rc;
                    CYxSqliteCmd cmd(m_db, (L"INSERT OR IGNORE INTO " + IncName(p) + L"(k) SELECT s." + Col(t, r.iCol) +
                                            L" FROM " + Src(t) + L" s WHERE s.iKey IN (SELECT k FROM " + IncName(t) +
                                            L") AND s." + Col(t, r.iCol) + L" IN (SELECT iKey FROM " + Src(p) + L")")
                                               .c_str());
                    cmd.Next();
                    if (int rc = cmd.Result()) return rc;
                    changes += cmd.Changes();
                }
            }
        }
        if (Cancelled()) return SQLITE_INTERRUPT;
        if (changes == 0) return 0;
    }
}

int CYxMergeSession::CloseScope(bool withOwned) {
    if (!m_scoped) return 0;
    if (withOwned)
        if (int rc = Closure(true)) return rc;
    return Closure(false);
}

// ---------------------------------------------------------------- expressions

std::wstring CYxMergeSession::SourceFilter(int table) const {
    if (!m_scoped) return L"";
    return L" AND s.iKey IN (SELECT k FROM " + IncName(Plan()[table]) + L")";
}

std::wstring CYxMergeSession::ColumnExpr(int table, int col) const {
    for (const auto& f : m_fixed)
        if (f.table == table && f.col == col) return std::to_wstring(f.value);
    const STable& t = Plan()[table];
    const std::wstring s = std::wstring(L"s.") + Col(t, col);
    for (const SRef& r : t.refs) {
        if (r.iCol != col) continue;
        const STable& p = Plan()[r.iTarget];
        std::wstring mapped;
        if (m_hasMap[r.iTarget]) {
            mapped = L"(SELECT m.new FROM " + MapName(p) + L" m WHERE m.old = " + s + L")";
        } else if (p.eIdentity == eByUuid) {
            // Parent not part of this copy: the target's row of the same uuid.
            mapped = L"(SELECT x.iKey FROM main." + p.name + L" x WHERE x.wszUuid = (SELECT y.wszUuid FROM " + Src(p) +
                     L" y WHERE y.iKey = " + s + L") LIMIT 1)";
        } else {
            return s;
        }
        // A name-only reference may hold something else than a key: kept then.
        return r.bDeclared ? mapped : L"coalesce(" + mapped + L", " + s + L")";
    }
    if (t.eIdentity == eByUuid && !t.bDefinition && m_opt.eDuplicates == eYxMergeCopyDuplicates &&
        std::wstring(Col(t, col)) == L"wszUuid") {
        return L"CASE WHEN EXISTS (SELECT 1 FROM main." + t.name + L" x WHERE x.wszUuid = s.wszUuid) "
               L"THEN lower(hex(randomblob(16))) ELSE s.wszUuid END";
    }
    return s;
}

bool CYxMergeSession::NothingToMatch(int table) const {
    const STable& t = Plan()[table];
    return m_emptyTarget[table] && t.bIdentityUnique;
}

std::wstring CYxMergeSession::MatchExpr(int table) const {
    const STable& t = Plan()[table];
    if (NothingToMatch(table)) return L"";
    if (t.eIdentity == eByUuid && !t.bDefinition && m_opt.eDuplicates == eYxMergeCopyDuplicates) return L"";
    std::wstring where;
    for (int c : t.identityCols) {
        if (!where.empty()) where += L" AND ";
        if (t.eIdentity == eByUuid)
            where += L"t.wszUuid = s.wszUuid";
        else
            where += std::wstring(L"t.") + Col(t, c) + L" IS " + ColumnExpr(table, c);
    }
    return L"SELECT t.iKey FROM main." + t.name + L" t WHERE " + where;
}

// ---------------------------------------------------------------- copy

int CYxMergeSession::KeyRange(int table, std::int64_t* lo, std::int64_t* hi) {
    const STable& t = Plan()[table];
    std::wstring sql = m_scoped ? L"SELECT min(k), max(k), count(*) FROM " + IncName(t)
                                : L"SELECT min(iKey), max(iKey), count(*) FROM " + Src(t);
    CYxSqliteCmd cmd(m_db, sql.c_str());
    *lo = 1;
    *hi = 0;
    if (cmd.Next()) {
        std::int64_t n = 0;
        cmd.Column(2, n);
        if (n > 0) {
            cmd.Column(0, *lo);
            cmd.Column(1, *hi);
        }
    }
    return cmd.Result();
}

int CYxMergeSession::CountRows(int table, std::int64_t* count) {
    *count = 0;
    const STable& t = Plan()[table];
    if (m_scoped && !m_hasInc[table]) return 0;
    CYxSqliteCmd cmd(m_db, (m_scoped ? L"SELECT count(*) FROM " + IncName(t) : L"SELECT count(*) FROM " + Src(t)).c_str());
    if (cmd.Next()) cmd.Column(0, *count);
    return cmd.Result();
}

int CYxMergeSession::BuildMapChunk(int table, std::int64_t lo, std::int64_t hi, std::int64_t* base) {
    const STable& t = Plan()[table];
    const std::wstring match = MatchExpr(table);
    const std::wstring tk = match.empty() ? L"NULL" : L"(" + match + L" LIMIT 1)";
    CYxSqliteCmd cmd(m_db, (L"INSERT OR IGNORE INTO " + MapName(t) +
                            L"(old, new, copied) SELECT old, CASE WHEN tk IS NULL THEN ? + row_number() OVER "
                            L"(PARTITION BY tk IS NULL ORDER BY old) ELSE tk END, tk IS NULL FROM (SELECT s.iKey AS old, " +
                            tk + L" AS tk FROM " + Src(t) + L" s WHERE s.iKey BETWEEN ? AND ?" + SourceFilter(table) +
                            L")")
                               .c_str());
    cmd.Bind(1, *base);
    cmd.Bind(2, lo);
    cmd.Bind(3, hi);
    cmd.Next();
    if (int rc = cmd.Result()) return rc;
    CYxSqliteCmd top(m_db, (L"SELECT max(new) FROM " + MapName(t) + L" WHERE old BETWEEN ? AND ? AND copied").c_str());
    top.Bind(1, lo);
    top.Bind(2, hi);
    if (top.Next() && !top.IsNull(0)) {
        std::int64_t m = 0;
        top.Column(0, m);
        *base = std::max(*base, m);
    }
    return top.Result();
}

int CYxMergeSession::InsertMappedChunk(int table, std::int64_t lo, std::int64_t hi, std::int64_t* copied) {
    const STable& t = Plan()[table];
    std::wstring cols = L"iKey", values = L"m.new";
    for (int c = 0; c < t.pDef->nCols; ++c) {
        if (t.pDef->pCols[c].eRole == eYxColPrimaryKey) continue;
        cols += std::wstring(L", ") + Col(t, c);
        values += L", " + ColumnExpr(table, c);
    }
    CYxSqliteCmd cmd(m_db, (L"INSERT INTO main." + t.name + L"(" + cols + L") SELECT " + values + L" FROM " + MapName(t) +
                            L" m JOIN " + Src(t) + L" s ON s.iKey = m.old WHERE m.old BETWEEN ? AND ? AND m.copied")
                               .c_str());
    cmd.Bind(1, lo);
    cmd.Bind(2, hi);
    cmd.Next();
    *copied = cmd.Changes();
    return cmd.Result();
}

int CYxMergeSession::InsertLeafChunk(int table, std::int64_t lo, std::int64_t hi, std::int64_t* copied) {
    const STable& t = Plan()[table];
    std::wstring cols, values;
    for (int c = 0; c < t.pDef->nCols; ++c) {
        if (t.pDef->pCols[c].eRole == eYxColPrimaryKey) continue;
        if (!cols.empty()) {
            cols += L", ";
            values += L", ";
        }
        cols += Col(t, c);
        values += ColumnExpr(table, c);
    }
    const std::wstring match = MatchExpr(table);
    CYxSqliteCmd cmd(m_db, (L"INSERT INTO main." + t.name + L"(" + cols + L") SELECT " + values + L" FROM " + Src(t) +
                            L" s WHERE s.iKey BETWEEN ? AND ?" + SourceFilter(table) +
                            (match.empty() ? L"" : L" AND NOT EXISTS (" + match + L")") + L" ORDER BY s.iKey")
                               .c_str());
    cmd.Bind(1, lo);
    cmd.Bind(2, hi);
    cmd.Next();
    *copied = cmd.Changes();
    return cmd.Result();
}

int CYxMergeSession::CopyTable(int table, bool planOnly, SYxProjectDbMergeTableCount* count) {
    const STable& t = Plan()[table];
    if (m_scoped && !m_hasInc[table]) return 0;
    std::int64_t total = 0;
    if (int rc = CountRows(table, &total)) return rc;
    if (count) count->wszTable = t.name;
    if (total == 0) return 0;
    if (Report(t.name.c_str())) return SQLITE_INTERRUPT;

    std::int64_t lo = 0, hi = 0;
    if (int rc = KeyRange(table, &lo, &hi)) return rc;
    const std::int64_t step = std::max<std::int64_t>(kChunk, (hi - lo + 1) / 500 + 1);

    CYxMergeWatch watch(*this);
    CYxProjectDbConnectionManager::GetInstance().AddProgressHandler(m_opt.hTarget, &watch);
    struct SUnwatch {
        YxProjectDbHandle h;
        CYxMergeWatch* w;
        ~SUnwatch() { CYxProjectDbConnectionManager::GetInstance().RemoveProgressHandler(h, w); }
    } unwatch{m_opt.hTarget, &watch};

    {
        CYxSqliteCmd any(m_db, (L"SELECT NOT EXISTS (SELECT 1 FROM main." + t.name + L")").c_str());
        std::int64_t empty = 0;
        if (any.Next()) any.Column(0, empty);
        if (int rc = any.Result()) return rc;
        m_emptyTarget[table] = empty != 0;
    }
    std::int64_t copiedTotal = 0;
    const bool mapped = planOnly || t.bReferenced || m_hasMap[table];
    if (mapped) {
        if (int rc = EnsureMap(table)) return rc;
        std::int64_t base = 0;
        {
            CYxSqliteCmd top(m_db, (L"SELECT ifnull(max(iKey), 0) FROM main." + t.name).c_str());
            if (top.Next()) top.Column(0, base);
            if (int rc = top.Result()) return rc;
        }
        for (std::int64_t a = lo; a <= hi; a += step) {
            if (int rc = BuildMapChunk(table, a, std::min(hi, a + step - 1), &base)) return rc;
            if (Cancelled()) return SQLITE_INTERRUPT;
        }
        CYxSqliteCmd n(m_db, (L"SELECT count(*) FROM " + MapName(t) + L" WHERE copied").c_str());
        if (n.Next()) n.Column(0, copiedTotal);
        if (int rc = n.Result()) return rc;
        if (!planOnly) {
            std::int64_t done = 0;
            for (std::int64_t a = lo; a <= hi; a += step) {
                std::int64_t copied = 0;
                if (int rc = InsertMappedChunk(table, a, std::min(hi, a + step - 1), &copied)) return rc;
                done += copied;
                m_done += copied;
                if (Report(nullptr)) return SQLITE_INTERRUPT;
            }
            if (done != copiedTotal) return SQLITE_CORRUPT;  // the map and the copy disagree
        }
    } else {
        for (std::int64_t a = lo; a <= hi; a += step) {
            std::int64_t copied = 0;
            if (int rc = InsertLeafChunk(table, a, std::min(hi, a + step - 1), &copied)) return rc;
            copiedTotal += copied;
            m_done += copied;
            if (Report(nullptr)) return SQLITE_INTERRUPT;
        }
    }
    m_done += total - (planOnly ? 0 : copiedTotal);
    if (planOnly) m_done += 0;
    if (count) {
        count->iCopied += copiedTotal;
        count->iMatched += total - copiedTotal;
    }
    return Report(nullptr) ? SQLITE_INTERRUPT : 0;
}

int CYxMergeSession::ReadMap(int table, std::vector<SYxProjectDbMap_oldToNew>& out) {
    if (!m_hasMap[table]) return 0;
    CYxSqliteCmd cmd(m_db, (L"SELECT old, ifnull(new, 0) FROM " + MapName(Plan()[table]) + L" ORDER BY old").c_str());
    while (cmd.Next()) {
        SYxProjectDbMap_oldToNew m;
        cmd.Column(0, m.iOldKey);
        cmd.Column(1, m.iNewKey);
        out.push_back(m);
    }
    return cmd.Result();
}

int CYxMergeSession::CopiedKeys(int table, std::vector<std::pair<std::int64_t, std::int64_t>>& oldNew) {
    if (!m_hasMap[table]) return 0;
    CYxSqliteCmd cmd(m_db, (L"SELECT old, new FROM " + MapName(Plan()[table]) + L" WHERE copied ORDER BY old").c_str());
    while (cmd.Next()) {
        std::int64_t o = 0, n = 0;
        cmd.Column(0, o);
        cmd.Column(1, n);
        oldNew.emplace_back(o, n);
    }
    return cmd.Result();
}

int CYxMergeSession::Elapsed() const {
    return static_cast<int>(
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - m_start).count());
}

}  // namespace yxmerge
