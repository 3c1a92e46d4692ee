// Binary layers (records_binobj.h).
#include "gnr_projectdb/records_binobj.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {
const SYxSqliteTableDef& kLayer = YxJobsDef_binlayer;

const wchar_t* Text(const wchar_t* s) { return s ? s : L""; }
}  // namespace

int YxProjectDb_Binlayer_Insert(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t assayrunKey,
                                const wchar_t* uuid, const wchar_t* name, const wchar_t* compName,
                                const wchar_t* fileTag, std::int32_t color, std::int32_t attribute, std::int64_t* key) {
    SYxProjectDbRow_binlayer row{0,          jobrunKey, assayrunKey, CYxStringW(uuid), CYxStringW(name),
                                 CYxStringW(compName), CYxStringW(fileTag), color, attribute};
    return Insert(handle, row, key, nullptr, eStampNone);
}

int YxProjectDb_Binlayer_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_binlayer>& rows) {
    return InsertMany(handle, rows);
}

int YxProjectDb_Binlayer_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                 std::vector<SYxProjectDbRow_binlayer>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s.%s=%I64d", kLayer.wszName, L"iJobrunKeyRef", jobrunKey), rows);
}

int YxProjectDb_Binlayer_Find(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int64_t assayrunKey,
                              const wchar_t* name, const wchar_t* compName, SYxProjectDbRow_binlayer& row) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetOneFormatted(conn, row, L"%s=%I64d AND %s=%I64d AND %s='%s' AND %s='%s'", L"iJobrunKeyRef",
                                          jobrunKey, L"iAssayrunKeyRef", assayrunKey, L"wszName", Text(name),
                                          L"wszCompName", Text(compName));
}

int YxProjectDb_Binlayer_Find(YxProjectDbHandle handle, std::int64_t jobrunKey, const wchar_t* name,
                              const wchar_t* compName, SYxProjectDbRow_binlayer& row) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetOneFormatted(conn, row, L"%s=%I64d AND %s='%s' AND %s='%s'", L"iJobrunKeyRef", jobrunKey,
                                          L"wszName", Text(name), L"wszCompName", Text(compName));
}

int YxProjectDb_Binlayer_GetIKey(YxProjectDbHandle handle, const wchar_t* uuid, std::int64_t& key) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    const wchar_t* t = kLayer.wszName;
    CYxStringW sql;
    int rc = YxSqlite_Format(sql, L"SELECT %s.%s FROM %s WHERE %s.%s='%s'", t, L"iKey", t, t, L"wszUuid", Text(uuid));
    if (rc != 0) return rc;
    key = ReadInt64(conn, sql, &rc);
    return rc;
}
