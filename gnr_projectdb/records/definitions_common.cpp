// The schema-driven pieces of the definition operations (definitions_common.h).
#include "gnr_projectdb/records/definitions_common.h"

#include "gnr_projectdb/schema.h"

#include <cwchar>

namespace yxrec {

std::vector<SDefReference> ReferencesTo(const SYxSqliteTableDef& def) {
    std::vector<SDefReference> refs;
    int count = 0;
    const SYxSqliteTableDef* const* tables = YxProjectDb_Schema_GetJobsTables(&count);
    for (int t = 0; t < count; ++t) {
        const SYxSqliteTableDef& table = *tables[t];
        const bool hasRun = Col(table, L"iJobrunKeyRef") >= 0;
        for (int c = 0; c < table.nCols; ++c) {
            const SYxSqliteColDef& col = table.pCols[c];
            if (col.eRole == eYxColReference && col.wszRefTable && !std::wcscmp(col.wszRefTable, def.wszName))
                refs.push_back(SDefReference{&table, col.wszName, hasRun});
        }
    }
    return refs;
}

CYxStringW UniqueLookupSql(const SYxSqliteTableDef& def, std::vector<int>& cols) {
    CYxStringW sql = CYxStringW::Format(L"SELECT %s FROM %s WHERE ", L"iKey", def.wszName);
    cols.clear();
    for (int i = 0; def.apUnique[i]; ++i) {
        if (i) sql += L" AND ";
        sql.AppendFormat(L"%s=?", def.apUnique[i]);
        cols.push_back(Col(def, def.apUnique[i]));
    }
    sql += L" LIMIT 1;";
    return sql;
}

CYxStringW UsedByRunCondition(const SYxSqliteTableDef& def) {
    CYxStringW inner;
    for (const SDefReference& ref : ReferencesTo(def)) {
        if (!ref.bHasRun) continue;
        if (!inner.IsEmpty()) inner += L" UNION ";
        const wchar_t* t = ref.pTable->wszName;
        inner.AppendFormat(L"SELECT %s.%s FROM %s WHERE %s.%s=?1", t, ref.wszColumn, t, t, L"iJobrunKeyRef");
    }
    if (inner.IsEmpty()) return CYxStringW(L"0");
    return CYxStringW::Format(L"%s.%s IN (%s)", def.wszName, L"iKey", inner);
}

int DeleteIfUnused(YxProjectDbHandle handle, const SYxSqliteTableDef& def, std::int64_t key) {
    sqlite3* db = Db(handle);
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxStringW sql = CYxStringW::Format(L"DELETE FROM %s WHERE %s=?1", def.wszName, L"iKey");
    for (const SDefReference& ref : ReferencesTo(def))
        sql.AppendFormat(L" AND NOT EXISTS (SELECT 1 FROM %s WHERE %s.%s=?1)", ref.pTable->wszName,
                         ref.pTable->wszName, ref.wszColumn);
    CYxSqliteCmd del(db, sql);
    del.BindInt64(1, key);
    del.Next();
    if (del.Result() != 0) return del.Result();
    if (del.Changes() > 0) return 0;
    // Nothing deleted: either there is no such row, or it is in use.
    CYxSqliteCmd exists(db, CYxStringW::Format(L"SELECT 1 FROM %s WHERE %s=?1", def.wszName, L"iKey"));
    exists.BindInt64(1, key);
    const bool found = exists.Next();
    if (exists.Result() != 0) return exists.Result();
    return found ? YXPDB_E_NOTFOUND : 0;
}

}  // namespace yxrec
