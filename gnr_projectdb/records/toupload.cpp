// Upload requests (records_deposit.h).
#include "gnr_projectdb/records_deposit.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {
const SYxSqliteTableDef& kUp = YxJobsDef_toupload;
const wchar_t* Text(const wchar_t* s) { return s ? s : L""; }
}  // namespace

int YxProjectDb_toupload_SaveRequest(YxProjectDbHandle handle, const wchar_t* tableName, const wchar_t* uuidRef,
                                     const wchar_t* cloudUrl, const SYxProjectDbRow_jobuser& user) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteCmd ins(db, CYxStringW::Format(L"INSERT INTO %s (%s, %s, %s, %s, %s) VALUES (?, ?, ?, ?, ?);",
                                            kUp.wszName, L"wszUuidRef", L"wszTablename", L"iUserKeyRef",
                                            L"wszCloudUrl", L"iUploadState"));
    ins.Bind(1, Text(uuidRef));
    ins.Bind(2, Text(tableName));
    ins.Bind(3, user.iKey);
    // Position 4 is bound twice and position 5 never: the URL lands in
    // wszCloudUrl and iUploadState stays NULL - the state of a new request.
    ins.Bind(4, 0);
    ins.Bind(4, Text(cloudUrl));
    ins.Next();
    return ins.Result();
}

int YxProjectDb_toupload_ChangeStatus(YxProjectDbHandle handle, std::int64_t jobrunKey, const wchar_t* runState) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    SYxProjectDbRow_jobrun run;
    int rc = GetOne(conn, jobrunKey, run);
    if (rc != 0) return rc;
    SYxProjectDbRow_jobdef def;
    rc = GetOne(conn, run.iJobdefKeyRef, def);
    if (rc != 0) return rc;
    SYxProjectDbRow_project proj;
    rc = GetOne(conn, def.iProjKeyRef, proj);
    if (rc != 0) return rc;
    // The uuids come from the file: they pass the same guard as the caller's
    // state text.
    CYxStringW sql;
    rc = YxSqlite_Format(sql,
                         L"UPDATE %s SET %s='%s' WHERE (%s='%s' AND %s='%s') OR (%s='%s' AND %s='%s') OR "
                         L"(%s='%s' AND %s='%s');",
                         kUp.wszName, L"wszRunState", Text(runState), L"wszTablename", L"jobrun", L"wszUuidRef",
                         run.wszUuid, L"wszTablename", L"jobdef", L"wszUuidRef", def.wszUuid, L"wszTablename",
                         L"project", L"wszUuidRef", proj.wszUuid);
    if (rc != 0) return rc;
    return Execute(conn, sql);
}

int YxProjectDb_toupload_GetMany(YxProjectDbHandle handle, std::int64_t userKey,
                                 std::vector<SYxProjectDbRow_toupload>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L" %s=%I64d", L"iUserKeyRef", userKey), rows);
}

int YxProjectDb_toupload_GetOne(YxProjectDbHandle handle, const wchar_t* uuidRef, std::int64_t userKey,
                                SYxProjectDbRow_toupload& row) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetOneFormatted(conn, row, L" %s='%s' AND %s=%I64d", L"wszUuidRef", Text(uuidRef), L"iUserKeyRef",
                                          userKey);
}
