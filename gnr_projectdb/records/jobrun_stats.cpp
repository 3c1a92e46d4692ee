// Statistics of the values of a run's frames, objects and traces
// (records_jobrun.h).
#include "gnr_projectdb/records_jobrun.h"

#include "gnr_projectdb/records/table_ops.h"

#include <cwchar>

using namespace yxrec;

namespace {
const wchar_t* PropSource(int entity) {
    switch (entity) {
        case YX_STAT_ENTITY_FRAMES: return L"frameprop";
        case YX_STAT_ENTITY_OBJECTS: return L"binobjprop";
        case YX_STAT_ENTITY_TRACES: return L"traceprop";
        default: return nullptr;
    }
}

const wchar_t* QualSource(int entity) {
    switch (entity) {
        case YX_STAT_ENTITY_FRAMES: return L"framequal";
        case YX_STAT_ENTITY_OBJECTS: return L"binobjqual";
        case YX_STAT_ENTITY_TRACES: return L"tracequal";
        default: return nullptr;
    }
}

// "<source> WHERE source.iJobrunKeyRef=stat.iJobrunKeyRef AND source.<def>=stat.<def>"
CYxStringW JoinText(const wchar_t* source, const wchar_t* stat, const wchar_t* defColumn) {
    return CYxStringW::Format(L"%s WHERE %s.%s=%s.%s AND %s.%s=%s.%s", source, source, L"iJobrunKeyRef", stat,
                              L"iJobrunKeyRef", source, defColumn, stat, defColumn);
}

// Runs the update (which carries the caller's condition) as exactly one
// statement inside a transaction of its own, then, when asked, deletes the
// rows left empty. Any failure rolls the transaction back, so the handle is
// never left inside it.
int RunStats(const Conn& conn, const CYxStringW& update, const wchar_t* stat, bool deleteEmpty) {
    sqlite3* db = conn.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    int rc = YxSqlite_ExecuteSingle(db, L"BEGIN;");
    if (rc != 0) return rc;
    rc = YxSqlite_ExecuteSingle(db, update);
    if (rc == 0 && deleteEmpty)
        rc = YxSqlite_ExecuteSingle(db, CYxStringW::Format(L"DELETE FROM %s WHERE %s=0;", stat, L"iCount"));
    if (rc == 0) rc = YxSqlite_ExecuteSingle(db, L"COMMIT;");
    if (rc != 0 && !sqlite3_get_autocommit(db)) YxSqlite_ExecuteSingle(db, L"ROLLBACK;", nullptr, false);
    return rc;
}
}  // namespace

int YxProjectDb_Jobrunpropstat_UpdateStats(YxProjectDbHandle handle, int entity, const wchar_t* condition,
                                           bool onlyNull, bool deleteEmpty) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    const wchar_t* source = PropSource(entity);
    if (!source) return YXPDB_E_NOTFOUND;
    const wchar_t* stat = L"jobrunpropstat";
    const CYxStringW j = JoinText(source, stat, L"iPropdefKeyRef");
    const wchar_t* v = L"dValue";
    CYxStringW script = CYxStringW::Format(
        L"UPDATE %s SET \n"
        L"  %s = (SELECT count(%s)                          FROM %s), \n"
        L"  %s = (SELECT count(DISTINCT %s)                 FROM %s), \n"
        L"  %s = (SELECT min(%s)                            FROM %s), \n"
        L"  %s = (SELECT max(%s)                            FROM %s), \n"
        L"  %s = (SELECT double_sum(%s)                     FROM %s), \n"
        L"  %s = (SELECT double_sum(%s*%s)                  FROM %s), \n"
        L"  %s = (SELECT double_sum(%s-CAST(%s AS INTEGER)) FROM %s)  \n"
        L"WHERE %s",
        stat, L"iCount", v, j, L"iDistinctCount", v, j, L"dStatMin", v, j, L"dStatMax", v, j, L"dStatSum", v, j,
        L"dStatSqSum", v, v, j, L"dStatDecSum", v, v, j, condition ? condition : L"");
    if (onlyNull) script.AppendFormat(L" AND %s=%d AND %s IS NULL; \n", L"iOnEntity", entity, L"iCount");
    else script.AppendFormat(L" AND %s=%d; \n", L"iOnEntity", entity);
    return RunStats(handle, script, stat, deleteEmpty);
}

