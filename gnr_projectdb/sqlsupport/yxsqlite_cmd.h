// Statement objects over the SQLite C API.
//
// CYxSqliteCmd holds one prepared statement: its own (finalized by its
// destructor, which never throws) or one lent by the connection's statement
// cache (CYxSqliteStmtCache; handed back by the destructor, reset and cleared
// of bindings). The typed commands below build their SQL text from a table
// definition: select, insert (plain or inside a transaction of its own),
// update by key, and delete by key or by columns. Keys and values are bound,
// so one statement serves every key; the constructors that take a cache build
// the text only when the cache has no statement for the table, kind and
// columns yet. Those constructors need table definitions that live as long as
// the process (the schema's constants): the cache knows them by address.
//
// Error model: the first failure of a command is kept and returned by
// Result(); it is reported once through OnError(). A busy or locked database
// (IsBusy) and constraint violations can be told not to count as errors.
//
// Thread safety: a command is used by one thread at a time, together with
// its connection. The layer holds no locks.
#pragma once

#include "framework/yxbytearray.h"
#include "framework/yxstring.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_tabledef.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;
class CYxSqliteStmtCache;

class CYxSqliteCmd {
public:
    CYxSqliteCmd();
    CYxSqliteCmd(sqlite3* db, const wchar_t* sql);
    // A statement of the cache, found by its text (prepared on first use).
    CYxSqliteCmd(CYxSqliteStmtCache& cache, const wchar_t* sql);
    virtual ~CYxSqliteCmd();
    CYxSqliteCmd(const CYxSqliteCmd&) = delete;
    CYxSqliteCmd& operator=(const CYxSqliteCmd&) = delete;

    // Prepares the statement text. Returns 0 or the SQLite error code (which
    // also becomes Result()). A null connection fails with SQLITE_MISUSE. The
    // text holds exactly one statement: anything after it other than blanks,
    // comments and semicolons fails with SQLITE_ERROR and nothing is prepared.
    int Prepare(sqlite3* db, const wchar_t* sql);
    bool IsPrepared() const { return m_stmt != nullptr; }
    // True when the statement is lent by a statement cache.
    bool IsCached() const { return m_cache != nullptr; }

    // Binding by position, from 1. Bind(pos) binds NULL.
    void Bind(int pos);
    void Bind(int pos, std::nullptr_t) { Bind(pos); }
    void Bind(int pos, double value);
    void Bind(int pos, const wchar_t* value);
    void Bind(int pos, const CYxStringW& value);
    void Bind(int pos, const void* data, int size);
    void Bind(int pos, const CYxByteArray& value);
    template <class T, std::enable_if_t<std::is_integral_v<T> || std::is_enum_v<T>, int> = 0>
    void Bind(int pos, T value) {
        if constexpr (sizeof(T) <= 4) BindInt32(pos, static_cast<int>(value));
        else BindInt64(pos, static_cast<std::int64_t>(value));
    }
    void BindInt32(int pos, int value);
    void BindInt64(int pos, std::int64_t value);
    // Binds UTF-8 text as it is (no conversion).
    void BindUtf8(int pos, const char* text, int size);
    // Binds the values from position 1 on, in order.
    template <class... V>
    void BindAll(const V&... values);

    // Steps. True when a row is available; false at the end or on error.
    // At the end of an INSERT the new row id goes to *rowid when given.
    bool Next(std::int64_t* rowid = nullptr);

    // Column access by position, from 0. NULL reads as 0, 0.0, "" or empty,
    // unless a NULL value is given.
    void Column(int col, int& value) const;
    void Column(int col, std::int64_t& value) const;
    void Column(int col, std::int64_t& value, std::int64_t nullValue) const;
    void Column(int col, double& value) const;
    void Column(int col, double& value, double nullValue) const;
    void Column(int col, CYxStringW& value) const;
    void Column(int col, CYxByteArray& value) const;
    void Column(int col, bool& value) const;
    bool IsNull(int col) const;
    int ColumnCount() const;
    CYxStringW ColumnName(int col) const;
    // Raw UTF-8 text of a column (valid until the next step); null for NULL.
    const char* ColumnUtf8(int col) const;

    // Resets the statement for another run; bindings are kept.
    void Reset();
    void ClearBindings();

