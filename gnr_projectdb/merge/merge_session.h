// CYxMergeSession: one merge on the target's connection. It attaches the
// source file under the schema name "gnr_merge_src", opens one write
// transaction on the target, keeps per-table key maps ("temp.gnr_map_<t>":
// old key, new key, copied flag) and scope sets ("temp.gnr_inc_<t>") and
// copies rows with set-based INSERT ... SELECT statements in key-range chunks.
//
// Every statement is built from the table definitions; caller values (uuids,
// keys, the source path) are always bound. The destructor rolls back what
// was not committed and detaches the source; it never throws.
// Used by one thread, together with the target connection.
#pragma once

#include "gnr_projectdb/merge.h"
#include "gnr_projectdb/merge/merge_plan.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

struct sqlite3;

namespace yxmerge {

class CYxMergeSession {
public:
    CYxMergeSession(const SYxProjectDbMerge_DuplicateOptions& options, sqlite3* target);
    ~CYxMergeSession();
    CYxMergeSession(const CYxMergeSession&) = delete;
    CYxMergeSession& operator=(const CYxMergeSession&) = delete;

    // Attaches the source file (outside any transaction) and begins the
    // write transaction. 0 or an SQLite code.
    int Begin(const std::wstring& sourcePath);
    // Commits; on failure the transaction is rolled back. 0 or an SQLite code.
    int Commit();
    // Rolls back when a transaction is still open (SQLite may have ended it).
    void Rollback();

    // ---- scope: with no scope set every row of the source takes part.
    // Marks the rows of `table` whose column holds the value as roots.
    int AddRoots(int table, const wchar_t* column, const CYxStringW& value, std::int64_t* added);
    int AddRootsByKey(int table, const wchar_t* column, std::int64_t key);
    // Completes the scope: everything that belongs to a root (when asked),
    // then every row that a scoped row refers to. Tables with a seeded map
    // are left out: their keys are mapped as given.
    int CloseScope(bool withOwned = true);
    bool IsScoped() const { return m_scoped; }

    // Seeds the key map of a table (old -> new) before its rows are copied.
    int SeedMap(int table, std::int64_t oldKey, std::int64_t newKey);
    int SeedMap(int table, const std::vector<SYxProjectDbMap_oldToNew>& pairs);
    // Overrides the value of one column for every copied row of a table.
    void FixColumn(int table, int col, std::int64_t value);

    // Number of source rows of a table that take part.
    int CountRows(int table, std::int64_t* count);
    // Copies (or, for a plan, only maps) the rows of one table. Adds to the
    // counts; reports progress after every chunk.
    int CopyTable(int table, bool planOnly, SYxProjectDbMergeTableCount* count);
    // The map of a table as pairs, in old-key order.
    int ReadMap(int table, std::vector<SYxProjectDbMap_oldToNew>& out);
    // Keys (new, in the target) of the rows of a table that this merge copied.
    int CopiedKeys(int table, std::vector<std::pair<std::int64_t, std::int64_t>>& oldNew);

    // Progress: rows to do and done; a non-zero return means "cancel".
    void SetTotal(std::int64_t total) { m_total = total; }
    int Report(const wchar_t* table);
    bool Cancelled() const;
    int Elapsed() const;
    sqlite3* Target() const { return m_db; }
    const SYxProjectDbMerge_DuplicateOptions& Options() const { return m_opt; }
    // Creates the key map of a table now, so that even a table that nothing
    // refers to is copied through one (to hand its keys back).
    int EnsureMap(int table);
    // Keeps a table out of the scope's closure (its keys are given).
    void Exclude(int table) { m_seeded[table] = true; }

    // Runs one statement without values; 0 or the SQLite code.
    int Exec(const std::wstring& sql);

private:
    int EnsureInc(int table);
    std::wstring MatchExpr(int table) const;
    // True when no row of the source can match a row of the target: the
    // target's table was empty before the copy and the schema keeps the
    // identity unique, so source rows cannot match each other either.
    bool NothingToMatch(int table) const;
    std::wstring ColumnExpr(int table, int col) const;
    std::wstring SourceFilter(int table) const;
    int BuildMapChunk(int table, std::int64_t lo, std::int64_t hi, std::int64_t* base);
    int InsertMappedChunk(int table, std::int64_t lo, std::int64_t hi, std::int64_t* copied);
    int InsertLeafChunk(int table, std::int64_t lo, std::int64_t hi, std::int64_t* copied);
    int KeyRange(int table, std::int64_t* lo, std::int64_t* hi);
    int Closure(bool downward);

    const SYxProjectDbMerge_DuplicateOptions& m_opt;
    sqlite3* m_db;
    bool m_attached = false;
    bool m_inTransaction = false;
    bool m_scoped = false;
    std::vector<bool> m_hasMap, m_hasInc, m_seeded, m_emptyTarget;
    struct SFixed { int table; int col; std::int64_t value; };
    std::vector<SFixed> m_fixed;
    std::int64_t m_total = 0, m_done = 0;
    std::wstring m_table;
    std::chrono::steady_clock::time_point m_start;
    bool m_cancelled = false;
};

}  // namespace yxmerge