int YxProjectDb_Jobrunqualstat_UpdateStats(YxProjectDbHandle handle, int entity, const wchar_t* condition,
                                           bool onlyNull, bool deleteEmpty) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    const wchar_t* source = QualSource(entity);
    if (!source) return YXPDB_E_NOTFOUND;
    const wchar_t* stat = L"jobrunqualstat";
    const CYxStringW j = JoinText(source, stat, L"iQualdefKeyRef");
    CYxStringW script = CYxStringW::Format(L"UPDATE %s SET \n"
                                           L"  %s = (SELECT count(%s)                   FROM %s), \n"
                                           L"  %s = (SELECT count(DISTINCT %s)          FROM %s)  \n"
                                           L"WHERE %s",
                                           stat, L"iCount", L"iQualstrKeyRef", j, L"iDistinctCount", L"iQualstrKeyRef",
                                           j, condition ? condition : L"");
    // Without the only-null flag the rows of every entity that match the
    // condition are computed from this entity's source.
    if (onlyNull) script.AppendFormat(L" AND %s=%d AND %s IS NULL; \n", L"iOnEntity", entity, L"iCount");
    else script += L";\n";
    return RunStats(handle, script, stat, deleteEmpty);
}

int YxProjectDb_Jobruntagstat_UpdateStats(YxProjectDbHandle handle, const wchar_t* condition, bool onlyNull,
                                          bool deleteEmpty) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    const wchar_t* stat = L"jobruntagstat";
    const CYxStringW j = JoinText(L"frametag", stat, L"iTagdefKeyRef");
    CYxStringW script = CYxStringW::Format(L"UPDATE %s SET \n  %s = (SELECT count(*) FROM %s) \nWHERE %s", stat,
                                           L"iCount", j, condition ? condition : L"");
    if (onlyNull) script.AppendFormat(L" AND %s IS NULL; \n", L"iCount");
    else script += L";\n";
    return RunStats(handle, script, stat, deleteEmpty);
}

int YxProjectDb_Jobrunpropstat_ResetStats(YxProjectDbHandle handle, const wchar_t* keys) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    // The list is spliced into "IN (...)": it may hold keys and nothing else.
    for (const wchar_t* k = keys; k && *k; ++k)
        if (!std::wcschr(L"0123456789-+, ", *k)) return SQLITE_ERROR;
    return Execute(conn, CYxStringW::Format(L"UPDATE %s SET %s=NULL, %s=NULL, %s=NULL, %s=NULL, %s=NULL, %s=NULL, "
                                              L"%s=NULL WHERE %s IN (%s);",
                                              L"jobrunpropstat", L"iCount", L"iDistinctCount", L"dStatMin", L"dStatMax",
                                              L"dStatSum", L"dStatSqSum", L"dStatDecSum", L"iKey", keys ? keys : L""));
}

int YxProjectDb_Jobrunpropstat_ResetStats(YxProjectDbHandle handle, std::int64_t runKey, std::int64_t propdefKey) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    int status = 0;
    bool found = false;
    const std::int64_t key =
        ReadInt64(conn,
                  CYxStringW::Format(L"SELECT %s FROM %s WHERE %s=%I64d AND %s=%I64d;", L"iKey", L"jobrunpropstat",
                                     L"iJobrunKeyRef", runKey, L"iPropdefKeyRef", propdefKey),
                  &status, &found);
    if (status != 0) return status;
    if (found)
        return Execute(conn, CYxStringW::Format(L"UPDATE %s SET %s=NULL, %s=NULL, %s=NULL, %s=NULL, %s=NULL, %s=NULL, "
                                                  L"%s=NULL WHERE %s=%I64d;",
                                                  L"jobrunpropstat", L"iCount", L"iDistinctCount", L"dStatMin",
                                                  L"dStatMax", L"dStatSum", L"dStatSqSum", L"dStatDecSum", L"iKey", key));
    return Execute(conn, CYxStringW::Format(L"INSERT INTO %s (%s, %s, %s) VALUES (%I64d, %I64d, (SELECT %s FROM %s "
                                              L"WHERE %s=%I64d));",
                                              L"jobrunpropstat", L"iJobrunKeyRef", L"iPropdefKeyRef", L"iOnEntity",
                                              runKey, propdefKey, L"iOnEntity", L"propdef", L"iKey", propdefKey));
}

int YxProjectDb_Jobrunpropstat_InsertEmpty(YxProjectDbHandle handle, std::int64_t runKey, std::int64_t propdefKey,
                                           std::int64_t assayrunKey, int entity, std::int64_t* key) {
    const auto cols = {L"iJobrunKeyRef", L"iPropdefKeyRef", L"iAssayrunKeyRef", L"iOnEntity"};
    if (assayrunKey == 0)
        return InsertValues(handle, YxJobsDef_jobrunpropstat, cols, key, kOrReplace, runKey, propdefKey, nullptr,
                            entity);
    return InsertValues(handle, YxJobsDef_jobrunpropstat, cols, key, kOrReplace, runKey, propdefKey, assayrunKey,
                        entity);
}

