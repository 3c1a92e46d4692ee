// Planes and their links to files (records_file.h).
#include "gnr_projectdb/records_file.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {

const SYxSqliteTableDef& kPlane = YxJobsDef_planeinfo;
const SYxSqliteTableDef& kLink = YxJobsDef_fileplaneinfo;

// Appends the planes of a query selecting the four plane columns in order.
int ReadPlanes(const Conn& conn, const wchar_t* sql, std::list<SYxProjectDbRow_planeinfo>& rows) {
    sqlite3* db = conn.Db();
    if (!db) return YXPDB_E_NOCONNECTION;
    CYxSqliteCmd cmd(db, sql);
    while (cmd.Next()) {
        SYxProjectDbRow_planeinfo row;
        ReadRow(cmd, row);
        rows.push_back(std::move(row));
    }
    return cmd.Result();
}

}  // namespace

int YxProjectDb_PlaneInfo_Insert(YxProjectDbHandle handle, SYxProjectDbRow_planeinfo& row, std::int64_t* key) {
    return Insert(handle, row, key, nullptr, eStampNone);
}

int YxProjectDb_PlaneInfo_InsertOrReplace(YxProjectDbHandle handle, std::int64_t fileKey,
                                          SYxProjectDbRow_planeinfo& row, std::int32_t position) {
    const Conn conn(handle);
    sqlite3* db = conn;
    if (!db) return YXPDB_E_NOCONNECTION;
    // The look-up's own failure is not examined: a name that the guard
    // refuses (it holds a quote) finds no plane, as a failed look-up does.
    CYxStringW sql;
    row.iKey = YxSqlite_Format(sql, L"SELECT %s FROM %s WHERE %s = '%s' AND %s = %d", L"iKey", kPlane.wszName,
                               L"wszPlaneName", row.wszPlaneName, L"iComponents", row.iComponents) == 0
                   ? ReadInt64(conn, sql)
                   : 0;
    CYxSqliteInsert ins(db, kPlane, {L"wszPlaneName", L"iComponents", L"pData"});
    if (row.iKey != 0) {
        // The newest description of the plane replaces the stored one.
        UpdateValues(conn, kPlane, row.iKey, {L"wszPlaneName", L"iComponents", L"pData"}, row.wszPlaneName,
                     row.iComponents, row.pData);
    } else {
        row.iKey = ins.Row(row.wszPlaneName, row.iComponents, row.pData);
    }
    if (ins.Result() != 0) return ins.Result();
    SYxProjectDbRow_fileplaneinfo link{0, fileKey, row.iKey, position};
    return YxProjectDb_FilePlaneInfo_Insert(handle, link);
}

int YxProjectDb_PlaneInfo_GetOne(YxProjectDbHandle handle, const wchar_t* planeName, std::int32_t components,
                                 SYxProjectDbRow_planeinfo& row) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetOneFormatted(conn, row, L"%s='%s' AND %s=%I32d", L"wszPlaneName", planeName ? planeName : L"",
                                          L"iComponents", components);
}

int YxProjectDb_PlaneInfo_GetMany(YxProjectDbHandle handle, std::list<SYxProjectDbRow_planeinfo>& rows,
                                  std::int64_t fileKey) {
    const wchar_t* p = kPlane.wszName;
    return ReadPlanes(handle,
                      CYxStringW::Format(L"SELECT distinct %s.%s, %s.%s, %s.%s, %s.%s  FROM %s  JOIN %s fpl ON fpl.%s "
                                         L"= %s.%s  WHERE fpl.%s = %I64d",
                                         p, L"iKey", p, L"wszPlaneName", p, L"iComponents", p, L"pData", p,
                                         kLink.wszName, L"iPlaneInfoKeyRef", p, L"iKey", L"iFileKeyRef", fileKey),
                      rows);
}

int YxProjectDb_PlaneInfo_GetAllReferencingJobrun(YxProjectDbHandle handle, std::list<SYxProjectDbRow_planeinfo>& rows,
                                                  std::int64_t jobrunKey) {
    const wchar_t* p = kPlane.wszName;
    return ReadPlanes(
        handle,
        CYxStringW::Format(L"SELECT distinct %s.%s, %s.%s, %s.%s, %s.%s  FROM %s  JOIN %s fpl ON fpl.%s = %s.%s  JOIN "
                           L"%s f ON f.%s = fpl. %s  WHERE f.%s = %I64d",
                           p, L"iKey", p, L"wszPlaneName", p, L"iComponents", p, L"pData", p, kLink.wszName,
                           L"iPlaneInfoKeyRef", p, L"iKey", L"file", L"iKey", L"iFileKeyRef", L"iJobrunKeyRef",
                           jobrunKey),
        rows);
}

int YxProjectDb_FilePlaneInfo_Insert(YxProjectDbHandle handle, SYxProjectDbRow_fileplaneinfo& row) {
    return Insert(handle, row, nullptr, nullptr, eStampNone);
}

int YxProjectDb_FilePlaneInfo_GetMany(YxProjectDbHandle handle, std::int64_t fileKey,
                                      std::list<SYxProjectDbRow_fileplaneinfo>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    std::vector<SYxProjectDbRow_fileplaneinfo> read;
    const int rc =
        GetManyWhere(conn, CYxStringW::Format(L"%s.%s=%I64d", kLink.wszName, L"iFileKeyRef", fileKey), read);
    rows.insert(rows.end(), read.begin(), read.end());
    return rc;
}

int YxProjectDb_FilePlaneInfo_GetIKey(YxProjectDbHandle handle, std::int64_t fileKey, std::int64_t planeKey,
                                      std::int32_t position, std::int64_t& key) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    int rc = 0;
    key = ReadInt64(conn,
                    CYxStringW::Format(L"SELECT %s FROM %s WHERE %s=%I64d AND %s=%I64d AND %s=%I64d ", L"iKey",
                                       kLink.wszName, L"iFileKeyRef", fileKey, L"iPlaneInfoKeyRef", planeKey,
                                       L"iPosition", static_cast<std::int64_t>(position)),
                    &rc);
    return rc;
}