    // The first error code met (0 when none). The extended code goes to
    // *extended when given.
    int Result(int* extended = nullptr) const;
    // The code of the last step (SQLITE_ROW, SQLITE_DONE or an error).
    int LastStep() const { return m_lastStep; }
    // True when the last step failed because the database was busy or locked.
    bool IsBusy() const;
    void IgnoreBusyError(bool ignore = true) { m_ignoreBusy = ignore; }
    void IgnoreConstraintError(bool ignore = true) { m_ignoreConstraint = ignore; }
    // Number of rows changed by the last step of this statement.
    int Changes() const;

    sqlite3* GetDb() const { return m_db; }
    sqlite3_stmt* GetStmt() const { return m_stmt.get(); }

protected:
    // Takes the statement of key from the cache, or prepares the text that
    // build() returns (a CYxStringW) and lends it from the cache. Returns 0
    // or the SQLite error code (which also becomes Result()).
    template <class F>
    int PrepareCached(CYxSqliteStmtCache& cache, std::string_view key, F&& build) {
        if (TakeCached(cache, key)) return 0;
        return PrepareForCache(cache, key, build());
    }
    bool TakeCached(CYxSqliteStmtCache& cache, std::string_view key);
    int PrepareForCache(CYxSqliteStmtCache& cache, std::string_view key, const wchar_t* sql);

    // Called once per failure that counts as an error; the default writes a
    // diagnostic line with the SQL text and SQLite's message.
    virtual void OnError(int rc, const char* what);
    // Records a failure: keeps the first code and calls OnError unless the
    // failure is of an ignored kind.
    void Fail(int rc, const char* what);

    sqlite3* m_db = nullptr;
    int m_result = 0;
    int m_resultExtended = 0;

private:
    struct StmtDeleter {
        void operator()(sqlite3_stmt* s) const noexcept;
    };
    void CheckBind(int rc);
    // Finalizes the own statement, or hands the lent one back to its cache.
    void DropStmt() noexcept;

    std::unique_ptr<sqlite3_stmt, StmtDeleter> m_stmt;
    CYxSqliteStmtCache* m_cache = nullptr;  // lender of m_stmt, or null
    int m_lastStep = 0;
    bool m_ignoreBusy = false;
    bool m_ignoreConstraint = false;
    std::string m_buffer;  // reused UTF-8 buffer for text binding
};

namespace yxsqlite_detail {
// Binds one value; wide and narrow texts, byte arrays, numbers and nullptr.
template <class T>
void BindValue(CYxSqliteCmd& cmd, int pos, const T& v) {
    using U = std::decay_t<T>;
    if constexpr (std::is_same_v<U, CYxStringW> || std::is_same_v<U, CYxByteArray> ||
                  std::is_same_v<U, std::nullptr_t> || std::is_same_v<U, double> || std::is_same_v<U, float>) {
        cmd.Bind(pos, v);
    } else if constexpr (std::is_same_v<U, const wchar_t*> || std::is_same_v<U, wchar_t*>) {
        cmd.Bind(pos, static_cast<const wchar_t*>(v));
    } else if constexpr (std::is_integral_v<U> || std::is_enum_v<U>) {
        cmd.Bind(pos, v);
    } else {
        static_assert(sizeof(U) == 0, "unsupported value type");
    }
}
// The cache key of a typed command: its kind, the definition, a conflict
// clause and a column list.
std::string StmtKey(char kind, const SYxSqliteTableDef& def, const wchar_t* clause,
                            const std::vector<const wchar_t*>* columns);
template <class T>
bool IsNullValue(const SYxSqliteNullValue& nv, const T& v) {
    using U = std::decay_t<T>;
    if constexpr (std::is_integral_v<U> || std::is_enum_v<U>) {
        return nv.bActive && static_cast<std::int64_t>(v) == nv.iValue;
    } else {
        (void)nv;
        (void)v;
        return false;
    }
}
}  // namespace yxsqlite_detail

template <class... V>
void CYxSqliteCmd::BindAll(const V&... values) {
    int pos = 1;
    (yxsqlite_detail::BindValue(*this, pos++, values), ...);
}

// Selects by the values of a list of columns (see CYxSqliteSelect).
enum EYxSqliteSelectBy { eYxSelectByColumns };

