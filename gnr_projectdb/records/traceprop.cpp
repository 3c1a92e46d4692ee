// Properties of traces (records_binobj.h).
#include "gnr_projectdb/records_binobj.h"

#include "gnr_projectdb/records/table_ops.h"

using namespace yxrec;

namespace {
const SYxSqliteTableDef& kProp = YxJobsDef_traceprop;
}  // namespace

int YxProjectDb_Traceprop_InsertOrIgnore(YxProjectDbHandle handle, std::int64_t jobrunKey, std::int32_t traceId,
                                         std::int64_t propdefKey, std::int64_t assayrunKey, double value,
                                         std::int64_t* key) {
    SYxProjectDbRow_traceprop row{0, jobrunKey, traceId, propdefKey, assayrunKey, value};
    return Insert(handle, row, key, kOrIgnore, eStampNone);
}

int YxProjectDb_Traceprop_InsertMany(YxProjectDbHandle handle, std::vector<SYxProjectDbRow_traceprop>& rows) {
    return InsertMany(handle, rows);
}

int YxProjectDb_Traceprop_GetMany(YxProjectDbHandle handle, std::int64_t jobrunKey,
                                  std::vector<SYxProjectDbRow_traceprop>& rows) {
    const Conn conn(handle);
    if (!conn) return YXPDB_E_NOCONNECTION;
    return GetManyWhere(conn, CYxStringW::Format(L"%s.%s=%I64d", kProp.wszName, L"iJobrunKeyRef", jobrunKey), rows);
}

int YxProjectDb_Traceprop_RemoveMany(YxProjectDbHandle handle, const std::vector<SYxProjectDbRow_traceprop>& rows) {
    return RemoveMany(handle, rows, {L"iJobrunKeyRef", L"iTraceId", L"iPropdefKeyRef"});
}
