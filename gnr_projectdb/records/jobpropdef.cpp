// Property definitions of job programs and their enumeration values
// (records_jobprogram.h).
#include "gnr_projectdb/records_jobprogram.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {
const SYxSqliteTableDef& kPropdef = YxJobsDef_jobpropdef;
const SYxSqliteTableDef& kEnumvalue = YxJobsDef_jobpropenumvalue;

CYxStringW PropdefSql(const wchar_t* verb) {
    return CYxStringW::Format(L"%s INTO %s (%s, %s, %s, %s, %s, %s, %s) VALUES (?, ?, ?, ?, ?, ?, ?);", verb,
                              L"jobpropdef", L"iJobprogramKeyRef", L"wszPropkey", L"dPropdefvalue", L"iPropdeftype",
                              L"iPropdefvisibility", L"iPropdefflags", L"pDependencyExpression");
}

void BindPropdef(CYxSqliteCmd& cmd, std::int64_t programKey, const CYxStringW& propKey, double value,
                 std::int32_t type, std::int32_t visibility, std::int32_t flags, const CYxByteArray& dependency) {
    cmd.BindInt64(1, programKey);
    cmd.Bind(2, propKey);
    cmd.Bind(3, value);
    cmd.BindInt32(4, type);
    cmd.BindInt32(5, visibility);
    cmd.BindInt32(6, flags);
    cmd.Bind(7, dependency);
}

int DeleteWhere(sqlite3* db, const SYxSqliteTableDef& def, const wchar_t* column, std::int64_t key) {
    return YxSqlite_ExecuteSingle(db, CYxStringW::Format(L"DELETE FROM %s WHERE %s=%I64d", def.wszName, column, key));
}
}  // namespace

int YxProjectDb_Jobpropdef_InsertOrUpdate(YxProjectDbHandle handle, std::int64_t programKey, const wchar_t* propKey,
                                          double defaultValue, std::int32_t type, std::int32_t visibility,
                                          const std::vector<CYxStringW>& enumValues, std::int32_t flags,
                                          const CYxByteArray* dependency, std::int64_t* key) {
    if (key) *key = 0;
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteCmd cmd(db, PropdefSql(L"INSERT OR REPLACE"));
    BindPropdef(cmd, programKey, CYxStringW(propKey), defaultValue, type, visibility, flags,
                dependency ? *dependency : CYxByteArray());
    std::int64_t rowid = 0;
    cmd.Next(&rowid);
    if (cmd.Result() != 0) return cmd.Result();
    if (key) *key = rowid;
    std::vector<SYxProjectDbRow_jobpropenumvalue> values;
    for (const CYxStringW& v : enumValues) values.push_back(SYxProjectDbRow_jobpropenumvalue{0, rowid, v});
    return YxProjectDb_Jobpropenumvalue_SetAll(handle, rowid, values);
}

int YxProjectDb_Jobpropdef_SetAll(YxProjectDbHandle handle, std::int64_t programKey,
                                  std::vector<SYxProjectDbJobpropdefValues>& defs) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    // Enumeration values are spliced into the batches: refuse a quote before
    // anything is deleted.
    for (const SYxProjectDbJobpropdefValues& d : defs)
        for (const CYxStringW& v : d.values)
            if (const int r = YxSqlite_CheckQuotedText(v)) return r;
    // The old definitions go in the same transaction as the new ones: a
    // failure leaves the program's definitions as they were.
    CYxSqliteTransaction tr(db, true, 30);
    int rc = DeleteWhere(db, kPropdef, L"iJobprogramKeyRef", programKey);
    if (rc != 0) return tr.Finish(rc);
    CYxSqliteCmd cmd(db, PropdefSql(L"INSERT"));
    const CYxStringW head =
        CYxStringW::Format(L"INSERT INTO %s (%s, %s) VALUES ", L"jobpropenumvalue", L"iJobpropdefKeyRef", L"wszPropenumvalue");
    CYxStringW batch;
    int count = 0;
    auto flush = [&]() {
        if (count == 0 && batch.IsEmpty()) return;
        const int r = YxSqlite_ExecuteSingle(db, head + batch);
        if (rc == 0) rc = r;
        batch.Empty();
        count = 0;
    };
    for (SYxProjectDbJobpropdefValues& d : defs) {
        if (rc != 0) break;  // nothing more is written after a failure
        BindPropdef(cmd, programKey, d.def.wszPropkey, d.def.dPropdefvalue, d.def.iPropdeftype,
                    d.def.iPropdefvisibility, d.def.iPropdefflags, d.def.pDependencyExpression);
        std::int64_t rowid = 0;
        cmd.Next(&rowid);
        const bool ok = cmd.LastStep() == 101 /* SQLITE_DONE */;
        cmd.Reset();
        d.def.iKey = ok ? rowid : 0;
        d.def.iJobprogramKeyRef = programKey;
        if (!ok) break;
        for (const CYxStringW& v : d.values) {
            if (!batch.IsEmpty()) batch += L",";
            YxSqlite_AppendFormat(batch, L"(%I64d,'%s')", rowid, v);  // checked above
            // The counter is tested before it counts the value just added: a
            // batch holds 102 values.
            if (count > 100) flush();
            else ++count;
        }
    }
    if (rc == 0) flush();
    if (rc == 0) rc = cmd.Result();
    cmd.Reset();
    rc = tr.Finish(rc);
    if (rc != 0)
        for (SYxProjectDbJobpropdefValues& d : defs) d.def.iKey = 0;
    return rc;
}

