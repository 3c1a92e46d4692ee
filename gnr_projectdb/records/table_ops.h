// The common table operations of the record families, written once over the
// table definitions (Row::Def()) and the row records' VisitFields. Every
// family source (project.cpp, jobdef.cpp, ... and the acquisition families)
// builds its exported functions from these templates instead of repeating
// the statements per table. Internal header: not installed, not exported.
//
// Common frame. Every operation takes the connection (Conn): a handle
// passed in its place is resolved once, with
// CYxProjectDbConnectionManager::GetConnection, when the call begins; a
// family function that resolves the handle itself passes the Conn on, so a
// call looks its handle up once. Without a connection an operation returns
// at once: -9 for status operations, 0 for key and count results, true for
// IsNameUnique, and touches none of its out-arguments.
//
// Statements that run alike on every call (by key, by key columns, inserts,
// updates and deletes) come from the connection's statement cache, with
// keys and values bound.
//
// Statuses: 0 on success, -9 without connection, otherwise the first SQLite
// result code of the statement (CYxSqliteCmd::Result()).
//
// Condition texts are formatted into the SQL text, not bound: keys with
// "%s=%I64d", texts with "%s='%s'" built by YxSqlite_Format
// (sqlsupport/yxsqlite_guard.h): a text holding a single quote makes the
// operation fail with SQLITE_ERROR (1) before any statement runs, so that it
// never changes which rows are selected. Names passed by callers are checked
// as identifiers (columns of the table where a column is meant). Every
// statement built here runs as exactly one statement (CYxSqliteCmd,
// YxSqlite_ExecuteSingle); only scripts that the library writes itself run
// through ExecuteScript.
//
// Reading: a look-up that finds no row returns 0 and leaves the record as it
// was (callers test iKey). Sequences are appended to, never cleared.
//
// Writing: inserts leave the key column out and write references of 0 as
// NULL (the null-value list of the table). Stamps: a new uuid text into
// wszUuid and one YxProjectDb_Sys_JdnNow() into dCTime/dMTime, each only where
// the table has that column and the stamp is asked for; the stamped values
// and the new key are written back into the record. Many-row writes prepare
// one statement, run under one transaction (a savepoint inside the caller's),
// are wholly written or not at all, and wait out a busy database (see
// InsertMany).
//
// Thread safety: no locks of their own; a handle is used by one thread at a
// time (see connection.h).
//
// API stability: the names and signatures below are used by every record
// family; extend, do not change.
#pragma once

#include "framework/yxbytearray.h"
#include "framework/yxstring.h"
#include "gnr_projectdb/connection.h"
#include "gnr_projectdb/rows.h"
#include "gnr_projectdb/status.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_cmd.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_guard.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_helpers.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_stmtcache.h"
#include "gnr_projectdb/sqlsupport/yxsqlite_transaction.h"
#include "gnr_projectdb/sys.h"

#include <sqlite3.h>

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <thread>
#include <type_traits>
#include <vector>