int YxProjectDb_Jobrunpropstat_GetMany(YxProjectDbHandle handle, std::int64_t runKey,
                                       std::vector<SYxProjectDbRow_jobrunpropstat>& rows) {
    return GetMany(handle, L"iJobrunKeyRef", runKey, rows);
}

int YxProjectDb_Jobrunpropstat_InsertOrReplaceMany(YxProjectDbHandle handle,
                                                   std::vector<SYxProjectDbRow_jobrunpropstat>& rows) {
    return InsertMany(handle, rows, kOrReplace);
}

int YxProjectDb_Jobrunqualstat_ResetStats(YxProjectDbHandle handle, std::int64_t runKey) {
    return Execute(handle, CYxStringW::Format(L"UPDATE %s SET %s=NULL, %s=NULL WHERE %s=%I64d;", L"jobrunqualstat",
                                              L"iCount", L"iDistinctCount", L"iJobrunKeyRef", runKey));
}

int YxProjectDb_Jobrunqualstat_ResetMany(YxProjectDbHandle handle,
                                         const std::vector<SYxProjectDbRow_jobrunqualstat>& rows) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    if (rows.empty()) return 0;
    CYxSqliteTransaction tr(db, true, 30);
    int rc = 0;
    {
        CYxSqliteCmd cmd(db, CYxStringW::Format(L"UPDATE %s SET %s=NULL, %s=NULL WHERE %s=? AND %s=? AND %s=?;",
                                                L"jobrunqualstat", L"iCount", L"iDistinctCount", L"iJobrunKeyRef",
                                                L"iQualdefKeyRef", L"iOnEntity"));
        for (const SYxProjectDbRow_jobrunqualstat& r : rows) {
            if (cmd.Result() != 0) break;
            cmd.BindInt64(1, r.iJobrunKeyRef);
            cmd.BindInt64(2, r.iQualdefKeyRef);
            cmd.BindInt32(3, r.iOnEntity);
            cmd.Next();
            cmd.Reset();
        }
        rc = cmd.Result();
    }
    return tr.Finish(rc);
}

int YxProjectDb_Jobrunqualstat_RemoveMany(YxProjectDbHandle handle, std::int64_t runKey) {
    return Execute(handle,
                   CYxStringW::Format(L"DELETE FROM %s WHERE %s=%I64d;", L"jobrunqualstat", L"iJobrunKeyRef", runKey));
}

int YxProjectDb_Jobrunqualstat_InsertOrReplaceMany(YxProjectDbHandle handle,
                                                   std::vector<SYxProjectDbRow_jobrunqualstat>& rows) {
    const SYxSqliteTableDef& def = YxJobsDef_jobrunqualstat;
    CYxSqliteNullValueVector nulls = YxSqliteNullValueVector_Create(def);
    nulls[static_cast<std::size_t>(Col(def, L"iCount"))] = SYxSqliteNullValue(-1);
    nulls[static_cast<std::size_t>(Col(def, L"iDistinctCount"))] = SYxSqliteNullValue(-1);
    return InsertMany(handle, rows, kOrReplace, eStampNone, &nulls);
}

int YxProjectDb_Jobrunqualstat_InsertEmpty(YxProjectDbHandle handle, std::int64_t runKey, std::int64_t qualdefKey,
                                           int entity, std::int64_t* key) {
    return InsertValues(handle, YxJobsDef_jobrunqualstat, {L"iJobrunKeyRef", L"iQualdefKeyRef", L"iOnEntity"}, key,
                        kOrReplace, runKey, qualdefKey, entity);
}

int YxProjectDb_Jobrunqualstat_GetMany(YxProjectDbHandle handle, std::int64_t runKey,
                                       std::vector<SYxProjectDbRow_jobrunqualstat>& rows) {
    return GetMany(handle, L"iJobrunKeyRef", runKey, rows);
}

int YxProjectDb_Jobruntagstat_GetMany(YxProjectDbHandle handle, std::int64_t runKey,
                                      std::vector<SYxProjectDbRow_jobruntagstat>& rows) {
    return GetMany(handle, L"iJobrunKeyRef", runKey, rows);
}

int YxProjectDb_Jobruntagstat_InsertOrReplaceMany(YxProjectDbHandle handle,
                                                  std::vector<SYxProjectDbRow_jobruntagstat>& rows) {
    return InsertMany(handle, rows, kOrReplace);
}