// SELECT of every column of a table (or of a column list), optionally by key
// or by a condition text (the part after WHERE) and a tail clause (such as
// "ORDER BY ..."), optionally DISTINCT. The key is bound, never formatted.
class CYxSqliteSelect : public CYxSqliteCmd {
public:
    CYxSqliteSelect(sqlite3* db, const SYxSqliteTableDef& def);
    CYxSqliteSelect(sqlite3* db, const SYxSqliteTableDef& def, std::int64_t key);
    // By key, through the cache.
    CYxSqliteSelect(CYxSqliteStmtCache& cache, const SYxSqliteTableDef& def, std::int64_t key);
    // Every column of the rows whose listed columns equal the values that
    // the caller binds next (BindAll, in list order), through the cache:
    // "... WHERE t.c1=? AND t.c2=? <tail>". The tail is library text.
    CYxSqliteSelect(CYxSqliteStmtCache& cache, const SYxSqliteTableDef& def, EYxSqliteSelectBy,
                    const std::vector<const wchar_t*>& columns, const wchar_t* tail = nullptr);
    CYxSqliteSelect(sqlite3* db, const SYxSqliteTableDef& def, const wchar_t* where);
    CYxSqliteSelect(sqlite3* db, const SYxSqliteTableDef& def, const wchar_t* where, const wchar_t* tail,
                    bool distinct = false);
    CYxSqliteSelect(sqlite3* db, const SYxSqliteTableDef& def, const std::vector<const wchar_t*>& columns,
                    const wchar_t* where = nullptr, const wchar_t* tail = nullptr);

    // Reads the next row into the fields, in column order. False when no row
    // is left (or on error; see Result()).
    template <class... F>
    bool Row(F&... fields) {
        if (!Next()) return false;
        int col = 0;
        (Column(col++, fields), ...);
        return true;
    }

    const SYxSqliteTableDef& Def() const { return m_def; }
    static CYxStringW BuildSql(const SYxSqliteTableDef& def, const std::vector<const wchar_t*>* columns,
                               const wchar_t* where, const wchar_t* tail, bool distinct);

private:
    const SYxSqliteTableDef& m_def;
};

// INSERT of one row at a time; the primary key is left out and assigned by
// SQLite. The conflict clause is given as text ("OR REPLACE", " OR IGNORE ").
class CYxSqliteInsert : public CYxSqliteCmd {
public:
    CYxSqliteInsert(sqlite3* db, const SYxSqliteTableDef& def, const wchar_t* clause = nullptr);
    CYxSqliteInsert(sqlite3* db, const SYxSqliteTableDef& def, const std::vector<const wchar_t*>& columns,
                    const wchar_t* clause = nullptr);
    // The same, through the cache.
    CYxSqliteInsert(CYxSqliteStmtCache& cache, const SYxSqliteTableDef& def, const wchar_t* clause = nullptr);
    CYxSqliteInsert(CYxSqliteStmtCache& cache, const SYxSqliteTableDef& def,
                    const std::vector<const wchar_t*>& columns, const wchar_t* clause = nullptr);

    // Inserts one row with the values in column order; returns the new key,
    // 0 on failure or when the row was ignored.
    template <class... V>
    std::int64_t Row(const V&... values) {
        int pos = 1;
        (yxsqlite_detail::BindValue(*this, pos++, values), ...);
        return Execute();
    }
    // As Row, with a null-value list covering every column of the table
    // (entry 0 is the key): a value equal to its entry's value is bound NULL.
    template <class... V>
    std::int64_t Row(const CYxSqliteNullValueVector& nulls, const V&... values) {
        int pos = 1;
        (BindOrNull(nulls, pos++, values), ...);
        return Execute();
    }

    // Steps the bound statement and resets it; the new key or 0.
    std::int64_t Execute();

    // Position in the null-value list of the table for bind position pos.
    int ColumnIndexOfPos(int pos) const;
    static CYxStringW BuildSql(const SYxSqliteTableDef& def, const std::vector<const wchar_t*>* columns,
                               const wchar_t* clause);

private:
    template <class T>
    void BindOrNull(const CYxSqliteNullValueVector& nulls, int pos, const T& v) {
        const int idx = ColumnIndexOfPos(pos);
        if (idx >= 0 && static_cast<std::size_t>(idx) < nulls.size() && yxsqlite_detail::IsNullValue(nulls[idx], v))
            Bind(pos);
        else
            yxsqlite_detail::BindValue(*this, pos, v);
    }
    std::vector<int> m_colIndex;  // table column index per bind position - 1
};