namespace yxrec {

// ---------------------------------------------------------------- frame

// The connection that an operation works on: resolved from a handle once
// (implicitly, so that every operation also takes a handle), then passed on.
class Conn {
public:
    Conn(YxProjectDbHandle handle) : m_conn(CYxProjectDbConnectionManager::GetConnection(handle)) {}
    explicit operator bool() const { return !m_conn.IsNull(); }
    operator sqlite3*() const { return m_conn.Get(); }
    sqlite3* Db() const { return m_conn.Get(); }
    // The statement cache; only for a connection that is there.
    CYxSqliteStmtCache& Stmts() const { return *m_conn.Statements(); }

private:
    CYxProjectDbConnection m_conn;
};

// The connection of a handle, or null.
inline sqlite3* Db(YxProjectDbHandle handle) { return CYxProjectDbConnectionManager::GetConnection(handle).Get(); }

// What to stamp on a write.
enum EStamp : unsigned {
    eStampNone = 0,
    eStampUuid = 1,    // a new uuid text into wszUuid
    eStampCTime = 2,   // now into dCTime
    eStampMTime = 4,   // now into dMTime
    eStampTimes = eStampCTime | eStampMTime,
    eStampAll = eStampUuid | eStampTimes,
};

// Conflict clauses as the statements take them.
inline constexpr const wchar_t* kOrReplace = L"OR REPLACE";
inline constexpr const wchar_t* kOrIgnore = L" OR IGNORE ";

// Position of a column in the table, or -1.
inline int Col(const SYxSqliteTableDef& def, const wchar_t* name) { return YxSqliteTableDef_FindColumn(def, name); }
inline const wchar_t* Table(const SYxSqliteTableDef& def) { return def.wszName; }

// ---------------------------------------------------------------- fields

// Calls f(index, field) for every field of the record in column order.
template <class Row, class F>
void ForEachField(Row& row, F&& f) {
    int i = 0;
    row.VisitFields([&](auto& field) { f(i++, field); });
}

// Reads the current row of a statement into the record (column i into field
// i). The statement must select the table's columns in table order.
template <class Row>
void ReadRow(const CYxSqliteCmd& cmd, Row& row) {
    ForEachField(row, [&](int i, auto& field) { cmd.Column(i, field); });
}

// Sets the stamped fields of a record.
template <class Row>
void Stamp(Row& row, unsigned stamp, double now, const CYxStringW& uuid) {
    const SYxSqliteTableDef& def = Row::Def();
    const int iu = (stamp & eStampUuid) ? Col(def, L"wszUuid") : -1;
    const int ic = (stamp & eStampCTime) ? Col(def, L"dCTime") : -1;
    const int im = (stamp & eStampMTime) ? Col(def, L"dMTime") : -1;
    ForEachField(row, [&](int i, auto& field) {
        using T = std::decay_t<decltype(field)>;
        if constexpr (std::is_same_v<T, CYxStringW>) {
            if (i == iu) field = uuid;
        } else if constexpr (std::is_same_v<T, double>) {
            if (i == ic || i == im) field = now;
        }
    });
}

// Binds every non-key field of a record to an insert, in column order,
// writing NULL where the null-value list says so.
template <class Row>
void BindInsertRow(CYxSqliteInsert& ins, const Row& row, const CYxSqliteNullValueVector& nulls) {
    int pos = 1;
    int i = 0;
    const SYxSqliteTableDef& def = Row::Def();
    row.VisitFields([&](const auto& field) {
        const int col = i++;
        if (def.pCols[col].eRole == eYxColPrimaryKey) return;
        const int p = pos++;
        if (static_cast<std::size_t>(col) < nulls.size() && yxsqlite_detail::IsNullValue(nulls[col], field))
            ins.Bind(p);
        else
            yxsqlite_detail::BindValue(ins, p, field);
    });
}

// Binds the fields at the given column positions, in the order of the list,
// from bind position 1 on.
template <class Row>
void BindFieldsAt(CYxSqliteCmd& cmd, const Row& row, const std::vector<int>& cols) {
    int i = 0;
    row.VisitFields([&](const auto& field) {
        const int col = i++;
        for (std::size_t p = 0; p < cols.size(); ++p)
            if (cols[p] == col) yxsqlite_detail::BindValue(cmd, static_cast<int>(p) + 1, field);
    });
}

// The null-value list of the record's table, made once.
template <class Row>
const CYxSqliteNullValueVector& NullsOf() {
    static const CYxSqliteNullValueVector nulls = YxSqliteNullValueVector_Create(Row::Def());
    return nulls;
}

// The key field of a record (the first column).
template <class Row>
std::int64_t& KeyOf(Row& row) { return row.iKey; }

// ---------------------------------------------------------------- reading

// One row by primary key. Not found: 0, record untouched.
template <class Row>
int GetOne(const Conn& c, std::int64_t key, Row& row) {
    if (!c) return YXPDB_E_NOCONNECTION;
    CYxSqliteSelect sel(c.Stmts(), Row::Def(), key);
    if (sel.Next()) ReadRow(sel, row);
    return sel.Result();
}

// The first row whose listed columns equal the values (bound, in list
// order), with an optional tail of library text ("ORDER BY ..."). Not found:
// 0, record untouched.
template <class Row, class... V>
int GetOneByColumns(const Conn& c, Row& row, const std::vector<const wchar_t*>& columns, const V&... values) {
    if (!c) return YXPDB_E_NOCONNECTION;
    CYxSqliteSelect sel(c.Stmts(), Row::Def(), eYxSelectByColumns, columns, nullptr);
    sel.BindAll(values...);
    if (sel.Next()) ReadRow(sel, row);
    return sel.Result();
}

// The first row of "WHERE <where> <tail>". Not found: 0, record untouched.
template <class Row>
int GetOneWhere(const Conn& c, const wchar_t* where, Row& row, const wchar_t* tail = nullptr) {
    sqlite3* db = c.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteSelect sel(db, Row::Def(), where, tail);
    if (sel.Next()) ReadRow(sel, row);
    return sel.Result();
}

// The first row whose text column equals the text: "%s='%s'". A text
// holding a quote: SQLITE_ERROR, no statement.
template <class Row>
int GetOneByText(const Conn& c, const wchar_t* column, const wchar_t* text, Row& row) {
    if (!c) return YXPDB_E_NOCONNECTION;
    CYxStringW where;
    if (const int rc = YxSqlite_Format(where, L"%s='%s'", column, text ? text : L"")) return rc;
    return GetOneWhere(c, where, row);
}

template <class Row>
int GetOneByUuid(const Conn& c, const wchar_t* uuid, Row& row) {
    return GetOneByText(c, L"wszUuid", uuid, row);
}

// GetOneWhere over a condition built by YxSqlite_Format: a text that the
// format puts between quotes and that holds a quote fails with SQLITE_ERROR
// before any statement runs.
template <class Row, class... A>
int GetOneFormatted(const Conn& c, Row& row, const wchar_t* format, const A&... args) {
    if (!c) return YXPDB_E_NOCONNECTION;
    CYxStringW where;
    if (const int rc = YxSqlite_Format(where, format, args...)) return rc;
    return GetOneWhere(c, where, row);
}

// Appends every row of "WHERE <where> <tail>" (no condition when where is
// null or empty).
template <class Row>
int GetManyWhere(const Conn& c, const wchar_t* where, std::vector<Row>& rows,
                 const wchar_t* tail = nullptr, bool distinct = false) {
    sqlite3* db = c.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteSelect sel(db, Row::Def(), where, tail, distinct);
    while (sel.Next()) {
        Row row{};
        ReadRow(sel, row);
        rows.push_back(std::move(row));
    }
    return sel.Result();
}

// GetManyWhere over a condition built by YxSqlite_Format (see
// GetOneFormatted).
template <class Row, class... A>
int GetManyFormatted(const Conn& c, std::vector<Row>& rows, const wchar_t* format, const A&... args) {
    if (!c) return YXPDB_E_NOCONNECTION;
    CYxStringW where;
    if (const int rc = YxSqlite_Format(where, format, args...)) return rc;
    return GetManyWhere(c, where, rows);
}

// Appends the rows whose column equals the key: "%s=%I64d".
template <class Row>
int GetMany(const Conn& c, const wchar_t* column, std::int64_t key, std::vector<Row>& rows,
            const wchar_t* tail = nullptr) {
    if (!c) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(c, CYxStringW::Format(L"%s=%I64d", column, key), rows, tail);
}

template <class Row>
int GetAll(const Conn& c, std::vector<Row>& rows) {
    return GetManyWhere(c, nullptr, rows);
}

// Runs a query and appends its first column of every row. With unique set a
// value already in the output is not appended again (exact comparison).
int ReadStrings(const Conn& c, const wchar_t* sql, std::vector<CYxStringW>& out, bool unique);
int ReadKeys(const Conn& c, const wchar_t* sql, std::vector<std::int64_t>& out);
// First column of the first row as a 64-bit integer; 0 when no row, on
// failure or without connection. *status receives -9, the failure code, or 0
// (also when no row came back); *found whether a row came back.
std::int64_t ReadInt64(const Conn& c, const wchar_t* sql, int* status = nullptr,
                               bool* found = nullptr);
// Runs exactly one statement (YxSqlite_ExecuteSingle): -9 or its status.
int Execute(const Conn& c, const wchar_t* sql);
// Runs a script that the library wrote itself, statement by statement
// (YxSqlite_Execute): -9 or the first failure. Never for caller text.
int ExecuteScript(const Conn& c, const wchar_t* script);
// Whether a query yields a row; false without connection or on failure.
bool HasRow(const Conn& c, const wchar_t* sql, int* status = nullptr);

// ---------------------------------------------------------------- inserting

// Inserts the record (key left out, references of 0 as NULL). Stamps as
// asked, writes the stamped values and the new key back into the record, and
// the new key (0 on failure) into *key when given.
template <class Row>
int Insert(const Conn& c, Row& row, std::int64_t* key = nullptr, const wchar_t* clause = nullptr,
           unsigned stamp = eStampAll) {
    sqlite3* db = c.Db();
    if (!db) {
        if (key) *key = 0;
        return YXPDB_E_NOCONNECTION;
    }
    const double now = (stamp & eStampTimes) ? YxProjectDb_Sys_JdnNow() : 0.0;
    const CYxStringW uuid = (stamp & eStampUuid) ? YxProjectDb_Sys_UuidAsText() : CYxStringW();
    Stamp(row, stamp, now, uuid);
    const SYxSqliteTableDef& def = Row::Def();
    CYxSqliteInsert ins(c.Stmts(), def, clause);
    BindInsertRow(ins, row, NullsOf<Row>());
    const std::int64_t newKey = ins.Execute();
    const int rc = ins.Result();
    KeyOf(row) = rc == 0 ? newKey : 0;
    if (key) *key = KeyOf(row);
    return rc;
}

// One insert of explicit columns with their values in order (key out 0 on
// failure). References are not nulled here; pass nullptr for NULL.
template <class... V>
int InsertValues(const Conn& c, const SYxSqliteTableDef& def, std::initializer_list<const wchar_t*> cols,
                 std::int64_t* key, const wchar_t* clause, const V&... values) {
    sqlite3* db = c.Db();
    if (!db) {
        if (key) *key = 0;
        return YXPDB_E_NOCONNECTION;
    }
    CYxSqliteInsert ins(c.Stmts(), def, std::vector<const wchar_t*>(cols), clause);
    const std::int64_t newKey = ins.Row(values...);
    const int rc = ins.Result();
    if (key) *key = rc == 0 ? newKey : 0;
    return rc;
}

// True for a failure that the values of one row cause; the statement is
// undone alone and the transaction goes on.
inline bool IsRowError(int rc) {
    const int primary = rc & 0xFF;
    return primary == SQLITE_CONSTRAINT || primary == SQLITE_MISMATCH || primary == SQLITE_TOOBIG;
}

// The busy-retrying many-insert. Empty: 0. clause null for InsertMany,
// kOrReplace for InsertOrReplaceMany. nulls: the null-value list (the table's
// default when null).
//
// A pass is wholly in or wholly out. On a connection in autocommit mode the
// pass runs in a transaction of its own; a busy database rolls the pass back,
// and after 30 ms it starts again from the first row, with no limit. Inside
// the caller's transaction the pass runs under a savepoint; a step that meets
// a busy database is retried after 30 ms without undoing anything, for as
// long as SQLite answers plain SQLITE_BUSY; a busy snapshot (the caller's
// read snapshot is out of date, which no wait can cure) ends the pass with
// SQLITE_BUSY.
//
// A row whose own values fail (a constraint, a type mismatch, a value too
// big) fails alone: the pass goes on, is kept, and returns that row's status.
// Any other failure (an interrupted statement, a full disk, an I/O error)
// ends the pass: what it wrote is rolled back, by the pass or already by
// SQLite, and its status returned.
//
// Keys: each element's iKey is its new key (0 where its row failed or was
// ignored); after a pass that was rolled back every iKey is 0.
template <class Row>
int InsertMany(const Conn& c, std::vector<Row>& rows, const wchar_t* clause = nullptr,
               unsigned stamp = eStampNone, const CYxSqliteNullValueVector* nulls = nullptr) {
    sqlite3* db = c.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    if (rows.empty()) return 0;
    const SYxSqliteTableDef& def = Row::Def();
    const CYxSqliteNullValueVector& nv = nulls ? *nulls : NullsOf<Row>();
    if (stamp != eStampNone) {
        const double now = YxProjectDb_Sys_JdnNow();
        for (Row& row : rows) Stamp(row, stamp, now, (stamp & eStampUuid) ? YxProjectDb_Sys_UuidAsText() : CYxStringW());
    }
    for (;;) {
        CYxSqliteTransaction tr(db, true, 30);
        if (!tr.IsActive() && !tr.IsSavepoint()) return SQLITE_ERROR;  // neither could be opened
        const bool own = tr.IsActive();
        int rowStatus = 0;  // the first failure of a single row
        int passStatus = 0; // a failure that ends the pass
        bool restart = false;
        {
            CYxSqliteInsert ins(c.Stmts(), def, clause);
            ins.IgnoreBusyError();  // busy answers are handled here
            passStatus = ins.Result();
            for (std::size_t i = 0; passStatus == 0 && i < rows.size(); ++i) {
                BindInsertRow(ins, rows[i], nv);
                for (;;) {
                    KeyOf(rows[i]) = ins.Execute();
                    if (!ins.IsBusy()) break;
                    if (own) {
                        restart = true;
                        break;
                    }
                    if ((ins.LastStep() & 0xFF) != SQLITE_BUSY ||
                        sqlite3_extended_errcode(db) == SQLITE_BUSY_SNAPSHOT || tr.IsLost()) {
                        passStatus = ins.LastStep() & 0xFF;
                        break;
                    }
                    std::this_thread::sleep_for(std::chrono::milliseconds(30));
                }
                if (restart) break;
                const int step = ins.LastStep() & 0xFF;
                if (step == SQLITE_DONE || passStatus != 0) continue;
                if (!tr.IsLost() && IsRowError(step)) {
                    if (rowStatus == 0) rowStatus = step;
                } else {
                    passStatus = step;
                }
            }
        }
        if (restart) {
            tr.Finish(SQLITE_BUSY);
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            continue;
        }
        passStatus = tr.Finish(passStatus);
        if (passStatus != 0) {
            for (Row& row : rows) KeyOf(row) = 0;
            return passStatus;
        }
        return rowStatus;
    }
}

// ---------------------------------------------------------------- updating

// Sets every non-key column of the record on the row with its iKey
// (references of 0 as NULL). dMTime is stamped with now when asked and the
// table has it.
template <class Row>
int Update(const Conn& c, Row& row, unsigned stamp = eStampMTime) {
    sqlite3* db = c.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    stamp &= eStampMTime;
    if (stamp) Stamp(row, stamp, YxProjectDb_Sys_JdnNow(), CYxStringW());
    const SYxSqliteTableDef& def = Row::Def();
    CYxSqliteUpdate upd(c.Stmts(), def);
    const CYxSqliteNullValueVector& nulls = NullsOf<Row>();
    int pos = 1;
    int i = 0;
    row.VisitFields([&](const auto& field) {
        const int col = i++;
        if (def.pCols[col].eRole == eYxColPrimaryKey) return;
        const int p = pos++;
        if (yxsqlite_detail::IsNullValue(nulls[col], field)) upd.Bind(p);
        else yxsqlite_detail::BindValue(upd, p, field);
    });
    upd.BindInt64(pos, row.iKey);
    upd.Execute();
    return upd.Result();
}

// UPDATE of the listed columns of the row with the key, values bound in order.
template <class... V>
int UpdateValues(const Conn& c, const SYxSqliteTableDef& def, std::int64_t key,
                 std::initializer_list<const wchar_t*> cols, const V&... values) {
    sqlite3* db = c.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteUpdate upd(c.Stmts(), def, std::vector<const wchar_t*>(cols));
    upd.Row(key, values...);
    return upd.Result();
}

// ---------------------------------------------------------------- deleting

// Deletes the row with the primary key.
int DeleteKey(const Conn& c, const SYxSqliteTableDef& def, std::int64_t key);
// "DELETE FROM %s WHERE %s.%s=%I64d;" as one statement. A column that is not
// one of the table's: SQLITE_ERROR, no statement.
int DeleteByParent(const Conn& c, const SYxSqliteTableDef& def, const wchar_t* column,
                           std::int64_t key);
// "DELETE FROM %s WHERE %s IN ('kvuli_carce' , '<uuid>', ...)" on wszUuid. Null
// or empty list: 0 without a statement. A uuid holding a quote: SQLITE_ERROR,
// no statement.
int DeleteManyByUuid(const Conn& c, const SYxSqliteTableDef& def,
                             const std::vector<CYxStringW>* uuids);

template <class Row>
int Delete(const Conn& c, std::int64_t key) {
    return DeleteKey(c, Row::Def(), key);
}

// Deletes by the natural-key columns of every record: one prepared delete
// inside one CYxSqliteTransaction(db, true, 30); wholly or (on any failure)
// not at all. Empty: 0.
template <class Row>
int RemoveMany(const Conn& c, const std::vector<Row>& rows, std::initializer_list<const wchar_t*> keyCols) {
    sqlite3* db = c.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    if (rows.empty()) return 0;
    const SYxSqliteTableDef& def = Row::Def();
    std::vector<int> idx;
    for (const wchar_t* c : keyCols) idx.push_back(Col(def, c));
    CYxSqliteTransaction tr(db, true, 30);
    int rc;
    {
        CYxSqliteDelete del(c.Stmts(), def, std::vector<const wchar_t*>(keyCols));
        for (const Row& row : rows) {
            if (del.Result() != 0) break;
            BindFieldsAt(del, row, idx);
            del.Execute();
        }
        rc = del.Result();
    }
    return tr.Finish(rc);
}

// ---------------------------------------------------------------- names, uuids, presence

// "SELECT [DISTINCT] %s.%s FROM %s WHERE %s.%s LIKE '<prefix>%'" on the name
// column, then YxProjectDb_Sys_IsNameUnique(name, names, unique, true, false).
// True without connection. A prefix holding a quote reads no names.
bool IsNameUnique(const Conn& c, const SYxSqliteTableDef& def, const wchar_t* nameColumn,
                          const wchar_t* name, CYxStringW& uniqueName, bool distinct);

// The latest run of a definition: the key of its last created jobrun (flags
// filtered when mask is non-zero); 0 when none or without connection.
std::int64_t GetLatestJobrun(const Conn& c, std::int64_t jobdefKey, std::int64_t mask,
                                     std::int64_t value);

// Reads the row by uuid in A and, when found there, in B. Any failure: -9.
// Not in A: flag false, 0. Otherwise the flag tells whether B has it.
template <class Row>
int ExistsInBothDbs(const Conn& a, const Conn& b, const wchar_t* uuid, bool& flag) {
    Row ra{};
    if (GetOneByUuid(a, uuid, ra) != 0) return YXPDB_E_NOCONNECTION;
    if (ra.iKey == 0) {
        flag = false;
        return 0;
    }
    Row rb{};
    if (GetOneByUuid(b, uuid, rb) != 0) return YXPDB_E_NOCONNECTION;
    flag = rb.iKey != 0;
    return 0;
}

// The uuids of the rows of a table that hang from the row of another table
// with the given uuid, ordered by name without case:
// "SELECT %s.%s  FROM %s JOIN %s ON %s.%s = %s.%s WHERE %s.%s='%s' ORDER BY %s.%s COLLATE NOCASE asc"
// Each value not yet in the output is appended. A uuid holding a quote:
// SQLITE_ERROR, no statement.
int GetAllUuuids(const Conn& c, const SYxSqliteTableDef& child, const SYxSqliteTableDef& parent,
                         const wchar_t* refColumn, const wchar_t* parentUuid, std::vector<CYxStringW>& out);

}  // namespace yxrec
