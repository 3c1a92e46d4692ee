// Assay runs with their recipes, and graph settings (records_assays.h).
#include "gnr_projectdb/records_assays.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {
// The columns of a table, qualified, for a select list.
CYxStringW ColumnList(const SYxSqliteTableDef& def) {
    CYxStringW out;
    for (int i = 0; i < def.nCols; ++i) out.AppendFormat(L"%s%s.%s", i ? L", " : L"", def.wszName, def.pCols[i].wszName);
    return out;
}

template <class Row>
void ReadRowAt(const CYxSqliteCmd& cmd, int offset, Row& row) {
    ForEachField(row, [&](int i, auto& field) { cmd.Column(offset + i, field); });
}

// The settings of the row of `owner` with that key, by its uuid.
int GetForOwner(const Conn& conn, const SYxSqliteTableDef& owner, std::int64_t key,
                SYxProjectDbRow_graphsettings& row) {
    sqlite3* db = conn.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    const SYxSqliteTableDef& g = YxJobsDef_graphsettings;
    CYxSqliteSelect sel(db, g,
                        CYxStringW::Format(L"%s.%s=(SELECT %s.%s FROM %s WHERE %s.%s=?1)", g.wszName,
                                           L"wszUniqueName", owner.wszName, L"wszUuid", owner.wszName, owner.wszName,
                                           L"iKey"),
                        L"LIMIT 1");
    sel.BindInt64(1, key);
    if (sel.Next()) ReadRow(sel, row);
    return sel.Result();
}
}  // namespace

int YxProjectDb_Assayrun_GetManyWithRecipe(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                           std::vector<SYxProjectDbAssayrunWithRecipe>& rows) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    const SYxSqliteTableDef& a = YxJobsDef_assayrun;
    const SYxSqliteTableDef& r = YxJobsDef_assayrecipe;
    const CYxStringW sql = CYxStringW::Format(
        L"SELECT %s, %s FROM %s LEFT JOIN %s ON %s.%s=(SELECT x.%s FROM %s x WHERE x.%s=%s.%s COLLATE NOCASE "
        L"ORDER BY x.%s DESC, x.%s DESC LIMIT 1) WHERE %s.%s=?1 ORDER BY %s.%s, %s.%s;",
        ColumnList(a), ColumnList(r), a.wszName, r.wszName, r.wszName, L"iKey", L"iKey", r.wszName, L"wszUniqueName",
        a.wszName, L"wszName", L"dMTime", L"iKey", a.wszName, L"iJobrunKeyRef", a.wszName, L"dCTime", a.wszName,
        L"iKey");
    CYxSqliteCmd cmd(db, sql);
    cmd.BindInt64(1, jobrunKey);
    while (cmd.Next()) {
        SYxProjectDbAssayrunWithRecipe item;
        ReadRowAt(cmd, 0, item.run);
        ReadRowAt(cmd, a.nCols, item.recipe);
        rows.push_back(std::move(item));
    }
    return cmd.Result();
}

int YxProjectDb_Graphsettings_GetOne(YxProjectDbHandle handle, const wchar_t* uniqueName,
                                     SYxProjectDbRow_graphsettings& row) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteSelect sel(db, YxJobsDef_graphsettings, CYxStringW::Format(L"%s=?1", L"wszUniqueName"), L"LIMIT 1");
    sel.Bind(1, uniqueName ? uniqueName : L"");
    if (sel.Next()) ReadRow(sel, row);
    return sel.Result();
}

int YxProjectDb_Graphsettings_GetForJobrun(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                           SYxProjectDbRow_graphsettings& row) {
    return GetForOwner(handle, YxJobsDef_jobrun, jobrunKey, row);
}

int YxProjectDb_Graphsettings_GetForJobdef(YxProjectDbHandle handle, std::int64_t jobdefKey,
                                           SYxProjectDbRow_graphsettings& row) {
    return GetForOwner(handle, YxJobsDef_jobdef, jobdefKey, row);
}

int YxProjectDb_Graphsettings_Save(YxProjectDbHandle handle, const wchar_t* uniqueName, const wchar_t* desc,
                                   const CYxByteArray& data, std::int64_t* key) {
    if (key) *key = 0;
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    const double now = YxProjectDb_Sys_JdnNow();
    const wchar_t* t = YxJobsDef_graphsettings.wszName;
    CYxSqliteCmd up(db, CYxStringW::Format(
                            L"INSERT INTO %s (%s, %s, %s, %s, %s) VALUES (?1, ?2, ?3, ?3, ?4) ON CONFLICT(%s) DO UPDATE "
                            L"SET %s=excluded.%s, %s=excluded.%s, %s=excluded.%s;",
                            t, L"wszUniqueName", L"wszDesc", L"dCTime", L"dMTime", L"pData", L"wszUniqueName",
                            L"wszDesc", L"wszDesc", L"pData", L"pData", L"dMTime", L"dMTime"));
    up.Bind(1, uniqueName ? uniqueName : L"");
    up.Bind(2, desc ? desc : L"");
    up.Bind(3, now);
    up.Bind(4, data);
    up.Next();
    if (up.Result() != 0) return up.Result();
    CYxSqliteCmd sel(db, CYxStringW::Format(L"SELECT %s FROM %s WHERE %s=?1;", L"iKey", t, L"wszUniqueName"));
    sel.Bind(1, uniqueName ? uniqueName : L"");
    std::int64_t found = 0;
    if (sel.Next()) sel.Column(0, found);
    if (key && sel.Result() == 0) *key = found;
    return sel.Result();
}

int YxProjectDb_Graphsettings_Delete(YxProjectDbHandle handle, const wchar_t* uniqueName) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteCmd del(db, CYxStringW::Format(L"DELETE FROM %s WHERE %s=?1;", YxJobsDef_graphsettings.wszName,
                                            L"wszUniqueName"));
    del.Bind(1, uniqueName ? uniqueName : L"");
    del.Next();
    return del.Result();
}
