// Numeric properties of frames (records_frame.h).
#include "gnr_projectdb/records_frame.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {

const SYxSqliteTableDef& kProp = YxJobsDef_frameprop;
const wchar_t kTrigger[] = L"framepropConstraitTrigger";

int InsertProp(const Conn& conn, const wchar_t* clause, std::int64_t jobrunKey, std::int64_t assayrunKey,
               std::int64_t propdefKey, std::int32_t frameIndex, double value, std::int64_t* key) {
    if (!conn) return YXPDB_E_NOCONNECTION;  // key untouched
    SYxProjectDbRow_frameprop row{0, jobrunKey, assayrunKey, propdefKey, frameIndex, value};
    return Insert(conn, row, key, clause, eStampNone);
}

}  // namespace

int YxProjectDb_Frameprop_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                  std::vector<SYxProjectDbRow_frameprop>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s.%s=%I64d", kProp.wszName, L"iJobrunKeyRef", jobrunKey), rows);
}

int YxProjectDb_Frameprop_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                  std::vector<SYxProjectDbRow_frameprop>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    const wchar_t* t = kProp.wszName;
    return GetManyWhere(conn,
                        CYxStringW::Format(L"%s.%s=%I64d AND %s.%s=%d", t, L"iJobrunKeyRef", jobrunKey, t,
                                           L"iFrameIndex", frameIndex),
                        rows);
}

int YxProjectDb_Frameprop_GetOne(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t frameIndex,
                                 std::int64_t propdefKey, SYxProjectDbRow_frameprop& row) {
    // Looked up per frame during an acquisition: one cached statement with
    // the three keys bound.
    return GetOneByColumns(handle, row, {L"iJobrunKeyRef", L"iFrameIndex", L"iPropdefKeyRef"}, jobrunKey, frameIndex,
                           propdefKey);
}

int YxProjectDb_Frameprop_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t assayrunKey,
                                 std::int64_t propdefKey, std::int32_t frameIndex, double value, std::int64_t* key) {
    return InsertProp(handle, nullptr, jobrunKey, assayrunKey, propdefKey, frameIndex, value, key);
}

int YxProjectDb_Frameprop_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t assayrunKey,
                                         std::int64_t propdefKey, std::int32_t frameIndex, double value,
                                         std::int64_t* key) {
    return InsertProp(handle, kOrIgnore, jobrunKey, assayrunKey, propdefKey, frameIndex, value, key);
}

int YxProjectDb_Frameprop_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_frameprop>& rows) {
    return InsertMany(handle, rows);
}

int YxProjectDb_Frameprop_InsertOrReplaceMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_frameprop>& rows) {
    return InsertMany(handle, rows, kOrReplace);
}

int YxProjectDb_Frameprop_InsertManySame(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t propdefKey,
                                         double value) {
    return Execute(handle, CYxStringW::Format(L"INSERT OR REPLACE INTO %s (%s, %s, %s, %s, %s) \n   SELECT  %s, NULL, "
                                              L"%I64d, %s, %lf FROM %s WHERE %s=%I64d; \n",
                                              kProp.wszName, L"iJobrunKeyRef", L"iAssayrunKeyRef", L"iPropdefKeyRef",
                                              L"iFrameIndex", L"dValue", L"iJobrunKeyRef", propdefKey, L"iFrameIndex",
                                              value, L"frame", L"iJobrunKeyRef", jobrunKey));
}

int YxProjectDb_Frameprop_UpdateOrInsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_frameprop>& rows) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    if (rows.empty()) return 0;
    const CYxSqliteNullValueVector nulls = YxSqliteNullValueVector_Create(kProp);
    CYxSqliteTransaction tr(db, true, 30);
    int rc = 0;
    {
        CYxSqliteUpdate upd(db, kProp, {L"dValue"});
        CYxSqliteInsertTransacted ins(db, kProp);
        CYxSqliteCmd sel(db, CYxStringW::Format(L"SELECT %s FROM %s WHERE %s=? AND %s=? AND %s=? AND %s IS ?", L"iKey",
                                                kProp.wszName, L"iJobrunKeyRef", L"iFrameIndex", L"iPropdefKeyRef",
                                                L"iAssayrunKeyRef"));
        for (SYxProjectDbRow_frameprop& row : rows) {
            // After a failure SQLite may have rolled the transaction back:
            // no further row may be written outside it.
            if (sel.Result() != 0 || upd.Result() != 0 || ins.Result() != 0) break;
            sel.Bind(1, row.iJobrunKeyRef);
            sel.Bind(2, row.iFrameIndex);
            sel.Bind(3, row.iPropdefKeyRef);
            if (row.iAssayrunKeyRef == 0) sel.Bind(4);  // "IS ?" matches NULL with NULL
            else sel.Bind(4, row.iAssayrunKeyRef);
            std::int64_t found = 0;
            if (sel.Next()) sel.Column(0, found);
            sel.Reset();
            if (found != 0) {
                row.iKey = found;
                upd.Row(found, row.dValue);
            } else {
                BindInsertRow(ins, row, nulls);
                row.iKey = ins.Execute();
            }
        }
        rc = sel.Result();
        if (rc == 0) rc = upd.Result();
        if (rc == 0) rc = ins.Result();
    }
    rc = tr.Finish(rc);
    if (rc != 0)
        for (SYxProjectDbRow_frameprop& row : rows) row.iKey = 0;
    return rc;
}

int YxProjectDb_Frameprop_UpdateValue(YxProjectDbHandle handle, std::int64_t key, double value) {
    return UpdateValues(handle, kProp, key, {L"dValue"}, value);
}

int YxProjectDb_Frameprop_RemoveMany(YxProjectDbHandle handle, const std::vector<SYxProjectDbRow_frameprop>& rows) {
    return RemoveMany(handle, rows, {L"iJobrunKeyRef", L"iFrameIndex", L"iPropdefKeyRef"});
}

int YxProjectDb_Frameprop_CreateNullConstraintTrigger(YxProjectDbHandle handle) {
    const wchar_t* t = kProp.wszName;
    return Execute(handle,
                   CYxStringW::Format(L"CREATE TRIGGER IF NOT EXISTS %s BEFORE INSERT ON %s FOR EACH ROW WHEN  NEW.%s "
                                      L"IS NULL BEGIN SELECT RAISE(IGNORE) FROM %s WHERE %s.%s = NEW.%s   AND %s.%s = "
                                      L"NEW.%s   AND %s.%s = NEW.%s   AND %s.%s  IS NULL; END;",
                                      kTrigger, t, L"iAssayrunKeyRef", t, t, L"iJobrunKeyRef", L"iJobrunKeyRef", t,
                                      L"iPropdefKeyRef", L"iPropdefKeyRef", t, L"iFrameIndex", L"iFrameIndex", t,
                                      L"iAssayrunKeyRef"));
}

int YxProjectDb_Frameprop_DropNullConstraintTrigger(YxProjectDbHandle handle) {
    return Execute(handle, CYxStringW::Format(L"DROP TRIGGER IF EXISTS %s", kTrigger));
}