int YxProjectDb_Jobpropdef_GetAll(YxProjectDbHandle handle, std::int64_t programKey,
                                  std::vector<SYxProjectDbRow_jobpropdef>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s.%s=%I64d", L"jobpropdef", L"iJobprogramKeyRef", programKey),
                        rows);
}

int YxProjectDb_Jobpropdef_GetOne(YxProjectDbHandle handle, std::int64_t programKey, const wchar_t* propKey,
                                  SYxProjectDbRow_jobpropdef& row) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    CYxStringW where;
    if (const int rc = YxSqlite_Format(where, L"%s=%I64d AND %s='%s'", L"iJobprogramKeyRef", programKey, L"wszPropkey",
                                       propKey ? propKey : L""))
        return rc;
    return GetOneWhere(conn, where, row);
}

int YxProjectDb_Jobpropdef_GetIkey(YxProjectDbHandle handle, std::int64_t programKey, const wchar_t* propKey,
                                   std::int64_t* key) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    CYxStringW sql;
    if (const int rc = YxSqlite_Format(sql, L" SELECT iKey FROM %s WHERE %s=%I64d AND %s='%s' ", L"jobpropdef",
                                       L"iJobprogramKeyRef", programKey, L"wszPropkey", propKey ? propKey : L""))
        return rc;
    int status = 0;
    const std::int64_t k = ReadInt64(conn, sql, &status);
    if (key) *key = k;
    return status;
}

int YxProjectDb_Jobpropdef_Delete(YxProjectDbHandle handle, std::int64_t programKey, const wchar_t* propKey) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    CYxStringW sql;
    if (const int rc = YxSqlite_Format(sql, L"DELETE FROM %s WHERE %s=%I64d AND %s='%s'", L"jobpropdef",
                                       L"iJobprogramKeyRef", programKey, L"wszPropkey", propKey ? propKey : L""))
        return rc;
    return Execute(conn, sql);
}

int YxProjectDb_Jobpropdef_Delete(YxProjectDbHandle handle, std::int64_t key) {
    return DeleteKey(handle, kPropdef, key);
}

int YxProjectDb_Jobpropenumvalue_GetAll(YxProjectDbHandle handle, std::int64_t propdefKey,
                                        std::vector<SYxProjectDbRow_jobpropenumvalue>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn,
                        CYxStringW::Format(L"%s.%s=%I64d ORDER BY %s.%s", L"jobpropenumvalue", L"iJobpropdefKeyRef",
                                           propdefKey, L"jobpropenumvalue", L"iKey"),
                        rows);
}

int YxProjectDb_Jobpropenumvalue_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t propdefKey,
                                                const wchar_t* value, std::int64_t* key) {
    SYxProjectDbRow_jobpropenumvalue row{0, propdefKey, CYxStringW(value)};
    return Insert(handle, row, key, L"OR IGNORE", eStampNone);
}

int YxProjectDb_Jobpropenumvalue_SetAll(YxProjectDbHandle handle, std::int64_t propdefKey,
                                        std::vector<SYxProjectDbRow_jobpropenumvalue>& rows) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteTransaction tr(db, true, 30);
    int rc = DeleteWhere(db, kEnumvalue, L"iJobpropdefKeyRef", propdefKey);
    if (rc != 0 || rows.empty()) return tr.Finish(rc);
    {
        CYxSqliteInsert ins(db, kEnumvalue);
        for (SYxProjectDbRow_jobpropenumvalue& r : rows) {
            r.iJobpropdefKeyRef = propdefKey;
            r.iKey = ins.Row(propdefKey, r.wszPropenumvalue);
            if (ins.Result() != 0) break;
        }
        rc = ins.Result();
    }
    rc = tr.Finish(rc);
    if (rc != 0)
        for (SYxProjectDbRow_jobpropenumvalue& r : rows) r.iKey = 0;
    return rc;
}
