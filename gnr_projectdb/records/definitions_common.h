// The operations shared by the definition tables (propdef, qualdef, qualstr,
// tagdef), written once over a table definition: look-up by the table's
// unique group, get-or-insert, the definitions a run uses, and delete when
// unused. The references to a definition table are read from the schema
// list, so a table added there is counted without a change here.
// Internal header: not installed, not exported.
//
// Statuses and threads as in records_definitions.h.
#pragma once

#include "gnr_projectdb/records/table_ops.h"

#include <cstdint>
#include <vector>

namespace yxrec {

// A column that refers to a definition table, and whether its table has a
// run column (iJobrunKeyRef).
struct SDefReference {
    const SYxSqliteTableDef* pTable;
    const wchar_t* wszColumn;
    bool bHasRun;
};

// Every reference column of the jobs schema that names the table.
std::vector<SDefReference> ReferencesTo(const SYxSqliteTableDef& def);

// "SELECT iKey FROM <t> WHERE <c1>=? AND <c2>=? ... LIMIT 1" over the unique
// group, and the column positions of the group in bind order.
CYxStringW UniqueLookupSql(const SYxSqliteTableDef& def, std::vector<int>& cols);

// The condition "iKey IN (SELECT <ref> FROM <table> WHERE iJobrunKeyRef=?1
// UNION ...)" over every reference of a table with a run column; "0" when
// there is none.
CYxStringW UsedByRunCondition(const SYxSqliteTableDef& def);

// Deletes the row with the key unless a row refers to it: 0, -13 when used.
int DeleteIfUnused(YxProjectDbHandle handle, const SYxSqliteTableDef& def, std::int64_t key);

// The key of the row with the record's unique-group values, 0 when none.
// The look-up runs on a cached statement.
template <class Row>
int FindByUnique(const Conn& conn, const Row& row, std::int64_t& key) {
    std::vector<int> cols;
    CYxSqliteCmd cmd(conn.Stmts(), UniqueLookupSql(Row::Def(), cols));
    BindFieldsAt(cmd, row, cols);
    key = 0;
    if (cmd.Next()) cmd.Column(0, key);
    return cmd.Result();
}

template <class Row>
int Find(const Conn& conn, const Row& row, std::int64_t* key) {
    if (key) *key = 0;
    if (!conn) return YXPDB_E_NOCONNECTION;
    std::int64_t found = 0;
    const int rc = FindByUnique(conn, row, found);
    if (key && rc == 0) *key = found;
    return rc;
}

// Look-up, then INSERT OR IGNORE, then look-up again: each step is one
// statement, atomic by itself. When another process inserts the same
// definition in between, the unique group makes our insert a no-op and the
// second look-up finds the other process's row.
template <class Row>
int GetOrInsert(const Conn& conn, Row& row, std::int64_t* key) {
    if (key) *key = 0;
    if (!conn) return YXPDB_E_NOCONNECTION;
    std::int64_t found = 0;
    int rc = FindByUnique(conn, row, found);
    if (rc == 0 && found == 0) {
        Row copy = row;
        rc = Insert(conn, copy, &found, kOrIgnore, eStampNone);
        if (rc == 0 && found == 0) {
            rc = FindByUnique(conn, row, found);
            if (rc == 0 && found == 0) rc = YXPDB_E_NOTFOUND;
        }
    }
    row.iKey = rc == 0 ? found : 0;
    if (key) *key = row.iKey;
    return rc;
}

// Appends the definitions that rows of the run refer to, ordered by key.
template <class Row>
int GetManyUsedByJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey, std::vector<Row>& rows) {
    sqlite3* db = Db(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteSelect sel(db, Row::Def(), UsedByRunCondition(Row::Def()), L"ORDER BY iKey");
    sel.BindInt64(1, jobrunKey);
    while (sel.Next()) {
        Row row{};
        ReadRow(sel, row);
        rows.push_back(std::move(row));
    }
    return sel.Result();
}

}  // namespace yxrec