// An insert that runs inside a transaction. It begins one on construction
// unless one is open already (IsTransactionOwner tells). Finish() - or the
// destructor - commits the owned transaction, or rolls it back when the last
// row failed as busy, so that none of the rows of that pass remain.
class CYxSqliteInsertTransacted : public CYxSqliteInsert {
public:
    CYxSqliteInsertTransacted(sqlite3* db, const SYxSqliteTableDef& def, const wchar_t* clause = nullptr);
    CYxSqliteInsertTransacted(sqlite3* db, const SYxSqliteTableDef& def, const std::vector<const wchar_t*>& columns,
                              const wchar_t* clause = nullptr);
    ~CYxSqliteInsertTransacted() override;

    bool IsTransactionOwner() const { return m_owner; }
    // Ends the owned transaction now: returns 0 after a commit, the commit's
    // error code, SQLITE_BUSY after a rollback of a busy pass, or
    // SQLITE_ABORT when SQLite had rolled the transaction back already.
    int Finish();

private:
    void Begin();
    bool m_owner = false;
    bool m_finished = false;
};

// UPDATE of the row with a given key: of every non-key column, or of a list.
class CYxSqliteUpdate : public CYxSqliteCmd {
public:
    CYxSqliteUpdate(sqlite3* db, const SYxSqliteTableDef& def);
    CYxSqliteUpdate(sqlite3* db, const SYxSqliteTableDef& def, const std::vector<const wchar_t*>& columns);
    // The same, through the cache.
    CYxSqliteUpdate(CYxSqliteStmtCache& cache, const SYxSqliteTableDef& def);
    CYxSqliteUpdate(CYxSqliteStmtCache& cache, const SYxSqliteTableDef& def,
                    const std::vector<const wchar_t*>& columns);
    static CYxStringW BuildSql(const SYxSqliteTableDef& def, const std::vector<const wchar_t*>* columns);

    // Sets the values (in the column order of the command) on the row with
    // the key. True on success.
    template <class... V>
    bool Row(std::int64_t key, const V&... values) {
        int pos = 1;
        (yxsqlite_detail::BindValue(*this, pos++, values), ...);
        BindInt64(pos, key);
        return Execute();
    }
    template <class... V>
    bool Row(std::int64_t key, const CYxSqliteNullValueVector& nulls, const V&... values) {
        int pos = 1;
        (BindOrNull(nulls, pos++, values), ...);
        BindInt64(pos, key);
        return Execute();
    }
    bool Execute();
    int ColumnIndexOfPos(int pos) const;

private:
    template <class T>
    void BindOrNull(const CYxSqliteNullValueVector& nulls, int pos, const T& v) {
        const int idx = ColumnIndexOfPos(pos);
        if (idx >= 0 && static_cast<std::size_t>(idx) < nulls.size() && yxsqlite_detail::IsNullValue(nulls[idx], v))
            Bind(pos);
        else
            yxsqlite_detail::BindValue(*this, pos, v);
    }
    std::vector<int> m_colIndex;
};

// DELETE by key (Row(key)) or by a list of columns (Row(values...)).
class CYxSqliteDelete : public CYxSqliteCmd {
public:
    CYxSqliteDelete(sqlite3* db, const SYxSqliteTableDef& def);
    CYxSqliteDelete(sqlite3* db, const SYxSqliteTableDef& def, const std::vector<const wchar_t*>& columns);
    // The same, through the cache.
    CYxSqliteDelete(CYxSqliteStmtCache& cache, const SYxSqliteTableDef& def);
    CYxSqliteDelete(CYxSqliteStmtCache& cache, const SYxSqliteTableDef& def,
                    const std::vector<const wchar_t*>& columns);
    static CYxStringW BuildSql(const SYxSqliteTableDef& def, const std::vector<const wchar_t*>* columns);

    template <class... V>
    bool Row(const V&... values) {
        int pos = 1;
        (yxsqlite_detail::BindValue(*this, pos++, values), ...);
        return Execute();
    }
    bool Execute();
};
