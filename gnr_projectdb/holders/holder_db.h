// Shared pieces of the holder table operations. Internal.
//
// Selects take their condition with "?" placeholders and bind every value,
// so no caller text or stored value ever becomes SQL text.
#pragma once

#include "gnr_projectdb/holders.h"
#include "gnr_projectdb/records/table_ops.h"

#include <sqlite3.h>

namespace yxholder {

// Appends the rows of "WHERE <where> <tail>" with the values bound in order.
template <class Row, class... V>
int SelectRows(sqlite3* db, const wchar_t* where, const wchar_t* tail, std::vector<Row>& rows, const V&... values) {
    CYxSqliteSelect sel(db, Row::Def(), where, tail);
    int pos = 1;
    (yxsqlite_detail::BindValue(sel, pos++, values), ...);
    (void)pos;
    while (sel.Next()) {
        Row row{};
        yxrec::ReadRow(sel, row);
        rows.push_back(std::move(row));
    }
    return sel.Result();
}

// The first row of the condition; *found tells whether there was one.
template <class Row, class... V>
int SelectOne(sqlite3* db, const wchar_t* where, Row& row, bool& found, const V&... values) {
    std::vector<Row> rows;
    const int rc = SelectRows(db, where, L"LIMIT 1", rows, values...);
    found = rc == 0 && !rows.empty();
    if (found) row = std::move(rows.front());
    return rc;
}

// A write of several statements that is wholly in or wholly out. Outside a
// transaction it begins one; inside the caller's transaction it sets a
// savepoint, so that a failure undoes only this write. End(ok) commits
// (releases) or rolls back; after a failure it first asks SQLite whether the
// transaction is still open, since some errors roll it back on their own.
// The destructor rolls back a scope that was not ended.
class CHolderWriteScope {
public:
    explicit CHolderWriteScope(sqlite3* db);
    ~CHolderWriteScope();
    CHolderWriteScope(const CHolderWriteScope&) = delete;
    CHolderWriteScope& operator=(const CHolderWriteScope&) = delete;
    // The status of the begin (0 or the SQLite code).
    int Status() const { return m_begin; }
    // Ends the scope: with rc 0 commits and returns the commit's status;
    // otherwise rolls back and returns rc.
    int End(int rc);

private:
    sqlite3* m_db;
    bool m_savepoint = false;
    bool m_open = false;
    int m_begin = 0;
};

// Completes an entry from its name row (plates, dishes) or slidedef row:
// reads the configuration row and decodes the geometry. 0, -70, or the
// SQLite status.
int LoadPlate(sqlite3* db, const SYxProjectDbRow_wellplatename& name, SYxHolderEntry& entry);
int LoadDish(sqlite3* db, const SYxProjectDbRow_dishname& name, SYxHolderEntry& entry);
int LoadSlide(sqlite3* db, const SYxProjectDbRow_slidedef& row, SYxHolderEntry& entry);

// The name-row table of a kind (wellplatename, dishname, slidedef).
const SYxSqliteTableDef* NameTable(EYxHolderKind kind);

}  // namespace yxholder
